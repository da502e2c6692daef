// SPDX-License-Identifier: Apache-2.0
// A run that another one can go on with, and the joining of parts, with each system call that fails or is the last one:
// what comes out in the end is what comes out of undisturbed runs. All calls with CORVANA_ALL_FAULTS in the
// environment, else the first of each kind.
#include "TracedCommand.h"
#include "support/ChunkBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <ostream>
#include <set>

namespace Corvana::Test {
namespace {

bool isThorough()
{
    const char* szAll = std::getenv("CORVANA_ALL_FAULTS");
    return szAll != nullptr && *szAll != '\0';
}

std::string recording(std::size_t in_uiNbOfSamples)
{
    return riff(fmtChunk() + dataChunk(audioBytes(2 * in_uiNbOfSamples)));
}

/// A command that writes tables, and a former table of the same name where there is one.
struct TableCommand
{
    std::string m_strName;
    std::vector<std::string> m_vArguments;
    int m_iCode; ///< of an undisturbed run
};

std::ostream& operator<<(std::ostream& out_stream, const TableCommand& in_command)
{
    return out_stream << in_command.m_strName;
}

std::vector<TableCommand> commands()
{
    const std::vector<std::string> vInputs = {"@/a.wav", "@/none.wav", "@/b.wav", "@/c.wav"};
    const auto with = [&](std::vector<std::string> in_vArguments) {
        in_vArguments.insert(in_vArguments.end(), vInputs.begin(), vInputs.end());
        return in_vArguments;
    };
    return {{"Numbers",
             with({"features", "--resume", "--format", "npy", "--failures", "@/failed.csv", "-o", "@/t.npy"}), 1},
            {"Threads", with({"features", "--resume", "--jobs", "2", "--sidecar", "-o", "@/t.csv"}), 1},
            {"Merge", {"merge", "@/t.npy", "@/part-2.npy", "@/part-1.npy"}, 0}};
}

// With two parts of a table of numbers.
const TracedCommand::Files& files()
{
    static const TracedCommand::Files s_files = [] {
        TracedCommand::Files files{
            {"a.wav", recording(1000)}, {"b.wav", recording(3000)}, {"c.wav", recording(2000)}, {"t.csv", "former\n"}};
        for (const char* szShard : {"1", "2"})
            files = TracedCommand({"features", "--format", "npy", "--shard", std::string(szShard) + "/2", "-o",
                                   "@/part-" + std::string(szShard) + ".npy", "folder/a.wav", "folder/b.wav"},
                                  files)
                        .run()
                        .m_files;
        return files;
    }();
    return s_files;
}

class ResumeFaultsTest : public testing::TestWithParam<TableCommand>
{
protected:
    void SetUp() override
    {
        if (!TracedCommand::isPossible())
            GTEST_SKIP() << "strace is not installed, or nothing may be traced here";
        m_pCommand = std::make_unique<TracedCommand>(GetParam().m_vArguments, files());
        m_expected = m_pCommand->run();
        ASSERT_EQ(m_expected.m_iCode, GetParam().m_iCode) << m_expected.m_strMessages;
        for (const auto& [strName, strBytes] : m_expected.m_files)
            ASSERT_FALSE(isOnlyForAnotherRun(strName)) << strName;
        m_pCommand->restoreFiles();
    }

    static bool isOnlyForAnotherRun(const std::string& in_strName)
    {
        return in_strName.ends_with(".partial") || in_strName.ends_with(".journal");
    }

    static bool isTemporary(const std::string& in_strName) { return in_strName.find(".corvana-") != std::string::npos; }

    std::vector<Call> calls()
    {
        std::vector<Call> vCalls;
        std::set<std::string> kinds;
        for (const Call& call : m_pCommand->trace()) {
            if (call.m_strText.find("F_GETFD") != std::string::npos || call.m_strText.find("(2<") != std::string::npos)
                continue; // has no way to fail, or to tell it
            const std::size_t uiPath = call.m_strText.find("folder");
            const std::size_t uiEnd = call.m_strText.find_first_of("\">", uiPath);
            const std::string strWhat =
                uiPath == std::string::npos ? "" : call.m_strText.substr(uiPath, uiEnd - uiPath);
            if (kinds.insert(call.m_strName + strWhat).second || isThorough())
                vCalls.push_back(call);
        }
        m_pCommand->restoreFiles();
        return vCalls;
    }

    // Under each final name is what was there before, or all of it.
    void expectNothingHalfWritten(const RunResult& in_run) const
    {
        for (const auto& [strName, strBytes] : in_run.m_files) {
            if (isTemporary(strName) || isOnlyForAnotherRun(strName))
                continue;
            const auto itOld = files().find(strName);
            const auto itNew = m_expected.m_files.find(strName);
            EXPECT_TRUE((itOld != files().end() && strBytes == itOld->second) ||
                        (itNew != m_expected.m_files.end() && strBytes == itNew->second))
                << strName << " with " << strBytes.size() << " bytes is neither old nor new";
        }
    }

    void expectThatAnotherRunCompletesIt()
    {
        const RunResult run = m_pCommand->run();
        EXPECT_EQ(run.m_iCode, m_expected.m_iCode) << run.m_strMessages;
        TracedCommand::Files found = run.m_files;
        std::erase_if(found, [](const auto& in_file) { return isTemporary(in_file.first); });
        EXPECT_EQ(found, m_expected.m_files) << run.m_strMessages;
        m_pCommand->restoreFiles();
    }

    std::unique_ptr<TracedCommand> m_pCommand;
    RunResult m_expected;
};

TEST_P(ResumeFaultsTest, IsCompletedByAnotherRunWhereverItIsKilled)
{
    unsigned uiNbOfKills = 0;
    for (const Call& call : calls()) {
        SCOPED_TRACE(call.m_strText);
        const RunResult run =
            m_pCommand->runWith(call.m_strName + ":signal=KILL:when=" + std::to_string(call.m_uiNumber));
        uiNbOfKills += run.m_iCode == -SIGKILL ? 1 : 0;
        expectNothingHalfWritten(run);
        expectThatAnotherRunCompletesIt();
    }
    EXPECT_GT(uiNbOfKills, 20U);
}

TEST_P(ResumeFaultsTest, TellsACallThatFailsAndIsCompletedByAnotherRun)
{
    unsigned uiNbOfFaults = 0;
    for (const Call& call : calls()) {
        if (call.m_strText.find(".wav") != std::string::npos)
            continue; // such a recording fails, which the table tells of; another run does not read it again
        SCOPED_TRACE(call.m_strText);
        const RunResult run =
            m_pCommand->runWith(call.m_strName + ":error=EIO:when=" + std::to_string(call.m_uiNumber));
        uiNbOfFaults += run.m_iCode == 2 ? 1 : 0;
        EXPECT_TRUE(run.m_iCode == 2 || run.m_iCode == m_expected.m_iCode) << run.m_iCode << run.m_strMessages;
        EXPECT_EQ(run.m_strMessages.find("corvana: "), 0U) << run.m_strMessages;
        expectNothingHalfWritten(run);
        expectThatAnotherRunCompletesIt();
    }
    EXPECT_GT(uiNbOfFaults, 5U);
}

TEST_P(ResumeFaultsTest, GoesOnWhenItIsInterrupted)
{
    for (const char* szName : {"write", "read", "pread64"}) {
        const std::vector<Call> vCalls = m_pCommand->trace();
        m_pCommand->restoreFiles();
        const auto itFirst = std::find_if(vCalls.begin(), vCalls.end(),
                                          [&](const Call& in_call) { return in_call.m_strName == szName; });
        if (itFirst == vCalls.end())
            continue;
        SCOPED_TRACE(itFirst->m_strText);
        const RunResult run = m_pCommand->runWith(std::string(szName) +
                                                  ":error=EINTR:when=" + std::to_string(itFirst->m_uiNumber) + "+2");
        EXPECT_EQ(run.m_iCode, m_expected.m_iCode) << run.m_strMessages;
        EXPECT_TRUE(run.m_files == m_expected.m_files) << run.m_strMessages;
        m_pCommand->restoreFiles();
    }
}

INSTANTIATE_TEST_SUITE_P(Of, ResumeFaultsTest, testing::ValuesIn(commands()),
                         [](const auto& in_info) { return in_info.param.m_strName; });

TEST(Journal, GoesOnWhenItsWritingIsInterrupted)
{
    if (!TracedCommand::isPossible())
        GTEST_SKIP() << "strace is not installed, or nothing may be traced here";
    const std::vector<std::string> vArguments = {"features", "--resume", "--jobs", "1", "-o", "@/r.csv", "@/a.wav"};
    TracedCommand command(vArguments, files());
    const RunResult whole = command.run();
    command.restoreFiles();
    const RunResult run = command.runWithIn("write:error=EINTR:when=1+2", {"r.csv.journal"});
    EXPECT_TRUE(run.m_bInjected);
    EXPECT_EQ(run.m_iCode, 0) << run.m_strMessages;
    EXPECT_TRUE(run.m_files == whole.m_files);
}

// At the second time as well: what was right when it was looked at is read again when it is copied.
TEST(Merge, TellsWhichPartTheSystemDoesNotLetBeRead)
{
    if (!TracedCommand::isPossible())
        GTEST_SKIP() << "strace is not installed, or nothing may be traced here";
    TracedCommand command({"merge", "@/t.npy", "@/part-1.npy", "@/part-2.npy"}, files());
    for (const char* szName : {"part-1.npy", "part-1.times.npy", "part-2.npy.json"}) {
        unsigned uiNbOfFaults = 0;
        for (unsigned uiNumber = 1; uiNumber <= 4; ++uiNumber) {
            SCOPED_TRACE(szName + (" " + std::to_string(uiNumber)));
            command.restoreFiles();
            const RunResult run = command.runWithIn("read:error=EIO:when=" + std::to_string(uiNumber), {szName});
            if (!run.m_bInjected)
                continue;
            ++uiNbOfFaults;
            EXPECT_EQ(run.m_iCode, 2);
            EXPECT_TRUE(run.m_strMessages.starts_with("corvana: " + command.folder() + "/" + szName + ": "))
                << run.m_strMessages;
            EXPECT_TRUE(run.m_files == files()) << "writes something";
        }
        EXPECT_GE(uiNbOfFaults, 2U) << szName;
    }
}

// Values, times, description and failures, each with a temporary name where there are no files without one.
TEST(SeveralFiles, LeaveNothingWhenTheRunIsToldToStop)
{
    if (!TracedCommand::isPossible())
        GTEST_SKIP() << "strace is not installed, or nothing may be traced here";
    TracedCommand command({"features", "--format", "npy", "--failures", "@/failed.csv", "-o", "@/n.npy", "@/a.wav"},
                          files());
    const std::string strNoPathOfDescriptors = "access:error=ENOENT";
    const RunResult whole = command.runWith(strNoPathOfDescriptors);
    ASSERT_EQ(whole.m_iCode, 0) << whole.m_strMessages;
    ASSERT_TRUE(whole.m_files.contains("n.times.npy"));
    for (const char* szCall : {"fdatasync:signal=TERM:when=1", "fdatasync:signal=TERM:when=3",
                               "rename:signal=TERM:when=1", "rename:signal=TERM:when=3"}) {
        SCOPED_TRACE(szCall);
        command.restoreFiles();
        const RunResult run = command.runWith(strNoPathOfDescriptors, szCall);
        EXPECT_EQ(run.m_iCode, -SIGTERM) << run.m_strMessages;
        for (const auto& [strName, strBytes] : run.m_files)
            EXPECT_TRUE(files().contains(strName) || whole.m_files.at(strName) == strBytes) << strName;
    }
}

} // namespace
} // namespace Corvana::Test
