// SPDX-License-Identifier: Apache-2.0
// Hashes what the library computes of a fixed set of recordings, on every road that leads from a file to values.
//
// corvana-determinism [COMMAND [PYTHON]]: a line for each family of values and each road, "FAMILY ROAD HASH
// NUMBER-OF-VALUES". COMMAND is the path of the corvana command, PYTHON the words of a shell that run python-road.py
// with the module in reach; the roads through what is missing or empty are left out. The first line, "libm", is the C
// library's.
#include "Roads.h"
#include "corvana/MathSimd.h"
#include "support/TempDir.h"

#include <cstdio>
#include <exception>

namespace {

using namespace Corvana::Test;

void print(const char* in_szFamily, const std::string& in_strRoad, const BitHash& in_hash)
{
    std::printf("%s %s-%s %016lx %lu\n", in_szFamily, in_strRoad.c_str(), Corvana::Math::getSimdName(), in_hash.get(),
                in_hash.getNbOfValues());
}

void printAll(const std::string& in_strProgram, const std::string& in_strPython)
{
    const TempDir folder;
    const std::vector<std::string> vPaths = writeRecordings(folder.path());
    print("libm", "itself", hashMathLibrary());
    const std::vector<BitHash> vUnnamed = hashUnnamedFeatures(vPaths);
    print("unnamed", "file", vUnnamed.at(0));
    print("unnamed", "push", vUnnamed.at(1));
    for (const Road& road : getRoads(in_strProgram, in_strPython))
        for (const Family& family : getFamilies())
            print(family.m_szName, road.m_strName, road.m_pHash(road, family, vPaths));
}

} // namespace

int main(int in_iNbOfArguments, char** in_aszArguments)
{
    try {
        for (const std::string& strName : getForgottenFeatures())
            throw std::runtime_error("no family holds " + strName);
        printAll(in_iNbOfArguments > 1 ? in_aszArguments[1] : "", in_iNbOfArguments > 2 ? in_aszArguments[2] : "");
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "corvana-determinism: %s\n", exception.what());
        return 1;
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
