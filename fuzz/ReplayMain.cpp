// SPDX-License-Identifier: Apache-2.0
// Runs a fuzz target over its corpus without a fuzzer, as a test: the empty input, then every file of the folders
// named on the command line. A target that finds something wrong stops the program; the last line tells the file.
#include "FuzzSupport.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

void replay(const std::uint8_t* in_pData, std::size_t in_uiSize, const char* in_szName)
{
    std::fprintf(stderr, "%s\n", in_szName);
    LLVMFuzzerTestOneInput(in_pData, in_uiSize);
}

bool replayFile(const std::filesystem::path& in_path)
{
    std::ifstream stream(in_path, std::ios::binary);
    if (!stream) {
        std::fprintf(stderr, "cannot read %s\n", in_path.c_str());
        return false;
    }
    const std::vector<char> vBytes{std::istreambuf_iterator<char>(stream), {}};
    replay(reinterpret_cast<const std::uint8_t*>(vBytes.data()), vBytes.size(), in_path.c_str());
    return true;
}

std::vector<std::filesystem::path> filesIn(const char* in_szFolder)
{
    std::vector<std::filesystem::path> vPaths;
    std::error_code error;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(in_szFolder, error))
        if (entry.is_regular_file())
            vPaths.push_back(entry.path());
    std::sort(vPaths.begin(), vPaths.end());
    return vPaths;
}

} // namespace

int main(int in_iNbOfArguments, char** in_aszArguments)
{
    constexpr std::uint8_t uiNothing = 0;
    replay(&uiNothing, 0, "the empty input");
    std::size_t uiNbOfFiles = 0;
    for (int iArgument = 1; iArgument < in_iNbOfArguments; ++iArgument) {
        for (const auto& path : filesIn(in_aszArguments[iArgument])) {
            if (!replayFile(path))
                return 1;
            ++uiNbOfFiles;
        }
    }
    std::fprintf(stderr, "%zu files replayed\n", uiNbOfFiles);
    return uiNbOfFiles > 0 ? 0 : 1; // a corpus that was not found must not look like a passed test
}
