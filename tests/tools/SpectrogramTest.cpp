// SPDX-License-Identifier: Apache-2.0
#include "tools/Spectrogram.h"

#include "corvana/AudioFeatureImpl.h"
#include "support/Signals.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace Corvana::Tools {
namespace {

using Corvana::Test::noise;
using Corvana::Test::sine;
using Math::DoubleVector;

Spectrogram spectrogramOf(const PlotStretch& in_stretch, const DoubleVector& in_vSamples,
                          unsigned long in_uiMaxNbOfRows = 512)
{
    Spectrogram spectrogram(in_stretch, in_uiMaxNbOfRows);
    spectrogram.push(0, std::span<const double>(in_vSamples.data(), in_vSamples.size()));
    spectrogram.finish();
    return spectrogram;
}

std::size_t strongestRow(const Spectrogram& in_spectrogram, std::size_t in_uiColumn)
{
    std::size_t uiStrongest = 0;
    for (std::size_t uiRow = 1; uiRow < in_spectrogram.getNbOfRows(); ++uiRow)
        if (in_spectrogram.getLevel(in_uiColumn, uiRow) > in_spectrogram.getLevel(in_uiColumn, uiStrongest))
            uiStrongest = uiRow;
    return uiStrongest;
}

TEST(Spectrogram, HasATonesLevelAtItsFrequency)
{
    // 1000 Hz at 8000 Hz are bin 32 of windows of 256 samples.
    const Spectrogram spectrogram = spectrogramOf({0, 8000, 8000, 100}, sine(1000.0, 8000.0, 8000, 0.5));
    EXPECT_EQ(spectrogram.getWindowSize(), 256U);
    EXPECT_EQ(spectrogram.getNbOfRows(), 128U);
    EXPECT_EQ(spectrogram.getNbOfColumns(), 100U);
    EXPECT_EQ(spectrogram.getTopHz(), 4000.0);
    for (std::size_t uiColumn = 10; uiColumn < 90; ++uiColumn) {
        EXPECT_EQ(strongestRow(spectrogram, uiColumn), 32U) << uiColumn;
        // Half of full scale; the power is kept in single precision.
        EXPECT_NEAR(spectrogram.getLevel(uiColumn, 32), 20.0 * std::log10(0.5), 1e-3) << uiColumn;
    }
}

TEST(Spectrogram, HasTwiceTheLevelOfAConstantAtZero)
{
    const Spectrogram spectrogram = spectrogramOf({0, 8000, 8000, 100}, DoubleVector(8000, 0.25));
    for (std::size_t uiColumn = 10; uiColumn < 90; ++uiColumn)
        EXPECT_NEAR(spectrogram.getLevel(uiColumn, 0), 20.0 * std::log10(0.5), 1e-3) << uiColumn;
}

TEST(Spectrogram, IsInProportionToTheFeatureSpectrum)
{
    // A single window around the middle of two samples.
    const DoubleVector vSamples = noise(256);
    const Spectrogram spectrogram = spectrogramOf({127, 129, 8000, 1}, vSamples);
    ASSERT_EQ(spectrogram.getWindowSize(), 16U);
    Audio::SpectrumFeature feature;
    DoubleVector vWindow;
    for (std::size_t uiSample = 120; uiSample < 136; ++uiSample)
        vWindow.push_back(vSamples[uiSample]);
    const DoubleVector vShares = Corvana::Test::valuesOf(feature, vWindow);
    for (std::size_t uiBin = 1; uiBin < vShares.size(); ++uiBin)
        EXPECT_NEAR(spectrogram.getLevel(0, uiBin) - spectrogram.getLevel(0, 0),
                    10.0 * std::log10(vShares[uiBin] / vShares[0]), 1e-4)
            << uiBin;
}

TEST(Spectrogram, FollowsASweep)
{
    DoubleVector vSamples;
    for (int iSample = 0; iSample < 16000; ++iSample)
        vSamples.push_back(std::sin(6.283185307179586 * 1000.0 * iSample / 8000.0 * iSample / 8000.0));
    const Spectrogram spectrogram = spectrogramOf({0, 16000, 8000, 50}, vSamples);
    // Its frequency is 2000 Hz times the seconds; a row is 31.25 Hz.
    for (std::size_t uiColumn = 2; uiColumn < 48; ++uiColumn) {
        const double dSeconds = (static_cast<double>(uiColumn) + 0.5) / 25.0;
        EXPECT_NEAR(static_cast<double>(strongestRow(spectrogram, uiColumn)), 2000.0 * dSeconds / 31.25, 2.0);
    }
}

TEST(Spectrogram, IsSilentWhereThereIsSilence)
{
    const Spectrogram spectrogram = spectrogramOf({0, 8000, 8000, 10}, DoubleVector(8000, 0.0));
    EXPECT_EQ(spectrogram.getHighestLevel(), -std::numeric_limits<double>::infinity());
    EXPECT_LE(spectrogram.getLevelAt(0.5, 0.5, 0.6), -1000.0);
}

TEST(Spectrogram, IsTheSameForPiecesOfOneOfSevenAndForEverything)
{
    const DoubleVector vSamples = noise(4000);
    const PlotStretch stretch{1000, 3001, 8000, 33};
    const Spectrogram whole = spectrogramOf(stretch, vSamples);
    for (const unsigned long uiPiece : {1UL, 7UL}) {
        Spectrogram spectrogram(stretch, 512);
        for (unsigned long uiFirst = 0; uiFirst < vSamples.size(); uiFirst += uiPiece)
            spectrogram.push(uiFirst, std::span<const double>(vSamples.data(), vSamples.size())
                                          .subspan(uiFirst, std::min(uiPiece, vSamples.size() - uiFirst)));
        spectrogram.finish();
        for (std::size_t uiColumn = 0; uiColumn < 33; ++uiColumn)
            for (std::size_t uiRow = 0; uiRow < whole.getNbOfRows(); ++uiRow)
                ASSERT_EQ(spectrogram.getLevel(uiColumn, uiRow), whole.getLevel(uiColumn, uiRow));
    }
}

TEST(Spectrogram, ShowsThePartOfARecordingAsInTheWhole)
{
    const DoubleVector vSamples = noise(16000);
    const Spectrogram whole = spectrogramOf({0, 16000, 8000, 100}, vSamples);
    // Only the samples that it wants.
    Spectrogram part({8000, 16000, 8000, 50}, 512);
    ASSERT_EQ(part.getWindowSize(), whole.getWindowSize());
    EXPECT_LT(part.getFirstWanted(), 8000U);
    EXPECT_GT(part.getEndWanted(), 16000U);
    const std::span<const double> samples(vSamples.data(), vSamples.size());
    part.push(part.getFirstWanted(), samples.subspan(part.getFirstWanted()));
    part.finish();
    for (std::size_t uiRow = 0; uiRow < 128; ++uiRow)
        EXPECT_EQ(part.getLevel(10, uiRow), whole.getLevel(60, uiRow)) << uiRow;
}

TEST(Spectrogram, IsSilentBehindTheEndOfARecordingThatBreaksOff)
{
    const Spectrogram spectrogram = spectrogramOf({0, 8000, 8000, 10}, sine(1000.0, 8000.0, 4000));
    EXPECT_GT(spectrogram.getLevel(3, 32), -10.0);
    for (std::size_t uiColumn = 6; uiColumn < 10; ++uiColumn)
        EXPECT_EQ(spectrogram.getLevel(uiColumn, 32), -std::numeric_limits<double>::infinity());
}

TEST(Spectrogram, TakesShorterWindowsForShortStretches)
{
    EXPECT_EQ(Spectrogram({0, 400, 8000, 1000}, 512).getWindowSize(), 32U);
    EXPECT_EQ(Spectrogram({0, 1, 8000, 1000}, 512).getWindowSize(), 16U);
    EXPECT_EQ(Spectrogram({0, 44100, 44100, 1000}, 512).getWindowSize(), 1024U);
    EXPECT_EQ(Spectrogram({0, 100000000, 10000000, 1000}, 512).getWindowSize(), 8192U);
}

TEST(Spectrogram, KeepsTheStrongestBinOfARow)
{
    const DoubleVector vTone = sine(1000.0, 8000.0, 8000, 0.5);
    const Spectrogram spectrogram = spectrogramOf({0, 8000, 8000, 10}, vTone, 40);
    EXPECT_EQ(spectrogram.getNbOfRows(), 32U);
    EXPECT_EQ(strongestRow(spectrogram, 5), 8U);
    EXPECT_NEAR(spectrogram.getLevel(5, 8), 20.0 * std::log10(0.5), 1e-3);
}

TEST(Spectrogram, ShowsAToneAtItsFrequencyInFewAndInManyPixels)
{
    const DoubleVector vTone = sine(1000.0, 8000.0, 8000, 0.5);
    for (const unsigned long uiMaxNbOfRows : {512UL, 40UL}) {
        const Spectrogram spectrogram = spectrogramOf({0, 8000, 8000, 10}, vTone, uiMaxNbOfRows);
        for (const int iHeight : {16, 50, 240, 1000}) {
            int iStrongest = 0;
            double dStrongest = -1e9;
            for (int iPixel = 0; iPixel < iHeight; ++iPixel) {
                const double dLevel = spectrogram.getLevelAt(0.5, iPixel / static_cast<double>(iHeight),
                                                             (iPixel + 1) / static_cast<double>(iHeight));
                if (dLevel > dStrongest) {
                    dStrongest = dLevel;
                    iStrongest = iPixel;
                }
            }
            // A row of 125 Hz tells no more than that.
            const double dTolerance = std::max(1.0, uiMaxNbOfRows == 40UL ? iHeight / 64.0 : 1.0);
            EXPECT_NEAR(iStrongest + 0.5, 0.25 * iHeight, dTolerance) << iHeight << " of " << uiMaxNbOfRows;
            EXPECT_GT(dStrongest, -8.0);
        }
    }
}

TEST(Spectrogram, TakesWhatIsNoNumberForSilence)
{
    DoubleVector vTone = sine(1000.0, 8000.0, 8000, 0.5);
    vTone[4000] = std::nan("");
    const Spectrogram spectrogram = spectrogramOf({0, 8000, 8000, 10}, vTone);
    for (std::size_t uiColumn = 0; uiColumn < 10; ++uiColumn)
        EXPECT_EQ(strongestRow(spectrogram, uiColumn), 32U);
}

} // namespace
} // namespace Corvana::Tools
