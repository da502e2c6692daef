// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathFeatureComputer.h"
#include "corvana/MathSignalFeaturePool.h"
#include "tools/DescriptionChecker.h"
#include "tools/FormulaSet.h"
#include "tools/LogBridge.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// The descriptions that run when none is given: a coarse spectrum and how tonal the window is.
std::vector<std::string> defaultFeatures();

/// The features of a run: checked descriptions, fresh features for each recording, and the number of values that each
/// feature gives for windows of a length.
class FeatureSet
{
public:
    /// What a set gives for windows of one length.
    struct Layout
    {
        std::vector<std::size_t> m_vNbOfValues; ///< of each feature, then of each formula, in order
        std::string m_strFault;                 ///< why there is none; empty for a good layout
    };

    FeatureSet();
    ~FeatureSet();
    FeatureSet(const FeatureSet&) = delete;
    FeatureSet& operator=(const FeatureSet&) = delete;

    /// Takes the descriptions, and the formulas that stand behind them; false, after a message for each that is at
    /// fault.
    bool configure(const std::vector<std::string>& in_vDescriptions, const std::vector<NamedFormula>& in_vFormulas,
                   Messages& out_messages);

    /// Of the features, without the formulas.
    const std::vector<std::string>& getDescriptions() const { return m_vDescriptions; }
    /// What columns are named by: the descriptions, then the formulas' names.
    std::vector<std::string> getColumnNames() const;
    /// In what the values of each are, in the same order; empty for formulas.
    std::vector<std::string> getUnits() const;
    const FormulaSet& getFormulas() const { return m_formulas; }
    /// A computer of all features, in order, that has seen nothing yet.
    std::unique_ptr<Math::FeatureComputerImpl> getFreshComputer() const;
    /// Whether the features are known to remember nothing of the windows before, so that a computer of them serves
    /// several recordings.
    bool isWithoutMemory() const;
    /// Tries windows of zeros. The rate and the length in milliseconds serve the explanation of a fault.
    const Layout& getLayout(unsigned long in_uiSampleRate, unsigned long in_uiWindowMs, LogBridge& inout_log);
    /// The names of the features and functions whose values mean what they say only at 8000 samples per second, each
    /// once.
    std::vector<std::string> getNamesAssuming8000Hz() const;

private:
    using Stages = std::vector<DescriptionStage>;

    bool add(const std::string& in_strDescription, const DescriptionChecker& in_checker, Messages& out_messages);
    std::string probe(std::size_t in_uiFeature, unsigned long in_uiSampleRate, unsigned long in_uiWindowMs,
                      LogBridge& inout_log, std::size_t& out_uiNbOfValues) const;

    Math::SignalFeaturePool m_pool;
    std::vector<std::string> m_vDescriptions;
    std::vector<Stages> m_vStages;
    FormulaSet m_formulas;
    std::map<unsigned long, Layout> m_vLayouts; // by sample rate
};

} // namespace Corvana::Tools
