// SPDX-License-Identifier: Apache-2.0
#include "AudioMaskedFile.h"

#include "AudioRiffListCheck.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Corvana::Audio {
namespace {

// As much as there is, up to so many bytes; fewer with the reason in out_iError.
std::size_t readAt(int in_iDescriptor, std::uint64_t in_uiPosition, char* out_pBytes, std::size_t in_uiCount,
                   int& out_iError)
{
    std::size_t uiNbRead = 0;
    while (uiNbRead < in_uiCount) {
        const ssize_t iPiece = pread(in_iDescriptor, out_pBytes + uiNbRead, in_uiCount - uiNbRead,
                                     static_cast<off_t>(in_uiPosition + uiNbRead));
        if (iPiece < 0 && errno == EINTR)
            continue;
        if (iPiece < 0)
            out_iError = errno;
        if (iPiece <= 0)
            break;
        uiNbRead += static_cast<std::size_t>(iPiece);
    }
    return uiNbRead;
}

bool isMisleading(int in_iDescriptor, std::uint64_t in_uiLength)
{
    // Of most recordings, all that is asked for.
    std::array<char, 512> acBegin;
    int iError = 0; // libsndfile will come upon it again, and tell
    const std::size_t uiBegin =
        readAt(in_iDescriptor, 0, acBegin.data(),
               static_cast<std::size_t>(std::min<std::uint64_t>(acBegin.size(), in_uiLength)), iError);
    const auto readWithin = [&](std::uint64_t in_uiPosition, unsigned char* out_pBytes, std::size_t in_uiCount) {
        if (in_uiPosition >= in_uiLength)
            return std::size_t{0};
        const auto uiCount = static_cast<std::size_t>(std::min<std::uint64_t>(in_uiCount, in_uiLength - in_uiPosition));
        char* const pBytes = reinterpret_cast<char*>(out_pBytes);
        if (in_uiPosition + uiCount > uiBegin)
            return readAt(in_iDescriptor, in_uiPosition, pBytes, uiCount, iError);
        std::copy_n(acBegin.data() + in_uiPosition, uiCount, pBytes);
        return uiCount;
    };
    return RiffListCheck(readWithin).isMisleading();
}

MaskedFile& toFile(void* inout_pFile)
{
    return *static_cast<MaskedFile*>(inout_pFile);
}

} // namespace

std::unique_ptr<MaskedFile> MaskedFile::openWhereNeeded(const char* in_szFileName)
{
    struct stat status = {};
    if (stat(in_szFileName, &status) != 0 || !S_ISREG(status.st_mode))
        return nullptr;
    const int iDescriptor = ::open(in_szFileName, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (iDescriptor < 0)
        return nullptr;
    std::unique_ptr<MaskedFile> pFile;
    try {
        pFile.reset(new MaskedFile(iDescriptor));
    } catch (...) {
        close(iDescriptor);
        throw;
    }
    return isMisleading(iDescriptor, static_cast<std::uint64_t>(status.st_size)) ? std::move(pFile) : nullptr;
}

MaskedFile::~MaskedFile()
{
    close(m_iDescriptor);
}

SNDFILE* MaskedFile::open(SF_INFO& out_info)
{
    SF_VIRTUAL_IO functions = {&length, &seek, &read, &write, &tell};
    SNDFILE* const pFile = sf_open_virtual(&functions, SFM_READ, &out_info, this);
    m_bMasked = false;
    return pFile;
}

int MaskedFile::takeError()
{
    return std::exchange(m_iError, 0);
}

sf_count_t MaskedFile::length(void* in_pFile)
{
    struct stat status = {};
    return fstat(toFile(in_pFile).m_iDescriptor, &status) == 0 ? static_cast<sf_count_t>(status.st_size) : -1;
}

sf_count_t MaskedFile::seek(sf_count_t in_iOffset, int in_iWhence, void* inout_pFile)
{
    MaskedFile& file = toFile(inout_pFile);
    const sf_count_t iBase = in_iWhence == SEEK_SET   ? 0
                             : in_iWhence == SEEK_CUR ? file.m_iPosition
                                                      : length(inout_pFile);
    sf_count_t iPosition = 0;
    if (__builtin_add_overflow(iBase, in_iOffset, &iPosition) || iPosition < 0)
        return -1;
    return file.m_iPosition = iPosition;
}

sf_count_t MaskedFile::read(void* out_pBytes, sf_count_t in_iCount, void* inout_pFile)
{
    MaskedFile& file = toFile(inout_pFile);
    if (in_iCount <= 0)
        return 0;
    char* const pBytes = static_cast<char*>(out_pBytes);
    const sf_count_t iNbRead =
        file.m_bMasked
            ? file.readMasked(pBytes, in_iCount)
            : static_cast<sf_count_t>(readAt(file.m_iDescriptor, static_cast<std::uint64_t>(file.m_iPosition), pBytes,
                                             static_cast<std::size_t>(in_iCount), file.m_iError));
    file.m_iPosition += iNbRead;
    return iNbRead;
}

// A name may begin before these bytes, and end behind them.
sf_count_t MaskedFile::readMasked(char* out_pBytes, sf_count_t in_iCount)
{
    constexpr sf_count_t iMargin = 3;
    const sf_count_t iBefore = std::min(m_iPosition, iMargin);
    std::string strBytes(static_cast<std::size_t>(iBefore + in_iCount + iMargin), '\0');
    strBytes.resize(readAt(m_iDescriptor, static_cast<std::uint64_t>(m_iPosition - iBefore), strBytes.data(),
                           strBytes.size(), m_iError));
    for (std::size_t uiList = strBytes.find("LIST"); uiList != std::string::npos;
         uiList = strBytes.find("LIST", uiList))
        strBytes.replace(uiList, 4, "JUNK");
    const std::size_t uiBefore = std::min(static_cast<std::size_t>(iBefore), strBytes.size());
    return static_cast<sf_count_t>(strBytes.copy(out_pBytes, static_cast<std::size_t>(in_iCount), uiBefore));
}

// libsndfile asks for all functions, and never calls this one for a file that it reads.
sf_count_t MaskedFile::write(const void*, sf_count_t, void*)
{
    return 0;
}

sf_count_t MaskedFile::tell(void* in_pFile)
{
    return toFile(in_pFile).m_iPosition;
}

} // namespace Corvana::Audio
