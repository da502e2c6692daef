// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <limits>
#include <string>

// For programs that have SystemCalls.cpp among their own sources: it puts functions in front of the C library's. Static
// and shared libraries get them alike.

namespace Corvana::Test {

/// What happens in place of a system call of the libraries, while this exists: flock, fsync, fstat, lstat, open, read,
/// write, pread, close, rename, renameat2, unlink, ioctl, pathconf, clock_gettime, fchmod, flistxattr, fgetxattr,
/// fsetxattr and fremovexattr. One for each name at a time. Calls that the action itself makes are the system's.
class SystemCalls
{
public:
    /// Gets the path or attribute of the call, or nothing; gives the error that the call fails with, or 0: it is made.
    using Action = std::function<int(const char*)>;

    SystemCalls(const std::string& in_strName, Action in_action);
    /// From the call with this number on, counted from 1, as many fail as told.
    SystemCalls(const std::string& in_strName, int in_iError, unsigned in_uiFirst = 1,
                unsigned in_uiCount = std::numeric_limits<unsigned>::max());
    ~SystemCalls();
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;

    /// In place of the names that flistxattr() finds, each with a zero behind; empty: what it finds.
    static std::string s_strAttributes;
    /// What clock_gettime() adds.
    static long s_iSecondsLater;
    /// Whether ioctl() copies a whole file at once, as some file systems can.
    static bool s_bClones;
    /// Whether lstat() tells of another disk.
    static bool s_bOtherDisk;

private:
    const std::string m_strName;
};

} // namespace Corvana::Test
