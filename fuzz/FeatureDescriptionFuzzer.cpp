// SPDX-License-Identifier: Apache-2.0
// Any text as a feature description: splitting it agrees with a second, differently written reader of the same
// grammar; what the pool makes computes, also as a copy, and nothing is left over.
#include "FuzzSupport.h"

#include "corvana/AudioFeatureFactory.h"
#include "corvana/MathSignalFeaturePool.h"

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

namespace Corvana::Fuzz {
namespace {

struct Description
{
    std::string m_strName;
    std::vector<std::string> m_vParams;

    friend bool operator==(const Description&, const Description&) = default;
};

void trim(std::string& inout_strText)
{
    const auto isBlank = [](char in_c) { return in_c == ' ' || in_c == '\t'; };
    inout_strText.erase(std::find_if_not(inout_strText.rbegin(), inout_strText.rend(), isBlank).base(),
                        inout_strText.end());
    inout_strText.erase(inout_strText.begin(), std::find_if_not(inout_strText.begin(), inout_strText.end(), isBlank));
}

// Reads character by character, where the library searches for the parentheses.
bool parse(const std::string& in_strText, Description& out_description)
{
    enum
    {
        NAME,
        PARAMETERS,
        BEHIND
    } state = NAME;
    std::vector<std::string> vPieces(1);
    for (const char c : in_strText) {
        const bool bBlank = c == ' ' || c == '\t';
        if ((state == NAME && c == ')') || (state == PARAMETERS && c == '(') || (state == BEHIND && !bBlank))
            return false;
        if (state == PARAMETERS && c == ')') {
            state = BEHIND;
        } else if ((state == NAME && c == '(') || (state == PARAMETERS && c == ',')) {
            state = PARAMETERS;
            vPieces.emplace_back();
        } else if (state != BEHIND) {
            vPieces.back() += c;
        }
    }
    std::for_each(vPieces.begin(), vPieces.end(), trim);
    if (vPieces.size() == 2 && vPieces[1].empty())
        vPieces.pop_back();
    const bool bEmptyPiece = std::find(vPieces.begin(), vPieces.end(), "") != vPieces.end();
    if (state == PARAMETERS || bEmptyPiece)
        return false;
    out_description.m_strName = vPieces[0];
    out_description.m_vParams.assign(vPieces.begin() + 1, vPieces.end());
    return true;
}

void requireSplit(const std::string& in_strText)
{
    Description expected;
    const bool bExpected = parse(in_strText, expected);
    Description split{"former", {"former"}};
    CORVANA_FUZZ_REQUIRE(
        Math::SignalFeatureFactory::splitParams(in_strText.c_str(), split.m_strName, split.m_vParams) == bExpected);
    CORVANA_FUZZ_REQUIRE(split == expected);
}

std::vector<std::string> stagesOf(std::string_view in_strChain)
{
    std::vector<std::string> vStages(1);
    for (const char c : in_strChain) {
        if (c == '|')
            vStages.emplace_back();
        else
            vStages.back() += c;
    }
    return vStages;
}

bool isSpectrumFeature(const std::string& in_strStage)
{
    static constexpr std::array<const char*, 5> s_aszNames = {"spectrum", "spectrum100hz", "spectrum200hz",
                                                              "spectrum500hz", "flatness"};
    Description description;
    if (!parse(in_strStage, description) || !description.m_vParams.empty())
        return false;
    for (char& c : description.m_strName)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return std::find(s_aszNames.begin(), s_aszNames.end(), description.m_strName) != s_aszNames.end();
}

void requireComputes(Math::SignalFeature& inout_feature)
{
    Math::DoubleVector vWindow(256);
    for (std::size_t uiIndex = 0; uiIndex < vWindow.size(); ++uiIndex)
        vWindow[uiIndex] = static_cast<double>(uiIndex * 37 % 101) / 101.0 - 0.5;
    const Math::DoubleVector vFormer = {1.0, 2.0};

    const std::unique_ptr<Math::SignalFeature> pCopy(inout_feature.clone());
    CORVANA_FUZZ_REQUIRE(pCopy != nullptr);
    Math::DoubleVector vValues(vFormer);
    Math::DoubleVector vCopyValues(vFormer);
    const bool bComputed = inout_feature.compute(vWindow, vValues);
    CORVANA_FUZZ_REQUIRE(pCopy->compute(vWindow, vCopyValues) == bComputed);
    CORVANA_FUZZ_REQUIRE(sameValues(vValues, vCopyValues));
    CORVANA_FUZZ_REQUIRE(vValues.size() >= vFormer.size());
    CORVANA_FUZZ_REQUIRE(std::equal(vFormer.begin(), vFormer.end(), vValues.begin()));
    if (bComputed)
        CORVANA_FUZZ_REQUIRE(vValues.size() > vFormer.size());
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    // A description ends at a zero byte, as every text here does.
    const std::string strText(std::string(ByteReader(in_pData, in_uiSize).rest()).c_str());
    requireSplit(strText);

    const LeakCheck leakCheck;
    Math::SignalFeaturePool pool;
    pool.addFactory(new Audio::AudioFeatureFactory);
    pool.addFactory(new Math::MathSignalFeatureFactory);
    const std::unique_ptr<Math::SignalFeature> pFeature(pool.getNewFeature(strText.c_str()));

    const std::vector<std::string> vStages = stagesOf(strText);
    Description ignored;
    const auto isWellFormed = [&](const std::string& in_strStage) { return parse(in_strStage, ignored); };
    if (pFeature != nullptr)
        CORVANA_FUZZ_REQUIRE(std::all_of(vStages.begin(), vStages.end(), isWellFormed));
    if (std::all_of(vStages.begin(), vStages.end(), isSpectrumFeature))
        CORVANA_FUZZ_REQUIRE(pFeature != nullptr);
    if (pFeature != nullptr)
        requireComputes(*pFeature);
}
