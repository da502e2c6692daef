// SPDX-License-Identifier: Apache-2.0
#include "corvana/NumberText.h"

#include <charconv>
#include <cmath>
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

void appendShortestText(std::string& inout_strText, double in_dValue)
{
    if (std::isnan(in_dValue)) {
        inout_strText += "nan"; // std::to_chars would show the sign bit, which carries no meaning
        return;
    }
    char acText[32]; // the longest is "-2.2250738585072014e-308"
    const std::to_chars_result result = std::to_chars(acText, acText + sizeof acText, in_dValue);
    inout_strText.append(acText, result.ptr);
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
