// SPDX-License-Identifier: Apache-2.0
#include "tools/NpyFormat.h"

#include <bit>
#include <limits>
#include <string_view>

namespace Corvana::Tools {
namespace {

constexpr std::string_view s_strEnding = ".npy";

std::string dictionary(const std::string& in_strType, const std::string& in_strShape)
{
    return "{'descr': " + in_strType + ", 'fortran_order': False, 'shape': (" + in_strShape + "), }";
}

// in_uiRoom: the length of the longest dictionary.
std::string header(std::string in_strDictionary, std::size_t in_uiRoom)
{
    constexpr std::size_t uiBefore = 10;
    constexpr std::size_t uiAlignment = 64;
    const std::size_t uiLength = (uiBefore + in_uiRoom + uiAlignment) / uiAlignment * uiAlignment - uiBefore;
    in_strDictionary.resize(uiLength - 1, ' ');
    std::string strHeader("\x93NUMPY\x01\x00", 8);
    strHeader += static_cast<char>(uiLength & 0xFFU);
    strHeader += static_cast<char>(uiLength >> 8U);
    return strHeader + in_strDictionary + "\n";
}

std::string dictionaryOfValues(std::uint64_t in_uiNbOfRows, std::uint64_t in_uiNbOfColumns)
{
    return dictionary("'<f8'", std::to_string(in_uiNbOfRows) + ", " + std::to_string(in_uiNbOfColumns));
}

std::string dictionaryOfTimes(std::uint64_t in_uiNbOfRows)
{
    return dictionary("[('time', '<f8'), ('file', '<i8')]", std::to_string(in_uiNbOfRows) + ",");
}

} // namespace

void appendNpy(std::string& inout_strRecord, double in_dValue)
{
    appendNpy(inout_strRecord, std::bit_cast<std::uint64_t>(in_dValue));
}

void appendNpy(std::string& inout_strRecord, std::uint64_t in_uiValue)
{
    char acBytes[s_uiNpyValueBytes];
    for (std::size_t uiByte = 0; uiByte < s_uiNpyValueBytes; ++uiByte)
        acBytes[uiByte] = static_cast<char>(in_uiValue >> (8U * uiByte) & 0xFFU);
    inout_strRecord.append(acBytes, s_uiNpyValueBytes);
}

std::string npyHeaderOfValues(std::uint64_t in_uiNbOfRows, std::uint64_t in_uiNbOfColumns)
{
    const std::uint64_t uiMost = std::numeric_limits<std::uint64_t>::max();
    return header(dictionaryOfValues(in_uiNbOfRows, in_uiNbOfColumns),
                  dictionaryOfValues(uiMost, in_uiNbOfColumns).size());
}

std::string npyHeaderOfTimes(std::uint64_t in_uiNbOfRows)
{
    const std::uint64_t uiMost = std::numeric_limits<std::uint64_t>::max();
    return header(dictionaryOfTimes(in_uiNbOfRows), dictionaryOfTimes(uiMost).size());
}

std::string npyTimesPathOf(const std::string& in_strValues)
{
    const bool bEnding = in_strValues.ends_with(s_strEnding) && in_strValues.size() > s_strEnding.size();
    return in_strValues.substr(0, in_strValues.size() - (bEnding ? s_strEnding.size() : 0)) + ".times" +
           std::string(s_strEnding);
}

} // namespace Corvana::Tools
