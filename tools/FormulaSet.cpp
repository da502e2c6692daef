// SPDX-License-Identifier: Apache-2.0
#include "tools/FormulaSet.h"

#include "corvana/AudioFeatureDescription.h"
#include "corvana/MathXprFunctionDescription.h"
#include "corvana/OS.h"
#include "tools/Text.h"
#include "tools/WindowAdvice.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <utility>

namespace Corvana::Tools {
namespace {

using Math::Xpr::Expression;

constexpr const char* s_szWindow = "x";

// The formula, and a line that points at the column that the parser names at the end of its message.
std::string pointedAt(const std::string& in_strFormula, const std::string& in_strError)
{
    const std::size_t uiNumber = in_strError.find_last_not_of("0123456789") + 1;
    const std::size_t uiColumn = uiNumber < in_strError.size() ? std::stoul(in_strError.substr(uiNumber)) : 0;
    std::string strText = "\n  ";
    strText += printable(in_strFormula);
    if (uiColumn > 0 && printable(in_strFormula) == in_strFormula)
        strText += "\n  " + std::string(uiColumn - 1, ' ') + "^";
    return strText;
}

std::string faultOf(const NamedFormula& in_formula, Expression& out_expression)
{
    if (!out_expression.parse(in_formula.m_strFormula.c_str()))
        return out_expression.getError() + pointedAt(in_formula.m_strFormula, out_expression.getError());
    for (const std::string& strName : out_expression.getVariableNames())
        if (strName != s_szWindow)
            return "unknown variable " + inQuotes(strName) + "; the only one is x, the window" +
                   pointedAt(in_formula.m_strFormula, {});
    return {};
}

bool assumes8000Hz(const std::string& in_strFunction)
{
    std::string strFeature = in_strFunction;
    strToLower(strFeature);
    for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions())
        if (strFeature == description.m_szName)
            return description.m_bAssumes8000Hz;
    return false;
}

bool isCalled(const std::string& in_strFunction, const std::string& in_strText)
{
    const std::string strCall = in_strFunction + "(";
    for (std::size_t uiPlace = in_strText.find(strCall); uiPlace != std::string::npos;
         uiPlace = in_strText.find(strCall, uiPlace + 1)) {
        const char cBefore = uiPlace == 0 ? ' ' : in_strText[uiPlace - 1];
        if (cBefore != '_' && !std::isalnum(static_cast<unsigned char>(cBefore)))
            return true;
    }
    return false;
}

} // namespace

bool parseNamedFormula(const std::string& in_strText, NamedFormula& out_formula)
{
    const std::size_t uiEqual = in_strText.find('=');
    if (uiEqual == std::string::npos || uiEqual == 0 || uiEqual + 1 == in_strText.size())
        return false;
    out_formula = {in_strText.substr(0, uiEqual), in_strText.substr(uiEqual + 1)};
    return true;
}

bool FormulaSet::configure(const std::vector<NamedFormula>& in_vFormulas, Messages& out_messages)
{
    bool bGood = true;
    for (const NamedFormula& formula : in_vFormulas) {
        Expression expression;
        const std::string strFault = faultOf(formula, expression);
        if (!strFault.empty()) {
            out_messages.error("in the formula, " + strFault);
            bGood = false;
            continue;
        }
        m_vFormulas.push_back(formula);
        m_vExpressions.push_back(std::move(expression));
    }
    return bGood;
}

std::vector<Expression> FormulaSet::getFreshExpressions() const
{
    std::vector<Expression> vExpressions;
    for (const Expression& expression : m_vExpressions)
        vExpressions.push_back(expression.copy());
    return vExpressions;
}

std::string FormulaSet::probe(std::size_t in_uiFormula, unsigned long in_uiSampleRate, unsigned long in_uiWindowMs,
                              LogBridge& inout_log, std::size_t& out_uiNbOfValues) const
{
    const std::size_t uiNbOfSamples = windowSamples(in_uiSampleRate, in_uiWindowMs);
    Expression expression = m_vExpressions[in_uiFormula].copy();
    expression.setVariable(s_szWindow, Math::DoubleVector(uiNbOfSamples, 0.0));
    inout_log.beginInput({});
    LimitedObjPtr<Math::DoubleVector> pValues;
    const bool bEvaluated = expression.evaluate(pValues);
    const std::string strReason = inout_log.takeErrors();
    // An assertion that made nothing fail still means that the values have no meaning.
    if (bEvaluated && strReason.empty()) {
        out_uiNbOfValues = pValues->size();
        return {};
    }
    const bool bLength = strReason.find("isPowerOfTwo") != std::string::npos && !std::has_single_bit(uiNbOfSamples);
    return "the formula " + inQuotes(m_vFormulas[in_uiFormula].m_strFormula) + " cannot work on " +
           counted(uiNbOfSamples, "sample") + " (" + std::to_string(in_uiWindowMs) + " ms at " +
           std::to_string(in_uiSampleRate) + " Hz)" +
           (bLength ? ": a spectrum needs a power of two; " + powerOfTwoAdvice(in_uiSampleRate, in_uiWindowMs)
            : strReason.empty() ? std::string()
                                : ": " + strReason);
}

std::vector<std::string> FormulaSet::getFunctionsAssuming8000Hz() const
{
    std::vector<std::string> vNames;
    for (const auto& function : Math::Xpr::getFunctionDescriptions()) {
        const auto calls = [&](const Expression& in_expression) {
            return isCalled(function.m_strName, in_expression.getText());
        };
        if (assumes8000Hz(function.m_strName) && std::any_of(m_vExpressions.begin(), m_vExpressions.end(), calls))
            vNames.push_back(function.m_strName);
    }
    return vNames;
}

} // namespace Corvana::Tools
