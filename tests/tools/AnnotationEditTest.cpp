// SPDX-License-Identifier: Apache-2.0
// What all commands that edit recordings have in common, by the example of some.
#include "tools/AnnotationEdit.h"

#include "RecordingsTest.h"
#include "tools/ExitCode.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <limits>

#include <sys/stat.h>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

class AnnotationEditTest : public RecordingsTest
{
protected:
    // A note, as another program attaches it to a cue point.
    static std::string noteChunk(std::uint32_t in_uiCueId, const std::string& in_strText)
    {
        return Corvana::Test::ChunkBuilder("note")
            .u32(in_uiCueId, "cue point")
            .text(in_strText, "text")
            .text(std::string(1, '\0'), "its end")
            .bytes();
    }

    std::string makeFileWithNotes(const std::string& in_strName, const std::vector<std::string>& in_vTexts) const
    {
        std::string strNotes;
        for (const std::string& strText : in_vTexts)
            strNotes += noteChunk(1, strText);
        return m_dir.write(
            in_strName,
            Corvana::Test::riff(Corvana::Test::fmtChunk() + Corvana::Test::dataChunk(Corvana::Test::audioBytes(16000)) +
                                Corvana::Test::cueChunk({Corvana::Test::cuePoint(1, 2000)}) +
                                Corvana::Test::adtlChunk(Corvana::Test::ltxtChunk(1, 4000) +
                                                         Corvana::Test::lablChunk(1, "VOICE") + strNotes)));
    }

    nlohmann::json savedNotes() const { return nlohmann::json::parse(contentsOf(m_dir.file("notes.json"))); }
};

struct stat statusOf(const std::string& in_strPath)
{
    struct stat status = {};
    EXPECT_EQ(stat(in_strPath.c_str(), &status), 0);
    return status;
}

/// Takes the rights of root away for a while, which no permission stops.
class WithoutRoot
{
public:
    explicit WithoutRoot(const std::string& in_strFolder)
    {
        chmod(in_strFolder.c_str(), 0555);
        if (m_bRoot && seteuid(65534) != 0)
            ADD_FAILURE() << "no other user";
    }
    ~WithoutRoot()
    {
        if (m_bRoot && seteuid(0) != 0)
            ADD_FAILURE() << "no way back";
    }
    WithoutRoot(const WithoutRoot&) = delete;
    WithoutRoot& operator=(const WithoutRoot&) = delete;

private:
    const bool m_bRoot = geteuid() == 0;
};

// ---- Several files

TEST_F(AnnotationEditTest, WritesALineOfResultForEachFileAndNamesThoseThatFail)
{
    const std::string strGood = makeFile("a.wav", {{"NOISE", 0, 800}});
    const std::string strBroken = m_dir.write("b.wav", "RIFF");
    const std::string strStereo =
        m_dir.write("c.wav", Corvana::Test::riff(Corvana::Test::fmtChunk(2) + Corvana::Test::dataChunk("abcd")));
    const std::string strLast = makeFile("d.wav");

    EXPECT_EQ(annotations({"add", strGood, strBroken, strStereo, m_dir.file("none.wav"), m_dir.path(), strLast, "VOICE",
                           "0.25", "0.5"}),
              EXIT_SOME_FAILED);

    EXPECT_EQ(m_data.str(), strGood + ": 2 regions, 1 added\n" + strLast + ": 1 region, 1 added\n");
    EXPECT_THAT(m_messages.str(), AllOf(StartsWith("corvana: " + strBroken + ": "),
                                        HasSubstr("corvana: " + strStereo +
                                                  ": has 2 channels; regions are kept in mono recordings only, such "
                                                  "as 'sox IN OUT remix 1' makes of the first channel\n"),
                                        HasSubstr("corvana: " + m_dir.file("none.wav") +
                                                  ": Could not edit file, No such file or "
                                                  "directory\n"),
                                        HasSubstr("corvana: " + m_dir.path() + ": is a folder, not a recording; "),
                                        HasSubstr("corvana: 4 of 6 files failed\n"), Not(HasSubstr(".corvana-edit-"))));
    EXPECT_EQ(regionsOf(strGood), "0,NOISE,0,0.1\n1,VOICE,0.25,0.5\n");
    EXPECT_EQ(regionsOf(strLast), "0,VOICE,0.25,0.5\n");
    EXPECT_EQ(contentsOf(strBroken), "RIFF");
    EXPECT_THAT(namesInFolder(), UnorderedElementsAre("a.wav", "b.wav", "c.wav", "d.wav"));
}

TEST_F(AnnotationEditTest, TakesFilesFromLists)
{
    makeFile("a.wav");
    makeFile("b.wav");
    const std::string strList = m_dir.write("list.txt", "a.wav\nnone.wav\nb.wav\n");

    EXPECT_EQ(annotations({"add", "--list", strList, "VOICE", "0", "1"}), EXIT_SOME_FAILED);

    EXPECT_EQ(m_data.str(),
              m_dir.file("a.wav") + ": 1 region, 1 added\n" + m_dir.file("b.wav") + ": 1 region, 1 added\n");
    EXPECT_THAT(m_messages.str(), HasSubstr("corvana: none.wav: "));
}

TEST_F(AnnotationEditTest, WantsAFile)
{
    EXPECT_EQ(annotations({"clear"}), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: no recording given: name at least one, or a list of them with --list FILE\n");
    EXPECT_EQ(annotations({"clear", "-"}), EXIT_SOME_FAILED);
    EXPECT_EQ(m_messages.str(), "corvana: -: files can be edited, standard input cannot\n");
}

TEST_F(AnnotationEditTest, ShowsNamesWithoutTheirControlCharacters)
{
    const std::string strFile = makeFile("a\nb.wav");

    EXPECT_EQ(annotations({"add", strFile, "VOICE", "0", "1"}), EXIT_DONE);

    EXPECT_EQ(m_data.str(), m_dir.path() + "/a\\nb.wav: 1 region, 1 added\n");
}

TEST_F(AnnotationEditTest, StopsWhenItsResultsAreLost)
{
    const std::string strFirst = makeFile("a.wav");
    const std::string strSecond = makeFile("b.wav");
    const std::string strBefore = contentsOf(strSecond);
    std::ofstream full("/dev/full");

    EXPECT_EQ(runCommandLine({"annotations", "add", strFirst, strSecond, "VOICE", "0", "1"}, {}, full, m_messages),
              EXIT_UNUSABLE);

    EXPECT_EQ(contentsOf(strSecond), strBefore);
}

// ---- What is kept

TEST_F(AnnotationEditTest, KeepsAllBytesButTheRegions)
{
    const std::string strChunks = Corvana::Test::fmtChunk() +
                                  Corvana::Test::ChunkBuilder("odd ").text("abc", "odd size").bytes() +
                                  Corvana::Test::dataChunk(Corvana::Test::audioBytes(4000));
    const std::string strFile = m_dir.write("a.wav", Corvana::Test::riff(strChunks));

    EXPECT_EQ(annotations({"add", strFile, "MUSIC", "0.125", "0.25"}), EXIT_DONE);
    EXPECT_EQ(contentsOf(strFile),
              Corvana::Test::riff(
                  strChunks + Corvana::Test::cueChunk({Corvana::Test::cuePoint(1, 1000)}) +
                  Corvana::Test::adtlChunk(Corvana::Test::ltxtChunk(1, 1000) + Corvana::Test::lablChunk(1, "MUSIC"))));

    EXPECT_EQ(annotations({"clear", strFile}), EXIT_DONE);
    EXPECT_EQ(contentsOf(strFile), Corvana::Test::riff(strChunks));
}

TEST_F(AnnotationEditTest, StoresNamesBeforeLengthsForOtherPrograms)
{
    const std::string strFile = makeFile("a.wav", {{"VOICE", 0, 800}, {"NOISE", 800, 800}});
    const auto hasOrder = [&](const std::vector<std::string>& in_vChunks) {
        const std::string strContents = contentsOf(strFile);
        std::size_t uiPos = strContents.find("adtl");
        for (const std::string& strChunk : in_vChunks)
            uiPos = uiPos == std::string::npos ? uiPos : strContents.find(strChunk, uiPos + 4);
        return uiPos != std::string::npos;
    };
    EXPECT_FALSE(hasOrder({"labl", "labl", "ltxt", "ltxt"}));

    // Although no region changes.
    EXPECT_EQ(annotations({"clear", "--match", "-", "--interop", strFile}), EXIT_DONE);

    EXPECT_TRUE(hasOrder({"labl", "labl", "ltxt", "ltxt"}));
    EXPECT_EQ(m_messages.str(), "");
    EXPECT_EQ(regionsOf(strFile), "0,VOICE,0,0.1\n1,NOISE,0.1,0.2\n");

    EXPECT_EQ(annotations({"add", strFile, "BEEP", "0", "0.1"}), EXIT_DONE);
    EXPECT_TRUE(hasOrder({"ltxt", "labl", "ltxt", "labl", "ltxt", "labl"}));
}

TEST_F(AnnotationEditTest, DoesNotTouchAFileInWhichNothingChanges)
{
    const std::string strFile = makeFile("a.wav", {{"VOICE", 0, 800}});
    const struct stat before = statusOf(strFile);

    EXPECT_EQ(annotations({"clear", "--match", "NOISE", strFile}), EXIT_DONE);

    EXPECT_EQ(m_data.str(), strFile + ": 1 region, 0 removed\n");
    EXPECT_EQ(statusOf(strFile).st_ino, before.st_ino);
    EXPECT_EQ(statusOf(strFile).st_ctim.tv_nsec, before.st_ctim.tv_nsec);
}

// Of a file with two names, none would be made.
TEST_F(AnnotationEditTest, MakesNoCopyOfAFileInWhichNothingChanges)
{
    const std::string strFile = makeFile("a.wav", {{"VOICE", 0, 800}});
    std::filesystem::create_hard_link(strFile, m_dir.file("b.wav"));

    EXPECT_EQ(annotations({"clear", "--match", "NOISE", strFile}), EXIT_DONE);

    EXPECT_EQ(m_data.str(), strFile + ": 1 region, 0 removed\n");
    EXPECT_EQ(m_messages.str(), "");
    EXPECT_EQ(annotations({"clear", strFile}), EXIT_SOME_FAILED);
}

TEST_F(AnnotationEditTest, TellsOnceWhatIsOddAboutAFile)
{
    const std::string strFile =
        m_dir.write("a.wav", Corvana::Test::riff(Corvana::Test::fmtChunk() +
                                                 Corvana::Test::dataChunk(Corvana::Test::audioBytes(16000)) +
                                                 Corvana::Test::adtlChunk(Corvana::Test::ltxtChunk(1, 80))));

    EXPECT_EQ(annotations({"add", strFile, "VOICE", "0", "1"}), EXIT_DONE);

    EXPECT_EQ(m_messages.str(), "corvana: " + strFile +
                                    ": warning: Error, cue point ID in ltxt chunk has no associated cue. Skipping "
                                    "it...\n");
}

TEST_F(AnnotationEditTest, EditsTheTargetOfALink)
{
    const std::string strFile = makeFile("a.wav");
    std::filesystem::create_symlink("a.wav", m_dir.file("link.wav"));

    EXPECT_EQ(annotations({"add", m_dir.file("link.wav"), "VOICE", "0", "1"}), EXIT_DONE);

    EXPECT_TRUE(std::filesystem::is_symlink(m_dir.file("link.wav")));
    EXPECT_EQ(regionsOf(strFile), "0,VOICE,0,1\n");
}

TEST_F(AnnotationEditTest, RefusesAFileWithSeveralNames)
{
    const std::string strFile = makeFile("a.wav");
    std::filesystem::create_hard_link(strFile, m_dir.file("b.wav"));
    const std::string strBefore = contentsOf(strFile);

    for (const char* szOption : {"--interop", "--dry-run"}) {
        EXPECT_EQ(annotations({"add", szOption, strFile, "VOICE", "0", "1"}), EXIT_SOME_FAILED) << szOption;
        EXPECT_THAT(m_messages.str(), HasSubstr("has 2 names (hard links), of which one would go on alone\n"));
        EXPECT_EQ(m_data.str(), "");
    }
    EXPECT_EQ(contentsOf(strFile), strBefore);
}

TEST_F(AnnotationEditTest, RefusesAFolderOrAFileThatMayNotBeWritten)
{
    const std::string strFile = makeFile("a.wav");
    const std::string strProtected = makeFile("b.wav");
    chmod(strFile.c_str(), 0666);
    chmod(strProtected.c_str(), 0444);
    const std::string strBefore = contentsOf(strFile);
    {
        const WithoutRoot user(m_dir.path());
        EXPECT_EQ(annotations({"add", strFile, "VOICE", "0", "1"}), EXIT_SOME_FAILED);
        EXPECT_EQ(m_messages.str(), "corvana: " + strFile +
                                        ": Could not edit file, could not make a working copy "
                                        "beside it, Permission denied\n");
        EXPECT_EQ(annotations({"add", strProtected, "VOICE", "0", "1"}), EXIT_SOME_FAILED);
        EXPECT_EQ(m_messages.str(), "corvana: " + strProtected + ": Could not edit file, Permission denied\n");
        EXPECT_EQ(m_data.str(), "");
    }
    chmod(m_dir.path().c_str(), 0755);
    EXPECT_EQ(contentsOf(strFile), strBefore);
    EXPECT_THAT(namesInFolder(), UnorderedElementsAre("a.wav", "b.wav"));
}

// ---- What would come out unreadable

TEST_F(AnnotationEditTest, RefusesAFileWithAGapInItsCuePoints)
{
    const std::string strChunks =
        Corvana::Test::fmtChunk() + Corvana::Test::dataChunk(Corvana::Test::audioBytes(16000)) +
        Corvana::Test::cueChunk({Corvana::Test::cuePoint(1, 0), Corvana::Test::cuePoint(3, 800)}) +
        Corvana::Test::adtlChunk(Corvana::Test::ltxtChunk(1, 80) + Corvana::Test::lablChunk(1, "VOICE") +
                                 Corvana::Test::ltxtChunk(3, 80) + Corvana::Test::lablChunk(3, "NOISE"));
    const std::string strFile = m_dir.write("a.wav", Corvana::Test::riff(strChunks));

    for (const char* szOption : {"-q", "--dry-run"}) {
        EXPECT_EQ(annotations({"add", szOption, strFile, "BEEP", "0", "1"}), EXIT_SOME_FAILED);
        EXPECT_THAT(m_messages.str(), HasSubstr(strFile + ": region 1 has no type (the file skips cue point 2), and no "
                                                          "reader would accept what is written for it; 'corvana "
                                                          "annotations check --fix' removes such gaps\n"));
    }
    EXPECT_EQ(contentsOf(strFile), Corvana::Test::riff(strChunks));
    EXPECT_EQ(annotations({"clear", "-q", strFile}), EXIT_DONE); // takes the gap with it
    EXPECT_EQ(regionsOf(strFile), "");
}

TEST_F(AnnotationEditTest, RefusesWhatReadsBackOtherwiseThanItWasMeant)
{
    const std::string strFile = makeFile("a.wav", {{"VOICE", 0, 800}});
    const std::string strBefore = contentsOf(strFile);
    AnnotationEditOptions options;
    options.m_vFiles = {strFile};
    AnnotationEdit edit(options, m_data, m_messages);

    // A time that is no number becomes 0.
    EXPECT_EQ(edit.run(edit.collectFiles(),
                       [](const std::string&, const Audio::AnnotatedFile&, AnnotationEdit::Regions& inout_vRegions) {
                           inout_vRegions[0].m_dStartTime = std::numeric_limits<double>::quiet_NaN();
                           return AnnotationEdit::Outcome{"changed", {}};
                       }),
              EXIT_SOME_FAILED);

    EXPECT_EQ(m_messages.str(), "corvana: " + strFile +
                                    ": what would be written reads as 1 region unlike the 1 that "
                                    "were meant\n");
    EXPECT_EQ(m_data.str(), "");
    EXPECT_EQ(contentsOf(strFile), strBefore);
    EXPECT_THAT(namesInFolder(), ElementsAre("a.wav"));
}

TEST_F(AnnotationEditTest, RefusesMoreRegionsThanReadersTake)
{
    const std::string strFile = makeFile("a.wav");
    const std::string strBefore = contentsOf(strFile);
    AnnotationEditOptions options;
    options.m_vFiles = {strFile};
    AnnotationEdit edit(options, m_data, m_messages);

    EXPECT_EQ(edit.run(edit.collectFiles(),
                       [](const std::string&, const Audio::AnnotatedFile&, AnnotationEdit::Regions& inout_vRegions) {
                           inout_vRegions.assign(Audio::AnnotatedFile::s_uiMaxCueId + 1,
                                                 {AnnotationEdit::Annotation::VOICE, 0.0, 0.5});
                           return AnnotationEdit::Outcome{"changed", {}};
                       }),
              EXIT_SOME_FAILED);

    EXPECT_EQ(m_messages.str(),
              "corvana: " + strFile + ": would have 1048577 regions; 1048576 are the most that readers accept\n");
    EXPECT_EQ(contentsOf(strFile), strBefore);
}

TEST_F(AnnotationEditTest, TakesAsManyRegionsAsReadersDo)
{
    AnnotationEditOptions options;
    options.m_vFiles = {makeFile("a.wav")};
    options.m_bDryRun = true;
    AnnotationEdit edit(options, m_data, m_messages);

    EXPECT_EQ(edit.run(edit.collectFiles(),
                       [](const std::string&, const Audio::AnnotatedFile&, AnnotationEdit::Regions& inout_vRegions) {
                           inout_vRegions.assign(Audio::AnnotatedFile::s_uiMaxCueId,
                                                 {AnnotationEdit::Annotation::VOICE, 0.0, 0.5});
                           inout_vRegions.back() = {}; // is refused before the others cost any time
                           return AnnotationEdit::Outcome{"changed", {}};
                       }),
              EXIT_SOME_FAILED);

    EXPECT_THAT(m_messages.str(), HasSubstr(": region 1048575 has no type"));
}

TEST_F(AnnotationEditTest, LeavesAFileAloneWhoseRegionsCannotBeRead)
{
    const std::string strContents = Corvana::Test::riff(
        Corvana::Test::fmtChunk() + Corvana::Test::dataChunk("abcd") +
        Corvana::Test::cueChunk({Corvana::Test::cuePoint(1, 0)}) +
        Corvana::Test::adtlChunk(Corvana::Test::ltxtChunk(1, 1) + Corvana::Test::lablChunk(1, "gizmo")));
    const std::string strFile = m_dir.write("a.wav", strContents);

    EXPECT_EQ(annotations({"clear", strFile}), EXIT_SOME_FAILED);

    EXPECT_EQ(m_messages.str(), "corvana: " + strFile +
                                    ": Error, label gizmo in WAV file does not match any "
                                    "annotation; Error, at least a label is missing in the "
                                    "annotations\n");
    EXPECT_EQ(contentsOf(strFile), strContents);
}

// 100 samples and that length are more than 32 bits hold, so the end seems to lie before the start.
TEST_F(AnnotationEditTest, CutsARegionWhoseEndHasNoNumber)
{
    for (const std::uint32_t uiStart : {100U, 20000U}) {
        const std::string strFile = makeFile("a.wav", {{"VOICE", uiStart, 0xFFFFFFFF}});
        const std::string strWarning =
            "corvana: " + strFile + ": warning: 1 region reaches beyond the end of the audio at 1 s; ";

        EXPECT_EQ(annotations({"clear", "--match", "NOISE", strFile}), EXIT_DONE); // changes nothing
        EXPECT_EQ(m_messages.str(), "");
        EXPECT_EQ(annotations({"add", "-n", strFile, "BEEP", "0", "1"}), EXIT_DONE);
        EXPECT_EQ(m_messages.str(), strWarning + "would be cut there\n");
        EXPECT_EQ(annotations({"add", strFile, "BEEP", "0", "1"}), EXIT_DONE);
        EXPECT_EQ(m_messages.str(), strWarning + "cut there\n");
        EXPECT_EQ(regionsOf(strFile), uiStart == 100 ? "0,VOICE,0.0125,1\n1,BEEP,0,1\n" : "0,VOICE,1,1\n1,BEEP,0,1\n");
    }
}

TEST_F(AnnotationEditTest, ExplainsHowManyChannelsAFileSaysItHas)
{
    for (const std::uint16_t usNbOfChannels : {std::uint16_t{0}, std::uint16_t{2}}) {
        // What is too short for a format does not count.
        const std::string strFile = m_dir.write(
            "a.wav", Corvana::Test::riff(Corvana::Test::ChunkBuilder("fmt ").u16(1, "PCM").bytes() +
                                         Corvana::Test::fmtChunk(usNbOfChannels) + Corvana::Test::dataChunk("abcd")));
        for (const std::vector<std::string>& vArguments :
             {std::vector<std::string>{"list", strFile}, {"add", strFile, "VOICE", "0", "0"}, {"check", strFile}}) {
            EXPECT_EQ(annotations(vArguments), EXIT_SOME_FAILED);
            EXPECT_THAT(m_data.str() + m_messages.str(),
                        AllOf(HasSubstr(usNbOfChannels == 0 ? "0 channels" : "2 channels"),
                              HasSubstr(usNbOfChannels == 0 ? "write 1 " : "'sox IN OUT remix 1'"),
                              Not(HasSubstr("Assertion"))));
        }
    }
}

// ---- Trying out

TEST_F(AnnotationEditTest, ChangesNothingWhenTryingOut)
{
    const std::string strFile = makeFile("a.wav", {{"VOICE", 0, 800}});
    const std::string strOther = makeFile("b.wav", {{"NOISE", 0, 800}});
    const std::string strBefore = contentsOf(strFile);
    const struct stat before = statusOf(strFile);
    const struct stat folder = statusOf(m_dir.path());
    const std::vector<std::pair<std::vector<std::string>, std::string>> vCommands = {
        {{"add", "--dry-run", strFile, "BEEP", "0", "1"}, "2 regions, 1 added"},
        {{"merge", "-n", strOther, strFile}, "2 regions, 1 added"},
        {{"copy", "-n", strOther, strFile}, "1 region, 1 copied, 1 removed"},
        {{"clear", "-n", strFile}, "0 regions, 1 removed"}};

    for (const auto& [vArguments, strResult] : vCommands) {
        EXPECT_EQ(annotations(vArguments), EXIT_DONE) << strResult;
        EXPECT_EQ(m_data.str(), strFile + ": " + strResult + " (dry run)\n");
    }

    EXPECT_EQ(contentsOf(strFile), strBefore);
    const struct stat after = statusOf(strFile);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_EQ(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec);
    EXPECT_EQ(statusOf(m_dir.path()).st_mtim.tv_nsec, folder.st_mtim.tv_nsec);
}

TEST_F(AnnotationEditTest, TellsWhenTryingOutThatAFileWouldBecomeTooLarge)
{
    const auto makeLargeFile = [this](std::uint32_t in_uiSize) {
        const std::string strFront = Corvana::Test::fmtChunk() + Corvana::Test::ChunkBuilder("data").bytes();
        const auto uiFront = static_cast<std::uint32_t>(4 + strFront.size());
        const std::string strFile =
            m_dir.write("a.wav", Corvana::Test::ChunkBuilder("RIFF")
                                     .text("WAVE", "form")
                                     .add(Corvana::Test::fmtChunk())
                                     .add(Corvana::Test::ChunkBuilder("data").claim(in_uiSize - uiFront).bytes())
                                     .claim(in_uiSize)
                                     .bytes());
        std::filesystem::resize_file(strFile, std::uint64_t{8} + in_uiSize); // takes no room on the disk
        return strFile;
    };
    // A cue point with its chunk, the list, length and label.
    constexpr std::uint32_t uiAdded = 36 + 12 + 28 + 18;

    const std::string strFitting = makeLargeFile(0xFFFFFFFE - uiAdded);
    EXPECT_EQ(annotations({"add", "-n", strFitting, "VOICE", "0", "1"}), EXIT_DONE) << m_messages.str();

    const std::string strFile = makeLargeFile(0xFFFFFFFE - uiAdded + 2);
    EXPECT_EQ(annotations({"add", "-n", strFile, "VOICE", "0", "1"}), EXIT_SOME_FAILED);
    EXPECT_EQ(m_messages.str(),
              "corvana: " + strFile + ": A WAV file cannot have 4294967296 bytes: its sizes have 32 bits\n");
    EXPECT_EQ(m_data.str(), "");
}

TEST_F(AnnotationEditTest, TellsWhenTryingOutWhatWouldFail)
{
    const std::string strFile = makeFile("a.wav");
    chmod(strFile.c_str(), 0666);
    {
        const WithoutRoot user(m_dir.path());
        EXPECT_EQ(annotations({"add", "-n", strFile, "VOICE", "0", "1"}), EXIT_SOME_FAILED);
    }
    EXPECT_EQ(m_messages.str(), "corvana: " + strFile + ": its folder could not be written, Permission denied\n");
    chmod(m_dir.path().c_str(), 0755);
    chmod(strFile.c_str(), 0444);
    {
        const WithoutRoot user(m_dir.path());
        EXPECT_EQ(annotations({"add", "-n", strFile, "VOICE", "0", "1"}), EXIT_SOME_FAILED);
    }
    EXPECT_EQ(m_messages.str(), "corvana: " + strFile + ": could not be written, Permission denied\n");
    chmod(m_dir.path().c_str(), 0755);
    EXPECT_EQ(annotations({"add", "-n", strFile, m_dir.file("none.wav"), "VOICE", "0", "2"}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), AllOf(HasSubstr("reaches beyond the end"),
                                        HasSubstr("none.wav: failed to open, No such file or directory\n")));
}

// ---- Notes

TEST_F(AnnotationEditTest, ShowsTheNotesThatGetLost)
{
    const std::string strFile = makeFileWithNotes("a.wav", {"who is\nthis?", "second"});

    EXPECT_EQ(annotations({"add", "--dry-run", strFile, "BEEP", "0", "1"}), EXIT_DONE);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: " + strFile +
                                             ": warning: would lose the note 'who is\\nthis?' "
                                             "of cue point 1; --save-notes FILE keeps "
                                             "notes\n"));
    EXPECT_EQ(annotations({"clear", "--match", "NOISE", strFile}), EXIT_DONE); // changes nothing, loses nothing
    EXPECT_EQ(m_messages.str(), "");

    EXPECT_EQ(annotations({"add", strFile, "BEEP", "0", "1"}), EXIT_DONE);

    EXPECT_EQ(m_messages.str(), "corvana: " + strFile +
                                    ": warning: loses the note 'who is\\nthis?' of cue point 1; "
                                    "--save-notes FILE keeps notes\n"
                                    "corvana: " +
                                    strFile +
                                    ": warning: loses the note 'second' of cue point 1; --save-notes FILE "
                                    "keeps notes\n");
    EXPECT_THAT(contentsOf(strFile), Not(HasSubstr("note")));
}

TEST_F(AnnotationEditTest, ShowsTheBeginningsOfLongNotesAndTheFirstHundred)
{
    const std::string strWhole(1000, 'a');
    std::vector<std::string> vNotes = {strWhole, strWhole + "b"};
    vNotes.resize(100, "short");
    EXPECT_EQ(annotations({"add", "-n", makeFileWithNotes("a.wav", vNotes), "BEEP", "0", "1"}), EXIT_DONE);
    EXPECT_THAT(m_messages.str(), AllOf(HasSubstr(" note '" + strWhole + "' of"),
                                        HasSubstr(" note '" + strWhole + "'... of"), Not(HasSubstr("more"))));

    vNotes.resize(101, "not shown");
    EXPECT_EQ(annotations({"add", "-n", makeFileWithNotes("b.wav", vNotes), "BEEP", "0", "1"}), EXIT_DONE);
    EXPECT_THAT(m_messages.str(),
                AllOf(HasSubstr("would lose the note texts of 1 more\n"), Not(HasSubstr("not shown"))));
}

TEST_F(AnnotationEditTest, TellsOfNotesThatHoldNothing)
{
    const std::string strFile = m_dir.write(
        "a.wav",
        Corvana::Test::riff(Corvana::Test::fmtChunk() + Corvana::Test::dataChunk(Corvana::Test::audioBytes(16000)) +
                            Corvana::Test::adtlChunk(Corvana::Test::ChunkBuilder("note").text("abc", "").bytes())));

    EXPECT_EQ(annotations({"add", "-n", strFile, "BEEP", "0", "1"}), EXIT_DONE);
    EXPECT_EQ(m_messages.str(), "corvana: " + strFile + ": warning: would lose 1 note too short to name a cue point\n");
    EXPECT_EQ(annotations({"add", "--save-notes", m_dir.file("notes.json"), strFile, "BEEP", "0", "1"}), EXIT_DONE);
    EXPECT_EQ(m_messages.str(), "corvana: " + strFile + ": warning: loses 1 note too short to name a cue point\n");
}

TEST_F(AnnotationEditTest, SavesNotesBeforeTheyGetLost)
{
    const std::string strFile = makeFileWithNotes("a.wav", {"first", "\xE9t\xE9"});
    const std::string strOther = makeFile("b.wav");
    const std::string strNotes = m_dir.file("notes.json");

    EXPECT_EQ(annotations({"add", "--save-notes", strNotes, strFile, strOther, "BEEP", "0", "1"}), EXIT_DONE);

    EXPECT_EQ(m_messages.str(), "corvana: " + strFile + ": 2 notes moved to " + strNotes + "\n");
    EXPECT_EQ(savedNotes(), (nlohmann::json{{{"file", strFile}, {"cue", 1}, {"start", 0.25}, {"text", "first"}},
                                            {{"file", strFile},
                                             {"cue", 1},
                                             {"start", 0.25},
                                             {"text", "\xEF\xBF\xBDt\xEF\xBF\xBD"},
                                             {"hex", "e974e9"}}}));
}

TEST_F(AnnotationEditTest, SavesANoteWithoutACuePointWithoutAStart)
{
    const std::string strNote =
        Corvana::Test::ChunkBuilder("note").u32(7, "cue point").text(std::string("lost\0", 5), "text").bytes();
    const std::string strFile =
        m_dir.write("a.wav", Corvana::Test::riff(Corvana::Test::fmtChunk() +
                                                 Corvana::Test::dataChunk(Corvana::Test::audioBytes(16000)) +
                                                 Corvana::Test::adtlChunk(strNote)));

    EXPECT_EQ(annotations({"add", "--save-notes", m_dir.file("notes.json"), strFile, "BEEP", "0", "1"}), EXIT_DONE);

    EXPECT_EQ(savedNotes(), (nlohmann::json{{{"file", strFile}, {"cue", 7}, {"start", nullptr}, {"text", "lost"}}}));
}

// Comparing each with all others would take minutes.
TEST_F(AnnotationEditTest, SavesManyNotes)
{
    NotesOfFiles notes;
    for (std::uint32_t uiNote = 0; uiNote < 80000; ++uiNote)
        notes["a.wav"].push_back({uiNote, 0.5, "text"});
    const std::string strNotes = m_dir.file("notes.json");

    EXPECT_EQ(saveNotes(strNotes, notes, {}), "");

    const std::string strSaved = contentsOf(strNotes);
    EXPECT_EQ(std::count(strSaved.begin(), strSaved.end(), '{'), 80000);
}

TEST_F(AnnotationEditTest, AddsToSavedNotesAndNeverReplacesThem)
{
    const std::string strNotes = m_dir.file("notes.json");
    const std::string strFile = makeFileWithNotes("a.wav", {"first"});
    EXPECT_EQ(annotations({"clear", "--save-notes", strNotes, strFile}), EXIT_DONE);
    EXPECT_EQ(savedNotes().size(), 1U);

    EXPECT_EQ(annotations({"add", "--save-notes", strNotes, strFile, "BEEP", "0", "1"}), EXIT_DONE); // has none now
    EXPECT_EQ(savedNotes().size(), 1U);
    makeFileWithNotes("a.wav", {"first", "second"});
    EXPECT_EQ(annotations({"clear", "--save-notes", strNotes, strFile}), EXIT_DONE);
    ASSERT_EQ(savedNotes().size(), 2U);
    EXPECT_EQ(savedNotes()[1]["text"], "second");
}

TEST_F(AnnotationEditTest, EditsNothingWhenNotesCannotBeSaved)
{
    const std::string strFile = makeFileWithNotes("a.wav", {"first"});
    const std::string strBefore = contentsOf(strFile);
    const std::string strText = m_dir.write("text.txt", "my diary");
    const std::string strObject = m_dir.write("object.json", R"({"file":"a.wav","text":"x"})");
    const std::string strNumbers = m_dir.write("numbers.json", "[1]");
    const std::string strNoText = m_dir.write("no-text.json", R"([{"file":"a.wav","text":"x"},{"file":"a.wav"}])");
    const std::string strNoFile = m_dir.write("no-file.json", R"([{"text":"x"}])");

    for (const std::string& strNotes :
         {m_dir.file("none/notes.json"), strText, strFile, m_dir.path(), strObject, strNumbers, strNoText, strNoFile}) {
        EXPECT_EQ(annotations({"clear", "--save-notes", strNotes, strFile}), EXIT_UNUSABLE) << strNotes;
        EXPECT_THAT(m_messages.str(), StartsWith("corvana: cannot write: " + strNotes + ": "));
        EXPECT_EQ(m_data.str(), "");
    }
    EXPECT_EQ(contentsOf(strFile), strBefore);
    EXPECT_EQ(contentsOf(strText), "my diary");
    EXPECT_EQ(annotations({"clear", "--save-notes", "", strFile}), EXIT_UNUSABLE);

    const std::string strEmpty = m_dir.write("empty.wav", "");
    EXPECT_EQ(annotations({"clear", "--save-notes", strEmpty, strFile, strEmpty}), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(),
              "corvana: cannot write: " + strEmpty + ": is both read and written; name another file\n");
    EXPECT_EQ(contentsOf(strEmpty), "");
}

TEST_F(AnnotationEditTest, SavesNoNotesWhenTryingOut)
{
    const std::string strFile = makeFileWithNotes("a.wav", {"first"});

    EXPECT_EQ(annotations({"clear", "-n", "--save-notes", m_dir.file("notes.json"), strFile}), EXIT_DONE);

    EXPECT_THAT(m_messages.str(), HasSubstr(": 1 note would move to "));
    EXPECT_THAT(namesInFolder(), ElementsAre("a.wav"));
}

} // namespace
} // namespace Corvana::Tools
