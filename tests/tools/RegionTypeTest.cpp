// SPDX-License-Identifier: Apache-2.0
#include "tools/RegionType.h"

#include <gmock/gmock.h>

#include <string>

namespace Corvana::Tools {
namespace {

using Annotation = Audio::AnnotatedFile::Annotation;
using testing::HasSubstr;
using testing::Not;
using namespace std::string_literals;

std::string faultOf(const std::string& in_strText)
{
    RegionTypeValue type = Annotation::BEEP;
    std::string strFault = parseRegionType(in_strText, type);
    EXPECT_EQ(type, Annotation::BEEP);
    return strFault;
}

TEST(RegionType, IsEachNumberedAndEachNamedOneAndNoOther)
{
    for (const int iType : {+Annotation::s_firstNumbered, +Annotation::s_lastNumbered, +Annotation::s_firstNamed,
                            +Annotation::s_lastNamed}) {
        EXPECT_TRUE(isRegionType(static_cast<RegionTypeValue>(iType))) << iType;
        RegionTypeValue type = Annotation::BEEP;
        EXPECT_EQ(parseRegionType(regionTypeText(static_cast<RegionTypeValue>(iType)), type), "");
        EXPECT_EQ(type, iType);
    }
    EXPECT_FALSE(isRegionType(static_cast<RegionTypeValue>(Annotation::s_firstNumbered - 1)));
    EXPECT_FALSE(isRegionType(static_cast<RegionTypeValue>(Annotation::s_lastNumbered + 1)));
    EXPECT_FALSE(isRegionType(static_cast<RegionTypeValue>(Annotation::s_firstNamed - 1)));
    EXPECT_FALSE(isRegionType(static_cast<RegionTypeValue>(Annotation::s_lastNamed + 1)));
}

TEST(RegionType, IsNoTextThatATypeOnlyBegins)
{
    EXPECT_THAT(faultOf("MALE\0"s), HasSubstr("is no type of a region"));
    EXPECT_THAT(faultOf("SF_12abc"),
                HasSubstr("is no type of a region; numbered types are SF_1 to SF_4000, in capitals"));
    EXPECT_THAT(faultOf("SF_"), HasSubstr("is no type of a region; numbered types are SF_1 to SF_4000, in capitals"));
}

TEST(RegionType, HintsAtNumberedOnesForWhatLooksLikeThem)
{
    EXPECT_THAT(faultOf("sf12"), HasSubstr("; numbered types are SF_1 to SF_4000, in capitals"));
    EXPECT_THAT(faultOf("Sf_5000"), HasSubstr("; numbered types are SF_1 to SF_4000, in capitals"));
    EXPECT_THAT(faultOf("12"), HasSubstr("; numbered types are written SF_1 to SF_4000"));
    for (const char* szText : {"SX_12", "S", "XF_12", ""})
        EXPECT_THAT(faultOf(szText), Not(HasSubstr("numbered types"))) << szText;
}

} // namespace
} // namespace Corvana::Tools
