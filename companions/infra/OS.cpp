// SPDX-License-Identifier: Apache-2.0
#include "corvana/OS.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace Corvana {

void strToLower(std::string& inout_strText)
{
    for (char& cLetter : inout_strText)
        if (cLetter >= 'A' && cLetter <= 'Z')
            cLetter = static_cast<char>(cLetter - 'A' + 'a');
}

namespace OS {

bool isPathRelative(const char* in_szPath)
{
    return in_szPath[0] != '/';
}

bool getCanonicalPath(const char* in_szPath, std::string& out_strPath)
{
    if (in_szPath[0] == '\0')
        return false;
    // What exists is found out at once; the long way asks for each folder of the path, and lists have a million of
    // them.
    if (const std::unique_ptr<char, decltype(&std::free)> pReal(realpath(in_szPath, nullptr), std::free); pReal) {
        out_strPath = pReal.get();
        return true;
    }
    std::error_code error;
    const std::filesystem::path pathAbsolute = std::filesystem::absolute(in_szPath, error);
    if (error)
        return false;
    const std::filesystem::path pathCanonical = std::filesystem::weakly_canonical(pathAbsolute, error);
    if (error)
        return false;
    out_strPath = pathCanonical.string();
    // What does not exist keeps the slash behind it.
    while (out_strPath.size() > 1 && out_strPath.back() == '/')
        out_strPath.pop_back();
    return true;
}

bool syncFolder(const char* in_szFolder)
{
    const int iDescriptor = open(in_szFolder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (iDescriptor < 0)
        return errno == EACCES;
    const bool bSynced = fsync(iDescriptor) == 0 || errno == EINVAL || errno == ENOTSUP;
    const int iError = errno;
    close(iDescriptor);
    errno = iError;
    return bSynced;
}

} // namespace OS
} // namespace Corvana
