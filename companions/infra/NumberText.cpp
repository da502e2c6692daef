// SPDX-License-Identifier: Apache-2.0
#include "corvana/NumberText.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace Corvana {
namespace {

template <class NumberT>
bool parseWhole(std::string_view in_strText, NumberT& out_value)
{
    std::string_view strNumber = withoutBlanksAround(in_strText);
    // std::from_chars takes no plus sign; a second sign behind it stays an error.
    if (std::is_signed_v<NumberT> && strNumber.size() > 1 && strNumber[0] == '+' && strNumber[1] != '-')
        strNumber.remove_prefix(1);

    NumberT value{};
    const char* const pEnd = strNumber.data() + strNumber.size();
    const std::from_chars_result result = std::from_chars(strNumber.data(), pEnd, value);
    if (result.ec != std::errc() || result.ptr != pEnd)
        return false;
    out_value = value;
    return true;
}

} // namespace

// ---- The shortest text of a double
//
// Of all decimal numbers that read back as the double, the one with the fewest digits, and of several of these the
// nearest: after Giulietti, The Schubfach way to render doubles, 2020. Numbers from 2^-126 to 2^53 are done here, as
// features are: for them, all powers of ten that are needed have at most 128 significant bits, so products with them
// are exact. std::to_chars, which gives the same text, does the rest.

namespace {

__extension__ using Uint128 = unsigned __int128;

// A power of ten, shifted so far that its highest bit is the highest of 128: 5^54 has 126.
struct PowerOfTen
{
    std::uint64_t m_uiHigh;
    std::uint64_t m_uiLow;
};

constexpr int s_iMaxPower = 54;

constexpr std::array<PowerOfTen, s_iMaxPower + 1> makePowersOfTen()
{
    std::array<PowerOfTen, s_iMaxPower + 1> aPowers{};
    Uint128 uiPower = 1;
    for (PowerOfTen& power : aPowers) {
        Uint128 uiShifted = uiPower;
        while (uiShifted >> 127U == 0)
            uiShifted <<= 1U;
        power = {static_cast<std::uint64_t>(uiShifted >> 64U), static_cast<std::uint64_t>(uiShifted)};
        uiPower *= 5;
    }
    return aPowers;
}

constexpr std::array<PowerOfTen, s_iMaxPower + 1> s_aPowersOfTen = makePowersOfTen();

// Valid for the exponents that occur here.
constexpr int floorLog10OfPowerOfTwo(int in_iExponent)
{
    return in_iExponent * 1262611 >> 22;
}

constexpr int floorLog10OfThreeQuarters(int in_iExponent)
{
    return (in_iExponent * 1262611 - 524031) >> 22;
}

constexpr int floorLog2OfPowerOfTen(int in_iExponent)
{
    return in_iExponent * 1741647 >> 19;
}

// The product's upper 64 of 192 bits; the lowest one is set where anything lies below, so that comparisons with whole
// numbers, and with halves and quarters, come out right.
std::uint64_t roundToOdd(const PowerOfTen& in_power, std::uint64_t in_uiFactor)
{
    const Uint128 uiLow = static_cast<Uint128>(in_power.m_uiLow) * in_uiFactor;
    const Uint128 uiHigh =
        static_cast<Uint128>(in_power.m_uiHigh) * in_uiFactor + static_cast<std::uint64_t>(uiLow >> 64U);
    const bool bRest = static_cast<std::uint64_t>(uiHigh) != 0 || static_cast<std::uint64_t>(uiLow) != 0;
    return static_cast<std::uint64_t>(uiHigh >> 64U) | static_cast<std::uint64_t>(bRest);
}

struct Decimal
{
    std::uint64_t m_uiDigits;
    int m_iExponent;
};

constexpr int s_iFractionBits = 52;
constexpr std::uint64_t s_uiHiddenBit = 1UL << s_iFractionBits;
constexpr int s_iExponentBias = 1023 + s_iFractionBits;

// Of a number c * 2^q: the integer nearest to it in units of 10^k that reads back as the number, or of ten such units,
// if there is one. Everything is in quarters of such units: the number, and the ends of the range that reads back as
// it.
Decimal shortestDecimal(std::uint64_t in_uiFraction, int in_iBiasedExponent)
{
    const std::uint64_t c = s_uiHiddenBit | in_uiFraction;
    const int q = in_iBiasedExponent - s_iExponentBias;
    const bool bLowerIsCloser = in_uiFraction == 0; // the number below has a smaller exponent
    const int k = bLowerIsCloser ? floorLog10OfThreeQuarters(q) : floorLog10OfPowerOfTwo(q);
    const int h = q + floorLog2OfPowerOfTen(-k) + 1;
    const PowerOfTen& power = s_aPowersOfTen[static_cast<unsigned>(-k)];
    const std::uint64_t uiLower = roundToOdd(power, (4 * c - (bLowerIsCloser ? 1 : 2)) << h);
    const std::uint64_t uiNumber = roundToOdd(power, (4 * c) << h);
    const std::uint64_t uiUpper = roundToOdd(power, (4 * c + 2) << h);
    // The ends themselves read back as the number where its last bit is 0.
    const std::uint64_t uiFirst = uiLower + c % 2;
    const std::uint64_t uiLast = uiUpper - c % 2;

    // Which of these it is cannot be foreseen, so all are formed, without a branch.
    const std::uint64_t uiBelow = uiNumber / 4;
    const std::uint64_t uiTensBelow = uiBelow / 10;
    const bool bTensBelow = uiFirst <= 40 * uiTensBelow;
    const bool bTensAbove = 40 * (uiTensBelow + 1) <= uiLast;
    const bool bBelow = uiFirst <= 4 * uiBelow;
    const bool bAbove = 4 * (uiBelow + 1) <= uiLast;
    const std::uint64_t uiMiddle = 4 * uiBelow + 2;
    const bool bNearerAbove = (uiNumber > uiMiddle) | ((uiNumber == uiMiddle) & (uiBelow % 2 != 0));
    const std::uint64_t uiTens = uiTensBelow + (bTensAbove ? 1 : 0);
    const bool bOneOnly = bBelow != bAbove;
    const std::uint64_t uiOnes = uiBelow + static_cast<std::uint64_t>((bOneOnly & bAbove) | (!bOneOnly & bNearerAbove));
    const bool bTens = bTensBelow != bTensAbove;
    const std::uint64_t uiAllIfTens = -static_cast<std::uint64_t>(bTens); // a mask, or compilers make a branch of it
    return {uiOnes ^ ((uiOnes ^ uiTens) & uiAllIfTens), k + static_cast<int>(bTens)};
}

constexpr unsigned s_uiMaxDigits = 17;

constexpr std::array<std::uint64_t, s_uiMaxDigits + 1> makeSmallPowers()
{
    std::array<std::uint64_t, s_uiMaxDigits + 1> auiPowers{};
    std::uint64_t uiPower = 1;
    for (std::uint64_t& uiElement : auiPowers) {
        uiElement = uiPower;
        uiPower *= 10;
    }
    return auiPowers;
}

constexpr std::array<std::uint64_t, s_uiMaxDigits + 1> s_auiSmallPowers = makeSmallPowers();

// For numbers other than 0.
unsigned nbOfDigits(std::uint64_t in_uiNumber)
{
    const auto uiGuess = static_cast<unsigned>(std::bit_width(in_uiNumber)) * 1233U >> 12U; // log10(2), from below
    return uiGuess + (in_uiNumber >= s_auiSmallPowers[uiGuess] ? 1 : 0);
}

// The eight digits of a number, one in each byte, the first one in the lowest: halves, quarters and eighths of the word
// are divided side by side.
std::uint64_t eightDigits(std::uint64_t in_uiNumber)
{
    const std::uint64_t uiFours = in_uiNumber / 10000 | (in_uiNumber % 10000) << 32U;
    const std::uint64_t uiHundreds = (uiFours * 10486 >> 20U) & 0x0000007F0000007FU;
    const std::uint64_t uiTwos = uiHundreds | (uiFours - 100 * uiHundreds) << 16U;
    const std::uint64_t uiTens = (uiTwos * 103 >> 10U) & 0x000F000F000F000FU;
    return uiTens | (uiTwos - 10 * uiTens) << 8U;
}

void storeText(char* out_pText, std::uint64_t in_uiDigits)
{
    std::uint64_t uiLetters = in_uiDigits + 0x3030303030303030U;
    if constexpr (std::endian::native == std::endian::big)
        uiLetters = __builtin_bswap64(uiLetters);
    std::memcpy(out_pText, &uiLetters, sizeof uiLetters);
}

unsigned nbOfDigitsWithoutZerosAtEnd(std::uint64_t in_uiDigits)
{
    return static_cast<unsigned>(std::bit_width(in_uiDigits) + 7) / 8;
}

// A number as it is written: its digits without zeros at the end, and where the point is.
struct Digits
{
    explicit Digits(const Decimal& in_decimal)
    {
        const unsigned uiGiven = nbOfDigits(in_decimal.m_uiDigits);
        const std::uint64_t uiAll = in_decimal.m_uiDigits * s_auiSmallPowers[s_uiMaxDigits - uiGiven];
        const std::uint64_t uiFront = uiAll / 100000000;
        m_cFirst = static_cast<char>('0' + uiFront / 100000000);
        m_uiMiddle = eightDigits(uiFront % 100000000);
        m_uiLast = eightDigits(uiAll % 100000000);
        m_uiNumber =
            m_uiLast != 0 ? 9 + nbOfDigitsWithoutZerosAtEnd(m_uiLast) : 1 + nbOfDigitsWithoutZerosAtEnd(m_uiMiddle);
        m_iNbBeforePoint = static_cast<int>(uiGiven) + in_decimal.m_iExponent;
    }

    // All s_uiMaxDigits, straight from registers: text that is read again soon after it was stored in parts is late.
    void store(char* out_pText) const
    {
        *out_pText = m_cFirst;
        storeBehindFirst(out_pText + 1);
    }
    void storeBehindFirst(char* out_pText) const
    {
        storeText(out_pText, m_uiMiddle);
        storeText(out_pText + 8, m_uiLast);
    }

    char m_cFirst;
    std::uint64_t m_uiMiddle;
    std::uint64_t m_uiLast;
    unsigned m_uiNumber;
    int m_iNbBeforePoint;
};

// "1.5e-07"; exponents have two digits in this range.
char* writeScientific(char* out_pText, const Digits& in_digits)
{
    const int iExponent = in_digits.m_iNbBeforePoint - 1;
    const auto uiExponent = static_cast<unsigned>(iExponent < 0 ? -iExponent : iExponent);
    out_pText[0] = in_digits.m_cFirst;
    out_pText[1] = '.';
    in_digits.storeBehindFirst(out_pText + 2);
    out_pText += in_digits.m_uiNumber > 1 ? in_digits.m_uiNumber + 1 : 1;
    out_pText[0] = 'e';
    out_pText[1] = iExponent < 0 ? '-' : '+';
    out_pText[2] = static_cast<char>('0' + uiExponent / 10);
    out_pText[3] = static_cast<char>('0' + uiExponent % 10);
    return out_pText + 4;
}

// "0.0015", "1.5" or "1500".
char* writeFixed(char* out_pText, const Digits& in_digits)
{
    if (in_digits.m_iNbBeforePoint <= 0) {
        std::memcpy(out_pText, "0.000000", 8); // never more zeros than these: the scientific form would be shorter
        out_pText += 2 - in_digits.m_iNbBeforePoint;
        in_digits.store(out_pText);
        return out_pText + in_digits.m_uiNumber;
    }
    const auto uiNbBeforePoint = static_cast<unsigned>(in_digits.m_iNbBeforePoint);
    if (in_digits.m_uiNumber <= uiNbBeforePoint) {
        in_digits.store(out_pText); // the zeros before the point included
        return out_pText + uiNbBeforePoint;
    }
    out_pText[0] = in_digits.m_cFirst;
    in_digits.storeBehindFirst(out_pText + 2);
    for (unsigned uiDigit = 1; uiDigit < uiNbBeforePoint; ++uiDigit)
        out_pText[uiDigit] = out_pText[uiDigit + 1];
    out_pText[uiNbBeforePoint] = '.';
    return out_pText + in_digits.m_uiNumber + 1;
}

// The shorter form, the one without an exponent where both are equally long.
char* writeDecimal(char* out_pText, const Decimal& in_decimal)
{
    const Digits digits(in_decimal);
    const int iNumber = static_cast<int>(digits.m_uiNumber);
    const int iScientific = iNumber + (iNumber > 1 ? 1 : 0) + 4;
    const int iFixed = digits.m_iNbBeforePoint <= 0        ? 2 - digits.m_iNbBeforePoint + iNumber
                       : digits.m_iNbBeforePoint < iNumber ? iNumber + 1
                                                           : digits.m_iNbBeforePoint;
    return iFixed <= iScientific ? writeFixed(out_pText, digits) : writeScientific(out_pText, digits);
}

} // namespace

char* writeShortestText(char* out_pText, double in_dValue)
{
    const auto uiBits = std::bit_cast<std::uint64_t>(in_dValue);
    const auto uiBiasedExponent = static_cast<int>(uiBits >> s_iFractionBits & 0x7FF);
    if (uiBiasedExponent >= 1023 - 126 && uiBiasedExponent < 1023 + 53) {
        if (uiBits >> 63 != 0)
            *out_pText++ = '-';
        return writeDecimal(out_pText, shortestDecimal(uiBits & (s_uiHiddenBit - 1), uiBiasedExponent));
    }
    if (!std::isnan(in_dValue))
        return std::to_chars(out_pText, out_pText + s_uiMaxShortestText, in_dValue).ptr;
    std::memcpy(out_pText, "nan", 3); // std::to_chars would show the sign bit, which carries no meaning
    return out_pText + 3;
}

void appendShortestText(std::string& inout_strText, double in_dValue)
{
    char acText[s_uiMaxShortestText];
    inout_strText.append(acText, writeShortestText(acText, in_dValue));
}

std::string toShortestText(double in_dValue)
{
    std::string strText;
    appendShortestText(strText, in_dValue);
    return strText;
}

std::string_view withoutBlanksAround(std::string_view in_strText)
{
    const std::size_t uiBegin = in_strText.find_first_not_of(" \t");
    if (uiBegin == std::string_view::npos)
        return {};
    return in_strText.substr(uiBegin, in_strText.find_last_not_of(" \t") - uiBegin + 1);
}

bool parseNumber(std::string_view in_strText, long& out_iValue)
{
    return parseWhole(in_strText, out_iValue);
}

bool parseNumber(std::string_view in_strText, unsigned long& out_uiValue)
{
    return parseWhole(in_strText, out_uiValue);
}

bool parseNumber(std::string_view in_strText, double& out_dValue)
{
    return parseWhole(in_strText, out_dValue);
}

} // namespace Corvana
