// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// Reads a text that anyone may have written line by line, with no more memory than the longest line may take.
class LineReader
{
public:
    LineReader(std::istream& inout_stream, std::size_t in_uiMaxBytes);

    /// The next line without its end. False: there is none; isTooLong() and hasTornEnd() tell why.
    bool next(std::string& out_strLine);

    /// Counted from 1, of the line that next() gave or stopped at.
    std::uint64_t getNumber() const { return m_uiNumber; }
    /// Bytes of all lines that were given, with their ends.
    std::uint64_t getNbOfBytes() const { return m_uiNbOfBytes; }
    bool isTooLong() const { return m_bTooLong; }
    /// The last line has no end.
    bool hasTornEnd() const { return m_bTornEnd; }

private:
    bool fill();

    std::istream& m_stream;
    const std::size_t m_uiMaxBytes;
    std::vector<char> m_vBuffer;
    std::size_t m_uiBegin = 0;
    std::size_t m_uiEnd = 0;
    std::uint64_t m_uiNumber = 0;
    std::uint64_t m_uiNbOfBytes = 0;
    bool m_bTooLong = false;
    bool m_bTornEnd = false;
};

} // namespace Corvana::Tools
