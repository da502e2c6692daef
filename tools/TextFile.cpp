// SPDX-License-Identifier: Apache-2.0
#include "tools/TextFile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

namespace Corvana::Tools {

std::string readTextFile(const std::string& in_strPath, std::size_t in_uiMaxBytes, std::string& out_strText)
{
    const std::string strPath = in_strPath == "-" ? "/dev/stdin" : in_strPath;
    std::error_code error;
    if (std::filesystem::is_directory(strPath, error))
        return "is a folder";
    errno = 0;
    std::ifstream stream(strPath, std::ios::binary);
    if (!stream)
        return std::string("cannot be read, ") + std::strerror(errno);
    out_strText.clear();
    std::vector<char> vPart(std::size_t{1} << 16U);
    // Its size is not asked for: a pipe has none.
    while (stream.read(vPart.data(), static_cast<std::streamsize>(vPart.size())) || stream.gcount() > 0) {
        out_strText.append(vPart.data(), static_cast<std::size_t>(stream.gcount()));
        if (out_strText.size() > in_uiMaxBytes)
            return "is longer than " + std::to_string(in_uiMaxBytes) + " bytes";
    }
    return stream.bad() ? std::string("cannot be read, ") + std::strerror(errno) : std::string();
}

} // namespace Corvana::Tools
