// SPDX-License-Identifier: Apache-2.0
#include "tools/Waveform.h"

#include "support/Signals.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace Corvana::Tools {
namespace {

Waveform waveformOf(const PlotStretch& in_stretch, std::span<const double> in_samples, double in_dClippingLevel = 0.99)
{
    Waveform waveform(in_stretch, in_dClippingLevel);
    waveform.push(0, in_samples);
    return waveform;
}

TEST(Waveform, TellsTheLeastAndTheGreatestSampleOfEachColumn)
{
    const double adSamples[] = {0.5, -0.25, 0.125, 0.0, -0.5, -0.75};
    const Waveform waveform = waveformOf({0, 6, 8000, 3}, adSamples);
    ASSERT_EQ(waveform.getColumns().size(), 3U);
    EXPECT_EQ(waveform.getColumns()[0].m_fMin, -0.25F);
    EXPECT_EQ(waveform.getColumns()[0].m_fMax, 0.5F);
    EXPECT_EQ(waveform.getColumns()[1].m_fMin, 0.0F);
    EXPECT_EQ(waveform.getColumns()[1].m_fMax, 0.125F);
    EXPECT_EQ(waveform.getColumns()[2].m_fMin, -0.75F);
    EXPECT_EQ(waveform.getColumns()[2].m_fMax, -0.5F);
    EXPECT_EQ(waveform.getPeak(), 0.75);
}

TEST(Waveform, TellsTheRootMeanSquare)
{
    const double adSamples[] = {0.5, -0.5, 0.5, -0.5};
    EXPECT_EQ(waveformOf({0, 4, 8000, 1}, adSamples).getColumns()[0].getRms(), 0.5F);
    EXPECT_EQ(Waveform::Column().getRms(), 0.0F);
}

TEST(Waveform, HasNoMoreColumnsThanSamples)
{
    const double adSamples[] = {0.5, -0.5};
    EXPECT_EQ(waveformOf({0, 2, 8000, 1000}, adSamples).getColumns().size(), 2U);
}

TEST(Waveform, MarksClippedSamplesOnTheirSide)
{
    const double adSamples[] = {0.5, 1.0, 0.0, -0.99, 0.98, -0.98};
    const Waveform waveform = waveformOf({0, 6, 8000, 3}, adSamples);
    EXPECT_EQ(waveform.getNbOfClipped(), 2U);
    EXPECT_TRUE(waveform.getColumns()[0].m_bClippedAbove);
    EXPECT_FALSE(waveform.getColumns()[0].m_bClippedBelow);
    EXPECT_TRUE(waveform.getColumns()[1].m_bClippedBelow);
    EXPECT_FALSE(waveform.getColumns()[2].m_bClippedAbove || waveform.getColumns()[2].m_bClippedBelow);
}

TEST(Waveform, PassesOverWhatIsNoNumber)
{
    const double adSamples[] = {std::nan(""), 0.25, std::numeric_limits<double>::infinity()};
    const Waveform waveform = waveformOf({0, 3, 8000, 1}, adSamples);
    EXPECT_EQ(waveform.getColumns()[0].m_fMin, 0.25F);
    EXPECT_EQ(waveform.getColumns()[0].m_fMax, 0.25F);
    EXPECT_EQ(waveform.getColumns()[0].m_uiNbOfSamples, 1U);
    EXPECT_EQ(waveform.getNbOfClipped(), 0U);
}

TEST(Waveform, IsTheSameForPiecesOfOneOfSevenAndForEverything)
{
    const Math::DoubleVector vSamples = Corvana::Test::noise(1000);
    const PlotStretch stretch{100, 907, 8000, 60};
    const Waveform whole = waveformOf(stretch, vSamples);
    for (const unsigned long uiPiece : {1UL, 7UL}) {
        Waveform waveform(stretch, 0.99);
        for (unsigned long uiFirst = 0; uiFirst < vSamples.size(); uiFirst += uiPiece)
            waveform.push(uiFirst, std::span<const double>(vSamples.data(), vSamples.size())
                                       .subspan(uiFirst, std::min(uiPiece, vSamples.size() - uiFirst)));
        std::uint64_t uiSum = 0;
        for (std::size_t uiColumn = 0; uiColumn < 60; ++uiColumn) {
            const Waveform::Column& expected = whole.getColumns()[uiColumn];
            const Waveform::Column& column = waveform.getColumns()[uiColumn];
            EXPECT_EQ(column.m_fMin, expected.m_fMin);
            EXPECT_EQ(column.m_fMax, expected.m_fMax);
            EXPECT_EQ(column.m_dPower, expected.m_dPower);
            uiSum += column.m_uiNbOfSamples;
            EXPECT_NEAR(static_cast<double>(column.m_uiNbOfSamples), 807.0 / 60.0, 1.0);
        }
        EXPECT_EQ(uiSum, 807U);
    }
}

} // namespace
} // namespace Corvana::Tools
