// SPDX-License-Identifier: Apache-2.0
#include "corvana/NumberText.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <locale>
#include <random>
#include <string>

using Corvana::appendShortestText;
using Corvana::parseNumber;
using Corvana::toShortestText;
using Corvana::withoutBlanksAround;

namespace {

constexpr double s_dInfinity = std::numeric_limits<double>::infinity();
constexpr double s_dNaN = std::numeric_limits<double>::quiet_NaN();

double fromBits(std::uint64_t in_uiBits)
{
    double dValue = 0.0;
    std::memcpy(&dValue, &in_uiBits, sizeof dValue);
    return dValue;
}

std::uint64_t bitsOf(double in_dValue)
{
    std::uint64_t uiBits = 0;
    std::memcpy(&uiBits, &in_dValue, sizeof uiBits);
    return uiBits;
}

// Whether the text is refused and the variable left alone.
template <class NumberT>
bool isRefused(std::string_view in_strText)
{
    NumberT value = 42;
    return !parseNumber(in_strText, value) && value == 42;
}

template <class NumberT>
NumberT parsed(std::string_view in_strText)
{
    NumberT value = 42;
    EXPECT_TRUE(parseNumber(in_strText, value)) << in_strText;
    return value;
}

class ForeignNumbers : public std::numpunct<char>
{
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

class ScopedForeignLocale
{
public:
    ScopedForeignLocale()
        : m_former(std::locale::global(std::locale(std::locale::classic(), new ForeignNumbers)))
    {
    }
    ~ScopedForeignLocale() { std::locale::global(m_former); }
    ScopedForeignLocale(const ScopedForeignLocale&) = delete;
    ScopedForeignLocale& operator=(const ScopedForeignLocale&) = delete;

private:
    std::locale m_former;
};

} // namespace

TEST(ShortestText, IsTheShortestThatReadsBack)
{
    EXPECT_EQ("0", toShortestText(0.0));
    EXPECT_EQ("-0", toShortestText(-0.0));
    EXPECT_EQ("1", toShortestText(1.0));
    EXPECT_EQ("0.1", toShortestText(0.1));
    EXPECT_EQ("0.30000000000000004", toShortestText(0.1 + 0.2));
    EXPECT_EQ("-1.5", toShortestText(-1.5));
    EXPECT_EQ("1e-09", toShortestText(1e-9));
    EXPECT_EQ("1e+22", toShortestText(1e22));
    EXPECT_EQ("5e-324", toShortestText(5e-324));
    EXPECT_EQ("-2.2250738585072014e-308", toShortestText(-2.2250738585072014e-308));
    EXPECT_EQ("1.7976931348623157e+308", toShortestText(std::numeric_limits<double>::max()));
}

TEST(ShortestText, NamesInfinities)
{
    EXPECT_EQ("inf", toShortestText(s_dInfinity));
    EXPECT_EQ("-inf", toShortestText(-s_dInfinity));
}

TEST(ShortestText, IsNanWhateverTheSignAndPayload)
{
    EXPECT_EQ("nan", toShortestText(s_dNaN));
    EXPECT_EQ("nan", toShortestText(-s_dNaN));
    EXPECT_EQ("nan", toShortestText(fromBits(0xfff800000000beefU)));
    EXPECT_EQ("nan", toShortestText(std::numeric_limits<double>::signaling_NaN()));
}

TEST(ShortestText, IsAppended)
{
    std::string strText = "x=";

    appendShortestText(strText, 0.5);
    appendShortestText(strText, s_dNaN);

    EXPECT_EQ("x=0.5nan", strText);
}

// What the text has always been: numbers written by older versions are compared with new ones as text.
void expectTextOfStandardLibrary(double in_dValue)
{
    char acText[64];
    const char* const pEnd = std::to_chars(acText, acText + sizeof acText, in_dValue).ptr;
    ASSERT_EQ(std::string(static_cast<const char*>(acText), pEnd), toShortestText(in_dValue));
}

TEST(ShortestText, IsThatOfTheStandardLibraryAroundEveryPowerOfTwo)
{
    for (std::uint64_t uiExponent = 0; uiExponent < 2047; ++uiExponent)
        for (const std::uint64_t uiFraction :
             {0UL, 1UL, 2UL, 3UL, (1UL << 52) - 1, (1UL << 52) - 2, 1UL << 51, 0x5555555555555UL})
            for (const std::uint64_t uiSign : {0UL, 1UL})
                expectTextOfStandardLibrary(fromBits(uiSign << 63 | uiExponent << 52 | uiFraction));
}

TEST(ShortestText, IsThatOfTheStandardLibraryForRandomNumbers)
{
    std::mt19937_64 random(2);
    for (int iRound = 0; iRound < 200000; ++iRound) {
        const std::uint64_t uiExponent = 1023 - 128 + random() % 184; // those written here, and some beyond
        const std::uint64_t uiFraction = random() >> 12;
        expectTextOfStandardLibrary(fromBits(uiExponent << 52 | uiFraction));
        expectTextOfStandardLibrary(fromBits(uiExponent << 52 | (uiFraction & 1) << random() % 52));
        const std::uint64_t uiZerosAtEnd = random() % 53;
        expectTextOfStandardLibrary(fromBits(uiExponent << 52 | (uiFraction >> uiZerosAtEnd << uiZerosAtEnd)));
    }
}

// Few digits, and every place of the point.
TEST(ShortestText, IsThatOfTheStandardLibraryForShortNumbers)
{
    std::mt19937_64 random(3);
    for (int iPower = -45; iPower < 25; ++iPower) {
        const double dPower = std::pow(10.0, iPower);
        for (int iRound = 0; iRound < 2000; ++iRound) {
            const double dDigits = static_cast<double>(random() >> (11 + random() % 53));
            expectTextOfStandardLibrary(static_cast<double>(random() % 1000) * dPower);
            expectTextOfStandardLibrary(static_cast<double>(random() % 1000000000) * dPower);
            expectTextOfStandardLibrary(-dDigits * dPower);
        }
    }
    for (int iValue = 0; iValue < 100000; ++iValue) {
        expectTextOfStandardLibrary(static_cast<double>(iValue) * 0.016);
        expectTextOfStandardLibrary(static_cast<double>(iValue) / 1000.0);
        expectTextOfStandardLibrary(static_cast<double>(iValue));
    }
}

TEST(ShortestText, IsWrittenWithinItsRoom)
{
    for (const double dValue : {0.0, 0.1 + 0.2, 123.456, 1e15, 1234567890123456.0, -2.2250738585072014e-308,
                                -1.0 / 3e-3, 1.2345678901234567e-5, -1.2345678901234567e-38, s_dInfinity, s_dNaN}) {
        char acText[Corvana::s_uiMaxShortestText + 1];
        acText[Corvana::s_uiMaxShortestText] = 'x';

        const char* const pEnd = Corvana::writeShortestText(acText, dValue);

        EXPECT_EQ(toShortestText(dValue), std::string(static_cast<const char*>(acText), pEnd));
        EXPECT_EQ('x', acText[Corvana::s_uiMaxShortestText]);
    }
}

TEST(ShortestText, ReadsBackToTheSameBits)
{
    std::mt19937_64 random(1);
    for (int iRound = 0; iRound < 20000; ++iRound) {
        const double dValue = fromBits(random());
        if (std::isnan(dValue))
            continue;
        const std::string strText = toShortestText(dValue);
        double dBack = 0.0;

        ASSERT_TRUE(parseNumber(strText, dBack)) << strText;
        ASSERT_EQ(bitsOf(dValue), bitsOf(dBack)) << strText;
        ASSERT_LE(strText.size(), 24u) << strText;
    }
}

TEST(ShortestText, ReadsBackToTheSameBitsForSubnormals)
{
    std::mt19937_64 random(2);
    for (int iRound = 0; iRound < 2000; ++iRound) {
        const double dValue = fromBits(random() >> 12);
        double dBack = 0.0;

        ASSERT_TRUE(parseNumber(toShortestText(dValue), dBack));
        ASSERT_EQ(bitsOf(dValue), bitsOf(dBack));
    }
}

TEST(ShortestText, IsTheSameUnderEveryLocale)
{
    const ScopedForeignLocale foreign;

    EXPECT_EQ("1234567.5", toShortestText(1234567.5));
}

TEST(ParseNumber, ReadsUnderEveryLocaleTheSame)
{
    const ScopedForeignLocale foreign;

    EXPECT_EQ(1234567.5, parsed<double>("1234567.5"));
    EXPECT_EQ(1234567, parsed<long>("1234567"));
    EXPECT_TRUE(isRefused<double>("1234567,5"));
    EXPECT_TRUE(isRefused<long>("1.234.567"));
}

TEST(ParseNumber, ReadsSignedWholeNumbers)
{
    EXPECT_EQ(0, parsed<long>("0"));
    EXPECT_EQ(8000, parsed<long>("8000"));
    EXPECT_EQ(-5, parsed<long>("-5"));
    EXPECT_EQ(5, parsed<long>("+5"));
    EXPECT_EQ(7, parsed<long>("007"));
    EXPECT_EQ(std::numeric_limits<long>::max(), parsed<long>("9223372036854775807"));
    EXPECT_EQ(std::numeric_limits<long>::min(), parsed<long>("-9223372036854775808"));
}

TEST(ParseNumber, ReadsUnsignedWholeNumbers)
{
    EXPECT_EQ(0u, parsed<unsigned long>("0"));
    EXPECT_EQ(std::numeric_limits<unsigned long>::max(), parsed<unsigned long>("18446744073709551615"));
}

TEST(ParseNumber, ReadsRealNumbers)
{
    EXPECT_EQ(0.5, parsed<double>("0.5"));
    EXPECT_EQ(0.5, parsed<double>(".5"));
    EXPECT_EQ(5.0, parsed<double>("5."));
    EXPECT_EQ(-1500.0, parsed<double>("-1.5e3"));
    EXPECT_EQ(1500.0, parsed<double>("+1.5E+3"));
    EXPECT_EQ(12.0, parsed<double>("12"));
    EXPECT_TRUE(std::signbit(parsed<double>("-0")));
}

TEST(ParseNumber, ReadsInfinityAndNanByName)
{
    EXPECT_EQ(s_dInfinity, parsed<double>("inf"));
    EXPECT_EQ(-s_dInfinity, parsed<double>("-inf"));
    EXPECT_TRUE(std::isnan(parsed<double>("nan")));
}

TEST(ParseNumber, SkipsBlanksAndTabsAround)
{
    EXPECT_EQ(5, parsed<long>(" \t5\t "));
    EXPECT_EQ(5u, parsed<unsigned long>(" 5 "));
    EXPECT_EQ(0.5, parsed<double>("  0.5"));
}

TEST(ParseNumber, RefusesWhatIsNotWhollyANumber)
{
    for (const char* szText : {"", " ", "+", "-", "x", "5x", "x5", "5 5", "+-5", "-+5", "++5", "--5", "+ 5", "- 5",
                               "5\n", "\n5", "0x10", "1_000"}) {
        EXPECT_TRUE(isRefused<long>(szText)) << szText;
        EXPECT_TRUE(isRefused<unsigned long>(szText)) << szText;
        EXPECT_TRUE(isRefused<double>(szText)) << szText;
    }
}

TEST(ParseNumber, RefusesABrokenExponent)
{
    for (const char* szText : {"1e", "1e+", "e5", ".", "1.2.3", ".e1"})
        EXPECT_TRUE(isRefused<double>(szText)) << szText;
}

TEST(ParseNumber, RefusesATextWithANulInIt)
{
    EXPECT_TRUE(isRefused<long>(std::string_view("5\0", 2)));
    EXPECT_TRUE(isRefused<double>(std::string_view("5\0", 2)));
}

TEST(ParseNumber, RefusesFractionsForWholeNumbers)
{
    for (const char* szText : {"1.0", "1.5", "1e3", "1."}) {
        EXPECT_TRUE(isRefused<long>(szText)) << szText;
        EXPECT_TRUE(isRefused<unsigned long>(szText)) << szText;
    }
}

TEST(ParseNumber, RefusesAnySignForUnsignedNumbers)
{
    for (const char* szText : {"-5", "+5", "-0", "+0"})
        EXPECT_TRUE(isRefused<unsigned long>(szText)) << szText;
}

TEST(ParseNumber, RefusesWhatDoesNotFit)
{
    EXPECT_TRUE(isRefused<long>("9223372036854775808"));
    EXPECT_TRUE(isRefused<long>("-9223372036854775809"));
    EXPECT_TRUE(isRefused<unsigned long>("18446744073709551616"));
    EXPECT_TRUE(isRefused<double>("1e999"));
    EXPECT_TRUE(isRefused<double>("-1e999"));
    EXPECT_TRUE(isRefused<double>("1e-999"));
}

TEST(WithoutBlanksAround, DropsBlanksAndTabsAtBothEndsOnly)
{
    EXPECT_EQ("a b", withoutBlanksAround(" \ta b\t "));
    EXPECT_EQ("a", withoutBlanksAround("a"));
    EXPECT_EQ("", withoutBlanksAround(""));
    EXPECT_EQ("", withoutBlanksAround(" \t "));
    EXPECT_EQ("a\n", withoutBlanksAround("a\n"));
}
