// SPDX-License-Identifier: Apache-2.0
// Any text as a formula: what parses prints as text that parses to the same tree; it evaluates, also as a copy, to the
// same values, configured or not; what does not parse says where; and nothing is left over.
#include "FuzzSupport.h"

#include "corvana/MathXprExpression.h"
#include "corvana/TrieConfiguration.h"

#include <sstream>

namespace Corvana::Fuzz {
namespace {

using Math::DoubleVector;
using Math::Xpr::Expression;

std::string dumpOf(const Expression& in_expression)
{
    std::ostringstream stream;
    in_expression.getRoot()->dump(stream);
    return stream.str();
}

void setVariables(Expression& inout_expression)
{
    DoubleVector vWindow(64);
    for (std::size_t uiIndex = 0; uiIndex < vWindow.size(); ++uiIndex)
        vWindow[uiIndex] = static_cast<double>(uiIndex * 37 % 101) / 101.0 - 0.5;
    std::size_t uiNext = 0;
    for (const std::string& strName : inout_expression.getVariableNames()) {
        const DoubleVector vOther[] = {{}, {2.0}, {1.0, -0.0, 0.5}};
        const bool bWindow = strName == "x";
        CORVANA_FUZZ_REQUIRE(inout_expression.setVariable(strName.c_str(), bWindow ? vWindow : vOther[uiNext++ % 3]));
    }
}

TrieConfiguration configuration()
{
    ParameterTrie trie;
    trie.insert("spectralrange.frequencyHz", ParameterValue(1000L));
    trie.insert("spectralrange.widthHz", ParameterValue(100L));
    trie.insert("frequenciesList", ParameterValue("440, 480"));
    return TrieConfiguration(trie);
}

// Empty when the evaluation fails; an evaluation that fails leaves the output alone.
bool evaluate(Expression& inout_expression, DoubleVector& out_vValue)
{
    DoubleVector vFormer;
    LimitedObjPtr<DoubleVector> pResult(&vFormer);
    const bool bEvaluated = inout_expression.evaluate(pResult);
    CORVANA_FUZZ_REQUIRE(bEvaluated != (pResult.get() == &vFormer));
    out_vValue = *pResult;
    return bEvaluated;
}

void requireSameValues(Expression& inout_left, Expression& inout_right)
{
    DoubleVector vLeft;
    DoubleVector vRight;
    const bool bLeft = evaluate(inout_left, vLeft);
    CORVANA_FUZZ_REQUIRE(evaluate(inout_right, vRight) == bLeft);
    CORVANA_FUZZ_REQUIRE(sameValues(vLeft, vRight));
}

void requireWorks(Expression& inout_expression)
{
    const std::string strText = inout_expression.getText();
    Expression again;
    CORVANA_FUZZ_REQUIRE(again.parse(strText.c_str()));
    CORVANA_FUZZ_REQUIRE(again.getText() == strText);
    CORVANA_FUZZ_REQUIRE(dumpOf(again) == dumpOf(inout_expression));
    CORVANA_FUZZ_REQUIRE(again.getVariableNames() == inout_expression.getVariableNames());
    CORVANA_FUZZ_REQUIRE(again.getParameterNames() == inout_expression.getParameterNames());

    setVariables(inout_expression);
    setVariables(again);
    Expression copy = inout_expression.copy();
    CORVANA_FUZZ_REQUIRE(copy.getText() == strText);
    requireSameValues(inout_expression, again);
    requireSameValues(inout_expression, copy);

    const bool bConfigured = inout_expression.configure(configuration());
    Expression second = inout_expression.copy();
    CORVANA_FUZZ_REQUIRE(second.configure(configuration()) == bConfigured);
    CORVANA_FUZZ_REQUIRE(copy.configure(configuration()) == bConfigured);
    requireSameValues(inout_expression, copy);
    if (bConfigured)
        requireSameValues(inout_expression, second);
    CORVANA_FUZZ_REQUIRE(inout_expression.reset());
    requireSameValues(inout_expression, copy);
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    // A formula ends at a zero byte, as every text here does.
    const std::string strText(std::string(ByteReader(in_pData, in_uiSize).rest()).c_str());

    const LeakCheck leakCheck;
    const MemAccount before = getMemAccount("UserFunctionImpl");
    {
        Expression expression;
        const bool bParsed = expression.parse(strText.c_str());
        CORVANA_FUZZ_REQUIRE(bParsed != expression.isEmpty());
        CORVANA_FUZZ_REQUIRE(bParsed == expression.getError().empty());
        if (bParsed)
            requireWorks(expression);
        else
            CORVANA_FUZZ_REQUIRE(expression.getError().find(" at column ") != std::string::npos);
    }
    CORVANA_FUZZ_REQUIRE(getMemAccount("UserFunctionImpl").m_uiLiveBlocks == before.m_uiLiveBlocks);
}
