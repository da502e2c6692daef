// SPDX-License-Identifier: Apache-2.0
#include "tools/OutputFile.h"

#include "corvana/NumberText.h"
#include "corvana/OS.h"
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

std::string folderOf(const std::string& in_strPath)
{
    const std::size_t uiSlash = in_strPath.find_last_of('/');
    return uiSlash == std::string::npos ? "." : in_strPath.substr(0, uiSlash + 1);
}

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
        inout_strPath = strTarget.starts_with('/') ? strTarget : folderOf(inout_strPath).append("/").append(strTarget);
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

    m_strTarget = in_strPath;
    if (!resolveLinks(m_strTarget))
        return discard(errno);
    struct stat status = {};
    const bool bExists = stat(m_strTarget.c_str(), &status) == 0;
    if (bExists && S_ISDIR(status.st_mode))
        return discard(EISDIR);
    if (bExists && !S_ISREG(status.st_mode))
        return openDirectly(m_strTarget);
    // Renaming would replace a write-protected file without asking.
    if (bExists && access(m_strTarget.c_str(), W_OK) != 0)
        return discard(errno);
    if (!m_temporary.make(m_strTarget, bExists ? status.st_mode & 07777U : modeOfNewFiles()))
        return discard(errno);
    startWriting(m_temporary.getDescriptor());
    return true;
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
    struct stat written = {};
    const int iResult = m_temporary.isOpen() ? stat(m_strTarget.c_str(), &written)
                        : pBuffer != nullptr ? fstat(pBuffer->getDescriptor(), &written)
                                             : -1;
    if (iResult != 0 || !S_ISREG(written.st_mode))
        return {};
    for (const std::string& strPath : in_vPaths) {
        struct stat read = {};
        if (stat(strPath.c_str(), &read) == 0 && read.st_dev == written.st_dev && read.st_ino == written.st_ino)
            return strPath;
    }
    return {};
}

bool OutputFile::commit()
{
    m_pStream->flush();
    if (!m_pStream->good())
        return discard(m_pBuffer == nullptr ? 0 : m_pBuffer->getError());
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
