// SPDX-License-Identifier: Apache-2.0
#include "tools/OutputFile.h"

#include "corvana/NumberText.h"
#include "corvana/OS.h"
#include "tools/LockedFile.h"
#include "tools/Text.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Corvana::Tools {
namespace {

unsigned modeOfNewFiles()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// Follows symbolic links, also to a file that does not exist yet. False, with errno: a loop.
bool resolveLinks(std::string& inout_strPath)
{
    constexpr int iMaxLinks = 40;
    for (int iLink = 0; iLink < iMaxLinks; ++iLink) {
        char acTarget[PATH_MAX];
        const ssize_t iLength = readlink(inout_strPath.c_str(), acTarget, sizeof acTarget);
        if (iLength < 0)
            return true; // not a link
        const std::string strTarget(acTarget, static_cast<std::size_t>(iLength));
        inout_strPath = strTarget.starts_with('/') ? strTarget : folderOf(inout_strPath) + strTarget;
    }
    errno = ELOOP;
    return false;
}

// The number in "/dev/fd/N" and "/proc/self/fd/N"; empty for other paths.
std::string descriptorNumber(const std::string& in_strPath)
{
    for (const char* szFolder : {"/dev/fd/", "/proc/self/fd/"})
        if (in_strPath.starts_with(szFolder))
            return in_strPath.substr(std::strlen(szFolder));
    return {};
}

} // namespace

OutputFile::OutputFile(std::ostream& out_stream)
    : m_callersStream(out_stream)
    , m_pStream(&out_stream)
{
}

OutputFile::~OutputFile()
{
    discard(0);
}

bool OutputFile::discardWith(const std::string& in_strFault)
{
    if (m_strFault.empty())
        m_strFault = in_strFault;
    return discard(0);
}

// Always false, for callers that fail.
bool OutputFile::discard(int in_iError)
{
    if (in_iError != 0 && in_iError != EPIPE && m_strFault.empty())
        m_strFault = printable(m_strPath) + ": " + std::strerror(in_iError);
    closeDescriptor();
    return false;
}

void OutputFile::stopWriting()
{
    m_pStream = &m_callersStream;
    m_pOwnStream.reset();
    m_pBuffer.reset();
}

void OutputFile::closeDescriptor()
{
    stopWriting();
    m_temporary.discard();
    m_partial.close();
    if (m_iDescriptor >= 0)
        close(m_iDescriptor);
    m_iDescriptor = -1;
}

bool OutputFile::open(const std::string& in_strPath)
{
    m_strPath = in_strPath;
    if (in_strPath.empty())
        return discardWith("the name of the output file is empty");
    if (in_strPath == "-" || in_strPath == "/dev/stdout")
        return true;
    const std::string strNumber = descriptorNumber(in_strPath);
    if (!strNumber.empty())
        return openDescriptor(strNumber);

    bool bDirect = false;
    unsigned uiMode = 0;
    if (!findTarget(bDirect, uiMode))
        return false;
    if (bDirect)
        return openDirectly(m_strTarget);
    if (!m_temporary.make(m_strTarget, uiMode))
        return discard(errno);
    startWriting(m_temporary.getDescriptor());
    return true;
}

// False, with the fault: it cannot be replaced. What is no file is written directly.
bool OutputFile::findTarget(bool& out_bDirect, unsigned& out_uiMode)
{
    m_strTarget = m_strPath;
    if (!resolveLinks(m_strTarget))
        return discard(errno);
    struct stat status = {};
    const bool bExists = stat(m_strTarget.c_str(), &status) == 0;
    if (bExists && S_ISDIR(status.st_mode))
        return discard(EISDIR);
    out_bDirect = bExists && !S_ISREG(status.st_mode);
    out_uiMode = bExists ? status.st_mode & 07777U : modeOfNewFiles();
    // Renaming would replace a write-protected file without asking.
    if (bExists && !out_bDirect && access(m_strTarget.c_str(), W_OK) != 0)
        return discard(errno);
    return true;
}

std::string OutputFile::targetOf(const std::string& in_strPath)
{
    std::string strTarget = in_strPath;
    return resolveLinks(strTarget) ? strTarget : in_strPath;
}

bool OutputFile::findResumable(const std::string& in_strPath, unsigned& out_uiMode)
{
    m_strPath = in_strPath;
    bool bDirect =
        in_strPath.empty() || in_strPath == "-" || in_strPath == "/dev/stdout" || !descriptorNumber(in_strPath).empty();
    if (!bDirect && !findTarget(bDirect, out_uiMode))
        return false;
    return !bDirect || discardWith(printable(in_strPath) + ": is no file, so no other run could go on with it");
}

bool OutputFile::canBeResumed(const std::string& in_strPath)
{
    unsigned uiMode = 0;
    return findResumable(in_strPath, uiMode);
}

bool OutputFile::openPartial(const std::string& in_strPath)
{
    unsigned uiMode = 0;
    if (!findResumable(in_strPath, uiMode))
        return false;
    if (m_partial.open(m_strTarget, uiMode))
        return true;
    if (errno == EWOULDBLOCK)
        return discardWith(printable(m_partial.getName()) + ": another run is writing it");
    return discardWith(printable(PartialFile::nameFor(m_strTarget)) + ": " + std::strerror(errno));
}

bool OutputFile::openToResume(const std::string& in_strPath, std::uint64_t in_uiNbOfBytes)
{
    std::uint64_t uiSize = 0;
    if (!openPartial(in_strPath))
        return false;
    if (!m_partial.getSize(uiSize))
        return discard(errno);
    if (uiSize < in_uiNbOfBytes)
        return discardWith(printable(m_partial.getName()) + ": holds " + std::to_string(uiSize) + " bytes instead of " +
                           std::to_string(in_uiNbOfBytes) +
                           ", so somebody else has changed it; to begin anew, remove the journal");
    if (!m_partial.cutTo(in_uiNbOfBytes))
        return discard(errno);
    startWriting(m_partial.getDescriptor());
    return true;
}

bool OutputFile::openToFinish(const std::string& in_strPath, std::uint64_t in_uiNbOfBytes)
{
    m_strPath = in_strPath;
    m_strTarget = targetOf(in_strPath);
    struct stat status = {};
    if (lstat(PartialFile::nameFor(m_strTarget).c_str(), &status) == 0)
        return openToResume(in_strPath, in_uiNbOfBytes);
    m_bFinished = stat(m_strTarget.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
                  static_cast<std::uint64_t>(status.st_size) == in_uiNbOfBytes;
    return m_bFinished ||
           discardWith(printable(m_strTarget) +
                       ": is not what the run wrote: somebody has changed or removed it; to begin anew, remove the "
                       "journal");
}

bool OutputFile::openDescriptor(const std::string& in_strNumber)
{
    unsigned long uiNumber = 0;
    if (!parseNumber(in_strNumber, uiNumber) || uiNumber > INT_MAX)
        return discard(ENOENT);
    m_iDescriptor = fcntl(static_cast<int>(uiNumber), F_DUPFD_CLOEXEC, 3);
    if (m_iDescriptor < 0)
        return discard(errno);
    startWriting(m_iDescriptor);
    return true;
}

bool OutputFile::openDirectly(const std::string& in_strPath)
{
    m_iDescriptor = ::open(in_strPath.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (m_iDescriptor < 0)
        return discard(errno);
    startWriting(m_iDescriptor);
    return true;
}

void OutputFile::startWriting(int in_iDescriptor)
{
    m_pBuffer = std::make_unique<FileDescriptorBuf>(in_iDescriptor);
    m_pOwnStream = std::make_unique<std::ostream>(m_pBuffer.get());
    m_pStream = m_pOwnStream.get();
}

std::string OutputFile::findAmong(const std::vector<std::string>& in_vPaths) const
{
    const auto* pBuffer = dynamic_cast<const FileDescriptorBuf*>(m_pStream->rdbuf());
    struct stat replaced = {};
    struct stat written = {};
    const bool bReplaces = isNamedAtLast() || m_bFinished;
    const bool bReplaced = bReplaces && stat(m_strTarget.c_str(), &replaced) == 0 && S_ISREG(replaced.st_mode);
    const bool bWritten = pBuffer != nullptr && !m_temporary.isOpen() &&
                          fstat(pBuffer->getDescriptor(), &written) == 0 && S_ISREG(written.st_mode);
    const auto isSame = [](const struct stat& in_left, const struct stat& in_right) {
        return in_left.st_dev == in_right.st_dev && in_left.st_ino == in_right.st_ino;
    };
    for (std::size_t uiPath = 0; uiPath < in_vPaths.size() && (bReplaced || bWritten); ++uiPath) {
        struct stat read = {};
        if (stat(in_vPaths[uiPath].c_str(), &read) == 0 &&
            ((bReplaced && isSame(read, replaced)) || (bWritten && isSame(read, written))))
            return in_vPaths[uiPath];
    }
    return {};
}

// False, with the fault: not all of it.
bool OutputFile::hasWritten()
{
    m_pStream->flush();
    return m_pStream->good() || discard(m_pBuffer == nullptr ? 0 : m_pBuffer->getError());
}

bool OutputFile::sync()
{
    if (!hasWritten())
        return false;
    return !isNamedAtLast() || fdatasync(m_pBuffer->getDescriptor()) == 0 || discard(errno);
}

bool OutputFile::rewriteStart(const std::string& in_strBytes)
{
    if (!hasWritten())
        return false;
    std::size_t uiDone = 0;
    while (isNamedAtLast() && uiDone < in_strBytes.size()) {
        const ssize_t iWritten = pwrite(m_pBuffer->getDescriptor(), in_strBytes.data() + uiDone,
                                        in_strBytes.size() - uiDone, static_cast<off_t>(uiDone));
        if (iWritten > 0)
            uiDone += static_cast<std::size_t>(iWritten);
        else if (iWritten == 0 || errno != EINTR)
            return discard(iWritten == 0 ? EIO : errno);
    }
    return true;
}

bool OutputFile::commit()
{
    if (!hasWritten())
        return false;
    if (m_bFinished)
        return true;
    if (m_partial.isOpen()) {
        stopWriting();
        return (m_partial.replace() && OS::syncFolder(folderOf(m_strTarget).c_str())) || discard(errno);
    }
    if (m_temporary.isOpen()) {
        stopWriting();
        return (m_temporary.replace() && OS::syncFolder(folderOf(m_strTarget).c_str())) || discard(errno);
    }
    if (m_iDescriptor < 0)
        return true;
    const int iError = close(std::exchange(m_iDescriptor, -1)) == 0 ? 0 : errno;
    closeDescriptor();
    return iError == 0 || discard(iError);
}

std::string OutputFile::getFault() const
{
    if (!m_strFault.empty() || m_pStream->good())
        return m_strFault;
    const auto* pBuffer = dynamic_cast<const FileDescriptorBuf*>(m_pStream->rdbuf());
    if (pBuffer != nullptr && pBuffer->getError() == EPIPE)
        return {};
    const std::string strName = m_strPath.empty() || m_pStream == &m_callersStream ? "standard output" : m_strPath;
    return printable(strName) + ": " +
           (pBuffer == nullptr || pBuffer->getError() == 0 ? "write failed" : std::strerror(pBuffer->getError()));
}

} // namespace Corvana::Tools
