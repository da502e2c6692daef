// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathXprExpression.h"
#include "tools/LogBridge.h"
#include "tools/Messages.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// A formula and the name of its column.
struct NamedFormula
{
    std::string m_strName;
    std::string m_strFormula;
};

/// Splits "NAME=FORMULA"; false when there is no name or no formula. Only the first "=" counts.
bool parseNamedFormula(const std::string& in_strText, NamedFormula& out_formula);

/// The formulas of a run, over the variable x, the window.
class FormulaSet
{
public:
    /// Takes the formulas; false, after a message for each that is at fault.
    bool configure(const std::vector<NamedFormula>& in_vFormulas, Messages& out_messages);

    std::size_t size() const { return m_vExpressions.size(); }
    const std::string& getName(std::size_t in_uiFormula) const { return m_vFormulas[in_uiFormula].m_strName; }
    /// Expressions that have seen nothing yet.
    std::vector<Math::Xpr::Expression> getFreshExpressions() const;

    /// How many values a formula gives, found by a window of zeros; returns why it gives none, empty when it does.
    std::string probe(std::size_t in_uiFormula, unsigned long in_uiSampleRate, unsigned long in_uiWindowMs,
                      LogBridge& inout_log, std::size_t& out_uiNbOfValues) const;
    /// The functions whose values mean what they say only at 8000 samples per second, each once.
    std::vector<std::string> getFunctionsAssuming8000Hz() const;

private:
    std::vector<NamedFormula> m_vFormulas;
    std::vector<Math::Xpr::Expression> m_vExpressions;
};

} // namespace Corvana::Tools
