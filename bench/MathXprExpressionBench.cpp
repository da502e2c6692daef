// SPDX-License-Identifier: Apache-2.0
// Formulas beside the same features called directly, on windows of noise. The variable is set for each window, as a
// caller does that reads a recording.
#include "BenchSupport.h"

#include "corvana/AudioFeatureImpl.h"
#include "corvana/MathXprExpression.h"

#include <vector>

namespace Corvana::Bench {
namespace {

constexpr std::size_t s_uiNbOfWindows = 16; // more than one, so that setting the variable is not for nothing

std::vector<Math::DoubleVector> windows(std::size_t in_uiSize)
{
    const Math::DoubleVector vSamples = noise(in_uiSize * s_uiNbOfWindows);
    std::vector<Math::DoubleVector> vWindows(s_uiNbOfWindows);
    for (std::size_t uiWindow = 0; uiWindow < s_uiNbOfWindows; ++uiWindow) {
        const double* const pFirst = vSamples.begin() + uiWindow * in_uiSize;
        vWindows[uiWindow].insert(vWindows[uiWindow].end(), pFirst, pFirst + in_uiSize);
    }
    return vWindows;
}

void evaluateFormula(benchmark::State& inout_state, const char* in_szFormula)
{
    const std::vector<Math::DoubleVector> vWindows = windows(sizeOf(inout_state));
    Math::Xpr::Expression expression;
    if (!expression.parse(in_szFormula))
        inout_state.SkipWithError(expression.getError().c_str());
    std::size_t uiWindow = 0;
    for (auto unused : inout_state) {
        LimitedObjPtr<Math::DoubleVector> pResult;
        if (!expression.pointVariable("x", vWindows[uiWindow++ % s_uiNbOfWindows]) || !expression.evaluate(pResult))
            inout_state.SkipWithError("evaluate failed");
        benchmark::DoNotOptimize(pResult.get());
        benchmark::ClobberMemory();
    }
    countSamples(inout_state, sizeOf(inout_state));
}

// A chain of features; each one reads what the one before gives.
template <class... FeatureT>
void computeDirectly(benchmark::State& inout_state, FeatureT... in_features)
{
    const std::vector<Math::DoubleVector> vWindows = windows(sizeOf(inout_state));
    std::size_t uiWindow = 0;
    Math::DoubleVector avValues[sizeof...(FeatureT)];
    for (auto unused : inout_state) {
        const Math::DoubleVector* pInput = &vWindows[uiWindow++ % s_uiNbOfWindows];
        Math::DoubleVector* pOutput = avValues;
        const auto computeNext = [&](Math::SignalFeature& inout_feature) {
            pOutput->clear();
            const bool bComputed = inout_feature.compute(*pInput, *pOutput);
            pInput = pOutput++;
            return bComputed;
        };
        if (!(computeNext(in_features) && ...))
            inout_state.SkipWithError("compute failed");
        benchmark::DoNotOptimize(pInput->data());
        benchmark::ClobberMemory();
    }
    countSamples(inout_state, sizeOf(inout_state));
}

void XprSpectrum_Formula(benchmark::State& inout_state)
{
    evaluateFormula(inout_state, "spectrum(x)");
}

void XprSpectrum_Direct(benchmark::State& inout_state)
{
    computeDirectly(inout_state, Audio::SpectrumFeature());
}

void XprFlatness_Formula(benchmark::State& inout_state)
{
    evaluateFormula(inout_state, "flatness(spectrum(x))");
}

void XprFlatness_Direct(benchmark::State& inout_state)
{
    computeDirectly(inout_state, Audio::SpectrumFeature(), Audio::FlatnessFeature());
}

void XprSpectralRange_Formula(benchmark::State& inout_state)
{
    evaluateFormula(inout_state, "spectralRange(spectrum(x), frequencyHz=1000, widthHz=100)");
}

void XprSpectralRange_Direct(benchmark::State& inout_state)
{
    computeDirectly(inout_state, Audio::SpectrumFeature(), Audio::SpectralRangeFeature(1000, 100));
}

void XprPeaks_Formula(benchmark::State& inout_state)
{
    evaluateFormula(inout_state, "peaks(spectrum(x))");
}

void XprPeaks_Direct(benchmark::State& inout_state)
{
    computeDirectly(inout_state, Audio::SpectrumFeature(), Audio::PeaksFeature());
}

// The cheapest feature: what a formula adds weighs most here.
void XprSilenceRatio_Formula(benchmark::State& inout_state)
{
    evaluateFormula(inout_state, "silenceRatio(x)");
}

void XprSilenceRatio_Direct(benchmark::State& inout_state)
{
    computeDirectly(inout_state, Audio::SilenceRatioFeatureT<50>());
}

BENCHMARK(XprSpectrum_Formula)->Arg(256);
BENCHMARK(XprSpectrum_Direct)->Arg(256);
BENCHMARK(XprFlatness_Formula)->Arg(256);
BENCHMARK(XprFlatness_Direct)->Arg(256);
BENCHMARK(XprSpectralRange_Formula)->Arg(256);
BENCHMARK(XprSpectralRange_Direct)->Arg(256);
BENCHMARK(XprPeaks_Formula)->Arg(256);
BENCHMARK(XprPeaks_Direct)->Arg(256);
BENCHMARK(XprSilenceRatio_Formula)->Arg(256);
BENCHMARK(XprSilenceRatio_Direct)->Arg(256);

} // namespace
} // namespace Corvana::Bench
