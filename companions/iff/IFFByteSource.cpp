// SPDX-License-Identifier: Apache-2.0
#include "IFFByteSource.h"

#include <algorithm>
#include <exception>
#include <ios>
#include <streambuf>

namespace Corvana::IFF {
namespace {

constexpr std::uint64_t s_uiBlock = 1 << 20;

// A read error reaches callers of a buffer as an exception: of a file's as an ios_base::failure, of others as they
// like.
template <class Result, class Operation>
Result guarded(bool& inout_bFailed, Result in_onFailure, Operation in_operation)
{
    if (inout_bFailed)
        return in_onFailure;
    try {
        return in_operation();
    } catch (const std::exception&) {
        inout_bFailed = true;
        return in_onFailure;
    }
}

} // namespace

ByteSource::ByteSource(std::istream& inout_stream)
    : m_buffer(*inout_stream.rdbuf())
{
    guarded(m_bFailed, 0, [this] {
        findEnd();
        return 0;
    });
}

void ByteSource::findEnd()
{
    const std::streamoff iStart = m_buffer.pubseekoff(0, std::ios_base::cur, std::ios_base::in);
    if (iStart < 0)
        return;
    const std::streamoff iEnd = m_buffer.pubseekoff(0, std::ios_base::end, std::ios_base::in);
    m_bFailed = m_buffer.pubseekpos(iStart, std::ios_base::in) != std::streampos(iStart);
    // Files that the system makes up as they are read claim to be empty.
    if (iEnd > iStart)
        m_uiEnd = static_cast<std::uint64_t>(iEnd - iStart);
}

int ByteSource::peek()
{
    using Traits = std::char_traits<char>;
    return guarded(m_bFailed, -1, [this] {
        const Traits::int_type iByte = m_buffer.sgetc();
        return Traits::eq_int_type(iByte, Traits::eof()) ? -1 : static_cast<unsigned char>(Traits::to_char_type(iByte));
    });
}

std::size_t ByteSource::take(std::uint8_t* out_pBytes, std::size_t in_uiCount)
{
    const std::streamsize iTaken = guarded(m_bFailed, std::streamsize{0}, [&] {
        return m_buffer.sgetn(reinterpret_cast<char*>(out_pBytes), static_cast<std::streamsize>(in_uiCount));
    });
    m_uiPosition += static_cast<std::uint64_t>(iTaken);
    return static_cast<std::size_t>(iTaken);
}

bool ByteSource::appendTo(std::vector<std::uint8_t>& inout_vBytes, std::uint64_t in_uiCount)
{
    // One block of the right size where that is known: growing takes up to three times the memory.
    const std::uint64_t uiThere = m_uiEnd == s_uiUnknown ? in_uiCount : m_uiEnd - std::min(m_uiEnd, m_uiPosition);
    const std::uint64_t uiWanted = std::min(in_uiCount, uiThere);
    if (m_uiEnd != s_uiUnknown)
        inout_vBytes.reserve(inout_vBytes.size() + uiWanted);
    for (std::uint64_t uiLeft = uiWanted; uiLeft > 0;) {
        const std::size_t uiSize = inout_vBytes.size();
        const std::size_t uiBlock = std::min(uiLeft, s_uiBlock);
        inout_vBytes.resize(uiSize + uiBlock);
        const std::size_t uiTaken = take(inout_vBytes.data() + uiSize, uiBlock);
        uiLeft -= uiTaken;
        if (uiTaken == uiBlock)
            continue;
        inout_vBytes.resize(uiSize + uiTaken);
        return false;
    }
    return uiWanted == in_uiCount;
}

std::uint64_t ByteSource::skip(std::uint64_t in_uiCount)
{
    if (m_uiEnd == s_uiUnknown)
        return readOver(in_uiCount);
    const std::uint64_t uiSkipped = std::min(in_uiCount, m_uiEnd - std::min(m_uiEnd, m_uiPosition));
    const bool bThere = guarded(m_bFailed, false, [&] {
        return m_buffer.pubseekoff(static_cast<std::streamoff>(uiSkipped), std::ios_base::cur, std::ios_base::in) !=
               std::streampos(std::streamoff(-1));
    });
    if (!bThere)
        m_bFailed = true;
    m_uiPosition += uiSkipped;
    return uiSkipped;
}

std::uint64_t ByteSource::readOver(std::uint64_t in_uiCount)
{
    std::uint8_t aucBytes[4096];
    std::uint64_t uiSkipped = 0;
    while (uiSkipped < in_uiCount) {
        const std::size_t uiBlock = std::min<std::uint64_t>(in_uiCount - uiSkipped, sizeof aucBytes);
        const std::size_t uiTaken = take(aucBytes, uiBlock);
        uiSkipped += uiTaken;
        if (uiTaken < uiBlock)
            break;
    }
    return uiSkipped;
}

} // namespace Corvana::IFF
