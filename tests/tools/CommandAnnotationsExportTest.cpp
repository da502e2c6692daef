// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsExport.h"

#include "LabelledRecordings.h"
#include "tools/ExitCode.h"

#include <filesystem>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class CommandAnnotationsExportTest : public LabelledRecordings
{
protected:
    int run() { return CommandAnnotationsExport::run(m_options, m_data, m_messages); }

    CommandAnnotationsExport::Options m_options;
};

TEST_F(CommandAnnotationsExportTest, WritesCsvToTheStream)
{
    m_options.m_vFiles = {recording("a.wav", {{Annotation::MALE, 0.25, 1.5}, {Annotation::BEEP, 1.5, 1.5}})};

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(m_data.str(), "index,type,start,stop\n0,MALE,0.25,1.5\n1,BEEP,1.5,1.5\n");
    EXPECT_EQ(m_messages.str(), "");
}

TEST_F(CommandAnnotationsExportTest, WritesTheFormatOfTheOutputsEnding)
{
    m_options.m_vFiles = {recording("a.wav", {{Annotation::MALE, 0.25, 1.5}})};
    m_options.m_strOutput = m_dir.file("a.txt");
    EXPECT_EQ(run(), EXIT_DONE);
    EXPECT_EQ(contentsOf(m_options.m_strOutput), "0.25\t1.5\tMALE\n");

    m_options.m_strOutput = m_dir.file("a.json");
    EXPECT_EQ(run(), EXIT_DONE);
    EXPECT_THAT(contentsOf(m_options.m_strOutput), StartsWith("[\n"));
    EXPECT_EQ(m_data.str(), "");
}

TEST_F(CommandAnnotationsExportTest, BelievesTheFormatMoreThanTheEnding)
{
    m_options.m_vFiles = {recording("a.wav", {{Annotation::MALE, 0.25, 1.5}})};
    m_options.m_strOutput = m_dir.file("a.txt");
    m_options.m_format = RegionFormat::CSV;

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_THAT(contentsOf(m_options.m_strOutput), StartsWith("index,"));
}

TEST_F(CommandAnnotationsExportTest, LetsATextGridReachToTheEndOfTheAudio)
{
    m_options.m_vFiles = {recording("a.wav", {{Annotation::MALE, 0.25, 1.5}})};
    m_options.m_format = RegionFormat::TEXTGRID;

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_THAT(m_data.str(), HasSubstr("xmin = 0 \nxmax = 2 \ntiers?"));
}

TEST_F(CommandAnnotationsExportTest, RefusesAnOutputWhoseNameTellsNoFormat)
{
    m_options.m_vFiles = {recording("a.wav")};
    m_options.m_strOutput = m_dir.file("a.dat");

    EXPECT_EQ(run(), EXIT_UNUSABLE);

    EXPECT_THAT(m_messages.str(),
                HasSubstr("does not tell a format by .csv, .json, .txt or .TextGrid; say it with --format"));
    EXPECT_FALSE(std::filesystem::exists(m_options.m_strOutput));
}

TEST_F(CommandAnnotationsExportTest, WritesAFileForEachRecordingIntoAFolder)
{
    const std::string strA = recording("a.wav", {{Annotation::MALE, 0.25, 1.5}});
    const std::string strB = recording("b.wav");
    m_options.m_vFiles = {strA, strB};
    m_options.m_strFolder = m_dir.file("x/y");

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(contentsOf(m_dir.file("x/y/a.csv")), "index,type,start,stop\n0,MALE,0.25,1.5\n");
    EXPECT_EQ(contentsOf(m_dir.file("x/y/b.csv")), "index,type,start,stop\n");
    EXPECT_EQ(m_data.str(), strA + ": 1 region to " + m_dir.file("x/y/a.csv") + "\n" + strB + ": 0 regions to " +
                                m_dir.file("x/y/b.csv") + "\n");
}

TEST_F(CommandAnnotationsExportTest, TakesRecordingsOfLists)
{
    recording("a.wav", {{Annotation::MALE, 0.25, 1.5}});
    m_options.m_vLists = {m_dir.write("list", "a.wav\n")};

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_THAT(m_data.str(), HasSubstr("0,MALE,0.25,1.5\n"));
}

TEST_F(CommandAnnotationsExportTest, RefusesRecordingsOfTheSameNameBeforeAnythingIsWritten)
{
    std::filesystem::create_directory(m_dir.file("other"));
    const std::string strA = recording("a.wav");
    const std::string strOther = recording("other/a.wav");
    m_options.m_vFiles = {strA, strOther};
    m_options.m_strFolder = m_dir.file("out");

    EXPECT_EQ(run(), EXIT_UNUSABLE);

    EXPECT_EQ(m_messages.str(), "corvana: '" + strA + "' and '" + strOther + "' would both be exported to '" +
                                    m_dir.file("out/a.csv") + "'; export them into different folders\n");
    EXPECT_FALSE(std::filesystem::exists(m_options.m_strFolder));
}

TEST_F(CommandAnnotationsExportTest, RefusesSeveralRecordingsWithoutAFolder)
{
    m_options.m_vFiles = {recording("a.wav"), recording("b.wav")};
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: several recordings are exported into a folder: --folder DIR;"));
    EXPECT_EQ(m_data.str(), "");
}

TEST_F(CommandAnnotationsExportTest, LeavesOutIdentifiersThatTheFileSkips)
{
    const std::string strFile =
        recordingWithAGap("a.wav", {{Annotation::MALE, 0, 1}, {Annotation::FEMALE, 0, 1}, {Annotation::BEEP, 1, 1.5}});
    m_options.m_vFiles = {strFile};

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(m_data.str(), "index,type,start,stop\n0,MALE,0,1\n1,FEMALE,0,1\n3,BEEP,1,1.5\n");
    EXPECT_THAT(m_messages.str(), HasSubstr("corvana: " + strFile + ": warning: 1 gap between its regions left out\n"));
}

TEST_F(CommandAnnotationsExportTest, RefusesAnOutputBesideAFolder)
{
    m_options.m_vFiles = {recording("a.wav")};
    m_options.m_strOutput = m_dir.file("a.csv");
    m_options.m_strFolder = m_dir.file("out");
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: --output and --folder cannot stand together\n");
}

TEST_F(CommandAnnotationsExportTest, RefusesToRunWithoutRecordings)
{
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: no recording given"));
}

TEST_F(CommandAnnotationsExportTest, RefusesToWriteOverARecordingAlsoThroughALink)
{
    const std::string strA = recording("a.wav", {{Annotation::MALE, 0.25, 1.5}});
    const std::string strBefore = contentsOf(strA);
    m_options.m_vFiles = {strA};
    m_options.m_format = RegionFormat::CSV;
    m_options.m_strOutput = m_dir.file("link.csv");
    std::filesystem::create_symlink(strA, m_options.m_strOutput);

    EXPECT_EQ(run(), EXIT_UNUSABLE);

    EXPECT_EQ(m_messages.str(), "corvana: '" + m_options.m_strOutput + "' is read and cannot be the output too\n");
    EXPECT_TRUE(contentsOf(strA) == strBefore);
}

TEST_F(CommandAnnotationsExportTest, NamesWhatItCannotReadAndExportsTheRest)
{
    const std::string strNone = m_dir.file("none.wav");
    const std::string strText = m_dir.write("text.wav", "no recording");
    m_options.m_vFiles = {strNone, strText, recording("b.wav")};
    m_options.m_strFolder = m_dir.file("out");

    EXPECT_EQ(run(), EXIT_SOME_FAILED);

    EXPECT_THAT(m_messages.str(), HasSubstr("corvana: " + strNone + ": failed to open, No such file or directory\n"));
    EXPECT_THAT(m_messages.str(), HasSubstr("corvana: " + strText + ": "));
    EXPECT_TRUE(std::filesystem::exists(m_dir.file("out/b.csv")));
    EXPECT_FALSE(std::filesystem::exists(m_dir.file("out/text.csv")));
}

TEST_F(CommandAnnotationsExportTest, LeavesAFormerFileAloneWhenTheRecordingCannotBeRead)
{
    m_options.m_vFiles = {m_dir.write("text.wav", "no recording")};
    m_options.m_strOutput = m_dir.write("out.csv", "former");
    EXPECT_EQ(run(), EXIT_SOME_FAILED);
    EXPECT_EQ(contentsOf(m_options.m_strOutput), "former");
}

TEST_F(CommandAnnotationsExportTest, FailsWhenTheOutputCannotBeWritten)
{
    m_options.m_vFiles = {recording("a.wav", {{Annotation::MALE, 0.25, 1.5}})};
    m_options.m_strOutput = m_dir.file("none/a.csv");
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: cannot write: "));

    m_options.m_strOutput = "/dev/full";
    m_options.m_format = RegionFormat::CSV;
    EXPECT_EQ(run(), EXIT_UNUSABLE);

    m_options.m_strOutput.clear();
    m_options.m_strFolder = m_dir.write("file", "") + "/out";
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), HasSubstr("/file/out: Not a directory\n"));
}

TEST_F(CommandAnnotationsExportTest, FailsWhenTheStreamFails)
{
    m_options.m_vFiles = {recording("a.wav")};
    m_data.setstate(std::ios::badbit);
    EXPECT_EQ(run(), EXIT_UNUSABLE);
}

} // namespace
} // namespace Corvana::Tools
