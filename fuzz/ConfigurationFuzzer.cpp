// SPDX-License-Identifier: Apache-2.0
// Any text and any number as a configuration value: what it converts to is what the C library's readers say, within
// the grammar that configurations allow; what does not convert leaves the variable alone.
#include "FuzzSupport.h"

#include "corvana/NumberText.h"
#include "corvana/TrieConfiguration.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>

namespace Corvana::Fuzz {
namespace {

bool isDigit(char in_c)
{
    return in_c >= '0' && in_c <= '9';
}

std::string trimmed(const std::string& in_strText)
{
    std::size_t uiBegin = 0;
    std::size_t uiEnd = in_strText.size();
    while (uiBegin < uiEnd && (in_strText[uiBegin] == ' ' || in_strText[uiBegin] == '\t'))
        ++uiBegin;
    while (uiEnd > uiBegin && (in_strText[uiEnd - 1] == ' ' || in_strText[uiEnd - 1] == '\t'))
        --uiEnd;
    return in_strText.substr(uiBegin, uiEnd - uiBegin);
}

// Whether a text is a sign, if one is allowed, and digits.
bool isWhole(const std::string& in_strText, bool in_bSigned)
{
    std::size_t uiIndex = in_bSigned && !in_strText.empty() && (in_strText[0] == '+' || in_strText[0] == '-') ? 1 : 0;
    if (uiIndex == in_strText.size())
        return false;
    while (uiIndex < in_strText.size() && isDigit(in_strText[uiIndex]))
        ++uiIndex;
    return uiIndex == in_strText.size();
}

std::optional<long> asLong(const std::string& in_strText)
{
    const std::string strText = trimmed(in_strText);
    if (!isWhole(strText, true))
        return {};
    errno = 0;
    const long iValue = std::strtol(strText.c_str(), nullptr, 10);
    return errno == 0 ? std::optional(iValue) : std::nullopt;
}

std::optional<unsigned long> asUnsigned(const std::string& in_strText)
{
    const std::string strText = trimmed(in_strText);
    if (!isWhole(strText, false))
        return {};
    errno = 0;
    const unsigned long uiValue = std::strtoul(strText.c_str(), nullptr, 10);
    return errno == 0 ? std::optional(uiValue) : std::nullopt;
}

// std::strtod, without what it takes beyond decimal numbers, "inf" and "nan".
std::optional<double> asDouble(const std::string& in_strText)
{
    const std::string strText = trimmed(in_strText);
    const std::size_t uiSign = !strText.empty() && (strText[0] == '+' || strText[0] == '-') ? 1 : 0;
    if (strText.empty() || strText.find_first_of("xX(\n\v\f\r ") != std::string::npos)
        return {};
    const char* const szText = strText.c_str();
    char* pEnd = nullptr;
    errno = 0;
    const double dValue = std::strtod(szText, &pEnd);
    if (pEnd != szText + strText.size())
        return {};
    const bool bNumber = uiSign < strText.size() && (isDigit(strText[uiSign]) || strText[uiSign] == '.');
    if (bNumber && errno == ERANGE && (std::isinf(dValue) || dValue == 0.0))
        return {};
    return dValue;
}

std::optional<std::int32_t> asInt32(std::optional<long> in_iValue)
{
    if (!in_iValue || *in_iValue != static_cast<std::int32_t>(*in_iValue))
        return {};
    return static_cast<std::int32_t>(*in_iValue);
}

bool sameNumber(double in_dLeft, double in_dRight)
{
    return sameValue(in_dLeft, in_dRight);
}

template <class NumberT>
bool sameNumber(NumberT in_left, NumberT in_right)
{
    return in_left == in_right;
}

// A reader (a callable that fills its argument) gives the expected value, or leaves the variable alone.
template <class NumberT, class ReaderT>
void requireReads(const std::optional<NumberT>& in_expected, ReaderT in_read)
{
    constexpr NumberT s_former = 77;
    NumberT value = s_former;
    CORVANA_FUZZ_REQUIRE(in_read(value) == in_expected.has_value());
    CORVANA_FUZZ_REQUIRE(sameNumber(value, in_expected.value_or(s_former)));
}

void requireNumber(const std::string& in_strText)
{
    // In brackets is for the C library to know and for configurations to refuse or take: either is no number of ours.
    const bool bPayload = in_strText.find('(') != std::string::npos;
    const auto parse = [&](auto& out_value) { return parseNumber(in_strText, out_value); };
    requireReads(asLong(in_strText), parse);
    requireReads(asUnsigned(in_strText), parse);
    if (!bPayload)
        requireReads(asDouble(in_strText), parse);
}

void requireConfiguration(const std::string& in_strKey, const std::string& in_strText)
{
    ParameterTrie trie;
    CORVANA_FUZZ_REQUIRE(trie.insert(in_strKey.c_str(), ParameterValue(in_strText.c_str())));
    CORVANA_FUZZ_REQUIRE(!trie.insert(in_strKey.c_str(), ParameterValue(in_strText.c_str())));
    const TrieConfiguration config(trie);
    const char* const szKey = in_strKey.c_str();
    const std::string strText = in_strText.c_str(); // up to a zero byte
    const auto get = [&](auto& out_value) { return config.getValue(szKey, out_value); };

    CORVANA_FUZZ_REQUIRE(config.hasKey(szKey));
    CORVANA_FUZZ_REQUIRE(!config.hasKey((std::string(szKey) + "x").c_str()));
    requireReads(asInt32(asLong(strText)), get);
    requireReads(asUnsigned(strText), get);
    if (strText.find('(') == std::string::npos)
        requireReads(asDouble(strText), get);
    std::string strValue;
    CORVANA_FUZZ_REQUIRE(get(strValue) && strValue == strText);

    // Seen through a prefix: what stands behind the prefix, else the plain key; an override comes before both.
    ParameterTrie overrides;
    const PrefixedConfiguration plain(config, "prefix.", overrides);
    CORVANA_FUZZ_REQUIRE(plain.getValue(szKey, strValue) && strValue == strText);
    overrides.insert(szKey, ParameterValue(5L));
    unsigned long uiValue = 0;
    CORVANA_FUZZ_REQUIRE(plain.getValue(szKey, uiValue) && uiValue == 5);
}

void requireReal(double in_dValue)
{
    const ParameterValue value(in_dValue);
    const auto convert = [&](auto& out_value) { return value.convertTo(out_value); };
    const bool bWhole = std::floor(in_dValue) == in_dValue;
    std::optional<std::int32_t> int32;
    if (bWhole && in_dValue >= -2147483648.0 && in_dValue <= 2147483647.0)
        int32 = static_cast<std::int32_t>(in_dValue);
    std::optional<unsigned long> unsignedLong;
    if (bWhole && !std::signbit(in_dValue) && in_dValue < 18446744073709551616.0)
        unsignedLong = static_cast<unsigned long>(in_dValue);
    requireReads(int32, convert);
    requireReads(unsignedLong, convert);
    requireReads(std::optional(in_dValue), convert);

    std::string strText;
    CORVANA_FUZZ_REQUIRE(convert(strText) && strText == toShortestText(in_dValue));
    CORVANA_FUZZ_REQUIRE(sameValue(std::strtod(strText.c_str(), nullptr), in_dValue));
    requireReads(std::optional(in_dValue), [&](double& out_dValue) { return parseNumber(strText, out_dValue); });
    // No shorter text would do: 17 digits always suffice, and one digit less than shown must not.
    CORVANA_FUZZ_REQUIRE(strText.size() <= 24);
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    ByteReader input(in_pData, in_uiSize);
    requireReal(input.takeDouble());
    const std::string strKey = input.takeText();
    const std::string strText(input.rest());
    requireNumber(strText);
    requireConfiguration(strKey, strText);
}
