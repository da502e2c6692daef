// SPDX-License-Identifier: Apache-2.0
#include "tools/RunJournal.h"

#include "support/ScopedLimit.h"
#include "support/TempDir.h"
#include "tools/Checksum.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

using Test::ScopedLimit;
using testing::EndsWith;
using testing::HasSubstr;

TableSettings sampleSettings()
{
    TableSettings settings;
    settings.m_strVersion = "1.2.3";
    settings.m_format = RowFormat::NPY;
    settings.m_uiWindowMs = 16;
    settings.m_uiNbOfInputs = 20;
    settings.m_uiNbOfShards = 2;
    settings.m_uiShard = 2;
    return settings;
}

std::string contentsOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

// Ends an open line as it is written.
std::string checked(const std::string& in_strOpenLine)
{
    Checksum checksum;
    checksum.add(in_strOpenLine);
    return in_strOpenLine + ",\"check\":\"" + checksum.getText() + "\"}\n";
}

class RunJournalTest : public testing::Test
{
protected:
    // A run that finished three inputs and was killed.
    void writeThree() const
    {
        RunJournal journal;
        ASSERT_TRUE(journal.open(m_strTable, sampleSettings()));
        journal.settle(8000);
        journal.add({"a\xff.wav", 10, 1.5, ""}, {10, 208, 1, 2});
        journal.add({"b.wav", 0, 0.0, "is a folder"}, {10, 208, 1, 2});
        journal.add({"c.wav", 5, 0.25, ""}, {15, 248, 3, 4});
        ASSERT_TRUE(journal.sync()) << journal.getFault();
    }

    std::string faultOfOpening(const TableSettings& in_settings = sampleSettings()) const
    {
        RunJournal journal;
        return journal.open(m_strTable, in_settings) ? "" : journal.getFault();
    }

    std::size_t nbOfFormerInputs() const
    {
        RunJournal journal;
        EXPECT_TRUE(journal.open(m_strTable, sampleSettings())) << journal.getFault();
        return journal.getFormer().m_outcomes.size();
    }

    Corvana::Test::TempDir m_dir;
    const std::string m_strTable = m_dir.file("t.npy");
    const std::string m_strJournal = m_strTable + ".journal";
};

TEST_F(RunJournalTest, KnowsNothingAtFirst)
{
    RunJournal journal;
    ASSERT_TRUE(journal.open(m_strTable, sampleSettings()));
    EXPECT_EQ(journal.getFormer().m_outcomes.size(), 0U);
    EXPECT_EQ(journal.getFormer().m_uiSampleRate, 0U);
    EXPECT_EQ(journal.getFormer().m_position.m_uiNbOfBytes, 0U);
    EXPECT_FALSE(journal.getFormer().m_bComplete);
    EXPECT_THAT(contentsOf(m_strJournal), testing::StartsWith("{\"corvana_journal\":1,\"version\":\"1.2.3\","));
}

TEST_F(RunJournalTest, TellsWhatAFormerRunFinished)
{
    writeThree();
    RunJournal journal;
    ASSERT_TRUE(journal.open(m_strTable, sampleSettings())) << journal.getFault();
    const RunJournal::Former& former = journal.getFormer();
    EXPECT_EQ(former.m_uiSampleRate, 8000U);
    ASSERT_EQ(former.m_outcomes.size(), 3U);
    EXPECT_EQ(former.m_outcomes.getNbOfRows(0), 10U);
    EXPECT_EQ(former.m_outcomes.getFault(0), "");
    EXPECT_EQ(former.m_outcomes.getFault(1), "is a folder");
    EXPECT_EQ(former.m_outcomes.getNbOfFailures(), 1U);
    EXPECT_EQ(former.m_dSeconds, 1.75);
    EXPECT_EQ(former.m_position.m_uiNbOfRows, 15U);
    EXPECT_EQ(former.m_position.m_uiNbOfBytes, 248U);
    EXPECT_EQ(former.m_position.m_uiChecksum, 3U);
    EXPECT_EQ(former.m_position.m_uiTimesChecksum, 4U);
    EXPECT_FALSE(former.m_bComplete);
}

TEST_F(RunJournalTest, GoesOnBehindWhatAFormerRunFinished)
{
    writeThree();
    {
        RunJournal journal;
        ASSERT_TRUE(journal.open(m_strTable, sampleSettings()));
        journal.add({"d.wav", 1, 1.0, ""}, {16, 256, 5, 6});
        EXPECT_TRUE(journal.complete({16, 300, 7, 8}));
    }
    RunJournal journal;
    ASSERT_TRUE(journal.open(m_strTable, sampleSettings())) << journal.getFault();
    EXPECT_EQ(journal.getFormer().m_outcomes.size(), 4U);
    EXPECT_EQ(journal.getFormer().m_position.m_uiNbOfRows, 16U);
    EXPECT_EQ(journal.getFormer().m_position.m_uiNbOfBytes, 300U);
    EXPECT_TRUE(journal.getFormer().m_bComplete);
    EXPECT_TRUE(journal.remove());
    EXPECT_FALSE(std::filesystem::exists(m_strJournal));
}

TEST_F(RunJournalTest, WritesNothingBeforeItIsTold)
{
    RunJournal journal;
    ASSERT_TRUE(journal.open(m_strTable, sampleSettings()));
    const std::string strBefore = contentsOf(m_strJournal);
    journal.add({"a.wav", 10, 1.5, ""}, {10, 208, 1, 2});
    EXPECT_EQ(contentsOf(m_strJournal), strBefore);
    EXPECT_FALSE(journal.isSyncDue());
    journal.add({"b.wav", 10, 1.5, ""}, {20, 208 + (64U << 20U), 1, 2});
    EXPECT_TRUE(journal.isSyncDue());
    EXPECT_TRUE(journal.sync());
    EXPECT_FALSE(journal.isSyncDue());
    EXPECT_NE(contentsOf(m_strJournal), strBefore);
}

TEST_F(RunJournalTest, DropsALastLineThatWasNotWrittenToItsEnd)
{
    writeThree();
    const std::string strWhole = contentsOf(m_strJournal);
    const std::string strTwo = strWhole.substr(0, strWhole.rfind("{\"input\""));
    for (std::size_t uiSize = strTwo.size(); uiSize < strWhole.size(); ++uiSize) {
        m_dir.write("t.npy.journal", strWhole.substr(0, uiSize));
        EXPECT_EQ(nbOfFormerInputs(), 2U) << uiSize;
        EXPECT_EQ(contentsOf(m_strJournal), strTwo) << uiSize;
    }
    m_dir.write("t.npy.journal", strTwo + std::string(4096, '\0')); // as some disks leave it
    EXPECT_EQ(nbOfFormerInputs(), 2U);
}

TEST_F(RunJournalTest, BeginsAnewWhenNotEvenItsFirstLineIsWhole)
{
    writeThree();
    const std::string strWhole = contentsOf(m_strJournal);
    const std::string strHead = strWhole.substr(0, strWhole.find('\n') + 1);
    for (const std::size_t uiSize : {std::size_t{0}, std::size_t{1}, strHead.size() - 1}) {
        m_dir.write("t.npy.journal", strHead.substr(0, uiSize));
        EXPECT_EQ(nbOfFormerInputs(), 0U);
        EXPECT_EQ(contentsOf(m_strJournal), strHead);
    }
}

TEST_F(RunJournalTest, RefusesADamagedLineWithItsNumber)
{
    writeThree();
    const std::string strWhole = contentsOf(m_strJournal);
    for (std::size_t uiByte = 0; uiByte + 1 < strWhole.size(); uiByte += 5) {
        std::string strDamaged = strWhole;
        strDamaged[uiByte] = strDamaged[uiByte] == '1' ? '2' : '1';
        m_dir.write("t.npy.journal", strDamaged);
        EXPECT_THAT(faultOfOpening(), EndsWith("; to begin anew, remove this file")) << uiByte;
        EXPECT_EQ(contentsOf(m_strJournal), strDamaged);
    }
    std::string strDamaged = strWhole;
    strDamaged.replace(strDamaged.find("b.wav"), 5, "B.wav");
    m_dir.write("t.npy.journal", strDamaged);
    EXPECT_EQ(faultOfOpening(), m_strJournal + ": line 4 is damaged (its checksum is not that of its text); to begin "
                                               "anew, remove this file");
}

TEST_F(RunJournalTest, RefusesALineThatIsNoJsonThoughItsChecksumIsRight)
{
    writeThree();
    const std::string strText = "{\"settled\":";
    Checksum checksum;
    checksum.add(strText);
    m_dir.write("t.npy.journal", contentsOf(m_strJournal) + strText + ",\"check\":\"" + checksum.getText() + "\"}\n");
    EXPECT_THAT(faultOfOpening(), HasSubstr("line 6 is damaged (it is no JSON)"));
}

TEST_F(RunJournalTest, RefusesLinesThatDoNotBelongTogether)
{
    writeThree();
    const std::string strWhole = contentsOf(m_strJournal);
    const std::size_t uiFirst = strWhole.find("{\"input\":10");
    const std::size_t uiSecond = strWhole.find("{\"input\":11");
    const std::size_t uiThird = strWhole.find("{\"input\":12");
    ASSERT_LT(uiThird, strWhole.size());
    m_dir.write("t.npy.journal", strWhole.substr(0, uiFirst) + strWhole.substr(uiSecond));
    EXPECT_THAT(faultOfOpening(), HasSubstr("line 3 is damaged ('input' is not the next one)"));
    m_dir.write("t.npy.journal", strWhole + strWhole.substr(uiThird));
    EXPECT_THAT(faultOfOpening(), HasSubstr("line 6 is damaged ('input' is not the next one)"));
    m_dir.write("t.npy.journal", strWhole.substr(0, uiFirst) + strWhole);
    EXPECT_THAT(faultOfOpening(), HasSubstr("line 3 is damaged"));
}

TEST_F(RunJournalTest, RefusesOtherSettingsWithTheDifference)
{
    writeThree();
    const std::string strWhole = contentsOf(m_strJournal);
    TableSettings settings = sampleSettings();
    settings.m_uiWindowMs = 32;
    EXPECT_EQ(faultOfOpening(settings),
              m_strJournal + ": the run to go on with was another one: --window-ms was 16 and is 32; give the same "
                             "options and inputs, or, to begin anew, remove this file");
    EXPECT_EQ(contentsOf(m_strJournal), strWhole);
}

TEST_F(RunJournalTest, RefusesMoreInputsThanThereAre)
{
    TableSettings settings = sampleSettings();
    settings.m_uiNbOfInputs = 2; // one of them in the second half
    {
        RunJournal journal;
        ASSERT_TRUE(journal.open(m_strTable, settings));
        journal.add({"a.wav", 1, 1.0, ""}, {1, 136, 1, 2});
        journal.add({"b.wav", 1, 1.0, ""}, {2, 144, 1, 2});
        ASSERT_TRUE(journal.sync());
    }
    EXPECT_THAT(faultOfOpening(settings), HasSubstr("line 3 is damaged ('input' is not the next one)"));
}

TEST_F(RunJournalTest, IsRefusedWhileAnotherRunHasIt)
{
    RunJournal journal;
    ASSERT_TRUE(journal.open(m_strTable, sampleSettings()));
    EXPECT_EQ(faultOfOpening(), m_strJournal + ": another run is writing " + m_strTable + "; wait for its end");
}

// As a program gets it that is started without a standard input.
TEST_F(RunJournalTest, TakesAnyNumberForItsDescriptor)
{
    const int iStandardInput = dup(0);
    ASSERT_EQ(close(0), 0);
    RunJournal journal;
    const bool bOpened = journal.open(m_strTable, sampleSettings());
    const bool bIsNull = fcntl(0, F_GETFD) != -1;
    const bool bRemoved = journal.remove();
    const bool bIsClosed = fcntl(0, F_GETFD) == -1;
    EXPECT_EQ(dup2(iStandardInput, 0), 0);
    close(iStandardInput);
    EXPECT_TRUE(bOpened) << journal.getFault();
    EXPECT_TRUE(bIsNull);
    EXPECT_TRUE(bRemoved);
    EXPECT_TRUE(bIsClosed);
    EXPECT_FALSE(std::filesystem::exists(m_strJournal));
}

// A line may have the right checksum and still not be what is written.
TEST_F(RunJournalTest, RefusesLinesThatAreCheckedAndSayWhatCannotBe)
{
    writeThree();
    const std::string strWhole = contentsOf(m_strJournal);
    const auto faultBehind = [&](const std::string& in_strBefore, const std::string& in_strOpenLine) {
        m_dir.write("t.npy.journal", in_strBefore + checked(in_strOpenLine));
        return faultOfOpening();
    };
    const std::string strEnd = "); to begin anew, remove this file";
    EXPECT_EQ(faultBehind(strWhole, "{\"input\""), m_strJournal + ": line 6 is damaged (it is no JSON" + strEnd);
    EXPECT_EQ(faultBehind(strWhole, "{\"x\":" + std::string(20, '[')),
              m_strJournal + ": line 6 is damaged (it is nested deeper than anything that corvana writes" + strEnd);
    EXPECT_EQ(faultBehind(strWhole, "{\"input\":13,\"file\":\"d.wav\",\"rows\":1,\"seconds\":1.0,\"bytes\":247,"
                                    "\"checksum\":\"00000005\",\"times_checksum\":\"00000006\""),
              m_strJournal + ": line 6 is damaged ('bytes' is less than before" + strEnd);
    std::string strHead = strWhole.substr(0, strWhole.find(",\"check\""));
    strHead.replace(strHead.find(":1,"), 3, ":2,");
    EXPECT_EQ(faultBehind("", strHead), m_strJournal + ": line 1 is damaged ('corvana_journal' is not 1" + strEnd);
    m_dir.write("t.npy.journal", "{}\n");
    EXPECT_EQ(faultOfOpening(), m_strJournal + ": line 1 is damaged (its checksum is not that of its text" + strEnd);
}

TEST_F(RunJournalTest, RefusesWhatStandsBehindTheEnd)
{
    {
        RunJournal journal;
        ASSERT_TRUE(journal.open(m_strTable, sampleSettings()));
        ASSERT_TRUE(journal.complete({0, 128, 1, 2}));
        journal.add({"a.wav", 1, 1.0, ""}, {1, 136, 1, 2});
        ASSERT_TRUE(journal.sync());
    }
    EXPECT_EQ(faultOfOpening(),
              m_strJournal + ": line 3 is damaged (it stands behind the last one); to begin anew, remove this file");
}

TEST_F(RunJournalTest, RefusesLinesThatAreLongerThanAnyThatIsWritten)
{
    m_dir.write("t.npy.journal", std::string((16U << 20U) + 1, ' '));
    EXPECT_EQ(faultOfOpening(),
              m_strJournal + ": line 1 is longer than any that corvana writes; to begin anew, remove this file");
}

TEST_F(RunJournalTest, TellsThatTheDiskIsFullAlsoWhenMoreGoesWrong)
{
    RunJournal journal;
    ASSERT_TRUE(journal.open(m_strTable, sampleSettings()));
    journal.add({"a.wav", 10, 1.5, ""}, {10, 208, 1, 2});
    {
        const ScopedLimit limit(RLIMIT_FSIZE, std::filesystem::file_size(m_strJournal));
        EXPECT_FALSE(journal.sync());
    }
    EXPECT_EQ(journal.getFault(), m_strJournal + ": File too large");
    std::filesystem::remove(m_strJournal);
    EXPECT_FALSE(journal.remove());
    EXPECT_EQ(journal.getFault(), m_strJournal + ": File too large");
}

TEST_F(RunJournalTest, TellsThatItCannotBeRead)
{
    writeThree();
    const int iNext = dup(STDERR_FILENO);
    ASSERT_GE(iNext, 0);
    close(iNext);
    // The lock takes the last descriptor.
    const ScopedLimit limit(RLIMIT_NOFILE, static_cast<rlim_t>(iNext) + 1);
    EXPECT_EQ(faultOfOpening(), m_strJournal + ": Too many open files");
}

TEST_F(RunJournalTest, TellsWhyItCannotBeUsed)
{
    std::filesystem::create_directory(m_strJournal);
    EXPECT_EQ(faultOfOpening(), m_strJournal + ": Is a directory");
    std::filesystem::remove(m_strJournal);
    ASSERT_EQ(mkfifo(m_strJournal.c_str(), 0600), 0);
    EXPECT_EQ(faultOfOpening(), m_strJournal + ": File exists");
    RunJournal journal;
    EXPECT_FALSE(journal.open(m_dir.file("no/t.npy"), sampleSettings()));
    EXPECT_EQ(journal.getFault(), m_dir.file("no/t.npy.journal: No such file or directory"));
}

} // namespace
} // namespace Corvana::Tools
