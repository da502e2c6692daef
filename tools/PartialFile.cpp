// SPDX-License-Identifier: Apache-2.0
#include "tools/PartialFile.h"

#include "tools/LockedFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Corvana::Tools {

std::string PartialFile::nameFor(const std::string& in_strTarget)
{
    return in_strTarget + ".partial";
}

bool PartialFile::open(const std::string& in_strTarget, unsigned in_uiMode)
{
    m_strTarget = in_strTarget;
    m_strName = nameFor(in_strTarget);
    m_iDescriptor = openLocked(m_strName, in_uiMode);
    return m_iDescriptor >= 0 && fchmod(m_iDescriptor, in_uiMode) == 0;
}

bool PartialFile::getSize(std::uint64_t& out_uiNbOfBytes) const
{
    struct stat status = {};
    if (fstat(m_iDescriptor, &status) != 0)
        return false;
    out_uiNbOfBytes = static_cast<std::uint64_t>(status.st_size);
    return true;
}

bool PartialFile::cutTo(std::uint64_t in_uiNbOfBytes)
{
    const auto iSize = static_cast<off_t>(in_uiNbOfBytes);
    return ftruncate(m_iDescriptor, iSize) == 0 && lseek(m_iDescriptor, iSize, SEEK_SET) == iSize;
}

bool PartialFile::replace()
{
    // Keeps the lock beyond closing: a network file system may tell only there that there was no room.
    const int iCopy = fcntl(m_iDescriptor, F_DUPFD_CLOEXEC, 3);
    const bool bDone = iCopy >= 0 && fsync(m_iDescriptor) == 0 && ::close(std::exchange(m_iDescriptor, -1)) == 0 &&
                       rename(m_strName.c_str(), m_strTarget.c_str()) == 0;
    const int iError = errno;
    if (iCopy >= 0)
        ::close(iCopy);
    if (!bDone)
        close();
    errno = iError;
    return bDone;
}

void PartialFile::close()
{
    if (m_iDescriptor >= 0)
        ::close(m_iDescriptor);
    m_iDescriptor = -1;
}

void PartialFile::remove()
{
    if (m_iDescriptor >= 0)
        unlink(m_strName.c_str());
    close();
}

} // namespace Corvana::Tools
