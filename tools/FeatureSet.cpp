// SPDX-License-Identifier: Apache-2.0
#include "tools/FeatureSet.h"

#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/AudioFeatureFactory.h"
#include "tools/Text.h"
#include "tools/WindowAdvice.h"

#include <algorithm>
#include <bit>
#include <set>
#include <string_view>

namespace Corvana::Tools {
namespace {

bool readsA(const DescriptionStage& in_stage, const char* in_szInput)
{
    return std::string_view(in_stage.m_pDescription->m_szInput) == in_szInput;
}

// What a stage cannot work on, as far as its description tells; empty for a fitting input.
std::string inputFault(const DescriptionStage& in_stage, bool in_bFirst, std::size_t in_uiInput,
                       unsigned long in_uiSampleRate, unsigned long in_uiWindowMs)
{
    const std::string strInput =
        (in_bFirst ? std::to_string(in_uiWindowMs) + " ms at " + std::to_string(in_uiSampleRate) + " Hz are "
                   : "the stage before it gives ") +
        std::to_string(in_uiInput);
    const DescriptionStage& stage = in_stage;
    if (stage.m_pDescription->m_bNeedsPowerOfTwo && !std::has_single_bit(in_uiInput)) {
        const std::string strNeed = std::string(in_bFirst ? "windows of" : "an input of") + " a power of two samples";
        return std::string(stage.m_pDescription->m_szName) + " needs " + strNeed + ", and " + strInput +
               (in_bFirst ? "; " + powerOfTwoAdvice(in_uiSampleRate, in_uiWindowMs) : "");
    }
    if (readsA(stage, "value") && in_uiInput != 1)
        return std::string(stage.m_pDescription->m_szName) + " reads exactly one value, and " + strInput;
    return {};
}

} // namespace

std::vector<std::string> defaultFeatures()
{
    return {"spectrum500hz", "spectrum|flatness"};
}

FeatureSet::FeatureSet()
{
    auto pFactory = std::make_unique<Audio::AudioFeatureFactory>();
    if (m_pool.addFactory(pFactory.get()))
        static_cast<void>(pFactory.release());
}

FeatureSet::~FeatureSet() = default;

bool FeatureSet::configure(const std::vector<std::string>& in_vDescriptions,
                           const std::vector<NamedFormula>& in_vFormulas, Messages& out_messages)
{
    const DescriptionChecker checker(m_pool);
    bool bGood = true;
    for (const std::string& strDescription : in_vDescriptions)
        bGood = add(strDescription, checker, out_messages) && bGood;
    bGood = m_formulas.configure(in_vFormulas, out_messages) && bGood;
    const std::vector<std::string> vNames = getColumnNames();
    for (std::size_t uiName = m_vDescriptions.size(); bGood && uiName < vNames.size(); ++uiName) {
        if (std::find(vNames.begin(), vNames.begin() + static_cast<long>(uiName), vNames[uiName]) !=
            vNames.begin() + static_cast<long>(uiName)) {
            out_messages.error("the name " + inQuotes(vNames[uiName]) + " would be that of two columns");
            bGood = false;
        }
    }
    return bGood;
}

bool FeatureSet::add(const std::string& in_strDescription, const DescriptionChecker& in_checker, Messages& out_messages)
{
    DescriptionFault fault;
    Stages vStages = in_checker.check(in_strDescription, fault);
    if (vStages.empty()) {
        out_messages.error(faultText(in_strDescription, fault));
        return false;
    }
    if (std::find(m_vDescriptions.begin(), m_vDescriptions.end(), in_strDescription) != m_vDescriptions.end()) {
        out_messages.error("the feature " + inQuotes(in_strDescription) +
                           " is asked for twice, which would make two columns of one name");
        return false;
    }
    if (readsA(vStages.front(), "spectrum"))
        out_messages.warning("in " + inQuotes(in_strDescription) + ", " + vStages.front().m_pDescription->m_szName +
                             " reads the samples of the window; it is meant for a spectrum: " +
                             inQuotes("spectrum|" + in_strDescription));
    m_vDescriptions.push_back(in_strDescription);
    m_vStages.push_back(std::move(vStages));
    return true;
}

std::vector<std::string> FeatureSet::getColumnNames() const
{
    std::vector<std::string> vNames = m_vDescriptions;
    for (std::size_t uiFormula = 0; uiFormula < m_formulas.size(); ++uiFormula)
        vNames.push_back(m_formulas.getName(uiFormula));
    return vNames;
}

std::vector<std::string> FeatureSet::getUnits() const
{
    std::vector<std::string> vUnits;
    for (const Stages& vStages : m_vStages) {
        std::string strUnit;
        for (const DescriptionStage& stage : vStages)
            if (std::string_view(stage.m_pDescription->m_szUnit) != "as the input" || strUnit.empty())
                strUnit = stage.m_pDescription->m_szUnit;
        vUnits.push_back(strUnit);
    }
    vUnits.resize(vUnits.size() + m_formulas.size());
    return vUnits;
}

std::unique_ptr<Math::FeatureComputerImpl> FeatureSet::getFreshComputer() const
{
    auto pComputer = std::make_unique<Audio::FeatureComputerImpl>();
    for (const std::string& strDescription : m_vDescriptions)
        pComputer->addFeature(strDescription.c_str());
    return pComputer;
}

bool FeatureSet::isWithoutMemory() const
{
    // Those for which it counts: a spectrum prepares more for a length of windows than a few windows cost.
    static const std::set<std::string_view> s_vNames = {"spectrum",      "spectrum100hz", "spectrum200hz",
                                                        "spectrum500hz", "flatness",      "spectralrange"};
    const auto isKnown = [](const DescriptionStage& in_stage) {
        return s_vNames.contains(in_stage.m_pDescription->m_szName);
    };
    return std::all_of(m_vStages.begin(), m_vStages.end(), [&](const Stages& in_vStages) {
        return std::all_of(in_vStages.begin(), in_vStages.end(), isKnown);
    });
}

std::string FeatureSet::probe(std::size_t in_uiFeature, unsigned long in_uiSampleRate, unsigned long in_uiWindowMs,
                              LogBridge& inout_log, std::size_t& out_uiNbOfValues) const
{
    Math::DoubleVector vInput(windowSamples(in_uiSampleRate, in_uiWindowMs), 0.0);
    const Stages& vStages = m_vStages[in_uiFeature];
    for (const DescriptionStage& stage : vStages) {
        const bool bFirst = &stage == vStages.data();
        std::string strFault = inputFault(stage, bFirst, vInput.size(), in_uiSampleRate, in_uiWindowMs);
        if (!strFault.empty())
            return strFault;
        inout_log.beginInput({});
        Math::DoubleVector vOutput;
        const std::unique_ptr<Math::SignalFeature> pFeature(m_pool.getNewFeature(stage.m_strText.c_str()));
        const bool bComputed = pFeature->compute(vInput, vOutput);
        const std::string strReason = inout_log.takeErrors();
        if (!bComputed)
            return stage.m_strText + " cannot work on " + counted(vInput.size(), bFirst ? "sample" : "value") +
                   (strReason.empty() ? "" : ": " + strReason);
        vInput.swap(vOutput);
    }
    out_uiNbOfValues = vInput.size();
    return {};
}

const FeatureSet::Layout& FeatureSet::getLayout(unsigned long in_uiSampleRate, unsigned long in_uiWindowMs,
                                                LogBridge& inout_log)
{
    const auto itKnown = m_vLayouts.find(in_uiSampleRate);
    if (itKnown != m_vLayouts.end())
        return itKnown->second;
    Layout layout; // becomes known when it is whole
    for (std::size_t uiFeature = 0; uiFeature < m_vStages.size() && layout.m_strFault.empty(); ++uiFeature) {
        std::size_t uiNbOfValues = 0;
        const std::string strFault = probe(uiFeature, in_uiSampleRate, in_uiWindowMs, inout_log, uiNbOfValues);
        layout.m_vNbOfValues.push_back(uiNbOfValues);
        if (!strFault.empty())
            layout.m_strFault =
                (m_vStages[uiFeature].size() == 1 ? "" : "in " + inQuotes(m_vDescriptions[uiFeature]) + ", ") +
                strFault;
    }
    for (std::size_t uiFormula = 0; uiFormula < m_formulas.size() && layout.m_strFault.empty(); ++uiFormula) {
        std::size_t uiNbOfValues = 0;
        layout.m_strFault = m_formulas.probe(uiFormula, in_uiSampleRate, in_uiWindowMs, inout_log, uiNbOfValues);
        layout.m_vNbOfValues.push_back(uiNbOfValues);
    }
    return m_vLayouts.emplace(in_uiSampleRate, std::move(layout)).first->second;
}

std::vector<std::string> FeatureSet::getNamesAssuming8000Hz() const
{
    std::vector<std::string> vNames;
    for (const Stages& vStages : m_vStages)
        for (const DescriptionStage& stage : vStages)
            if (stage.m_pDescription->m_bAssumes8000Hz &&
                std::find(vNames.begin(), vNames.end(), stage.m_pDescription->m_szName) == vNames.end())
                vNames.emplace_back(stage.m_pDescription->m_szName);
    const std::vector<std::string> vFunctions = m_formulas.getFunctionsAssuming8000Hz();
    vNames.insert(vNames.end(), vFunctions.begin(), vFunctions.end());
    return vNames;
}

} // namespace Corvana::Tools
