// SPDX-License-Identifier: Apache-2.0
#include "tools/LockedFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

constexpr int s_iMaxTrials = 100;

// 0, or the error.
int lock(int in_iDescriptor)
{
    struct stat status = {};
    if (fstat(in_iDescriptor, &status) != 0)
        return errno;
    if (!S_ISREG(status.st_mode))
        return EEXIST;
    return flock(in_iDescriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK ? EWOULDBLOCK : 0;
}

} // namespace

int openLocked(const std::string& in_strPath, unsigned in_uiModeOfNewFile)
{
    constexpr int iFlags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    for (int iTrial = 0; iTrial < s_iMaxTrials; ++iTrial) {
        const int iDescriptor = open(in_strPath.c_str(), iFlags, in_uiModeOfNewFile);
        if (iDescriptor < 0)
            return -1;
        const int iError = lock(iDescriptor);
        if (iError == 0 && isNameOf(in_strPath, iDescriptor))
            return iDescriptor;
        close(iDescriptor);
        errno = iError;
        if (iError != 0)
            return -1;
        // Its former owner removed it between the two steps.
    }
    errno = EWOULDBLOCK;
    return -1;
}

std::string folderOf(const std::string& in_strPath)
{
    const std::size_t uiSlash = in_strPath.find_last_of('/');
    return uiSlash == std::string::npos ? "./" : in_strPath.substr(0, uiSlash + 1);
}

bool isNameOf(const std::string& in_strPath, int in_iDescriptor)
{
    struct stat named = {};
    struct stat open = {};
    return lstat(in_strPath.c_str(), &named) == 0 && fstat(in_iDescriptor, &open) == 0 && named.st_dev == open.st_dev &&
           named.st_ino == open.st_ino;
}

} // namespace Corvana::Tools
