// SPDX-License-Identifier: Apache-2.0
#include "tools/AnnotationChecker.h"

#include "corvana/AudioAnnotation.h"
#include "support/ChunkBuilder.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace Corvana::Tools {
namespace {

using namespace Corvana::Test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

// Of a file with one region, chunks begin at these bytes.
constexpr const char* s_szAudio = "1234567890123456"; // 8 samples
// "fmt " at 12, "data" at 36, "cue " at 60 with its first point at 72, "LIST" at 96, what it holds from 108 on.
std::string recording(const std::string& in_strPoints, const std::string& in_strRecords)
{
    return riff(fmtChunk() + dataChunk(s_szAudio) + in_strPoints + adtlChunk(in_strRecords));
}

const std::string s_strPoint = cueChunk({cuePoint(1, 2)});
const std::string s_strLength = ltxtChunk(1, 4);
const std::string s_strLabel = lablChunk(1, "BEEP");

class AnnotationCheckerTest : public testing::Test
{
protected:
    // The findings as "E 72 cue point 1: has no ...".
    std::vector<std::string> found(const std::string& in_strBytes)
    {
        const LogCapture log; // what the library says besides
        m_strFault = m_checker.check(m_dir.write("a.wav", in_strBytes));
        std::vector<std::string> vFound;
        for (const Finding& finding : m_checker.findings()) {
            vFound.push_back(std::string(1, "EWR"[finding.m_severity]) + " " + std::to_string(finding.m_uiOffset) +
                             " " + finding.m_strRecord + ": " + finding.m_strFault);
            EXPECT_NE(finding.m_strRemedy, "");
        }
        return vFound;
    }

    TempDir m_dir;
    AnnotationChecker m_checker;
    std::string m_strFault;
};

TEST_F(AnnotationCheckerTest, FindsNothingInASoundFile)
{
    EXPECT_THAT(found(recording(s_strPoint, s_strLength + s_strLabel)), IsEmpty());
    EXPECT_EQ(m_strFault, "");
    EXPECT_EQ(m_checker.getNbOfRegions(), 1U);
    EXPECT_FALSE(m_checker.isMendable());
    EXPECT_THAT(found(riff(fmtChunk() + dataChunk(s_szAudio))), IsEmpty());
    EXPECT_EQ(m_checker.getNbOfRegions(), 0U);
}

TEST_F(AnnotationCheckerTest, FindsNothingWrongWithTheOtherOrderOrOtherChunks)
{
    EXPECT_THAT(found(recording(s_strPoint, s_strLabel + s_strLength)), IsEmpty());
    EXPECT_THAT(found(riff(adtlChunk(s_strLength + s_strLabel) + ChunkBuilder("odd ").text("xyz", "foreign").bytes() +
                           s_strPoint + fmtChunk() + dataChunk(s_szAudio))),
                IsEmpty());
}

TEST_F(AnnotationCheckerTest, TellsWhyAFileCannotBeRead)
{
    EXPECT_EQ(m_checker.check(m_dir.file("none.wav")), "No such file or directory");
    EXPECT_EQ(m_checker.check(m_dir.path()), "Is a directory");
}

TEST_F(AnnotationCheckerTest, FindsOtherKindsOfFiles)
{
    EXPECT_THAT(found(""), ElementsAre("E 0 beginning: the file is empty"));
    EXPECT_THAT(found("text"), ElementsAre("E 0 beginning: is no RIFF file"));
    EXPECT_THAT(found("RIFX0000WAVE"), ElementsAre("E 0 beginning: is RIFX, whose numbers are big-endian"));
    EXPECT_THAT(found("RF640000WAVE"), ElementsAre("E 0 beginning: is RF64, whose sizes have 64 bits"));
    EXPECT_THAT(found("BW640000WAVE"), ElementsAre("E 0 beginning: is BW64, whose sizes have 64 bits"));
    EXPECT_THAT(found("RIFF0000AVI "), ElementsAre("E 8 beginning: its RIFF form is \"AVI \", not \"WAVE\""));
    EXPECT_THAT(found("RIFF"), ElementsAre("E 4 beginning: the file ends within its first 12 bytes"));
}

TEST_F(AnnotationCheckerTest, FindsASizeOfTheFormThatIsWrong)
{
    const std::string strChunks = fmtChunk() + dataChunk(s_szAudio);
    const auto form = [&](std::uint32_t in_uiSize) {
        return ChunkBuilder("RIFF").text("WAVE", "form").add(strChunks).claim(in_uiSize).bytes();
    };
    EXPECT_THAT(found(form(52)), IsEmpty());
    EXPECT_THAT(found(form(51)), ElementsAre("W 4 RIFF size: is 51, but the chunks take 52 bytes"));
    EXPECT_THAT(found(form(1000)), ElementsAre("W 4 RIFF size: is 1000, but the chunks take 52 bytes"));
    EXPECT_TRUE(m_checker.isMendable());
    EXPECT_THAT(found(form(0)), ElementsAre("W 4 RIFF size: is 0, as recorders leave it that were stopped, but the "
                                            "chunks take 52 bytes"));
}

TEST_F(AnnotationCheckerTest, AcceptsALastPaddingByteThatTheFormDoesNotCount)
{
    EXPECT_THAT(found(ChunkBuilder("RIFF").text("WAVE", "form").add(fmtChunk() + dataChunk("123")).claim(39).bytes()),
                ElementsAre("W 48 \"data\": ends within a sample"));
}

TEST_F(AnnotationCheckerTest, FindsAudioOfUnknownSize)
{
    const std::string strData = ChunkBuilder("data").text(s_szAudio, "audio").claim(0xFFFFFFFF).bytes();
    EXPECT_THAT(found(riff(fmtChunk() + strData)),
                ElementsAre("W 40 \"data\": says 4294967295 for its size, as recorders leave it that were stopped; it "
                            "has 16 bytes"));
    const std::string strEmpty = ChunkBuilder("data").text(s_szAudio, "audio").claim(0).bytes();
    EXPECT_THAT(found(ChunkBuilder("RIFF").text("WAVE", "form").add(fmtChunk() + strEmpty).claim(0).bytes()),
                ElementsAre(StartsWith("W 4 RIFF size: is 0"), StartsWith("W 40 \"data\": says 0 for its size")));
}

TEST_F(AnnotationCheckerTest, MendsWhatBelongsToRegionsWhenItIsCutAtTheEndOfItsList)
{
    for (const char* szId : {"ltxt", "labl", "note", "copy"}) {
        found(recording(s_strPoint, ChunkBuilder(szId).text(std::string(20, '\0'), "fields").claim(40).bytes()));
        const auto itCut = std::find_if(m_checker.findings().begin(), m_checker.findings().end(), [](const auto& in_f) {
            return in_f.m_strFault == "claims 40 bytes, of which 20 are there";
        });
        ASSERT_NE(itCut, m_checker.findings().end()) << szId;
        EXPECT_EQ(itCut->m_bMendable, std::string_view(szId) != "copy") << szId;
    }
}

TEST_F(AnnotationCheckerTest, FindsAChunkThatIsCut)
{
    const std::string strData = ChunkBuilder("data").text(s_szAudio, "audio").claim(20).bytes();
    EXPECT_THAT(found(ChunkBuilder("RIFF").text("WAVE", "form").add(fmtChunk() + strData).bytes()),
                ElementsAre("W 40 \"data\": claims 20 bytes, of which 16 are there"));
    EXPECT_TRUE(m_checker.isMendable());
}

TEST_F(AnnotationCheckerTest, FindsEmptyAudioBeforeBytesThatBelongToNothing)
{
    EXPECT_THAT(found(riff(fmtChunk() + dataChunk("")) + "\x01\x02\x03"),
                ElementsAre("W 36 \"data\": is empty, but 3 bytes from byte 44 on belong to no chunk; they may be the "
                            "audio of a recorder that was stopped"));
    EXPECT_THAT(m_checker.findings()[0].m_strRemedy,
                "if so, write 0 over the four bytes from byte 4 on and over those from byte 40 on");
    EXPECT_THAT(found(riff(fmtChunk() + dataChunk(s_szAudio)) + "\x01\x02\x03"), IsEmpty());
}

// Their names begin one byte before where readers look.
TEST_F(AnnotationCheckerTest, FindsChunksThatAMissingPaddingByteHides)
{
    const std::string strOdd = ChunkBuilder("data").text("123456789", "").unpadded().bytes();
    const std::string strRegions = s_strPoint + adtlChunk(s_strLength + s_strLabel);
    const std::string strFile = riff(fmtChunk() + strOdd + strRegions);
    EXPECT_THAT(found(strFile),
                ElementsAre("E 53 \"cue \": is not found by readers: the padding byte is missing that belongs behind "
                            "the odd size of \"data\" at byte 36",
                            StartsWith("W 4 RIFF size: "), StartsWith("W 54 \"data\": ends within a sample")));
    EXPECT_THAT(m_checker.findings()[0].m_strRemedy, StartsWith("insert a zero byte in front of byte 53; then --fix"));
    EXPECT_THAT(m_checker.findings()[1].m_strRemedy, StartsWith("mend the errors first"));
    EXPECT_FALSE(m_checker.isMendable());
    EXPECT_FALSE(m_checker.isReadable());
    // As it says.
    found(std::string(strFile).insert(53, 1, '\0'));
    EXPECT_EQ(m_checker.getNbOf(Finding::ERROR), 0U);
    EXPECT_EQ(m_checker.getNbOfRegions(), 1U);
    EXPECT_TRUE(m_checker.isMendable());

    EXPECT_THAT(found(riff(fmtChunk() + strOdd + adtlChunk(s_strLength + s_strLabel) + s_strPoint))[0],
                StartsWith("E 53 \"LIST\": is not found"));
}

TEST_F(AnnotationCheckerTest, FindsRecordsThatAMissingPaddingByteHides)
{
    const std::string strOdd =
        ChunkBuilder("labl").u32(1, "cue point").text("BEEP", "").text(std::string(1, '\0'), "").unpadded().bytes();
    const std::string strFile = recording(s_strPoint, strOdd + s_strLength);
    const std::vector<std::string> vFound = found(strFile);
    ASSERT_THAT(vFound, SizeIs(testing::Ge(2U)));
    EXPECT_THAT(vFound[1], StartsWith("E 125 \"ltxt\": is not found by readers: "));
    EXPECT_THAT(
        m_checker.findings()[1].m_strRemedy,
        StartsWith("insert a zero byte in front of byte 125, and make the size of \"LIST\" at byte 96 larger by "
                   "1; then --fix"));
}

TEST_F(AnnotationCheckerTest, TakesAnyOtherPaddingByteForOne)
{
    const std::string strOdd = ChunkBuilder("odd ").text("x", "").padding('c').bytes();
    EXPECT_THAT(
        found(riff(fmtChunk() + dataChunk(s_szAudio) + strOdd + s_strPoint + adtlChunk(s_strLength + s_strLabel))),
        IsEmpty());
}

TEST_F(AnnotationCheckerTest, PromisesNoMendingOfAFormAbove4GiB)
{
    const LogCapture log;
    // As a recorder leaves it that was stopped.
    const std::string strFile =
        m_dir.write("a.wav", ChunkBuilder("RIFF")
                                 .text("WAVE", "form")
                                 .add(fmtChunk() + s_strPoint + adtlChunk(s_strLength + s_strLabel) +
                                      ChunkBuilder("data").claim(0xFFFFFFFF).bytes())
                                 .claim(0xFFFFFFFF)
                                 .bytes());
    std::filesystem::resize_file(strFile, 0x100000100);

    EXPECT_EQ(m_checker.check(strFile), "");

    ASSERT_THAT(m_checker.findings(), SizeIs(3)); // the last of an odd size
    EXPECT_EQ(m_checker.findings()[0].m_severity, Finding::ERROR);
    EXPECT_THAT(m_checker.findings()[0].m_strFault, HasSubstr("the regions can be read, but not changed"));
    EXPECT_THAT(m_checker.findings()[1].m_strRemedy, StartsWith("mend the errors first"));
    EXPECT_FALSE(m_checker.isMendable());
    EXPECT_TRUE(m_checker.isReadable());
    EXPECT_EQ(m_checker.getNbOfRegions(), 1U);
}

TEST_F(AnnotationCheckerTest, FindsMoreChunksThanAreRead)
{
    std::string strChunks;
    strChunks.reserve(8 * (IFF::IFFParser::s_uiMaxNbOfChunks + 1));
    for (unsigned long uiChunk = 0; uiChunk <= IFF::IFFParser::s_uiMaxNbOfChunks; ++uiChunk)
        strChunks.append("junk\0\0\0\0", 8);
    EXPECT_THAT(found(riff(strChunks)), ElementsAre("E 0 chunks: are more than 4000000, which no recording needs"));
    EXPECT_EQ(m_strFault, "");
}

TEST_F(AnnotationCheckerTest, FindsAMissingPaddingByte)
{
    const std::string strOdd = ChunkBuilder("odd ").text("x", "").unpadded().bytes();
    EXPECT_THAT(found(ChunkBuilder("RIFF")
                          .text("WAVE", "form")
                          .add(fmtChunk() + dataChunk(s_szAudio) + strOdd)
                          .unpadded()
                          .bytes()),
                ElementsAre("W 69 \"odd \": has an odd size, but no padding byte behind it"));
    EXPECT_TRUE(m_checker.isMendable());
}

TEST_F(AnnotationCheckerTest, FindsBytesBehindTheLastChunkOfAList)
{
    EXPECT_THAT(found(riff(fmtChunk() + dataChunk(s_szAudio) + listChunk("INFO", "abcd"))),
                ElementsAre("W 72 \"LIST\": has 4 bytes behind its last chunk, too few to be one; a size before may be "
                            "wrong"));
    EXPECT_FALSE(m_checker.isMendable());
}

TEST_F(AnnotationCheckerTest, FindsAnOddNumberOfBytesBehindTheLastChunkWhereTheyBegin)
{
    EXPECT_THAT(found(riff(fmtChunk() + dataChunk(s_szAudio) + listChunk("INFO", "abc"))),
                ElementsAre(StartsWith("W 72 \"LIST\": has 3 bytes behind its last chunk")));
    const std::string strUnpadded = ChunkBuilder("LIST").text("INFO", "form").add("abc").unpadded().bytes();
    EXPECT_THAT(found(riff(fmtChunk() + dataChunk(s_szAudio) + strUnpadded)),
                ElementsAre(StartsWith("W 72 \"LIST\": has 3 bytes behind its last chunk"),
                            StartsWith("W 75 \"LIST\": has an odd size, but no padding byte")));
}

TEST_F(AnnotationCheckerTest, FindsContainersThatAreKeptClosed)
{
    std::string strNest = s_strPoint;
    for (int iDepth = 0; iDepth < 65; ++iDepth)
        strNest = listChunk("nest", strNest);
    EXPECT_THAT(found(riff(fmtChunk() + dataChunk(s_szAudio) + strNest)),
                ElementsAre(HasSubstr("\"LIST\": lies deeper than 64 containers")));
    EXPECT_FALSE(m_checker.isMendable());
    EXPECT_THAT(found(riff(fmtChunk() + dataChunk(s_szAudio) + ChunkBuilder("LIST").text("ab", "").bytes())),
                ElementsAre("W 60 \"LIST\": is too short for its form"));
    EXPECT_FALSE(m_checker.isMendable());
}

TEST_F(AnnotationCheckerTest, FindsMissingChunks)
{
    EXPECT_THAT(found(riff(dataChunk(s_szAudio))),
                ElementsAre("E 36 \"fmt \": is missing; nobody knows how the samples are stored"));
    EXPECT_THAT(found(riff(fmtChunk())), ElementsAre("E 36 \"data\": is missing; there is no audio"));
    EXPECT_THAT(found(riff("")), ElementsAre(StartsWith("E 12 \"fmt \""), StartsWith("E 12 \"data\"")));
}

TEST_F(AnnotationCheckerTest, FindsAFormatThatIsTooShort)
{
    const std::string strShort = ChunkBuilder("fmt ").u16(1, "format tag").u16(1, "channels").bytes();
    EXPECT_THAT(
        found(riff(strShort + dataChunk(s_szAudio))),
        ElementsAre(StartsWith("E 48 \"fmt \": is missing"),
                    "W 12 \"fmt \": has 4 bytes, too few for its fields, which take 16; it counts as if it were "
                    "not there"));
}

TEST_F(AnnotationCheckerTest, FindsAFormatThatCannotBe)
{
    EXPECT_THAT(found(riff(fmtChunk(2, 0, 7) + dataChunk(s_szAudio))),
                ElementsAre("E 22 \"fmt \": has 2 channels; regions are for mono recordings",
                            "E 24 \"fmt \": says that the sample rate is 0",
                            "E 34 \"fmt \": says that a sample has 7 bits, fewer than 8"));
}

TEST_F(AnnotationCheckerTest, FindsASecondChunkOfAudio)
{
    EXPECT_THAT(found(riff(fmtChunk() + dataChunk(s_szAudio) + dataChunk("12"))),
                ElementsAre("W 60 \"data\": is not the only one; only the first counts as the audio"));
}

TEST_F(AnnotationCheckerTest, FindsACountOfCuePointsThatIsWrong)
{
    const auto cue = [](std::uint32_t in_uiCount, const std::string& in_strMore) {
        return ChunkBuilder("cue ").u32(in_uiCount, "count").add(cuePoint(1, 2) + in_strMore).bytes();
    };
    EXPECT_THAT(found(recording(cue(5, ""), s_strLength + s_strLabel)),
                ElementsAre("W 68 \"cue \": counts 5 cue points, but its data have 28 bytes, not 124; 1 are read"));
    EXPECT_THAT(found(recording(cue(1, "ab"), s_strLength + s_strLabel)),
                ElementsAre("W 68 \"cue \": counts 1 cue point, but its data have 30 bytes, not 28; 1 are read"));
    EXPECT_THAT(found(riff(fmtChunk() + dataChunk(s_szAudio) + ChunkBuilder("cue ").text("ab", "").bytes())),
                ElementsAre("W 60 \"cue \": is too short for the number of its points"));
}

TEST_F(AnnotationCheckerTest, FindsAPointWithoutLengthOrType)
{
    EXPECT_THAT(found(recording(s_strPoint, s_strLabel)),
                ElementsAre("E 72 cue point 1: has no \"ltxt\", which would tell how long the region is"));
    EXPECT_THAT(found(recording(s_strPoint, s_strLength)),
                ElementsAre("E 72 cue point 1: has no \"labl\", which would tell the type of the region"));
    EXPECT_EQ(m_checker.getNbOfRegions(), 0U);
}

TEST_F(AnnotationCheckerTest, FindsALabelThatIsNoType)
{
    EXPECT_THAT(found(recording(s_strPoint, s_strLength + lablChunk(1, "CPA_HUMEN"))),
                ElementsAre("E 148 \"labl\" of cue point 1: says 'CPA_HUMEN', which is no type of a region"));
    EXPECT_THAT(m_checker.findings()[0].m_strRemedy, StartsWith("the nearest type is CPA_HUMAN"));
    EXPECT_THAT(found(recording(s_strPoint, s_strLength + lablChunk(1, std::string(5000, 'x')))),
                ElementsAre("E 148 \"labl\" of cue point 1: says '" + std::string(60, 'x') +
                            "'..., which is no type of a region"));
    EXPECT_THAT(m_checker.findings()[0].m_strRemedy, StartsWith("give it a type"));
}

TEST_F(AnnotationCheckerTest, FindsALabelThatIsNoTypeBesideOneThatIs)
{
    EXPECT_THAT(found(recording(s_strPoint, s_strLength + lablChunk(1, "nonsense") + s_strLabel)),
                ElementsAre("W 148 \"labl\" of cue point 1: says 'nonsense', which is no type of a region",
                            "W 158 \"labl\" of cue point 1: is not the only one; the last that is a type counts"));
}

TEST_F(AnnotationCheckerTest, FindsALabelWithoutEnd)
{
    EXPECT_THAT(found(recording(s_strPoint, s_strLength + ChunkBuilder("labl").u32(1, "id").text("BEEP", "").bytes())),
                ElementsAre("W 152 \"labl\" of cue point 1: has no zero byte at its end"));
    EXPECT_TRUE(m_checker.isMendable());
}

TEST_F(AnnotationCheckerTest, FindsRecordsThatAreTooShort)
{
    const std::string strShort =
        ChunkBuilder("ltxt").u32(1, "id").bytes() + ChunkBuilder("labl").text("ab", "").bytes();
    EXPECT_THAT(
        found(recording(s_strPoint, s_strLength + s_strLabel + strShort)),
        ElementsAre("W 154 \"ltxt\": has 4 bytes, too few for its fields, which take 20; it counts as if it were "
                    "not there",
                    "W 166 \"labl\": has 2 bytes, too few for its fields, which take 4; it counts as if it were "
                    "not there"));
}

TEST_F(AnnotationCheckerTest, FindsRecordsWithoutAPoint)
{
    EXPECT_THAT(found(recording(s_strPoint, s_strLength + s_strLabel + ltxtChunk(2, 1) + lablChunk(9, "BEEP") +
                                                lablChunk(0, "nonsense"))),
                ElementsAre("W 154 \"ltxt\" of cue point 2: has no cue point; it is left out",
                            "W 182 \"labl\" of cue point 9: has no cue point; it is left out",
                            "W 200 \"labl\" of cue point 0: has no cue point; it is left out"));
}

TEST_F(AnnotationCheckerTest, FindsRecordsThatFallIntoAGap)
{
    EXPECT_THAT(found(recording(s_strPoint, s_strLength + s_strLabel + ltxtChunk(0, 1))),
                ElementsAre("E 154 \"ltxt\" of cue point 0: has no cue point, although there are points of higher "
                            "numbers; where its region starts is unknown"));
}

TEST_F(AnnotationCheckerTest, FindsIdentifiersThatAreSkippedOrDoubledOrTooLarge)
{
    const std::string strTwo = ltxtChunk(1, 1) + lablChunk(1, "BEEP") + ltxtChunk(4, 1) + lablChunk(4, "BEEP");
    EXPECT_THAT(found(recording(cueChunk({cuePoint(4, 2), cuePoint(1, 2)}), strTwo)),
                ElementsAre("W 72 cue point 4: 2 identifiers before it skipped; each reads as a region without a type, "
                            "which cannot be written again"));
    EXPECT_TRUE(m_checker.isMendable());
    EXPECT_EQ(m_checker.getNbOfRegions(), 2U);
    EXPECT_THAT(found(recording(cueChunk({cuePoint(1, 2), cuePoint(1, 3)}), s_strLength + s_strLabel)),
                ElementsAre("W 96 cue point 1: stands a second time, the first at byte 72; the last counts"));
    EXPECT_THAT(found(recording(cueChunk({cuePoint(1, 2), cuePoint(1048577, 3)}), s_strLength + s_strLabel)),
                ElementsAre("E 96 cue point 1048577: has an identifier above 1048576"));
}

TEST_F(AnnotationCheckerTest, CountsIdentifiersFrom0OrFrom1)
{
    EXPECT_THAT(found(recording(cueChunk({cuePoint(0, 2), cuePoint(1, 2)}),
                                s_strLength + s_strLabel + ltxtChunk(0, 1) + lablChunk(0, "BEEP"))),
                IsEmpty());
}

TEST_F(AnnotationCheckerTest, FindsALengthThatIsThereTwice)
{
    EXPECT_THAT(found(recording(s_strPoint, s_strLength + s_strLabel + s_strLength)),
                ElementsAre("W 154 \"ltxt\" of cue point 1: is not the only one; the last counts"));
}

TEST_F(AnnotationCheckerTest, FindsRegionsBehindTheEndOfTheAudio)
{
    EXPECT_THAT(found(recording(s_strPoint, ltxtChunk(1, 6) + s_strLabel)), IsEmpty());
    EXPECT_THAT(
        found(recording(s_strPoint, ltxtChunk(1, 7) + s_strLabel)),
        ElementsAre("W 120 \"ltxt\" of cue point 1: ends at sample 9, behind the end of the audio at sample 8"));
    EXPECT_THAT(found(recording(s_strPoint, ltxtChunk(1, 0xFFFFFFFF) + s_strLabel)),
                ElementsAre(HasSubstr("ends at sample 4294967297,")));
    EXPECT_THAT(found(recording(cueChunk({cuePoint(1, 9)}), s_strLength + s_strLabel)),
                ElementsAre("W 92 cue point 1: starts at sample 9, behind the end of the audio at sample 8"));
}

TEST_F(AnnotationCheckerTest, RemarksOnNotesAndASecondList)
{
    const std::string strNote = ChunkBuilder("note").u32(1, "id").text("loud", "").bytes();
    EXPECT_THAT(found(recording(s_strPoint, s_strLength + s_strLabel) + ""), IsEmpty());
    EXPECT_THAT(
        found(riff(fmtChunk() + dataChunk(s_szAudio) + s_strPoint + adtlChunk(s_strLength) +
                   adtlChunk(s_strLabel + strNote))),
        ElementsAre("R 136 \"LIST\" of associated data: is not the only one; changes write all regions into one "
                    "of them",
                    "R 166 \"note\": is a comment, which every change of the regions removes"));
    EXPECT_EQ(m_checker.getNbOf(Finding::REMARK), 2U);
    EXPECT_EQ(m_checker.getNbOf(Finding::WARNING), 0U);
    EXPECT_FALSE(m_checker.isMendable());
}

TEST_F(AnnotationCheckerTest, KeepsAThousandFindingsAndCountsTheRest)
{
    std::string strOrphans;
    for (std::uint32_t uiId = 0; uiId < 1500; ++uiId)
        strOrphans += ltxtChunk(uiId, 1);
    EXPECT_THAT(found(riff(fmtChunk() + dataChunk(s_szAudio) + adtlChunk(strOrphans))), SizeIs(1000));
    EXPECT_EQ(m_checker.getNbOf(Finding::WARNING), 1500U);
}

// The checker's errors are those for which a file is refused, whatever is put together.
RC_GTEST_FIXTURE_PROP(AnnotationCheckerTest, FindsErrorsExactlyWhereReadingFails, ())
{
    const auto id = [] { return *rc::gen::inRange<std::uint32_t>(0, 5); };
    std::vector<std::string> vPoints;
    for (int iCount = *rc::gen::inRange(0, 4); iCount > 0; --iCount)
        vPoints.push_back(cuePoint(id(), 1));
    std::string strRecords;
    for (int iCount = *rc::gen::inRange(0, 9); iCount > 0; --iCount)
        strRecords += *rc::gen::element(ltxtChunk(id(), 1), lablChunk(id(), "BEEP"), lablChunk(id(), "nonsense"));
    std::string strFile = recording(cueChunk(vPoints), strRecords);
    if (*rc::gen::inRange(0, 4) == 0)
        strFile[*rc::gen::inRange<std::size_t>(0, strFile.size())] = *rc::gen::arbitrary<char>();
    strFile.resize(strFile.size() - *rc::gen::element<std::size_t>(0, 0, 0, 1, 2, 13));

    found(strFile);

    const LogCapture log;
    std::istringstream stream(strFile);
    Audio::AnnotatedFile file;
    file.readFromWAV(stream);
    RC_ASSERT(m_strFault.empty());
    RC_ASSERT((m_checker.getNbOf(Finding::ERROR) == 0) == !stream.fail());
    for (const Finding& finding : m_checker.findings())
        RC_ASSERT(finding.m_strFault != "cannot be read");
}

} // namespace
} // namespace Corvana::Tools
