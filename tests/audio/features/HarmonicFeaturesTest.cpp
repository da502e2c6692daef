// SPDX-License-Identifier: Apache-2.0
#include "FeatureTestSupport.h"

#include "corvana/AudioFeatureImpl.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace Corvana::Audio {
namespace {

using namespace Test;
using testing::ElementsAre;
using testing::IsEmpty;

const double s_dLogOfNothing = std::log(1e-6);

// Ones, but for the given bins, which hold 2: a product that reads one of them is doubled.
Values onesBut(unsigned long in_uiNbOfBins, std::initializer_list<unsigned long> in_vBins)
{
    Values vBins(in_uiNbOfBins, 1.0);
    for (const unsigned long uiBin : in_vBins)
        vBins[uiBin] = 2.0;
    return vBins;
}

// Multiplied one after another, as the features do.
double power(double in_dBase, int in_iExponent)
{
    double dPower = 1.0;
    while (in_iExponent-- > 0)
        dPower *= in_dBase;
    return dPower;
}

template <class FeatureT>
double valueOf(const Values& in_vSpectrum, unsigned long in_uiPlace)
{
    FeatureT feature;
    return outcomeOf(feature, in_vSpectrum).m_vValues.at(in_uiPlace);
}

// The bins that the value at a place depends on, found by doubling them one at a time.
template <class FeatureT>
std::vector<unsigned long> binsRead(unsigned long in_uiNbOfBins, unsigned long in_uiPlace)
{
    const double dPlain = valueOf<FeatureT>(onesBut(in_uiNbOfBins, {}), in_uiPlace);
    std::vector<unsigned long> vBins;
    for (unsigned long uiBin = 0; uiBin < in_uiNbOfBins; ++uiBin)
        if (valueOf<FeatureT>(onesBut(in_uiNbOfBins, {uiBin}), in_uiPlace) != dPlain)
            vBins.push_back(uiBin);
    return vBins;
}

// ---- HarmonicProductFeature

TEST(HarmonicProductFeature, PutsOutACandidateForEveryFifthBinAndNothingBelow100Hz)
{
    HarmonicProductFeature feature;
    Values vExpected(26, power(26.0, 5));
    vExpected[0] = vExpected[1] = vExpected[2] = 0.0;

    EXPECT_EQ(succeeds(vExpected), outcomeOf(feature, Values(128, 1.0)));
}

TEST(HarmonicProductFeature, MultipliesTheFirstFiveMultiplesOfACandidate)
{
    EXPECT_THAT(binsRead<HarmonicProductFeature>(128, 5), ElementsAre(5, 10, 15, 20, 25));
    EXPECT_THAT(binsRead<HarmonicProductFeature>(128, 25), ElementsAre(25, 50, 75, 100, 125));
    EXPECT_THAT(binsRead<HarmonicProductFeature>(128, 3), ElementsAre(3, 6, 9, 12, 15));
    EXPECT_THAT(binsRead<HarmonicProductFeature>(128, 2), IsEmpty());
}

TEST(HarmonicProductFeature, StandsOutAtTheFundamentalOfAHarmonicSeries)
{
    // Five equal partials of 250 Hz; any other candidate meets a bin of 0.
    Values vSpectrum(128, 0.0);
    for (const unsigned long uiBin : {8UL, 16UL, 24UL, 32UL, 40UL})
        vSpectrum[uiBin] = 0.2;
    Values vExpected(26, 0.0);
    double dProduct = 26.0 * 0.2;
    for (int h = 2; h <= 5; ++h)
        dProduct = dProduct * 26.0 * 0.2;
    vExpected[8] = dProduct;
    HarmonicProductFeature feature;

    EXPECT_EQ(succeeds(vExpected), outcomeOf(feature, vSpectrum));
}

TEST(HarmonicProductFeature, MultipliesFromLeftToRight)
{
    // (0.1 * 3) * 0.7 and so on: the last digits tell the order.
    const Values vSpectrum = {0.9, 0.1, 0.7, 0.3, 0.11, 0.13, 0.17, 0.19, 0.23, 0.29, 0.31};
    double dFirst = 3.0 * 0.1;
    dFirst = (dFirst * 3.0) * 0.7;
    dFirst = (dFirst * 3.0) * 0.3;
    dFirst = (dFirst * 3.0) * 0.11;
    dFirst = (dFirst * 3.0) * 0.13;
    double dSecond = 3.0 * 0.7;
    dSecond = (dSecond * 3.0) * 0.11;
    dSecond = (dSecond * 3.0) * 0.17;
    dSecond = (dSecond * 3.0) * 0.23;
    dSecond = (dSecond * 3.0) * 0.31;
    HarmonicProductFeature feature;

    EXPECT_EQ(succeeds({0.0, dFirst, dSecond}), outcomeOf(feature, vSpectrum));
}

TEST(HarmonicProductFeature, HasACandidateMoreForEveryFiveBins)
{
    const auto sizeFor = [](unsigned long in_uiNbOfBins) {
        HarmonicProductFeature feature;
        return outcomeOf(feature, Values(in_uiNbOfBins, 1.0)).m_vValues.size();
    };

    EXPECT_EQ(0u, sizeFor(0));
    EXPECT_EQ(1u, sizeFor(1));
    EXPECT_EQ(1u, sizeFor(5));
    EXPECT_EQ(2u, sizeFor(6));
    EXPECT_EQ(2u, sizeFor(10));
    EXPECT_EQ(3u, sizeFor(11));
}

TEST(HarmonicProductFeature, ShrinksItsScratchWithItsInput)
{
    HarmonicProductFeature feature;
    outcomeOf(feature, Values(128, 1.0));

    EXPECT_EQ(succeeds({0.0, 32.0}), outcomeOf(feature, Values(6, 1.0)));
}

// ---- RobustHarmonicProductFeature

TEST(RobustHarmonicProductFeature, MultipliesTheMultiplesOfTheNextCandidate)
{
    EXPECT_THAT(binsRead<RobustHarmonicProductFeature>(128, 5), ElementsAre(5, 12, 18, 24, 30));
    EXPECT_THAT(binsRead<RobustHarmonicProductFeature>(128, 3), ElementsAre(3, 8, 12, 16, 20));
}

TEST(RobustHarmonicProductFeature, StaysWithTheCandidateWhereTheNextOnesMultipleIsOutside)
{
    EXPECT_THAT(binsRead<RobustHarmonicProductFeature>(128, 25), ElementsAre(25, 52, 78, 104, 125));
}

TEST(RobustHarmonicProductFeature, ShiftsUpToTheLastBin)
{
    // Bin 130 exists in a spectrum of 131 bins only.
    EXPECT_THAT(binsRead<RobustHarmonicProductFeature>(130, 25), ElementsAre(25, 52, 78, 104, 125));
    EXPECT_THAT(binsRead<RobustHarmonicProductFeature>(131, 25), ElementsAre(25, 52, 78, 104, 130));
}

TEST(RobustHarmonicProductFeature, HasScaleSizeAndCutOfTheHarmonicProduct)
{
    RobustHarmonicProductFeature feature;
    Values vExpected(26, power(26.0, 5));
    vExpected[0] = vExpected[1] = vExpected[2] = 0.0;

    EXPECT_EQ(succeeds(vExpected), outcomeOf(feature, Values(128, 1.0)));
    EXPECT_EQ(succeeds({}), outcomeOf(feature, {}));
    EXPECT_EQ(succeeds({0.0}), outcomeOf(feature, {1.0}));
}

// ---- AntiHarmonicProductFeature

TEST(AntiHarmonicProductFeature, MultipliesTheBinsHalfwayBetweenTheMultiples)
{
    // The first place is candidate 2.
    EXPECT_THAT(binsRead<AntiHarmonicProductFeature>(128, 0), ElementsAre(1, 3, 5, 7, 9));
    EXPECT_THAT(binsRead<AntiHarmonicProductFeature>(128, 2), ElementsAre(2, 6, 10, 14, 18));
    EXPECT_THAT(binsRead<AntiHarmonicProductFeature>(128, 3), ElementsAre(3, 8, 13, 18, 23));
    EXPECT_THAT(binsRead<AntiHarmonicProductFeature>(128, 23), ElementsAre(13, 38, 63, 88, 113));
}

TEST(AntiHarmonicProductFeature, ScalesEveryFactorTwice)
{
    AntiHarmonicProductFeature feature;

    EXPECT_EQ(succeeds(Values(24, power(26.0, 10))), outcomeOf(feature, Values(128, 1.0)));
}

TEST(AntiHarmonicProductFeature, MultipliesFromLeftToRight)
{
    const Values vSpectrum = {0.9, 0.1, 0.7, 0.3, 0.11, 0.13, 0.17, 0.19, 0.23, 0.29, 0.31};
    double dProduct = 1.0;
    for (const double dBin : {0.1, 0.3, 0.13, 0.19, 0.29})
        dProduct = ((dProduct * 3.0) * dBin) * 3.0;
    AntiHarmonicProductFeature feature;

    EXPECT_EQ(succeeds({dProduct}), outcomeOf(feature, vSpectrum));
}

TEST(AntiHarmonicProductFeature, RefusesFewerThanElevenBins)
{
    for (const unsigned long uiNbOfBins : {0UL, 1UL, 5UL, 10UL}) {
        const AssertionCapture assertions;
        AntiHarmonicProductFeature feature;

        EXPECT_EQ(refuses(), outcomeOf(feature, Values(uiNbOfBins, 1.0))) << uiNbOfBins;

        ASSERT_THAT(assertions.texts(), ElementsAre("m_vScratch.size() > 2"));
        EXPECT_EQ("AudioFeatureImpl", assertions.events().front().m_strFile);
        EXPECT_EQ(40000, assertions.events().front().m_iLevel);
    }
}

TEST(AntiHarmonicProductFeature, IsOneWhenTheLargestBinIsZero)
{
    AntiHarmonicProductFeature feature;
    Values vNegative(16, -1.0);
    vNegative[7] = 0.0;

    EXPECT_EQ(succeeds(Values(24, 1.0)), outcomeOf(feature, Values(128, 0.0)));
    EXPECT_EQ(succeeds({1.0, 1.0}), outcomeOf(feature, vNegative));
    EXPECT_EQ(succeeds({1.0, 1.0}), outcomeOf(feature, Values(16, -0.0)));
}

TEST(AntiHarmonicProductFeature, IsAProductWhenTheLargestBinIsNegative)
{
    AntiHarmonicProductFeature feature;

    EXPECT_EQ(succeeds({-1024.0, -1024.0}), outcomeOf(feature, Values(16, -0.25)));
}

TEST(AntiHarmonicProductFeature, KeepsCandidatesBelow100Hz)
{
    // 400 bins of 10 Hz: candidates 2 to 9 lie below.
    AntiHarmonicProductFeature feature;

    EXPECT_EQ(succeeds(Values(78, power(80.0, 10))), outcomeOf(feature, Values(400, 1.0)));
}

// ---- OldHarmonicProductFeature

TEST(OldHarmonicProductFeature, MultipliesFourBinsForEachOfTheFirstQuarter)
{
    OldHarmonicProductFeature feature;
    Values vExpected(128, 0.0);
    for (unsigned long i = 0; i < 32; ++i)
        vExpected[i] = power(128.0, 4);

    EXPECT_EQ(succeeds(vExpected), outcomeOf(feature, Values(128, 1.0)));
    EXPECT_THAT(binsRead<OldHarmonicProductFeature>(128, 0), ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(binsRead<OldHarmonicProductFeature>(128, 5), ElementsAre(5, 11, 17, 23));
    EXPECT_THAT(binsRead<OldHarmonicProductFeature>(128, 31), ElementsAre(31, 63, 95, 127));
}

TEST(OldHarmonicProductFeature, MultipliesFromLeftToRight)
{
    const Values vSpectrum = {0.1, 0.1, 0.7, 0.11, 0.9, 0.9, 0.9};
    double dProduct = 7.0 * 0.1;
    dProduct = (dProduct * 7.0) * 0.1;
    dProduct = (dProduct * 7.0) * 0.7;
    dProduct = (dProduct * 7.0) * 0.11;
    OldHarmonicProductFeature feature;

    EXPECT_EQ(succeeds({dProduct, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0}), outcomeOf(feature, vSpectrum));
}

TEST(OldHarmonicProductFeature, IsAllZeroForFewerThanFourBins)
{
    for (unsigned long uiNbOfBins = 0; uiNbOfBins < 4; ++uiNbOfBins) {
        OldHarmonicProductFeature feature;

        EXPECT_EQ(succeeds(Values(uiNbOfBins, 0.0)), outcomeOf(feature, Values(uiNbOfBins, 1.0)));
    }
}

TEST(OldHarmonicProductFeature, LeavesNothingOfALongerSpectrum)
{
    OldHarmonicProductFeature feature;
    outcomeOf(feature, Values(128, 1.0));

    EXPECT_EQ(succeeds({625.0, 0.0, 0.0, 0.0, 0.0}), outcomeOf(feature, Values(5, 1.0)));
}

// ---- PeaksFeature

TEST(PeaksFeature, FlattensEachPeakWithItsFlanks)
{
    PeaksFeature feature;

    EXPECT_EQ(succeeds({5.0, 3.0, 0.0, std::log(6.0), std::log(2.0), s_dLogOfNothing}),
              outcomeOf(feature, {0, 1, 3, 1, 0, 2, 5, 2}));
}

TEST(PeaksFeature, FindsThreePeaksLargestFirst)
{
    PeaksFeature feature;

    EXPECT_EQ(succeeds({9.0, 8.0, 7.0, std::log(3.0), std::log(5.0), 0.0}), outcomeOf(feature, {1, 7, 0, 9, 1, 8, 2}));
}

TEST(PeaksFeature, EndsAFlankWhereItIsLevel)
{
    // To either side of the 9, one of the two 4s is left.
    PeaksFeature feature;

    EXPECT_EQ(succeeds({9.0, 4.0, 4.0, std::log(3.0), 0.0, std::log(5.0)}), outcomeOf(feature, {1, 4, 4, 9, 4, 4, 1}));
}

TEST(PeaksFeature, EndsAFlankWhereItRises)
{
    PeaksFeature feature;

    EXPECT_EQ(succeeds({9.0, 3.0, 2.5, std::log(3.0), 0.0, std::log(6.0)}),
              outcomeOf(feature, {0, 3, 2, 9, 4, 1, 2.5, 0}));
}

TEST(PeaksFeature, FlattensAFlankDownToTheFirstValue)
{
    PeaksFeature feature;

    EXPECT_EQ(succeeds({9.0, 2.0, 0.0, std::log(3.0), std::log(5.0), s_dLogOfNothing}),
              outcomeOf(feature, {1, 2, 3, 9, 0, 2}));
}

TEST(PeaksFeature, FlattensAFlankDownToTheLastValue)
{
    PeaksFeature feature;

    EXPECT_EQ(succeeds({9.0, 2.0, 0.0, std::log(2.0), s_dLogOfNothing, s_dLogOfNothing}),
              outcomeOf(feature, {2, 0, 9, 3, 2, 1}));
}

TEST(PeaksFeature, TakesAmplitudes)
{
    PeaksFeature feature;

    EXPECT_EQ(succeeds({7.0, 5.0, 3.0, std::log(2.0), s_dLogOfNothing, std::log(4.0)}),
              outcomeOf(feature, {-5, 0, -7, 0, 3}));
}

TEST(PeaksFeature, TakesTheFirstOfEqualPeaks)
{
    PeaksFeature feature;

    EXPECT_EQ(succeeds({4.0, 4.0, 4.0, 0.0, std::log(3.0), std::log(5.0)}),
              outcomeOf(feature, {0, 4, 0, 4, 0, 4, 0, 4}));
}

TEST(PeaksFeature, PutsOutSixValuesForASingleOne)
{
    PeaksFeature feature;

    EXPECT_EQ(succeeds({2.0, 0.0, 0.0, s_dLogOfNothing, s_dLogOfNothing, s_dLogOfNothing}), outcomeOf(feature, {2.0}));
    EXPECT_NEAR(-13.8155, s_dLogOfNothing, 1e-4); // the four decimals that are promised
}

TEST(PeaksFeature, RefusesAnEmptyInputInSilence)
{
    const LogCapture log;
    PeaksFeature feature;

    EXPECT_EQ(refuses(), outcomeOf(feature, {}));

    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(PeaksFeature, ForgetsTheLastInput)
{
    PeaksFeature feature;
    outcomeOf(feature, {1, 7, 0, 9, 1, 8, 2});

    EXPECT_EQ(succeeds({1.0, 0.0, 0.0, 0.0, s_dLogOfNothing, s_dLogOfNothing}), outcomeOf(feature, {0, 1, 0}));
}

// ---- MyFeature

TEST(MyFeature, SucceedsAndLeavesTheOutputAsItIs)
{
    MyFeature feature;
    Math::DoubleVector vOut = {1.0, 2.0};

    EXPECT_TRUE(feature.compute({3.0}, vOut));
    EXPECT_TRUE(feature.compute({}, vOut));

    EXPECT_EQ(Math::DoubleVector({1.0, 2.0}), vOut);
}

} // namespace
} // namespace Corvana::Audio
