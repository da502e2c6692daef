// SPDX-License-Identifier: Apache-2.0
// Any doubles as windows for each feature that can be made by name, with any parameters that are numbers: the values
// are those of its plain form, bit for bit, and behind what the output held before; a copy goes on as the original
// does, and after a reset everything is as it was at the beginning.
#include "FuzzSupport.h"

#include "audio/features/PlainFeatures.h"
#include "corvana/AudioFeatureDescription.h"
#include "corvana/AudioFeatureFactory.h"
#include "corvana/MathFourierTransform.h"
#include "corvana/MathSignalFeaturePool.h"
#include "corvana/Resettable.h"
#include "math/ReferenceSpectrum.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace Corvana::Fuzz {
namespace {

using Audio::FeatureDescription;
using Math::DoubleVector;
using Test::PlainFeature;
using Test::PlainResult;
using Test::Values;
using Parameters = std::vector<unsigned long>;

// Up to here the plain forms, which know no overflow, mean what they say.
constexpr unsigned long s_uiMaxPlainHz = 1000000;
const DoubleVector s_vFormer = {1.0, -2.0, 3.0};

struct Chosen
{
    const FeatureDescription* m_pDescription = nullptr;
    Parameters m_vParameters;

    std::string text() const
    {
        std::string strText = m_pDescription->m_szName;
        for (std::size_t uiIndex = 0; uiIndex < m_vParameters.size(); ++uiIndex)
            strText += (uiIndex == 0 ? "(" : ",") + std::to_string(m_vParameters[uiIndex]);
        return m_vParameters.empty() ? strText : strText + ")";
    }
    bool isName(const char* in_szName) const { return std::string(in_szName) == m_pDescription->m_szName; }
};

// Mostly frequencies of telephony, sometimes any number.
unsigned long takeParameter(ByteReader& inout_input)
{
    const std::uint8_t uiKind = inout_input.takeByte();
    if (uiKind % 16 == 15)
        return inout_input.takeUpTo(~0UL);
    return uiKind % 2 == 0 ? inout_input.takeUpTo(4000) : inout_input.takeByte();
}

Chosen takeFeature(ByteReader& inout_input)
{
    const auto descriptions = Audio::getFeatureDescriptions();
    Chosen chosen{&descriptions[inout_input.takeUpTo(255) % descriptions.size()], {}};
    const unsigned uiMin = chosen.m_pDescription->m_uiMinParameters;
    const unsigned uiMax = std::min(chosen.m_pDescription->m_uiMaxParameters, uiMin + 6);
    const std::size_t uiCount = uiMin + (uiMax > uiMin ? inout_input.takeUpTo(uiMax - uiMin) : 0);
    for (std::size_t uiIndex = 0; uiIndex < uiCount; ++uiIndex)
        chosen.m_vParameters.push_back(takeParameter(inout_input));
    return chosen;
}

PlainFeature plainRanges(const Parameters& in_vParameters)
{
    Test::PlainMaxSpectralRanges ranges;
    for (const unsigned long uiHz : in_vParameters)
        ranges.ranges.push_back({uiHz, 20});
    return ranges;
}

// None for parameters that the plain form cannot hold.
PlainFeature plainForm(const Chosen& in_chosen)
{
    const Parameters& vParameters = in_chosen.m_vParameters;
    const bool bTooLarge = std::any_of(vParameters.begin(), vParameters.end(),
                                       [](unsigned long in_uiHz) { return in_uiHz > s_uiMaxPlainHz; });
    if (in_chosen.isName("spectralrange"))
        return bTooLarge ? PlainFeature() : Test::PlainSpectralRange{vParameters[0], vParameters[1]};
    if (in_chosen.isName("maxspectralranges"))
        return bTooLarge ? PlainFeature() : plainRanges(vParameters);
    return Test::plainFeature(in_chosen.m_pDescription->m_szName); // its parameters have no effect
}

std::size_t takeLength(ByteReader& inout_input, const Chosen& in_chosen)
{
    const std::uint8_t uiByte = inout_input.takeByte();
    if (in_chosen.m_pDescription->m_bNeedsPowerOfTwo)
        return uiByte % 16 == 15 ? 0 : std::size_t{2} << (uiByte % 8U);
    if (std::string(in_chosen.m_pDescription->m_szInput) == "value")
        return uiByte % 16 == 15 ? 2 : 1;
    return uiByte < 128 ? std::size_t{1} << (uiByte % 9U) : uiByte - 128U;
}

// The doubles of the input as they are, or samples of 16 bits, or few different values, so that there are ties.
DoubleVector takeWindow(ByteReader& inout_input, std::size_t in_uiLength)
{
    const std::uint8_t uiKind = inout_input.takeByte() % 4;
    DoubleVector vWindow(in_uiLength);
    for (std::size_t uiIndex = 0; uiIndex < in_uiLength; ++uiIndex) {
        if (inout_input.empty()) // a signal of its own, so that a short input does not end in silence
            vWindow[uiIndex] = static_cast<double>(uiIndex * uiIndex % 127) / 64.0 - 1.0;
        else if (uiKind <= 1)
            vWindow[uiIndex] = inout_input.takeDouble();
        else if (uiKind == 2)
            vWindow[uiIndex] = (static_cast<double>(inout_input.takeUpTo(65535)) - 32768.0) / 32768.0;
        else
            vWindow[uiIndex] = static_cast<double>(inout_input.takeByte() % 5) / 4.0 - 0.5;
    }
    return vWindow;
}

PlainResult outcomeOf(Math::SignalFeature& inout_feature, const DoubleVector& in_vWindow)
{
    DoubleVector vOutput(s_vFormer);
    PlainResult outcome;
    outcome.m_bDone = inout_feature.compute(in_vWindow, vOutput);
    CORVANA_FUZZ_REQUIRE(vOutput.size() >= s_vFormer.size());
    CORVANA_FUZZ_REQUIRE(std::equal(s_vFormer.begin(), s_vFormer.end(), vOutput.begin()));
    outcome.m_vValues.assign(vOutput.begin() + s_vFormer.size(), vOutput.end());
    return outcome;
}

bool same(const PlainResult& in_left, const PlainResult& in_right)
{
    return in_left.m_bDone == in_right.m_bDone && sameValues(in_left.m_vValues, in_right.m_vValues);
}

using Features = std::vector<std::unique_ptr<Math::SignalFeature>>;

void requireWindows(const Chosen& in_chosen, Math::SignalFeature& inout_feature,
                    const std::vector<DoubleVector>& in_vWindows)
{
    PlainFeature plain = plainForm(in_chosen);
    std::unique_ptr<Math::SignalFeature> pCopy;
    for (const DoubleVector& vWindow : in_vWindows) {
        const PlainResult outcome = outcomeOf(inout_feature, vWindow);
        if (pCopy != nullptr)
            CORVANA_FUZZ_REQUIRE(same(outcomeOf(*pCopy, vWindow), outcome));
        pCopy.reset(inout_feature.clone());
        CORVANA_FUZZ_REQUIRE(pCopy != nullptr);
        if (plain)
            CORVANA_FUZZ_REQUIRE(same(plain({vWindow.begin(), vWindow.end()}), outcome));
    }
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    const LeakCheck leakCheck;
    ByteReader input(in_pData, in_uiSize);
    const Chosen chosen = takeFeature(input);
    Math::SignalFeaturePool pool;
    pool.addFactory(new Audio::AudioFeatureFactory);
    const std::unique_ptr<Math::SignalFeature> pFeature(pool.getNewFeature(chosen.text().c_str()));
    CORVANA_FUZZ_REQUIRE(pFeature != nullptr);

    // One feature serves one length; spectra report another one as misuse.
    const std::size_t uiLength = takeLength(input, chosen);
    std::vector<DoubleVector> vWindows;
    for (unsigned long uiLeft = 1 + input.takeUpTo(7); uiLeft > 0; --uiLeft)
        vWindows.push_back(takeWindow(input, uiLength));
    requireWindows(chosen, *pFeature, vWindows);

    auto* pResettable = dynamic_cast<Resettable*>(pFeature.get());
    if (pResettable == nullptr)
        return;
    CORVANA_FUZZ_REQUIRE(pResettable->reset());
    requireWindows(chosen, *pFeature, vWindows);
}
