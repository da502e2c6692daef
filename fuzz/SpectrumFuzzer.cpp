// SPDX-License-Identifier: Apache-2.0
// Any doubles as a window: the spectrum features give the values of their written-out form, bit for bit, and never
// touch what stands in front of them in the output. The first byte chooses the length, the second the bands.
#include "FuzzSupport.h"
#include "PlainSpectrum.h"

#include "corvana/AudioFeatureImpl.h"
#include "corvana/MathFourierTransform.h"

namespace Corvana::Fuzz {
namespace {

const Math::DoubleVector s_vFormer = {1.0, -2.0, 3.0};

Math::DoubleVector takeWindow(ByteReader& inout_input, std::size_t in_uiLength)
{
    Math::DoubleVector vWindow(in_uiLength);
    for (std::size_t uiIndex = 0; uiIndex < in_uiLength; ++uiIndex) {
        if (!inout_input.empty())
            vWindow[uiIndex] = inout_input.takeDouble();
        else // a signal of its own, so that a short input does not end in silence
            vWindow[uiIndex] = static_cast<double>(uiIndex * uiIndex % 127) / 64.0 - 1.0;
    }
    return vWindow;
}

// What a feature appends; the output in front of it stays.
std::vector<double> valuesOf(Math::SignalFeature& inout_feature, const Math::DoubleVector& in_vInput,
                             bool in_bExpected = true)
{
    Math::DoubleVector vOutput(s_vFormer);
    CORVANA_FUZZ_REQUIRE(inout_feature.compute(in_vInput, vOutput) == in_bExpected);
    CORVANA_FUZZ_REQUIRE(vOutput.size() >= s_vFormer.size());
    const std::span<const double> vAll(vOutput);
    CORVANA_FUZZ_REQUIRE(sameValues(vAll.first(s_vFormer.size()), s_vFormer));
    const auto vAppended = vAll.subspan(s_vFormer.size());
    return {vAppended.begin(), vAppended.end()};
}

void requireSpectra(const Math::DoubleVector& in_vWindow, std::size_t in_uiNbOfBands)
{
    const std::vector<double> vWindow(in_vWindow.begin(), in_vWindow.end());
    Audio::SpectrumFeature spectrum;
    const std::vector<double> vSpectrum = valuesOf(spectrum, in_vWindow);
    CORVANA_FUZZ_REQUIRE(vSpectrum.size() == vWindow.size() / 2);
    const std::vector<double> vPlain = Plain::spectrum(vWindow, Plain::hannTable(vWindow.size()));
    CORVANA_FUZZ_REQUIRE(sameValues(vSpectrum, vPlain));
    CORVANA_FUZZ_REQUIRE(sameValues(vSpectrum, valuesOf(spectrum, in_vWindow))); // with the tables it kept

    Audio::SpectrumReducedFeature reduced(in_uiNbOfBands);
    CORVANA_FUZZ_REQUIRE(sameValues(valuesOf(reduced, in_vWindow), Plain::reducedSpectrum(vPlain, in_uiNbOfBands)));

    // One feature serves one length; another leaves the raw samples behind.
    Math::DoubleVector vLonger(in_vWindow);
    vLonger.insert(vLonger.end(), vLonger.begin(), vLonger.end());
    CORVANA_FUZZ_REQUIRE(sameValues(valuesOf(spectrum, vLonger, false), vLonger));
}

void requireFlatness(const Math::DoubleVector& in_vValues)
{
    Audio::FlatnessFeature flatness;
    const std::vector<double> vFlatness = valuesOf(flatness, in_vValues);
    const double dExpected = Plain::flatness({in_vValues.begin(), in_vValues.end()});
    CORVANA_FUZZ_REQUIRE(vFlatness.size() == 1 && sameValue(vFlatness[0], dExpected));
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    const LeakCheck leakCheck;
    ByteReader input(in_pData, in_uiSize);
    const std::uint8_t uiLength = input.takeByte();
    const std::size_t uiNbOfBands = 1 + input.takeUpTo(63);
    // Mostly powers of two from 2 to 1024, sometimes any length up to 64.
    const std::size_t uiSize = uiLength < 192 ? std::size_t{2} << (uiLength % 10U) : uiLength - 192U;

    const Math::DoubleVector vWindow = takeWindow(input, uiSize);
    requireFlatness(vWindow);
    if (uiSize < 2) {
        Audio::SpectrumFeature spectrum;
        CORVANA_FUZZ_REQUIRE(valuesOf(spectrum, vWindow, false).empty());
    } else if (Math::isPowerOfTwo(uiSize)) {
        requireSpectra(vWindow, uiNbOfBands);
    } else { // reported as misuse; values of no meaning, but as many as promised
        Audio::SpectrumFeature spectrum;
        CORVANA_FUZZ_REQUIRE(valuesOf(spectrum, vWindow).size() == uiSize / 2);
    }
}
