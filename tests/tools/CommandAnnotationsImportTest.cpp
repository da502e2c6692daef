// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsImport.h"

#include "LabelledRecordings.h"
#include "tools/CommandAnnotationsExport.h"
#include "tools/ExitCode.h"

#include <filesystem>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class CommandAnnotationsImportTest : public LabelledRecordings
{
protected:
    int run()
    {
        m_data.str("");
        m_messages.str("");
        return CommandAnnotationsImport::run(m_options, m_data, m_messages);
    }

    // Imports a label track into a.wav.
    int run(const std::string& in_strTrack)
    {
        m_options.m_strLabels = m_dir.write("a.txt", in_strTrack);
        m_options.m_edit.m_vFiles = {m_dir.file("a.wav")};
        return run();
    }

    // The regions with all digits of their times.
    std::string exactly(const std::string& in_strFile)
    {
        CommandAnnotationsExport::Options options;
        options.m_vFiles = {in_strFile};
        std::ostringstream data;
        EXPECT_EQ(CommandAnnotationsExport::run(options, data, m_messages), EXIT_DONE);
        return data.str();
    }

    void expectRefused(const std::string& in_strTrack, const std::string& in_strReason)
    {
        const std::string strBefore = contentsOf(m_dir.file("a.wav"));
        EXPECT_EQ(run(in_strTrack), EXIT_SOME_FAILED);
        EXPECT_EQ(m_data.str(), "");
        EXPECT_EQ(m_messages.str(), "corvana: " + m_dir.file("a.wav") + ": " + in_strReason + "\n");
        EXPECT_TRUE(contentsOf(m_dir.file("a.wav")) == strBefore);
    }

    CommandAnnotationsImport::Options m_options;
};

TEST_F(CommandAnnotationsImportTest, ReplacesTheRegions)
{
    const std::string strFile = recording("a.wav", {{Annotation::MALE, 0, 1}});

    EXPECT_EQ(run("0.5\t1\tFEMALE\n1\t1\tbeep\n"), EXIT_DONE);

    EXPECT_EQ(regionsOf(strFile), "FEMALE 0.5 1, BEEP 1 1");
    EXPECT_EQ(m_data.str(), strFile + ": 2 regions, 2 imported, 1 former removed\n");
    EXPECT_EQ(m_messages.str(), "");
}

TEST_F(CommandAnnotationsImportTest, AppendsToTheRegions)
{
    const std::string strFile = recording("a.wav", {{Annotation::MALE, 0, 1}});
    m_options.m_bAppend = true;

    EXPECT_EQ(run("0.5\t1\tFEMALE\n"), EXIT_DONE);

    EXPECT_EQ(regionsOf(strFile), "MALE 0 1, FEMALE 0.5 1");
    EXPECT_EQ(m_data.str(), strFile + ": 2 regions, 1 imported\n");
}

TEST_F(CommandAnnotationsImportTest, RemovesAllRegionsWithoutLabels)
{
    const std::string strFile = recording("a.wav", {{Annotation::MALE, 0, 1}});
    EXPECT_EQ(run(""), EXIT_DONE);
    EXPECT_EQ(regionsOf(strFile), "");
}

TEST_F(CommandAnnotationsImportTest, ChangesNothingInADryRun)
{
    const std::string strFile = recording("a.wav", {{Annotation::MALE, 0, 1}});
    const std::string strBefore = contentsOf(strFile);
    m_options.m_edit.m_bDryRun = true;

    EXPECT_EQ(run("0.5\t1\tFEMALE\n"), EXIT_DONE);

    EXPECT_TRUE(contentsOf(strFile) == strBefore);
    EXPECT_EQ(m_data.str(), strFile + ": 1 region, 1 imported, 1 former removed (dry run)\n");
}

TEST_F(CommandAnnotationsImportTest, GivesBackTheRegionsOfAnExportInEveryFormat)
{
    const Regions vRegions = {{Annotation::CPA_HUMAN, 0.1, 1.3333},
                              {static_cast<Annotation::AnnotationType>(4000), 0.333, 0.7},
                              {Annotation::DTMF_STAR, 1.0, 1.0},
                              {Annotation::OTHER, 1.2, 2.0}};
    const std::string strFrom = recording("from.wav", vRegions, 11025);
    for (const RegionFormat format :
         {RegionFormat::CSV, RegionFormat::JSON, RegionFormat::AUDACITY, RegionFormat::TEXTGRID}) {
        const std::string strInto = recording("into.wav", {}, 11025);
        m_options.m_strLabels = m_dir.file(std::string("labels") + endingOf(format));
        CommandAnnotationsExport::Options exportOptions;
        exportOptions.m_vFiles = {strFrom};
        exportOptions.m_strOutput = m_options.m_strLabels;
        EXPECT_EQ(CommandAnnotationsExport::run(exportOptions, m_data, m_messages), EXIT_DONE);
        m_options.m_edit.m_vFiles = {strInto};

        EXPECT_EQ(run(), EXIT_DONE);

        EXPECT_EQ(exactly(strInto), exactly(strFrom)) << nameOf(format);
    }
}

TEST_F(CommandAnnotationsImportTest, TakesTheLabelFileOfEachRecordingFromAFolder)
{
    const std::string strA = recording("a.wav");
    const std::string strB = recording("b.wav");
    std::filesystem::create_directory(m_dir.file("labels"));
    m_dir.write("labels/a.txt", "0\t1\tMALE\n");
    m_dir.write("labels/b.CSV", "FEMALE,0,1\n");
    m_dir.write("labels/b.md", "not one");
    m_options.m_strFolder = m_dir.file("labels");
    m_options.m_edit.m_vFiles = {strA, strB};

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(regionsOf(strA), "MALE 0 1");
    EXPECT_EQ(regionsOf(strB), "FEMALE 0 1");
    EXPECT_EQ(m_data.str(), strA + ": 1 region, 1 imported\n" + strB + ": 1 region, 1 imported\n");
}

TEST_F(CommandAnnotationsImportTest, LeavesRecordingsWithoutALabelFileAndImportsTheRest)
{
    const std::string strA = recording("a.wav", {{Annotation::MALE, 0, 1}});
    const std::string strB = recording("b.wav");
    std::filesystem::create_directory(m_dir.file("labels"));
    m_dir.write("labels/b.txt", "0\t1\tMALE\n");
    m_options.m_strFolder = m_dir.file("labels");
    m_options.m_edit.m_vFiles = {strA, strB};

    EXPECT_EQ(run(), EXIT_SOME_FAILED);

    EXPECT_EQ(regionsOf(strA), "MALE 0 1");
    EXPECT_EQ(regionsOf(strB), "MALE 0 1");
    EXPECT_EQ(m_messages.str(), "corvana: " + strA + ": has no label file 'a.*' in '" + m_dir.file("labels") +
                                    "' (.csv, .json, .txt or .TextGrid)\ncorvana: 1 of 2 files failed\n");
}

TEST_F(CommandAnnotationsImportTest, WantsToKnowWhichOfSeveralLabelFilesIsMeant)
{
    const std::string strA = recording("a.wav");
    m_dir.write("a.txt", "0\t1\tMALE\n");
    m_dir.write("a.csv", "FEMALE,0,1\n");
    m_options.m_strFolder = m_dir.path();
    m_options.m_edit.m_vFiles = {strA};

    EXPECT_EQ(run(), EXIT_SOME_FAILED);
    EXPECT_EQ(m_messages.str(), "corvana: " + strA + ": has several label files, " + m_dir.file("a.csv") + ", " +
                                    m_dir.file("a.txt") + "; choose with --format\n");

    m_options.m_format = RegionFormat::AUDACITY;
    EXPECT_EQ(run(), EXIT_DONE);
    EXPECT_EQ(regionsOf(strA), "MALE 0 1");
}

TEST_F(CommandAnnotationsImportTest, RefusesRecordingsOfTheSameName)
{
    std::filesystem::create_directory(m_dir.file("other"));
    m_options.m_edit.m_vFiles = {recording("a.wav"), recording("other/a.wav")};
    m_options.m_strFolder = m_dir.path();

    EXPECT_EQ(run(), EXIT_UNUSABLE);

    EXPECT_THAT(m_messages.str(),
                HasSubstr("would both take the label file of 'a'; import them from different folders"));
}

TEST_F(CommandAnnotationsImportTest, RefusesAFolderThatCannotBeRead)
{
    m_options.m_edit.m_vFiles = {recording("a.wav")};
    m_options.m_strFolder = m_dir.file("none");
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: " + m_dir.file("none") + ": cannot be read, No such file or directory\n");
}

TEST_F(CommandAnnotationsImportTest, RefusesSeveralRecordingsForOneLabelFile)
{
    const std::string strA = recording("a.wav");
    m_options.m_edit.m_vFiles = {strA, recording("b.wav")};
    m_options.m_strLabels = m_dir.write("a.txt", "0\t1\tMALE\n");
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: a label file is imported into one recording;"));
    EXPECT_EQ(regionsOf(strA), "");
}

TEST_F(CommandAnnotationsImportTest, RefusesToRunWithoutARecording)
{
    m_options.m_strLabels = m_dir.write("a.txt", "0\t1\tMALE\n");
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: no recording given"));
}

TEST_F(CommandAnnotationsImportTest, NamesAllLabelsThatAreNoTypes)
{
    recording("a.wav", {{Annotation::MALE, 0, 1}});
    expectRefused("0\t1\tlady\n1\t2\tFEMAL\n1\t2\tlady\n1\t2\tMALE\n",
                  "not changed: " + m_dir.file("a.txt") +
                      ": 2 labels are no types:\n"
                      "  lines 1, 3: 'lady' is no type of a region\n"
                      "  line 2: 'FEMAL' is no type of a region; did you mean FEMALE?\n"
                      "--map FILE says what labels stand for.");
}

TEST_F(CommandAnnotationsImportTest, TakesTheTypesOfAMap)
{
    const std::string strFile = recording("a.wav");
    m_options.m_strMap = m_dir.write("map.csv", "label,type\nlady,FEMALE\ncough,\n");

    EXPECT_EQ(run("0\t1\tlady\n0\t1\tcough\n1\t2\tMALE\n"), EXIT_DONE);
    EXPECT_EQ(regionsOf(strFile), "FEMALE 0 1, MALE 1 2");

    expectRefused("0\t1\tlad\n", "not changed: " + m_dir.file("a.txt") + ": line 1: 'lad' is no type of a region");
}

TEST_F(CommandAnnotationsImportTest, RefusesAMapThatCannotBeUsed)
{
    recording("a.wav");
    m_options.m_strMap = m_dir.write("map.csv", "lady,FEMAL\n");
    EXPECT_EQ(run("0\t1\tlady\n"), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(),
              "corvana: " + m_options.m_strMap + ": line 1: 'FEMAL' is no type of a region; did you mean FEMALE?\n");

    m_options.m_strMap = m_dir.file("none.csv");
    EXPECT_EQ(run("0\t1\tlady\n"), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: " + m_options.m_strMap + ": cannot be read, No such file or directory\n");
}

TEST_F(CommandAnnotationsImportTest, TellsTheLineOfAFaultAndHowTheFileWasRead)
{
    recording("a.wav");
    expectRefused(
        "0\t1\tMALE\n2\t1\tMALE\n",
        "not changed: " + m_dir.file("a.txt") +
            ": line 2: the stop 1 lies before the start 2; exchange them (read as audacity; if it is something "
            "else, say so with --format)");
    m_options.m_format = RegionFormat::AUDACITY;
    expectRefused("0 1 MALE\n", "not changed: " + m_dir.file("a.txt") +
                                    ": line 1: no start, stop and label with tabs between them: '0 1 MALE' (read as "
                                    "audacity)");
}

TEST_F(CommandAnnotationsImportTest, RefusesLabelsWhoseNameTellsNoFormat)
{
    const std::string strFile = recording("a.wav");
    m_options.m_strLabels = strFile;
    m_options.m_edit.m_vFiles = {m_dir.write("a.txt", "0\t1\tMALE\n")};
    EXPECT_EQ(run(), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), HasSubstr("say it with --format (the label file comes first, then the recording)"));
}

TEST_F(CommandAnnotationsImportTest, RefusesLabelsThatAreNotThere)
{
    m_options.m_edit.m_vFiles = {recording("a.wav")};
    m_options.m_strLabels = m_dir.file("none.csv");
    EXPECT_EQ(run(), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), HasSubstr("none.csv: cannot be read, No such file or directory\n"));
}

TEST_F(CommandAnnotationsImportTest, RefusesRegionsOutsideTheAudio)
{
    recording("a.wav");
    expectRefused("-0.5\t1\tMALE\n", "the region MALE from -0.5 to 1 s begins before the audio; --clip cuts it there");
    expectRefused("1\t2.5\tMALE\n",
                  "the region MALE from 1 to 2.5 s reaches beyond the end of the audio at 2 s; --clip "
                  "cuts it there");
}

TEST_F(CommandAnnotationsImportTest, CutsRegionsAtTheEndsOfTheAudioWhenAsked)
{
    const std::string strFile = recording("a.wav");
    m_options.m_edit.m_bClip = true;

    EXPECT_EQ(run("-0.5\t1\tMALE\n-2\t-1\tBEEP\n-1\t0\tBEEP\n1\t2.5\tFEMALE\n3\t4\tBEEP\n"), EXIT_DONE);

    EXPECT_EQ(regionsOf(strFile), "MALE 0 1, FEMALE 1 2");
    EXPECT_EQ(m_data.str(), strFile + ": 2 regions, 2 imported, 1 of them cut at the end, 1 beyond the end left out, 1 "
                                      "cut at the beginning, 2 before it left out\n");
}

TEST_F(CommandAnnotationsImportTest, TakesTimesThatAreOffByLessThanHalfASample)
{
    const std::string strFile = recording("a.wav");
    EXPECT_EQ(run("-1e-9\t2.00001\tMALE\n"), EXIT_DONE);
    EXPECT_EQ(regionsOf(strFile), "MALE 0 2");
}

TEST_F(CommandAnnotationsImportTest, RefusesWhatIsNoRecording)
{
    const std::string strText = m_dir.write("text.wav", "no recording");
    m_options.m_edit.m_vFiles = {strText};
    m_options.m_strLabels = m_dir.write("a.txt", "0\t1\tMALE\n");
    EXPECT_EQ(run(), EXIT_SOME_FAILED);
    EXPECT_EQ(contentsOf(strText), "no recording");
}

} // namespace
} // namespace Corvana::Tools
