// SPDX-License-Identifier: Apache-2.0
#include "RecordingsTest.h"
#include "support/ScopedLimit.h"
#include "tools/ExitCode.h"

#include <nlohmann/json.hpp>

namespace Corvana::Tools {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

// Recordings with regions, without, damaged and no recordings at all, in folders.
class CommandAnnotationsJobsTest : public RecordingsTest, public testing::WithParamInterface<std::vector<std::string>>
{
protected:
    CommandAnnotationsJobsTest()
    {
        std::filesystem::create_directories(m_dir.file("calls/inner"));
        for (unsigned uiFile = 0; uiFile < 40; ++uiFile) {
            const std::string strName = (uiFile % 2 == 0 ? "calls/" : "calls/inner/") + std::to_string(uiFile) + ".wav";
            if (uiFile % 10 == 7)
                m_dir.write(strName, "no recording");
            else if (uiFile % 10 == 8)
                makeFile(strName);
            else
                makeFile(strName, {{"VOICE", uiFile, 100}, {uiFile % 10 == 9 ? "no type" : "BEEP", 200, 10 * uiFile}});
        }
    }
};

TEST_P(CommandAnnotationsJobsTest, SaysTheSameForAnyNumberOfJobs)
{
    std::vector<std::string> vArguments = GetParam();
    vArguments.insert(vArguments.end(), {"-r", m_dir.file("calls"), "--jobs", "1"});
    EXPECT_EQ(annotations(vArguments), EXIT_SOME_FAILED);
    const std::string strData = m_data.str();
    const std::string strMessages = m_messages.str();
    EXPECT_THAT(strData + strMessages, HasSubstr("calls/inner/17.wav"));
    EXPECT_GT(strData.size(), 50U);
    for (const char* szNbOfJobs : {"2", "8"}) {
        vArguments.back() = szNbOfJobs;
        EXPECT_EQ(annotations(vArguments), EXIT_SOME_FAILED);
        EXPECT_EQ(m_data.str(), strData) << szNbOfJobs;
        EXPECT_EQ(m_messages.str(), strMessages) << szNbOfJobs;
    }
}

INSTANTIATE_TEST_SUITE_P(Commands, CommandAnnotationsJobsTest,
                         testing::Values(std::vector<std::string>{"stats"}, std::vector<std::string>{"check"},
                                         std::vector<std::string>{"check", "--json"}, std::vector<std::string>{"list"},
                                         std::vector<std::string>{"list", "--format", "csv"},
                                         std::vector<std::string>{"list", "--format", "json"}));

TEST_F(CommandAnnotationsJobsTest, ListsWhatFailedAndWhy)
{
    for (const char* szCommand : {"stats", "list"}) {
        const std::string strFailures = m_dir.file("failures.csv");
        EXPECT_EQ(annotations({szCommand, "-r", m_dir.file("calls"), "--failures", strFailures}), EXIT_SOME_FAILED);
        std::ifstream stream(strFailures);
        std::vector<std::string> vLines;
        for (std::string strLine; std::getline(stream, strLine);)
            vLines.push_back(strLine);
        ASSERT_EQ(vLines.size(), 9U);
        EXPECT_EQ(vLines[0], "file,reason");
        EXPECT_THAT(vLines[1], testing::StartsWith(m_dir.file("calls/inner/17.wav") + ","));
    }
}

TEST_F(CommandAnnotationsJobsTest, NeverWritesFailuresOverARecordingOrTheResults)
{
    const std::string strRecording = m_dir.file("calls/0.wav");
    const auto uiSize = std::filesystem::file_size(strRecording);
    EXPECT_EQ(annotations({"stats", strRecording, "--failures", strRecording}), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), HasSubstr("is both read and written"));
    EXPECT_EQ(std::filesystem::file_size(strRecording), uiSize);
    EXPECT_EQ(annotations({"stats", strRecording, "--failures", "-"}), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: --failures wants a file: standard output is for the results\n");
}

TEST_F(CommandAnnotationsJobsTest, TellsThatFailuresCannotBeWritten)
{
    const std::vector<std::string> vStats = {"stats", "-r", m_dir.file("calls"), "--failures"};
    const auto stats = [&](const std::string& in_strFailures) {
        std::vector<std::string> vArguments = vStats;
        vArguments.push_back(in_strFailures);
        return annotations(vArguments);
    };
    const std::string strNowhere = m_dir.file("none/failures.csv");
    EXPECT_EQ(stats(strNowhere), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: cannot write: " + strNowhere + ": No such file or directory\n");
    EXPECT_EQ(m_data.str(), "") << "before anything is read";

    const std::string strFailures = m_dir.write("failures.csv", "former");
    const Corvana::Test::ScopedLimit limit(RLIMIT_FSIZE, 10);
    EXPECT_EQ(stats(strFailures), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), EndsWith("corvana: cannot write: " + strFailures + ": File too large\n"));
    EXPECT_EQ(contentsOf(strFailures), "former");
}

TEST_F(CommandAnnotationsJobsTest, StopsAtTheFirstFailureWhenAsked)
{
    EXPECT_EQ(annotations({"stats", "-r", m_dir.file("calls"), "--fail-fast"}), EXIT_SOME_FAILED);

    EXPECT_EQ(m_data.str(), "");
    EXPECT_THAT(m_messages.str(), HasSubstr("calls/inner/17.wav"));
    EXPECT_THAT(m_messages.str(), testing::Not(HasSubstr("calls/inner/27.wav")));
    EXPECT_THAT(m_messages.str(), HasSubstr("stopped at the first recording that failed"));
}

TEST_F(CommandAnnotationsJobsTest, TellsProgramsHowFarItIs)
{
    EXPECT_EQ(annotations({"stats", "-r", m_dir.file("calls"), "--progress", "json"}), EXIT_SOME_FAILED);

    const std::string strMessages = m_messages.str();
    const nlohmann::json last = nlohmann::json::parse(strMessages.substr(strMessages.rfind('{')));
    EXPECT_EQ(last["files"], 40);
    EXPECT_EQ(last["files_done"], 40);
    EXPECT_EQ(last["files_failed"], 8);
    EXPECT_EQ(last["audio_seconds"], nlohmann::json());
    EXPECT_EQ(last["finished"], true);
}

TEST_F(CommandAnnotationsJobsTest, ListsAFolderOfOneRecordingAsSeveral)
{
    std::filesystem::create_directory(m_dir.file("one"));
    makeFile("one/a.wav", {{"BEEP", 0, 100}});

    EXPECT_EQ(annotations({"list", "--format", "json", "-r", m_dir.file("one")}), EXIT_DONE);

    EXPECT_EQ(nlohmann::json::parse(m_data.str())[0]["file"], m_dir.file("one/a.wav"));
}

} // namespace
} // namespace Corvana::Tools
