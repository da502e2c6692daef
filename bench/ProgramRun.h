// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace Corvana::Bench {

/// Of the processor, user and system.
inline double seconds(const rusage& in_usage)
{
    const auto of = [](const timeval& in_time) {
        return static_cast<double>(in_time.tv_sec) + 1e-6 * static_cast<double>(in_time.tv_usec);
    };
    return of(in_usage.ru_utime) + of(in_usage.ru_stime);
}

/// Runs a program, which the first argument names, and returns its seconds(). Negative when it failed.
inline double runProgram(std::vector<std::string> in_vArguments)
{
    std::vector<char*> vpArguments;
    for (std::string& strArgument : in_vArguments)
        vpArguments.push_back(strArgument.data());
    vpArguments.push_back(nullptr);
    pid_t pid = 0;
    int iStatus = 0;
    rusage usage = {};
    if (posix_spawn(&pid, vpArguments[0], nullptr, nullptr, vpArguments.data(), environ) != 0 ||
        wait4(pid, &iStatus, 0, &usage) != pid || iStatus != 0)
        return -1.0;
    return seconds(usage);
}

} // namespace Corvana::Bench
