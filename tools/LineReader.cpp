// SPDX-License-Identifier: Apache-2.0
#include "tools/LineReader.h"

#include <algorithm>

namespace Corvana::Tools {

LineReader::LineReader(std::istream& inout_stream, std::size_t in_uiMaxBytes)
    : m_stream(inout_stream)
    , m_uiMaxBytes(in_uiMaxBytes)
    , m_vBuffer(std::size_t{1} << 16U)
{
}

bool LineReader::next(std::string& out_strLine)
{
    out_strLine.clear();
    ++m_uiNumber;
    while (m_uiBegin < m_uiEnd || fill()) {
        const auto itBegin = m_vBuffer.begin() + static_cast<std::ptrdiff_t>(m_uiBegin);
        const auto itEnd = m_vBuffer.begin() + static_cast<std::ptrdiff_t>(m_uiEnd);
        const auto itLineEnd = std::find(itBegin, itEnd, '\n');
        m_bTooLong = static_cast<std::size_t>(itLineEnd - itBegin) > m_uiMaxBytes - out_strLine.size();
        if (m_bTooLong)
            return false;
        out_strLine.append(itBegin, itLineEnd);
        m_uiBegin += static_cast<std::size_t>(itLineEnd - itBegin);
        if (itLineEnd == itEnd)
            continue;
        ++m_uiBegin;
        m_uiNbOfBytes += out_strLine.size() + 1;
        return true;
    }
    m_bTornEnd = !out_strLine.empty();
    return false;
}

bool LineReader::fill()
{
    m_stream.read(m_vBuffer.data(), static_cast<std::streamsize>(m_vBuffer.size()));
    m_uiBegin = 0;
    m_uiEnd = static_cast<std::size_t>(m_stream.gcount());
    return m_uiEnd > 0;
}

} // namespace Corvana::Tools
