// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFeature.h"

#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace Corvana::Audio {
namespace {

using Test::LogCapture;
using testing::IsEmpty;

static_assert(std::is_abstract_v<AudioFeature>);
static_assert(std::is_base_of_v<Math::SignalFeature, AudioFeature>);

struct TypeName
{
    AudioFeature::FeatureType m_type;
    int m_iValue;
    const char* m_szCapitals;
    const char* m_szSmall;
};

// Programs store the values, and users type the names.
constexpr TypeName s_aTypes[] = {
    {AudioFeature::ENERGYHISTOGRAM, 0, "ENERGYHISTOGRAM", "energyhistogram"},
    {AudioFeature::CLIPPINGRATE, 1, "CLIPPINGRATE", "clippingrate"},
    {AudioFeature::ZEROCROSSINGRATE, 2, "ZEROCROSSINGRATE", "zerocrossingrate"},
    {AudioFeature::SPECTRUM, 3, "SPECTRUM", "spectrum"},
    {AudioFeature::SPECTRUM100HZ, 4, "SPECTRUM100HZ", "spectrum100hz"},
    {AudioFeature::SPECTRUM200HZ, 5, "SPECTRUM200HZ", "spectrum200hz"},
    {AudioFeature::SPECTRUM500HZ, 6, "SPECTRUM500HZ", "spectrum500hz"},
    {AudioFeature::FLATNESS, 7, "FLATNESS", "flatness"},
    {AudioFeature::SPECTRALRANGE, 8, "SPECTRALRANGE", "spectralrange"},
    {AudioFeature::MAXSPECTRALRANGES, 9, "MAXSPECTRALRANGES", "maxspectralranges"},
    {AudioFeature::OLDHARMONICPRODUCT, 10, "OLDHARMONICPRODUCT", "oldharmonicproduct"},
    {AudioFeature::HARMONICPRODUCT, 11, "HARMONICPRODUCT", "harmonicproduct"},
    {AudioFeature::ROBUSTHARMONICPRODUCT, 12, "ROBUSTHARMONICPRODUCT", "robustharmonicproduct"},
    {AudioFeature::ANTIHARMONICPRODUCT, 13, "ANTIHARMONICPRODUCT", "antiharmonicproduct"},
    {AudioFeature::SPECTRALSLOPE, 14, "SPECTRALSLOPE", "spectralslope"},
    {AudioFeature::SPECTRALWEIGHTEDAREA, 15, "SPECTRALWEIGHTEDAREA", "spectralweightedarea"},
    {AudioFeature::SILENCERATIO, 16, "SILENCERATIO", "silenceratio"},
    {AudioFeature::NOISERATIO, 17, "NOISERATIO", "noiseratio"},
    {AudioFeature::AMPLITUDEDISTRIBUTION, 18, "AMPLITUDEDISTRIBUTION", "amplitudedistribution"},
    {AudioFeature::TEMPORALAMPLITUDEDISTRIBUTION, 19, "TEMPORALAMPLITUDEDISTRIBUTION", "temporalamplitudedistribution"},
    {AudioFeature::PEAKS, 20, "PEAKS", "peaks"},
    {AudioFeature::NEIGHBOURHOODOFMAX, 21, "NEIGHBOURHOODOFMAX", "neighbourhoodofmax"},
    {AudioFeature::LOWFREQENERGYRATIO, 22, "LOWFREQENERGYRATIO", "lowfreqenergyratio"},
    {AudioFeature::LOWFREQENERGYRATIOS, 23, "LOWFREQENERGYRATIOS", "lowfreqenergyratios"},
    {AudioFeature::DELTATOSLIDINGMEAN, 24, "DELTATOSLIDINGMEAN", "deltatoslidingmean"},
    {AudioFeature::MYFEATURE, 25, "MYFEATURE", "myfeature"},
};

class AudioFeatureType : public testing::TestWithParam<TypeName>
{
};

INSTANTIATE_TEST_SUITE_P(AudioFeature, AudioFeatureType, testing::ValuesIn(s_aTypes),
                         [](const auto& in_info) { return std::string(in_info.param.m_szCapitals); });

TEST_P(AudioFeatureType, HasItsValue)
{
    EXPECT_EQ(GetParam().m_iValue, static_cast<int>(GetParam().m_type));
}

TEST_P(AudioFeatureType, IsWrittenInCapitals)
{
    EXPECT_STREQ(GetParam().m_szCapitals, AudioFeature::getFeatureTypeString(GetParam().m_type));
}

TEST_P(AudioFeatureType, IsParsedFromSmallLetters)
{
    const Fallible<AudioFeature::FeatureType> type = AudioFeature::parseFeatureType(GetParam().m_szSmall);

    ASSERT_TRUE(type.isValid());
    EXPECT_EQ(GetParam().m_type, type.getValue());
}

TEST_P(AudioFeatureType, IsParsedFromCapitals)
{
    const Fallible<AudioFeature::FeatureType> type = AudioFeature::parseFeatureType(GetParam().m_szCapitals);

    ASSERT_TRUE(type.isValid());
    EXPECT_EQ(GetParam().m_type, type.getValue());
}

TEST_P(AudioFeatureType, IsNotParsedFromAPartOfItsName)
{
    const std::string strName = GetParam().m_szSmall;
    // "spectrum500h" is no name either; only "lowfreqenergyratio" is the beginning of another.
    if (strName != "lowfreqenergyratios") {
        EXPECT_FALSE(AudioFeature::parseFeatureType(strName.substr(0, strName.size() - 1).c_str()).isValid());
    }
    EXPECT_FALSE(AudioFeature::parseFeatureType(strName.substr(1).c_str()).isValid());
    EXPECT_FALSE(AudioFeature::parseFeatureType((strName + "x").c_str()).isValid());
}

TEST(AudioFeature, WritesAValueThatIsNoTypeAsSuch)
{
    EXPECT_STREQ("???Feature_FeatureType???",
                 AudioFeature::getFeatureTypeString(static_cast<AudioFeature::FeatureType>(26)));
    EXPECT_STREQ("???Feature_FeatureType???",
                 AudioFeature::getFeatureTypeString(static_cast<AudioFeature::FeatureType>(31)));
}

TEST(AudioFeature, ParsesNamesInMixedCase)
{
    const Fallible<AudioFeature::FeatureType> type = AudioFeature::parseFeatureType("Spectrum500Hz");

    ASSERT_TRUE(type.isValid());
    EXPECT_EQ(AudioFeature::SPECTRUM500HZ, type.getValue());
}

TEST(AudioFeature, ComparesWholeNames)
{
    const Fallible<AudioFeature::FeatureType> type = AudioFeature::parseFeatureType("spectrum");

    ASSERT_TRUE(type.isValid());
    EXPECT_EQ(AudioFeature::SPECTRUM, type.getValue());
}

TEST(AudioFeature, ParsesNothingFromNull)
{
    EXPECT_FALSE(AudioFeature::parseFeatureType(nullptr).isValid());
}

TEST(AudioFeature, ParsesNoOtherText)
{
    LogCapture log;

    for (const char* szText :
         {"", " ", "spectrum ", " spectrum", "spectrum()", "spectrum300hz", "neighborhoodofmax", "maxneighbourhood",
          "nosuchfeature", "???Feature_FeatureType???", "0", "spectrum\xDF", "p\xC5\xA4\x45KS"})
        EXPECT_FALSE(AudioFeature::parseFeatureType(szText).isValid()) << szText;

    EXPECT_THAT(log.events(), IsEmpty());
}

} // namespace
} // namespace Corvana::Audio
