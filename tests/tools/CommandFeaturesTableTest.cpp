// SPDX-License-Identifier: Apache-2.0
// What a run writes beside its rows, in parts of it, and after it was killed.
#include "tools/CommandFeatures.h"

#include "support/Signals.h"
#include "support/TempDir.h"
#include "tools/CommandLine.h"
#include "tools/CommandMerge.h"
#include "tools/ExitCode.h"
#include "tools/NpyFormat.h"
#include "tools/RunJournal.h"
#include "tools/TableDescription.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;

// Where there is such a file system: all that is written waits for the disk, some thousand times.
const char* folderInMemory()
{
    return access("/dev/shm", W_OK) == 0 ? "/dev/shm" : std::getenv("TMPDIR");
}

std::string contentsOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

class CommandFeaturesTableTest : public testing::Test
{
protected:
    CommandFeaturesTableTest()
    {
        std::filesystem::create_directory(m_dir.file("out"));
        for (unsigned uiFile = 0; uiFile < 12; ++uiFile)
            m_options.m_vInputs.push_back(makeInput(uiFile));
        m_options.m_vFeatures = {"spectrum500hz", "spectrum|peaks"};
        m_options.m_vFormulas = {{"level", "mean(x*x)"}};
        m_options.m_uiNbOfJobs = 1;
        m_options.m_strOutput = out("t.csv");
    }

    // Some fail, one before it is opened and one in its middle.
    std::string makeInput(unsigned in_uiFile) const
    {
        const std::string strName = "call " + std::to_string(in_uiFile) + "\xff.wav";
        if (in_uiFile == 1)
            return m_dir.write(strName, "no recording");
        if (in_uiFile == 4)
            return m_dir.path(); // a folder
        return Corvana::Test::writeSoundFile(m_dir.file(strName), Corvana::Test::noise(500 + 300 * in_uiFile), 8000);
    }

    std::string out(const std::string& in_strName) const { return m_dir.file("out/" + in_strName); }

    std::vector<std::string> namesInOut() const
    {
        std::vector<std::string> vNames;
        for (const auto& entry : std::filesystem::directory_iterator(m_dir.file("out")))
            vNames.push_back(entry.path().filename());
        return vNames;
    }

    int run()
    {
        m_data.str("");
        m_messages.str("");
        return CommandFeatures::run(m_options, m_data, m_messages);
    }

    // A process of its own that runs and is killed after so many microseconds, or ends before; true: it was killed.
    bool runAndKill(useconds_t in_uiMicroseconds) const
    {
        const pid_t iChild = fork();
        if (iChild == 0) {
            std::ostringstream unused;
            _exit(CommandFeatures::run(m_options, unused, unused));
        }
        usleep(in_uiMicroseconds);
        kill(iChild, SIGKILL);
        int iStatus = 0;
        EXPECT_EQ(waitpid(iChild, &iStatus, 0), iChild);
        return WIFSIGNALED(iStatus);
    }

    // A process of its own whose files cannot grow beyond so many bytes; its exit code.
    int runWithRoomFor(std::size_t in_uiNbOfBytes)
    {
        const pid_t iChild = fork();
        if (iChild == 0) {
            const rlimit limit{in_uiNbOfBytes, in_uiNbOfBytes};
            std::signal(SIGXFSZ, SIG_IGN);
            setrlimit(RLIMIT_FSIZE, &limit);
            m_options.m_uiMsBetweenSyncs = 0;
            _exit(run());
        }
        int iStatus = 0;
        EXPECT_EQ(waitpid(iChild, &iStatus, 0), iChild);
        return WEXITSTATUS(iStatus);
    }

    const Corvana::Test::ScopedEnvironment m_environment{"TMPDIR", folderInMemory()};
    Corvana::Test::TempDir m_dir;
    CommandFeatures::Options m_options;
    std::ostringstream m_data;
    std::ostringstream m_messages;
};

/// The same in each format, with what an undisturbed run writes.
class CommandFeaturesFormatTest : public CommandFeaturesTableTest, public testing::WithParamInterface<RowFormat>
{
protected:
    CommandFeaturesFormatTest()
    {
        m_options.m_format = GetParam();
        m_options.m_bDescription = true;
        m_options.m_strFailures = out("failures");
        m_options.m_strOutput = out("whole.npy");
        EXPECT_EQ(run(), EXIT_SOME_FAILED) << m_messages.str();
        m_strFailures = contentsOf(m_options.m_strFailures);
        std::filesystem::remove(m_options.m_strFailures);
        m_options.m_strOutput = out("t.npy");
    }

    void expectWhole() const
    {
        EXPECT_TRUE(contentsOf(out("t.npy")) == contentsOf(out("whole.npy")));
        EXPECT_EQ(contentsOf(out("t.npy.json")), contentsOf(out("whole.npy.json")));
        EXPECT_TRUE(contentsOf(out("t.times.npy")) == contentsOf(out("whole.times.npy")));
    }

    std::string m_strFailures;
};
INSTANTIATE_TEST_SUITE_P(Formats, CommandFeaturesFormatTest,
                         testing::Values(RowFormat::CSV, RowFormat::JSONL, RowFormat::NPY),
                         [](const testing::TestParamInfo<RowFormat>& in_info) { return nameOf(in_info.param); });

TEST_P(CommandFeaturesFormatTest, GivesTheSameBytesThroughPartsOfAnyNumber)
{
    for (const unsigned long uiNbOfShards : {1UL, 7UL, 20UL}) {
        CommandMerge::Options merge{out("t.npy"), {}, {}};
        m_options.m_strFailures.clear();
        for (unsigned long uiShard = 1; uiShard <= uiNbOfShards; ++uiShard) {
            m_options.m_shard = {uiShard, uiNbOfShards, true};
            m_options.m_uiNbOfJobs = 1 + uiShard % 2;
            m_options.m_strOutput = out("part-" + std::to_string(uiShard));
            merge.m_vParts.insert(merge.m_vParts.begin(), m_options.m_strOutput);
            EXPECT_NE(run(), EXIT_UNUSABLE) << m_messages.str();
        }
        EXPECT_EQ(CommandMerge::run(merge, m_messages), EXIT_DONE) << m_messages.str();
        expectWhole();
    }
}

TEST_P(CommandFeaturesFormatTest, GivesTheSameBytesWhenItIsToldToGoOnAndNeverStopped)
{
    m_options.m_bResume = true;
    m_options.m_uiMsBetweenSyncs = 0;
    EXPECT_EQ(run(), EXIT_SOME_FAILED) << m_messages.str();
    expectWhole();
    EXPECT_EQ(contentsOf(m_options.m_strFailures), m_strFailures);
    for (const std::string& strName : namesInOut())
        EXPECT_TRUE(!strName.ends_with(".partial") && !strName.ends_with(".journal")) << strName;
}

TEST_P(CommandFeaturesFormatTest, GivesTheSameBytesAfterAnyNumberOfKills)
{
    m_options.m_bResume = true;
    m_options.m_uiMsBetweenSyncs = 0;
    for (unsigned uiSeed = 0; uiSeed < 2; ++uiSeed) {
        std::mt19937 random(uiSeed);
        for (const char* szName : {"t.npy", "t.npy.json", "t.times.npy", "failures"})
            std::filesystem::remove(out(szName));
        unsigned uiNbOfKills = 0;
        while (uiNbOfKills < 15 && runAndKill(static_cast<useconds_t>(500 + random() % 12000))) {
            ++uiNbOfKills;
            for (const char* szName : {".npy", ".npy.json", ".times.npy"})
                EXPECT_TRUE(!std::filesystem::exists(out(std::string("t") + szName)) ||
                            contentsOf(out(std::string("t") + szName)) ==
                                contentsOf(out(std::string("whole") + szName)));
        }
        EXPECT_EQ(run(), EXIT_SOME_FAILED) << m_messages.str();
        expectWhole();
        EXPECT_EQ(contentsOf(m_options.m_strFailures), m_strFailures);
        EXPECT_FALSE(std::filesystem::exists(out("t.npy.journal")));
        EXPECT_FALSE(std::filesystem::exists(out("t.npy.partial")));
    }
}

TEST_P(CommandFeaturesFormatTest, GoesOnAfterADiskThatWasFull)
{
    m_options.m_bResume = true;
    EXPECT_EQ(runWithRoomFor(9000), EXIT_UNUSABLE);
    EXPECT_FALSE(std::filesystem::exists(out("t.npy")) || std::filesystem::exists(out("t.times.npy")) ||
                 std::filesystem::exists(out("t.npy.json")) || std::filesystem::exists(out("failures")));
    EXPECT_TRUE(std::filesystem::exists(out("t.npy.partial")));

    EXPECT_EQ(run(), EXIT_SOME_FAILED);

    EXPECT_THAT(m_messages.str(), StartsWith("corvana: goes on with " + out("t.npy") + ": of 12 inputs, "));
    EXPECT_THAT(m_messages.str(), HasSubstr(" are finished, 2 of them failed\n"));
    EXPECT_THAT(m_messages.str(), HasSubstr("corvana: 2 of 12 inputs failed\n"));
    expectWhole();
    EXPECT_EQ(contentsOf(m_options.m_strFailures), m_strFailures);
}

TEST_P(CommandFeaturesFormatTest, GoesOnWithAPart)
{
    m_options.m_shard = {2, 2, true};
    m_options.m_strOutput = out("whole.npy"); // of this part
    ASSERT_EQ(run(), EXIT_DONE) << m_messages.str();
    m_options.m_strOutput = out("t.npy");
    m_options.m_bResume = true;
    EXPECT_EQ(runWithRoomFor(12000), EXIT_UNUSABLE);
    EXPECT_EQ(run(), EXIT_DONE) << m_messages.str();
    EXPECT_THAT(m_messages.str(), HasSubstr("of 6 inputs, "));
    expectWhole();
}

TEST_P(CommandFeaturesFormatTest, LeavesNothingWhenItIsKilledAndNobodyIsToGoOn)
{
    m_options.m_bDescription = true;
    for (useconds_t uiMicroseconds = 2000; uiMicroseconds <= 20000; uiMicroseconds += 3000) {
        const std::vector<std::string> vBefore = namesInOut();
        if (runAndKill(uiMicroseconds) && !std::filesystem::exists(out("t.npy.json"))) {
            // Names may have been given one after the other, but never to parts.
            for (const std::string& strName : namesInOut()) {
                const bool bFormer = std::find(vBefore.begin(), vBefore.end(), strName) != vBefore.end();
                const std::string strWhole =
                    strName == "failures" ? m_strFailures : contentsOf(out("whole" + strName.substr(1)));
                EXPECT_TRUE(bFormer || contentsOf(out(strName)) == strWhole);
            }
        }
    }
}

TEST_F(CommandFeaturesTableTest, WritesTheNumbersOfTheText)
{
    ASSERT_EQ(run(), EXIT_SOME_FAILED);
    std::istringstream text(contentsOf(m_options.m_strOutput));
    m_options.m_format = RowFormat::NPY;
    m_options.m_strOutput = out("t.npy");
    ASSERT_EQ(run(), EXIT_SOME_FAILED);
    std::string strValues;
    std::string strTimes;
    std::uint64_t uiNbOfRows = 0;
    std::string strLine;
    std::getline(text, strLine);
    const auto uiNbOfColumns = static_cast<std::size_t>(std::count(strLine.begin(), strLine.end(), ',') - 1);
    for (; std::getline(text, strLine); ++uiNbOfRows) {
        std::istringstream fields(strLine);
        std::string strField;
        std::getline(fields, strField, ',');
        const auto itInput = std::find(m_options.m_vInputs.begin(), m_options.m_vInputs.end(), strField);
        std::getline(fields, strField, ',');
        appendNpy(strTimes, std::stod(strField));
        appendNpy(strTimes, static_cast<std::uint64_t>(itInput - m_options.m_vInputs.begin()));
        while (std::getline(fields, strField, ','))
            appendNpy(strValues, std::stod(strField));
    }
    ASSERT_GT(uiNbOfRows, 100U);
    EXPECT_EQ(contentsOf(out("t.npy")), npyHeaderOfValues(uiNbOfRows, uiNbOfColumns) + strValues);
    EXPECT_EQ(contentsOf(out("t.times.npy")), npyHeaderOfTimes(uiNbOfRows) + strTimes);
}

TEST_F(CommandFeaturesTableTest, DescribesTheTable)
{
    m_options.m_bDescription = true;
    ASSERT_EQ(run(), EXIT_SOME_FAILED);
    EXPECT_EQ(m_data.str(), "");
    const json description = json::parse(contentsOf(out("t.csv.json")));
    EXPECT_EQ(description["corvana_table"], 1);
    EXPECT_EQ(description["format"], "csv");
    EXPECT_EQ(description["sample_rate"], 8000);
    EXPECT_EQ(description["configuration"]["window_ms"], 16);
    EXPECT_EQ(description["configuration"]["features"], json({"spectrum500hz", "spectrum|peaks"}));
    EXPECT_EQ(description["columns"].size(), 15U);
    EXPECT_EQ(description["columns"][0], json({{"name", "spectrum500hz[0]"}, {"unit", "share of the power"}}));
    EXPECT_EQ(description["columns"][14], json({{"name", "level"}, {"unit", nullptr}}));
    EXPECT_EQ(description["bytes"], contentsOf(out("t.csv")).size());
    EXPECT_EQ(description["inputs"].size(), 12U);
    EXPECT_EQ(description["inputs"][0]["rows"], 3);
    EXPECT_EQ(description["inputs"][1]["rows"], 0);
    EXPECT_THAT(std::string(description["inputs"][1]["fault"]), HasSubstr("ormat"));
    EXPECT_EQ(description["inputs"][4]["rows"], 0);
    EXPECT_THAT(std::string(description["inputs"][4]["fault"]), StartsWith("is a folder, not a recording"));
    TableDescriptionReader reader;
    ASSERT_TRUE(reader.open(out("t.csv.json"))) << reader.getFault();
    InputOutcome outcome;
    EXPECT_TRUE(reader.next(outcome));
    EXPECT_EQ(outcome.m_strPath, m_options.m_vInputs[0]); // byte for byte
}

TEST_F(CommandFeaturesTableTest, RefusesToGoOnWithOtherOptionsAndTellsTheDifference)
{
    m_options.m_bResume = true;
    ASSERT_EQ(runWithRoomFor(9000), EXIT_UNUSABLE);
    const std::string strJournal = contentsOf(out("t.csv.journal"));
    const auto refusal = [this](const CommandFeatures::Options& in_options) {
        m_messages.str("");
        EXPECT_EQ(CommandFeatures::run(in_options, m_data, m_messages), EXIT_UNUSABLE);
        return m_messages.str();
    };
    const std::string strStart =
        "corvana: cannot write: " + out("t.csv.journal") + ": the run to go on with was another one: ";
    const std::string strEnd = "; give the same options and inputs, or, to begin anew, remove this file\n";
    CommandFeatures::Options options = m_options;
    options.m_windows.m_uiOverlapMs = 8;
    EXPECT_EQ(refusal(options), strStart + "--overlap-ms was 0 and is 8" + strEnd);
    options = m_options;
    options.m_vFeatures.pop_back();
    EXPECT_EQ(refusal(options), strStart + "--feature number 2 was 'spectrum|peaks' and is not given" + strEnd);
    options = m_options;
    options.m_vInputs.pop_back();
    EXPECT_EQ(refusal(options), strStart + "the number of inputs was 12 and is 11" + strEnd);
    options = m_options;
    std::swap(options.m_vInputs[0], options.m_vInputs[2]);
    EXPECT_THAT(refusal(options), StartsWith(strStart + "the list of inputs (the checksum of their names) was "));
    options = m_options;
    options.m_shard = {1, 1, true};
    EXPECT_EQ(refusal(options), strStart + "--shard was not given and is 1/1" + strEnd);
    EXPECT_EQ(contentsOf(out("t.csv.journal")), strJournal);

    m_options.m_uiNbOfJobs = 2; // which changes no row
    m_options.m_windows.m_uiReadFactor = 3;
    EXPECT_EQ(run(), EXIT_SOME_FAILED);
}

TEST_F(CommandFeaturesTableTest, RefusesToGoOnWithWhatSomebodyElseChanged)
{
    m_options.m_bResume = true;
    ASSERT_EQ(runWithRoomFor(9000), EXIT_UNUSABLE);
    const std::string strPartial = contentsOf(out("t.csv.partial"));
    std::filesystem::resize_file(out("t.csv.partial"), 100);
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), HasSubstr("t.csv.partial: holds 100 bytes instead of "));
    m_dir.write("out/t.csv.partial", strPartial);
    std::string strJournal = contentsOf(out("t.csv.journal"));
    strJournal.replace(strJournal.find("\"rows\":"), 7, "\"rowz\":");
    m_dir.write("out/t.csv.journal", strJournal);
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), HasSubstr("t.csv.journal: line 3 is damaged"));
}

TEST_F(CommandFeaturesTableTest, RefusesTwoRunsAtOnce)
{
    m_options.m_bResume = true;
    RunJournal other;
    ASSERT_TRUE(other.open(m_options.m_strOutput, TableSettings()));
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: cannot write: " + out("t.csv.journal") + ": another run is writing " +
                                    out("t.csv") + "; wait for its end\n");
}

TEST_F(CommandFeaturesTableTest, GoesOnAtTheInputThatStoppedItOnceThatIsMended)
{
    m_options.m_bResume = true;
    m_options.m_bFailFast = true;
    EXPECT_EQ(run(), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), HasSubstr("nothing is written before --resume goes on there\n"));
    EXPECT_THAT(namesInOut(), UnorderedElementsAre("t.csv.partial", "t.csv.journal"));

    Corvana::Test::writeSoundFile(m_options.m_vInputs[1], Corvana::Test::noise(800), 8000);
    EXPECT_EQ(run(), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: goes on with " + out("t.csv") +
                                             ": of 12 inputs, 1 is finished, 0 of them failed\n"));
    EXPECT_THAT(m_messages.str(), HasSubstr("is a folder"));
    m_options.m_vInputs[4] = m_options.m_vInputs[3]; // another list
    EXPECT_EQ(run(), EXIT_UNUSABLE);
}

TEST_F(CommandFeaturesTableTest, TellsThatItBeginsAnewWhereAnotherRunWasStopped)
{
    m_options.m_bResume = true;
    ASSERT_EQ(runWithRoomFor(9000), EXIT_UNUSABLE);
    const std::string strJournal = contentsOf(out("t.csv.journal"));
    m_options.m_bResume = false;
    EXPECT_EQ(run(), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: begins anew, although " + out("t.csv.journal") +
                                             " is of a run that was stopped; --resume goes on with that one\n"));
    EXPECT_EQ(contentsOf(out("t.csv.journal")), strJournal);
    EXPECT_TRUE(std::filesystem::exists(out("t.csv")));
}

TEST_F(CommandFeaturesTableTest, StopsAtAFailureBeforeTheKillWhenItIsToStopAtTheFirst)
{
    m_options.m_bResume = true;
    ASSERT_EQ(runWithRoomFor(9000), EXIT_UNUSABLE);
    m_options.m_bFailFast = true;
    EXPECT_EQ(run(), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), HasSubstr("corvana: " + m_dir.file("call 1\xff.wav: ")));
    EXPECT_FALSE(std::filesystem::exists(out("t.csv")));
}

TEST_F(CommandFeaturesTableTest, LeavesNothingWhenNoRecordingCouldBeAnalysed)
{
    m_options.m_bResume = true;
    m_options.m_vInputs = {m_dir.file("none.wav"), m_dir.path()};
    EXPECT_EQ(run(), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), HasSubstr("nothing is written: no recording could be analysed"));
    EXPECT_THAT(namesInOut(), IsEmpty());
}

TEST_F(CommandFeaturesTableTest, LeavesNothingBesideAFileThatItRefuses)
{
    m_options.m_bResume = true;
    for (const RowFormat format : {RowFormat::CSV, RowFormat::NPY}) {
        m_options.m_format = format;
        m_options.m_strOutput = out("t.csv");
        m_options.m_strFailures = out("no/failures");
        EXPECT_EQ(run(), EXIT_UNUSABLE);
        m_options.m_strFailures = m_options.m_vInputs[0];
        EXPECT_EQ(run(), EXIT_UNUSABLE);
        m_options.m_strOutput = m_dir.file("out");
        EXPECT_EQ(run(), EXIT_UNUSABLE);
        EXPECT_EQ(m_messages.str(), "corvana: cannot write: " + m_dir.file("out") + ": Is a directory\n");
        m_options.m_strOutput = out("no/t.csv");
        EXPECT_EQ(run(), EXIT_UNUSABLE);
        EXPECT_THAT(namesInOut(), IsEmpty());
        EXPECT_FALSE(std::filesystem::exists(m_dir.file("out.journal")));
    }
}

TEST_F(CommandFeaturesTableTest, NeverWritesOverARecordingOrAList)
{
    m_options.m_bDescription = true;
    m_options.m_strOutput = m_dir.file("list");
    m_options.m_vLists = {m_dir.write("list.json", m_options.m_vInputs[0] + "\n")};
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(),
              "corvana: " + m_dir.file("list.json") + ": is both read and written; write to another file\n");
}

TEST_F(CommandFeaturesTableTest, NeverKeepsRowsInARecordingThatItReads)
{
    m_options.m_bResume = true;
    for (const auto& [format, strName] : {std::pair{RowFormat::CSV, "t.csv.partial"},
                                          {RowFormat::NPY, "t.csv.partial"},
                                          {RowFormat::NPY, "t.csv.times.npy.partial"}}) {
        m_options.m_format = format;
        m_options.m_vInputs[2] = out(strName);
        Corvana::Test::writeSoundFile(out(strName), Corvana::Test::noise(500), 8000);
        const std::string strSound = contentsOf(out(strName));
        EXPECT_EQ(run(), EXIT_UNUSABLE);
        EXPECT_EQ(m_messages.str(), "corvana: cannot write: " + out(strName) +
                                        ": is read, and rows are to be kept in it; write to another file\n");
        EXPECT_THAT(namesInOut(), UnorderedElementsAre(strName));
        EXPECT_EQ(contentsOf(out(strName)), strSound);
        std::filesystem::remove(out(strName));
    }
}

TEST_F(CommandFeaturesTableTest, NeverWritesFailuresWhereTheTableIs)
{
    m_options.m_format = RowFormat::NPY;
    m_options.m_bResume = true;
    std::filesystem::create_symlink("t.csv.json", out("link"));
    for (const char* szName : {"t.csv", "t.csv.times.npy", "t.csv.json", "t.csv.partial", "t.csv.times.npy.partial",
                               "t.csv.journal", "../out/t.csv", "link"}) {
        m_options.m_strFailures = out(szName);
        EXPECT_EQ(run(), EXIT_UNUSABLE) << szName;
        EXPECT_EQ(m_messages.str(), "corvana: " + out(szName) +
                                        ": is written by the table of rows, too; name another file with --failures\n");
        EXPECT_THAT(namesInOut(), UnorderedElementsAre("link"));
    }
    m_options.m_bResume = false;
    m_options.m_strFailures = out("t.csv.journal"); // which is nothing but a name then
    EXPECT_EQ(run(), EXIT_SOME_FAILED);
    m_options.m_strOutput = m_options.m_strFailures = "/dev/null"; // takes both
    m_options.m_format = RowFormat::CSV;
    EXPECT_EQ(run(), EXIT_SOME_FAILED);
}

TEST_F(CommandFeaturesTableTest, KeepsTheTableForAnotherRunWhenFailuresCannotBeWritten)
{
    m_options.m_bResume = true;
    m_options.m_vInputs.push_back(m_dir.file("pipe"));
    m_options.m_strFailures = m_dir.file("lists/failures.csv");
    std::filesystem::create_directory(m_dir.file("lists"));
    ASSERT_EQ(mkfifo(m_options.m_vInputs.back().c_str(), 0600), 0);
    const pid_t iChild = fork();
    if (iChild == 0)
        _exit(run());
    {
        const std::ofstream pipe(m_options.m_vInputs.back()); // opens when the run has come to its last input
        std::filesystem::remove(m_dir.file("lists"));
    }
    int iStatus = 0;
    ASSERT_EQ(waitpid(iChild, &iStatus, 0), iChild);
    EXPECT_EQ(WEXITSTATUS(iStatus), EXIT_UNUSABLE);
    EXPECT_THAT(namesInOut(), UnorderedElementsAre("t.csv.partial", "t.csv.journal"));

    std::filesystem::create_directory(m_dir.file("lists"));
    EXPECT_EQ(run(), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: goes on with " + out("t.csv") +
                                             ": of 13 inputs, 13 are finished, 3 of them failed\n"));
    EXPECT_THAT(namesInOut(), UnorderedElementsAre("t.csv"));
    EXPECT_THAT(contentsOf(m_options.m_strFailures), HasSubstr(m_options.m_vInputs.back()));
}

TEST_F(CommandFeaturesTableTest, WritesNoDescriptionBesideWhatIsNoFile)
{
    std::filesystem::create_symlink("/dev/null", out("device"));
    m_options.m_strOutput = out("device");
    m_options.m_bDescription = true;
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(),
              "corvana: cannot write: " + out("device") + ": is no file, beside which a description could stand\n");
    EXPECT_THAT(namesInOut(), UnorderedElementsAre("device"));
}

TEST_F(CommandFeaturesTableTest, WantsAFileForFailures)
{
    for (const char* szName : {"-", "/dev/stdout"}) {
        m_options.m_strFailures = szName;
        EXPECT_EQ(run(), EXIT_UNUSABLE);
        EXPECT_EQ(m_messages.str(), "corvana: --failures writes a table of its own, which needs a file: name it with "
                                    "--failures FILE\n");
        EXPECT_THAT(namesInOut(), IsEmpty());
    }
}

TEST_F(CommandFeaturesTableTest, WantsAFileForWhatStandsBesideOne)
{
    const auto refusal = [](CommandFeatures::Options in_options, const std::string& in_strOutput) {
        std::ostringstream data;
        std::ostringstream messages;
        in_options.m_strOutput = in_strOutput;
        EXPECT_EQ(CommandFeatures::run(in_options, data, messages), EXIT_UNUSABLE);
        EXPECT_EQ(data.str(), "");
        return messages.str();
    };
    for (const char* szOutput : {"", "-"}) {
        CommandFeatures::Options options = m_options;
        options.m_bDescription = true;
        EXPECT_EQ(refusal(options, szOutput), "corvana: --sidecar stands beside a file: name that with -o FILE\n");
        options.m_bResume = true;
        EXPECT_EQ(refusal(options, szOutput), "corvana: --resume goes on with a file: name it with -o FILE\n");
        options.m_format = RowFormat::NPY;
        EXPECT_EQ(refusal(options, szOutput),
                  "corvana: --format npy writes more than one file: name the first with -o FILE.npy\n");
        options.m_bLabels = true;
        EXPECT_EQ(refusal(options, szOutput),
                  "corvana: --labels gives words, and --format npy holds numbers: write csv "
                  "or jsonl, or leave one out\n");
    }
    m_options.m_bResume = true;
    EXPECT_EQ(refusal(m_options, "/dev/null"),
              "corvana: cannot write: /dev/null: is no file, so no other run could go on with it\n");
    m_options.m_vInputs.emplace_back("-");
    EXPECT_EQ(refusal(m_options, out("t.csv")), "corvana: --resume goes on with files, which standard input is not\n");
}

TEST_F(CommandFeaturesTableTest, RefusesPartsThatThereCannotBe)
{
    for (const char* szShard : {"", "1", "1/", "/2", "0/2", "3/2", "1/0", "-1/2", "1/-2", "1 /2", "1/ 2", "a/2", "1/b",
                                "1/2/3", "1.0/2", "1/1000000001", "1/18446744073709551617"}) {
        m_messages.str("");
        EXPECT_EQ(runCommandLine({"features", "--shard", szShard, "-o", out("part"), m_options.m_vInputs[0]}, {},
                                 m_data, m_messages),
                  EXIT_UNUSABLE)
            << szShard;
        EXPECT_THAT(m_messages.str(), HasSubstr("wants I/N, the number of a part, from 1, and the number of parts, "
                                                "such as 2/7, not '" +
                                                std::string(szShard) + "'"));
    }
    EXPECT_THAT(namesInOut(), IsEmpty());
}

TEST_F(CommandFeaturesTableTest, TakesOnePartOfOneForAPart)
{
    const auto command = [this](const std::vector<std::string>& in_vArguments) {
        return runCommandLine(in_vArguments, {}, m_data, m_messages);
    };
    EXPECT_EQ(command({"features", "--shard", "1/1", "-o", out("part"), m_options.m_vInputs[0]}), EXIT_DONE);
    EXPECT_EQ(command({"merge", out("t"), out("part")}), EXIT_DONE) << m_messages.str();
    EXPECT_EQ(command({"eval", "--sidecar", "--resume", "--format", "npy", "-o", out("e.npy"), "mean(x)",
                       m_options.m_vInputs[0]}),
              EXIT_DONE)
        << m_messages.str();
    EXPECT_THAT(namesInOut(),
                UnorderedElementsAre("part", "part.json", "t", "t.json", "e.npy", "e.times.npy", "e.npy.json"));
}

} // namespace
} // namespace Corvana::Tools
