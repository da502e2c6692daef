// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Corvana::Tools {

/// Tells bytes from others that came by accident: the CRC-32 of zlib, gzip and PNG, which is fast enough for tables of
/// any size. Whoever means to deceive finds other bytes with the same one.
class Checksum
{
public:
    Checksum() = default;
    /// As it was after the bytes that it is the value for.
    explicit Checksum(std::uint64_t in_uiValue)
        : m_uiValue(in_uiValue)
    {
    }

    void add(std::string_view in_strBytes);
    std::uint64_t getValue() const { return m_uiValue; }
    /// 8 hexadecimal digits.
    std::string getText() const;
    /// False, with out untouched: these are not 8 small hexadecimal digits.
    static bool parse(std::string_view in_strText, std::uint64_t& out_uiValue);

private:
    std::uint64_t m_uiValue = 0; // of 32 bits
};

} // namespace Corvana::Tools
