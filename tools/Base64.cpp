// SPDX-License-Identifier: Apache-2.0
#include "tools/Base64.h"

#include <cstdint>

namespace Corvana::Tools {

std::string toBase64(std::string_view in_strBytes)
{
    constexpr char acLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    constexpr std::size_t uiGroup = 3;
    std::string strText;
    strText.reserve((in_strBytes.size() + uiGroup - 1) / uiGroup * 4);
    for (std::size_t uiByte = 0; uiByte < in_strBytes.size(); uiByte += uiGroup) {
        const std::string_view strGroup = in_strBytes.substr(uiByte, uiGroup);
        std::uint32_t uiBits = 0;
        for (std::size_t uiPlace = 0; uiPlace < uiGroup; ++uiPlace)
            uiBits = uiBits << 8U | (uiPlace < strGroup.size() ? static_cast<unsigned char>(strGroup[uiPlace]) : 0U);
        for (std::size_t uiLetter = 0; uiLetter < 4; ++uiLetter)
            strText += uiLetter > strGroup.size() ? '=' : acLetters[uiBits >> (18U - 6U * uiLetter) & 0x3FU];
    }
    return strText;
}

} // namespace Corvana::Tools
