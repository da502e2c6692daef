// SPDX-License-Identifier: Apache-2.0
#include "tools/FileDescriptorBuf.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

constexpr std::size_t s_uiBufferSize = 1 << 16;

} // namespace

FileDescriptorBuf::FileDescriptorBuf(int in_iDescriptor)
    : m_vBuffer(s_uiBufferSize)
    , m_iDescriptor(in_iDescriptor)
{
    setp(m_vBuffer.data(), m_vBuffer.data() + m_vBuffer.size());
}

FileDescriptorBuf::~FileDescriptorBuf()
{
    writeOut();
}

bool FileDescriptorBuf::writeAll(const char* in_pBegin, std::size_t in_uiLength)
{
    while (in_uiLength > 0 && m_iError == 0) {
        const ssize_t iWritten = write(m_iDescriptor, in_pBegin, in_uiLength);
        if (iWritten > 0) {
            in_pBegin += iWritten;
            in_uiLength -= static_cast<std::size_t>(iWritten);
        } else if (iWritten == 0) {
            m_iError = EIO; // a device that takes nothing and gives no reason
        } else if (errno != EINTR) {
            m_iError = errno;
        }
    }
    return m_iError == 0;
}

bool FileDescriptorBuf::writeOut()
{
    const bool bWritten = writeAll(pbase(), static_cast<std::size_t>(pptr() - pbase()));
    setp(m_vBuffer.data(), m_vBuffer.data() + m_vBuffer.size());
    return bWritten;
}

FileDescriptorBuf::int_type FileDescriptorBuf::overflow(int_type in_iLetter)
{
    if (!writeOut())
        return traits_type::eof();
    if (!traits_type::eq_int_type(in_iLetter, traits_type::eof()))
        sputc(traits_type::to_char_type(in_iLetter));
    return traits_type::not_eof(in_iLetter);
}

std::streamsize FileDescriptorBuf::xsputn(const char* in_pBegin, std::streamsize in_iLength)
{
    if (m_iError != 0)
        return 0;
    if (in_iLength > epptr() - pptr() && !writeOut())
        return 0;
    if (in_iLength > epptr() - pptr())
        return writeAll(in_pBegin, static_cast<std::size_t>(in_iLength)) ? in_iLength : 0;
    std::copy_n(in_pBegin, in_iLength, pptr()); // nothing from nowhere is fine, too
    pbump(static_cast<int>(in_iLength));        // fits: the buffer is smaller than an int
    return in_iLength;
}

int FileDescriptorBuf::sync()
{
    return writeOut() ? 0 : -1;
}

} // namespace Corvana::Tools
