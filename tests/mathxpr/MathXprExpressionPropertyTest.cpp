// SPDX-License-Identifier: Apache-2.0
// Random formulas: what is printed parses to the same, and the value is that of a second, simpler evaluator.
#include "corvana/MathXprExpression.h"

#include "support/Signals.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using Corvana::LimitedObjPtr;
using Corvana::Math::DoubleVector;
using Corvana::Math::Xpr::Expression;
using Corvana::Test::sameBits;

namespace {

using Values = std::optional<std::vector<double>>; // none: the formula fails

// A formula with all parentheses, and what it comes to. Every operator is binary here, where the library has chains.
struct Formula
{
    std::string m_strText;
    Values m_values;
};

const std::vector<double> s_vA = {2.0};
const std::vector<double> s_vV = {1.0, -2.0, 0.5};
const std::vector<double> s_vW = {0.0, -0.0, 3.0};
const std::vector<double> s_vTwo = {4.0, 9.0};

double combined(const std::string& in_strOperator, double in_dLeft, double in_dRight)
{
    const auto truth = [](bool in_bTrue) { return in_bTrue ? 1.0 : 0.0; };
    switch (in_strOperator[0]) {
    case '+':
        return in_dLeft + in_dRight;
    case '-':
        return in_dLeft - in_dRight;
    case '*':
        return in_dLeft * in_dRight;
    case '/':
        return in_dLeft / in_dRight;
    case '<':
        return truth(in_strOperator == "<" ? in_dLeft < in_dRight : in_dLeft <= in_dRight);
    case '>':
        return truth(in_strOperator == ">" ? in_dLeft > in_dRight : in_dLeft >= in_dRight);
    case '=':
        return truth(in_dLeft == in_dRight);
    case '!':
        return truth(in_dLeft != in_dRight);
    case 'a':
        return truth(in_dLeft != 0.0 && in_dRight != 0.0);
    default:
        return truth(in_dLeft != 0.0 || in_dRight != 0.0);
    }
}

Formula binary(const std::string& in_strOperator, const Formula& in_left, const Formula& in_right)
{
    Formula formula{"(" + in_left.m_strText + ")" + in_strOperator + "(" + in_right.m_strText + ")", std::nullopt};
    if (!in_left.m_values || !in_right.m_values)
        return formula;
    const std::vector<double>& vLeft = *in_left.m_values;
    const std::vector<double>& vRight = *in_right.m_values;
    if (vLeft.size() != vRight.size() && vLeft.size() != 1 && vRight.size() != 1)
        return formula;
    formula.m_values.emplace();
    const std::size_t uiSize = vLeft.size() == 1 ? vRight.size() : vLeft.size();
    for (std::size_t uiIndex = 0; uiIndex < uiSize; ++uiIndex)
        formula.m_values->push_back(
            combined(in_strOperator, vLeft[vLeft.size() == 1 ? 0 : uiIndex], vRight[vRight.size() == 1 ? 0 : uiIndex]));
    return formula;
}

template <class FunctionT>
Formula each(const std::string& in_strBefore, const Formula& in_operand, FunctionT in_function)
{
    Formula formula{in_strBefore + "(" + in_operand.m_strText + ")", in_operand.m_values};
    if (formula.m_values)
        std::transform(formula.m_values->begin(), formula.m_values->end(), formula.m_values->begin(), in_function);
    return formula;
}

Formula element(const Formula& in_vector, const Formula& in_index)
{
    Formula formula{"(" + in_vector.m_strText + ")[" + in_index.m_strText + "]", std::nullopt};
    if (!in_vector.m_values || !in_index.m_values || in_index.m_values->size() != 1)
        return formula;
    const double dIndex = in_index.m_values->front();
    for (std::size_t uiIndex = 0; uiIndex < in_vector.m_values->size(); ++uiIndex)
        if (static_cast<double>(uiIndex) == dIndex)
            formula.m_values = {{(*in_vector.m_values)[uiIndex]}};
    return formula;
}

Formula sizeOf(const Formula& in_operand)
{
    Formula formula{"size(" + in_operand.m_strText + ")", std::nullopt};
    if (in_operand.m_values)
        formula.m_values = {{static_cast<double>(in_operand.m_values->size())}};
    return formula;
}

Formula joined(const Formula& in_left, const Formula& in_right)
{
    Formula formula{"concat(" + in_left.m_strText + "," + in_right.m_strText + ")", std::nullopt};
    if (in_left.m_values && in_right.m_values) {
        formula.m_values = in_left.m_values;
        formula.m_values->insert(formula.m_values->end(), in_right.m_values->begin(), in_right.m_values->end());
    }
    return formula;
}

Formula leaf()
{
    static const std::vector<Formula> s_vLeaves = {{"a", s_vA},     {"v", s_vV},     {"w", s_vW},
                                                   {"two", s_vTwo}, {"0", {{0.0}}},  {"1", {{1.0}}},
                                                   {"2", {{2.0}}},  {".5", {{0.5}}}, {"1e3", {{1000.0}}}};
    return s_vLeaves[*rc::gen::inRange<std::size_t>(0, s_vLeaves.size())];
}

Formula anyFormula(int in_iDepth)
{
    static const std::vector<std::string> s_vOperators = {
        "+", "-", "*", "/", "<", "<=", ">", ">=", "==", "!=", " and ", " or "};
    const int iKind = in_iDepth == 0 ? 0 : *rc::gen::inRange(0, 10);
    if (iKind == 0)
        return leaf();
    const Formula first = anyFormula(in_iDepth - 1);
    switch (iKind) {
    case 1:
        return each("-", first, [](double in_d) { return -in_d; });
    case 2:
        return each("not ", first, [](double in_d) { return in_d == 0.0 ? 1.0 : 0.0; });
    case 3:
        return each("abs", first, [](double in_d) { return std::fabs(in_d); });
    case 4:
        return sizeOf(first);
    case 5:
        return element(first, anyFormula(in_iDepth - 1));
    case 6:
        return joined(first, anyFormula(in_iDepth - 1));
    default: {
        std::string strOperator = *rc::gen::elementOf(s_vOperators);
        const Formula second = anyFormula(in_iDepth - 1);
        const std::string strWord = strOperator[0] == ' ' ? strOperator.substr(1, strOperator.size() - 2) : strOperator;
        return binary(strWord, first, second);
    }
    }
}

void setVariables(Expression& inout_expression)
{
    const auto set = [&](const char* in_szName, const std::vector<double>& in_vValues) {
        DoubleVector vValues;
        vValues.insert(vValues.end(), in_vValues.begin(), in_vValues.end());
        inout_expression.setVariable(in_szName, vValues);
    };
    set("a", s_vA);
    set("v", s_vV);
    set("w", s_vW);
    set("two", s_vTwo);
}

Values valueOf(Expression& inout_expression)
{
    setVariables(inout_expression);
    LimitedObjPtr<DoubleVector> pResult;
    if (!inout_expression.evaluate(pResult))
        return std::nullopt;
    return std::vector<double>(pResult->begin(), pResult->end());
}

bool same(const Values& in_left, const Values& in_right)
{
    if (!in_left || !in_right)
        return in_left.has_value() == in_right.has_value();
    const auto sameValue = [](double in_dLeft, double in_dRight) {
        return (std::isnan(in_dLeft) && std::isnan(in_dRight)) ||
               (in_dLeft == in_dRight && std::signbit(in_dLeft) == std::signbit(in_dRight));
    };
    return std::equal(in_left->begin(), in_left->end(), in_right->begin(), in_right->end(), sameValue);
}

std::string dumpOf(const Expression& in_expression)
{
    std::ostringstream stream;
    in_expression.getRoot()->dump(stream);
    return stream.str();
}

} // namespace

RC_GTEST_PROP(ExpressionProperty, HasTheValueOfASecondEvaluator, ())
{
    const Formula formula = anyFormula(*rc::gen::inRange(0, 6));
    Expression expression;
    RC_ASSERT(expression.parse(formula.m_strText.c_str()));

    RC_ASSERT(same(formula.m_values, valueOf(expression)));
    RC_ASSERT(same(formula.m_values, valueOf(expression))); // and again
    Expression copy = expression.copy();
    RC_ASSERT(same(formula.m_values, valueOf(copy)));
}

RC_GTEST_PROP(ExpressionProperty, PrintsWhatParsesToTheSameTree, ())
{
    const Formula formula = anyFormula(*rc::gen::inRange(0, 7));
    Expression expression;
    RC_ASSERT(expression.parse(formula.m_strText.c_str()));
    Expression again;

    RC_ASSERT(again.parse(expression.getText().c_str()));

    RC_ASSERT(expression.getText() == again.getText());
    RC_ASSERT(dumpOf(expression) == dumpOf(again));
    RC_ASSERT(expression.getVariableNames() == again.getVariableNames());
    RC_ASSERT(same(formula.m_values, valueOf(again)));
}

RC_GTEST_PROP(ExpressionProperty, FailsWithAMessageOnAnyTokens, ())
{
    static const std::vector<std::string> s_vTokens = {"a",
                                                       "1",
                                                       "+",
                                                       "-",
                                                       "*",
                                                       "/",
                                                       "(",
                                                       ")",
                                                       "[",
                                                       "]",
                                                       ",",
                                                       "=",
                                                       "<",
                                                       "==",
                                                       "and ",
                                                       "or ",
                                                       "not ",
                                                       "max(",
                                                       "spectralRange(",
                                                       "widthHz=",
                                                       "\"",
                                                       "\"x\"",
                                                       " ",
                                                       ".",
                                                       "!",
                                                       "\x01",
                                                       "1e"};
    std::string strText;
    for (const std::string& strToken : *rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(s_vTokens)))
        strText += strToken;
    Expression expression;

    const bool bParsed = expression.parse(strText.c_str());

    RC_ASSERT(bParsed == expression.getError().empty());
    RC_ASSERT(bParsed != expression.isEmpty());
    RC_ASSERT(bParsed || expression.getError().find(" at column ") != std::string::npos);
}

RC_GTEST_PROP(ExpressionProperty, ReadsEveryFiniteNumberBackExactly, (double in_dNumber))
{
    RC_PRE(std::isfinite(in_dNumber));
    std::ostringstream stream;
    stream.precision(17);
    stream << in_dNumber;
    Expression expression;
    RC_ASSERT(expression.parse(stream.str().c_str()));
    LimitedObjPtr<DoubleVector> pResult;
    RC_ASSERT(expression.evaluate(pResult));
    RC_ASSERT(sameBits({in_dNumber}, *pResult));

    Expression again;
    RC_ASSERT(again.parse(expression.getText().c_str()));
    RC_ASSERT(again.evaluate(pResult));
    RC_ASSERT(sameBits({in_dNumber}, *pResult));
}
