// SPDX-License-Identifier: Apache-2.0
#include "support/Signals.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <vector>

// An edit of a recording that is killed before any of its system calls, or in which one fails: the recording is the
// whole old file or the whole new one, and the next edit works and cleans up.

namespace Corvana::Test {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

std::string contentsOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

/// A system call of the edit, by its name and the number of that name's calls so far.
struct Call
{
    std::string m_strName;
    unsigned m_uiNumber;
    std::string m_strText;
};

class AnnotationFaultsTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (shell("strace -o /dev/null true") != 0)
            GTEST_SKIP() << "strace is not installed, or nothing may be traced here";
        writeSoundFile(m_strFile, noise(400), 8000, WAV_PCM16);
        m_strOld = contentsOf(m_strFile);
        ASSERT_EQ(edit(), 0) << errors();
        m_strNew = contentsOf(m_strFile);
        ASSERT_EQ(edit(), 0) << errors();
        m_strNewer = contentsOf(m_strFile);
        ASSERT_NE(m_strOld, m_strNew);
        ASSERT_NE(m_strNew, m_strNewer);
        restore();
    }

    static std::size_t strideOf(std::size_t in_uiOrdinary);

    // Runs a command in the folder above that of the recording; a signal gives a negative number.
    int shell(const std::string& in_strCommand) const
    {
        // Leak detection traces its own process, which can be traced once.
        const std::string strAll =
            "cd '" + m_dir.path() + "' && { ASAN_OPTIONS=detect_leaks=0 " + in_strCommand + "; } >out 2>errors";
        const int iStatus = std::system(strAll.c_str());
        if (!WIFEXITED(iStatus))
            return -WTERMSIG(iStatus);
        return WEXITSTATUS(iStatus) > 128 ? 128 - WEXITSTATUS(iStatus) : WEXITSTATUS(iStatus);
    }
    int edit(const std::string& in_strTracer = "") const
    {
        return shell(in_strTracer + " '" CORVANA_PROGRAM "' annotations add folder/a.wav VOICE 0.01 0.02");
    }
    // Edits with faults such as "read:error=EIO:when=3".
    int editWith(const std::vector<std::string>& in_vFaults) const
    {
        std::string strTracer = "strace -f -qq -o /dev/null";
        for (const std::string& strFault : in_vFaults)
            strTracer += " -e inject=" + strFault;
        return edit(strTracer);
    }
    std::string errors() const { return contentsOf(m_dir.file("errors")); }

    void restore() const { std::ofstream(m_strFile, std::ios::binary | std::ios::trunc) << m_strOld; }
    std::vector<std::string> names() const
    {
        std::vector<std::string> vNames;
        for (const auto& entry : std::filesystem::directory_iterator(m_dir.file("folder")))
            vNames.push_back(entry.path().filename());
        return vNames;
    }

    // The calls of the main thread from the first that concerns the recording to the end.
    std::vector<Call> trace() const
    {
        EXPECT_EQ(edit("strace -f -qq -s 200 -o trace -e signal=none"), 0) << errors();
        restore();
        std::ifstream stream(m_dir.file("trace"));
        std::map<std::string, unsigned> numbers;
        std::vector<Call> vCalls;
        std::string strMainThread;
        for (std::string strLine; std::getline(stream, strLine);) {
            const std::string strThread = strLine.substr(0, strLine.find(' '));
            if (strMainThread.empty())
                strMainThread = strThread;
            const std::size_t uiName = strLine.find_first_not_of(' ', strThread.size());
            const std::size_t uiEnd = strLine.find('(');
            if (strThread != strMainThread || uiEnd == std::string::npos || strLine[uiName] == '<' ||
                strLine[uiName] == '+')
                continue;
            const std::string strName = strLine.substr(uiName, uiEnd - uiName);
            const unsigned uiNumber = ++numbers[strName];
            const bool bConcerns = strName != "execve" && strLine.find("a.wav") != std::string::npos;
            if (!vCalls.empty() || bConcerns)
                vCalls.push_back({strName, uiNumber, strLine.substr(uiName)});
        }
        EXPECT_FALSE(vCalls.empty());
        return vCalls;
    }

    // The recording is whole, and the next edit goes on from it and leaves nothing else in the folder.
    void expectWholeAndEditable(const std::string& in_strWhat)
    {
        const std::string strFound = contentsOf(m_strFile);
        EXPECT_TRUE(strFound == m_strOld || strFound == m_strNew) << in_strWhat;
        EXPECT_EQ(edit(), 0) << in_strWhat << errors();
        EXPECT_TRUE(contentsOf(m_strFile) == (strFound == m_strOld ? m_strNew : m_strNewer)) << in_strWhat;
        EXPECT_THAT(names(), ElementsAre("a.wav")) << in_strWhat;
        restore();
    }

    TempDir m_dir;
    const bool m_bFolderMade = std::filesystem::create_directory(m_dir.file("folder"));
    const std::string m_strFile = m_dir.file("folder/a.wav");
    std::string m_strOld;
    std::string m_strNew;
    std::string m_strNewer;
};

TEST_F(AnnotationFaultsTest, LeavesTheOldOrTheNewFileWhenItIsKilled)
{
    // The last calls, among them those that swap the names, are always there.
    constexpr std::size_t uiNbOfLast = 12;
    const std::vector<Call> vCalls = trace();
    bool bAnyOld = false;
    bool bAnyNew = false;
    for (std::size_t uiIndex = 0; uiIndex < vCalls.size(); ++uiIndex) {
        if (uiIndex % strideOf(9) != 0 && uiIndex + uiNbOfLast < vCalls.size())
            continue;
        const Call& call = vCalls[uiIndex];
        const int iResult = editWith({call.m_strName + ":signal=KILL:when=" + std::to_string(call.m_uiNumber)});
        // The number of calls that get memory or wait for a thread differs from run to run.
        EXPECT_TRUE(iResult == -SIGKILL || iResult == 0) << call.m_strText;
        bAnyOld = bAnyOld || contentsOf(m_strFile) == m_strOld;
        bAnyNew = bAnyNew || contentsOf(m_strFile) == m_strNew;
        expectWholeAndEditable("killed before " + call.m_strText);
    }
    EXPECT_TRUE(bAnyOld && bAnyNew);
}

TEST_F(AnnotationFaultsTest, LeavesNoCopyWhenASignalEndsIt)
{
    const std::vector<Call> vCalls = trace();
    unsigned uiNbOfEnded = 0;
    for (std::size_t uiIndex = 0; uiIndex < vCalls.size(); uiIndex += strideOf(9)) {
        const Call& call = vCalls[uiIndex];
        const int iResult = editWith({call.m_strName + ":signal=TERM:when=" + std::to_string(call.m_uiNumber)});
        uiNbOfEnded += iResult == -SIGTERM ? 1 : 0;
        EXPECT_THAT(names(), ElementsAre("a.wav")) << call.m_strText;
        expectWholeAndEditable("ended before " + call.m_strText);
    }
    EXPECT_GT(uiNbOfEnded, vCalls.size() / strideOf(9) / 2);
}

// How many calls to go on by, in the ordinary test run; in the long one, every call has its turn.
std::size_t AnnotationFaultsTest::strideOf(std::size_t in_uiOrdinary)
{
    const char* szAll = std::getenv("CORVANA_ALL_FAULTS");
    return szAll != nullptr && *szAll != '\0' ? 1 : in_uiOrdinary;
}

// What an error means depends on when it comes.
class AnnotationErrorTest : public AnnotationFaultsTest, public testing::WithParamInterface<const char*>
{
protected:
    static bool isReadOrWritten(const Call& in_call)
    {
        static const std::vector<std::string> s_vNames = {"read",  "pread64",   "write",  "pwrite64", "writev",
                                                          "fsync", "renameat2", "rename", "truncate", "ftruncate"};
        return std::find(s_vNames.begin(), s_vNames.end(), in_call.m_strName) != s_vNames.end();
    }

    int editWithError(const Call& in_call) const
    {
        return editWith(
            {in_call.m_strName + ":error=" + std::string(GetParam()) + ":when=" + std::to_string(in_call.m_uiNumber)});
    }
};

TEST_P(AnnotationErrorTest, OfReadingOrWritingLeavesTheOldFileAndIsTold)
{
    bool bReported = false; // the result is written behind all that matters
    std::size_t uiRead = 0;
    for (const Call& call : trace()) {
        if (!isReadOrWritten(call) || (call.m_strName == "read" && uiRead++ % strideOf(4) != 0))
            continue;
        bReported = bReported || call.m_strText.find("1 added") != std::string::npos;
        EXPECT_THAT(editWithError(call), AnyOf(1, 2)) << call.m_strText;
        EXPECT_TRUE(bReported || !errors().empty()) << call.m_strText;
        EXPECT_TRUE(contentsOf(m_strFile) == (bReported ? m_strNew : m_strOld)) << call.m_strText;
        EXPECT_THAT(names(), ElementsAre("a.wav")) << call.m_strText;
        expectWholeAndEditable(call.m_strText);
    }
    EXPECT_TRUE(bReported);
}

TEST_P(AnnotationErrorTest, OfAnyOtherCallLeavesAWholeFile)
{
    std::size_t uiCall = 0;
    for (const Call& call : trace()) {
        static const std::vector<std::string> s_vNames = {"openat",     "close",    "lseek",     "fchmod",
                                                          "newfstatat", "flock",    "unlink",    "utimensat",
                                                          "flistxattr", "readlink", "getdents64"};
        if (std::find(s_vNames.begin(), s_vNames.end(), call.m_strName) == s_vNames.end() ||
            uiCall++ % strideOf(7) != 0)
            continue;
        const int iResult = editWithError(call);
        EXPECT_THAT(iResult, AnyOf(0, 1, 2)) << call.m_strText;
        EXPECT_TRUE(iResult != 0 || contentsOf(m_strFile) == m_strNew) << call.m_strText;
        expectWholeAndEditable(call.m_strText);
    }
}

INSTANTIATE_TEST_SUITE_P(EachCall, AnnotationErrorTest, testing::Values("EIO", "ENOSPC"));

// What file systems cannot do.

TEST_F(AnnotationFaultsTest, EditsWhereNothingCanBeLocked)
{
    EXPECT_EQ(editWith({"flock:error=ENOLCK"}), 0) << errors();
    EXPECT_TRUE(contentsOf(m_strFile) == m_strNew);
    EXPECT_THAT(names(), ElementsAre("a.wav"));
}

TEST_F(AnnotationFaultsTest, RenamesWhereNamesCannotBeSwapped)
{
    EXPECT_EQ(editWith({"renameat2:error=EINVAL"}), 0) << errors();
    EXPECT_TRUE(contentsOf(m_strFile) == m_strNew);
    EXPECT_THAT(names(), ElementsAre("a.wav"));
}

TEST_F(AnnotationFaultsTest, LeavesTheOldFileWhenItCannotBeRenamedEither)
{
    EXPECT_EQ(editWith({"renameat2:error=EINVAL", "rename:error=EIO"}), 1);
    EXPECT_THAT(errors(), HasSubstr("could not replace it, Input/output error"));
    EXPECT_TRUE(contentsOf(m_strFile) == m_strOld);
    EXPECT_THAT(names(), ElementsAre("a.wav"));
}

TEST_F(AnnotationFaultsTest, SaysThatTheNewFileIsThereWhenItsFolderFailsAfterARename)
{
    EXPECT_EQ(editWith({"renameat2:error=EINVAL", "fsync:error=EIO:when=2"}), 1);
    EXPECT_THAT(errors(), HasSubstr("could not write its folder to the disk, Input/output error; its name stands for "
                                    "the new file already"));
    EXPECT_TRUE(contentsOf(m_strFile) == m_strNew);
}

TEST_F(AnnotationFaultsTest, TakesTheNewFileBackWhenItsFolderFails)
{
    EXPECT_EQ(editWith({"fsync:error=EIO:when=2"}), 1);
    EXPECT_THAT(errors(), HasSubstr("could not write its folder to the disk, Input/output error\n"));
    EXPECT_TRUE(contentsOf(m_strFile) == m_strOld);
    EXPECT_THAT(names(), ElementsAre("a.wav"));
}

// An edit that is stopped when its copy is on the disk: it has looked at the file for the last time, and goes on to
// swap the names. Meanwhile another program, which knows nothing of locks, gives the name to another file.
class ReplacedMeanwhile : public AnnotationFaultsTest
{
protected:
    int editWhileReplaced(const std::vector<std::string>& in_vFaults)
    {
        std::string strTracer = "strace -f -qq -o stopped -e trace=fsync,renameat2 -e inject=fsync:signal=STOP:when=1";
        for (const std::string& strFault : in_vFaults)
            strTracer += " -e inject=" + strFault;
        int iResult = 0;
        std::thread editor([&] { iResult = edit(strTracer); });
        const std::string strStopped = waitFor("stopped by SIGSTOP");
        m_dir.write("other", m_strOther);
        std::filesystem::rename(m_dir.file("other"), m_strFile);
        kill(static_cast<pid_t>(std::stol(strStopped)), SIGCONT);
        editor.join();
        return iResult;
    }

    // The line of the trace that says so; it begins with the process.
    std::string waitFor(const std::string& in_strText) const
    {
        for (;;) {
            std::ifstream stream(m_dir.file("stopped"));
            for (std::string strLine; std::getline(stream, strLine);)
                if (strLine.find(in_strText) != std::string::npos)
                    return strLine;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    const std::string m_strOther = "what the other program wrote";
};

TEST_F(ReplacedMeanwhile, IsLeftToTheOtherProgram)
{
    EXPECT_EQ(editWhileReplaced({}), 1);
    EXPECT_THAT(errors(), HasSubstr("another program replaced it\n"));
    EXPECT_EQ(contentsOf(m_strFile), m_strOther);
    EXPECT_THAT(names(), ElementsAre("a.wav"));
}

TEST_F(ReplacedMeanwhile, KeepsTheOtherProgramsFileWhenTheNamesCannotBeSwappedBack)
{
    EXPECT_EQ(editWhileReplaced({"renameat2:error=EIO:when=2"}), 1);
    EXPECT_THAT(errors(), HasSubstr("another program replaced it; its name stands for the new file already\n"));
    EXPECT_TRUE(contentsOf(m_strFile) == m_strNew);
    std::vector<std::string> vOthers;
    for (const std::string& strName : names())
        if (strName != "a.wav")
            vOthers.push_back(contentsOf(m_dir.file("folder/" + strName)));
    EXPECT_THAT(vOthers, ElementsAre(m_strOther));
}

TEST_F(AnnotationFaultsTest, SucceedsAndWarnsWhenTheOldFileCannotBeRemoved)
{
    EXPECT_EQ(editWith({"unlink:error=EIO"}), 0);
    EXPECT_THAT(errors(), HasSubstr("Could not remove the former file, Input/output error"));
    EXPECT_TRUE(contentsOf(m_strFile) == m_strNew);
    EXPECT_THAT(names(), SizeIs(2));
    expectWholeAndEditable("leftover");
}

} // namespace
} // namespace Corvana::Test
