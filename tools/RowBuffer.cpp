// SPDX-License-Identifier: Apache-2.0
#include "tools/RowBuffer.h"

#include "tools/Text.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <unistd.h>
#include <utility>

namespace Corvana::Tools {
namespace {

constexpr std::size_t s_uiMinCapacity = 4096;

} // namespace

RowMemory::Block RowMemory::take()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_vBlocks.empty())
        return {};
    Block block = std::move(m_vBlocks.back());
    m_vBlocks.pop_back();
    return block;
}

void RowMemory::giveBack(Block in_block)
{
    if (in_block.m_pText == nullptr)
        return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    try {
        m_vBlocks.push_back(std::move(in_block));
    } catch (const std::bad_alloc&) {
        // then it goes back to the system
    }
}

RowBuffer::RowBuffer(std::size_t in_uiMaxInMemory, std::string in_strFolder, RowMemory& inout_memory,
                     const std::atomic<bool>& in_bStopped)
    : m_uiMaxInMemory(in_uiMaxInMemory)
    , m_strFolder(std::move(in_strFolder))
    , m_memory(inout_memory)
    , m_bStopped(in_bStopped)
    , m_block(m_memory.take())
{
}

RowBuffer::~RowBuffer()
{
    m_memory.giveBack(std::move(m_block));
    if (m_iFile >= 0)
        close(m_iFile);
}

RowBuffer::int_type RowBuffer::overflow(int_type in_iLetter)
{
    if (traits_type::eq_int_type(in_iLetter, traits_type::eof()))
        return traits_type::not_eof(in_iLetter);
    const char cLetter = traits_type::to_char_type(in_iLetter);
    return xsputn(&cLetter, 1) == 1 ? in_iLetter : traits_type::eof();
}

std::streamsize RowBuffer::xsputn(const char* in_pBegin, std::streamsize in_iLength)
try {
    const auto uiLength = static_cast<std::size_t>(in_iLength);
    if (m_bStopped || m_iError != 0 || !makeRoom(uiLength))
        return 0;
    if (uiLength > m_block.m_uiSize - m_uiSize)
        return writeOut(in_pBegin, uiLength) ? in_iLength : 0;
    std::copy_n(in_pBegin, uiLength, m_block.m_pText.get() + m_uiSize); // nothing from nowhere is fine, too
    m_uiSize += uiLength;
    return in_iLength;
} catch (const std::bad_alloc&) {
    m_iError = ENOMEM; // a stream would keep the exception to itself
    return 0;
}

// Afterwards there is room, or none is needed since what comes is more than memory may hold.
bool RowBuffer::makeRoom(std::size_t in_uiNbOfBytes)
{
    if (in_uiNbOfBytes <= m_block.m_uiSize - m_uiSize)
        return true;
    if (in_uiNbOfBytes <= m_uiMaxInMemory - m_uiSize) {
        grow(std::min(m_uiMaxInMemory, std::max({s_uiMinCapacity, 2 * m_block.m_uiSize, m_uiSize + in_uiNbOfBytes})));
        return true;
    }
    return writeOut(m_block.m_pText.get(), std::exchange(m_uiSize, 0));
}

void RowBuffer::grow(std::size_t in_uiCapacity)
{
    auto pText = std::make_unique_for_overwrite<char[]>(in_uiCapacity);
    std::copy_n(m_block.m_pText.get(), m_uiSize, pText.get());
    m_block = {std::move(pText), in_uiCapacity};
}

bool RowBuffer::openFile()
{
    m_iFile = open(m_strFolder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (m_iFile >= 0)
        return true;
    // Not every file system has files without a name.
    std::string strName = m_strFolder + "/.corvana-XXXXXX";
    m_iFile = mkostemp(strName.data(), O_CLOEXEC);
    if (m_iFile >= 0)
        unlink(strName.c_str());
    return m_iFile >= 0;
}

bool RowBuffer::writeOut(const char* in_pBegin, std::size_t in_uiLength)
{
    if (m_iFile < 0 && !openFile()) {
        m_iError = errno;
        return false;
    }
    while (in_uiLength > 0) {
        const ssize_t iWritten = write(m_iFile, in_pBegin, in_uiLength);
        if (iWritten < 0 && errno != EINTR) {
            m_iError = errno;
            return false;
        }
        const std::size_t uiWritten = iWritten < 0 ? 0 : static_cast<std::size_t>(iWritten);
        in_pBegin += uiWritten;
        in_uiLength -= uiWritten;
    }
    return true;
}

bool RowBuffer::copyTo(std::ostream& out_stream)
{
    if (m_iError != 0 || (m_iFile >= 0 && !copyFile(out_stream)))
        return false;
    out_stream.write(m_block.m_pText.get(), static_cast<std::streamsize>(m_uiSize));
    return true;
}

bool RowBuffer::copyFile(std::ostream& out_stream)
{
    constexpr std::size_t uiPiece = 65536;
    const auto pPiece = std::make_unique_for_overwrite<char[]>(uiPiece);
    off_t iOffset = 0;
    while (out_stream.good()) {
        const ssize_t iRead = pread(m_iFile, pPiece.get(), uiPiece, iOffset);
        if (iRead == 0)
            break;
        if (iRead < 0 && errno == EINTR)
            continue;
        if (iRead < 0) {
            m_iError = errno;
            return false;
        }
        out_stream.write(pPiece.get(), iRead);
        iOffset += iRead;
    }
    return true;
}

std::string RowBuffer::getFault() const
{
    return m_iError == 0
               ? std::string()
               : "rows that wait for their turn, in " + printable(m_strFolder) + ": " + std::strerror(m_iError);
}

} // namespace Corvana::Tools
