// SPDX-License-Identifier: Apache-2.0
#include "support/SystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <map>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

namespace Corvana::Test {

std::string SystemCalls::s_strAttributes;
long SystemCalls::s_iSecondsLater = 0;
bool SystemCalls::s_bClones = false;
bool SystemCalls::s_bOtherDisk = false;

namespace {

bool s_bInAction = false;

// Made on first use: the C library is used before anything else.
std::map<std::string, SystemCalls::Action, std::less<>>& actions()
{
    static auto* const s_pActions = new std::map<std::string, SystemCalls::Action, std::less<>>;
    return *s_pActions;
}

bool isFailing(const char* in_szName, const char* in_szText = nullptr)
{
    if (s_bInAction || actions().empty())
        return false;
    const auto it = actions().find(in_szName);
    if (it == actions().end())
        return false;
    s_bInAction = true;
    const int iError = it->second(in_szText);
    s_bInAction = false;
    errno = iError == 0 ? errno : iError;
    return iError != 0;
}

template <class FunctionT>
FunctionT* real(FunctionT*, const char* in_szName)
{
    return reinterpret_cast<FunctionT*>(dlsym(RTLD_NEXT, in_szName));
}

} // namespace

SystemCalls::SystemCalls(const std::string& in_strName, Action in_action)
    : m_strName(in_strName)
{
    actions()[in_strName] = std::move(in_action);
}

SystemCalls::SystemCalls(const std::string& in_strName, int in_iError, unsigned in_uiFirst, unsigned in_uiCount)
    : SystemCalls(in_strName, [in_iError, in_uiFirst, in_uiCount, uiCall = 0U](const char*) mutable {
        ++uiCall;
        return uiCall >= in_uiFirst && uiCall - in_uiFirst < in_uiCount ? in_iError : 0;
    })
{
}

SystemCalls::~SystemCalls()
{
    actions().erase(m_strName);
}

} // namespace Corvana::Test

using Corvana::Test::isFailing;
using Corvana::Test::real;
using Corvana::Test::SystemCalls;

extern "C" {

int flock(int in_iFile, int in_iOperation) noexcept
{
    return isFailing("flock") ? -1 : real(&flock, "flock")(in_iFile, in_iOperation);
}

int fsync(int in_iFile)
{
    return isFailing("fsync") ? -1 : real(&fsync, "fsync")(in_iFile);
}

int fstat(int in_iFile, struct stat* out_pStatus) noexcept
{
    return isFailing("fstat") ? -1 : real(&fstat, "fstat")(in_iFile, out_pStatus);
}

int lstat(const char* in_szPath, struct stat* out_pStatus) noexcept
{
    if (isFailing("lstat", in_szPath))
        return -1;
    const int iResult = real(&lstat, "lstat")(in_szPath, out_pStatus);
    out_pStatus->st_dev += SystemCalls::s_bOtherDisk ? 1 : 0;
    return iResult;
}

int open(const char* in_szPath, int in_iFlags, ...)
{
    std::va_list arguments;
    va_start(arguments, in_iFlags);
    const mode_t mode = (in_iFlags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return isFailing("open", in_szPath) ? -1 : real(&open, "open")(in_szPath, in_iFlags, mode);
}

ssize_t read(int in_iFile, void* out_pBytes, size_t in_uiCount)
{
    return isFailing("read") ? -1 : real(&read, "read")(in_iFile, out_pBytes, in_uiCount);
}

ssize_t write(int in_iFile, const void* in_pBytes, size_t in_uiCount)
{
    return isFailing("write") ? -1 : real(&write, "write")(in_iFile, in_pBytes, in_uiCount);
}

ssize_t pread(int in_iFile, void* out_pBytes, size_t in_uiCount, off_t in_iOffset)
{
    return isFailing("pread") ? -1 : real(&pread, "pread")(in_iFile, out_pBytes, in_uiCount, in_iOffset);
}

// The descriptor is gone all the same, as Linux does it.
int close(int in_iFile)
{
    const bool bFailing = isFailing("close");
    const int iError = errno;
    const int iResult = real(&close, "close")(in_iFile);
    errno = bFailing ? iError : errno;
    return bFailing ? -1 : iResult;
}

int rename(const char* in_szFrom, const char* in_szTo) noexcept
{
    return isFailing("rename", in_szFrom) ? -1 : real(&rename, "rename")(in_szFrom, in_szTo);
}

int renameat2(int in_iFrom, const char* in_szFrom, int in_iTo, const char* in_szTo, unsigned in_uiFlags) noexcept
{
    return isFailing("renameat2", in_szFrom)
               ? -1
               : real(&renameat2, "renameat2")(in_iFrom, in_szFrom, in_iTo, in_szTo, in_uiFlags);
}

int unlink(const char* in_szPath) noexcept
{
    return isFailing("unlink", in_szPath) ? -1 : real(&unlink, "unlink")(in_szPath);
}

int ioctl(int in_iFile, unsigned long in_uiRequest, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, in_uiRequest);
    void* pArgument = va_arg(arguments, void*);
    va_end(arguments);
    if (in_uiRequest != FICLONE || !SystemCalls::s_bClones)
        return isFailing("ioctl") ? -1 : real(&ioctl, "ioctl")(in_iFile, in_uiRequest, pArgument);
    const int iFrom = static_cast<int>(reinterpret_cast<std::intptr_t>(pArgument));
    off_t iOffset = 0;
    while (sendfile(in_iFile, iFrom, &iOffset, 1 << 20) > 0) {
    }
    return 0;
}

long pathconf(const char* in_szPath, int in_iName) noexcept
{
    return isFailing("pathconf", in_szPath) ? -1 : real(&pathconf, "pathconf")(in_szPath, in_iName);
}

int clock_gettime(clockid_t in_clock, struct timespec* out_pTime) noexcept
{
    const int iResult = real(&clock_gettime, "clock_gettime")(in_clock, out_pTime);
    out_pTime->tv_sec += SystemCalls::s_iSecondsLater;
    return iResult;
}

int fchmod(int in_iFile, mode_t in_mode) noexcept
{
    return isFailing("fchmod") ? -1 : real(&fchmod, "fchmod")(in_iFile, in_mode);
}

ssize_t flistxattr(int in_iFile, char* out_szNames, size_t in_uiSize) noexcept
{
    if (isFailing("flistxattr"))
        return -1;
    const std::string& strNames = SystemCalls::s_strAttributes;
    if (strNames.empty())
        return real(&flistxattr, "flistxattr")(in_iFile, out_szNames, in_uiSize);
    if (out_szNames != nullptr)
        std::memcpy(out_szNames, strNames.data(), std::min(in_uiSize, strNames.size()));
    return static_cast<ssize_t>(strNames.size());
}

ssize_t fgetxattr(int in_iFile, const char* in_szName, void* out_pValue, size_t in_uiSize) noexcept
{
    return isFailing("fgetxattr", in_szName)
               ? -1
               : real(&fgetxattr, "fgetxattr")(in_iFile, in_szName, out_pValue, in_uiSize);
}

int fsetxattr(int in_iFile, const char* in_szName, const void* in_pValue, size_t in_uiSize, int in_iFlags) noexcept
{
    return isFailing("fsetxattr", in_szName)
               ? -1
               : real(&fsetxattr, "fsetxattr")(in_iFile, in_szName, in_pValue, in_uiSize, in_iFlags);
}

int fremovexattr(int in_iFile, const char* in_szName) noexcept
{
    return isFailing("fremovexattr", in_szName) ? -1 : real(&fremovexattr, "fremovexattr")(in_iFile, in_szName);
}
} // extern "C"
