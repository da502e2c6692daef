// SPDX-License-Identifier: Apache-2.0
// Several recordings at a time, with system calls and allocations that fail in each thread: which recordings they hit
// is not the same in all runs, but whatever comes out is right or told. More of them with CORVANA_ALL_FAULTS in the
// environment.
#include "TracedCommand.h"
#include "support/ChunkBuilder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <ostream>
#include <sstream>

namespace Corvana::Test {
namespace {

// So many that no thread is done with all of them before another one begins.
constexpr int s_iNbOfRecordings = 40;

bool isThorough()
{
    const char* szAll = std::getenv("CORVANA_ALL_FAULTS");
    return szAll != nullptr && *szAll != '\0';
}

std::vector<std::string> names()
{
    std::vector<std::string> vNames;
    for (int iRecording = 10; iRecording < 10 + s_iNbOfRecordings; ++iRecording)
        vNames.push_back("r" + std::to_string(iRecording) + ".wav");
    return vNames;
}

TracedCommand::Files files()
{
    TracedCommand::Files files{{"former.csv", "what was there before\n"}};
    for (const std::string& strName : names())
        files[strName] = riff(fmtChunk() + dataChunk(audioBytes(2 * 600)) + cueChunk({cuePoint(1, 100)}) +
                              adtlChunk(ltxtChunk(1, 50) + lablChunk(1, "VOICE")));
    return files;
}

/// What is done with all recordings, two at a time.
struct ThreadedCommand
{
    std::string m_strName;
    std::vector<std::string> m_vArguments;
    std::string m_strTable{}; ///< a file with the results, else they go to standard output
    bool m_bRows = true;      ///< for each recording lines of its own, with its name
};

std::ostream& operator<<(std::ostream& out_stream, const ThreadedCommand& in_command)
{
    return out_stream << in_command.m_strName;
}

std::vector<ThreadedCommand> commands()
{
    return {{"Features", {"features"}},
            {"FeaturesIntoANewFile", {"features", "-f", "silenceratio", "-o", "@/new.csv"}, "new.csv"},
            {"FeaturesOverAFormerFile", {"features", "--format", "jsonl", "-o", "@/former.csv"}, "former.csv"},
            {"List", {"annotations", "list", "--format", "csv"}},
            {"Check", {"annotations", "check"}},
            {"Stats", {"annotations", "stats"}, "", false}};
}

class ThreadFaultsTest : public testing::TestWithParam<ThreadedCommand>
{
protected:
    void SetUp() override
    {
        if (!TracedCommand::isPossible())
            GTEST_SKIP() << "strace is not installed, or nothing may be traced here";
        std::vector<std::string> vArguments = GetParam().m_vArguments;
        vArguments.insert(vArguments.end(), {"--jobs", "2"});
        for (const std::string& strName : names())
            vArguments.push_back("@/" + strName);
        m_pCommand = std::make_unique<TracedCommand>(vArguments, files());
        m_expected = m_pCommand->run();
        ASSERT_EQ(m_expected.m_iCode, 0) << m_expected.m_strMessages;
        m_pCommand->restoreFiles();
    }

    static std::string resultsOf(const RunResult& in_run)
    {
        const auto itTable = in_run.m_files.find(GetParam().m_strTable);
        return itTable == in_run.m_files.end() ? in_run.m_strData : itTable->second;
    }

    // The lines about recordings that the messages do not name, and all that may be there of the others.
    void expectRowsOfAllOthers(const RunResult& in_run) const
    {
        std::istringstream found(resultsOf(in_run));
        std::istringstream expected(resultsOf(m_expected));
        std::string strFound;
        bool bMore = static_cast<bool>(std::getline(found, strFound));
        for (std::string strLine; std::getline(expected, strLine);) {
            if (bMore && strFound == strLine) {
                bMore = static_cast<bool>(std::getline(found, strFound));
                continue;
            }
            EXPECT_TRUE(isAboutFailed(strLine, in_run)) << strLine << "\n" << in_run.m_strMessages;
        }
        EXPECT_FALSE(bMore) << strFound << "\n" << in_run.m_strMessages;
    }

    bool isAboutFailed(const std::string& in_strLine, const RunResult& in_run) const
    {
        const std::size_t uiName = in_strLine.find(m_pCommand->folder());
        const std::string strName = in_strLine.substr(uiName, in_strLine.find(".wav") - uiName);
        return uiName != std::string::npos && in_run.m_strMessages.find(strName) != std::string::npos;
    }

    void check(const RunResult& in_run)
    {
        ++m_uiNbOfRuns;
        m_uiNbOfFaults += in_run.m_iCode == 0 ? 0 : 1;
        if (in_run.m_iCode == 0)
            EXPECT_EQ(resultsOf(in_run), resultsOf(m_expected));
        else
            EXPECT_EQ(in_run.m_strMessages.find("corvana: "), 0U) << in_run.m_strMessages;
        if (in_run.m_iCode == 1 && GetParam().m_bRows)
            expectRowsOfAllOthers(in_run);
        if (in_run.m_iCode != 0 && in_run.m_iCode != 1)
            expectRefusal(in_run);
        m_pCommand->restoreFiles();
    }

    void expectRefusal(const RunResult& in_run) const
    {
        EXPECT_EQ(in_run.m_iCode, 2) << in_run.m_strMessages;
        const TracedCommand::Files before = files();
        for (const auto& [strName, strBytes] : in_run.m_files)
            EXPECT_TRUE(before.contains(strName) && before.at(strName) == strBytes) << strName;
    }

    void tell() const
    {
        if (isThorough())
            std::printf("| %s | %u | %u |\n", GetParam().m_strName.c_str(), m_uiNbOfRuns, m_uiNbOfFaults);
    }

    std::unique_ptr<TracedCommand> m_pCommand;
    RunResult m_expected;
    unsigned m_uiNbOfRuns = 0;
    unsigned m_uiNbOfFaults = 0;
};

TEST_P(ThreadFaultsTest, TellACallThatFails)
{
    for (const char* szName : {"openat", "newfstatat", "read", "lseek", "close"})
        for (const char* szError : isThorough() ? std::vector{"EIO", "EINTR", "EACCES"} : std::vector{"EIO"})
            for (const int iNumber : isThorough() ? std::vector{1, 2, 3, 4, 5, 8, 13, 21, 34, 55} : std::vector{2, 9}) {
                SCOPED_TRACE(std::string(szName) + " " + std::to_string(iNumber) + " " + szError);
                check(m_pCommand->runWithIn(
                    std::string(szName) + ":error=" + szError + ":when=" + std::to_string(iNumber), names()));
            }
    EXPECT_GT(m_uiNbOfFaults, 0U);
    tell();
}

TEST_P(ThreadFaultsTest, TellThatMemoryRunsOut)
{
    for (const bool bAllBehind : {false, true})
        for (unsigned uiNumber = 1; uiNumber < (isThorough() ? 2000 : 300); uiNumber += isThorough() ? 11 : 71) {
            SCOPED_TRACE("allocation " + std::to_string(uiNumber) + (bAllBehind ? " and all that follow" : ""));
            std::vector<std::string> vWords{"env", "LD_PRELOAD=" CORVANA_FAILING_MEMORY, "CORVANA_FAILING_THREADS=1",
                                            "CORVANA_FAILING_ALLOCATION=" + std::to_string(uiNumber)};
            if (bAllBehind)
                vWords.emplace_back("CORVANA_FAILING_ALLOCATIONS=1");
            check(m_pCommand->runBehind(vWords));
        }
    EXPECT_GT(m_uiNbOfFaults, 0U);
    tell();
}

INSTANTIATE_TEST_SUITE_P(Of, ThreadFaultsTest, testing::ValuesIn(commands()),
                         [](const auto& in_info) { return in_info.param.m_strName; });

} // namespace
} // namespace Corvana::Test
