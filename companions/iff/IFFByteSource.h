// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <vector>

namespace Corvana::IFF {

/// The bytes of a stream from its present position to its end, in order. Works on the stream's buffer, so that the
/// stream's state stays as it is until the end of a file is known to be right or wrong.
class ByteSource
{
public:
    static constexpr std::uint64_t s_uiUnknown = UINT64_MAX;

    explicit ByteSource(std::istream& inout_stream);

    /// Bytes taken so far.
    std::uint64_t position() const { return m_uiPosition; }
    /// What position() will be at the end; s_uiUnknown for a stream that cannot tell.
    std::uint64_t end() const { return m_uiEnd; }
    /// The stream broke: what came is not all there is.
    bool hasFailed() const { return m_bFailed; }

    /// The next byte, which is not taken; negative at the end.
    int peek();
    /// Takes bytes; fewer than asked for at the end.
    std::size_t take(std::uint8_t* out_pBytes, std::size_t in_uiCount);
    /// Appends bytes; false: the end came before. Memory grows with what is really there, not with the count.
    bool appendTo(std::vector<std::uint8_t>& inout_vBytes, std::uint64_t in_uiCount);
    /// Passes over bytes; returns how many there were.
    std::uint64_t skip(std::uint64_t in_uiCount);

private:
    void findEnd();
    std::uint64_t readOver(std::uint64_t in_uiCount);

    std::streambuf& m_buffer;
    std::uint64_t m_uiPosition = 0;
    std::uint64_t m_uiEnd = s_uiUnknown;
    bool m_bFailed = false;
};

} // namespace Corvana::IFF
