// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFeatureImpl.h"

#include "ReferenceSpectrum.h"
#include "audio/AudioTestHelpers.h"
#include "support/LogCapture.h"
#include "support/Signals.h"

#include "corvana/AudioFileReader.h"
#include "corvana/AudioWindowedFileReader.h"
#include "corvana/MathFourierTransform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace Corvana::Audio {
namespace {

using Math::DoubleVector;
using Math::SignalFeature;
using Test::AssertionCapture;
using Test::joined;
using Test::LogCapture;
using Test::LogEvent;
using Test::nbOfVectorBlocks;
using Test::noise;
using Test::ramp;
using Test::referenceFlatness;
using Test::referenceHannWindow;
using Test::referencePowerSpectrum;
using Test::referenceReducedSpectrum;
using Test::sameBits;
using Test::sine;
using Test::textsAtLevel;
using Test::valuesOf;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

static_assert(std::is_base_of_v<AudioFeature, SpectrumFeature>);
static_assert(std::is_base_of_v<Math::Xpr::SignalFeatureFunctionAdaptorImpl, SpectrumFeature>);
static_assert(std::is_base_of_v<SpectrumFeature, SpectrumReducedFeature>);
static_assert(std::is_base_of_v<AudioFeature, FlatnessFeature>);
static_assert(std::is_base_of_v<Math::Xpr::SignalFeatureFunctionAdaptorImpl, FlatnessFeature>);
static_assert(std::is_convertible_v<SpectrumReducedFeature*, SignalFeature*>, "one SignalFeature in every feature");

std::vector<double> toStandard(const DoubleVector& in_vValues)
{
    return {in_vValues.begin(), in_vValues.end()};
}

DoubleVector fromStandard(const std::vector<double>& in_vValues)
{
    DoubleVector vValues;
    vValues.insert(vValues.end(), in_vValues.begin(), in_vValues.end());
    return vValues;
}

DoubleVector spectrumOf(const DoubleVector& in_vWindow)
{
    return valuesOf(SpectrumFeature(), in_vWindow);
}

DoubleVector plainSpectrumOf(const DoubleVector& in_vWindow)
{
    return fromStandard(referencePowerSpectrum(toStandard(in_vWindow)));
}

DoubleVector plainReducedSpectrumOf(const DoubleVector& in_vWindow, unsigned long in_uiNbOfBands)
{
    return fromStandard(referenceReducedSpectrum(referencePowerSpectrum(toStandard(in_vWindow)), in_uiNbOfBands));
}

// Of the values from one index to another, added in their order.
double sum(const DoubleVector& in_vValues, unsigned long in_uiFirst, unsigned long in_uiLast)
{
    double dSum = 0.0;
    for (unsigned long uiIndex = in_uiFirst; uiIndex <= in_uiLast; ++uiIndex)
        dSum += in_vValues[uiIndex];
    return dSum;
}

double sum(const DoubleVector& in_vValues)
{
    return in_vValues.empty() ? 0.0 : sum(in_vValues, 0, in_vValues.size() - 1);
}

// A window that is silent but for one sample.
DoubleVector impulse(unsigned long in_uiSize, unsigned long in_uiPlace)
{
    DoubleVector vWindow(in_uiSize);
    vWindow[in_uiPlace] = 1.0;
    return vWindow;
}

DoubleVector scaled(DoubleVector in_vValues, double in_dFactor)
{
    for (double& dValue : in_vValues)
        dValue *= in_dFactor;
    return in_vValues;
}

// ---- SpectrumFeature

TEST(SpectrumFeature, RefusesAnEmptyWindowAndASingleSample)
{
    SpectrumFeature feature;
    DoubleVector vValues = {7.0};

    EXPECT_FALSE(feature.compute({}, vValues));
    EXPECT_FALSE(feature.compute({1.0}, vValues));

    EXPECT_EQ(DoubleVector({7.0}), vValues);
}

TEST(SpectrumFeature, TakesAWindowOfAnyLengthAfterOneThatIsTooShort)
{
    SpectrumFeature feature;
    DoubleVector vValues;
    feature.compute({}, vValues);
    feature.compute({1.0}, vValues);

    EXPECT_EQ(8u, valuesOf(feature, noise(16)).size());
}

TEST(SpectrumFeature, FindsNoPowerInTwoSamples)
{
    // Both coefficients of the taper are 0.
    EXPECT_EQ(DoubleVector({0.0}), spectrumOf({0.5, -0.25}));
}

TEST(SpectrumFeature, IsZeroForASilentWindow)
{
    const DoubleVector vSpectrum = spectrumOf(DoubleVector(256));

    EXPECT_TRUE(sameBits(DoubleVector(128), vSpectrum));
}

TEST(SpectrumFeature, HasHalfAsManyValuesAsTheWindow)
{
    EXPECT_EQ(128u, spectrumOf(noise(256)).size());
}

TEST(SpectrumFeature, SumsToOne)
{
    // 128 roundings of values below 1.
    EXPECT_NEAR(1.0, sum(spectrumOf(noise(256))), 1e-13);
}

TEST(SpectrumFeature, TransformsFourSamplesAsComputedByHand)
{
    // Tapered by 0, 3/4, 3/4, 0: the values are 3/2 and 3/4 (i - 1), their powers 9/4 and 9/8.
    const DoubleVector vSpectrum = spectrumOf({1.0, 1.0, 1.0, 1.0});

    ASSERT_EQ(2u, vSpectrum.size());
    EXPECT_NEAR(2.0 / 3.0, vSpectrum[0], 1e-15);
    EXPECT_NEAR(1.0 / 3.0, vSpectrum[1], 1e-15);
}

TEST(SpectrumFeature, SpreadsAConstantOverItsFirstTwoBins)
{
    const DoubleVector vSpectrum = spectrumOf(DoubleVector(256, 0.3));

    // Hann's transform is 1/2 in the middle and 1/4 on either side: powers as 4 to 1, up to 1/256 since the taper is
    // symmetric instead of periodic.
    EXPECT_NEAR(0.8, vSpectrum[0], 1.0 / 256);
    EXPECT_NEAR(0.2, vSpectrum[1], 1.0 / 256);
    EXPECT_GT(vSpectrum[0] + vSpectrum[1], 0.9999);
}

TEST(SpectrumFeature, PutsAToneIntoItsBinAndThoseBesideIt)
{
    const DoubleVector vSpectrum = spectrumOf(sine(1000.0, 8000.0, 256)); // bin 32

    // Powers as 1 to 4 to 1, as for a constant.
    EXPECT_NEAR(1.0 / 6, vSpectrum[31], 1.0 / 256);
    EXPECT_NEAR(4.0 / 6, vSpectrum[32], 1.0 / 256);
    EXPECT_NEAR(1.0 / 6, vSpectrum[33], 1.0 / 256);
}

TEST(SpectrumFeature, LeavesATonesLeakageInTheLastBinWhenTheNyquistBinIsDropped)
{
    DoubleVector vWindow(256, 0.5);
    for (unsigned long uiIndex = 1; uiIndex < 256; uiIndex += 2)
        vWindow[uiIndex] = -0.5;

    const DoubleVector vSpectrum = spectrumOf(vWindow);

    EXPECT_GT(vSpectrum[127], 0.999);
    EXPECT_NEAR(1.0, sum(vSpectrum), 1e-13);
}

TEST(SpectrumFeature, IsFlatForASingleClick)
{
    const DoubleVector vSpectrum = spectrumOf(impulse(256, 100));

    // Rounding of the transform's twiddles.
    for (const double dValue : vSpectrum)
        EXPECT_NEAR(1.0 / 128, dValue, 1e-14);
}

TEST(SpectrumFeature, AppendsToTheOutput)
{
    SpectrumFeature feature;
    DoubleVector vValues = {7.0, 8.0, 9.0};

    EXPECT_TRUE(feature.compute(noise(64), vValues));

    EXPECT_TRUE(sameBits(joined({7.0, 8.0, 9.0}, spectrumOf(noise(64))), vValues));
}

TEST(SpectrumFeature, LeavesItsInputAlone)
{
    const DoubleVector vWindow = noise(64);

    spectrumOf(vWindow);

    EXPECT_TRUE(sameBits(noise(64), vWindow));
}

TEST(SpectrumFeature, ForgetsOneWindowBeforeTheNext)
{
    SpectrumFeature feature;
    valuesOf(feature, noise(64, 1));

    EXPECT_TRUE(sameBits(spectrumOf(noise(64, 2)), valuesOf(feature, noise(64, 2))));
}

TEST(SpectrumFeature, RefusesAWindowOfAnotherLengthAndLeavesItsSamplesInTheOutput)
{
    SpectrumFeature feature;
    valuesOf(feature, noise(256));
    LogCapture log;
    DoubleVector vValues = {7.0};

    EXPECT_FALSE(feature.compute(noise(512), vValues));

    EXPECT_TRUE(sameBits(joined({7.0}, noise(512)), vValues));
    EXPECT_THAT(
        log.events(),
        ElementsAre(AllOf(Field(&LogEvent::m_strLogger, "kestrivon.assertion"), Field(&LogEvent::m_iLevel, 40000),
                          Field(&LogEvent::m_strText, "Assertion failed: m_pSignalWindow->getSize() == uiSizeFFT"),
                          Field(&LogEvent::m_strFile, "AudioFeatureImpl"))));
}

TEST(SpectrumFeature, RefusesAShorterWindowToo)
{
    SpectrumFeature feature;
    valuesOf(feature, noise(256));
    AssertionCapture assertions;
    DoubleVector vValues;

    EXPECT_FALSE(feature.compute(noise(255), vValues));

    EXPECT_THAT(assertions.texts(), ElementsAre("m_pSignalWindow->getSize() == uiSizeFFT"));
    EXPECT_TRUE(sameBits(noise(255), vValues));
}

TEST(SpectrumFeature, ServesItsFirstLengthAfterARefusal)
{
    SpectrumFeature feature;
    valuesOf(feature, noise(256));
    DoubleVector vRefused;
    feature.compute(noise(512), vRefused);

    EXPECT_TRUE(sameBits(spectrumOf(noise(256, 5)), valuesOf(feature, noise(256, 5))));
}

TEST(SpectrumFeature, ReportsALengthThatIsNoPowerOfTwo)
{
    LogCapture log;
    DoubleVector vValues = {7.0};

    EXPECT_TRUE(SpectrumFeature().compute(noise(100), vValues));

    EXPECT_EQ(51u, vValues.size());
    EXPECT_EQ(7.0, vValues[0]);
    EXPECT_THAT(textsAtLevel(log, 40000),
                ElementsAre("Assertion failed: isPowerOfTwo(n)", "Assertion failed: isPowerOfTwo(nn)"));
    EXPECT_THAT(log.events(), Each(Field(&LogEvent::m_strFile, "MathFourierTransform")));
}

TEST(SpectrumFeature, OfALengthThatIsNoPowerOfTwoIsThePowerOfItsTaperedTransform)
{
    const AssertionCapture assertions;
    std::vector<double> vData = toStandard(noise(100));
    const std::vector<double> vTaper = referenceHannWindow(100);
    for (std::size_t uiSample = 0; uiSample < 100; ++uiSample)
        vData[uiSample] *= vTaper[uiSample];
    Math::discreteRealFastFourierTransform(vData.data(), 100, 1.0);
    std::vector<double> vPowers = {vData[0] * vData[0]};
    double dTotal = vPowers[0];
    for (std::size_t uiBin = 1; uiBin < 50; ++uiBin) {
        vPowers.push_back(vData[2 * uiBin] * vData[2 * uiBin] + vData[2 * uiBin + 1] * vData[2 * uiBin + 1]);
        dTotal += vPowers.back();
    }

    const DoubleVector vSpectrum = spectrumOf(noise(100));

    ASSERT_EQ(50u, vSpectrum.size());
    for (std::size_t uiBin = 0; uiBin < 50; ++uiBin)
        EXPECT_NEAR(vPowers[uiBin] / dTotal, vSpectrum[uiBin], 1e-12) << uiBin;
}

TEST(SpectrumFeature, ReportsALengthThatIsNoPowerOfTwoEveryTime)
{
    SpectrumFeature feature;
    valuesOf(feature, noise(100));
    AssertionCapture assertions;

    valuesOf(feature, noise(100));

    EXPECT_THAT(assertions.texts(), ElementsAre("isPowerOfTwo(n)", "isPowerOfTwo(nn)"));
}

TEST(SpectrumFeature, StaysInsideTheVectorForEveryLength)
{
    for (unsigned long uiSize = 2; uiSize <= 130; ++uiSize)
        EXPECT_EQ(uiSize / 2, spectrumOf(noise(uiSize)).size());
}

TEST(SpectrumFeature, PassesOnWhatIsNotANumber)
{
    DoubleVector vWindow = noise(64);
    vWindow[20] = std::numeric_limits<double>::quiet_NaN();

    for (const double dValue : spectrumOf(vWindow))
        EXPECT_TRUE(std::isnan(dValue));
}

TEST(SpectrumFeature, AllocatesNothingAfterTheFirstWindow)
{
    SpectrumFeature feature;
    const DoubleVector vWindow = noise(256);
    DoubleVector vValues;
    feature.compute(vWindow, vValues);
    const unsigned long uiBlocks = nbOfVectorBlocks();

    for (int iRound = 0; iRound < 100; ++iRound) {
        vValues.clear();
        feature.compute(vWindow, vValues);
    }

    EXPECT_EQ(uiBlocks, nbOfVectorBlocks());
}

// ---- Several windows at once

TEST(SpectrumFeature, ComputesSeveralWindowsBeforeItHasSeenOne)
{
    const std::vector<DoubleVector> vWindows = {noise(256, 1), noise(256, 2), noise(256, 3)};
    std::vector<DoubleVector> vOutputs(3, DoubleVector{7.0});

    ASSERT_TRUE(SpectrumFeature().computeSeveral(3, vWindows.data(), vOutputs.data()));

    for (std::size_t uiWindow = 0; uiWindow < 3; ++uiWindow)
        EXPECT_TRUE(sameBits(joined({7.0}, spectrumOf(vWindows[uiWindow])), vOutputs[uiWindow])) << uiWindow;
}

TEST(SpectrumReducedFeature, ComputesSeveralWindowsBeforeItHasSeenOne)
{
    const std::vector<DoubleVector> vWindows = {noise(256, 1), noise(256, 2), noise(256, 3)};
    std::vector<DoubleVector> vOutputs(3, DoubleVector{7.0});

    ASSERT_TRUE(SpectrumReducedFeature(20).computeSeveral(3, vWindows.data(), vOutputs.data()));

    for (std::size_t uiWindow = 0; uiWindow < 3; ++uiWindow)
        EXPECT_TRUE(
            sameBits(joined({7.0}, valuesOf(SpectrumReducedFeature(20), vWindows[uiWindow])), vOutputs[uiWindow]))
            << uiWindow;
}

// What would be reported, or fails, is left to compute(), which tells it for each window.
TEST(SpectrumFeature, LeavesWindowsThatOneAloneWouldReportUntouchedAmongSeveral)
{
    const std::vector<std::vector<DoubleVector>> vBlocks = {{noise(100, 1), noise(100, 2)},
                                                            {noise(256), noise(128)},
                                                            {noise(128), noise(256)},
                                                            {noise(1), noise(1)},
                                                            {{}, {}}};
    for (const std::vector<DoubleVector>& vWindows : vBlocks) {
        std::vector<DoubleVector> vOutputs(2, DoubleVector{7.0});
        const AssertionCapture assertions;

        EXPECT_FALSE(SpectrumFeature().computeSeveral(2, vWindows.data(), vOutputs.data()));
        EXPECT_FALSE(SpectrumReducedFeature(8).computeSeveral(2, vWindows.data(), vOutputs.data()));

        EXPECT_EQ(std::vector<DoubleVector>(2, DoubleVector{7.0}), vOutputs) << vWindows[0].size();
        EXPECT_THAT(assertions.texts(), IsEmpty());
    }
}

TEST(SpectrumReducedFeature, WithoutBandsLeavesSeveralWindowsUntouched)
{
    const DoubleVector vWindow = noise(256);
    DoubleVector vOutput = {7.0};

    EXPECT_FALSE(SpectrumReducedFeature(0).computeSeveral(1, &vWindow, &vOutput));

    EXPECT_EQ(DoubleVector({7.0}), vOutput);
}

TEST(SpectrumFeature, NamesItselfForFormulas)
{
    const SpectrumFeature feature;

    EXPECT_EQ("spectrum", feature.getFunctionName());
    EXPECT_EQ("x", feature.getVariableName());
}

#ifndef NDEBUG
TEST(SpectrumFeatureDeathTest, RefusesOneVectorForInputAndOutput)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    DoubleVector vValues = noise(64);

    EXPECT_DEATH(SpectrumFeature().compute(vValues, vValues), "in_vInput != &out_vOutput");
}

TEST(FlatnessFeatureDeathTest, RefusesOneVectorForInputAndOutput)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    DoubleVector vValues = noise(64);

    EXPECT_DEATH(FlatnessFeature().compute(vValues, vValues), "in_vInput != &out_vOutput");
}
#endif

// ---- copies

TEST(SpectrumFeature, ClonesToItsOwnClass)
{
    const SpectrumFeature feature;
    const SignalFeature& asBase = feature;

    const std::unique_ptr<SignalFeature> pClone(asBase.clone());

    const SignalFeature& clone = *pClone;
    EXPECT_EQ(typeid(SpectrumFeature), typeid(clone));
}

TEST(SpectrumFeature, ClonesKeepTheWindowLength)
{
    SpectrumFeature feature;
    valuesOf(feature, noise(256));

    const std::unique_ptr<SpectrumFeature> pClone(feature.clone());

    AssertionCapture assertions;
    DoubleVector vRefused;
    EXPECT_FALSE(pClone->compute(noise(128), vRefused));
    EXPECT_TRUE(sameBits(spectrumOf(noise(256, 2)), valuesOf(*pClone, noise(256, 2))));
}

TEST(SpectrumFeature, ClonesMadeBeforeUseTakeALengthOfTheirOwn)
{
    SpectrumFeature feature;
    const std::unique_ptr<SpectrumFeature> pClone(feature.clone());
    valuesOf(feature, noise(256));

    EXPECT_TRUE(sameBits(spectrumOf(noise(64)), valuesOf(*pClone, noise(64))));
    EXPECT_TRUE(sameBits(spectrumOf(noise(256)), valuesOf(feature, noise(256))));
}

TEST(SpectrumFeature, ClonesHaveATaperOfTheirOwn)
{
    SpectrumFeature feature;
    valuesOf(feature, noise(256));
    const std::uint64_t uiBlocks = getMemAccount("\"DoubleVector\"").m_uiLiveBlocks;

    const std::unique_ptr<SpectrumFeature> pClone(feature.clone());

    EXPECT_EQ(uiBlocks + 1, getMemAccount("\"DoubleVector\"").m_uiLiveBlocks);
}

TEST(SpectrumFeature, ClonesOutliveTheirSource)
{
    auto pFeature = std::make_unique<SpectrumFeature>();
    valuesOf(*pFeature, noise(256));
    const std::unique_ptr<SpectrumFeature> pClone(pFeature->clone());

    pFeature.reset();

    EXPECT_TRUE(sameBits(spectrumOf(noise(256)), valuesOf(*pClone, noise(256))));
}

TEST(SpectrumFeature, TakesTheWindowLengthOfWhatIsAssigned)
{
    SpectrumFeature feature;
    valuesOf(feature, noise(256));
    SpectrumFeature other;
    valuesOf(other, noise(64));

    other = feature;

    EXPECT_TRUE(sameBits(spectrumOf(noise(256)), valuesOf(other, noise(256))));
    other = SpectrumFeature();
    EXPECT_TRUE(sameBits(spectrumOf(noise(32)), valuesOf(other, noise(32))));
}

TEST(SpectrumFeature, GivesItsMemoryBack)
{
    const std::uint64_t uiBlocks = getMemAccount("\"DoubleVector\"").m_uiLiveBlocks;
    {
        SpectrumFeature feature;
        valuesOf(feature, noise(256));
        const SpectrumFeature copy(feature);
    }
    EXPECT_EQ(uiBlocks, getMemAccount("\"DoubleVector\"").m_uiLiveBlocks);
}

// ---- SpectrumReducedFeature

TEST(SpectrumReducedFeature, RefusesAnEmptyWindowAndASingleSample)
{
    SpectrumReducedFeature feature(8);
    DoubleVector vValues = {7.0};

    EXPECT_FALSE(feature.compute({}, vValues));
    EXPECT_FALSE(feature.compute({1.0}, vValues));

    EXPECT_EQ(DoubleVector({7.0}), vValues);
}

TEST(SpectrumReducedFeature, IsZeroForASilentWindow)
{
    EXPECT_TRUE(sameBits(DoubleVector(8), valuesOf(SpectrumReducedFeature(8), DoubleVector(256))));
}

TEST(SpectrumReducedFeature, SumsSixteenBinsIntoEachOfEightBands)
{
    const DoubleVector vBins = spectrumOf(noise(256));

    const DoubleVector vBands = valuesOf(SpectrumReducedFeature(8), noise(256));

    ASSERT_EQ(8u, vBands.size());
    for (unsigned long uiBand = 0; uiBand < 7; ++uiBand)
        EXPECT_EQ(sum(vBins, 16 * uiBand, 16 * uiBand + 15), vBands[uiBand]) << uiBand;
}

TEST(SpectrumReducedFeature, AddsTheBinOfItsOwnNumberToTheLastOfEightBands)
{
    const DoubleVector vBins = spectrumOf(noise(256));

    const DoubleVector vBands = valuesOf(SpectrumReducedFeature(8), noise(256));

    EXPECT_EQ(vBins[7] + sum(vBins, 112, 127), vBands[7]);
}

TEST(SpectrumReducedFeature, LeavesBinsOutOfFortyBands)
{
    const DoubleVector vBins = spectrumOf(noise(256));

    const DoubleVector vBands = valuesOf(SpectrumReducedFeature(40), noise(256));

    ASSERT_EQ(40u, vBands.size());
    for (unsigned long uiBand = 0; uiBand < 39; ++uiBand)
        EXPECT_EQ(sum(vBins, 3 * uiBand, 3 * uiBand + 2), vBands[uiBand]) << uiBand;
    EXPECT_EQ(sum(vBins, 117, 119) + sum(vBins, 126, 127), vBands[39]);
}

TEST(SpectrumReducedFeature, LeavesBinsOutOfTwentyBands)
{
    const DoubleVector vBins = spectrumOf(noise(256));

    const DoubleVector vBands = valuesOf(SpectrumReducedFeature(20), noise(256));

    ASSERT_EQ(20u, vBands.size());
    for (unsigned long uiBand = 0; uiBand < 19; ++uiBand)
        EXPECT_EQ(sum(vBins, 6 * uiBand, 6 * uiBand + 5), vBands[uiBand]) << uiBand;
    EXPECT_EQ(sum(vBins, 114, 119) + sum(vBins, 126, 127), vBands[19]);
}

TEST(SpectrumReducedFeature, AddsTheFirstBinToASingleBand)
{
    const DoubleVector vBins = spectrumOf(noise(64));

    EXPECT_EQ(DoubleVector({vBins[0] + sum(vBins)}), valuesOf(SpectrumReducedFeature(1), noise(64)));
}

TEST(SpectrumReducedFeature, DoublesTheLastBinWhenItHasAsManyBandsAsBins)
{
    DoubleVector vExpected = spectrumOf(noise(64));
    vExpected[31] = vExpected[31] + vExpected[31];

    EXPECT_EQ(vExpected, valuesOf(SpectrumReducedFeature(32), noise(64)));
}

TEST(SpectrumReducedFeature, JoinsTheLastTwoBinsWhenItHasOneBandLess)
{
    DoubleVector vExpected = spectrumOf(noise(64));
    vExpected[30] = vExpected[30] + vExpected[31];
    vExpected.pop_back();

    EXPECT_EQ(vExpected, valuesOf(SpectrumReducedFeature(31), noise(64)));
}

TEST(SpectrumReducedFeature, LeavesASpectrumWithFewerBinsThanBandsUnreduced)
{
    EXPECT_TRUE(sameBits(spectrumOf(noise(64)), valuesOf(SpectrumReducedFeature(40), noise(64))));
    EXPECT_TRUE(sameBits(spectrumOf(noise(64)), valuesOf(SpectrumReducedFeature(33), noise(64))));
}

TEST(SpectrumReducedFeature, AppendsToTheOutput)
{
    SpectrumReducedFeature feature(8);
    DoubleVector vValues = {7.0, 8.0, 9.0};

    EXPECT_TRUE(feature.compute(noise(256), vValues));

    EXPECT_TRUE(sameBits(joined({7.0, 8.0, 9.0}, valuesOf(SpectrumReducedFeature(8), noise(256))), vValues));
}

TEST(SpectrumReducedFeature, RefusesToHaveNoBandsAndLeavesTheOutputAlone)
{
    LogCapture log;
    DoubleVector vValues = {7.0};

    EXPECT_FALSE(SpectrumReducedFeature(0).compute(noise(256), vValues));

    EXPECT_EQ(DoubleVector({7.0}), vValues);
    EXPECT_THAT(log.events(), ElementsAre(AllOf(Field(&LogEvent::m_strLogger, "kestrivon.assertion"),
                                                Field(&LogEvent::m_iLevel, 40000),
                                                Field(&LogEvent::m_strText, "Assertion failed: m_uiNbOfBands > 0"),
                                                Field(&LogEvent::m_strFile, "AudioFeatureImpl"))));
}

TEST(SpectrumReducedFeature, RefusesAWindowOfAnotherLengthAndLeavesItsSamplesInTheOutput)
{
    SpectrumReducedFeature feature(8);
    valuesOf(feature, noise(256));
    AssertionCapture assertions;
    DoubleVector vValues = {7.0};

    EXPECT_FALSE(feature.compute(noise(512), vValues));

    EXPECT_TRUE(sameBits(joined({7.0}, noise(512)), vValues));
    EXPECT_THAT(assertions.texts(), ElementsAre("m_pSignalWindow->getSize() == uiSizeFFT"));
}

TEST(SpectrumReducedFeature, ClonesToItsOwnClassWithItsBandsAndWindowLength)
{
    SpectrumReducedFeature feature(8);
    valuesOf(feature, noise(256));
    const SignalFeature& asBase = feature;

    const std::unique_ptr<SignalFeature> pClone(asBase.clone());

    const SignalFeature& clone = *pClone;
    EXPECT_EQ(typeid(SpectrumReducedFeature), typeid(clone));
    AssertionCapture assertions;
    DoubleVector vRefused;
    EXPECT_FALSE(pClone->compute(noise(128), vRefused));
    EXPECT_TRUE(sameBits(valuesOf(feature, noise(256, 2)), valuesOf(*pClone, noise(256, 2))));
}

TEST(SpectrumReducedFeature, TakesTheBandsOfWhatIsAssigned)
{
    SpectrumReducedFeature feature(40);

    feature = SpectrumReducedFeature(8);

    EXPECT_EQ(8u, valuesOf(feature, noise(256)).size());
}

TEST(SpectrumReducedFeature, AllocatesNothingAfterTheFirstWindow)
{
    SpectrumReducedFeature feature(40);
    const DoubleVector vWindow = noise(256);
    DoubleVector vValues;
    feature.compute(vWindow, vValues);
    const unsigned long uiBlocks = nbOfVectorBlocks();

    vValues.clear();
    feature.compute(vWindow, vValues);

    EXPECT_EQ(uiBlocks, nbOfVectorBlocks());
}

// ---- FlatnessFeature

double flatnessOf(const DoubleVector& in_vSpectrum)
{
    const DoubleVector vValues = valuesOf(FlatnessFeature(), in_vSpectrum);
    EXPECT_EQ(1u, vValues.size());
    return vValues.empty() ? 0.0 : vValues[0];
}

TEST(FlatnessFeature, IsOneForAnEmptyInput)
{
    EXPECT_EQ(1.0, flatnessOf({}));
}

TEST(FlatnessFeature, IsTheValueItselfForASingleOne)
{
    EXPECT_EQ(0.25, flatnessOf({0.25}));
}

TEST(FlatnessFeature, IsOneForAllZeros)
{
    EXPECT_EQ(1.0, flatnessOf(DoubleVector(128)));
}

TEST(FlatnessFeature, IsOneForEqualValues)
{
    // Seven powers and their products round.
    EXPECT_NEAR(1.0, flatnessOf(DoubleVector(128, 1.0 / 128)), 1e-13);
}

TEST(FlatnessFeature, IsOneForASingleBinOfOne)
{
    DoubleVector vSpectrum(128);
    vSpectrum[17] = 1.0;

    EXPECT_EQ(1.0, flatnessOf(vSpectrum));
}

TEST(FlatnessFeature, DoesNotScaleAGeometricMeanOfOne)
{
    EXPECT_EQ(1.0, flatnessOf({1.0, 1.0, 1.0}));
    EXPECT_EQ(1.0, flatnessOf({0.5, 2.0}));
}

TEST(FlatnessFeature, IsTheGeometricMeanOverTheArithmeticMean)
{
    // sqrt(1/4 * 3/4) / (1/2)
    EXPECT_DOUBLE_EQ(std::sqrt(3.0) / 2.0, flatnessOf({0.25, 0.75}));
}

TEST(FlatnessFeature, CountsZerosWithoutMultiplyingThem)
{
    // (1/4 * 3/4) ^ (1/4) * 4
    EXPECT_DOUBLE_EQ(std::pow(3.0 / 16.0, 0.25) * 4.0, flatnessOf({0.0, 0.25, -0.0, 0.75}));
}

TEST(FlatnessFeature, ScalesWithAnInputThatDoesNotSumToOne)
{
    EXPECT_DOUBLE_EQ(4.0, flatnessOf({2.0, 2.0}));
}

TEST(FlatnessFeature, FoldsTheProductEvery21Values)
{
    // The product of all 22 would be 0; that of 21 is 1e-315, which has eight digits left.
    EXPECT_NEAR(2.2e-14, flatnessOf(DoubleVector(22, 1e-15)), 1e-21);
}

TEST(FlatnessFeature, MayUnderflowToZero)
{
    EXPECT_EQ(0.0, flatnessOf(DoubleVector(21, 1e-20)));
}

TEST(FlatnessFeature, PassesOnWhatIsNotANumber)
{
    EXPECT_TRUE(std::isnan(flatnessOf({0.5, std::numeric_limits<double>::quiet_NaN()})));
}

TEST(FlatnessFeature, IsNearOneForNoiseAndNearZeroForATone)
{
    // Single noise periodograms have a flatness around exp(-0.577) = 0.56.
    EXPECT_GT(flatnessOf(spectrumOf(noise(1024))), 0.4);
    EXPECT_LT(flatnessOf(spectrumOf(sine(1000.0, 8000.0, 1024))), 1e-3);
}

TEST(FlatnessFeature, AppendsToTheOutput)
{
    FlatnessFeature feature;
    DoubleVector vValues = {7.0};

    EXPECT_TRUE(feature.compute({0.25}, vValues));

    EXPECT_EQ(DoubleVector({7.0, 0.25}), vValues);
}

TEST(FlatnessFeature, ReportsNothing)
{
    LogCapture log;

    flatnessOf({});
    flatnessOf({-1.0, 2.0});

    EXPECT_THAT(log.events(), IsEmpty());
}

TEST(FlatnessFeature, ClonesToItsOwnClass)
{
    const FlatnessFeature feature;
    const SignalFeature& asBase = feature;

    const std::unique_ptr<SignalFeature> pClone(asBase.clone());

    const SignalFeature& clone = *pClone;
    EXPECT_EQ(typeid(FlatnessFeature), typeid(clone));
    EXPECT_EQ(DoubleVector({0.25}), valuesOf(*pClone, {0.25}));
}

TEST(FlatnessFeature, NamesItselfForFormulas)
{
    const FlatnessFeature feature;

    EXPECT_EQ("flatness", feature.getFunctionName());
    EXPECT_EQ("x", feature.getVariableName());
}

// ---- several features

TEST(SignalFeature, LeavesTheValuesOfTheFeatureBeforeUntouched)
{
    const DoubleVector vWindow = noise(256);
    SpectrumFeature spectrum;
    SpectrumReducedFeature reduced(8);
    FlatnessFeature flatness;
    DoubleVector vValues;

    EXPECT_TRUE(reduced.compute(vWindow, vValues));
    EXPECT_TRUE(flatness.compute(vWindow, vValues));
    EXPECT_TRUE(spectrum.compute(vWindow, vValues));

    EXPECT_TRUE(
        sameBits(joined(joined(valuesOf(SpectrumReducedFeature(8), vWindow), valuesOf(FlatnessFeature(), vWindow)),
                        spectrumOf(vWindow)),
                 vValues));
}

// ---- against the plain algorithms, bit for bit

class SpectrumOfSize : public testing::TestWithParam<unsigned long>
{
};

INSTANTIATE_TEST_SUITE_P(SpectrumFeature, SpectrumOfSize,
                         testing::Values(2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096),
                         [](const auto& in_info) { return "Size" + std::to_string(in_info.param); });

TEST_P(SpectrumOfSize, HasTheBitsOfThePlainAlgorithm)
{
    SpectrumFeature feature;
    for (std::uint64_t uiSeed = 1; uiSeed <= 20; ++uiSeed) {
        const DoubleVector vWindow = noise(GetParam(), uiSeed);
        ASSERT_TRUE(sameBits(plainSpectrumOf(vWindow), valuesOf(feature, vWindow)));
    }
}

TEST_P(SpectrumOfSize, HasTheBitsOfThePlainAlgorithmForTonesAndClicks)
{
    for (const DoubleVector& vWindow :
         {sine(440.0, 8000.0, GetParam()), sine(3999.0, 8000.0, GetParam(), 1e-5), DoubleVector(GetParam(), 0.25),
          impulse(GetParam(), GetParam() / 2), scaled(noise(GetParam()), 0x1p-520), scaled(noise(GetParam()), 1e150)})
        ASSERT_TRUE(sameBits(plainSpectrumOf(vWindow), spectrumOf(vWindow)));
}

TEST_P(SpectrumOfSize, HasTheBitsOfThePlainAlgorithmWhenReduced)
{
    const unsigned long uiNbOfBins = GetParam() / 2;
    for (const unsigned long uiNbOfBands : {40UL, 20UL, 8UL, 1UL, uiNbOfBins, uiNbOfBins - 1, uiNbOfBins + 1}) {
        if (uiNbOfBands == 0)
            continue; // a spectrum of one bin has no count below it
        SpectrumReducedFeature feature(uiNbOfBands);
        for (std::uint64_t uiSeed = 1; uiSeed <= 5; ++uiSeed) {
            const DoubleVector vWindow = noise(GetParam(), uiSeed);
            ASSERT_TRUE(sameBits(plainReducedSpectrumOf(vWindow, uiNbOfBands), valuesOf(feature, vWindow)))
                << uiNbOfBands;
        }
    }
}

TEST_P(SpectrumOfSize, HasTheFlatnessOfThePlainAlgorithm)
{
    for (std::uint64_t uiSeed = 1; uiSeed <= 20; ++uiSeed) {
        const DoubleVector vSpectrum = spectrumOf(noise(GetParam(), uiSeed));
        ASSERT_EQ(referenceFlatness(toStandard(vSpectrum)), flatnessOf(vSpectrum));
    }
}

TEST(FlatnessFeature, HasTheBitsOfThePlainAlgorithmForEveryLength)
{
    for (unsigned long uiSize = 0; uiSize <= 130; ++uiSize) {
        DoubleVector vValues = noise(uiSize, uiSize + 1);
        vValues.absoluteValue();
        ASSERT_EQ(referenceFlatness(toStandard(vValues)), flatnessOf(vValues)) << uiSize;
    }
}

// Compares all features with the plain algorithms in every window of a recording.
void compareWholeRecording(const std::string& in_strPath, unsigned long in_uiWindowSize)
{
    AudioFileReader reader;
    ASSERT_TRUE(reader.setSourceAudioFile(in_strPath.c_str()));
    DoubleVector vSamples;
    ASSERT_TRUE(reader.getAllLinearFrames(vSamples));

    SpectrumFeature spectrum;
    SpectrumReducedFeature reduced100Hz(40);
    SpectrumReducedFeature reduced200Hz(20);
    SpectrumReducedFeature reduced500Hz(8);
    for (unsigned long uiFrom = 0; uiFrom + in_uiWindowSize <= vSamples.size(); uiFrom += in_uiWindowSize) {
        DoubleVector vWindow;
        vWindow.insert(vWindow.end(), vSamples.begin() + uiFrom, vSamples.begin() + uiFrom + in_uiWindowSize);
        const std::vector<double> vPlain = referencePowerSpectrum(toStandard(vWindow));
        const DoubleVector vSpectrum = valuesOf(spectrum, vWindow);
        ASSERT_TRUE(sameBits(fromStandard(vPlain), vSpectrum)) << in_strPath << " from " << uiFrom;
        ASSERT_TRUE(sameBits(fromStandard(referenceReducedSpectrum(vPlain, 40)), valuesOf(reduced100Hz, vWindow)));
        ASSERT_TRUE(sameBits(fromStandard(referenceReducedSpectrum(vPlain, 20)), valuesOf(reduced200Hz, vWindow)));
        ASSERT_TRUE(sameBits(fromStandard(referenceReducedSpectrum(vPlain, 8)), valuesOf(reduced500Hz, vWindow)));
        ASSERT_EQ(referenceFlatness(vPlain), flatnessOf(vSpectrum));
    }
}

// Cutting a recording into windows of a few samples would take long and show nothing that noise does not.
class SpectrumOfRecording : public testing::TestWithParam<unsigned long>
{
};

INSTANTIATE_TEST_SUITE_P(SpectrumFeature, SpectrumOfRecording, testing::Values(64, 128, 256, 512, 1024, 2048, 4096),
                         [](const auto& in_info) { return "Size" + std::to_string(in_info.param); });

TEST_P(SpectrumOfRecording, HasTheBitsOfThePlainAlgorithmOnTheSampleCall)
{
    compareWholeRecording(CORVANA_SOURCE_DIR "/examples/data/sample-call.wav", GetParam());
}

TEST_P(SpectrumOfRecording, HasTheBitsOfThePlainAlgorithmOnTelephonePrompts)
{
    const char* const szPrompts = "/usr/share/asterisk/sounds/en_US_f_Allison";
    if (!std::filesystem::is_directory(szPrompts))
        GTEST_SKIP() << "the package asterisk-core-sounds-en-wav is not installed";
    std::vector<std::string> vPaths;
    for (const auto& entry : std::filesystem::directory_iterator(szPrompts))
        if (entry.path().extension() == ".wav")
            vPaths.push_back(entry.path().string());
    std::sort(vPaths.begin(), vPaths.end());

    for (unsigned long uiPath = 0; uiPath < vPaths.size(); uiPath += 20) // a sample of the set, to stay quick
        compareWholeRecording(vPaths[uiPath], GetParam());
}

// ---- properties

DoubleVector anyWindow(unsigned long in_uiMaxLogSize = 9)
{
    const auto uiLogSize = *rc::gen::inRange(2UL, in_uiMaxLogSize + 1);
    const auto uiSeed = *rc::gen::arbitrary<std::uint64_t>();
    return noise(1UL << uiLogSize, uiSeed);
}

RC_GTEST_PROP(SpectrumFeature, IsAShareOfThePowerInEveryBin, ())
{
    const DoubleVector vSpectrum = spectrumOf(anyWindow());

    for (const double dValue : vSpectrum)
        RC_ASSERT(dValue >= 0.0 && dValue <= 1.0);
    RC_ASSERT(std::fabs(sum(vSpectrum) - 1.0) < 1e-12); // at most 256 roundings of values below 1
}

RC_GTEST_PROP(SpectrumFeature, DoesNotDependOnTheLoudness, ())
{
    const DoubleVector vWindow = anyWindow();
    const auto iPowerOfTwo = *rc::gen::inRange(-60, 61);

    // Powers of two change no digit, so the bits stay.
    RC_ASSERT(sameBits(spectrumOf(vWindow), spectrumOf(scaled(vWindow, std::ldexp(1.0, iPowerOfTwo)))));
}

RC_GTEST_PROP(SpectrumFeature, DoesNotDependOnTheSign, ())
{
    const DoubleVector vWindow = anyWindow();

    RC_ASSERT(sameBits(spectrumOf(vWindow), spectrumOf(scaled(vWindow, -1.0))));
}

RC_GTEST_PROP(SpectrumFeature, DoesNotDependOnFormerWindows, ())
{
    const DoubleVector vWindow = anyWindow();
    SpectrumFeature feature;
    valuesOf(feature, noise(vWindow.size(), *rc::gen::arbitrary<std::uint64_t>()));

    RC_ASSERT(sameBits(spectrumOf(vWindow), valuesOf(feature, vWindow)));
}

RC_GTEST_PROP(SpectrumReducedFeature, DoesWhatThePlainAlgorithmDoes, ())
{
    const DoubleVector vWindow = anyWindow();
    const auto uiNbOfBands = *rc::gen::inRange(1UL, 300UL);

    RC_ASSERT(
        sameBits(plainReducedSpectrumOf(vWindow, uiNbOfBands), valuesOf(SpectrumReducedFeature(uiNbOfBands), vWindow)));
}

RC_GTEST_PROP(FlatnessFeature, LiesBetweenZeroAndOneForASpectrum, ())
{
    const double dFlatness = flatnessOf(spectrumOf(anyWindow()));

    RC_ASSERT(dFlatness >= 0.0 && dFlatness <= 1.0 + 1e-12); // equal values round
}

} // namespace
} // namespace Corvana::Audio
