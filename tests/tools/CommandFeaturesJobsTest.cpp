// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandFeatures.h"

#include "support/Signals.h"
#include "support/TempDir.h"
#include "tools/ExitCode.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string contentsOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

std::size_t linesIn(const std::string& in_strText)
{
    return static_cast<std::size_t>(std::count(in_strText.begin(), in_strText.end(), '\n'));
}

// Thirty recordings of different lengths; some fail in different ways, some warn.
class CommandFeaturesJobsTest : public testing::Test
{
protected:
    CommandFeaturesJobsTest()
    {
        for (unsigned uiFile = 0; uiFile < 30; ++uiFile)
            m_options.m_vInputs.push_back(makeInput(uiFile));
        m_options.m_vFeatures = {"spectrum500hz", "spectrum"};
        m_options.m_vFormulas = {{"level", "log(mean(x*x))"}};
    }

    std::string makeInput(unsigned in_uiFile)
    {
        const std::string strName = std::to_string(in_uiFile) + ".wav";
        if (in_uiFile % 10 == 3)
            return m_dir.write(strName, "no recording");
        if (in_uiFile % 10 == 5)
            return m_dir.file("missing-" + strName);
        const int iRate = in_uiFile == 17 ? 16000 : 8000; // other columns
        return Corvana::Test::writeSoundFile(
            m_dir.file(strName), Corvana::Test::noise(in_uiFile % 10 == 7 ? 20 : 1000 + 700 * in_uiFile), iRate);
    }

    int run(unsigned long in_uiNbOfJobs)
    {
        m_data.str("");
        m_messages.str("");
        m_options.m_uiNbOfJobs = in_uiNbOfJobs;
        return CommandFeatures::run(m_options, m_data, m_messages);
    }

    // The rows of all shards, below the header of the first.
    std::string rowsOfShards(unsigned long in_uiNbOfShards)
    {
        std::string strRows;
        for (unsigned long uiShard = 1; uiShard <= in_uiNbOfShards; ++uiShard) {
            m_options.m_shard = {uiShard, in_uiNbOfShards};
            m_options.m_strOutput = m_dir.file("part.csv");
            EXPECT_NE(run(2), EXIT_UNUSABLE);
            const std::string strPart = contentsOf(m_options.m_strOutput);
            strRows += uiShard == 1 ? strPart : strPart.substr(strPart.find('\n') + 1);
        }
        return strRows;
    }

    Corvana::Test::TempDir m_dir;
    CommandFeatures::Options m_options;
    std::ostringstream m_data;
    std::ostringstream m_messages;
};

TEST_F(CommandFeaturesJobsTest, SaysTheSameForAnyNumberOfJobs)
{
    ASSERT_EQ(run(1), EXIT_SOME_FAILED);
    const std::string strRows = m_data.str();
    const std::string strMessages = m_messages.str();
    ASSERT_GT(linesIn(strRows), 1000U);
    ASSERT_THAT(strMessages, HasSubstr("7 of 30 inputs failed"));
    ASSERT_THAT(strMessages, HasSubstr("17.wav: its 16000 Hz give other columns"));
    ASSERT_THAT(strMessages, HasSubstr("shorter than one window"));
    for (const unsigned long uiNbOfJobs : {2UL, 3UL, 8UL, 0UL}) {
        EXPECT_EQ(run(uiNbOfJobs), EXIT_SOME_FAILED);
        EXPECT_EQ(m_data.str(), strRows) << uiNbOfJobs;
        EXPECT_EQ(m_messages.str(), strMessages) << uiNbOfJobs;
    }
}

TEST_F(CommandFeaturesJobsTest, SaysTheSameInSharesOfAnyNumber)
{
    run(1);
    const std::string strRows = m_data.str();

    for (const unsigned long uiNbOfShards : {1UL, 2UL, 7UL, 30UL, 100UL})
        EXPECT_EQ(rowsOfShards(uiNbOfShards), strRows) << uiNbOfShards;
}

TEST_F(CommandFeaturesJobsTest, SettlesTheColumnsOfAShareByTheFirstRecordingOfAll)
{
    m_options.m_vInputs = {m_options.m_vInputs[3], m_options.m_vInputs[17], m_options.m_vInputs[0]};
    m_options.m_shard = {3, 3};
    m_options.m_strOutput = m_dir.file("part.csv");

    EXPECT_EQ(run(1), EXIT_SOME_FAILED);

    EXPECT_THAT(m_messages.str(),
                HasSubstr("0.wav: its 8000 Hz give other columns than the recordings before it at 16000 Hz"));
    EXPECT_EQ(linesIn(contentsOf(m_options.m_strOutput)), 1U);
}

TEST_F(CommandFeaturesJobsTest, WritesAShareWithoutInputsWithItsColumns)
{
    m_options.m_shard = {1, 100};
    m_options.m_strOutput = m_dir.file("part.csv");

    EXPECT_EQ(run(1), EXIT_DONE);

    EXPECT_THAT(contentsOf(m_options.m_strOutput), StartsWith("file,time,spectrum500hz[0],"));
    EXPECT_EQ(linesIn(contentsOf(m_options.m_strOutput)), 1U);
}

TEST_F(CommandFeaturesJobsTest, WantsFilesForShares)
{
    m_options.m_shard = {1, 2};
    EXPECT_EQ(run(1), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: --shard makes a part of a table, which needs a file: name it with -o FILE\n");
    m_options.m_strOutput = m_dir.file("part.csv");
    m_options.m_vInputs.emplace_back("-");
    EXPECT_EQ(run(1), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: --shard shares files among several runs, which standard input is not\n");
}

TEST_F(CommandFeaturesJobsTest, ListsWhatFailedAndWhy)
{
    m_options.m_strFailures = m_dir.file("failures.csv");

    EXPECT_EQ(run(2), EXIT_SOME_FAILED);

    const std::string strFailures = contentsOf(m_options.m_strFailures);
    EXPECT_EQ(linesIn(strFailures), 8U);
    EXPECT_THAT(strFailures, StartsWith("file,reason\n" + m_dir.file("3.wav") + ",\"failed to open "));
    EXPECT_THAT(strFailures, HasSubstr("\n" + m_dir.file("17.wav") + ",\"its 16000 Hz give other columns"));
}

TEST_F(CommandFeaturesJobsTest, ListsNothingWhenNothingFailed)
{
    m_options.m_strFailures = m_dir.write("failures.csv", "from a former run");
    m_options.m_vInputs.resize(3);

    EXPECT_EQ(run(2), EXIT_DONE);

    EXPECT_EQ(contentsOf(m_options.m_strFailures), "file,reason\n");
}

TEST_F(CommandFeaturesJobsTest, ListsFailuresAlsoWhenEverythingFailed)
{
    m_options.m_strFailures = m_dir.file("failures.csv");
    m_options.m_strOutput = m_dir.file("out.csv");
    m_options.m_vInputs = {m_options.m_vInputs[3], m_options.m_vInputs[5]};

    EXPECT_EQ(run(2), EXIT_SOME_FAILED);

    EXPECT_EQ(linesIn(contentsOf(m_options.m_strFailures)), 3U);
    EXPECT_FALSE(std::filesystem::exists(m_options.m_strOutput));
}

TEST_F(CommandFeaturesJobsTest, NeverWritesFailuresOverARecording)
{
    m_options.m_strFailures = m_options.m_vInputs[0];
    const std::string strSound = contentsOf(m_options.m_vInputs[0]);

    EXPECT_EQ(run(2), EXIT_UNUSABLE);

    EXPECT_THAT(m_messages.str(), HasSubstr("is both read and written"));
    EXPECT_EQ(contentsOf(m_options.m_vInputs[0]), strSound);
}

TEST_F(CommandFeaturesJobsTest, StopsAtTheFirstFailureWhenAsked)
{
    m_options.m_bFailFast = true;
    m_options.m_strOutput = m_dir.write("out.csv", "former");
    for (const unsigned long uiNbOfJobs : {1UL, 4UL}) {
        EXPECT_EQ(run(uiNbOfJobs), EXIT_SOME_FAILED);
        EXPECT_THAT(m_messages.str(), StartsWith("corvana: " + m_dir.file("3.wav") + ": failed to open"));
        EXPECT_THAT(m_messages.str(), HasSubstr("stopped at the first input that failed"));
        EXPECT_THAT(m_messages.str(), Not(HasSubstr("missing-5.wav")));
        EXPECT_EQ(contentsOf(m_options.m_strOutput), "former");
    }
}

TEST_F(CommandFeaturesJobsTest, WritesNoTableOfTheOneFailureThatStoppedIt)
{
    m_options.m_bFailFast = true;
    m_options.m_strOutput = m_dir.file("out.csv");
    m_options.m_strFailures = m_dir.write("failures.csv", "former");

    EXPECT_EQ(run(4), EXIT_SOME_FAILED);

    EXPECT_EQ(contentsOf(m_options.m_strFailures), "former");
}

TEST_F(CommandFeaturesJobsTest, EndsWhenTheRowsCannotBeWritten)
{
    m_options.m_uiNbOfJobs = 3;
    std::ostream broken(nullptr);

    EXPECT_EQ(CommandFeatures::run(m_options, broken, m_messages), EXIT_UNUSABLE);
}

} // namespace
} // namespace Corvana::Tools
