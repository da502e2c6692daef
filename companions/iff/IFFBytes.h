// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Corvana::IFF {

/// The number at the beginning of these bytes, little-endian.
template <std::unsigned_integral T>
T littleEndian(const std::uint8_t* in_pBytes)
{
    T uiValue = 0;
    for (std::size_t uiByte = 0; uiByte < sizeof(T); ++uiByte)
        uiValue = static_cast<T>(uiValue | static_cast<T>(in_pBytes[uiByte]) << (8 * uiByte));
    return uiValue;
}

template <std::unsigned_integral T>
void appendLittleEndian(std::vector<std::uint8_t>& inout_vBytes, T in_uiValue)
{
    for (std::size_t uiByte = 0; uiByte < sizeof(T); ++uiByte)
        inout_vBytes.push_back(static_cast<std::uint8_t>(in_uiValue >> (8 * uiByte)));
}

} // namespace Corvana::IFF
