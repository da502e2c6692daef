// SPDX-License-Identifier: Apache-2.0
#include "tools/Checksum.h"

#include <zlib.h>

namespace Corvana::Tools {
namespace {

constexpr std::string_view s_strDigits = "0123456789abcdef";
constexpr std::size_t s_uiNbOfDigits = 8;

} // namespace

void Checksum::add(std::string_view in_strBytes)
{
    if (!in_strBytes.empty()) // zlib begins anew where there are none
        m_uiValue = crc32_z(m_uiValue, reinterpret_cast<const Bytef*>(in_strBytes.data()), in_strBytes.size());
}

std::string Checksum::getText() const
{
    std::string strText(s_uiNbOfDigits, '0');
    for (std::size_t uiDigit = 0; uiDigit < s_uiNbOfDigits; ++uiDigit)
        strText[uiDigit] = s_strDigits[(m_uiValue >> (4 * (s_uiNbOfDigits - 1 - uiDigit))) & 0xFU];
    return strText;
}

bool Checksum::parse(std::string_view in_strText, std::uint64_t& out_uiValue)
{
    if (in_strText.size() != s_uiNbOfDigits || in_strText.find_first_not_of(s_strDigits) != std::string_view::npos)
        return false;
    out_uiValue = 0;
    for (const char cDigit : in_strText)
        out_uiValue = out_uiValue << 4U | s_strDigits.find(cDigit);
    return true;
}

} // namespace Corvana::Tools
