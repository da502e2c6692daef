// SPDX-License-Identifier: Apache-2.0
#include "corvana/ParameterTrie.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

using Corvana::ParameterTrie;
using Corvana::ParameterValue;

namespace {

constexpr double s_dInfinity = std::numeric_limits<double>::infinity();
constexpr double s_dNaN = std::numeric_limits<double>::quiet_NaN();

// Whether the value does not convert and leaves the variable alone.
template <class T>
bool isRefused(const ParameterValue& in_value, T in_former = T(42))
{
    T value = in_former;
    return !in_value.convertTo(value) && value == in_former;
}

bool isRefusedAsText(const ParameterValue& in_value)
{
    return isRefused<std::string>(in_value, "former");
}

template <class T>
T converted(const ParameterValue& in_value)
{
    T value{};
    EXPECT_TRUE(in_value.convertTo(value));
    return value;
}

} // namespace

TEST(ParameterValue, IsNothingByDefault)
{
    const ParameterValue value;

    EXPECT_FALSE(value.isString());
    EXPECT_FALSE(value.isNumber());
    EXPECT_TRUE(isRefused<std::int32_t>(value));
    EXPECT_TRUE(isRefused<unsigned long>(value));
    EXPECT_TRUE(isRefused<double>(value));
    EXPECT_TRUE(isRefusedAsText(value));
}

TEST(ParameterValue, IsNothingForANullText)
{
    const ParameterValue value(static_cast<const char*>(nullptr));

    EXPECT_FALSE(value.isString());
    EXPECT_FALSE(value.isNumber());
}

TEST(ParameterValue, IsATextOrANumber)
{
    EXPECT_TRUE(ParameterValue("8000").isString());
    EXPECT_FALSE(ParameterValue("8000").isNumber());
    EXPECT_TRUE(ParameterValue(8000L).isNumber());
    EXPECT_FALSE(ParameterValue(8000L).isString());
    EXPECT_TRUE(ParameterValue(0.5).isNumber());
    EXPECT_FALSE(ParameterValue(0.5).isString());
}

TEST(ParameterValue, CopiesItsText)
{
    std::string strText = "300";
    const ParameterValue value(strText.c_str());

    strText = "400";

    EXPECT_EQ("300", converted<std::string>(value));
}

TEST(ParameterValue, IsNothingAfterItsTextIsGivenBack)
{
    ParameterValue value("300");
    const ParameterValue copy(value);

    value.deallocateString();

    EXPECT_FALSE(value.isString());
    EXPECT_TRUE(isRefusedAsText(value));
    EXPECT_EQ("300", converted<std::string>(copy));
}

TEST(ParameterValue, KeepsANumberWhenATextWouldBeGivenBack)
{
    ParameterValue whole(5L);
    ParameterValue real(0.5);

    whole.deallocateString();
    real.deallocateString();

    EXPECT_EQ(5u, converted<unsigned long>(whole));
    EXPECT_EQ(0.5, converted<double>(real));
}

// ---- To a signed number

TEST(ParameterValue, ConvertsToASignedNumber)
{
    EXPECT_EQ(8000, converted<std::int32_t>(ParameterValue("8000")));
    EXPECT_EQ(8000, converted<std::int32_t>(ParameterValue(" 8000\t")));
    EXPECT_EQ(-3, converted<std::int32_t>(ParameterValue("-3")));
    EXPECT_EQ(3, converted<std::int32_t>(ParameterValue("+3")));
    EXPECT_EQ(8000, converted<std::int32_t>(ParameterValue(8000L)));
    EXPECT_EQ(-8000, converted<std::int32_t>(ParameterValue(-8000.0)));
    EXPECT_EQ(0, converted<std::int32_t>(ParameterValue(-0.0)));
}

TEST(ParameterValue, ConvertsToASignedNumberUpToItsBounds)
{
    EXPECT_EQ(2147483647, converted<std::int32_t>(ParameterValue(2147483647L)));
    EXPECT_EQ(-2147483647 - 1, converted<std::int32_t>(ParameterValue(-2147483648L)));
    EXPECT_EQ(2147483647, converted<std::int32_t>(ParameterValue("2147483647")));
    EXPECT_EQ(2147483647, converted<std::int32_t>(ParameterValue(2147483647.0)));
    EXPECT_TRUE(isRefused<std::int32_t>(ParameterValue(2147483648L)));
    EXPECT_TRUE(isRefused<std::int32_t>(ParameterValue(-2147483649L)));
    EXPECT_TRUE(isRefused<std::int32_t>(ParameterValue("2147483648")));
    EXPECT_TRUE(isRefused<std::int32_t>(ParameterValue("-2147483649")));
    EXPECT_TRUE(isRefused<std::int32_t>(ParameterValue("99999999999999999999")));
    EXPECT_EQ(-2147483647 - 1, converted<std::int32_t>(ParameterValue(-2147483648.0)));
    EXPECT_TRUE(isRefused<std::int32_t>(ParameterValue(2147483648.0)));
    EXPECT_TRUE(isRefused<std::int32_t>(ParameterValue(-2147483649.0)));
    EXPECT_TRUE(isRefused<std::int32_t>(ParameterValue(1e300)));
}

TEST(ParameterValue, RefusesWhatIsNoSignedWholeNumber)
{
    for (const char* szText : {"", " ", "eight", "8000Hz", "8000 Hz", "8000.0", "8e3", "0x1f40", "- 3"})
        EXPECT_TRUE(isRefused<std::int32_t>(ParameterValue(szText))) << szText;
    EXPECT_TRUE(isRefused<std::int32_t>(ParameterValue(0.5)));
    EXPECT_TRUE(isRefused<std::int32_t>(ParameterValue(s_dNaN)));
    EXPECT_TRUE(isRefused<std::int32_t>(ParameterValue(s_dInfinity)));
    EXPECT_TRUE(isRefused<std::int32_t>(ParameterValue(-s_dInfinity)));
}

// ---- To an unsigned number

TEST(ParameterValue, ConvertsToAnUnsignedNumber)
{
    EXPECT_EQ(300u, converted<unsigned long>(ParameterValue("300")));
    EXPECT_EQ(300u, converted<unsigned long>(ParameterValue(" 300 ")));
    EXPECT_EQ(0u, converted<unsigned long>(ParameterValue("0")));
    EXPECT_EQ(300u, converted<unsigned long>(ParameterValue(300L)));
    EXPECT_EQ(0u, converted<unsigned long>(ParameterValue(0L)));
    EXPECT_EQ(300u, converted<unsigned long>(ParameterValue(300.0)));
    EXPECT_EQ(0u, converted<unsigned long>(ParameterValue(0.0)));
}

TEST(ParameterValue, RefusesASignForAnUnsignedNumber)
{
    EXPECT_TRUE(isRefused<unsigned long>(ParameterValue("-1")));
    EXPECT_TRUE(isRefused<unsigned long>(ParameterValue("+1")));
    EXPECT_TRUE(isRefused<unsigned long>(ParameterValue("-0")));
    EXPECT_TRUE(isRefused<unsigned long>(ParameterValue(-1L)));
    EXPECT_TRUE(isRefused<unsigned long>(ParameterValue(-1.0)));
    EXPECT_TRUE(isRefused<unsigned long>(ParameterValue(-0.0)));
}

TEST(ParameterValue, RefusesAFractionForAnUnsignedNumber)
{
    EXPECT_TRUE(isRefused<unsigned long>(ParameterValue("1.5")));
    EXPECT_TRUE(isRefused<unsigned long>(ParameterValue("1.0")));
    EXPECT_TRUE(isRefused<unsigned long>(ParameterValue(1.5)));
    EXPECT_TRUE(isRefused<unsigned long>(ParameterValue(1e-9)));
}

TEST(ParameterValue, ConvertsToAnUnsignedNumberUpToItsBound)
{
    EXPECT_EQ(18446744073709551615u, converted<unsigned long>(ParameterValue("18446744073709551615")));
    EXPECT_EQ(18446744073709549568u, converted<unsigned long>(ParameterValue(0x1.fffffffffffffp63)));
    EXPECT_EQ(9223372036854775807u, converted<unsigned long>(ParameterValue(std::numeric_limits<long>::max())));
    EXPECT_TRUE(isRefused<unsigned long>(ParameterValue("18446744073709551616")));
    EXPECT_TRUE(isRefused<unsigned long>(ParameterValue(0x1p64)));
    EXPECT_TRUE(isRefused<unsigned long>(ParameterValue(s_dInfinity)));
    EXPECT_TRUE(isRefused<unsigned long>(ParameterValue(s_dNaN)));
}

// ---- To a real number

TEST(ParameterValue, ConvertsToARealNumber)
{
    EXPECT_EQ(0.5, converted<double>(ParameterValue("0.5")));
    EXPECT_EQ(-1500.0, converted<double>(ParameterValue(" -1.5e3 ")));
    EXPECT_EQ(12.0, converted<double>(ParameterValue("12")));
    EXPECT_EQ(12.0, converted<double>(ParameterValue(12L)));
    EXPECT_EQ(0.1, converted<double>(ParameterValue(0.1)));
}

TEST(ParameterValue, RefusesWhatIsNoRealNumber)
{
    for (const char* szText : {"", " ", "0,5", "half", "0.5x", "1e999"})
        EXPECT_TRUE(isRefused<double>(ParameterValue(szText))) << szText;
}

// ---- To a text

TEST(ParameterValue, ConvertsToATextAsItStands)
{
    EXPECT_EQ("100,200 300", converted<std::string>(ParameterValue("100,200 300")));
    EXPECT_EQ(" blanks stay ", converted<std::string>(ParameterValue(" blanks stay ")));
    EXPECT_EQ("", converted<std::string>(ParameterValue("")));
}

TEST(ParameterValue, ConvertsNumbersToTheirShortestText)
{
    EXPECT_EQ("8000", converted<std::string>(ParameterValue(8000L)));
    EXPECT_EQ("-9223372036854775808", converted<std::string>(ParameterValue(std::numeric_limits<long>::min())));
    EXPECT_EQ("0.1", converted<std::string>(ParameterValue(0.1)));
    EXPECT_EQ("0.30000000000000004", converted<std::string>(ParameterValue(0.1 + 0.2)));
    EXPECT_EQ("-0", converted<std::string>(ParameterValue(-0.0)));
    EXPECT_EQ("nan", converted<std::string>(ParameterValue(s_dNaN)));
}

// ---- ParameterTrie

TEST(ParameterTrie, FindsWhatWasInserted)
{
    ParameterTrie trie;

    EXPECT_TRUE(trie.insert("widthHz", ParameterValue(100L)));

    ASSERT_NE(nullptr, trie.find("widthHz"));
    EXPECT_EQ(100u, converted<unsigned long>(*trie.find("widthHz")));
}

TEST(ParameterTrie, FindsNothingElse)
{
    ParameterTrie trie;
    trie.insert("widthHz", ParameterValue(100L));

    EXPECT_EQ(nullptr, ParameterTrie().find("widthHz"));
    EXPECT_EQ(nullptr, trie.find("width"));
    EXPECT_EQ(nullptr, trie.find("widthHzz"));
    EXPECT_EQ(nullptr, trie.find(""));
}

TEST(ParameterTrie, TellsSmallLettersFromCapitals)
{
    ParameterTrie trie;
    trie.insert("widthHz", ParameterValue(100L));

    EXPECT_EQ(nullptr, trie.find("widthhz"));
    EXPECT_EQ(nullptr, trie.find("WIDTHHZ"));
}

TEST(ParameterTrie, ReplacesTheValueOfANameThatIsThere)
{
    ParameterTrie trie;
    trie.insert("widthHz", ParameterValue(100L));

    EXPECT_FALSE(trie.insert("widthHz", ParameterValue(200L)));

    EXPECT_EQ(200u, converted<unsigned long>(*trie.find("widthHz")));
}

TEST(ParameterTrie, CopiesAreIndependent)
{
    ParameterTrie trie;
    trie.insert("widthHz", ParameterValue(100L));
    const ParameterTrie copy(trie);

    trie.insert("widthHz", ParameterValue(200L));

    EXPECT_EQ(100u, converted<unsigned long>(*copy.find("widthHz")));
}
