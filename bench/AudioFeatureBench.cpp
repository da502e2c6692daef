// SPDX-License-Identifier: Apache-2.0
// Each feature beside its written-out form, on windows of noise.
#include "BenchSupport.h"
#include "PlainSpectrum.h"

#include "corvana/AudioFeatureImpl.h"

#include <vector>

namespace Corvana::Bench {
namespace {

constexpr std::size_t s_uiNbOfBands = 8;

std::vector<double> plainNoise(std::size_t in_uiNbOfSamples)
{
    const Math::DoubleVector vSamples = noise(in_uiNbOfSamples);
    return {vSamples.begin(), vSamples.end()};
}

void computeFeature(benchmark::State& inout_state, Math::SignalFeature& inout_feature,
                    const Math::DoubleVector& in_vInput)
{
    Math::DoubleVector vValues;
    for (auto unused : inout_state) {
        vValues.clear();
        if (!inout_feature.compute(in_vInput, vValues))
            inout_state.SkipWithError("compute failed");
        benchmark::DoNotOptimize(vValues.data());
        benchmark::ClobberMemory();
    }
    countSamples(inout_state, in_vInput.size());
}

template <class FunctionT>
void computePlain(benchmark::State& inout_state, FunctionT in_function, const std::vector<double>& in_vInput)
{
    for (auto unused : inout_state) {
        auto values = in_function(in_vInput);
        benchmark::DoNotOptimize(values);
        benchmark::ClobberMemory();
    }
    countSamples(inout_state, in_vInput.size());
}

Math::DoubleVector spectrumOfNoise(std::size_t in_uiNbOfBins)
{
    Math::DoubleVector vSpectrum;
    Audio::SpectrumFeature().compute(noise(2 * in_uiNbOfBins), vSpectrum);
    return vSpectrum;
}

void Spectrum_Feature(benchmark::State& inout_state)
{
    Audio::SpectrumFeature feature;
    computeFeature(inout_state, feature, noise(sizeOf(inout_state)));
}

void Spectrum_Literal(benchmark::State& inout_state)
{
    const std::vector<double> vTaper = Plain::hannTable(sizeOf(inout_state)); // made once, as the feature makes it
    const auto spectrum = [&](const std::vector<double>& in_v) { return Plain::spectrum(in_v, vTaper); };
    computePlain(inout_state, spectrum, plainNoise(sizeOf(inout_state)));
}

void SpectrumReduced_Feature(benchmark::State& inout_state)
{
    Audio::SpectrumReducedFeature feature(s_uiNbOfBands);
    computeFeature(inout_state, feature, noise(sizeOf(inout_state)));
}

void SpectrumReduced_Literal(benchmark::State& inout_state)
{
    const std::vector<double> vTaper = Plain::hannTable(sizeOf(inout_state));
    const auto reduced = [&](const std::vector<double>& in_v) {
        return Plain::reducedSpectrum(Plain::spectrum(in_v, vTaper), s_uiNbOfBands);
    };
    computePlain(inout_state, reduced, plainNoise(sizeOf(inout_state)));
}

// The size is the spectrum's here, half of its window's.
void Flatness_Feature(benchmark::State& inout_state)
{
    Audio::FlatnessFeature feature;
    computeFeature(inout_state, feature, spectrumOfNoise(sizeOf(inout_state)));
}

void Flatness_Literal(benchmark::State& inout_state)
{
    const Math::DoubleVector vSpectrum = spectrumOfNoise(sizeOf(inout_state));
    computePlain(inout_state, Plain::flatness, {vSpectrum.begin(), vSpectrum.end()});
}

BENCHMARK(Spectrum_Feature)->Apply(windowSizes);
BENCHMARK(Spectrum_Literal)->Apply(windowSizes);
BENCHMARK(SpectrumReduced_Feature)->Apply(windowSizes);
BENCHMARK(SpectrumReduced_Literal)->Apply(windowSizes);
BENCHMARK(Flatness_Feature)->Apply(windowSizes);
BENCHMARK(Flatness_Literal)->Apply(windowSizes);

} // namespace
} // namespace Corvana::Bench
