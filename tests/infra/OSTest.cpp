// SPDX-License-Identifier: Apache-2.0
#include "corvana/OS.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

using Corvana::strToLower;
using Corvana::OS::getCanonicalPath;
using Corvana::OS::isPathRelative;
using Corvana::OS::syncFolder;
using Corvana::Test::TempDir;

namespace {

std::string lower(std::string in_strText)
{
    strToLower(in_strText);
    return in_strText;
}

// The canonical path, or "(none)" when there is none and the variable was left alone.
std::string canonical(const std::string& in_strPath)
{
    std::string strCanonical = "former";
    const bool bDone = getCanonicalPath(in_strPath.c_str(), strCanonical);
    if (!bDone && strCanonical == "former")
        return "(none)";
    return strCanonical;
}

class ScopedCurrentPath
{
public:
    explicit ScopedCurrentPath(const std::string& in_strPath)
        : m_pathFormer(std::filesystem::current_path())
    {
        std::filesystem::current_path(in_strPath);
    }
    ~ScopedCurrentPath() { std::filesystem::current_path(m_pathFormer); }
    ScopedCurrentPath(const ScopedCurrentPath&) = delete;
    ScopedCurrentPath& operator=(const ScopedCurrentPath&) = delete;

private:
    std::filesystem::path m_pathFormer;
};

} // namespace

TEST(StrToLower, MakesCapitalsSmallAndNothingElse)
{
    EXPECT_EQ("spectrum500hz", lower("Spectrum500Hz"));
    EXPECT_EQ("abcxyz", lower("ABCXYZ"));
    EXPECT_EQ("@[`{ _-()", lower("@[`{ _-()"));
    EXPECT_EQ("", lower(""));
}

TEST(StrToLower, LeavesBytesOutsideAsciiAlone)
{
    EXPECT_EQ("\xc3\x84pfel", lower("\xc3\x84PFEL"));
    EXPECT_EQ("\xff\x80", lower("\xff\x80"));
}

TEST(StrToLower, GoesOnBehindANul)
{
    EXPECT_EQ(std::string("a\0b", 3), lower(std::string("A\0B", 3)));
}

TEST(GetCanonicalPath, EndsWithoutASlashWhetherThePathExistsOrNot)
{
    const Corvana::Test::TempDir dir;

    EXPECT_EQ(dir.path(), canonical(dir.path() + "/"));
    EXPECT_EQ(dir.path() + "/missing", canonical(dir.path() + "/missing/"));
    EXPECT_EQ(dir.path() + "/missing", canonical(dir.path() + "/missing/x/.."));
    EXPECT_EQ(dir.path(), canonical(dir.path() + "/missing/.."));
    EXPECT_EQ("/", canonical("/"));
    EXPECT_EQ("/", canonical("//"));
}

TEST(IsPathRelative, IsFalseOnlyForALeadingSlash)
{
    EXPECT_FALSE(isPathRelative("/"));
    EXPECT_FALSE(isPathRelative("/data/call.wav"));
    EXPECT_TRUE(isPathRelative("call.wav"));
    EXPECT_TRUE(isPathRelative("data/call.wav"));
    EXPECT_TRUE(isPathRelative("./call.wav"));
    EXPECT_TRUE(isPathRelative("../call.wav"));
    EXPECT_TRUE(isPathRelative("~/call.wav"));
    EXPECT_TRUE(isPathRelative(" /call.wav"));
    EXPECT_TRUE(isPathRelative(""));
}

TEST(GetCanonicalPath, ResolvesDotsAndDoubledSlashes)
{
    const TempDir dir;
    dir.write("call.wav", "");

    EXPECT_EQ(dir.file("call.wav"), canonical(dir.path() + "/./missing/..//call.wav"));
    EXPECT_EQ(dir.file("call.wav"), canonical(dir.file("call.wav")));
}

TEST(GetCanonicalPath, MakesARelativePathAbsolute)
{
    const TempDir dir;
    dir.write("call.wav", "");
    const ScopedCurrentPath current(dir.path());

    EXPECT_EQ(dir.file("call.wav"), canonical("call.wav"));
    EXPECT_EQ(dir.file("call.wav"), canonical("./call.wav"));
    EXPECT_EQ(dir.file("missing.wav"), canonical("missing.wav"));
    EXPECT_EQ(dir.path(), canonical("."));
    EXPECT_EQ(std::filesystem::path(dir.path()).parent_path().string(), canonical(".."));
}

TEST(GetCanonicalPath, FollowsSymbolicLinks)
{
    const TempDir dir;
    std::filesystem::create_directory(dir.file("real"));
    std::filesystem::create_directory_symlink(dir.file("real"), dir.file("link"));

    EXPECT_EQ(dir.file("real"), canonical(dir.file("link")));
    EXPECT_EQ(dir.file("real") + "/missing.wav", canonical(dir.file("link") + "/missing.wav"));
}

TEST(GetCanonicalPath, ResolvesDotsBehindALinkFromWhereItLeads)
{
    const TempDir dir;
    std::filesystem::create_directories(dir.file("deep/real"));
    std::filesystem::create_directory_symlink(dir.file("deep/real"), dir.file("link"));

    EXPECT_EQ(dir.file("deep"), canonical(dir.file("link") + "/.."));
}

TEST(GetCanonicalPath, SucceedsForWhatDoesNotExist)
{
    const TempDir dir;

    EXPECT_EQ(dir.file("missing/call.wav"), canonical(dir.file("missing/call.wav")));
    EXPECT_EQ(dir.file("call.wav"), canonical(dir.file("missing/../call.wav")));
}

TEST(GetCanonicalPath, KeepsBlanksAndUtf8)
{
    const TempDir dir;

    EXPECT_EQ(dir.file("a call \xc3\xbc.wav"), canonical(dir.file("a call \xc3\xbc.wav")));
}

TEST(GetCanonicalPath, StopsAtTheRoot)
{
    EXPECT_EQ("/", canonical("/"));
    EXPECT_EQ("/", canonical("/../.."));
}

TEST(GetCanonicalPath, FailsForAnEmptyPath)
{
    EXPECT_EQ("(none)", canonical(""));
}

TEST(GetCanonicalPath, FailsForALoopOfLinks)
{
    const TempDir dir;
    std::filesystem::create_symlink(dir.file("b"), dir.file("a"));
    std::filesystem::create_symlink(dir.file("a"), dir.file("b"));

    EXPECT_EQ("(none)", canonical(dir.file("a") + "/call.wav"));
}

TEST(GetCanonicalPath, FailsForANameTooLong)
{
    EXPECT_EQ("(none)", canonical("/" + std::string(300, 'x')));
}

namespace {

// In a process of its own, because it loses its current folder. Exits with 0 when the path is refused.
[[noreturn]] void resolveInARemovedFolder()
{
    char acFolder[] = "/tmp/corvana-test-XXXXXX";
    const bool bReady = mkdtemp(acFolder) != nullptr && chdir(acFolder) == 0 && rmdir(acFolder) == 0;
    std::string strCanonical = "former";
    const bool bRefused = !getCanonicalPath("call.wav", strCanonical) && strCanonical == "former";
    std::_Exit(bReady && bRefused ? 0 : 1);
}

} // namespace

TEST(GetCanonicalPathDeathTest, FailsForARelativePathInARemovedFolder)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(resolveInARemovedFolder(), testing::ExitedWithCode(0), "");
}

TEST(SyncFolder, TellsWhetherThereIsAFolder)
{
    const TempDir dir;
    EXPECT_TRUE(syncFolder(dir.path().c_str()));
    EXPECT_TRUE(syncFolder("."));
    EXPECT_FALSE(syncFolder(dir.file("none").c_str()));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(syncFolder(dir.write("file", "").c_str()));
    EXPECT_EQ(errno, ENOTDIR);
}
