// SPDX-License-Identifier: Apache-2.0
#include "MathFeatureGraph.h"

#include "corvana/Logger.h"
#include "corvana/NumberText.h"

#include <algorithm>
#include <iterator>
#include <utility>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.math.FeatureComputerImpl")

namespace Corvana::Math {

/// What a stage reads.
struct FeatureGraph::Source
{
    Source() = default;
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    void readAlone()
    {
        m_pValues = &m_vValues;
        m_pSeveral = nullptr;
    }
    void readOneOfSeveral(unsigned long in_uiWindow) { m_pValues = m_pSeveral + in_uiWindow; }

    DoubleVector m_vValues;
    const DoubleVector* m_pValues = &m_vValues;
    const DoubleVector* m_pSeveral = nullptr; // for each of several windows, where they are at hand
};

struct FeatureGraph::Input : Source
{
    std::string m_strName;
    bool m_bSet = false;
};

struct FeatureGraph::Stage : Source
{
    std::string m_strText;
    const Input* m_pInput;   // where the chain of stages begins
    const Source* m_pSource; // the input, or an earlier stage
    std::unique_ptr<SignalFeature> m_pFeature;
    SeveralInputs* m_pFeatureOfSeveral = nullptr; // the feature, where it can take several inputs
    std::vector<DoubleVector> m_vSeveral;
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

FeatureGraph::Stage* FeatureGraph::findSharedStage(std::string_view in_strText, const Source* in_pSource) const
{
    const auto it = std::find_if(m_vStages.begin(), m_vStages.end(), [&](const auto& in_pStage) {
        return in_pStage->m_bFresh && in_pStage->m_pSource == in_pSource && in_pStage->m_strText == in_strText;
    });
    return it == m_vStages.end() ? nullptr : it->get();
}

const FeatureGraph::Stage* FeatureGraph::makeStages(const SignalFeaturePool& in_pool, std::string_view in_strStages,
                                                    const Input* in_pInput, const Source* in_pSource,
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
            pNewStage->m_pFeatureOfSeveral = dynamic_cast<SeveralInputs*>(pNewStage->m_pFeature.get());
            pStage = pNewStage.get();
            out_vNewStages.push_back(std::move(pNewStage));
        }
        if (uiBar == std::string_view::npos)
            return pStage;
        in_pSource = pStage;
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
    const Source* pSource = pInput;
    if (pEarlier != nullptr)
        pSource = pEarlier->m_pLastStage;
    std::vector<std::unique_ptr<Stage>> vNewStages;
    const Stage* pLastStage = makeStages(in_pool, in_entry.m_strDescription, pInput, pSource, vNewStages);
    if (pLastStage == nullptr)
        return false;

    // Room first: nothing may throw once something has joined.
    makeRoom(m_vInputs, 1);
    makeRoom(m_vStages, vNewStages.size());
    m_vFeatures.push_back({in_entry, pLastStage});
    m_bComplete = false;
    if (pNewInput != nullptr)
        m_vInputs.push_back(std::move(pNewInput));
    std::move(vNewStages.begin(), vNewStages.end(), std::back_inserter(m_vStages));
    return true;
}

void FeatureGraph::addUnknownFeature(const Entry& in_entry)
{
    m_vFeatures.push_back({in_entry, nullptr});
    m_bComplete = false;
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
    Input& input = findOrMakeInput(in_strName);
    input.m_vValues = in_vValue;
    input.m_bSet = true;
    return true;
}

FeatureGraph::Input& FeatureGraph::findOrMakeInput(const std::string& in_strName)
{
    Input* const pInput = findInput(in_strName);
    if (pInput != nullptr)
        return *pInput;
    m_vInputs.push_back(newInput(in_strName));
    return *m_vInputs.back();
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
    return !in_feature.m_pLastStage->m_pInput->m_bSet;
}

bool FeatureGraph::isComplete()
{
    if (m_bComplete)
        return true;
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
    m_bComplete = true;
    return true;
}

bool FeatureGraph::computeStages()
{
    for (const auto& pStage : m_vStages) {
        pStage->m_bFresh = false;
        if (pStage->m_pSeveral != nullptr)
            continue;
        pStage->m_vValues.clear();
        if (!pStage->m_pFeature->compute(*pStage->m_pSource->m_pValues, pStage->m_vValues)) {
            CORVANA_LOG_ERROR(fileScopeLogger(), "Could not compute feature " << pStage->m_strText);
            return false;
        }
    }
    return true;
}

bool FeatureGraph::compute(DoubleVector& out_vFeatures)
{
    out_vFeatures.clear();
    if (!isComplete() || !computeStages())
        return false;
    std::size_t uiNbOfValues = 0;
    for (const Feature& feature : m_vFeatures)
        uiNbOfValues += feature.isHandedOut() ? feature.m_pLastStage->m_pValues->size() : 0;
    out_vFeatures.resize(uiNbOfValues);
    double* pEnd = out_vFeatures.begin();
    for (const Feature& feature : m_vFeatures)
        if (feature.isHandedOut())
            pEnd = std::copy(feature.m_pLastStage->m_pValues->begin(), feature.m_pLastStage->m_pValues->end(), pEnd);
    return true;
}

/// Lets the graph read windows where they lie. Stages that take several inputs compute all of theirs first: nobody can
/// tell, as they neither remember nor report anything. All others see one window after another.
class FeatureGraph::Several
{
public:
    Several(FeatureGraph& inout_graph, Input& inout_window, const DoubleVector* in_pWindows)
        : m_graph(inout_graph)
        , m_window(inout_window)
    {
        m_window.m_pSeveral = in_pWindows;
        m_window.m_bSet = true;
    }
    ~Several()
    {
        m_window.readAlone();
        for (const auto& pStage : m_graph.m_vStages)
            pStage->readAlone();
    }
    Several(const Several&) = delete;
    Several& operator=(const Several&) = delete;

    void computeStages(unsigned long in_uiNbOfWindows)
    {
        for (const auto& pStage : m_graph.m_vStages)
            if (pStage->m_pFeatureOfSeveral != nullptr && pStage->m_pSource->m_pSeveral != nullptr)
                computeStage(*pStage, in_uiNbOfWindows);
    }

    void goTo(unsigned long in_uiWindow)
    {
        m_window.readOneOfSeveral(in_uiWindow);
        for (const auto& pStage : m_graph.m_vStages)
            if (pStage->m_pSeveral != nullptr)
                pStage->readOneOfSeveral(in_uiWindow);
    }

private:
    static void computeStage(Stage& inout_stage, unsigned long in_uiNbOfWindows)
    {
        std::vector<DoubleVector>& vSeveral = inout_stage.m_vSeveral;
        if (vSeveral.size() < in_uiNbOfWindows)
            vSeveral.resize(in_uiNbOfWindows);
        for (DoubleVector& vValues : vSeveral)
            vValues.clear();
        if (inout_stage.m_pFeatureOfSeveral->computeSeveral(in_uiNbOfWindows, inout_stage.m_pSource->m_pSeveral,
                                                            vSeveral.data()))
            inout_stage.m_pSeveral = vSeveral.data();
    }

    FeatureGraph& m_graph;
    Input& m_window;
};

unsigned long FeatureGraph::computeSeveral(unsigned long in_uiNbOfWindows, const DoubleVector* in_pWindows,
                                           DoubleVector* out_pFeatures)
{
    if (in_uiNbOfWindows == 0)
        return 0;
    Input& window = findOrMakeInput("");
    unsigned long uiWindow = 0;
    {
        Several several(*this, window, in_pWindows);
        several.computeStages(in_uiNbOfWindows);
        for (; uiWindow < in_uiNbOfWindows; ++uiWindow) {
            several.goTo(uiWindow);
            if (!compute(out_pFeatures[uiWindow]))
                break;
        }
    }
    window.m_vValues = in_pWindows[std::min(uiWindow, in_uiNbOfWindows - 1)]; // as setWindow() would have left it
    return uiWindow;
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
