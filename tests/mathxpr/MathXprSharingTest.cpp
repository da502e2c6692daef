// SPDX-License-Identifier: Apache-2.0
// How often formulas evaluate their parts, and how often they allocate. A program of its own, because it registers a
// function and counts what operator new is asked for.
#include "corvana/MathXprExpression.h"

#include "corvana/MathXprRegistry.h"
#include "corvana/MathXprUserFunction.h"
#include "corvana/MemAllocator.h"
#include "support/AllocationCounter.h"
#include "support/Signals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using Corvana::getMemAccount;
using Corvana::LimitedObjPtr;
using Corvana::ROConfiguration;
using Corvana::TSHandle;
using Corvana::Math::DoubleVector;
using Corvana::Math::Xpr::Expression;
using Corvana::Math::Xpr::NoMemoryFunctionImpl;
using Corvana::Math::Xpr::Registry;
using Corvana::Math::Xpr::SingleVariableFunctionImpl;
using Corvana::Math::Xpr::UserFunctionImpl;
using Corvana::Math::Xpr::VirtualFileSystem;
using Corvana::Test::nbOfAllocations;
using Corvana::Test::noise;
using testing::ElementsAre;

namespace {

unsigned long s_uiNbOfCalls = 0;

// Appends its argument and counts that; has two parameters without meaning.
class CountedFunction : public SingleVariableFunctionImpl, public NoMemoryFunctionImpl
{
public:
    CountedFunction()
        : SingleVariableFunctionImpl("counted", "x")
    {
    }
    bool configure(const ROConfiguration&, const TSHandle<VirtualFileSystem>&) override { return true; }
    void getParameterNames(std::vector<std::string>& out_vNames) const override
    {
        out_vNames.insert(out_vNames.end(), {"counted.n", "counted.k"});
    }
    bool calculate(Arguments& in_arguments, DoubleVector& out_vResult) override
    {
        ++s_uiNbOfCalls;
        const DoubleVector* pArgument = findArgument(in_arguments);
        out_vResult.insert(out_vResult.end(), pArgument->begin(), pArgument->end());
        return true;
    }
};

unsigned long callsOf(Expression& inout_expression)
{
    s_uiNbOfCalls = 0;
    LimitedObjPtr<DoubleVector> pResult;
    EXPECT_TRUE(inout_expression.evaluate(pResult));
    return s_uiNbOfCalls;
}

Expression parsed(const char* in_szFormula)
{
    Expression expression;
    EXPECT_TRUE(expression.parse(in_szFormula)) << expression.getError();
    expression.setVariable("x", {1.0, 2.0});
    expression.setVariable("y", {3.0});
    return expression;
}

unsigned long callsOf(const char* in_szFormula)
{
    Expression expression = parsed(in_szFormula);
    return callsOf(expression);
}

class ExpressionSharing : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        using AllocatorT = Registry::ExpressionAllocatorT<UserFunctionImpl<CountedFunction>>;
        EXPECT_TRUE(Registry::getInstance().registerFunction("counted", new AllocatorT));
    }
};

} // namespace

TEST_F(ExpressionSharing, EvaluatesAPartThatOccursTwiceOnce)
{
    EXPECT_EQ(1U, callsOf("counted(x)"));
    EXPECT_EQ(1U, callsOf("counted(x) + counted(x)"));
    EXPECT_EQ(1U, callsOf("counted(x) * max(counted(x)) - counted( x )[0]"));
    EXPECT_EQ(1U, callsOf("abs(counted(x) + 1) / sqrt(1.0 + counted(x) * 0 + (counted(x) + 1.)[0])"));
}

TEST_F(ExpressionSharing, EvaluatesAPartThatTwoFunctionsReadOnce)
{
    EXPECT_EQ(3U, callsOf("counted(counted(x)) + counted(counted(x) + 1)"));
    EXPECT_EQ(2U, callsOf("counted(counted(x)) + counted(x)"));
}

TEST_F(ExpressionSharing, EvaluatesDifferentPartsEachForItself)
{
    EXPECT_EQ(2U, callsOf("counted(x) + counted(y)"));
    EXPECT_EQ(2U, callsOf("counted(x) + counted(x, n=1)"));
    EXPECT_EQ(2U, callsOf("counted(x, n=2) + counted(x, n=1)"));
    EXPECT_EQ(2U, callsOf("counted(x, n=1) + counted(x, k=1)"));
    EXPECT_EQ(2U, callsOf("counted(x, n=\"1\") + counted(x, n=1)"));
    EXPECT_EQ(1U, callsOf("counted(x, n=1) + counted(n=1.0, x)"));
    EXPECT_EQ(2U, callsOf("counted(x + 1) + counted(1 + x)"));
    EXPECT_EQ(2U, callsOf("counted(x - 1 - 2) + counted(x - (1 - 2))"));
    EXPECT_EQ(2U, callsOf("counted(0) + counted(-0)"));
}

TEST_F(ExpressionSharing, EvaluatesAgainAtTheNextEvaluation)
{
    Expression expression = parsed("counted(x) + counted(x)");

    EXPECT_EQ(1U, callsOf(expression));
    EXPECT_EQ(1U, callsOf(expression));
    expression.setVariable("x", {5.0});
    LimitedObjPtr<DoubleVector> pResult;
    EXPECT_TRUE(expression.evaluate(pResult));

    EXPECT_EQ(DoubleVector({10.0}), *pResult);
}

TEST_F(ExpressionSharing, IsKeptByCopies)
{
    Expression expression = parsed("counted(x) + counted(x)");
    Expression copy = expression.copy();

    EXPECT_EQ(1U, callsOf(copy));
    EXPECT_EQ(1U, callsOf(copy));
}

TEST_F(ExpressionSharing, TriesAFailedPartAgain)
{
    Expression expression = parsed("counted(x[2]) + counted(x[2])");
    LimitedObjPtr<DoubleVector> pResult;
    EXPECT_FALSE(expression.evaluate(pResult));

    expression.setVariable("x", {1.0, 2.0, 3.0});

    EXPECT_TRUE(expression.evaluate(pResult));
    EXPECT_EQ(DoubleVector({6.0}), *pResult);
}

TEST(ExpressionMemory, IsTakenByTheFirstEvaluationOnly)
{
    for (const char* szFormula :
         {"flatness(spectrum(x)) < 0.2", "harmonicProduct(spectrum(x))", "silenceRatio(x) + 0", "peaks(spectrum(x))",
          "max(spectralRange(spectrum(x), frequencyHz=1000, widthHz=100)) > 0.1 and not (mean(x) > 0)",
          "maxSpectralRanges(spectrum(x), frequenciesList=\"440, 480\")[0]", "-lowFreqEnergyRatios(spectrum(x))",
          "concat(log(abs(x) + 1), sqrt(abs(x)), x * x)[3] + sum(x) + size(x) + min(x)"}) {
        Expression expression;
        ASSERT_TRUE(expression.parse(szFormula)) << expression.getError();
        expression.setVariable("x", noise(256));
        LimitedObjPtr<DoubleVector> pResult;
        ASSERT_TRUE(expression.evaluate(pResult)) << szFormula;
        const DoubleVector vOther = noise(256, 2);
        const auto blocksOf = [](const char* in_szTag) { return getMemAccount(in_szTag).m_uiTotalBlocks; };
        const std::uint64_t uiVectors = blocksOf("\"DoubleVector\"");
        const std::uint64_t uiCounts = blocksOf("ReferenceCount");
        const auto uiBefore = nbOfAllocations();

        const bool bEvaluated = expression.setVariable("x", vOther) && expression.evaluate(pResult) &&
                                expression.setVariable("x", vOther) && expression.evaluate(pResult);

        const auto uiAfter = nbOfAllocations();
        EXPECT_TRUE(bEvaluated) << szFormula;
        EXPECT_EQ(uiBefore, uiAfter) << szFormula;
        EXPECT_EQ(uiVectors, blocksOf("\"DoubleVector\"")) << szFormula;
        EXPECT_EQ(uiCounts, blocksOf("ReferenceCount")) << szFormula;
    }
}

TEST(ExpressionMemory, IsGivenBackWholly)
{
    const auto live = [] {
        return std::vector<unsigned long>{getMemAccount("\"DoubleVector\"").m_uiLiveBlocks,
                                          getMemAccount("ReferenceCount").m_uiLiveBlocks,
                                          getMemAccount("UserFunctionImpl").m_uiLiveBlocks};
    };
    const std::vector<unsigned long> vBefore = live();
    {
        Expression expression = parsed("flatness(spectrum(x)) + max(spectrum(x)) * spectralRange(x)");
        Expression copy = expression.copy();
        LimitedObjPtr<DoubleVector> pResult;
        copy.evaluate(pResult);
        EXPECT_FALSE(expression.parse("flatness(spectrum(x)) + spectralRange(spectrum(x), widthHz=)"));
    }
    EXPECT_EQ(vBefore, live());
}
