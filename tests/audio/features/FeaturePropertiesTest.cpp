// SPDX-License-Identifier: Apache-2.0
#include "FeatureTestSupport.h"

#include "corvana/AudioFeatureImpl.h"
#include "corvana/MathSignalFeatureComposed.h"
#include "corvana/MemAllocator.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <memory>
#include <numeric>
#include <random>

namespace Corvana::Audio {
namespace {

using namespace Test;

// ---- Random inputs

// Samples as they come from recordings: between -1 and 1, on the grid of 16-bit samples.
rc::Gen<double> samples()
{
    return rc::gen::map(rc::gen::inRange(-32768, 32768), [](int in_iSample) { return in_iSample / 32768.0; });
}

rc::Gen<Values> windows()
{
    return rc::gen::container<Values>(samples());
}

rc::Gen<Values> windowsOf(std::size_t in_uiSize)
{
    return rc::gen::container<Values>(in_uiSize, samples());
}

// Shares that sum to 1, or all 0.
rc::Gen<Values> spectraOf(std::size_t in_uiSize)
{
    return rc::gen::map(windowsOf(in_uiSize), [](Values in_vBins) {
        double dTotal = 0.0;
        for (double& dBin : in_vBins) {
            dBin *= dBin;
            dTotal += dBin;
        }
        for (double& dBin : in_vBins)
            dBin = dTotal == 0.0 ? 0.0 : dBin / dTotal;
        return in_vBins;
    });
}

constexpr std::size_t s_uiSize = 64;

// An input that the feature computes.
Values inputFor(const FeatureClass& in_class)
{
    const std::string strInput = in_class.m_szInput;
    if (strInput == "value")
        return *windowsOf(1);
    return strInput == "spectrum" ? *spectraOf(s_uiSize) : *windowsOf(s_uiSize);
}

class FeatureProperties : public testing::TestWithParam<FeatureClass>
{
};

INSTANTIATE_TEST_SUITE_P(All, FeatureProperties, testing::ValuesIn(allFeatureClasses()),
                         [](const auto& in_info) { return std::string(in_info.param.m_szName); });

// rc::check() tells whether the property held, and prints the counter-example when it did not.
template <class PropertyT>
void expectProperty(const char* in_szText, PropertyT in_property)
{
    EXPECT_TRUE(rc::check(in_szText, in_property));
}

// ---- Clones

std::unique_ptr<Math::SignalFeature> cloneOf(const Math::SignalFeature& in_feature)
{
    return std::unique_ptr<Math::SignalFeature>(in_feature.clone());
}

TEST_P(FeatureProperties, CloneIsOfTheSameClass)
{
    const auto pFeature = GetParam().m_make();
    const auto pClone = cloneOf(*pFeature);
    const std::unique_ptr<Cloneable> pThroughBase(static_cast<const Cloneable&>(*pFeature).clone());

    const Math::SignalFeature& clone = *pClone;
    const Cloneable& throughBase = *pThroughBase;
    EXPECT_EQ(*GetParam().m_pType, typeid(clone));
    EXPECT_EQ(*GetParam().m_pType, typeid(throughBase));
}

TEST_P(FeatureProperties, CloneEqualsItsOriginalEverAfter)
{
    expectProperty("a clone gives what its original gives", [] {
        const auto pOriginal = GetParam().m_make();
        const auto uiBefore = *rc::gen::inRange(0, 8);
        for (int i = 0; i < uiBefore; ++i)
            outcomeOf(*pOriginal, inputFor(GetParam()));

        const auto pClone = cloneOf(*pOriginal);

        for (int i = 0; i < 8; ++i) {
            const Values vInput = inputFor(GetParam());
            const Outcome expected = outcomeOf(*pOriginal, vInput);
            RC_ASSERT(expected == outcomeOf(*pClone, vInput));
        }
    });
}

TEST_P(FeatureProperties, CloneSharesNoStateWithItsOriginal)
{
    expectProperty("a clone goes its own way", [] {
        const auto pOriginal = GetParam().m_make();
        const auto pUndisturbed = GetParam().m_make();
        const Values vFirst = inputFor(GetParam());
        outcomeOf(*pOriginal, vFirst);
        outcomeOf(*pUndisturbed, vFirst);

        const auto pClone = cloneOf(*pOriginal);
        for (int i = 0; i < 6; ++i)
            outcomeOf(*pClone, inputFor(GetParam()));
        if (auto* pResettable = dynamic_cast<Resettable*>(pClone.get()))
            pResettable->reset();

        const Values vLast = inputFor(GetParam());
        RC_ASSERT(outcomeOf(*pUndisturbed, vLast) == outcomeOf(*pOriginal, vLast));
    });
}

TEST_P(FeatureProperties, CloneOutlivesItsOriginal)
{
    auto pOriginal = GetParam().m_make();
    const auto pTwin = GetParam().m_make();
    const bool bValue = std::string(GetParam().m_szInput) == "value";
    const Values vInput = bValue ? Values{0.5} : randomSpectrum(s_uiSize, 9);
    outcomeOf(*pOriginal, vInput);
    outcomeOf(*pTwin, vInput);
    const auto pClone = cloneOf(*pOriginal);

    pOriginal.reset();

    EXPECT_EQ(outcomeOf(*pTwin, vInput), outcomeOf(*pClone, vInput));
}

template <class FeatureT>
void expectAssignmentCopiesState(FeatureT in_source, FeatureT in_target, const Values& in_vInput)
{
    outcomeOf(in_source, in_vInput);
    in_target = in_source;
    const FeatureT copy(in_source);
    EXPECT_EQ(outcomeOf(in_source, in_vInput), outcomeOf(in_target, in_vInput));
}

TEST(FeatureAssignment, CopiesConfigurationAndMemory)
{
    const Values vWindow = randomWindow(64, 1);
    expectAssignmentCopiesState(RatiosFeature(true), RatiosFeature(false), vWindow);
    expectAssignmentCopiesState(MeanMaxFeature(0.01, 0.0), MeanMaxFeature(1.0, 2.0), vWindow);
    expectAssignmentCopiesState(MeanEnergyAboveThreshFeature(0.01), MeanEnergyAboveThreshFeature(0.9), vWindow);
    expectAssignmentCopiesState(EnergyHistogramFeature(0.5, 7), EnergyHistogramFeature(1.0, 3), vWindow);
    expectAssignmentCopiesState(SpectralRangeFeature(1000, 100), SpectralRangeFeature(), vWindow);
    expectAssignmentCopiesState(SpectralWeightedAreaFeature(), SpectralWeightedAreaFeature(), vWindow);
    DeltaToSlidingMeanFeature delta;
    delta.reset();
    expectAssignmentCopiesState(delta, DeltaToSlidingMeanFeature(), {0.5});
    MaxSpectralRangesFeature ranges;
    ranges.addSpectralRange(1000, 100);
    expectAssignmentCopiesState(ranges, MaxSpectralRangesFeature(), vWindow);
}

// ---- Reset

std::vector<FeatureClass> resettableClasses()
{
    std::vector<FeatureClass> vClasses;
    for (const FeatureClass& featureClass : allFeatureClasses())
        if (dynamic_cast<Resettable*>(featureClass.m_make().get()) != nullptr)
            vClasses.push_back(featureClass);
    return vClasses;
}

class ResettableFeatureProperties : public testing::TestWithParam<FeatureClass>
{
};

INSTANTIATE_TEST_SUITE_P(All, ResettableFeatureProperties, testing::ValuesIn(resettableClasses()),
                         [](const auto& in_info) { return std::string(in_info.param.m_szName); });

TEST(ResettableFeatures, AreThoseWithMemoryAndTheFunctionsOfFormulas)
{
    std::vector<std::string> vNames;
    for (const FeatureClass& featureClass : resettableClasses())
        vNames.emplace_back(featureClass.m_szName);

    EXPECT_EQ(
        (std::vector<std::string>{"Spectrum", "SpectrumReduced", "Flatness", "MeanEnergyAboveThresh", "Ratios",
                                  "TemporalRatios", "MeanMax", "DeltaToSlidingMean", "SlidingWindow", "Composed"}),
        vNames);
}

TEST_P(ResettableFeatureProperties, ResetGivesTheStateOfANewObject)
{
    expectProperty("a feature that was reset gives what a new one gives", [] {
        const auto pUsed = GetParam().m_make();
        const auto pNew = GetParam().m_make();
        for (int i = 0; i < 4; ++i)
            outcomeOf(*pUsed, inputFor(GetParam()));

        RC_ASSERT(dynamic_cast<Resettable&>(*pUsed).reset());

        for (int i = 0; i < 4; ++i) {
            const Values vInput = inputFor(GetParam());
            RC_ASSERT(outcomeOf(*pNew, vInput) == outcomeOf(*pUsed, vInput));
        }
    });
}

// ---- Outputs

TEST_P(FeatureProperties, OutputsAreFinite)
{
    expectProperty("finite samples give finite values", [] {
        const auto pFeature = GetParam().m_make();
        for (int i = 0; i < 3; ++i) {
            const Outcome outcome = outcomeOf(*pFeature, inputFor(GetParam()));
            RC_ASSERT(outcome.m_bDone);
            for (const double dValue : outcome.m_vValues)
                RC_ASSERT(std::isfinite(dValue));
        }
    });
}

TEST_P(FeatureProperties, InputIsOnlyRead)
{
    expectProperty("the input stays as it is", [] {
        const auto pFeature = GetParam().m_make();
        const Values vInput = inputFor(GetParam());
        const Math::DoubleVector vGiven = toVector(vInput);
        Math::DoubleVector vOut;
        pFeature->compute(vGiven, vOut);
        RC_ASSERT(sameValues(vInput, toValues(vGiven)));
    });
}

TEST_P(FeatureProperties, ValuesAreAppendedBehindWhatIsThere)
{
    expectProperty("what is in the output stays in front", [] {
        const auto pAlone = GetParam().m_make();
        const auto pBehind = GetParam().m_make();
        const Values vInput = inputFor(GetParam());
        Values vExpected = *windows();
        Math::DoubleVector vOut = toVector(vExpected);

        const Outcome alone = outcomeOf(*pAlone, vInput);
        RC_ASSERT(alone.m_bDone == pBehind->compute(toVector(vInput), vOut));

        vExpected.insert(vExpected.end(), alone.m_vValues.begin(), alone.m_vValues.end());
        RC_ASSERT(sameValues(vExpected, toValues(vOut)));
    });
}

TEST(FeatureOrder, LeavesEveryFeaturesValuesAlone)
{
    expectProperty("features in any order give the same values into one output", [] {
        std::vector<std::size_t> vOrder(allFeatureClasses().size());
        std::iota(vOrder.begin(), vOrder.end(), 0u);
        for (std::size_t i = vOrder.size(); i-- > 1;)
            std::swap(vOrder[i], vOrder[*rc::gen::inRange<std::size_t>(0, i + 1)]);
        std::vector<std::unique_ptr<Math::SignalFeature>> vFeatures;
        std::vector<std::unique_ptr<Math::SignalFeature>> vAlone;
        for (const std::size_t uiClass : vOrder) {
            vFeatures.push_back(allFeatureClasses()[uiClass].m_make());
            vAlone.push_back(allFeatureClasses()[uiClass].m_make());
        }
        for (int iWindow = 0; iWindow < 3; ++iWindow) {
            const Values vWindow = *windowsOf(s_uiSize);
            const Values vSpectrum = *spectraOf(s_uiSize);
            Math::DoubleVector vTogether;
            Values vExpected;
            for (std::size_t i = 0; i < vOrder.size(); ++i) {
                const std::string strInput = allFeatureClasses()[vOrder[i]].m_szInput;
                const Values vInput = strInput == "value"      ? Values{vWindow[0]}
                                      : strInput == "spectrum" ? vSpectrum
                                                               : vWindow;
                RC_ASSERT(vFeatures[i]->compute(toVector(vInput), vTogether));
                const Outcome alone = outcomeOf(*vAlone[i], vInput);
                vExpected.insert(vExpected.end(), alone.m_vValues.begin(), alone.m_vValues.end());
            }
            RC_ASSERT(sameValues(vExpected, toValues(vTogether)));
        }
    });
}

// ---- Shares

double sumOf(const Values& in_vValues)
{
    return std::accumulate(in_vValues.begin(), in_vValues.end(), 0.0);
}

RC_GTEST_PROP(Shares, OfASpectrumSumToOne, ())
{
    Values vWindow = *windowsOf(128);
    vWindow[64] = 0.5; // never silent, and not at an end of the taper, where it is 0
    SpectrumFeature feature;

    // 64 roundings of at most half a unit each.
    RC_ASSERT(std::fabs(sumOf(outcomeOf(feature, vWindow).m_vValues) - 1.0) < 1e-13);
}

RC_GTEST_PROP(Shares, OfAmplitudesSumToOne, (bool in_bTemporal))
{
    RatiosFeature feature(in_bTemporal);
    for (int i = 0; i < 3; ++i) {
        Values vWindow = *windows();
        vWindow.push_back(*samples());

        // Four quotients are rounded, and their sums.
        RC_ASSERT(std::fabs(sumOf(outcomeOf(feature, vWindow).m_vValues) - 1.0) < 1e-15);
    }
}

RC_GTEST_PROP(Shares, LieBetweenZeroAndOne, ())
{
    Values vWindow = *windows();
    vWindow.push_back(*samples());
    for (const char* szName : {"zerocrossingrate", "silenceratio", "noiseratio", "amplitudedistribution"})
        for (const double dShare : outcomeOf(*newFeature(szName), vWindow).m_vValues)
            RC_ASSERT(dShare >= 0.0 && dShare <= 1.0);
}

RC_GTEST_PROP(Shares, OfEnergyBelow1000HzAreThoseToEitherSideOf100Hz, ())
{
    const Values vSpectrum = *spectraOf(128);
    LowFreqEnergyRatioFeature whole;
    LowFreqEnergyRatiosFeature parts;

    // The 32 bins are summed in two ways.
    RC_ASSERT(std::fabs(sumOf(outcomeOf(parts, vSpectrum).m_vValues) - outcomeOf(whole, vSpectrum).m_vValues.at(0)) <
              1e-14);
}

RC_GTEST_PROP(Shares, OfAnEnergyHistogramCountEverySampleOnce, ())
{
    const Values vWindow = *windows();
    EnergyHistogramFeature feature(*rc::gen::element(0.01, 0.5, 1.0, 3.0), *rc::gen::inRange<unsigned long>(1, 40));

    RC_ASSERT(sumOf(outcomeOf(feature, vWindow).m_vValues) == static_cast<double>(vWindow.size()));
}

// ---- A signal in pieces

// What the feature yields last when the signal comes in pieces of random lengths.
Outcome lastInPieces(Math::SignalFeature& inout_feature, const Values& in_vSignal)
{
    Outcome last = outcomeOf(inout_feature, {}); // an empty piece is one, too
    for (auto first = in_vSignal.begin(); first != in_vSignal.end();) {
        const auto iPiece = *rc::gen::resize(100, rc::gen::inRange<std::ptrdiff_t>(1, 30));
        const auto behind = first + std::min(iPiece, in_vSignal.end() - first);
        last = outcomeOf(inout_feature, Values(first, behind));
        first = behind;
    }
    return last;
}

RC_GTEST_PROP(Pieces, GiveTheMeanEnergyOfTheWhole, ())
{
    const Values vSignal = *windows();
    MeanEnergyAboveThreshFeature whole(0.1);
    MeanEnergyAboveThreshFeature pieces(0.1);

    RC_ASSERT(outcomeOf(whole, vSignal) == lastInPieces(pieces, vSignal));
}

RC_GTEST_PROP(Pieces, GiveTheMeanMaxOfTheWhole, ())
{
    const Values vSignal = *windows();
    MeanMaxFeature whole(0.07, 0.01);
    MeanMaxFeature pieces(0.07, 0.01);

    RC_ASSERT(outcomeOf(whole, vSignal) == lastInPieces(pieces, vSignal));
}

RC_GTEST_PROP(Pieces, HaveTheCrossingsOfTheWhole, ())
{
    const Values vFirst = *windows();
    const Values vSecond = *windows();
    Values vWhole = vFirst;
    vWhole.insert(vWhole.end(), vSecond.begin(), vSecond.end());
    const auto crossings = [](ZeroCrossingRateFeature& inout_feature, const Values& in_vWindow) {
        return std::lround(outcomeOf(inout_feature, in_vWindow).m_vValues.at(0) *
                           static_cast<double>(in_vWindow.size()));
    };
    ZeroCrossingRateFeature whole;
    ZeroCrossingRateFeature pieces;

    const auto iInPieces = crossings(pieces, vFirst) + crossings(pieces, vSecond);

    RC_ASSERT(iInPieces == crossings(whole, vWhole));
}

RC_GTEST_PROP(Pieces, ReachTheRunningPeakOfTheWhole, ())
{
    const Values vSignal = *windows();
    const Values vProbe = *windowsOf(16);
    RatiosFeature whole(true);
    RatiosFeature pieces(true);
    outcomeOf(whole, vSignal);
    lastInPieces(pieces, vSignal);

    RC_ASSERT(outcomeOf(whole, vProbe) == outcomeOf(pieces, vProbe));
}

// ---- Memory

TEST_P(FeatureProperties, ComputeAllocatesNothingAfterTheFirstCall)
{
    const auto pFeature = GetParam().m_make();
    const bool bValue = std::string(GetParam().m_szInput) == "value";
    std::vector<Math::DoubleVector> vInputs;
    for (std::uint64_t uiSeed = 1; uiSeed <= 20; ++uiSeed)
        vInputs.push_back(bValue ? Math::DoubleVector{0.5} : toVector(randomSpectrum(256, uiSeed)));
    Math::DoubleVector vOut;
    ASSERT_TRUE(pFeature->compute(vInputs[0], vOut)) << "the first call";
    vOut.clear();
    vOut.reserve(1024);
    const std::uint64_t uiVectors = getMemAccount("\"DoubleVector\"").m_uiTotalBlocks;
    const std::uint64_t uiBlocks = nbOfAllocations();

    for (const Math::DoubleVector& vInput : vInputs) {
        vOut.clear();
        if (!pFeature->compute(vInput, vOut))
            FAIL();
    }

    EXPECT_EQ(uiVectors, getMemAccount("\"DoubleVector\"").m_uiTotalBlocks);
    EXPECT_EQ(uiBlocks, nbOfAllocations());
}

// Few ordinary values among many that are not, at every place: the first one, too, decides how others compare.
Values specialValues(unsigned long in_uiSize, std::uint64_t in_uiSeed)
{
    constexpr double adSpecial[] = {std::numeric_limits<double>::quiet_NaN(),
                                    std::numeric_limits<double>::infinity(),
                                    -std::numeric_limits<double>::infinity(),
                                    0.0,
                                    -0.0,
                                    5e-324,
                                    -2e-308,
                                    1e308,
                                    -1e308};
    Values vValues = randomWindow(in_uiSize, in_uiSeed);
    std::mt19937_64 random(in_uiSeed);
    const unsigned long uiRarity = 1 + random() % 40; // of the special ones
    const unsigned long uiNbOfKinds = 1 + random() % std::size(adSpecial);
    const unsigned long uiFirstKind = random() % std::size(adSpecial);
    for (double& dValue : vValues)
        if (random() % uiRarity == 0)
            dValue = adSpecial[(uiFirstKind + random() % uiNbOfKinds) % std::size(adSpecial)];
    return vValues;
}

TEST(FeaturePlainForms, AgreeForSpecialValues)
{
    for (const std::string& strDescription : plainDescriptions()) {
        if (strDescription.find("deltatoslidingmean") != std::string::npos)
            continue; // reads a single value
        for (std::uint64_t uiSeed = 1; uiSeed <= 200; ++uiSeed) {
            const auto pFeature = newFeature(strDescription);
            PlainFeature plain = plainFeature(strDescription);
            const unsigned long uiSize = uiSeed % 2 == 0 ? 128 : 64;
            for (int iWindow = 0; iWindow < 2; ++iWindow) {
                const Values vInput = specialValues(uiSize, 2 * uiSeed + static_cast<std::uint64_t>(iWindow));
                ASSERT_EQ(outcomeOf(plain(vInput)), outcomeOf(*pFeature, vInput)) << strDescription << ", " << uiSeed;
            }
        }
    }
}

TEST(FeatureMemory, OfChainsIsAllocatedInTheFirstCall)
{
    for (const char* szChain : {"spectrum|flatness|deltatoslidingmean", "spectrum|peaks", "spectrum500hz|flatness",
                                "spectrum|maxspectralranges(440,480,1000)", "spectrum|harmonicproduct|peaks"}) {
        const auto pFeature = newFeature(szChain);
        const Math::DoubleVector vWindow = noise(256);
        Math::DoubleVector vOut;
        vOut.reserve(1024);
        ASSERT_TRUE(pFeature->compute(vWindow, vOut)) << szChain;
        const std::uint64_t uiVectors = getMemAccount("\"DoubleVector\"").m_uiTotalBlocks;
        const std::uint64_t uiBlocks = nbOfAllocations();

        for (int i = 0; i < 20; ++i) {
            vOut.clear();
            pFeature->compute(vWindow, vOut);
        }

        EXPECT_EQ(uiVectors, getMemAccount("\"DoubleVector\"").m_uiTotalBlocks) << szChain;
        EXPECT_EQ(uiBlocks, nbOfAllocations()) << szChain;
    }
}

TEST_P(FeatureProperties, AllMemoryIsGivenBack)
{
    const bool bValue = std::string(GetParam().m_szInput) == "value";
    const Math::DoubleVector vInput = bValue ? Math::DoubleVector{0.5} : toVector(randomSpectrum(256, 1));
    Math::DoubleVector vOut;
    vOut.reserve(1024);
    const std::uint64_t uiVectors = getMemAccount("\"DoubleVector\"").m_uiLiveBlocks;
    const std::uint64_t uiBlocks = nbOfLiveBlocks();
    {
        const auto pFeature = GetParam().m_make();
        pFeature->compute(vInput, vOut);
        const auto pClone = cloneOf(*pFeature);
        vOut.clear();
        pClone->compute(vInput, vOut);
    }
    EXPECT_EQ(uiVectors, getMemAccount("\"DoubleVector\"").m_uiLiveBlocks);
    EXPECT_EQ(uiBlocks, nbOfLiveBlocks());
}

} // namespace
} // namespace Corvana::Audio
