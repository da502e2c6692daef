// SPDX-License-Identifier: Apache-2.0
#include "tools/LabelMap.h"

#include <gmock/gmock.h>

namespace Corvana::Tools {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using Annotation = Audio::AnnotatedFile::Annotation;

std::vector<RegionTypeValue> typesOf(const LabelMap& in_map, const std::vector<std::string>& in_vLabels)
{
    std::vector<LabeledRegion> vRegions;
    for (const std::string& strLabel : in_vLabels)
        vRegions.push_back({strLabel, 1.0, 2.0, 1});
    std::vector<Annotation> vFound;
    EXPECT_EQ(in_map.apply(vRegions, vFound), "");
    std::vector<RegionTypeValue> vTypes;
    for (const Annotation& region : vFound)
        vTypes.push_back(region.m_type);
    return vTypes;
}

std::string faultsOf(const LabelMap& in_map, const std::vector<LabeledRegion>& in_vRegions)
{
    std::vector<Annotation> vFound(1);
    std::string strFaults = in_map.apply(in_vRegions, vFound);
    EXPECT_TRUE(vFound.empty());
    return strFaults;
}

TEST(LabelMap, TakesLabelsForTypesWhenItIsEmpty)
{
    EXPECT_EQ(typesOf(LabelMap(), {"MALE", "cpa_human", " BEEP\t", "SF_12"}),
              (std::vector<RegionTypeValue>{Annotation::MALE, Annotation::CPA_HUMAN, Annotation::BEEP,
                                            static_cast<RegionTypeValue>(12)}));
}

TEST(LabelMap, KeepsTheTimes)
{
    std::vector<Annotation> vFound;
    EXPECT_EQ(LabelMap().apply({{"MALE", 0.1, 0.3}}, vFound), "");
    ASSERT_EQ(vFound.size(), 1u);
    EXPECT_EQ(vFound[0].m_dStartTime, 0.1);
    EXPECT_EQ(vFound[0].m_dStopTime, 0.3);
}

TEST(LabelMap, GivesLabelsTheirTypesAndDropsThoseWithout)
{
    LabelMap map;
    EXPECT_EQ(map.read("\xEF\xBB\xBFlabel,type\r\nlady,FEMALE\r\n\"a, b\", male \r\ncough,\r\n"), "");
    EXPECT_EQ(
        typesOf(map, {"lady", "cough", "a, b", " lady ", "BEEP"}),
        (std::vector<RegionTypeValue>{Annotation::FEMALE, Annotation::MALE, Annotation::FEMALE, Annotation::BEEP}));
}

TEST(LabelMap, GoesBeforeTheNamesOfTypes)
{
    LabelMap map;
    EXPECT_EQ(map.read("MALE,FEMALE\nBEEP,"), "");
    EXPECT_EQ(typesOf(map, {"MALE", "BEEP"}), (std::vector<RegionTypeValue>{Annotation::FEMALE}));
}

TEST(LabelMap, MayMapTheEmptyLabel)
{
    LabelMap map;
    EXPECT_EQ(map.read(",SILENCE\n"), "");
    EXPECT_EQ(typesOf(map, {"", " "}), (std::vector<RegionTypeValue>{Annotation::SILENCE, Annotation::SILENCE}));
}

TEST(LabelMap, RefusesWhatIsNoType)
{
    LabelMap map;
    EXPECT_EQ(map.read("label,type\nlady,FEMAL\n"), "line 2: 'FEMAL' is no type of a region; did you mean FEMALE?");
}

TEST(LabelMap, RefusesRowsThatAreNoPairs)
{
    LabelMap map;
    EXPECT_EQ(map.read("lady\n"), "line 1: 1 column; wanted are a label and its type, with a comma between them");
    EXPECT_EQ(map.read("a,MALE\nb,MALE,x\n"),
              "line 2: 3 columns; wanted are a label and its type, with a comma between them");
    EXPECT_THAT(map.read("a,\"MALE\n"), EndsWith("a field begins with a quote that is never closed"));
}

TEST(LabelMap, TakesAFirstLineForAHeaderOnlyWhenItIsOne)
{
    LabelMap map;
    EXPECT_EQ(map.read("label,MALE\nlabel,male\n"), "");
    EXPECT_EQ(typesOf(map, {"label"}), (std::vector<RegionTypeValue>{Annotation::MALE}));
    EXPECT_EQ(map.read("a,MALE\nlabel,type\n"), "line 2: 'type' is no type of a region");
}

TEST(LabelMap, RefusesALabelOfTwoTypes)
{
    LabelMap map;
    EXPECT_EQ(map.read("a,MALE\nb,MALE\na,male\n"), "");
    EXPECT_EQ(map.read("a,MALE\nb,MALE\na,\n"), "line 3: the label 'a' stands for another type above; remove one");
}

TEST(LabelMap, NamesABadLabelWithItsLineAndTheNearestTypes)
{
    EXPECT_EQ(faultsOf(LabelMap(), {{"MALE", 0, 1, 1}, {"FEMAL", 1, 2, 5}}),
              "line 5: 'FEMAL' is no type of a region; did you mean FEMALE?");
}

TEST(LabelMap, NamesEachBadLabelOnceWithAllItsLines)
{
    EXPECT_EQ(faultsOf(LabelMap(), {{"lady", 0, 1, 1}, {"FEMAL", 1, 2, 2}, {"lady", 1, 2, 7}, {"MALE", 1, 2, 8}}),
              "2 labels are no types:\n"
              "  lines 1, 7: 'lady' is no type of a region\n"
              "  line 2: 'FEMAL' is no type of a region; did you mean FEMALE?");
}

TEST(LabelMap, NamesNoMoreLinesAndLabelsThanPeopleRead)
{
    EXPECT_EQ(faultsOf(LabelMap(), std::vector<LabeledRegion>(11, {"xyzzy", 0, 1, 3})),
              "lines 3, 3, 3, 3, 3, 3, 3, 3, 3, 3 and others: 'xyzzy' is no type of a region");

    EXPECT_EQ(faultsOf(LabelMap(), std::vector<LabeledRegion>(10, {"xyzzy", 0, 1, 3})),
              "lines 3, 3, 3, 3, 3, 3, 3, 3, 3, 3: 'xyzzy' is no type of a region");

    std::vector<LabeledRegion> vRegions;
    for (unsigned long uiLine = 1; uiLine <= 100; ++uiLine)
        vRegions.push_back({"xyzzy" + std::to_string(uiLine), 0, 1, uiLine});
    EXPECT_THAT(faultsOf(LabelMap(), vRegions), testing::Not(HasSubstr("more")));
    for (unsigned long uiLine = 101; uiLine <= 103; ++uiLine)
        vRegions.push_back({"xyzzy" + std::to_string(uiLine), 0, 1, uiLine});
    const std::string strFaults = faultsOf(LabelMap(), vRegions);
    EXPECT_THAT(strFaults, HasSubstr("line 100: 'xyzzy100'"));
    EXPECT_THAT(strFaults, testing::Not(HasSubstr("xyzzy101")));
    EXPECT_THAT(strFaults, EndsWith("\n  and 3 more"));
}

} // namespace
} // namespace Corvana::Tools
