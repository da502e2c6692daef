// SPDX-License-Identifier: Apache-2.0
// The measure is measured itself: against values worked out by hand.
#include "ReferenceSpectrum.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

using Corvana::Test::referenceFlatness;
using Corvana::Test::referenceHannWindow;
using Corvana::Test::referencePowerSpectrum;
using Corvana::Test::referenceReducedSpectrum;
using testing::Each;

namespace {

// Bin i of a spectrum to reduce: 2^-i would fade out, so a whole number that tells the bins of a sum apart.
std::vector<double> numbered(std::size_t in_uiNbOfBins)
{
    std::vector<double> vBins(in_uiNbOfBins);
    std::iota(vBins.begin(), vBins.end(), 1000.0);
    return vBins;
}

double sumOf(const std::vector<double>& in_vBins, std::size_t in_uiFirst, std::size_t in_uiLast)
{
    double dSum = 0.0;
    for (std::size_t uiBin = in_uiFirst; uiBin <= in_uiLast; ++uiBin)
        dSum += in_vBins[uiBin];
    return dSum;
}

} // namespace

TEST(ReferenceHannWindow, OfFiveSamplesRisesToOneAndFalls)
{
    const std::vector<double> w = referenceHannWindow(5);

    EXPECT_EQ(0.0, w[0]);
    EXPECT_NEAR(0.5, w[1], 1e-15);
    EXPECT_EQ(1.0, w[2]);
    EXPECT_NEAR(0.5, w[3], 1e-15);
    EXPECT_EQ(0.0, w[4]);
}

TEST(ReferencePowerSpectrum, SumsToOne)
{
    std::vector<double> vWindow(256);
    for (std::size_t uiIndex = 0; uiIndex < 256; ++uiIndex)
        vWindow[uiIndex] = std::sin(0.3 * static_cast<double>(uiIndex));

    const std::vector<double> vSpectrum = referencePowerSpectrum(vWindow);

    EXPECT_EQ(128u, vSpectrum.size());
    EXPECT_NEAR(1.0, std::accumulate(vSpectrum.begin(), vSpectrum.end(), 0.0), 1e-13);
}

TEST(ReferencePowerSpectrum, OfFourSamplesIsAsComputedByHand)
{
    // Tapered by 0, 3/4, 3/4, 0: F(0) = 3/2, F(1) = -3/4 + 3/4 i; powers 9/4 and 9/8.
    const std::vector<double> vSpectrum = referencePowerSpectrum({1.0, 1.0, 1.0, 1.0});

    ASSERT_EQ(2u, vSpectrum.size());
    EXPECT_NEAR(2.0 / 3.0, vSpectrum[0], 1e-15);
    EXPECT_NEAR(1.0 / 3.0, vSpectrum[1], 1e-15);
}

TEST(ReferencePowerSpectrum, OfSilenceIsZero)
{
    EXPECT_THAT(referencePowerSpectrum(std::vector<double>(64, 0.0)), Each(0.0));
}

TEST(ReferenceReducedSpectrum, AddsABinToTheLastBandWhereTheGroupsFit)
{
    const std::vector<double> vBins = numbered(128);

    const std::vector<double> vBands = referenceReducedSpectrum(vBins, 8);

    ASSERT_EQ(8u, vBands.size());
    for (std::size_t uiBand = 0; uiBand < 7; ++uiBand)
        EXPECT_EQ(sumOf(vBins, 16 * uiBand, 16 * uiBand + 15), vBands[uiBand]);
    EXPECT_EQ(sumOf(vBins, 112, 127) + vBins[7], vBands[7]);
}

TEST(ReferenceReducedSpectrum, LosesGroupsBehindTheLastBandWhereTheyDoNotFit)
{
    const std::vector<double> vBins = numbered(128);

    const std::vector<double> vForty = referenceReducedSpectrum(vBins, 40);
    const std::vector<double> vTwenty = referenceReducedSpectrum(vBins, 20);

    ASSERT_EQ(40u, vForty.size());
    EXPECT_EQ(sumOf(vBins, 0, 2), vForty[0]);
    EXPECT_EQ(sumOf(vBins, 114, 116), vForty[38]);
    EXPECT_EQ(sumOf(vBins, 117, 119) + sumOf(vBins, 126, 127), vForty[39]);
    ASSERT_EQ(20u, vTwenty.size());
    EXPECT_EQ(sumOf(vBins, 108, 113), vTwenty[18]);
    EXPECT_EQ(sumOf(vBins, 114, 119) + sumOf(vBins, 126, 127), vTwenty[19]);
}

TEST(ReferenceReducedSpectrum, LeavesFewerBinsThanBandsAlone)
{
    EXPECT_EQ(numbered(32), referenceReducedSpectrum(numbered(32), 40));
    EXPECT_TRUE(referenceReducedSpectrum({}, 40).empty());
}

TEST(ReferenceFlatness, IsOneForAnEmptyInputAnEvenOneAndASingleLine)
{
    std::vector<double> vLine(128, 0.0);
    vLine[5] = 1.0;

    EXPECT_EQ(1.0, referenceFlatness({}));
    EXPECT_NEAR(1.0, referenceFlatness(std::vector<double>(128, 1.0 / 128.0)), 1e-14);
    EXPECT_EQ(1.0, referenceFlatness(vLine));
}

TEST(ReferenceFlatness, IsTheGeometricMeanTimesTheNumberOfValues)
{
    EXPECT_NEAR(2.0 * std::sqrt(0.25 * 0.75), referenceFlatness({0.25, 0.75}), 1e-15);
}
