// SPDX-License-Identifier: Apache-2.0
#include "tools/ValidText.h"

#include <algorithm>
#include <cstdint>

namespace Corvana::Tools {
namespace {

constexpr const char* s_szReplacement = "\uFFFD";

// The bytes of the character that begins here, or 0 for what is none: neither shorter forms than needed, nor
// surrogates, nor what lies beyond Unicode.
std::size_t sizeOfCharacter(std::string_view in_strText, std::uint32_t& out_uiCharacter)
{
    const auto byteAt = [&](std::size_t in_uiByte) { return static_cast<unsigned char>(in_strText[in_uiByte]); };
    const unsigned char ucFirst = byteAt(0);
    out_uiCharacter = ucFirst;
    if (ucFirst < 0x80U)
        return 1;
    const std::size_t uiSize = ucFirst >= 0xF0U ? 4 : ucFirst >= 0xE0U ? 3 : 2;
    if (ucFirst < 0xC2U || ucFirst > 0xF4U || in_strText.size() < uiSize)
        return 0;
    out_uiCharacter = ucFirst & (0x7FU >> uiSize);
    for (std::size_t uiByte = 1; uiByte < uiSize; ++uiByte) {
        if ((byteAt(uiByte) & 0xC0U) != 0x80U)
            return 0;
        out_uiCharacter = out_uiCharacter << 6U | (byteAt(uiByte) & 0x3FU);
    }
    constexpr std::uint32_t auiLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool bSurrogate = out_uiCharacter >= 0xD800 && out_uiCharacter <= 0xDFFF;
    return out_uiCharacter < auiLeast[uiSize] || bSurrogate || out_uiCharacter > 0x10FFFF ? 0 : uiSize;
}

bool steersText(std::uint32_t in_uiCharacter)
{
    return (in_uiCharacter >= 0x80 && in_uiCharacter < 0xA0) || in_uiCharacter == 0x2028 || in_uiCharacter == 0x2029;
}

} // namespace

std::string validText(std::string_view in_strText)
{
    std::string strText;
    while (!in_strText.empty()) {
        std::uint32_t uiCharacter = 0;
        const std::size_t uiSize = sizeOfCharacter(in_strText, uiCharacter);
        if (uiSize == 0 || steersText(uiCharacter))
            strText += s_szReplacement;
        else
            strText += in_strText.substr(0, uiSize);
        in_strText.remove_prefix(std::max(std::size_t{1}, uiSize));
    }
    return strText;
}

} // namespace Corvana::Tools
