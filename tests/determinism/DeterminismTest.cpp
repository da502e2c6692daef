// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathSimd.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

namespace Corvana {
namespace {

using Hashes = std::map<std::string, std::map<std::string, std::string>>; // by family and road
using Math::Simd;

// Lines "FAMILY ROAD HASH NUMBER"; what begins with "#" is a comment.
void readHashes(const std::string& in_strPath, Hashes& inout_hashes)
{
    std::ifstream file(in_strPath);
    for (std::string strLine; std::getline(file, strLine);) {
        std::istringstream words(strLine);
        std::string strFamily;
        std::string strRoad;
        std::string strHash;
        std::string strNumber;
        if (!strLine.starts_with("#") && words >> strFamily >> strRoad >> strHash >> strNumber)
            inout_hashes[strFamily][strRoad] = strHash + " of " + strNumber;
    }
}

Hashes committedHashes()
{
    Hashes hashes;
    readHashes(CORVANA_SOURCE_DIR "/tests/determinism/hashes.txt", hashes);
    return hashes;
}

// Command and Python module are spared for all but the instruction set that the process chooses by itself.
Hashes computeHashes()
{
    const Test::TempDir folder;
    Hashes hashes;
    for (const Simd simd : {Simd::PORTABLE, Simd::BASELINE, Simd::AVX2, Simd::AVX512}) {
        if (!Math::isSimdSupported(simd))
            continue;
        const Test::ScopedEnvironment environment("CORVANA_SIMD", Math::getSimdName(simd));
        const std::string strOutput = folder.file(Math::getSimdName(simd));
        const char* const szPrograms =
            simd == Math::getSimd() ? "'" CORVANA_PROGRAM "' \"" CORVANA_PYTHON_ROAD "\"" : "";
        EXPECT_EQ(0, std::system(("'" CORVANA_DETERMINISM "' " + (szPrograms + (" >'" + strOutput + "'"))).c_str()));
        readHashes(strOutput, hashes);
    }
    return hashes;
}

const Hashes& hashes()
{
    static const Hashes hashes = computeHashes();
    return hashes;
}

std::string hashOf(const Hashes& in_hashes, const std::string& in_strFamily)
{
    const auto itFamily = in_hashes.find(in_strFamily);
    return itFamily == in_hashes.end() ? "none" : itFamily->second.begin()->second;
}

TEST(Determinism, EveryRoadAndInstructionSetGivesTheSameBits)
{
    for (const char* szFamily : {"libm", "unnamed", "exact", "sine", "power", "logarithm"}) {
        ASSERT_TRUE(hashes().contains(szFamily));
        for (const auto& [strRoad, strHash] : hashes().at(szFamily))
            EXPECT_EQ(hashOf(hashes(), szFamily), strHash) << szFamily << " " << strRoad;
    }
}

TEST(Determinism, ComparesLibraryAndCommand)
{
    const std::string strSimd = std::string("-") + Math::getSimdName();
    for (const char* szRoad : {"file", "push", "computer", "saved-computer", "computer-of-several", "command",
                               "command-in-8-jobs", "threads", "command-on-each", "command-by-windows"})
        EXPECT_TRUE(hashes().at("exact").contains(szRoad + strSimd)) << szRoad;
}

TEST(Determinism, ComparesThePythonModule)
{
    if (std::string(CORVANA_PYTHON_ROAD).empty())
        GTEST_SKIP() << "the Python module is not built";
    for (const char* szRoad : {"python", "python-samples"})
        EXPECT_TRUE(hashes().at("exact").contains(std::string(szRoad) + "-" + Math::getSimdName())) << szRoad;
}

TEST(Determinism, WhatAsksNoMathLibraryIsTheSameEverywhere)
{
    const Hashes committed = committedHashes();
    EXPECT_EQ(hashOf(committed, "exact"), hashOf(hashes(), "exact"));
    EXPECT_EQ(hashOf(committed, "unnamed"), hashOf(hashes(), "unnamed"));
}

// Another C library, or the same one on a processor without fused multiply-add, may round sin, cos, pow and log
// differently: then these values have nothing to be compared with.
TEST(Determinism, WhatAsksTheMathLibraryIsTheSameWhereThatGivesTheSame)
{
    const Hashes committed = committedHashes();
    ASSERT_NE("none", hashOf(committed, "libm"));
    if (hashOf(committed, "libm") != hashOf(hashes(), "libm"))
        GTEST_SKIP() << "this machine's sin, cos, pow and log are not those of tests/determinism/hashes.txt";
    for (const char* szFamily : {"sine", "power", "logarithm"})
        EXPECT_EQ(hashOf(committed, szFamily), hashOf(hashes(), szFamily)) << szFamily;
}

} // namespace
} // namespace Corvana
