// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandMerge.h"

#include "support/ScopedLimit.h"
#include "support/TempDir.h"
#include "tools/CommandLine.h"
#include "tools/ExitCode.h"
#include "tools/NpyFormat.h"
#include "tools/TableFile.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

using Test::ScopedLimit;
using testing::HasSubstr;
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

/// Tables of inputs that have as many rows as their numbers say; one with -1 failed. Written as a run writes them.
class CommandMergeTest : public testing::Test
{
protected:
    using Change = std::function<void(TableDescription&)>;

    static std::string nameOf(std::size_t in_uiInput)
    {
        return "call, \"" + std::to_string(in_uiInput) + "\"\n\xff.wav";
    }

    static std::string rowsOf(RowWriter& inout_writer, std::size_t in_uiInput, int in_iNbOfRows)
    {
        std::string strRows;
        inout_writer.setFileIndex(in_uiInput);
        inout_writer.beginFile(nameOf(in_uiInput));
        for (int iRow = 0; iRow < in_iNbOfRows; ++iRow) {
            inout_writer.beginRow(0.016 * (iRow + 1));
            inout_writer.addFeature(0, std::vector<double>{0.5 * iRow, static_cast<double>(in_uiInput)});
            inout_writer.addFeature(1, std::vector<double>{-1.0 * iRow});
            strRows += inout_writer.endRow();
        }
        return strRows;
    }

    TableDescription described(RowFormat in_format) const
    {
        TableDescription description;
        description.m_settings.m_strVersion = "1.2.3";
        description.m_settings.m_format = in_format;
        description.m_settings.m_uiWindowMs = 16;
        description.m_settings.m_vFeatures = {"a"};
        description.m_settings.m_vFormulas = {{"b\xff", "mean(x)"}};
        description.m_settings.m_uiNbOfInputs = m_vNbOfRows.size();
        description.m_settings.m_uiInputsDigest = 7;
        description.m_uiSampleRate = 8000;
        description.m_vColumns = {{"a[0]", "Hz"}, {"a[1]", "Hz"}, {"b\xff", ""}};
        return description;
    }

    // A shard of 0: all of it. The change is made last, so that it may be a lie.
    std::string write(const std::string& in_strName, RowFormat in_format, std::uint64_t in_uiShard = 0,
                      std::uint64_t in_uiNbOfShards = 0, const Change& in_change = {}) const
    {
        TableDescription description = described(in_format);
        description.m_settings.m_uiShard = in_uiShard;
        description.m_settings.m_uiNbOfShards = in_uiNbOfShards;
        std::ostringstream unused;
        const auto pTable = TableFile::make(in_format, unused);
        pTable->wantChecksums();
        const auto pWriter = RowWriter::make(in_format, {"a", "b\xff"}, {2, 1});
        EXPECT_TRUE(pTable->open(m_dir.file(in_strName))) << pTable->getFault();
        pTable->begin(pWriter->getHeader(), 3);
        std::vector<InputOutcome> vOutcomes;
        for (std::size_t uiInput = description.m_settings.getFirstInput();
             uiInput < description.m_settings.getEndOfInputs(); ++uiInput) {
            const int iNbOfRows = std::max(0, m_vNbOfRows[uiInput]);
            pTable->write(rowsOf(*pWriter, uiInput, iNbOfRows));
            pTable->endRows(static_cast<std::uint64_t>(iNbOfRows));
            vOutcomes.push_back({nameOf(uiInput), static_cast<std::uint64_t>(iNbOfRows), 0.0,
                                 m_vNbOfRows[uiInput] < 0 ? "cannot be opened" : ""});
        }
        EXPECT_TRUE(pTable->prepare() && pTable->commit()) << pTable->getFault();
        description.m_size = pTable->getPosition();
        if (in_change)
            in_change(description);
        std::ofstream stream(descriptionPathOf(m_dir.file(in_strName)), std::ios::binary);
        TableDescriptionWriter writer(stream, description);
        for (const InputOutcome& outcome : vOutcomes)
            writer.add(outcome);
        writer.finish();
        return m_dir.file(in_strName);
    }

    std::vector<std::string> writeParts(RowFormat in_format, std::uint64_t in_uiNbOfShards) const
    {
        std::vector<std::string> vParts;
        for (std::uint64_t uiShard = 1; uiShard <= in_uiNbOfShards; ++uiShard)
            vParts.push_back(write("part-" + std::to_string(uiShard), in_format, uiShard, in_uiNbOfShards));
        return vParts;
    }

    int merge(const std::vector<std::string>& in_vParts, const std::string& in_strName = "out")
    {
        m_messages.str("");
        return CommandMerge::run({m_dir.file(in_strName), in_vParts, {}}, m_messages);
    }

    // Nothing is left of the output.
    void expectRefused(const std::vector<std::string>& in_vParts, const testing::Matcher<std::string>& in_message)
    {
        EXPECT_EQ(merge(in_vParts), EXIT_UNUSABLE);
        EXPECT_THAT(m_messages.str(), in_message);
        for (const auto& entry : std::filesystem::directory_iterator(m_dir.path()))
            EXPECT_THAT(entry.path().filename().string(), StartsWith("part-"));
    }

    void changeByte(const std::string& in_strPath, std::size_t in_uiFromEnd) const
    {
        std::string strContents = contentsOf(in_strPath);
        strContents[strContents.size() - in_uiFromEnd] ^= 1;
        std::ofstream(in_strPath, std::ios::binary) << strContents;
    }

    const Corvana::Test::ScopedEnvironment m_environment{"TMPDIR", folderInMemory()};
    Corvana::Test::TempDir m_dir;
    std::vector<int> m_vNbOfRows = {3, 0, 2, -1, 1, 4, 5};
    std::ostringstream m_messages;
};

class CommandMergeFormatTest : public CommandMergeTest, public testing::WithParamInterface<RowFormat>
{
protected:
    // The same bytes as of the whole table.
    void expectWhole(const std::string& in_strName) const
    {
        const std::string strWhole = m_dir.file("whole");
        EXPECT_EQ(contentsOf(m_dir.file(in_strName)), contentsOf(strWhole));
        EXPECT_EQ(contentsOf(descriptionPathOf(m_dir.file(in_strName))), contentsOf(descriptionPathOf(strWhole)));
        if (GetParam() == RowFormat::NPY) {
            EXPECT_EQ(contentsOf(npyTimesPathOf(m_dir.file(in_strName))), contentsOf(npyTimesPathOf(strWhole)));
        }
    }
};
INSTANTIATE_TEST_SUITE_P(Formats, CommandMergeFormatTest,
                         testing::Values(RowFormat::CSV, RowFormat::JSONL, RowFormat::NPY),
                         [](const testing::TestParamInfo<RowFormat>& in_info) {
                             return std::string(Tools::nameOf(in_info.param));
                         });

TEST_P(CommandMergeFormatTest, GivesTheBytesOfOneRunForAnyNumberOfParts)
{
    write("whole", GetParam());
    for (const std::uint64_t uiNbOfShards : {1U, 2U, 7U, 10U}) {
        std::vector<std::string> vParts = writeParts(GetParam(), uiNbOfShards);
        std::reverse(vParts.begin(), vParts.end());
        EXPECT_EQ(merge(vParts), EXIT_DONE) << m_messages.str();
        EXPECT_EQ(m_messages.str(), "corvana: " + m_dir.file("out") + ": " + std::to_string(uiNbOfShards) +
                                        (uiNbOfShards == 1 ? " part" : " parts") + ", 7 inputs, 15 rows\n");
        expectWhole("out");
    }
}

TEST_P(CommandMergeFormatTest, GivesTheBytesOfOneRunForRandomTables)
{
    // Few, because each waits for the disk some dozen times.
    for (unsigned uiSeed = 0; uiSeed < 8; ++uiSeed) {
        std::mt19937 random(uiSeed);
        m_vNbOfRows.resize(random() % 12);
        std::generate(m_vNbOfRows.begin(), m_vNbOfRows.end(), [&] { return static_cast<int>(random() % 5) - 1; });
        write("whole", GetParam());
        EXPECT_EQ(merge(writeParts(GetParam(), 1 + random() % 6)), EXIT_DONE) << m_messages.str();
        expectWhole("out");
    }
}

TEST_P(CommandMergeFormatTest, RefusesAPartThatWasCutOrMadeLonger)
{
    const std::vector<std::string> vParts = writeParts(GetParam(), 3);
    const std::string strContents = contentsOf(vParts[1]);
    const std::string strMessage = "corvana: " + vParts[1] + ": is not as its run wrote it; run that part again\n";
    for (const std::size_t uiSize : {std::size_t{0}, std::size_t{5}, strContents.size() - 1}) {
        std::filesystem::resize_file(vParts[1], uiSize);
        expectRefused(vParts, strMessage);
    }
    m_dir.write("part-2", strContents + "x");
    expectRefused(vParts, strMessage);
    std::filesystem::remove(vParts[1]);
    expectRefused(vParts, "corvana: " + vParts[1] + ": No such file or directory\n");
    std::filesystem::create_directory(vParts[1]);
    expectRefused(vParts, "corvana: " + vParts[1] + ": is no file\n");
}

TEST_P(CommandMergeFormatTest, RefusesAPartOfWhichAByteWasChanged)
{
    const std::vector<std::string> vParts = writeParts(GetParam(), 3);
    const std::string strContents = contentsOf(vParts[1]);
    for (const std::size_t uiFromEnd : {std::size_t{1}, std::size_t{2}, strContents.size() / 2, strContents.size()}) {
        changeByte(vParts[1], uiFromEnd);
        expectRefused(vParts, "corvana: " + vParts[1] + ": is not as its run wrote it; run that part again\n");
        m_dir.write("part-2", strContents);
    }
    EXPECT_EQ(merge(vParts), EXIT_DONE);
}

TEST_P(CommandMergeFormatTest, RefusesADescriptionOfOtherRows)
{
    std::vector<std::string> vParts = writeParts(GetParam(), 3);
    vParts[1] = write("part-2", GetParam(), 2, 3,
                      [](TableDescription& out_description) { ++out_description.m_size.m_uiNbOfRows; });
    expectRefused(vParts, HasSubstr(vParts[1] + ".json: gives its inputs 2 rows and the table 3"));
    vParts[1] = write("part-2", GetParam(), 2, 3,
                      [](TableDescription& out_description) { ++out_description.m_size.m_uiChecksum; });
    expectRefused(vParts, "corvana: " + vParts[1] + ": is not as its run wrote it; run that part again\n");
}

TEST_F(CommandMergeTest, CountsTheRowsOfATextWhoseDescriptionLies)
{
    std::vector<std::string> vParts = writeParts(RowFormat::CSV, 2);
    std::string strDescription = contentsOf(vParts[0] + ".json");
    // The same checksum and length, but another number of rows.
    strDescription.replace(strDescription.find("\"rows\":5,"), 9, "\"rows\":6,");
    strDescription.replace(strDescription.find("\"rows\":3}"), 9, "\"rows\":4}");
    m_dir.write("part-1.json", strDescription);
    expectRefused(vParts, "corvana: " + vParts[0] + ": is not as its run wrote it; run that part again\n");
}

TEST_F(CommandMergeTest, RefusesTimesThatWereCutOrChanged)
{
    const std::vector<std::string> vParts = writeParts(RowFormat::NPY, 3);
    const std::string strTimes = npyTimesPathOf(vParts[1]);
    const std::string strContents = contentsOf(strTimes);
    changeByte(strTimes, 1);
    expectRefused(vParts, "corvana: " + strTimes + ": is not as its run wrote it; run that part again\n");
    for (const std::size_t uiMissing : {std::size_t{1}, std::size_t{16}}) {
        m_dir.write("part-2.times.npy", strContents.substr(0, strContents.size() - uiMissing));
        expectRefused(vParts, "corvana: " + strTimes + ": is not as its run wrote it; run that part again\n");
    }
    std::filesystem::remove(strTimes);
    expectRefused(vParts, "corvana: " + strTimes + ": No such file or directory\n");
}

// Names and units of columns that the files themselves do not tell.
TEST_F(CommandMergeTest, RefusesPartsWhoseColumnsAreOthers)
{
    const std::vector<std::string> vParts = writeParts(RowFormat::NPY, 2);
    const auto expectOthers = [&](const Change& in_change) {
        expectRefused({vParts[0], write("part-x", RowFormat::NPY, 2, 2, in_change)},
                      StartsWith("corvana: the parts are not of one run: the columns of " + vParts[0] + ", settled"));
    };
    expectOthers([](TableDescription& out_description) { out_description.m_vColumns[1].m_strName = "a[2]"; });
    expectOthers([](TableDescription& out_description) { out_description.m_vColumns[1].m_strUnit = ""; });
}

TEST_F(CommandMergeTest, ReplacesADescriptionWhosePartIsGone)
{
    const std::vector<std::string> vParts = writeParts(RowFormat::CSV, 2);
    std::filesystem::copy(descriptionPathOf(vParts[0]), m_dir.file("out.json"));
    EXPECT_EQ(merge(vParts), EXIT_DONE) << m_messages.str();
    EXPECT_NE(contentsOf(m_dir.file("out.json")), contentsOf(descriptionPathOf(vParts[0])));
}

// More than is copied at a time, where there is room for less.
TEST_P(CommandMergeFormatTest, TellsThatTheDiskIsFullAndLeavesNothing)
{
    m_vNbOfRows = {1, 20000, 20000};
    const std::vector<std::string> vParts = writeParts(GetParam(), 2);
    for (const std::uintmax_t uiRoom : {std::uintmax_t{300}, std::filesystem::file_size(vParts[1])}) {
        {
            const ScopedLimit limit(RLIMIT_FSIZE, uiRoom);
            EXPECT_EQ(merge(vParts), EXIT_UNUSABLE);
        }
        EXPECT_EQ(m_messages.str(), "corvana: cannot write: " + m_dir.file("out") + ": File too large\n");
        EXPECT_FALSE(std::filesystem::exists(m_dir.file("out")));
        EXPECT_FALSE(std::filesystem::exists(m_dir.file("out.json")));
    }
    EXPECT_EQ(merge(vParts), EXIT_DONE) << m_messages.str();
}

TEST_F(CommandMergeTest, RefusesPartsThatAreMissingOrThereTwice)
{
    const std::vector<std::string> vParts = writeParts(RowFormat::CSV, 5);
    expectRefused({vParts[0], vParts[1], vParts[2], vParts[3]}, "corvana: 1 part of 5 is missing: 5/5\n");
    expectRefused({vParts[3], vParts[1]}, "corvana: 3 parts of 5 are missing: 1/5, 3/5, 5/5\n");
    expectRefused({vParts[0], vParts[1], vParts[2], vParts[3], vParts[4], vParts[1]},
                  "corvana: " + vParts[1] + " and " + vParts[1] + " are both part 2/5; name one of them\n");
    expectRefused({write("part-x", RowFormat::CSV, 3, 100)},
                  "corvana: 99 parts of 100 are missing: 1/100, 2/100, 4/100, 5/100, 6/100, 7/100, 8/100, 9/100, "
                  "10/100, 11/100, ...\n");
}

TEST_F(CommandMergeTest, RefusesPartsOfOtherRunsWithTheDifference)
{
    const std::vector<std::string> vParts = writeParts(RowFormat::CSV, 2);
    const auto expectDifference = [&](const Change& in_change, const std::string& in_strDifference) {
        const std::string strOther = write("part-x", RowFormat::CSV, 2, 2, in_change);
        expectRefused({vParts[0], strOther}, "corvana: the parts are not of one run: " + in_strDifference + "\n");
    };
    const std::string strBoth = " for " + m_dir.file("part-1") + " and ";
    const std::string strOther = " for " + m_dir.file("part-x");
    expectDifference([](TableDescription& out_description) { out_description.m_settings.m_uiWindowMs = 32; },
                     "--window-ms is 16" + strBoth + "32" + strOther);
    expectDifference([](TableDescription& out_description) { out_description.m_settings.m_strVersion = "1.3"; },
                     "the version of corvana is 1.2.3" + strBoth + "1.3" + strOther);
    expectDifference([](TableDescription& out_description) { out_description.m_settings.m_uiInputsDigest = 8; },
                     "the list of inputs (the checksum of their names) is 00000007" + strBoth + "00000008" + strOther);
    expectRefused({vParts[0], write("part-x", RowFormat::CSV, 2, 3)},
                  "corvana: the parts are not of one run: the number of parts is 2" + strBoth + "3" + strOther + "\n");
    expectRefused({vParts[0], write("part-x", RowFormat::JSONL, 2, 2)},
                  "corvana: the parts are not of one run: --format is csv" + strBoth + "jsonl" + strOther + "\n");
    expectDifference([](TableDescription& out_description) { out_description.m_uiSampleRate = 16000; },
                     "the columns of " + m_dir.file("part-1") + ", settled at 8000 Hz, are not those of " +
                         m_dir.file("part-x") + ", settled at 16000 Hz");
}

TEST_F(CommandMergeTest, RefusesWhatIsNoPart)
{
    const std::string strWhole = write("part-whole", RowFormat::CSV);
    expectRefused({strWhole}, "corvana: " + strWhole +
                                  ": is a whole table, not a part of one; parts come from 'corvana "
                                  "features --shard I/N'\n");
    std::filesystem::remove(strWhole + ".json");
    expectRefused({strWhole}, "corvana: " + strWhole +
                                  ".json: cannot be opened, No such file or directory; 'corvana "
                                  "features --shard I/N' writes it beside each part\n");
    m_dir.write("part-whole.json", "{}\n");
    expectRefused({strWhole}, HasSubstr("is no description of a table as 'corvana features' writes it"));
}

TEST_F(CommandMergeTest, NeverWritesOverAPart)
{
    const std::vector<std::string> vParts = writeParts(RowFormat::NPY, 2);
    const std::string strFirst = contentsOf(vParts[0]);
    EXPECT_EQ(merge(vParts, "part-1"), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: " + vParts[0] +
                                    ": is itself a part of a table; name the file to be written before the parts\n");
    EXPECT_EQ(merge({vParts[1]}, "part-1"), EXIT_UNUSABLE);
    std::filesystem::create_hard_link(vParts[0], m_dir.file("same"));
    EXPECT_EQ(merge(vParts, "same"), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: " + vParts[0] + ": is both read and written; write to another file\n");
    std::filesystem::create_hard_link(npyTimesPathOf(vParts[0]), npyTimesPathOf(m_dir.file("times")));
    EXPECT_EQ(merge(vParts, "times"), EXIT_UNUSABLE);
    std::filesystem::create_hard_link(descriptionPathOf(vParts[0]), m_dir.file("description"));
    EXPECT_EQ(merge(vParts, "description"), EXIT_UNUSABLE);
    EXPECT_EQ(contentsOf(vParts[0]), strFirst);
}

TEST_F(CommandMergeTest, RefusesToWriteWhereNoFileCanStand)
{
    const std::vector<std::string> vParts = writeParts(RowFormat::CSV, 2);
    EXPECT_EQ(CommandMerge::run({"-", vParts, {}}, m_messages), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: cannot write: -: is no file, beside which a description could stand\n");
    EXPECT_EQ(merge(vParts, "no/out"), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: cannot write: " + m_dir.file("no/out") + ": No such file or directory\n");
    std::filesystem::create_directory(m_dir.file("out.json"));
    EXPECT_EQ(merge(vParts), EXIT_UNUSABLE);
    EXPECT_FALSE(std::filesystem::exists(m_dir.file("out")));
}

TEST_F(CommandMergeTest, ReplacesAFormerTableOnlyWhenAllIsWell)
{
    const std::vector<std::string> vParts = writeParts(RowFormat::CSV, 2);
    m_dir.write("out", "former");
    EXPECT_EQ(merge({vParts[0]}), EXIT_UNUSABLE);
    EXPECT_EQ(contentsOf(m_dir.file("out")), "former");
    EXPECT_EQ(merge(vParts), EXIT_DONE);
    EXPECT_THAT(contentsOf(m_dir.file("out")), StartsWith("file,time,a[0],a[1],b\xff\n"));
    write("whole", RowFormat::CSV);
    EXPECT_EQ(contentsOf(m_dir.file("out")), contentsOf(m_dir.file("whole")));
}

TEST_F(CommandMergeTest, IsACommand)
{
    const std::vector<std::string> vParts = writeParts(RowFormat::CSV, 2);
    std::ostringstream data;
    EXPECT_EQ(runCommandLine({"merge", "-q", m_dir.file("out"), vParts[1], vParts[0]}, {}, data, m_messages),
              EXIT_DONE);
    EXPECT_EQ(data.str() + m_messages.str(), "");
    EXPECT_EQ(runCommandLine({"merge"}, {}, data, m_messages), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: merge: no output named; it is used as 'corvana merge OUT PART...'\n"
                                "Try 'corvana help merge'.\n");
    m_messages.str("");
    EXPECT_EQ(runCommandLine({"merge", m_dir.file("out")}, {}, data, m_messages), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), HasSubstr("no part named behind the output"));
}

} // namespace
} // namespace Corvana::Tools
