// SPDX-License-Identifier: Apache-2.0
#include "tools/Text.h"

#include "corvana/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace Corvana::Tools {
namespace {

constexpr char s_acHexDigits[] = "0123456789abcdef";

void appendPrintable(std::string& inout_strText, unsigned char in_ucLetter)
{
    if (in_ucLetter == '\n')
        inout_strText += "\\n";
    else if (in_ucLetter == '\r')
        inout_strText += "\\r";
    else if (in_ucLetter == '\t')
        inout_strText += "\\t";
    else if (in_ucLetter < 0x20 || in_ucLetter == 0x7F)
        inout_strText += {'\\', 'x', s_acHexDigits[in_ucLetter >> 4], s_acHexDigits[in_ucLetter & 0xF]};
    else
        inout_strText += static_cast<char>(in_ucLetter);
}

char toLower(char in_cLetter)
{
    return in_cLetter >= 'A' && in_cLetter <= 'Z' ? static_cast<char>(in_cLetter - 'A' + 'a') : in_cLetter;
}

bool startsWith(std::string_view in_strText, std::string_view in_strStart)
{
    return in_strText.size() >= in_strStart.size() &&
           std::equal(in_strStart.begin(), in_strStart.end(), in_strText.begin(),
                      [](char in_cLeft, char in_cRight) { return toLower(in_cLeft) == toLower(in_cRight); });
}

std::string twoDigits(unsigned long in_uiValue)
{
    const std::string strDigits = std::to_string(in_uiValue);
    return std::string(strDigits.size() < 2 ? 2 - strDigits.size() : 0, '0') + strDigits;
}

} // namespace

std::string printable(std::string_view in_strText)
{
    std::string strText;
    for (const char cLetter : in_strText)
        appendPrintable(strText, static_cast<unsigned char>(cLetter));
    return strText;
}

std::string inQuotes(std::string_view in_strText)
{
    std::string strText = "'";
    strText += printable(in_strText);
    strText += '\'';
    return strText;
}

std::string joined(const std::vector<std::string>& in_vTexts)
{
    std::string strText;
    for (const std::string& strPart : in_vTexts) {
        if (!strText.empty())
            strText += ", ";
        strText += strPart;
    }
    return strText;
}

std::size_t editDistance(std::string_view in_strLeft, std::string_view in_strRight)
{
    std::vector<std::size_t> vBeforeLast(in_strRight.size() + 1);
    std::vector<std::size_t> vLast(in_strRight.size() + 1);
    std::vector<std::size_t> vRow(in_strRight.size() + 1);
    for (std::size_t uiRight = 0; uiRight <= in_strRight.size(); ++uiRight)
        vLast[uiRight] = uiRight;
    for (std::size_t uiLeft = 1; uiLeft <= in_strLeft.size(); ++uiLeft) {
        vRow[0] = uiLeft;
        for (std::size_t uiRight = 1; uiRight <= in_strRight.size(); ++uiRight) {
            const char cLeft = toLower(in_strLeft[uiLeft - 1]);
            const char cRight = toLower(in_strRight[uiRight - 1]);
            vRow[uiRight] = std::min({vLast[uiRight] + 1, vRow[uiRight - 1] + 1,
                                      vLast[uiRight - 1] + static_cast<std::size_t>(cLeft != cRight)});
            if (uiLeft > 1 && uiRight > 1 && cLeft == toLower(in_strRight[uiRight - 2]) &&
                cRight == toLower(in_strLeft[uiLeft - 2]))
                vRow[uiRight] = std::min(vRow[uiRight], vBeforeLast[uiRight - 2] + 1);
        }
        std::swap(vBeforeLast, vLast);
        std::swap(vLast, vRow);
    }
    return vLast.back();
}

std::vector<std::string> nearestNames(std::string_view in_strWord, const std::vector<std::string>& in_vNames)
{
    constexpr std::size_t uiMaxNames = 3;
    constexpr std::size_t uiLongestWord = 64; // a longer one is no slip of the fingers, and the cost is a product
    if (in_strWord.empty() || in_strWord.size() > uiLongestWord)
        return {};
    // A third of the letters may be wrong; the beginning of a name is always near.
    const std::size_t uiFarthest = std::max<std::size_t>(1, in_strWord.size() / 3);
    std::vector<std::pair<std::size_t, std::string>> vNear;
    for (const std::string& strName : in_vNames) {
        const auto [uiShort, uiLong] = std::minmax({in_strWord.size(), strName.size()});
        if (uiLong - uiShort > uiFarthest) { // so is the distance, which is that number where one begins the other
            if (in_strWord.size() >= 3 && startsWith(strName, in_strWord))
                vNear.emplace_back(uiFarthest + uiLong - uiShort, strName);
            continue;
        }
        const std::size_t uiDistance = editDistance(in_strWord, strName);
        if (uiDistance <= uiFarthest)
            vNear.emplace_back(uiDistance, strName);
    }
    std::stable_sort(vNear.begin(), vNear.end(),
                     [](const auto& in_left, const auto& in_right) { return in_left.first < in_right.first; });
    std::vector<std::string> vNames;
    for (std::size_t uiIndex = 0; uiIndex < std::min(vNear.size(), uiMaxNames); ++uiIndex)
        vNames.push_back(vNear[uiIndex].second);
    return vNames;
}

std::string didYouMean(const std::vector<std::string>& in_vNames)
{
    return in_vNames.empty() ? std::string() : "; did you mean " + joined(in_vNames) + "?";
}

std::string counted(unsigned long in_uiCount, std::string_view in_strSingular)
{
    return std::to_string(in_uiCount) + " " + std::string(in_strSingular) + (in_uiCount == 1 ? "" : "s");
}

std::string durationText(double in_dSeconds)
{
    if (!(in_dSeconds < 1e12)) // nor for what is not a number
        return "unknown";
    if (in_dSeconds < 60.0)
        return toShortestText(std::round(in_dSeconds * 1000.0) / 1000.0) + " s";
    const auto uiSeconds = static_cast<unsigned long>(in_dSeconds + 0.5);
    if (uiSeconds < 3600)
        return std::to_string(uiSeconds / 60) + " min " + twoDigits(uiSeconds % 60) + " s";
    return std::to_string(uiSeconds / 3600) + " h " + twoDigits(uiSeconds / 60 % 60) + " min";
}

std::string fixedText(double in_dValue, int in_iNbOfDigits)
{
    char acText[400]; // the largest double has 309 digits before the point
    const std::to_chars_result result =
        std::to_chars(acText, acText + sizeof acText, in_dValue, std::chars_format::fixed, in_iNbOfDigits);
    return std::string(acText, result.ptr);
}

} // namespace Corvana::Tools
