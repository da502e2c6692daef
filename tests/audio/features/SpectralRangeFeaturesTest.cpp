// SPDX-License-Identifier: Apache-2.0
#include "FeatureTestSupport.h"

#include "corvana/AudioFeatureImpl.h"

#include <gmock/gmock.h>

#include <limits>
#include <memory>
#include <numeric>

namespace Corvana::Audio {
namespace {

using namespace Test;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double s_dNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double s_dLowest = std::numeric_limits<double>::lowest();
constexpr unsigned long s_uiLargest = std::numeric_limits<unsigned long>::max();
constexpr const char* s_szLogger = "kestrivon.audio.AudioFeatureImpl";

// Every bin holds its own index, so that the values tell where they come from.
Values indexes(unsigned long in_uiNbOfBins)
{
    Values vBins(in_uiNbOfBins);
    std::iota(vBins.begin(), vBins.end(), 0.0);
    return vBins;
}

Values zerosBut(unsigned long in_uiNbOfBins, unsigned long in_uiIndex, double in_dValue)
{
    Values vBins(in_uiNbOfBins, 0.0);
    vBins[in_uiIndex] = in_dValue;
    return vBins;
}

void expectAssertion(const AssertionCapture& in_assertions, const char* in_szText)
{
    ASSERT_THAT(in_assertions.texts(), ElementsAre(in_szText));
    const LogEvent& event = in_assertions.events().front();
    EXPECT_EQ("AudioFeatureImpl", event.m_strFile);
    EXPECT_EQ(40000, event.m_iLevel);
    EXPECT_EQ("kestrivon.assertion", event.m_strLogger);
}

void expectMessage(const LogCapture& in_log, int in_iLevel, const std::string& in_strText)
{
    ASSERT_THAT(in_log.texts(), ElementsAre(in_strText));
    EXPECT_EQ(in_iLevel, in_log.events().front().m_iLevel);
    EXPECT_EQ(s_szLogger, in_log.events().front().m_strLogger);
}

void expectError(const LogCapture& in_log, const std::string& in_strText)
{
    expectMessage(in_log, 40000, in_strText);
}

void expectDebug(const LogCapture& in_log, const std::string& in_strText)
{
    expectMessage(in_log, 10000, in_strText);
    EXPECT_EQ("AudioFeatureImpl", in_log.events().front().m_strFile);
}

// ---- SpectralRangeFeature

TEST(SpectralRangeFeature, AppendsTheBinsAroundItsCentreAndThePositionWithinTheBin)
{
    SpectralRangeFeature feature(1000, 100);

    EXPECT_EQ(succeeds({28, 29, 30, 31, 32, 33, 34, 35, 36, 0.0}), outcomeOf(feature, indexes(128)));
}

TEST(SpectralRangeFeature, TellsHowFarTheCentreLiesBehindItsBin)
{
    SpectralRangeFeature feature(1010, 100);

    EXPECT_EQ(succeeds({28, 29, 30, 31, 32, 33, 34, 35, 36, 0.32}), outcomeOf(feature, indexes(128)));
}

TEST(SpectralRangeFeature, TellsHowFarTheCentreLiesBeforeItsBin)
{
    // 1020 / 31.25 is 32.64.
    SpectralRangeFeature feature(1020, 0);

    EXPECT_EQ(succeeds({33, (1020.0 - 33.0 * 31.25) / 31.25}), outcomeOf(feature, indexes(128)));
}

TEST(SpectralRangeFeature, RoundsHalfABinUp)
{
    // 100 bins of 40 Hz: 60 Hz is one and a half.
    SpectralRangeFeature feature(60, 40);

    EXPECT_EQ(succeeds({1, 2, 3, -0.5}), outcomeOf(feature, indexes(100)));
}

TEST(SpectralRangeFeature, TakesACentreOfOneHertz)
{
    // 4000 bins of 1 Hz.
    SpectralRangeFeature feature(1, 0);

    EXPECT_EQ(succeeds({1, 0.0}), outcomeOf(feature, indexes(4000)));
}

TEST(SpectralRangeFeature, RoundsItsHalfWidthUpToWholeBins)
{
    SpectralRangeFeature oneBin(1000, 31);
    SpectralRangeFeature twoBins(1000, 32);
    SpectralRangeFeature noBin(1000, 0);

    EXPECT_EQ(succeeds({31, 32, 33, 0.0}), outcomeOf(oneBin, indexes(128)));
    EXPECT_EQ(succeeds({30, 31, 32, 33, 34, 0.0}), outcomeOf(twoBins, indexes(128)));
    EXPECT_EQ(succeeds({32, 0.0}), outcomeOf(noBin, indexes(128)));
}

TEST(SpectralRangeFeature, RefusesARangeThatWouldBeginBelowTheSpectrum)
{
    const AssertionCapture assertions;
    SpectralRangeFeature feature(50, 100);

    EXPECT_EQ(refuses(), outcomeOf(feature, indexes(128)));

    expectAssertion(assertions, "uiCenterIndex>uiRangeWidth");
}

TEST(SpectralRangeFeature, RefusesARangeThatWouldBeginAtTheFirstBin)
{
    const AssertionCapture assertions;
    SpectralRangeFeature feature(125, 125);

    EXPECT_EQ(refuses(), outcomeOf(feature, indexes(128)));

    expectAssertion(assertions, "uiCenterIndex>uiRangeWidth");
}

TEST(SpectralRangeFeature, MayBeginAtTheSecondBin)
{
    SpectralRangeFeature feature(125, 90);

    EXPECT_EQ(succeeds({1, 2, 3, 4, 5, 6, 7, 0.0}), outcomeOf(feature, indexes(128)));
}

TEST(SpectralRangeFeature, RefusesTheCentreZero)
{
    const AssertionCapture assertions;
    SpectralRangeFeature feature;

    EXPECT_EQ(refuses(), outcomeOf(feature, indexes(128)));

    expectAssertion(assertions, "m_uiCenterFrequency > 0");
}

TEST(SpectralRangeFeature, HasTheHalfWidthZeroByDefault)
{
    SpectralRangeFeature feature(1000);

    EXPECT_EQ(succeeds({32, 0.0}), outcomeOf(feature, indexes(128)));
}

TEST(SpectralRangeFeature, RefusesAnEmptySpectrum)
{
    const AssertionCapture assertions;
    SpectralRangeFeature feature(1000, 0);

    EXPECT_EQ(refuses(), outcomeOf(feature, {}));

    expectAssertion(assertions, "uiCenterIndex>uiRangeWidth");
}

TEST(SpectralRangeFeature, TriesAgainAfterARefusal)
{
    SpectralRangeFeature feature(1000, 100);
    outcomeOf(feature, {});

    EXPECT_EQ(succeeds({28, 29, 30, 31, 32, 33, 34, 35, 36, 0.0}), outcomeOf(feature, indexes(128)));
}

TEST(SpectralRangeFeature, MayReachTheLastBin)
{
    // 40 bins of 100 Hz: 3700 Hz is bin 37.
    SpectralRangeFeature feature(3700, 200);

    EXPECT_EQ(succeeds({35, 36, 37, 38, 39, 0.0}), outcomeOf(feature, indexes(40)));
}

TEST(SpectralRangeFeature, AppendsOnlyThePositionWhenTheRangePassesTheLastBin)
{
    const AssertionCapture assertions;
    SpectralRangeFeature feature(3810, 200);

    EXPECT_EQ(refuses({(3810.0 - 38.0 * 100.0) / 100.0}), outcomeOf(feature, indexes(40)));

    EXPECT_THAT(assertions.texts(), IsEmpty());
}

TEST(SpectralRangeFeature, KeepsTheFirstSpectrumsBinsForALongerOne)
{
    SpectralRangeFeature feature(1010, 31);
    outcomeOf(feature, indexes(128));

    EXPECT_EQ(succeeds({31, 32, 33, 0.32}), outcomeOf(feature, indexes(256)));
}

TEST(SpectralRangeFeature, AppendsOnlyThePositionForAShorterSpectrumThanTheFirst)
{
    SpectralRangeFeature feature(1010, 31);
    outcomeOf(feature, indexes(128));

    EXPECT_EQ(refuses({0.32}), outcomeOf(feature, indexes(33)));
    EXPECT_EQ(succeeds({31, 32, 33, 0.32}), outcomeOf(feature, indexes(34)));
}

TEST(SpectralRangeFeature, LeavesWhatIsInTheOutputAloneWhenItFails)
{
    Math::DoubleVector vOut = {7.0};

    EXPECT_FALSE(SpectralRangeFeature(50, 100).compute(toVector(indexes(128)), vOut));

    EXPECT_EQ(Math::DoubleVector({7.0}), vOut);
}

TEST(SpectralRangeFeature, StandsUpToTheLargestNumbers)
{
    for (const unsigned long uiNbOfBins : {1UL, 128UL, 600UL}) {
        SpectralRangeFeature farCentre(s_uiLargest, 0);
        SpectralRangeFeature farAndWide(s_uiLargest, s_uiLargest);
        SpectralRangeFeature wide(1000, s_uiLargest);
        SpectralRangeFeature nearlyAsWide(s_uiLargest, s_uiLargest / 2);

        EXPECT_EQ(1u, outcomeOf(farCentre, indexes(uiNbOfBins)).m_vValues.size());
        EXPECT_EQ(refuses(), outcomeOf(farAndWide, indexes(uiNbOfBins)));
        EXPECT_EQ(refuses(), outcomeOf(wide, indexes(uiNbOfBins)));
        EXPECT_FALSE(outcomeOf(nearlyAsWide, indexes(uiNbOfBins)).m_bDone);
    }
}

TEST(SpectralRangeFeature, LogsItsBinsOnceWhenTheyAreEstablished)
{
    const LogCapture log(s_szLogger);
    SpectralRangeFeature feature(1010, 100);

    outcomeOf(feature, indexes(128));
    outcomeOf(feature, indexes(128));

    expectDebug(log, "SpectralRangeFeature new center index = 32,width index = 4,  rel position in bin: 0.32");
}

TEST(SpectralRangeFeature, LogsNothingWhenTheBinsAreRefused)
{
    const LogCapture log(s_szLogger);
    SpectralRangeFeature feature(50, 100);

    outcomeOf(feature, indexes(128));

    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(SpectralRangeFeature, ClonesWithItsEstablishedBins)
{
    SpectralRangeFeature feature(1010, 31);
    outcomeOf(feature, indexes(128));
    const std::unique_ptr<SpectralRangeFeature> pClone(feature.clone());
    ASSERT_TRUE(feature.configure(configurationOf({{"frequencyHz", "500"}, {"widthHz", "0"}})));

    EXPECT_EQ(succeeds({31, 32, 33, 0.32}), outcomeOf(*pClone, indexes(256)));
    EXPECT_EQ(succeeds({32, 0.0}), outcomeOf(feature, indexes(256)));
}

TEST(SpectralRangeFeature, ReadsCentreAndHalfWidthAndLogsThem)
{
    SpectralRangeFeature feature;
    {
        const LogCapture log(s_szLogger);

        EXPECT_TRUE(feature.configure(configurationOf({{"frequencyHz", "1010"}, {"widthHz", "31"}})));

        expectDebug(log, "SpectralRangeFeature center freq = 1010 Hz, width = 31");
    }
    EXPECT_EQ(succeeds({31, 32, 33, 0.32}), outcomeOf(feature, indexes(128)));
}

TEST(SpectralRangeFeature, EstablishesItsBinsAnewAfterConfigure)
{
    SpectralRangeFeature feature(1000, 0);
    outcomeOf(feature, indexes(128));
    ASSERT_TRUE(feature.configure(configurationOf({{"frequencyHz", "1000"}, {"widthHz", "0"}})));

    EXPECT_EQ(succeeds({64, 0.0}), outcomeOf(feature, indexes(256)));
}

TEST(SpectralRangeFeature, TakesItsKeysBehindItsPrefix)
{
    SpectralRangeFeature feature;

    EXPECT_TRUE(
        feature.configure(configurationOf({{"spectralrange.frequencyHz", "1010"}, {"spectralrange.widthHz", "31"}})));

    EXPECT_EQ(succeeds({31, 32, 33, 0.32}), outcomeOf(feature, indexes(128)));
}

TEST(SpectralRangeFeature, AcceptsTheHalfWidthZero)
{
    SpectralRangeFeature feature(500, 500);

    EXPECT_TRUE(feature.configure(configurationOf({{"frequencyHz", "1000"}, {"widthHz", "0"}})));

    EXPECT_EQ(succeeds({32, 0.0}), outcomeOf(feature, indexes(128)));
}

// Established bins, centre and half-width are all as they were.
void expectUnchanged(SpectralRangeFeature& inout_feature)
{
    EXPECT_EQ(succeeds({31, 32, 33, 0.32}), outcomeOf(inout_feature, indexes(256)));
}

TEST(SpectralRangeFeature, ReportsAMissingCentreAndChangesNothing)
{
    SpectralRangeFeature feature(1010, 31);
    outcomeOf(feature, indexes(128));
    const LogCapture log(s_szLogger);

    EXPECT_FALSE(feature.configure(configurationOf({{"FrequencyHz", "500"}, {"widthHz", "0"}})));

    expectError(log, "Parameter frequencyHz is not set for spectral range feature");
    expectUnchanged(feature);
}

TEST(SpectralRangeFeature, ReportsAMissingHalfWidthAndChangesNothing)
{
    SpectralRangeFeature feature(1010, 31);
    outcomeOf(feature, indexes(128));
    const LogCapture log(s_szLogger);

    EXPECT_FALSE(feature.configure(configurationOf({{"frequencyHz", "500"}})));

    expectError(log, "Parameter widthHz is not set for spectral range feature");
    expectUnchanged(feature);
}

TEST(SpectralRangeFeature, RefusesUnusableCentresAndChangesNothing)
{
    for (const char* szCentre : {"0", "-1", "+1", "1000.5", "a", "", "1000Hz", "18446744073709551616"}) {
        SpectralRangeFeature feature(1010, 31);
        outcomeOf(feature, indexes(128));
        const LogCapture log(s_szLogger);

        EXPECT_FALSE(feature.configure(configurationOf({{"frequencyHz", szCentre}, {"widthHz", "0"}}))) << szCentre;

        expectError(log, "Invalid value in parameter frequencyHz");
        expectUnchanged(feature);
    }
}

TEST(SpectralRangeFeature, RefusesUnusableHalfWidthsAndChangesNothing)
{
    for (const char* szHalfWidth : {"-1", "20.5", "a", "", "20Hz", "18446744073709551616"}) {
        SpectralRangeFeature feature(1010, 31);
        outcomeOf(feature, indexes(128));
        const LogCapture log(s_szLogger);

        EXPECT_FALSE(feature.configure(configurationOf({{"frequencyHz", "500"}, {"widthHz", szHalfWidth}})))
            << szHalfWidth;

        expectError(log, "Invalid value in parameter widthHz");
        expectUnchanged(feature);
    }
}

TEST(SpectralRangeFeature, ReportsAnExceptionFromTheConfigurationAndChangesNothing)
{
    SpectralRangeFeature feature(1010, 31);
    outcomeOf(feature, indexes(128));
    const LogCapture log(s_szLogger);

    EXPECT_FALSE(feature.configure(ThrowingConfiguration(ThrowingConfiguration::At::HAS_KEY)));

    expectError(log,
                "Unexpected std::exception no such table caught in configure() with frequencyHz in provided config");
    expectUnchanged(feature);
}

// ---- MaxSpectralRangesFeature

MaxSpectralRangesFeature rangesOf(std::initializer_list<unsigned long> in_vCentresHz)
{
    MaxSpectralRangesFeature feature;
    for (const unsigned long uiCentreHz : in_vCentresHz)
        feature.addSpectralRange(uiCentreHz, 20);
    return feature;
}

TEST(MaxSpectralRangesFeature, RefusesToComputeWithoutRangesInSilence)
{
    const LogCapture log;
    MaxSpectralRangesFeature feature;

    EXPECT_EQ(refuses(), outcomeOf(feature, indexes(128)));

    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(MaxSpectralRangesFeature, AppendsTheRangeWithTheLargestBinAndItsPosition)
{
    // 440 Hz is 14.08 bins, 480 Hz is 15.36: bins 13 to 15 and 14 to 16.
    MaxSpectralRangesFeature feature = rangesOf({440, 480});
    Values vSpectrum = zerosBut(128, 16, 0.5);
    vSpectrum[14] = 0.25;

    EXPECT_EQ(succeeds({0.25, 0.0, 0.5, (480.0 - 15.0 * 31.25) / 31.25}), outcomeOf(feature, vSpectrum));

    vSpectrum[13] = 0.75;

    EXPECT_EQ(succeeds({0.75, 0.25, 0.0, (440.0 - 14.0 * 31.25) / 31.25}), outcomeOf(feature, vSpectrum));
}

TEST(MaxSpectralRangesFeature, KeepsTheEarlierRangeOnATie)
{
    Values vSpectrum(128, 0.0);
    vSpectrum[32] = 0.5;
    vSpectrum[64] = 0.5;
    MaxSpectralRangesFeature ascending = rangesOf({1000, 2010});
    MaxSpectralRangesFeature descending = rangesOf({2010, 1000});

    EXPECT_EQ(succeeds({0.0, 0.5, 0.0, 0.0}), outcomeOf(ascending, vSpectrum));
    EXPECT_EQ(succeeds({0.0, 0.5, 0.0, 0.32}), outcomeOf(descending, vSpectrum));
}

TEST(MaxSpectralRangesFeature, DoesNotLetThePositionCompete)
{
    // The position within the bin, 0.48, is larger than any bin.
    MaxSpectralRangesFeature feature = rangesOf({1000, 2015});

    EXPECT_EQ(succeeds({0.0, 0.25, 0.0, 0.0}), outcomeOf(feature, zerosBut(128, 32, 0.25)));
}

TEST(MaxSpectralRangesFeature, FindsTheStrongestOfNegativeValues)
{
    MaxSpectralRangesFeature feature = rangesOf({1000, 2000});
    Values vSpectrum(128, -2.0);
    vSpectrum[64] = -1.0;

    EXPECT_EQ(succeeds({-2.0, -1.0, -2.0, 0.0}), outcomeOf(feature, vSpectrum));
}

TEST(MaxSpectralRangesFeature, AppendsNothingWhenNoBinIsAboveTheLowestNumber)
{
    MaxSpectralRangesFeature feature = rangesOf({1000, 2000});

    EXPECT_EQ(succeeds({}), outcomeOf(feature, Values(128, s_dLowest)));
    EXPECT_EQ(succeeds({}), outcomeOf(feature, Values(128, s_dNaN)));
}

TEST(MaxSpectralRangesFeature, PutsNothingOutWhenARangeIsRefused)
{
    const AssertionCapture assertions;
    MaxSpectralRangesFeature feature = rangesOf({1000, 30});

    EXPECT_EQ(refuses(), outcomeOf(feature, indexes(128)));

    expectAssertion(assertions, "uiCenterIndex>uiRangeWidth");
}

TEST(MaxSpectralRangesFeature, PutsNothingOutWhenARangePassesTheSpectrum)
{
    const LogCapture log("kestrivon.assertion");
    MaxSpectralRangesFeature feature = rangesOf({1000, 3990});

    EXPECT_EQ(refuses(), outcomeOf(feature, indexes(128)));

    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(MaxSpectralRangesFeature, RefusesAnEmptySpectrum)
{
    const AssertionCapture assertions;
    MaxSpectralRangesFeature feature = rangesOf({1000});

    EXPECT_EQ(refuses(), outcomeOf(feature, {}));

    expectAssertion(assertions, "uiCenterIndex>uiRangeWidth");
}

TEST(MaxSpectralRangesFeature, GivesTheSameAgainAfterAFailure)
{
    MaxSpectralRangesFeature feature = rangesOf({1000});
    const Outcome first = outcomeOf(feature, indexes(128));
    outcomeOf(feature, indexes(16));

    EXPECT_EQ(first, outcomeOf(feature, indexes(128)));
}

TEST(MaxSpectralRangesFeature, ClonesItsRangesWithTheirEstablishedBins)
{
    MaxSpectralRangesFeature feature = rangesOf({1010});
    outcomeOf(feature, indexes(128));
    const std::unique_ptr<MaxSpectralRangesFeature> pClone(feature.clone());
    feature.addSpectralRange(2000, 20);

    EXPECT_EQ(succeeds({31, 32, 33, 0.32}), outcomeOf(*pClone, indexes(256)));
    EXPECT_EQ(succeeds({126, 127, 128, 129, 130, 0.0}), outcomeOf(feature, indexes(256)));
}

TEST(MaxSpectralRangesFeature, ReadsItsListCutAtCommasAndBlanks)
{
    const LogCapture log(s_szLogger, 20000);
    MaxSpectralRangesFeature feature;

    EXPECT_TRUE(feature.configure(configurationOf({{"frequenciesList", " ,1000, 2000,,3000  3500 ,"}})));

    for (const unsigned long uiIndex : {32UL, 64UL, 96UL, 112UL})
        EXPECT_EQ(succeeds({0.0, 0.5, 0.0, 0.0}), outcomeOf(feature, zerosBut(128, uiIndex, 0.5))) << uiIndex;
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(MaxSpectralRangesFeature, MakesTwoRangesOfTwoListedFrequencies)
{
    MaxSpectralRangesFeature listed;
    ASSERT_TRUE(listed.configure(configurationOf({{"frequenciesList", "440, 480"}})));
    MaxSpectralRangesFeature added = rangesOf({440, 480});

    for (unsigned long uiIndex = 12; uiIndex < 18; ++uiIndex)
        EXPECT_EQ(outcomeOf(added, zerosBut(128, uiIndex, 0.5)), outcomeOf(listed, zerosBut(128, uiIndex, 0.5)));
}

TEST(MaxSpectralRangesFeature, IsTwentyHertzWideAroundAListedFrequency)
{
    // 4000 bins of 1 Hz.
    Values vExpected = indexes(1021);
    vExpected.erase(vExpected.begin(), vExpected.begin() + 980);
    vExpected.push_back(0.0);
    MaxSpectralRangesFeature feature;
    ASSERT_TRUE(feature.configure(configurationOf({{"frequenciesList", "1000"}})));

    EXPECT_EQ(succeeds(vExpected), outcomeOf(feature, indexes(4000)));
}

TEST(MaxSpectralRangesFeature, ReplacesItsRangesByTheListedOnes)
{
    MaxSpectralRangesFeature feature = rangesOf({2000});
    ASSERT_TRUE(feature.configure(configurationOf({{"frequenciesList", "1000"}})));

    EXPECT_EQ(succeeds({31, 32, 33, 0.0}), outcomeOf(feature, indexes(128)));
}

TEST(MaxSpectralRangesFeature, HasNoRangesAfterAnEmptyList)
{
    MaxSpectralRangesFeature feature = rangesOf({1000});

    EXPECT_TRUE(feature.configure(configurationOf({{"frequenciesList", " , "}})));

    EXPECT_EQ(refuses(), outcomeOf(feature, indexes(128)));
}

TEST(MaxSpectralRangesFeature, TakesANumberForAListOfOne)
{
    ParameterTrie trie;
    trie.insert("frequenciesList", ParameterValue(1000L));
    MaxSpectralRangesFeature feature;

    EXPECT_TRUE(feature.configure(TrieConfiguration(trie)));

    EXPECT_EQ(succeeds({31, 32, 33, 0.0}), outcomeOf(feature, indexes(128)));
}

TEST(MaxSpectralRangesFeature, TakesItsKeyBehindItsPrefix)
{
    MaxSpectralRangesFeature feature;

    EXPECT_TRUE(feature.configure(configurationOf({{"maxspectralranges.frequenciesList", "1000"}})));

    EXPECT_EQ(succeeds({31, 32, 33, 0.0}), outcomeOf(feature, indexes(128)));
}

TEST(MaxSpectralRangesFeature, ReportsAMissingListAndKeepsItsRanges)
{
    MaxSpectralRangesFeature feature = rangesOf({1000});
    {
        const LogCapture log(s_szLogger);

        EXPECT_FALSE(feature.configure(configurationOf({{"frequencieslist", "2000"}})));

        expectError(log, "Could not find parameter frequenciesList in configuration");
    }
    EXPECT_EQ(succeeds({31, 32, 33, 0.0}), outcomeOf(feature, indexes(128)));
}

TEST(MaxSpectralRangesFeature, ReportsTheFirstTokenThatIsNoNumberAndKeepsItsRanges)
{
    const std::pair<const char*, const char*> aLists[] = {
        {"2000,440Hz,x", "440Hz"},  {"x", "x"},
        {"2000,-1", "-1"},          {"2000 +1", "+1"},
        {"2000;3000", "2000;3000"}, {"2000\t3000", "2000\t3000"},
        {"440.5", "440.5"},         {"18446744073709551616", "18446744073709551616"}};
    for (const auto& [szList, strToken] : aLists) {
        MaxSpectralRangesFeature feature = rangesOf({1000});
        {
            const LogCapture log(s_szLogger);

            EXPECT_FALSE(feature.configure(configurationOf({{"frequenciesList", szList}}))) << szList;

            expectError(log, std::string("Could not convert string atom \"") + strToken + "\"in an integer");
            EXPECT_EQ("AudioFeatureImpl", log.events().at(0).m_strFile);
        }
        EXPECT_EQ(succeeds({31, 32, 33, 0.0}), outcomeOf(feature, indexes(128))) << szList;
    }
}

TEST(MaxSpectralRangesFeature, ReportsAnExceptionFromTheConfigurationAndKeepsItsRanges)
{
    MaxSpectralRangesFeature feature = rangesOf({1000});
    {
        const LogCapture log(s_szLogger);

        EXPECT_FALSE(feature.configure(ThrowingConfiguration(ThrowingConfiguration::At::GET_VALUE)));

        expectError(log, "Unexpected std::exception the table is gone caught in configure() with frequenciesList in "
                         "provided config");
    }
    EXPECT_EQ(succeeds({31, 32, 33, 0.0}), outcomeOf(feature, indexes(128)));
}

// ---- LowFreqEnergyRatioFeature, LowFreqEnergyRatiosFeature

TEST(LowFreqEnergyRatioFeature, SumsTheBinsBelow1000Hz)
{
    // Bins 0 to 31.
    LowFreqEnergyRatioFeature feature;

    EXPECT_EQ(succeeds({496.0}), outcomeOf(feature, indexes(128)));
}

TEST(LowFreqEnergyRatioFeature, LeavesOutABinThatIsNotAllBelow1000Hz)
{
    // Ten bins of 400 Hz: two and a half lie below.
    LowFreqEnergyRatioFeature feature;

    EXPECT_EQ(succeeds({1.0}), outcomeOf(feature, indexes(10)));
}

TEST(LowFreqEnergyRatioFeature, IsZeroForAnEmptySpectrum)
{
    LowFreqEnergyRatioFeature feature;

    EXPECT_EQ(succeeds({0.0}), outcomeOf(feature, {}));
}

TEST(LowFreqEnergyRatioFeature, RemembersNoLength)
{
    LowFreqEnergyRatioFeature feature;
    outcomeOf(feature, indexes(128));

    EXPECT_EQ(succeeds({6.0}), outcomeOf(feature, indexes(16)));
}

TEST(LowFreqEnergyRatiosFeature, SumsTheBinsBelow100HzAndThoseBehindThemBelow1000Hz)
{
    // Bins 0 to 2, and 3 to 31.
    LowFreqEnergyRatiosFeature feature;

    EXPECT_EQ(succeeds({3.0, 493.0}), outcomeOf(feature, indexes(128)));
}

TEST(LowFreqEnergyRatiosFeature, IsOneAndZeroWhenAllEnergyIsInTheFirstBin)
{
    LowFreqEnergyRatiosFeature feature;

    EXPECT_EQ(succeeds({1.0, 0.0}), outcomeOf(feature, zerosBut(128, 0, 1.0)));
}

TEST(LowFreqEnergyRatiosFeature, IsZeroTwiceForAnEmptySpectrum)
{
    LowFreqEnergyRatiosFeature feature;

    EXPECT_EQ(succeeds({0.0, 0.0}), outcomeOf(feature, {}));
}

// ---- SpectralWeightedAreaFeature

TEST(SpectralWeightedAreaFeature, SumsIndexTimesBinTimesAWholeNumberOfHertz)
{
    // Bins 15 to 48 of 31 Hz, not of 31.25.
    SpectralWeightedAreaFeature feature;

    EXPECT_EQ(succeeds({1071.0 * 31.0}), outcomeOf(feature, Values(128, 1.0)));
}

TEST(SpectralWeightedAreaFeature, IncludesBothEndsOfItsBand)
{
    const auto areaOf = [](unsigned long in_uiIndex) {
        SpectralWeightedAreaFeature feature;
        return outcomeOf(feature, zerosBut(128, in_uiIndex, 1.0));
    };

    EXPECT_EQ(succeeds({0.0}), areaOf(14));
    EXPECT_EQ(succeeds({15.0 * 31.0}), areaOf(15));
    EXPECT_EQ(succeeds({48.0 * 31.0}), areaOf(48));
    EXPECT_EQ(succeeds({0.0}), areaOf(49));
}

TEST(SpectralWeightedAreaFeature, LogsItsBandOnceWhenItIsEstablished)
{
    const LogCapture log(s_szLogger);
    SpectralWeightedAreaFeature feature;

    outcomeOf(feature, Values(128, 1.0));
    outcomeOf(feature, Values(128, 1.0));

    expectDebug(log, "Index min: 15, index max: 48");
}

TEST(SpectralWeightedAreaFeature, KeepsItsBandButNotItsBinWidthForAnotherLength)
{
    SpectralWeightedAreaFeature feature;
    outcomeOf(feature, Values(128, 1.0));

    // 8000 / 512 is 15.625.
    EXPECT_EQ(succeeds({1071.0 * 15.0}), outcomeOf(feature, Values(256, 1.0)));
}

TEST(SpectralWeightedAreaFeature, RefusesASpectrumThatDoesNotHoldItsBand)
{
    SpectralWeightedAreaFeature feature;
    outcomeOf(feature, Values(128, 1.0));
    {
        const AssertionCapture assertions;

        EXPECT_EQ(refuses(), outcomeOf(feature, Values(48, 1.0)));

        expectAssertion(assertions, "m_uiIndexMax < uiInputSize");
    }
    EXPECT_EQ(succeeds({1071.0 * 81.0}), outcomeOf(feature, Values(49, 1.0)));
}

TEST(SpectralWeightedAreaFeature, RefusesAnEmptySpectrumAndThenTriesAgain)
{
    SpectralWeightedAreaFeature feature;
    {
        const AssertionCapture assertions;

        EXPECT_EQ(refuses(), outcomeOf(feature, {}));

        expectAssertion(assertions, "m_uiIndexMin < m_uiIndexMax");
    }
    EXPECT_EQ(succeeds({1071.0 * 31.0}), outcomeOf(feature, Values(128, 1.0)));
}

TEST(SpectralWeightedAreaFeature, RefusesAnEmptySpectrumBehindAnEstablishedBand)
{
    const AssertionCapture assertions;
    SpectralWeightedAreaFeature feature;
    outcomeOf(feature, Values(128, 1.0));

    EXPECT_EQ(refuses(), outcomeOf(feature, {}));

    expectAssertion(assertions, "m_uiIndexMax < uiInputSize");
}

TEST(SpectralWeightedAreaFeature, RefusesASpectrumOfOneBin)
{
    const AssertionCapture assertions;
    SpectralWeightedAreaFeature feature;

    EXPECT_EQ(refuses(), outcomeOf(feature, {1.0}));

    expectAssertion(assertions, "m_uiIndexMin < m_uiIndexMax");
}

TEST(SpectralWeightedAreaFeature, TakesASpectrumOfTwoBins)
{
    // From 2 * 0.125 - 0.5, which is below 0, to 2 * 0.375 + 0.5 truncated.
    SpectralWeightedAreaFeature feature;

    EXPECT_EQ(succeeds({1000.0}), outcomeOf(feature, {3.0, 0.5}));
}

TEST(SpectralWeightedAreaFeature, IsZeroForMoreBinsThanHertz)
{
    SpectralWeightedAreaFeature feature;

    EXPECT_EQ(succeeds({0.0}), outcomeOf(feature, Values(4001, 1.0)));
}

TEST(SpectralWeightedAreaFeature, ClonesWithItsBand)
{
    SpectralWeightedAreaFeature feature;
    outcomeOf(feature, Values(128, 1.0));
    const std::unique_ptr<SpectralWeightedAreaFeature> pClone(feature.clone());

    EXPECT_EQ(succeeds({1071.0 * 15.0}), outcomeOf(*pClone, Values(256, 1.0)));
}

// ---- SpectralSlopeFeature

TEST(SpectralSlopeFeature, SucceedsAndLeavesTheOutputAsItIs)
{
    SpectralSlopeFeature feature;
    Math::DoubleVector vOut = {1.0, 2.0};

    EXPECT_TRUE(feature.compute(toVector(indexes(128)), vOut));
    EXPECT_TRUE(feature.compute({}, vOut));

    EXPECT_EQ(Math::DoubleVector({1.0, 2.0}), vOut);
}

} // namespace
} // namespace Corvana::Audio
