// SPDX-License-Identifier: Apache-2.0
// The language: each rule, each value, each error.
#include "corvana/MathXprExpression.h"

#include "corvana/TrieConfiguration.h"
#include "support/LogCapture.h"
#include "support/Signals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

using Corvana::LimitedObjPtr;
using Corvana::TrieConfiguration;
using Corvana::Math::DoubleVector;
using Corvana::Math::Xpr::Expression;
using Corvana::Test::LogCapture;
using Corvana::Test::sameBits;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr double s_dInfinity = std::numeric_limits<double>::infinity();

Expression parsed(const std::string& in_strFormula)
{
    Expression expression;
    EXPECT_TRUE(expression.parse(in_strFormula.c_str())) << in_strFormula << ": " << expression.getError();
    EXPECT_EQ("", expression.getError());
    EXPECT_FALSE(expression.isEmpty());
    return expression;
}

void setVariables(Expression& inout_expression)
{
    inout_expression.setVariable("a", {2.0});
    inout_expression.setVariable("b", {3.0});
    inout_expression.setVariable("c", {5.0});
    inout_expression.setVariable("t", {1.0});
    inout_expression.setVariable("f", {0.0});
    inout_expression.setVariable("v", {1.0, -2.0, 4.0});
    inout_expression.setVariable("w", {10.0, 20.0, 30.0});
    inout_expression.setVariable("two", {1.0, 2.0});
    inout_expression.setVariable("none", {});
}

// The value of a formula over the variables above.
DoubleVector value(const std::string& in_strFormula)
{
    Expression expression = parsed(in_strFormula);
    setVariables(expression);
    LimitedObjPtr<DoubleVector> pResult;
    EXPECT_TRUE(expression.evaluate(pResult)) << in_strFormula;
    return pResult.isNull() ? DoubleVector() : *pResult;
}

std::string errorOf(const std::string& in_strFormula)
{
    Expression expression;
    EXPECT_FALSE(expression.parse(in_strFormula.c_str())) << in_strFormula;
    EXPECT_TRUE(expression.isEmpty());
    return expression.getError();
}

// What is logged while a formula that parses cannot be evaluated.
std::vector<std::string> failureOf(const std::string& in_strFormula)
{
    Expression expression = parsed(in_strFormula);
    setVariables(expression);
    const LogCapture log("kestrivon", 40000);
    DoubleVector vFormer{7.0};
    LimitedObjPtr<DoubleVector> pResult(&vFormer);
    EXPECT_FALSE(expression.evaluate(pResult)) << in_strFormula;
    EXPECT_EQ(&vFormer, pResult.get());
    return log.texts();
}

std::string textOf(const std::string& in_strFormula)
{
    return parsed(in_strFormula).getText();
}

std::string repeated(const std::string& in_strText, unsigned long in_uiTimes)
{
    std::string strText;
    for (unsigned long uiTime = 0; uiTime < in_uiTimes; ++uiTime)
        strText += in_strText;
    return strText;
}

} // namespace

// ---- Numbers

TEST(ExpressionNumbers, AreReadInEveryDecimalForm)
{
    EXPECT_EQ(DoubleVector({0.0}), value("0"));
    EXPECT_EQ(DoubleVector({42.0}), value("42"));
    EXPECT_EQ(DoubleVector({1.5}), value("1.5"));
    EXPECT_EQ(DoubleVector({0.5}), value(".5"));
    EXPECT_EQ(DoubleVector({5.0}), value("5."));
    EXPECT_EQ(DoubleVector({1e-9}), value("1e-9"));
    EXPECT_EQ(DoubleVector({2.5e3}), value("2.5E+3"));
    EXPECT_EQ(DoubleVector({0.1}), value("0.1"));
    EXPECT_EQ(DoubleVector({5e-324}), value("5e-324"));
    EXPECT_EQ(DoubleVector({7.0}), value("007"));
}

TEST(ExpressionNumbers, AreReadAndWrittenAlikeInEveryLocale)
{
    const std::string strFormer = std::setlocale(LC_ALL, nullptr);
    struct Comma : std::numpunct<char>
    {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale former = std::locale::global(std::locale(std::locale::classic(), new Comma));
    std::setlocale(LC_ALL, "de_DE.UTF-8"); // where it is installed
    Expression expression;

    const bool bParsed = expression.parse("a[0] + 1234567.25");
    const std::string strText = expression.getText();

    std::locale::global(former);
    std::setlocale(LC_ALL, strFormer.c_str());
    EXPECT_TRUE(bParsed);
    EXPECT_EQ("a[0] + 1234567.25", strText);
}

TEST(ExpressionNumbers, BeyondAllDoublesAreErrors)
{
    EXPECT_EQ("expected a number, a name or \"(\", found a number too large or too small for a double at column 5",
              errorOf("1 + 1e400"));
    EXPECT_EQ("expected a number, a name or \"(\", found a number too large or too small for a double at column 1",
              errorOf("1e-400"));
}

TEST(ExpressionNumbers, EndWhereTheirTextDoes)
{
    EXPECT_EQ("expected an operator or the end, found \"e\" at column 2", errorOf("1e"));
    EXPECT_EQ("expected an operator or the end, found \".3\" at column 4", errorOf("1.2.3"));
    EXPECT_EQ("expected an operator or the end, found \":\" at column 2", errorOf("1:2"));
    EXPECT_EQ("expected an operator or the end, found \"x10\" at column 2", errorOf("0x10"));
    EXPECT_EQ("expected a number, a name or \"(\", found \".\" at column 1", errorOf("."));
}

// ---- Arithmetic

TEST(ExpressionArithmetic, GoesValueByValue)
{
    EXPECT_EQ(DoubleVector({11.0, 18.0, 34.0}), value("v + w"));
    EXPECT_EQ(DoubleVector({-9.0, -22.0, -26.0}), value("v - w"));
    EXPECT_EQ(DoubleVector({10.0, -40.0, 120.0}), value("v * w"));
    EXPECT_EQ(DoubleVector({10.0, -10.0, 7.5}), value("w / v"));
}

TEST(ExpressionArithmetic, RepeatsAOneValueOperandOnEitherSide)
{
    EXPECT_EQ(DoubleVector({3.0, 0.0, 6.0}), value("v + a"));
    EXPECT_EQ(DoubleVector({1.0, 4.0, -2.0}), value("a - v"));
    EXPECT_EQ(DoubleVector({2.0, 1.0, -0.0}), value("concat(2, 1, 0) * concat(1, 1, -1)"));
    EXPECT_EQ(DoubleVector({5.0, 2.0, 8.0}), value("a + b - 1 + v"));
}

TEST(ExpressionArithmetic, OfNoValuesGivesNone)
{
    EXPECT_EQ(DoubleVector(), value("none + 1"));
    EXPECT_EQ(DoubleVector(), value("1 + none"));
    EXPECT_EQ(DoubleVector(), value("-none"));
    EXPECT_EQ(DoubleVector(), value("none < none"));
}

TEST(ExpressionArithmetic, NamesBothSizesWhenTheyDiffer)
{
    EXPECT_THAT(failureOf("v + two"), ElementsAre("Cannot evaluate v + two : the operands of + have 3 and 2 values"));
    EXPECT_THAT(failureOf("1 * (two < v)"),
                ElementsAre("Cannot evaluate two < v : the operands of < have 2 and 3 values"));
    EXPECT_THAT(failureOf("v and none"),
                ElementsAre("Cannot evaluate v and none : the operands of and have 3 and 0 values"));
    EXPECT_THAT(failureOf("1 + v + two"),
                ElementsAre("Cannot evaluate 1 + v + two : the operands of + have 3 and 2 values"));
}

TEST(ExpressionArithmetic, ShortensALongFormulaInMessages)
{
    const std::vector<std::string> vTexts = failureOf("v + two" + repeated(" + a", 100));

    ASSERT_EQ(1U, vTexts.size());
    EXPECT_EQ("Cannot evaluate v + two" + repeated(" + a", 48) + " ... : the operands of + have 3 and 2 values",
              vTexts[0]); // 200 characters of the formula
}

TEST(ExpressionText, MayBeBrokenIntoLinesOfAnySystemAndIndented)
{
    EXPECT_THAT(value("a\r\n\t+ b\n*\rc"), ElementsAre(17.0));
    EXPECT_NE(errorOf("a\f+ b"), "");
}

TEST(ExpressionArithmetic, MultipliesBeforeItAdds)
{
    EXPECT_EQ(DoubleVector({17.0}), value("a + b * c"));
    EXPECT_EQ(DoubleVector({11.0}), value("a * b + c"));
    EXPECT_EQ(DoubleVector({25.0}), value("(a + b) * c"));
    EXPECT_EQ(DoubleVector({2.0 - 3.0 / 5.0}), value("a - b / c"));
}

TEST(ExpressionArithmetic, GoesFromLeftToRight)
{
    EXPECT_EQ(DoubleVector({-6.0}), value("a - b - c"));
    EXPECT_EQ(DoubleVector({4.0}), value("a - (b - c)"));
    EXPECT_EQ(DoubleVector({2.0 / 3.0 / 5.0}), value("a / b / c"));
    EXPECT_EQ(DoubleVector({2.0 / 3.0 * 5.0}), value("a / b * c"));
    EXPECT_EQ(DoubleVector({0.1 + 0.2 + 0.3}), value("0.1 + 0.2 + 0.3"));
    EXPECT_EQ(DoubleVector({0.1 + (0.2 + 0.3)}), value("0.1 + (0.2 + 0.3)"));
    EXPECT_NE(0.1 + 0.2 + 0.3, 0.1 + (0.2 + 0.3)); // so that the two lines above differ
}

TEST(ExpressionArithmetic, DividesAsIeeeDoes)
{
    EXPECT_EQ(DoubleVector({s_dInfinity}), value("1 / 0"));
    EXPECT_EQ(DoubleVector({-s_dInfinity}), value("1 / -0"));
    EXPECT_EQ(DoubleVector({-s_dInfinity}), value("-1 / 0"));
    EXPECT_TRUE(std::isnan(value("0 / 0").front()));
}

TEST(ExpressionArithmetic, NegatesTheSignOfZeroToo)
{
    EXPECT_TRUE(sameBits({-0.0}, value("-0")));
    EXPECT_TRUE(sameBits({-0.0}, value("-f")));
    EXPECT_TRUE(sameBits({0.0}, value("--f")));
    EXPECT_TRUE(sameBits({0.0}, value("0 - f")));
    EXPECT_EQ(DoubleVector({-1.0, 2.0, -4.0}), value("-v"));
}

TEST(ExpressionArithmetic, NegatesMoreTightlyThanItMultipliesAndLessThanItPicks)
{
    EXPECT_EQ(DoubleVector({-6.0}), value("-a * b"));
    EXPECT_EQ(DoubleVector({-6.0}), value("a * -b"));
    EXPECT_EQ(DoubleVector({5.0}), value("a - -b"));
    EXPECT_EQ(DoubleVector({2.0}), value("-v[1]"));
    EXPECT_EQ(DoubleVector({-1.0}), value("-v[f]"));
}

// ---- Comparisons and logic

TEST(ExpressionComparisons, GiveOneOrZero)
{
    EXPECT_EQ(DoubleVector({0.0, 1.0, 0.0}), value("v < 1"));
    EXPECT_EQ(DoubleVector({1.0, 1.0, 0.0}), value("v <= 1"));
    EXPECT_EQ(DoubleVector({0.0, 0.0, 1.0}), value("v > 1"));
    EXPECT_EQ(DoubleVector({1.0, 0.0, 1.0}), value("v >= 1"));
    EXPECT_EQ(DoubleVector({1.0, 0.0, 0.0}), value("v == 1"));
    EXPECT_EQ(DoubleVector({0.0, 1.0, 1.0}), value("v != 1"));
    EXPECT_EQ(DoubleVector({1.0}), value("0 == -0"));
}

TEST(ExpressionComparisons, OfNaNAreFalseExceptUnequal)
{
    for (const char* szOperator : {"<", "<=", ">", ">=", "=="})
        EXPECT_EQ(DoubleVector({0.0}), value(std::string("0/0 ") + szOperator + " 0/0")) << szOperator;
    EXPECT_EQ(DoubleVector({1.0}), value("0/0 != 0/0"));
}

TEST(ExpressionComparisons, AreLooserThanArithmetic)
{
    EXPECT_EQ(DoubleVector({1.0}), value("a + b == c"));
    EXPECT_EQ(DoubleVector({3.0}), value("a + (b != c)"));
    EXPECT_EQ(DoubleVector({1.0}), value("a < b * c - 1"));
}

TEST(ExpressionComparisons, DoNotChain)
{
    EXPECT_EQ("comparisons do not chain, join them with \"and\" at column 7", errorOf("a < b < c"));
    EXPECT_EQ("comparisons do not chain, join them with \"and\" at column 8", errorOf("a == b != c"));
    EXPECT_EQ(DoubleVector({1.0}), value("(a < b) < c"));
    EXPECT_EQ(DoubleVector({1.0}), value("a < b and b < c"));
}

TEST(ExpressionLogic, TakesEverythingButZeroForTrue)
{
    EXPECT_EQ(DoubleVector({1.0}), value("a and b"));
    EXPECT_EQ(DoubleVector({0.0}), value("a and f"));
    EXPECT_EQ(DoubleVector({0.0}), value("f and a"));
    EXPECT_EQ(DoubleVector({1.0}), value("a or f"));
    EXPECT_EQ(DoubleVector({1.0}), value("f or a"));
    EXPECT_EQ(DoubleVector({0.0}), value("f or -f"));
    EXPECT_EQ(DoubleVector({0.0, 0.0, 0.0}), value("not v"));
    EXPECT_EQ(DoubleVector({1.0}), value("not f"));
    EXPECT_EQ(DoubleVector({0.0}), value("not not f"));
    EXPECT_EQ(DoubleVector({1.0}), value("0/0 and t"));
}

TEST(ExpressionLogic, BindsNotThenAndThenOr)
{
    EXPECT_EQ(DoubleVector({1.0}), value("t or t and f"));
    EXPECT_EQ(DoubleVector({0.0}), value("(t or t) and f"));
    EXPECT_EQ(DoubleVector({1.0}), value("f and f or t"));
    EXPECT_EQ(DoubleVector({0.0}), value("not t or f"));
    EXPECT_EQ(DoubleVector({0.0}), value("not f and f"));
    EXPECT_EQ(DoubleVector({1.0}), value("not (f and f)"));
    EXPECT_EQ(DoubleVector({1.0}), value("not a == b"));
    EXPECT_EQ(DoubleVector({0.0}), value("(not a) == b"));
}

TEST(ExpressionLogic, EvaluatesBothSidesAlways)
{
    EXPECT_THAT(failureOf("f and v[9] > 0"), ElementsAre("Cannot evaluate v[9] : index 9 of 3 values"));
    EXPECT_THAT(failureOf("t or v[9] > 0"), ElementsAre("Cannot evaluate v[9] : index 9 of 3 values"));
}

// ---- Elements

TEST(ExpressionElements, AreCountedFromZero)
{
    EXPECT_EQ(DoubleVector({1.0}), value("v[0]"));
    EXPECT_EQ(DoubleVector({4.0}), value("v[2]"));
    EXPECT_EQ(DoubleVector({4.0}), value("v[size(v) - 1]"));
    EXPECT_EQ(DoubleVector({30.0}), value("w[v[v[0] - 1] * 2]"));
    EXPECT_EQ(DoubleVector({11.0}), value("(v + w)[0]"));
    EXPECT_EQ(DoubleVector({20.0}), value("concat(v, w)[4]"));
    EXPECT_EQ(DoubleVector({5.0}), value("5[0][0]"));
    EXPECT_EQ(DoubleVector({1.0}), value("v[-0]"));
    EXPECT_EQ(DoubleVector({-2.0}), value("v[a > 1]"));
}

TEST(ExpressionElements, OutsideTheVectorFail)
{
    EXPECT_THAT(failureOf("v[3]"), ElementsAre("Cannot evaluate v[3] : index 3 of 3 values"));
    EXPECT_THAT(failureOf("v[-1]"), ElementsAre("Cannot evaluate v[-1] : index -1 of 3 values"));
    EXPECT_THAT(failureOf("v[0.5]"), ElementsAre("Cannot evaluate v[0.5] : index 0.5 of 3 values"));
    EXPECT_THAT(failureOf("v[1e300]"), ElementsAre("Cannot evaluate v[1e+300] : index 1e+300 of 3 values"));
    EXPECT_THAT(failureOf("v[0/0]"), ElementsAre("Cannot evaluate v[0 / 0] : index nan of 3 values"));
    EXPECT_THAT(failureOf("v[1/0]"), ElementsAre("Cannot evaluate v[1 / 0] : index inf of 3 values"));
    EXPECT_THAT(failureOf("none[0]"), ElementsAre("Cannot evaluate none[0] : index 0 of 0 values"));
}

TEST(ExpressionElements, NeedOneIndex)
{
    EXPECT_THAT(failureOf("v[two]"), ElementsAre("Cannot evaluate v[two] : the index has 2 values, not 1"));
    EXPECT_THAT(failureOf("v[none]"), ElementsAre("Cannot evaluate v[none] : the index has 0 values, not 1"));
}

// ---- The language's own functions

TEST(ExpressionFunctions, ReduceAVectorToOneValue)
{
    EXPECT_EQ(DoubleVector({-2.0}), value("min(v)"));
    EXPECT_EQ(DoubleVector({4.0}), value("max(v)"));
    EXPECT_EQ(DoubleVector({1.0}), value("mean(v)"));
    EXPECT_EQ(DoubleVector({3.0}), value("sum(v)"));
    EXPECT_EQ(DoubleVector({3.0}), value("size(v)"));
    EXPECT_EQ(DoubleVector({0.1 + 0.2 + 0.3}), value("sum(concat(0.1, 0.2, 0.3))"));
}

TEST(ExpressionFunctions, TakeEachValueForItself)
{
    EXPECT_EQ(DoubleVector({1.0, 2.0, 4.0}), value("abs(v)"));
    EXPECT_EQ(DoubleVector({2.0, 3.0}), value("sqrt(concat(4, 9))"));
    EXPECT_EQ(DoubleVector({0.0, std::log(10.0)}), value("log(concat(1, 10))"));
    EXPECT_EQ(DoubleVector({-s_dInfinity}), value("log(0)"));
    EXPECT_TRUE(std::isnan(value("log(-1)").front()));
    EXPECT_TRUE(std::isnan(value("sqrt(-1)").front()));
    EXPECT_TRUE(sameBits({-0.0}, value("sqrt(-0)")));
    EXPECT_TRUE(sameBits({0.0}, value("abs(-0)")));
}

TEST(ExpressionFunctions, JoinVectors)
{
    EXPECT_EQ(DoubleVector({1.0, -2.0, 4.0}), value("concat(v)"));
    EXPECT_EQ(DoubleVector({2.0, 1.0, -2.0, 4.0, 1.0, 2.0}), value("concat(a, v, none, two)"));
}

TEST(ExpressionFunctions, OfNoValuesAreDecided)
{
    EXPECT_EQ(DoubleVector({0.0}), value("mean(none)"));
    EXPECT_TRUE(sameBits({0.0}, value("sum(none)")));
    EXPECT_EQ(DoubleVector({0.0}), value("size(none)"));
    EXPECT_EQ(DoubleVector(), value("abs(none)"));
    EXPECT_EQ(DoubleVector(), value("concat(none, none)"));
    EXPECT_THAT(failureOf("min(none)"), ElementsAre("Cannot evaluate min(none) : no values"));
    EXPECT_THAT(failureOf("1 + max(none)"), ElementsAre("Cannot evaluate max(none) : no values"));
}

TEST(ExpressionFunctions, MayBeNamedLikeVariables)
{
    Expression expression = parsed("max(max) + size");
    expression.setVariable("max", {1.0, 5.0});
    expression.setVariable("size", {2.0});
    LimitedObjPtr<DoubleVector> pResult;

    ASSERT_TRUE(expression.evaluate(pResult));

    EXPECT_EQ(DoubleVector({7.0}), *pResult);
    EXPECT_THAT(expression.getVariableNames(), ElementsAre("max", "size"));
}

// ---- Errors of the text

TEST(ExpressionErrors, TellWhatWasExpectedWhatWasFoundAndWhere)
{
    EXPECT_EQ("expected a number, a name or \"(\", found the end at column 1", errorOf(""));
    EXPECT_EQ("expected a number, a name or \"(\", found the end at column 4", errorOf(" \t\n"));
    EXPECT_EQ("expected a number, a name or \"(\", found the end at column 4", errorOf("1 +"));
    EXPECT_EQ("expected a number, a name or \"(\", found \"+\" at column 1", errorOf("+1"));
    EXPECT_EQ("expected a number, a name or \"(\", found \"*\" at column 5", errorOf("1 + * 2"));
    EXPECT_EQ("expected a number, a name or \"(\", found \")\" at column 2", errorOf("()"));
    EXPECT_EQ("expected a number, a name or \"(\", found \"and\" at column 1", errorOf("and"));
    EXPECT_EQ("expected a number, a name or \"(\", found \"not\" at column 5", errorOf("a * not b"));
    EXPECT_EQ("expected a number, a name or \"(\", found \"text\" at column 1", errorOf("\"text\""));
    EXPECT_EQ("expected a number, a name or \"(\", found \"!a b~??\" at column 1", errorOf("\"!a b~\x7F\t\""));
    EXPECT_EQ("expected an operator or the end, found \"b\" at column 3", errorOf("a b"));
    EXPECT_EQ("expected an operator or the end, found \")\" at column 2", errorOf("a)"));
    EXPECT_EQ("expected an operator or the end, found \"=\" at column 3", errorOf("a = b"));
    EXPECT_EQ("expected an operator or the end, found \"!\" at column 3", errorOf("a ! b"));
    EXPECT_EQ("expected an operator or the end, found \"]\" at column 2", errorOf("a]"));
    EXPECT_EQ("expected an operator or the end, found \"&\" at column 3", errorOf("a & b"));
    EXPECT_EQ("expected a number, a name or \"(\", found the end at column 4", errorOf("a <"));
    EXPECT_EQ("expected \")\", found the end at column 3", errorOf("(a"));
    EXPECT_EQ("expected \")\", found \"]\" at column 3", errorOf("(a]"));
    EXPECT_EQ("expected \"]\", found the end at column 4", errorOf("v[1"));
    EXPECT_EQ("expected \"]\", found \",\" at column 4", errorOf("v[1,2]"));
    EXPECT_EQ("expected a number, a name or \"(\", found \"]\" at column 3", errorOf("v[]"));
    EXPECT_EQ("expected \",\" or \")\", found the end at column 6", errorOf("max(v"));
    EXPECT_EQ("expected \",\" or \")\", found \"w\" at column 7", errorOf("max(v w)"));
    EXPECT_EQ("expected a number, a name or \"(\", found \")\" at column 8", errorOf("max(v, )"));
}

TEST(ExpressionErrors, CountBytesOverLines)
{
    EXPECT_EQ("expected an operator or the end, found \"b\" at column 4", errorOf("a\n\tb"));
}

TEST(ExpressionErrors, ShowForeignBytesAsQuestionMarks)
{
    EXPECT_EQ("expected a number, a name or \"(\", found \"?\" at column 1", errorOf("\xc3\xa4"));
    EXPECT_EQ("expected an operator or the end, found \"?\" at column 2", errorOf("a\x1b[31m"));
    EXPECT_EQ("expected an operator or the end, found \"?????\" at column 2", errorOf("a\"\x1b\xc3\xa4\x01\x7f\""));
}

TEST(ExpressionErrors, ShortenLongNames)
{
    EXPECT_EQ("expected an operator or the end, found \"" + repeated("n", 40) + "...\" at column 3",
              errorOf("a " + repeated("n", 60000)));
    EXPECT_THAT(errorOf(repeated("n", 60000) + "(x)"),
                testing::StartsWith("unknown function \"" + repeated("n", 40) + "...\", known are "));
}

TEST(ExpressionErrors, NameTheNearestFunction)
{
    EXPECT_EQ("unknown function \"spectrm\", did you mean \"spectrum\"? at column 10", errorOf("flatness(spectrm(x))"));
    EXPECT_EQ("unknown function \"Max\", did you mean \"max\"? at column 1", errorOf("Max(x)"));
    EXPECT_EQ("unknown function \"spectralrange\", did you mean \"spectralRange\"? at column 1",
              errorOf("spectralrange(x)"));
    EXPECT_EQ("unknown function \"average\", known are flatness, harmonicProduct, lowFreqEnergyRatios, "
              "maxSpectralRanges, peaks, silenceRatio, spectralRange, spectrum, min, max, mean, sum, size, log, sqrt, "
              "abs, concat at column 5",
              errorOf("1 + average(x)"));
}

TEST(ExpressionErrors, TakeNoSignBehindTheAlphabetForALetter)
{
    for (const char cSign : std::string("@`{|}~"))
        EXPECT_EQ(std::string("expected an operator or the end, found \"") + cSign + "\" at column 3",
                  errorOf(std::string("a ") + cSign))
            << cSign;
}

TEST(ExpressionErrors, TellHowManyArgumentsAFunctionTakes)
{
    EXPECT_EQ("\"max\" takes 1 argument, found 0 at column 1", errorOf("max()"));
    EXPECT_EQ("\"max\" takes 1 argument, found 2 at column 5", errorOf("1 + max(v, w)"));
    EXPECT_EQ("\"concat\" takes at least 1 argument, found 0 at column 1", errorOf("concat()"));
    EXPECT_EQ("\"spectrum\" takes 1 argument, found 0 at column 1", errorOf("spectrum()"));
    EXPECT_EQ("\"spectrum\" takes 1 argument, found 2 at column 1", errorOf("spectrum(x, x)"));
}

TEST(ExpressionErrors, NameTheNearestParameter)
{
    EXPECT_EQ("\"spectralRange\" has no parameter \"frequency\", did you mean \"frequencyHz\"? at column 18",
              errorOf("spectralRange(x, frequency=1)"));
    EXPECT_EQ("\"spectralRange\" has no parameter \"overlap\", known are frequencyHz, widthHz at column 18",
              errorOf("spectralRange(x, overlap=1)"));
    EXPECT_EQ("\"peaks\" has no parameter \"n\", it has none at column 10", errorOf("peaks(x, n=1)"));
    EXPECT_EQ("\"max\" has no parameter \"n\", it has none at column 8", errorOf("max(x, n=1)"));
}

TEST(ExpressionErrors, OfParameterValuesTellWhatMayStandThere)
{
    const std::string strCall = "spectralRange(x, widthHz=";
    EXPECT_EQ("expected a number or a text in double quotes, found \")\" at column 26", errorOf(strCall + ")"));
    EXPECT_EQ("expected a number or a text in double quotes, found \"a\" at column 26", errorOf(strCall + "a)"));
    EXPECT_EQ("expected a number, found \"1\" at column 27", errorOf(strCall + "-\"1\")"));
    EXPECT_EQ("expected a number or a text in double quotes, found a text without its closing quote at column 26",
              errorOf(strCall + "\"1)"));
    EXPECT_EQ("expected \",\" or \")\", found \"+\" at column 28", errorOf(strCall + "1 + 1)"));
    EXPECT_EQ("parameter \"widthHz\" is given twice at column 29", errorOf(strCall + "1, widthHz=2)"));
}

TEST(ExpressionErrors, AreForgottenByTheNextFormula)
{
    Expression expression;
    EXPECT_FALSE(expression.parse("1 +"));

    EXPECT_TRUE(expression.parse("1 + 1"));

    EXPECT_EQ("", expression.getError());
    EXPECT_EQ("1 + 1", expression.getText());
}

TEST(ExpressionErrors, LeaveTheExpressionEmpty)
{
    Expression expression = parsed("a + b");
    LimitedObjPtr<DoubleVector> pResult;

    EXPECT_FALSE(expression.parse("a +"));

    EXPECT_TRUE(expression.isEmpty());
    EXPECT_EQ("", expression.getText());
    EXPECT_THAT(expression.getVariableNames(), IsEmpty());
    EXPECT_THAT(expression.getParameterNames(), IsEmpty());
    EXPECT_FALSE(expression.setVariable("a", {1.0}));
    EXPECT_FALSE(expression.configure(TrieConfiguration()));
    EXPECT_FALSE(expression.evaluate(pResult));
    EXPECT_FALSE(expression.reset());
    EXPECT_TRUE(expression.getRoot().isNull());
    EXPECT_TRUE(expression.copy().isEmpty());
    EXPECT_EQ(expression.getError(), expression.copy().getError());
}

TEST(ExpressionErrors, TakeNullForAnEmptyFormula)
{
    Expression expression;

    EXPECT_FALSE(expression.parse(nullptr));

    EXPECT_EQ("expected a number, a name or \"(\", found the end at column 1", expression.getError());
    EXPECT_FALSE(parsed("a").setVariable(nullptr, {1.0}));
}

// ---- Variables

TEST(Expression, TellsItsVariablesInTheOrderOfTheText)
{
    EXPECT_THAT(parsed("z + concat(a, b_2)[_Q] * z").getVariableNames(), ElementsAre("z", "a", "b_2", "_Q"));
    EXPECT_THAT(parsed("1 + 1").getVariableNames(), IsEmpty());
}

TEST(Expression, FailsWhileAVariableHasNoValue)
{
    Expression expression = parsed("a + q");
    expression.setVariable("a", {1.0});
    const LogCapture log("kestrivon", 40000);
    LimitedObjPtr<DoubleVector> pResult;

    EXPECT_FALSE(expression.evaluate(pResult));

    EXPECT_TRUE(pResult.isNull());
    EXPECT_THAT(log.texts(), ElementsAre("Variable without a value : q"));
}

TEST(Expression, ReadsAValueWhereItLiesWhenToldTo)
{
    Expression expression;
    ASSERT_TRUE(expression.parse("x + 1"));
    DoubleVector vValue{1.0};
    LimitedObjPtr<DoubleVector> pResult;

    EXPECT_TRUE(expression.pointVariable("x", vValue));
    EXPECT_FALSE(expression.pointVariable("y", vValue));
    EXPECT_FALSE(expression.pointVariable(nullptr, vValue));
    ASSERT_TRUE(expression.evaluate(pResult));
    EXPECT_EQ(DoubleVector({2.0}), *pResult);
    vValue[0] = 5.0;
    ASSERT_TRUE(expression.evaluate(pResult));
    EXPECT_EQ(DoubleVector({6.0}), *pResult);

    // A copy has a value of its own, and so has a variable that is set again.
    Expression copy = expression.copy();
    expression.setVariable("x", DoubleVector{10.0});
    vValue[0] = 7.0;
    ASSERT_TRUE(copy.evaluate(pResult));
    EXPECT_EQ(DoubleVector({6.0}), *pResult);
    ASSERT_TRUE(expression.evaluate(pResult));
    EXPECT_EQ(DoubleVector({11.0}), *pResult);
}

TEST(Expression, CopiesTheValuesOfVariables)
{
    Expression expression = parsed("a");
    DoubleVector vValue{1.0};
    ASSERT_TRUE(expression.setVariable("a", vValue));
    vValue[0] = 2.0;
    LimitedObjPtr<DoubleVector> pResult;

    ASSERT_TRUE(expression.evaluate(pResult));

    EXPECT_EQ(DoubleVector({1.0}), *pResult);
}

TEST(Expression, KnowsItsOwnVariablesOnly)
{
    Expression expression = parsed("a");

    EXPECT_FALSE(expression.setVariable("b", {1.0}));
    EXPECT_FALSE(expression.setVariable("A", {1.0}));
    EXPECT_FALSE(expression.setVariable("", {1.0}));
}

TEST(Expression, GivesTheSameResultObjectEachTime)
{
    for (const char* szFormula : {"a + b", "-a", "not a", "v[0]", "concat(a, b)", "(a + b) * (a + b)", "a", "1"}) {
        Expression expression = parsed(szFormula);
        setVariables(expression);
        LimitedObjPtr<DoubleVector> pFirst;
        LimitedObjPtr<DoubleVector> pSecond;

        ASSERT_TRUE(expression.evaluate(pFirst));
        ASSERT_TRUE(expression.evaluate(pSecond));

        EXPECT_EQ(pFirst.get(), pSecond.get()) << szFormula;
    }
}

TEST(Expression, KeepsItsLastResultWhenItFails)
{
    for (const char* szFormula : {"v + 1 + w", "abs(concat(v, w)) - concat(w, w)", "v[size(w)]", "concat(v, min(w))"}) {
        Expression expression = parsed(szFormula);
        setVariables(expression);
        if (szFormula[1] == '[')
            expression.setVariable("w", {1.0});
        LimitedObjPtr<DoubleVector> pResult;
        ASSERT_TRUE(expression.evaluate(pResult)) << szFormula;
        const DoubleVector vFormer = *pResult;
        const DoubleVector* const pFormer = pResult.get();
        const LogCapture log("kestrivon", 40000);

        expression.setVariable("w", szFormula[0] == 'c' ? DoubleVector() : DoubleVector(5, 1.0));
        expression.setVariable("v", {5.0, 6.0});
        EXPECT_FALSE(expression.evaluate(pResult)) << szFormula;

        EXPECT_EQ(pFormer, pResult.get());
        EXPECT_TRUE(sameBits(vFormer, *pFormer)) << szFormula;
        setVariables(expression);
    }
}

TEST(Expression, TakesNewValuesAtEachEvaluation)
{
    Expression expression = parsed("(a + 1) * (a + 1) + size(a + 1)");
    for (const double dValue : {1.0, 2.0, 3.0}) {
        expression.setVariable("a", {dValue});
        LimitedObjPtr<DoubleVector> pResult;
        ASSERT_TRUE(expression.evaluate(pResult));
        EXPECT_EQ(DoubleVector({(dValue + 1) * (dValue + 1) + 1}), *pResult);
    }
}

TEST(Expression, IsMovedWithItsVariables)
{
    Expression expression = parsed("a + 1");
    expression.setVariable("a", {1.0});

    Expression moved(std::move(expression));
    Expression assigned = parsed("b");
    assigned = std::move(moved);
    LimitedObjPtr<DoubleVector> pResult;

    ASSERT_TRUE(assigned.evaluate(pResult));
    EXPECT_EQ(DoubleVector({2.0}), *pResult);
}

TEST(Expression, IsCopiedWithVariablesOfItsOwn)
{
    Expression expression = parsed("(a + 1) * (a + 1)");
    expression.setVariable("a", {1.0});
    LimitedObjPtr<DoubleVector> pResult;
    ASSERT_TRUE(expression.evaluate(pResult));
    Expression copy = expression.copy();
    LimitedObjPtr<DoubleVector> pCopy;

    ASSERT_TRUE(copy.evaluate(pCopy)); // has the value that the variable had
    EXPECT_EQ(DoubleVector({4.0}), *pCopy);
    copy.setVariable("a", {2.0});
    ASSERT_TRUE(copy.evaluate(pCopy));

    EXPECT_EQ(DoubleVector({9.0}), *pCopy);
    EXPECT_EQ(DoubleVector({4.0}), *pResult);
    ASSERT_TRUE(expression.evaluate(pResult));
    EXPECT_EQ(DoubleVector({4.0}), *pResult);
    EXPECT_EQ(expression.getText(), copy.getText());
    EXPECT_EQ(expression.getVariableNames(), copy.getVariableNames());
    EXPECT_TRUE(copy.reset());
}

// ---- Text

TEST(ExpressionText, PutsBlanksAroundOperatorsAndParenthesesWhereTheyAreNeeded)
{
    EXPECT_EQ("a + b * c", textOf("a+(b*c)"));
    EXPECT_EQ("(a + b) * c", textOf("(a+b)*c"));
    EXPECT_EQ("a - (b - c)", textOf("a-(b-c)"));
    EXPECT_EQ("(a - b) - c", textOf("(a-b)-c"));
    EXPECT_EQ("a - b - c", textOf("a-b-c"));
    EXPECT_EQ("a / (b * c)", textOf("a/(b*c)"));
    EXPECT_EQ("--a", textOf("-(-(a))"));
    EXPECT_EQ("-(a * b)", textOf("-(a*b)"));
    EXPECT_EQ("-a * b", textOf("(-a)*b"));
    EXPECT_EQ("-v[0]", textOf("-(v[0])"));
    EXPECT_EQ("(-v)[0]", textOf("(-v)[0]"));
    EXPECT_EQ("-(not a)", textOf("-(not a)"));
    EXPECT_EQ("not -a", textOf("not(-a)"));
    EXPECT_EQ("not a < b", textOf("not (a < b)"));
    EXPECT_EQ("(not a) < b", textOf("(not a) < b"));
    EXPECT_EQ("not not a and b or c", textOf("((not(not a)) and b) or c"));
    EXPECT_EQ("not (a and b)", textOf("not(a and b)"));
    EXPECT_EQ("(a or b) and c", textOf("(a or b)and c"));
    EXPECT_EQ("(a < b) == (b < c)", textOf("(a<b)==(b<c)"));
    EXPECT_EQ("max(a + b)[c - 1]", textOf("max((a+b))[(c-1)]"));
    EXPECT_EQ("spectralRange(spectrum(x), frequencyHz=1000, widthHz=-0.5)",
              textOf("spectralRange(frequencyHz=1e3, widthHz=-.5, spectrum(x))"));
    EXPECT_EQ("maxSpectralRanges(x, frequenciesList=\"440, 480\")",
              textOf("maxSpectralRanges(x,frequenciesList=\"440, 480\")"));
}

TEST(ExpressionText, KeepsParameterValuesBeyondAllWholeNumbers)
{
    EXPECT_EQ("spectralRange(x, frequencyHz=1e+300, widthHz=0.5)",
              parsed("spectralRange(x, frequencyHz=1e300, widthHz=0.5)").getText());
}

TEST(ExpressionText, ShowsASharedPartWhereverItOccurs)
{
    EXPECT_EQ("(a + b) * (a + b) + max(a + b)", textOf("(a+b)*(a+b)+max(a+b)"));
    EXPECT_EQ("flatness(spectrum(x)) + max(spectrum(x))", textOf("flatness(spectrum(x))+max(spectrum(x))"));
}

// ---- Limits

TEST(ExpressionLimits, AreSixtyFourKibibytesOfText)
{
    parsed("a" + std::string(64 * 1024 - 1, ' '));

    EXPECT_EQ("the formula is longer than 65536 bytes at column 65537", errorOf("a" + std::string(64 * 1024, ' ')));
}

TEST(ExpressionLimits, HoldForTheWrittenText)
{
    const std::string strFormula = "a" + repeated("+a", 32767); // 65535 bytes, without room for blanks
    EXPECT_EQ(strFormula, textOf(strFormula));

    EXPECT_EQ("the formula is longer than 65536 bytes with its numbers written out at column 1",
              errorOf("1e4" + repeated("+1e4", 16000)));
    parsed("1e4" + repeated("+1e4", 10000));
}

TEST(ExpressionLimits, KeepTheBlanksThatPartWordsAndThoseInTexts)
{
    const std::string strSum = repeated("a+", 32700);
    const std::string strFormula = strSum +
                                   "max(maxSpectralRanges(x,frequenciesList=\"4, 8\"))*(a and not 5)+"
                                   "(Z and _b or not A9 and z0 or A0 and 9 or z)"; // over 64 KiB with all blanks
    EXPECT_EQ(strFormula, textOf(strFormula));
}

namespace {

struct NestingForm
{
    const char* m_szName;
    const char* m_szOpening;
    const char* m_szCore;
    const char* m_szClosing;
};

class EveryNesting : public testing::TestWithParam<NestingForm>
{
protected:
    static std::string nested(unsigned long in_uiDepth)
    {
        return repeated(GetParam().m_szOpening, in_uiDepth) + GetParam().m_szCore +
               repeated(GetParam().m_szClosing, in_uiDepth);
    }
};

INSTANTIATE_TEST_SUITE_P(ExpressionLimits, EveryNesting,
                         testing::Values(NestingForm{"Parentheses", "(", "a", ")"}, //
                                         NestingForm{"Minus", "-", "a", ""},        //
                                         NestingForm{"Not", "not ", "a", ""}, NestingForm{"Calls", "abs(", "a", ")"},
                                         NestingForm{"AudioCalls", "peaks(", "a", ")"},
                                         NestingForm{"Indexes", "a[", "0", "]"},
                                         NestingForm{"Elements", "", "a", "[0]"}, NestingForm{"Sums", "1+(", "a", ")"},
                                         NestingForm{"Products", "2*-(", "a", ")"}),
                         [](const auto& in_info) { return std::string(in_info.param.m_szName); });

} // namespace

TEST_P(EveryNesting, IsTakenUpToItsLimitAndRefusedBeyond)
{
    const bool bTwoNodes = std::string(GetParam().m_szName) == "Products"; // a product and a minus each time
    const unsigned long uiMax = bTwoNodes ? 128 : 256;
    Expression expression = parsed(nested(uiMax));
    expression.setVariable("a", {0.0});
    LimitedObjPtr<DoubleVector> pResult;
    EXPECT_TRUE(expression.evaluate(pResult));
    EXPECT_EQ(expression.getText(), textOf(expression.getText()));
    EXPECT_EQ(expression.getText(), expression.copy().getText());

    EXPECT_THAT(errorOf(nested(uiMax + 1)), testing::StartsWith("nested deeper than 256 at column "));
    EXPECT_THAT(errorOf(nested(5000)), testing::StartsWith("nested deeper than 256 at column "));
}

TEST(ExpressionLimits, TellWhereTheNestingIsTooDeep)
{
    EXPECT_EQ("nested deeper than 256 at column 257", errorOf(std::string(300, '(')));
    EXPECT_EQ("nested deeper than 256 at column 257", errorOf(std::string(300, '-') + "a"));
}

TEST(ExpressionLimits, LetChainsBeLong)
{
    for (const char* szOperator : {"+", "-", "*", "/"}) {
        Expression expression = parsed("a" + repeated(szOperator + std::string("a"), 30000));
        expression.setVariable("a", {1.0});
        LimitedObjPtr<DoubleVector> pResult;
        ASSERT_TRUE(expression.evaluate(pResult));
        const double dExpected = *szOperator == '+' ? 30001.0 : *szOperator == '-' ? -29999.0 : 1.0;
        EXPECT_EQ(DoubleVector({dExpected}), *pResult);
        EXPECT_EQ(30001, expression.getRoot()->getNbOfChildren());
    }
}

TEST(ExpressionLimits, LetCallsHaveManyArguments)
{
    Expression expression = parsed("size(concat(a" + repeated(",a", 30000) + "))");
    expression.setVariable("a", {1.0});
    LimitedObjPtr<DoubleVector> pResult;

    ASSERT_TRUE(expression.evaluate(pResult));

    EXPECT_EQ(DoubleVector({30001.0}), *pResult);
}
