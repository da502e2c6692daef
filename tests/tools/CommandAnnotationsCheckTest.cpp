// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsCheck.h"

#include "corvana/AudioAnnotation.h"
#include "support/ChunkBuilder.h"
#include "support/TempDir.h"
#include "tools/CommandLine.h"
#include "tools/ExitCode.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace Corvana::Tools {
namespace {

using namespace Corvana::Test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;
using Json = nlohmann::json;

const std::string s_strAudio = "1234567890123456"; // 8 samples

std::string contentsOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

std::string region(std::uint32_t in_uiCueId, std::uint32_t in_uiLength = 2)
{
    return ltxtChunk(in_uiCueId, in_uiLength) + lablChunk(in_uiCueId, "BEEP");
}

std::string recording(const std::vector<std::string>& in_vPoints, const std::string& in_strRecords)
{
    return riff(fmtChunk() + dataChunk(s_strAudio) + cueChunk(in_vPoints) + adtlChunk(in_strRecords));
}

// As it comes out: the list keeps its place, the points go to the end.
std::string rewritten(const std::vector<std::string>& in_vPoints, const std::string& in_strRecords)
{
    return riff(fmtChunk() + dataChunk(s_strAudio) + adtlChunk(in_strRecords) + cueChunk(in_vPoints));
}

class CommandAnnotationsCheckTest : public testing::Test
{
protected:
    int run(const std::vector<std::string>& in_vArguments)
    {
        m_data.str("");
        m_messages.str("");
        std::vector<std::string> vArguments = {"annotations", "check"};
        vArguments.insert(vArguments.end(), in_vArguments.begin(), in_vArguments.end());
        return runCommandLine(vArguments, {}, m_data, m_messages);
    }

    // Mends the file, and gives its regions as "BEEP start=0s stop=1s".
    std::vector<std::string> mended(const std::string& in_strBytes)
    {
        m_dir.write("a.wav", in_strBytes);
        EXPECT_EQ(run({"--fix", m_strFile}), EXIT_DONE) << m_data.str();
        EXPECT_EQ(m_messages.str(), "");
        EXPECT_EQ(run({m_strFile}), EXIT_DONE) << m_data.str();
        std::ifstream stream(m_strFile, std::ios::binary);
        Audio::AnnotatedFile file;
        EXPECT_TRUE(file.readFromWAV(stream));
        std::vector<std::string> vRegions;
        for (const auto& annotation : file.annotations()) {
            std::ostringstream text;
            text << annotation;
            vRegions.push_back(text.str());
        }
        return vRegions;
    }

    TempDir m_dir;
    const std::string m_strFile = m_dir.file("a.wav");
    const std::string m_strSound = recording({cuePoint(1, 2)}, region(1));
    std::ostringstream m_data;
    std::ostringstream m_messages;
};

TEST_F(CommandAnnotationsCheckTest, SaysThatASoundFileHasNoFaults)
{
    m_dir.write("a.wav", m_strSound);
    EXPECT_EQ(run({m_strFile}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), m_strFile + ": 1 region, no faults\n");
    EXPECT_EQ(m_messages.str(), "");
}

TEST_F(CommandAnnotationsCheckTest, TellsWhereAFaultIsAndHowToMendIt)
{
    m_dir.write("a.wav", recording({cuePoint(1, 2)}, lablChunk(1, "BEEB") + ltxtChunk(1, 100)));
    EXPECT_EQ(run({m_strFile}), EXIT_SOME_FAILED);
    EXPECT_EQ(m_data.str(),
              m_strFile +
                  ": error at byte 120, \"labl\" of cue point 1: says 'BEEB', which is no type of a region\n"
                  "    to mend: the nearest type is BEEP; correct it in the program that wrote it\n" +
                  m_strFile +
                  ": warning at byte 138, \"ltxt\" of cue point 1: ends at sample 102, behind the end of the audio at "
                  "sample 8\n"
                  "    to mend: any change of the regions cuts it there, as does --fix\n" +
                  m_strFile + ": unreadable, 1 error, 1 warning\n");
    EXPECT_EQ(m_messages.str(), "");
}

TEST_F(CommandAnnotationsCheckTest, TakesRemarksForNoFault)
{
    m_dir.write("a.wav", recording({cuePoint(1, 2)}, region(1) + ChunkBuilder("note").u32(1, "id").bytes()));
    EXPECT_EQ(run({m_strFile}), EXIT_DONE);
    EXPECT_THAT(m_data.str(), HasSubstr(": 1 region, 1 remark, no faults\n"));
}

TEST_F(CommandAnnotationsCheckTest, ChecksAllFilesAndNamesThoseThatCannotBeRead)
{
    m_dir.write("a.wav", m_strSound);
    const std::string strList = m_dir.write("list.txt", "a.wav\n");
    EXPECT_EQ(run({m_dir.file("none.wav"), m_strFile, "--list", strList}), EXIT_SOME_FAILED);
    EXPECT_EQ(m_data.str(), m_strFile + ": 1 region, no faults\n" + m_strFile + ": 1 region, no faults\n");
    EXPECT_EQ(m_messages.str(), "corvana: " + m_dir.file("none.wav") + ": No such file or directory\n");
}

TEST_F(CommandAnnotationsCheckTest, RefusesWrongUsage)
{
    EXPECT_EQ(run({}), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), HasSubstr("no recording given"));
    EXPECT_EQ(run({"--dry-run", m_strFile}), EXIT_UNUSABLE);
    EXPECT_EQ(run({"--nosuch", m_strFile}), EXIT_UNUSABLE);
}

TEST_F(CommandAnnotationsCheckTest, WritesJson)
{
    m_dir.write("a.wav", m_strSound);
    m_dir.write("b.wav", "RIFX");
    EXPECT_EQ(run({"--json", m_strFile, m_dir.file("b.wav")}), EXIT_SOME_FAILED);
    const Json json = Json::parse(m_data.str());
    ASSERT_THAT(json, SizeIs(2));
    EXPECT_EQ(json[0], Json({{"file", m_strFile},
                             {"readable", true},
                             {"regions", 1},
                             {"errors", 0},
                             {"warnings", 0},
                             {"remarks", 0},
                             {"findings", Json::array()}}));
    EXPECT_EQ(json[1]["readable"], false);
    EXPECT_EQ(json[1]["regions"], nullptr);
    EXPECT_EQ(json[1]["errors"], 1);
    EXPECT_EQ(json[1]["findings"],
              Json::array({{{"severity", "error"},
                            {"record", "beginning"},
                            {"offset", 0},
                            {"fault", "is RIFX, whose numbers are big-endian"},
                            {"remedy", "convert it to a RIFF WAV file, which can hold up to 4 GiB"},
                            {"mendable", false}}}));
}

TEST_F(CommandAnnotationsCheckTest, ClosesGapsBetweenCuePoints)
{
    EXPECT_THAT(mended(recording({cuePoint(2, 1), cuePoint(5, 3)}, region(2) + region(5))),
                ElementsAre("BEEP start=0.000125s stop=0.000375s", "BEEP start=0.000375s stop=0.000625s"));
    EXPECT_EQ(contentsOf(m_strFile), rewritten({cuePoint(1, 1), cuePoint(2, 3)}, region(1) + region(2)));
}

TEST_F(CommandAnnotationsCheckTest, MendsTheSizesThatARecorderLeft)
{
    const std::string strData = ChunkBuilder("data").text(s_strAudio, "audio").claim(0).bytes();
    mended(ChunkBuilder("RIFF").text("WAVE", "form").add(fmtChunk() + strData).claim(0).bytes());
    EXPECT_EQ(contentsOf(m_strFile), riff(fmtChunk() + dataChunk(s_strAudio)));
}

TEST_F(CommandAnnotationsCheckTest, MendsACutChunkAndAMissingPaddingByte)
{
    const std::string strCut = ChunkBuilder("odd ").text("x", "").claim(100).unpadded().bytes();
    mended(ChunkBuilder("RIFF").text("WAVE", "").add(fmtChunk() + dataChunk(s_strAudio) + strCut).unpadded().bytes());
    EXPECT_EQ(contentsOf(m_strFile),
              riff(fmtChunk() + dataChunk(s_strAudio) + ChunkBuilder("odd ").text("x", "").padding(0).bytes()));
}

TEST_F(CommandAnnotationsCheckTest, MendsTheRestOfAFileWithAForeignChunkThatItsListCutsShort)
{
    const std::string strList = listChunk("INFO", ChunkBuilder("ICMT").text("abc", "").claim(100).unpadded().bytes());
    const std::string strChunks = fmtChunk() + dataChunk(s_strAudio) + strList;
    m_dir.write("a.wav", ChunkBuilder("RIFF").text("WAVE", "form").add(strChunks).claim(0).unpadded().bytes());

    EXPECT_EQ(run({"--fix", m_strFile}), EXIT_SOME_FAILED); // the foreign chunk stays as it is
    EXPECT_EQ(m_messages.str(), "");
    EXPECT_THAT(m_data.str(), HasSubstr("warning at byte 76, \"ICMT\": claims 100 bytes, of which 3 are there\n    to "
                                        "mend: if bytes were lost, restore the file; otherwise nothing reads it "
                                        "wrongly, and changes keep it as it is\n"));
    EXPECT_EQ(contentsOf(m_strFile), riff(strChunks));
}

TEST_F(CommandAnnotationsCheckTest, MendsAFileWhoseListCutsARegionsRecordShort)
{
    mended(recording({}, ChunkBuilder("labl").u32(1, "cue").text("BEEP", "").claim(100).bytes()));
    EXPECT_EQ(contentsOf(m_strFile), riff(fmtChunk() + dataChunk(s_strAudio)));
}

TEST_F(CommandAnnotationsCheckTest, CutsRegionsAtTheEndOfTheAudio)
{
    EXPECT_THAT(mended(recording({cuePoint(1, 6), cuePoint(2, 50)}, region(1, 100) + region(2))),
                ElementsAre("BEEP start=0.00075s stop=0.001s", "BEEP start=0.001s stop=0.001s"));
}

// A stop at the end reads back as a start and a length added up, which need not be the same double.
TEST_F(CommandAnnotationsCheckTest, CutsRegionsAtTheEndWhateverTheRate)
{
    for (const std::uint32_t uiRate : {8000U, 11025U, 22050U, 44100U})
        for (std::uint32_t uiNbOfSamples = 101; uiNbOfSamples < 181; ++uiNbOfSamples) {
            m_dir.write("a.wav", riff(fmtChunk(1, uiRate) + dataChunk(std::string(2 * uiNbOfSamples, 'x')) +
                                      cueChunk({cuePoint(1, uiNbOfSamples / 3)}) + adtlChunk(region(1, 10000))));
            EXPECT_EQ(run({"--fix", m_strFile}), EXIT_DONE) << uiRate << " Hz, " << uiNbOfSamples << " samples";
            EXPECT_EQ(m_messages.str(), "");
        }
}

TEST_F(CommandAnnotationsCheckTest, RemovesRecordsThatNobodyReadsAndEndsLabels)
{
    const std::string strLabel = ChunkBuilder("labl").u32(1, "id").text("BEEP", "").bytes();
    mended(recording({cuePoint(1, 0), cuePoint(1, 2)}, ltxtChunk(1, 7) + ltxtChunk(1, 2) + strLabel + ltxtChunk(9, 1) +
                                                           ChunkBuilder("ltxt").u32(1, "id").bytes()));
    EXPECT_EQ(contentsOf(m_strFile), rewritten({cuePoint(1, 2)}, region(1)));
}

TEST_F(CommandAnnotationsCheckTest, TellsWhatItMendedAndWhatIsLeft)
{
    m_dir.write("a.wav", recording({cuePoint(2, 2)}, region(2)) + "");
    EXPECT_EQ(run({"--fix", m_strFile}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), m_strFile +
                                ": mended at byte 72, cue point 2: 1 identifier before it skipped; each reads as a "
                                "region without a type, which cannot be written again\n" +
                                m_strFile + ": 1 region, no faults\n");
    m_dir.write("a.wav", riff(fmtChunk() + dataChunk(s_strAudio) + dataChunk("12") + cueChunk({cuePoint(2, 2)}) +
                              adtlChunk(region(2))));
    EXPECT_EQ(run({"--fix", "--json", m_strFile}), EXIT_SOME_FAILED);
    const Json json = Json::parse(m_data.str());
    EXPECT_THAT(json[0]["mended"], SizeIs(1));
    EXPECT_THAT(json[0]["findings"], SizeIs(1));
}

TEST_F(CommandAnnotationsCheckTest, ChangesNothingInADryRun)
{
    const std::string strFile = recording({cuePoint(2, 2)}, region(2));
    m_dir.write("a.wav", strFile);
    EXPECT_EQ(run({"--fix", "--dry-run", m_strFile}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_data.str(), StartsWith(m_strFile + ": would be mended at byte 72, cue point 2: "));
    EXPECT_EQ(contentsOf(m_strFile), strFile);
}

TEST_F(CommandAnnotationsCheckTest, LeavesAFileAloneThatNeedsNoMending)
{
    m_dir.write("a.wav", m_strSound);
    const auto time = std::filesystem::file_time_type(std::chrono::hours(1));
    std::filesystem::last_write_time(m_strFile, time);
    std::filesystem::permissions(m_strFile, std::filesystem::perms::owner_read);
    EXPECT_EQ(run({"--fix", m_strFile}), EXIT_DONE);
    EXPECT_EQ(m_messages.str(), "");
    EXPECT_EQ(std::filesystem::last_write_time(m_strFile), time);
}

TEST_F(CommandAnnotationsCheckTest, MendsNoFileWithErrorsOrNotes)
{
    const std::string strError = recording({cuePoint(2, 2)}, ltxtChunk(2, 1) + lablChunk(2, "nonsense"));
    m_dir.write("a.wav", strError);
    EXPECT_EQ(run({"--fix", m_strFile}), EXIT_SOME_FAILED);
    EXPECT_EQ(m_messages.str(),
              "corvana: " + m_strFile + ": not mended: has errors, which have to be mended by hand first\n");
    EXPECT_EQ(contentsOf(m_strFile), strError);

    const std::string strNote = recording({cuePoint(2, 2)}, region(2) + ChunkBuilder("note").u32(2, "id").bytes());
    m_dir.write("a.wav", strNote);
    EXPECT_EQ(run({"--fix", m_strFile}), EXIT_SOME_FAILED);
    EXPECT_EQ(m_messages.str(), "corvana: " + m_strFile + ": not mended: has notes, which would get lost\n");
    EXPECT_EQ(contentsOf(m_strFile), strNote);
}

TEST_F(CommandAnnotationsCheckTest, SaysWhyAFileCannotBeReplaced)
{
    m_dir.write("a.wav", recording({cuePoint(2, 2)}, region(2)));
    std::filesystem::create_hard_link(m_strFile, m_dir.file("b.wav"));
    EXPECT_EQ(run({"--fix", m_strFile}), EXIT_SOME_FAILED);
    EXPECT_EQ(m_messages.str(), "corvana: " + m_strFile +
                                    ": not mended: Could not edit file, it has 2 names (hard links), of which one "
                                    "would go on alone\n");
}

} // namespace
} // namespace Corvana::Tools
