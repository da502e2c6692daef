// SPDX-License-Identifier: Apache-2.0
#include "MathFeatureGraph.h"

#include "corvana/Logger.h"
#include "corvana/NumberText.h"

#include <algorithm>
#include <iterator>
#include <utility>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.math.FeatureComputerImpl")

namespace Corvana::Math {

struct FeatureGraph::Input
{
    std::string m_strName;
    DoubleVector m_vValue;
    bool m_bSet = false;
};

struct FeatureGraph::Stage
{
    std::string m_strText;
    const Input* m_pInput;         // where the chain of stages begins
    const DoubleVector* m_pSource; // the input's value, or an earlier stage's
    std::unique_ptr<SignalFeature> m_pFeature;
    DoubleVector m_vValues;
    // Neither computed nor configured: only then is another feature free to share it, since a stage may remember.
    bool m_bFresh = true;
};

FeatureGraph::FeatureGraph() = default;
FeatureGraph::~FeatureGraph() = default;

const FeatureGraph::Feature* FeatureGraph::findOutput(const std::string& in_strName) const
{
    if (in_strName.empty())
        return nullptr;
    const auto it = std::find_if(m_vFeatures.begin(), m_vFeatures.end(), [&](const Feature& in_feature) {
        return in_feature.m_entry.m_strOutput == in_strName;
    });
    return it == m_vFeatures.end() ? nullptr : &*it;
}

FeatureGraph::Input* FeatureGraph::findInput(const std::string& in_strName) const
{
    const auto it = std::find_if(m_vInputs.begin(), m_vInputs.end(),
                                 [&](const auto& in_pInput) { return in_pInput->m_strName == in_strName; });
    return it == m_vInputs.end() ? nullptr : it->get();
}

std::unique_ptr<FeatureGraph::Input> FeatureGraph::newInput(const std::string& in_strName)
{
    auto pInput = std::make_unique<Input>();
    pInput->m_strName = in_strName;
    return pInput;
}

FeatureGraph::Stage* FeatureGraph::findSharedStage(std::string_view in_strText, const DoubleVector* in_pSource) const
{
    const auto it = std::find_if(m_vStages.begin(), m_vStages.end(), [&](const auto& in_pStage) {
        return in_pStage->m_bFresh && in_pStage->m_pSource == in_pSource && in_pStage->m_strText == in_strText;
    });
    return it == m_vStages.end() ? nullptr : it->get();
}

const FeatureGraph::Stage* FeatureGraph::makeStages(const SignalFeaturePool& in_pool, std::string_view in_strStages,
                                                    const Input* in_pInput, const DoubleVector* in_pSource,
                                                    std::vector<std::unique_ptr<Stage>>& out_vNewStages) const
{
    for (;;) {
        const std::size_t uiBar = in_strStages.find('|');
        const std::string strText(withoutBlanksAround(in_strStages.substr(0, uiBar)));
        const Stage* pStage = findSharedStage(strText, in_pSource);
        if (pStage == nullptr) {
            auto pNewStage = std::make_unique<Stage>();
            pNewStage->m_strText = strText;
            pNewStage->m_pInput = in_pInput;
            pNewStage->m_pSource = in_pSource;
            pNewStage->m_pFeature.reset(in_pool.getNewFeature(strText.c_str()));
            if (pNewStage->m_pFeature == nullptr)
                return nullptr;
            pStage = pNewStage.get();
            out_vNewStages.push_back(std::move(pNewStage));
        }
        if (uiBar == std::string_view::npos)
            return pStage;
        in_pSource = &pStage->m_vValues;
        in_strStages.remove_prefix(uiBar + 1);
    }
}

namespace {

// Grows as push_back() does: making room for each feature alone would copy everything each time.
template <class VectorT>
void makeRoom(VectorT& inout_vector, std::size_t in_uiNbOfElements)
{
    if (inout_vector.capacity() - inout_vector.size() < in_uiNbOfElements)
        inout_vector.reserve(2 * inout_vector.size() + in_uiNbOfElements);
}

} // namespace

bool FeatureGraph::addFeature(const SignalFeaturePool& in_pool, const Entry& in_entry)
{
    if (m_vFeatures.size() == s_uiMaxNbOfFeatures)
        return false;
    if (!in_entry.m_strOutput.empty() &&
        (findOutput(in_entry.m_strOutput) != nullptr || findInput(in_entry.m_strOutput) != nullptr ||
         in_entry.m_strOutput == in_entry.m_strInput))
        return false;
    const Feature* pEarlier = findOutput(in_entry.m_strInput);
    if (pEarlier != nullptr && pEarlier->m_pLastStage == nullptr)
        return false; // what it reads is unknown

    const Input* pInput = pEarlier == nullptr ? findInput(in_entry.m_strInput) : pEarlier->m_pLastStage->m_pInput;
    std::unique_ptr<Input> pNewInput;
    if (pInput == nullptr) {
        pNewInput = newInput(in_entry.m_strInput);
        pInput = pNewInput.get();
    }
    const DoubleVector* pSource = pEarlier == nullptr ? &pInput->m_vValue : &pEarlier->m_pLastStage->m_vValues;
    std::vector<std::unique_ptr<Stage>> vNewStages;
    const Stage* pLastStage = makeStages(in_pool, in_entry.m_strDescription, pInput, pSource, vNewStages);
    if (pLastStage == nullptr)
        return false;

    // Room first: nothing may throw once something has joined.
    makeRoom(m_vInputs, 1);
    makeRoom(m_vStages, vNewStages.size());
    m_vFeatures.push_back({in_entry, pLastStage});
    if (pNewInput != nullptr)
        m_vInputs.push_back(std::move(pNewInput));
    std::move(vNewStages.begin(), vNewStages.end(), std::back_inserter(m_vStages));
    return true;
}

void FeatureGraph::addUnknownFeature(const Entry& in_entry)
{
    m_vFeatures.push_back({in_entry, nullptr});
}

void FeatureGraph::clear()
{
    m_vFeatures.clear();
    m_vStages.clear();
    m_vInputs.clear();
}

bool FeatureGraph::setInput(const std::string& in_strName, const DoubleVector& in_vValue)
{
    if (findOutput(in_strName) != nullptr)
        return false;
    Input* pInput = findInput(in_strName);
    if (pInput == nullptr) {
        m_vInputs.push_back(newInput(in_strName));
        pInput = m_vInputs.back().get();
    }
    pInput->m_vValue = in_vValue;
    pInput->m_bSet = true;
    return true;
}

bool FeatureGraph::configure(const ROConfiguration& in_config)
{
    bool bDone = true;
    for (const auto& pStage : m_vStages) {
        auto* pFeature = dynamic_cast<SignalFeatureWithParameters*>(pStage->m_pFeature.get());
        if (pFeature == nullptr || pStage->m_strText.find('(') != std::string::npos)
            continue;
        pStage->m_bFresh = false;
        bDone = pFeature->configure(in_config) && bDone;
    }
    return bDone;
}

bool FeatureGraph::isInputMissing(const Feature& in_feature) const
{
    return in_feature.m_pLastStage != nullptr && !in_feature.m_pLastStage->m_pInput->m_bSet;
}

bool FeatureGraph::computeStages()
{
    for (const Feature& feature : m_vFeatures) {
        if (feature.m_pLastStage == nullptr) {
            CORVANA_LOG_ERROR(fileScopeLogger(), "Unknown feature " << feature.m_entry.m_strDescription);
            return false;
        }
        if (isInputMissing(feature)) {
            const std::string& strInput = feature.m_pLastStage->m_pInput->m_strName;
            CORVANA_LOG_ERROR(fileScopeLogger(), "Missing " << (strInput.empty() ? "window" : "input ") << strInput
                                                            << " of feature " << feature.m_entry.m_strDescription);
            return false;
        }
    }
    for (const auto& pStage : m_vStages) {
        pStage->m_bFresh = false;
        pStage->m_vValues.clear();
        if (!pStage->m_pFeature->compute(*pStage->m_pSource, pStage->m_vValues)) {
            CORVANA_LOG_ERROR(fileScopeLogger(), "Could not compute feature " << pStage->m_strText);
            return false;
        }
    }
    return true;
}

bool FeatureGraph::compute(DoubleVector& out_vFeatures)
{
    out_vFeatures.clear();
    if (!computeStages())
        return false;
    for (const Feature& feature : m_vFeatures) {
        const DoubleVector& vValues = feature.m_pLastStage->m_vValues;
        if (feature.m_entry.m_strOutput.empty())
            out_vFeatures.insert(out_vFeatures.end(), vValues.begin(), vValues.end());
    }
    return true;
}

bool FeatureGraph::reset()
{
    bool bDone = true;
    for (const auto& pStage : m_vStages)
        if (auto* pResettable = dynamic_cast<Resettable*>(pStage->m_pFeature.get()))
            bDone = pResettable->reset() && bDone;
    return bDone;
}

} // namespace Corvana::Math
