// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioAnnotation.h"

#include "audio/AnnotationTestHelpers.h"
#include "corvana/IFFWavRecords.h"
#include "support/ChunkBuilder.h"
#include "support/LogCapture.h"
#include "support/OddStreams.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

using namespace Corvana::Test;
using Corvana::Audio::AnnotatedFile;
using Corvana::IFF::Chunk;
using Corvana::IFF::ChunkPos;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* s_szLogger = "kestrivon.audio.annotation";
constexpr int s_iWarnings = 30000;
constexpr const char* s_szMissingStart = "Error, at least a start time is missing in the annotations";
constexpr const char* s_szMissingLabel = "Error, at least a label is missing in the annotations";
constexpr const char* s_szNoCue = "Error, cue point ID in ltxt chunk has no associated cue. Skipping it...";
constexpr const char* s_szNotContiguous =
    "Annotation indexes are not contiguous. This would lead to empty annotations, which should not be a problem.";
constexpr const char* s_szStopBeyond =
    "Stop time for one of the annotations is greater than the end of this audio file. Shrinking it...";

// One second at 8000 samples per second, 16 bits.
const std::string s_strHead = fmtChunk() + dataChunk(audioBytes(16000));

std::string plain(const std::string& in_strId, const std::string& in_strData)
{
    return ChunkBuilder(in_strId).text(in_strData, "data").bytes();
}

std::string wav(const std::string& in_strChunks)
{
    return riff(s_strHead + in_strChunks);
}

// Reads and gives the annotations with the messages: "4003 0.5-1 | a message | another".
std::string outcomeOf(const std::string& in_strFile)
{
    LogCapture log("kestrivon", s_iWarnings);
    std::string strOutcome = listed(in_strFile);
    for (const LogEvent& event : log.events()) {
        EXPECT_TRUE(event.m_strLogger != s_szLogger || event.m_strFile == "AudioAnnotation") << event;
        strOutcome += " | " + std::string(event.m_iLevel == 40000 ? "E " : "W ") + event.m_strText;
    }
    return strOutcome;
}

std::string error(const std::string& in_strText)
{
    return " | E " + in_strText;
}

std::string warning(const std::string& in_strText)
{
    return " | W " + in_strText;
}

const std::string s_strTwo = wav(cueChunk({cuePoint(1, 800), cuePoint(2, 4000)}) +
                                 adtlChunk(records(1, 400, "MALE") + records(2, 4000, "BEEP")));

} // namespace

// ---- reading ----

TEST(AnnotatedFileRead, FindsNothingAndSaysNothingWhereThereIsNothing)
{
    LogCapture log("kestrivon", 20000);
    AnnotatedFile file;

    EXPECT_TRUE(readFrom(wav(""), file));

    EXPECT_TRUE(file.annotations().empty());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(AnnotatedFileRead, TellsRateAndNumberOfSamplesAtDebugLevel)
{
    LogCapture log(s_szLogger, 10000);
    AnnotatedFile file;
    EXPECT_EQ(0u, file.getSampleRate());
    EXPECT_EQ(0u, file.getNbOfSamples());

    EXPECT_TRUE(readFrom(wav(""), file));

    EXPECT_EQ(8000u, file.getSampleRate());
    EXPECT_EQ(8000u, file.getNbOfSamples());
    ASSERT_THAT(log.texts(), ElementsAre("Sample rate of WAV file : 8000", "Number of samples in WAV file : 8000"));
    for (const LogEvent& event : log.events()) {
        EXPECT_EQ(10000, event.m_iLevel);
        EXPECT_EQ(s_szLogger, event.m_strLogger);
        EXPECT_EQ("AudioAnnotation", event.m_strFile);
    }
}

TEST(AnnotatedFileRead, PutsThreeRecordsTogether)
{
    EXPECT_EQ("4003 0.1-0.15 4008 0.5-1", outcomeOf(s_strTwo));
}

TEST(AnnotatedFileRead, ReadsLiteralBytes)
{
    const std::string strFile =
        unhex("52494646 8e000000 57415645"                                                       // RIFF, WAVE
              "666d7420 10000000 0100 0100 401f0000 401f0000 0100 0800"                          // 8000, 8 bits
              "64617461 08000000 8081828384858687"                                               // 8 samples
              "63756520 1c000000 01000000 01000000 04000000 64617461 00000000 00000000 04000000" // cue, sample 4
              "4c495354 36000000 6164746c"                                                       // LIST adtl
              "6c747874 14000000 01000000 02000000 72676e20 0000 0000 0000 0000"                 // 2 samples
              "6c61626c 0e000000 01000000 4350415f 48554d41 4e00");                              // CPA_HUMAN

    EXPECT_EQ("4025 0.0005-0.00075", outcomeOf(strFile));
}

TEST(AnnotatedFileRead, TakesLabelsBeforeLabelledTexts)
{
    EXPECT_EQ("4003 0.1-0.15 4008 0.5-1", outcomeOf(wav(adtlChunk(lablChunk(1, "MALE") + lablChunk(2, "BEEP") +
                                                                  ltxtChunk(1, 400) + ltxtChunk(2, 4000)) +
                                                        cueChunk({cuePoint(1, 800), cuePoint(2, 4000)}))));
}

TEST(AnnotatedFileRead, TakesRecordsInAnyOrderAndPlace)
{
    EXPECT_EQ(
        "4003 0.1-0.15 4008 0.5-1",
        outcomeOf(riff(listChunk("INFO", records(2, 4000, "BEEP")) + cueChunk({cuePoint(2, 4000)}) + ltxtChunk(1, 400) +
                       s_strHead + lablChunk(1, "MALE") + listChunk("nest", cueChunk({cuePoint(1, 800)})))));
}

TEST(AnnotatedFileRead, TakesTheStartFromTheSampleOffset)
{
    const std::string strPoint = ChunkBuilder("cue ")
                                     .u32(1, "number of cue points")
                                     .u32(1, "cue identifier")
                                     .u32(7, "position")
                                     .text("slnt", "chunk")
                                     .u32(8, "chunk start")
                                     .u32(9, "block start")
                                     .u32(800, "sample offset")
                                     .bytes();

    EXPECT_EQ("4003 0.1-0.15", outcomeOf(wav(strPoint + adtlChunk(records(1, 400, "MALE")))));
}

TEST(AnnotatedFileRead, DoesNotCheckThePurpose)
{
    const std::string strText = ChunkBuilder("ltxt")
                                    .u32(1, "cue identifier")
                                    .u32(400, "length in samples")
                                    .text("scrp", "purpose")
                                    .u16(1, "country")
                                    .u16(2, "language")
                                    .u16(3, "dialect")
                                    .u16(4, "code page")
                                    .text("some words", "text")
                                    .bytes();

    EXPECT_EQ("4003 0.1-0.15",
              outcomeOf(wav(cueChunk({cuePoint(1, 800)}) + adtlChunk(strText + lablChunk(1, "MALE")))));
}

TEST(AnnotatedFileRead, TakesTheLastOfTwoRecordsWithOneIdentifier)
{
    EXPECT_EQ("4008 0.5-1", outcomeOf(wav(cueChunk({cuePoint(1, 800), cuePoint(1, 4000)}) +
                                          adtlChunk(records(1, 400, "MALE") + records(1, 4000, "BEEP")))));
}

TEST(AnnotatedFileRead, TakesLabelsInLowerCaseAndWithoutAZeroByte)
{
    const std::string strLabel = ChunkBuilder("labl").u32(1, "cue identifier").text("cpa_fax", "label").bytes();

    EXPECT_EQ("4041 0.1-0.15", outcomeOf(wav(cueChunk({cuePoint(1, 800)}) + adtlChunk(ltxtChunk(1, 400) + strLabel))));
}

TEST(AnnotatedFileRead, TakesRegionsBeyondTheEndOfTheAudio)
{
    EXPECT_EQ("4003 2-3", outcomeOf(wav(cueChunk({cuePoint(1, 16000)}) + adtlChunk(records(1, 8000, "MALE")))));
}

TEST(AnnotatedFileRead, PutsIdentifierZeroAtIndexZero)
{
    EXPECT_EQ("4003 0.1-0.15 4008 0.5-1",
              outcomeOf(wav(cueChunk({cuePoint(0, 800), cuePoint(1, 4000)}) +
                            adtlChunk(records(0, 400, "MALE") + records(1, 4000, "BEEP")))));
}

TEST(AnnotatedFileRead, WarnsOfIdentifiersWithGaps)
{
    EXPECT_EQ(
        "4003 0.1-0.15 4008 0.5-1 0 0-0 4002 0.25-0.5" + warning(s_szNotContiguous),
        outcomeOf(wav(cueChunk({cuePoint(1, 800), cuePoint(2, 4000), cuePoint(4, 2000)}) +
                      adtlChunk(records(1, 400, "MALE") + records(2, 4000, "BEEP") + records(4, 2000, "FEMALE")))));
}

TEST(AnnotatedFileRead, WarnsOfAGapBehindIdentifierZero)
{
    EXPECT_EQ("4003 0.1-0.15 0 0-0 4008 0.5-1" + warning(s_szNotContiguous),
              outcomeOf(wav(cueChunk({cuePoint(0, 800), cuePoint(2, 4000)}) +
                            adtlChunk(records(0, 400, "MALE") + records(2, 4000, "BEEP")))));
}

TEST(AnnotatedFileRead, WarnsOfAFirstIdentifierAboveOne)
{
    EXPECT_EQ("0 0-0 4003 0.1-0.15" + warning(s_szNotContiguous),
              outcomeOf(wav(cueChunk({cuePoint(2, 800)}) + adtlChunk(records(2, 400, "MALE")))));
}

TEST(AnnotatedFileRead, RefusesACuePointWithoutALabelledText)
{
    EXPECT_EQ("refused" + error(s_szMissingStart),
              outcomeOf(wav(cueChunk({cuePoint(1, 800)}) + adtlChunk(lablChunk(1, "MALE")))));
}

TEST(AnnotatedFileRead, RefusesALabelledTextInAGap)
{
    EXPECT_EQ("refused" + error(s_szMissingStart),
              outcomeOf(wav(cueChunk({cuePoint(1, 800), cuePoint(3, 4000)}) +
                            adtlChunk(records(1, 400, "MALE") + ltxtChunk(2, 1) + records(3, 4000, "BEEP")))));
}

TEST(AnnotatedFileRead, RefusesALabelledTextOfIdentifierZeroThatHasNoCuePoint)
{
    EXPECT_EQ("refused" + error(s_szMissingStart),
              outcomeOf(wav(cueChunk({cuePoint(1, 800)}) + adtlChunk(ltxtChunk(0, 1) + records(1, 400, "MALE")))));
}

TEST(AnnotatedFileRead, RefusesACuePointWithoutALabel)
{
    EXPECT_EQ("refused" + error(s_szMissingLabel),
              outcomeOf(wav(cueChunk({cuePoint(1, 800)}) + adtlChunk(ltxtChunk(1, 400)))));
}

TEST(AnnotatedFileRead, RefusesALabelInAGap)
{
    EXPECT_EQ("refused" + error(s_szMissingLabel),
              outcomeOf(wav(cueChunk({cuePoint(1, 800), cuePoint(3, 4000)}) +
                            adtlChunk(records(1, 400, "MALE") + lablChunk(2, "MALE") + records(3, 4000, "BEEP")))));
}

TEST(AnnotatedFileRead, RefusesALabelThatIsNoType)
{
    EXPECT_EQ("refused" + error("Error, label barking dog in WAV file does not match any annotation") +
                  error(s_szMissingLabel),
              outcomeOf(wav(cueChunk({cuePoint(1, 800)}) + adtlChunk(records(1, 400, "barking dog")))));
}

TEST(AnnotatedFileRead, RefusesTheTextOfNoType)
{
    EXPECT_EQ("refused" +
                  error("Error, label ???AnnotatedFile_AnnotationType??? in WAV file does not match any annotation") +
                  error(s_szMissingLabel),
              outcomeOf(wav(cueChunk({cuePoint(1, 800)}) +
                            adtlChunk(records(1, 400, "???AnnotatedFile_AnnotationType???")))));
}

TEST(AnnotatedFileRead, TakesASecondLabelThatIsATypeForOneThatIsNot)
{
    EXPECT_EQ("4003 0.1-0.15" + error("Error, label  in WAV file does not match any annotation"),
              outcomeOf(wav(cueChunk({cuePoint(1, 800)}) + adtlChunk(records(1, 400, "") + lablChunk(1, "MALE")))));
}

TEST(AnnotatedFileRead, KeepsTheTypeOfAFirstLabelWhenASecondIsNone)
{
    EXPECT_EQ("4003 0.1-0.15" + error("Error, label dog in WAV file does not match any annotation"),
              outcomeOf(wav(cueChunk({cuePoint(1, 800)}) + adtlChunk(records(1, 400, "MALE") + lablChunk(1, "dog")))));
}

TEST(AnnotatedFileRead, SkipsRecordsWithoutACuePoint)
{
    EXPECT_EQ("4003 0.1-0.15" + error(s_szNoCue) + error(s_szNoCue),
              outcomeOf(wav(cueChunk({cuePoint(1, 800)}) +
                            adtlChunk(records(1, 400, "MALE") + records(2, 400, "no type at all")))));
    EXPECT_EQ("" + error(s_szNoCue), outcomeOf(wav(adtlChunk(ltxtChunk(0, 400)))));
    EXPECT_EQ("" + error(s_szNoCue), outcomeOf(wav(adtlChunk(lablChunk(0xFFFFFFFF, "MALE")))));
}

TEST(AnnotatedFileRead, RefusesCueIdentifiersAboveAMillion)
{
    for (const std::uint32_t uiId : {1048577u, 0x7FFFFFFFu, 0xFFFFFFFFu})
        EXPECT_EQ(
            "refused" + error("Error, cue point identifier is too large : " + std::to_string(uiId)),
            outcomeOf(wav(cueChunk({cuePoint(1, 800), cuePoint(uiId, 800)}) + adtlChunk(records(1, 400, "MALE")))));
}

TEST(AnnotatedFileRead, TakesTheLargestCueIdentifier)
{
    AnnotatedFile file;

    ASSERT_TRUE(readFrom(wav(cueChunk({cuePoint(1048576, 800)}) + adtlChunk(records(1048576, 400, "MALE"))), file));

    ASSERT_EQ(1048576u, file.annotations().size());
    EXPECT_EQ(Annotation::MALE, file.annotations().back().m_type);
}

TEST(AnnotatedFileRead, SkipsRecordsThatAreTooShortForTheirFields)
{
    const std::string strText = plain("ltxt", std::string(19, '\1'));
    const std::string strLabel = plain("labl", std::string(3, '\1'));
    const std::string strFile =
        wav(cueChunk({cuePoint(1, 800)}) + adtlChunk(strText + strLabel + records(1, 400, "MALE")));
    const auto iAdtl = strFile.find("adtl") + 4;

    EXPECT_EQ(
        "4003 0.1-0.15" +
            warning("Chunk ltxt at byte " + std::to_string(iAdtl) + " is too short for its fields. Skipping it...") +
            warning("Chunk labl at byte " + std::to_string(iAdtl + 28) +
                    " is too short for its fields. Skipping it..."),
        outcomeOf(strFile));
}

TEST(AnnotatedFileRead, MissesWhatATooShortRecordShouldHaveTold)
{
    const std::string strText = plain("ltxt", littleEndian32(1) + std::string(15, '\0'));

    EXPECT_THAT(outcomeOf(wav(cueChunk({cuePoint(1, 800)}) + adtlChunk(strText + lablChunk(1, "MALE")))),
                testing::EndsWith(error(s_szMissingStart)));
}

TEST(AnnotatedFileRead, CountsOnlyTheCuePointsOfCue)
{
    EXPECT_EQ("4003 0.1-0.15", outcomeOf(wav(plain("cuep", cuePoint(2, 800)) + cueChunk({cuePoint(1, 800)}) +
                                             adtlChunk(records(1, 400, "MALE")))));
}

TEST(AnnotatedFileRead, TakesAsManyCuePointsAsCountAndDataAllow)
{
    const std::string strCounted =
        ChunkBuilder("cue ").u32(1, "number of cue points").add(cuePoint(1, 800) + cuePoint(2, 4000)).bytes();
    const std::string strThere = ChunkBuilder("cue ").u32(9, "number of cue points").add(cuePoint(1, 800)).bytes();

    EXPECT_EQ("4003 0.1-0.15", outcomeOf(wav(strCounted + adtlChunk(records(1, 400, "MALE")))));
    EXPECT_THAT(outcomeOf(wav(strThere + adtlChunk(records(1, 400, "MALE")))),
                testing::StartsWith("4003 0.1-0.15 | W "));
}

TEST(AnnotatedFileRead, ForgetsWhatWasReadBefore)
{
    AnnotatedFile file;
    ASSERT_TRUE(readFrom(s_strTwo, file));

    EXPECT_TRUE(readFrom(wav(""), file));

    EXPECT_TRUE(file.annotations().empty());
}

TEST(AnnotatedFileRead, LeavesNoAnnotationsWhenItFails)
{
    const std::string strCue = cueChunk({cuePoint(1, 800)});
    for (const std::string& strFile :
         {std::string("no WAV file"), riff(dataChunk("ab")), riff(fmtChunk()), wav(strCue),
          wav(strCue + ltxtChunk(1, 5)), wav(cueChunk({cuePoint(1, 800), cuePoint(0xFFFFFFFF, 0)}))}) {
        AnnotatedFile file;
        file.annotations().resize(3);
        std::istringstream stream(strFile);

        EXPECT_EQ(&stream, &file.readFromWAV(stream));

        EXPECT_TRUE(stream.fail());
        EXPECT_TRUE(file.annotations().empty());
    }
}

TEST(AnnotatedFileRead, ThrowsOnlyWhatTheStreamsExceptionsAskFor)
{
    for (const std::string& strFile : {std::string("no WAV file"), wav(cueChunk({cuePoint(1, 800)}))}) {
        AnnotatedFile file;
        file.annotations().resize(3);
        std::istringstream stream(strFile);
        stream.exceptions(std::ios_base::failbit);

        EXPECT_THROW(file.readFromWAV(stream), std::ios_base::failure);

        EXPECT_TRUE(stream.fail());
        EXPECT_TRUE(file.annotations().empty());
    }
}

TEST(AnnotatedFileRead, LeavesTheStreamGoodAtTheEndOfTheFile)
{
    std::istringstream stream(s_strTwo);
    stream.exceptions(std::ios_base::failbit | std::ios_base::eofbit | std::ios_base::badbit);
    AnnotatedFile file;

    EXPECT_NO_THROW(file.readFromWAV(stream));

    EXPECT_TRUE(stream.good());
}

TEST(AnnotatedFileRead, NeedsNoStreamThatSeeks)
{
    PipeBuf buffer(s_strTwo);
    std::istream stream(&buffer);
    AnnotatedFile file;

    EXPECT_TRUE(file.readFromWAV(stream).good());

    EXPECT_EQ("4003 0.1-0.15 4008 0.5-1", listed(file.annotations()));
}

TEST(AnnotatedFileRead, NeedsNoAudioToFindRegions)
{
    AnnotatedFile file;
    std::istringstream stream(s_strTwo);

    EXPECT_TRUE(file.readRegionsFromWAV(stream).good());

    EXPECT_EQ("4003 0.1-0.15 4008 0.5-1", listed(file.annotations()));
    EXPECT_EQ(8000u, file.getNbOfSamples());
    EXPECT_EQ("", written(file));
}

TEST(AnnotatedFileRead, IsNotChangedByTheHostsLocale)
{
    struct ForeignNumbers : std::numpunct<char>
    {
        char do_thousands_sep() const override { return '.'; }
        char do_decimal_point() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::string strFile = wav(cueChunk({cuePoint(1, 12345), cuePoint(2, 2000000)}) +
                                    adtlChunk(records(1, 400, "SF_1234") + records(2, 4, "sf_1234")));
    const std::locale former = std::locale::global(std::locale(std::locale(), new ForeignNumbers));
    const std::string strOutcome = outcomeOf(strFile);
    LogCapture log(s_szLogger, s_iWarnings);
    AnnotatedFile file;
    readFrom(wav(""), file);
    file.annotations().assign(1, Annotation(Annotation::SF_1234, 1.5, 2.25));
    const std::string strWritten = written(file);
    std::locale::global(former);

    EXPECT_EQ("refused" + error("Error, label sf_1234 in WAV file does not match any annotation") +
                  error(s_szMissingLabel),
              strOutcome);
    EXPECT_THAT(log.texts(), ElementsAre("Start time for one of the annotations 12000 is greater than the end of this "
                                         "audio file 8000 Annotation: SF_1234 start=1.5s stop=2.25s. Shrinking it...",
                                         s_szStopBeyond));
    EXPECT_EQ(wav(cueChunk({cuePoint(1, 8000)}) + adtlChunk(records(1, 0, "SF_1234"))), strWritten);
}

// ---- format and audio ----

TEST(AnnotatedFileProperties, RefuseAFileWithoutAFormat)
{
    EXPECT_EQ("refused" + error("Invalid WAV file : no chunk fmt"), outcomeOf(riff(dataChunk("ab"))));
}

TEST(AnnotatedFileProperties, RefuseAFileWithoutAudio)
{
    EXPECT_EQ("refused" + error("Invalid WAV file : no chunk data"), outcomeOf(riff(fmtChunk())));
}

TEST(AnnotatedFileProperties, RefuseTheFormatThatIsTooShort)
{
    EXPECT_EQ("refused" + warning("Chunk fmt  at byte 12 is too short for its fields. Skipping it...") +
                  error("Invalid WAV file : no chunk fmt"),
              outcomeOf(riff(plain("fmt ", std::string(15, '\1')) + dataChunk("ab"))));
}

TEST(AnnotatedFileProperties, RefuseFewerThanEightBitsPerSample)
{
    for (const std::uint16_t usBits : {std::uint16_t{0}, std::uint16_t{1}, std::uint16_t{4}, std::uint16_t{7}})
        EXPECT_EQ("refused" + error("Invalid WAV file : bits per sample below 8"),
                  outcomeOf(riff(fmtChunk(1, 8000, usBits) + dataChunk("ab"))));
}

TEST(AnnotatedFileProperties, RefuseASampleRateOfZero)
{
    EXPECT_EQ("refused" + error("Invalid WAV file : sample rate is 0"),
              outcomeOf(riff(fmtChunk(1, 0, 16) + dataChunk("ab"))));
}

TEST(AnnotatedFileProperties, AssertOneChannel)
{
    for (const std::uint16_t usChannels : {std::uint16_t{0}, std::uint16_t{2}, std::uint16_t{65535}}) {
        AssertionCapture assertions;

        EXPECT_EQ("refused", listed(riff(fmtChunk(usChannels) + dataChunk("ab"))));

        ASSERT_THAT(assertions.texts(), ElementsAre("chunkFmt.m_usNbOfChannels == 1"));
        EXPECT_EQ("Assertion failed: chunkFmt.m_usNbOfChannels == 1", assertions.events()[0].m_strText);
        EXPECT_EQ("kestrivon.assertion", assertions.events()[0].m_strLogger);
        EXPECT_EQ(40000, assertions.events()[0].m_iLevel);
        EXPECT_EQ("AudioAnnotation", assertions.events()[0].m_strFile);
    }
}

TEST(AnnotatedFileProperties, TellTheRateOfAStereoFileBeforeRefusingIt)
{
    LogCapture log(s_szLogger, 10000);
    listed(riff(fmtChunk(2) + dataChunk("ab")));

    EXPECT_THAT(log.texts(), ElementsAre("Sample rate of WAV file : 8000"));
}

TEST(AnnotatedFileProperties, DivideTheAudioByItsBytesPerSample)
{
    const struct
    {
        std::uint16_t m_usBits;
        std::size_t m_uiBytes;
        std::uint32_t m_uiSamples;
    } aCases[] = {{8, 7, 7}, {12, 7, 7}, {15, 7, 7}, {16, 7, 3}, {24, 7, 2}, {32, 7, 1}, {64, 7, 0}, {16, 0, 0}};
    for (const auto& testCase : aCases) {
        AnnotatedFile file;
        ASSERT_TRUE(
            readFrom(riff(fmtChunk(1, 44100, testCase.m_usBits) + dataChunk(audioBytes(testCase.m_uiBytes))), file));
        EXPECT_EQ(testCase.m_uiSamples, file.getNbOfSamples()) << testCase.m_usBits;
        EXPECT_EQ(44100u, file.getSampleRate());
    }
}

TEST(AnnotatedFileProperties, AreThoseOfAnyFormatTag)
{
    for (const char* szTag : {"0600", "0700", "0300", "feff", "0000"})
        EXPECT_EQ("", outcomeOf(riff(plain("fmt ", unhex(szTag) + fmtChunk().substr(10)) + dataChunk("ab"))));
}

TEST(AnnotatedFileProperties, AreThoseOfTheFirstFormatAndTheFirstAudio)
{
    AnnotatedFile file;

    ASSERT_TRUE(
        readFrom(riff(fmtChunk(1, 8000, 16) + dataChunk("abcd") + fmtChunk(1, 16000, 8) + dataChunk("ab")), file));

    EXPECT_EQ(8000u, file.getSampleRate());
    EXPECT_EQ(2u, file.getNbOfSamples());
}

TEST(AnnotatedFileProperties, CountTheAudioThatIsThere)
{
    std::string strFile =
        riff(fmtChunk(1, 8000, 8) + ChunkBuilder("data").text("abcde", "").claim(0xFFFFFFFF).unpadded().bytes());
    strFile.replace(4, 4, littleEndian32(0xFFFFFFFF));
    AnnotatedFile file;

    ASSERT_TRUE(readFrom(strFile, file));

    EXPECT_EQ(5u, file.getNbOfSamples());
}

TEST(AnnotatedFileProperties, AreFalseWithoutAFile)
{
    LogCapture log(s_szLogger, s_iWarnings);

    EXPECT_FALSE(AnnotatedFile().readWavProperties());

    EXPECT_THAT(log.texts(), ElementsAre("Invalid WAV file : no chunk fmt"));
}

// ---- one annotation as records ----

namespace {

// Start and length that an annotation gets in a file of 8000 samples per second and one second, with the warnings.
std::string placed(double in_dStart, double in_dStop)
{
    AnnotatedFile file;
    readFrom(wav(""), file);
    LogCapture log(s_szLogger, s_iWarnings);
    Chunk point(Chunk::makeId("cuep"));
    Chunk text(Chunk::makeId("ltxt"));
    Chunk label(Chunk::makeId("labl"));

    file.createAnnotation(Annotation(Annotation::BEEP, in_dStart, in_dStop), 7, point, text, label);

    Corvana::IFF::WavCuePointChunk pointRecord;
    EXPECT_TRUE(pointRecord.decode(point.m_vData.data(), point.getDataSize()));
    EXPECT_EQ(pointRecord.m_uiPosition, pointRecord.m_uiSampleOffset);
    Corvana::IFF::WavLabeledTextChunk textRecord;
    EXPECT_TRUE(textRecord.decode(text.m_vData.data(), text.getDataSize()));
    std::string strPlaced =
        std::to_string(pointRecord.m_uiSampleOffset) + "+" + std::to_string(textRecord.m_uiSampleLength);
    for (const std::string& strText : log.texts())
        strPlaced += " | " + strText;
    return strPlaced;
}

std::string beyond(const char* in_szStart, const char* in_szTimes)
{
    return " | Start time for one of the annotations " + std::string(in_szStart) +
           " is greater than the end of this audio file 8000 Annotation: BEEP " + in_szTimes + ". Shrinking it...";
}

const std::string s_strStopBeyond = std::string(" | ") + s_szStopBeyond;
constexpr double s_dInfinity = std::numeric_limits<double>::infinity();
constexpr double s_dNaN = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(CreateAnnotation, WritesLiteralBytes)
{
    AnnotatedFile file;
    ASSERT_TRUE(readFrom(wav(""), file));
    Chunk point(Chunk::makeId("cuep"));
    Chunk text(Chunk::makeId("ltxt"));
    Chunk label(Chunk::makeId("labl"));

    file.createAnnotation(Annotation(Annotation::CPA_HUMAN, 0.125, 0.5), 0x01020304, point, text, label);

    const auto bytes = [](const Chunk& in_chunk) { return hex({in_chunk.m_vData.begin(), in_chunk.m_vData.end()}); };
    EXPECT_EQ("04030201"
              "e8030000"
              "64617461"
              "00000000"
              "00000000"
              "e8030000",
              bytes(point));
    EXPECT_EQ("04030201"
              "b80b0000"
              "72676e20"
              "0000"
              "0000"
              "0000"
              "0000",
              bytes(text));
    EXPECT_EQ("04030201"
              "4350415f48554d414e"
              "00",
              bytes(label));
    EXPECT_EQ(Chunk::makeId("cuep"), point.m_uiId);
    EXPECT_EQ(Chunk::makeId("ltxt"), text.m_uiId);
    EXPECT_EQ(Chunk::makeId("labl"), label.m_uiId);
}

TEST(CreateAnnotation, RoundsStartsToTheNearestSampleHalvesUpward)
{
    EXPECT_EQ("0+0", placed(0.00006, 0.00006));
    EXPECT_EQ("1+0", placed(0.0000625, 0.0000625));
    EXPECT_EQ("1+0", placed(0.000187, 0.000187));
    EXPECT_EQ("2+0", placed(0.0001875, 0.0001875));
    EXPECT_EQ("8000+0", placed(1.00006, 1.00006));
}

TEST(CreateAnnotation, RoundsTheLengthByItselfNotTheStop)
{
    EXPECT_EQ("0+0", placed(0, 0.00006));
    EXPECT_EQ("0+1", placed(0, 0.0000625));
    // 0.4 and 0.8 samples: start 0, length 0.4, though the stop alone would be sample 1.
    EXPECT_EQ("0+0", placed(0.00005, 0.0001));
    // 0.6 and 1.2 samples: start 1, length 0.6 is 1.
    EXPECT_EQ("1+1", placed(0.000075, 0.00015));
}

TEST(CreateAnnotation, TakesTheWholeFile)
{
    EXPECT_EQ("0+8000", placed(0, 1));
}

TEST(CreateAnnotation, CutsARegionAtTheEndOfTheAudio)
{
    EXPECT_EQ("4000+4000" + s_strStopBeyond, placed(0.5, 1.000125));
    EXPECT_EQ("4000+4000", placed(0.5, 1));
    EXPECT_EQ("8000+0" + s_strStopBeyond, placed(1, 1.5));
    EXPECT_EQ("8000+0", placed(1, 1));
}

TEST(CreateAnnotation, PutsARegionBeyondTheAudioAtItsEndWithBothWarnings)
{
    EXPECT_EQ("8000+0" + beyond("12000", "start=1.5s stop=2s") + s_strStopBeyond, placed(1.5, 2));
}

TEST(CreateAnnotation, WarnsOnceOfAnEmptyRegionBeyondTheAudio)
{
    EXPECT_EQ("8000+0" + beyond("12000", "start=1.5s stop=1.5s"), placed(1.5, 1.5));
}

TEST(CreateAnnotation, WrapsTheLengthOfARegionThatStopsBeforeItStarts)
{
    // -4000 + 0.5 becomes -3999, which is 2^32 - 3999 in 32 bits; with start 8000 that is 4001 again, within the audio.
    EXPECT_EQ("8000+4294963297", placed(1, 0.5));
    EXPECT_EQ("8000+4294963297" + beyond("12000", "start=1.5s stop=1s"), placed(1.5, 1));
    // With start 800, the sum does not pass 2^32, and the length is cut.
    EXPECT_EQ("4000+4294966497", placed(0.5, 0.4));
    EXPECT_EQ("800+7200" + s_strStopBeyond, placed(0.1, -0.5));
}

TEST(CreateAnnotation, WrapsANegativeStart)
{
    // -4000 + 0.5 becomes -3999: 4294963297 in 32 bits.
    EXPECT_EQ("8000+0" + beyond("4294963297", "start=-0.5s stop=0s") + s_strStopBeyond, placed(-0.5, 0));
    EXPECT_EQ("0+0", placed(-0.00006, -0.00006)); // -0.48 + 0.5 is above 0
    EXPECT_EQ("0+0", placed(-0.0001, -0.0001));   // -0.8 + 0.5 is -0.3: towards zero
}

TEST(CreateAnnotation, WrapsStartAndLengthAfterThirtyTwoBits)
{
    // 2^32 samples are 536870.912 s.
    EXPECT_EQ("0+0", placed(536870.912, 536870.912));
    EXPECT_EQ("800+0", placed(536871.012, 536871.012));
    EXPECT_EQ("0+800", placed(0, 536871.012));
    EXPECT_EQ("4000+4294966296", placed(0.5, 0.5 + 536870.787)); // 2^32 - 1000: the sum is 3000
}

TEST(CreateAnnotation, CountsATimeThatIsNoNumberAsZero)
{
    EXPECT_EQ("0+0", placed(s_dNaN, s_dNaN));
    EXPECT_EQ("0+0", placed(s_dNaN, 0.5)); // the difference is none, either
    EXPECT_EQ("800+0", placed(0.1, s_dNaN));
}

TEST(CreateAnnotation, ClampsTimesThatNoIntegerHolds)
{
    // The nearest 64-bit integers: 2^63 - 1, of which the lower 32 bits are all ones, and -2^63, of which they are 0.
    EXPECT_EQ("8000+0" + beyond("4294967295", "start=infs stop=infs"), placed(s_dInfinity, s_dInfinity));
    EXPECT_EQ("8000+0" + beyond("4294967295", "start=1e+300s stop=1e+300s"), placed(1e300, 1e300));
    EXPECT_EQ("0+8000" + s_strStopBeyond, placed(0, s_dInfinity));
    EXPECT_EQ("0+8000" + s_strStopBeyond, placed(0, 1e300));
    EXPECT_EQ("0+0", placed(-s_dInfinity, -s_dInfinity));
    EXPECT_EQ("0+0", placed(-1e300, -1e300));
    EXPECT_EQ("0+0", placed(0, -s_dInfinity));
    EXPECT_EQ("0+0", placed(-9223372036854775808.0 / 8000.0, -9223372036854775808.0 / 8000.0));
    EXPECT_EQ("800+4294967295", placed(0.1, s_dInfinity)); // 799 again in 32 bits
}

TEST(CreateAnnotation, WritesNoTypeAsTheUnknownText)
{
    AnnotatedFile file;
    ASSERT_TRUE(readFrom(wav(""), file));
    Chunk point;
    Chunk text;
    Chunk label;

    file.createAnnotation(Annotation(), 1, point, text, label);

    EXPECT_EQ(std::string("\1\0\0\0???AnnotatedFile_AnnotationType???\0", 39),
              std::string(label.m_vData.begin(), label.m_vData.end()));
}

// ---- clearing the tree ----

TEST(AnnotatedFileClear, FindsNoListWhereThereIsNone)
{
    AnnotatedFile file;
    ASSERT_TRUE(readFrom(wav(""), file));

    EXPECT_EQ(nullptr, file.clearAnnotations());
}

TEST(AnnotatedFileClear, FindsNoListByCuePointsAlone)
{
    AnnotatedFile file;
    ASSERT_TRUE(readFrom(wav(cueChunk({})), file));

    EXPECT_EQ(nullptr, file.clearAnnotations());

    ChunkPos pos;
    EXPECT_FALSE(file.parser().find(Chunk::makeId("cue "), pos));
}

TEST(AnnotatedFileClear, RemovesTheFourKindsAndLeavesTheArray)
{
    AnnotatedFile file;
    ASSERT_TRUE(
        readFrom(wav(cueChunk({cuePoint(1, 800)}) +
                     adtlChunk(plain("file", "f.") + records(1, 400, "MALE") + plain("note", "hello.")) + cueChunk({})),
                 file));

    Chunk::List* pList = file.clearAnnotations();

    for (const Chunk::ChunkId uiId :
         {Chunk::makeId("cue "), Chunk::makeId("ltxt"), Chunk::makeId("labl"), Chunk::makeId("note")}) {
        ChunkPos pos;
        EXPECT_FALSE(file.parser().find(uiId, pos));
    }
    EXPECT_EQ("4003 0.1-0.15", listed(file.annotations()));
    ChunkPos pos;
    ASSERT_TRUE(file.parser().find(Chunk::makeId("LIST"), pos));
    EXPECT_EQ(&pos.chunk().m_children, pList);
    ASSERT_EQ(1u, pList->size());
    EXPECT_EQ(Chunk::makeId("file"), pList->front().m_uiId);
}

TEST(AnnotatedFileClear, GivesTheListOfTheKindThatIsClearedLast)
{
    // By kind: labelled texts, then labels, then notes. The first list holds the label, so it is the last.
    AnnotatedFile file;
    ASSERT_TRUE(readFrom(wav(cueChunk({cuePoint(1, 800)}) + listChunk("adtl", lablChunk(1, "MALE")) +
                             listChunk("adt2", ltxtChunk(1, 400))),
                         file));

    Chunk::List* pList = file.clearAnnotations();

    ChunkPos pos;
    ASSERT_TRUE(file.parser().find(Chunk::makeId("LIST"), pos));
    EXPECT_EQ(Chunk::makeId("adtl"), pos.chunk().m_uiFormType);
    EXPECT_EQ(&pos.chunk().m_children, pList);
}

TEST(AnnotatedFileClear, GivesTheListOfTheLastNote)
{
    AnnotatedFile file;
    ASSERT_TRUE(readFrom(wav(listChunk("adtl", plain("note", "one.")) + listChunk("adt2", plain("note", "two.")) +
                             cueChunk({cuePoint(1, 1)}) + listChunk("adt3", records(1, 1, "MALE"))),
                         file));

    Chunk::List* pList = file.clearAnnotations();

    ChunkPos pos;
    ASSERT_TRUE(file.parser().find(Chunk::makeId("LIST"), pos));
    ASSERT_TRUE(file.parser().findNext(pos));
    EXPECT_EQ(Chunk::makeId("adt2"), pos.chunk().m_uiFormType);
    EXPECT_EQ(&pos.chunk().m_children, pList);
}

// ---- writing ----

namespace {

std::string rewritten(const std::string& in_strFile)
{
    AnnotatedFile file;
    EXPECT_TRUE(readFrom(in_strFile, file));
    return written(file);
}

// What is written when the annotations of a file are replaced.
std::string replaced(const std::string& in_strFile, const std::vector<Annotation>& in_vAnnotations,
                     AnnotatedFile::LabelOrder in_order = AnnotatedFile::AS_PAIRS)
{
    AnnotatedFile file;
    EXPECT_TRUE(readFrom(in_strFile, file));
    file.annotations() = in_vAnnotations;
    file.setLabelOrder(in_order);
    return written(file);
}

const std::vector<Annotation> s_vTwo = {Annotation(Annotation::MALE, 0.1, 0.15), Annotation(Annotation::BEEP, 0.5, 1)};
const std::string s_strTwoCues = cueChunk({cuePoint(1, 800), cuePoint(2, 4000)});
const std::string s_strTwoAgain = wav(adtlChunk(records(1, 400, "MALE") + records(2, 4000, "BEEP")) + s_strTwoCues);

} // namespace

TEST(AnnotatedFileWrite, PutsPairsBehindEverythingElse)
{
    EXPECT_EQ(hex(wav(plain("bext", "x.") + s_strTwoCues +
                      adtlChunk(ltxtChunk(1, 400) + lablChunk(1, "MALE") + ltxtChunk(2, 4000) + lablChunk(2, "BEEP")))),
              hex(replaced(wav(plain("bext", "x.")), s_vTwo)));
}

TEST(AnnotatedFileWrite, PutsLabelsFirstWhenToldSo)
{
    EXPECT_EQ(hex(wav(s_strTwoCues +
                      adtlChunk(lablChunk(1, "MALE") + lablChunk(2, "BEEP") + ltxtChunk(1, 400) + ltxtChunk(2, 4000)))),
              hex(replaced(wav(""), s_vTwo, AnnotatedFile::LABELS_FIRST)));
}

TEST(AnnotatedFileWrite, KeepsAListWhereItWasWithItsOtherChunksFirst)
{
    const std::string strOther = plain("file", "other.");
    const std::string strRest = plain("rest", "rest");

    EXPECT_EQ(
        hex(wav(adtlChunk(strOther + records(1, 400, "MALE") + records(2, 4000, "BEEP")) + strRest + s_strTwoCues)),
        hex(replaced(wav(cueChunk({cuePoint(1, 1)}) +
                         adtlChunk(records(1, 1, "MALE") + strOther + lablChunk(1, "OTHER")) + strRest),
                     s_vTwo)));
    EXPECT_EQ(hex(wav(s_strTwoCues +
                      adtlChunk(strOther + lablChunk(1, "MALE") + lablChunk(2, "BEEP") + ltxtChunk(1, 400) +
                                ltxtChunk(2, 4000)) +
                      strRest)),
              hex(replaced(wav(cueChunk({cuePoint(1, 1)}) + adtlChunk(records(1, 1, "OTHER") + strOther) + strRest),
                           s_vTwo, AnnotatedFile::LABELS_FIRST)));
}

TEST(AnnotatedFileWrite, PutsCuePointsInFrontOfTheListOfLabelsThatComeFirst)
{
    const std::string strFile = wav(
        s_strTwoCues + adtlChunk(lablChunk(1, "MALE") + lablChunk(2, "BEEP") + ltxtChunk(1, 400) + ltxtChunk(2, 4000)));

    EXPECT_EQ(hex(strFile), hex(replaced(s_strTwo, s_vTwo, AnnotatedFile::LABELS_FIRST)));
    EXPECT_EQ(hex(strFile), hex(replaced(strFile, s_vTwo, AnnotatedFile::LABELS_FIRST)));
}

TEST(AnnotatedFileWrite, PutsCuePointsInFrontOfLabelsThatComeFirstWhereverTheirListIs)
{
    const std::string strNote = ChunkBuilder("note").text("n.", "").bytes();
    const std::string strRecords = lablChunk(1, "MALE") + ltxtChunk(1, 400);
    const std::string strCue = cueChunk({cuePoint(1, 800)});
    const std::vector<Annotation> vOne{s_vTwo.front()};

    EXPECT_EQ(hex(wav(strCue + listChunk("outr", adtlChunk(strRecords)) + plain("last", "z."))),
              hex(replaced(wav(listChunk("outr", adtlChunk(strNote)) + plain("last", "z.")), vOne,
                           AnnotatedFile::LABELS_FIRST)));
    // A list that is the form itself.
    EXPECT_EQ(hex(wav(plain("last", "z.") + strCue + strRecords)),
              hex(replaced(wav(strNote + plain("last", "z.")), vOne, AnnotatedFile::LABELS_FIRST)));
}

TEST(AnnotatedFileWrite, MovesCuePointsBehindTheListThatStaysThenWritesTheSameAgain)
{
    EXPECT_EQ(hex(s_strTwoAgain), hex(rewritten(s_strTwo)));
    EXPECT_EQ(hex(s_strTwoAgain), hex(rewritten(s_strTwoAgain)));
    AnnotatedFile file;
    ASSERT_TRUE(readFrom(s_strTwo, file));
    EXPECT_EQ(hex(s_strTwoAgain), hex(written(file)));
    EXPECT_EQ(hex(s_strTwoAgain), hex(written(file)));
}

TEST(AnnotatedFileWrite, CountsIdentifiersFromOne)
{
    EXPECT_EQ(hex(s_strTwoAgain), hex(rewritten(wav(cueChunk({cuePoint(0, 800), cuePoint(1, 4000)}) +
                                                    adtlChunk(records(1, 4000, "beep") + records(0, 400, "male"))))));
}

TEST(AnnotatedFileWrite, RemovesTheListWithTheLastAnnotation)
{
    EXPECT_EQ(
        hex(wav(plain("rest", "rest"))),
        hex(replaced(wav(s_strTwoCues + adtlChunk(records(1, 4, "MALE") + records(2, 4, "BEEP") + plain("note", "n.")) +
                         plain("rest", "rest")),
                     {})));
}

TEST(AnnotatedFileWrite, KeepsAListThatHoldsOtherChunks)
{
    EXPECT_EQ(
        hex(wav(adtlChunk(plain("file", "f.")))),
        hex(replaced(wav(cueChunk({cuePoint(1, 1)}) + adtlChunk(records(1, 1, "MALE") + plain("file", "f."))), {})));
}

TEST(AnnotatedFileWrite, KeepsAListWithBytesBehindTheLastRegionThatGoes)
{
    EXPECT_EQ(hex(wav(adtlChunk("odd"))),
              hex(replaced(wav(cueChunk({cuePoint(1, 1)}) + adtlChunk(records(1, 1, "MALE") + "odd")), {})));
}

TEST(AnnotatedFileWrite, KeepsAListThatHeldNoAnnotation)
{
    const std::string strFile = wav(adtlChunk("") + listChunk("INFO", plain("ISFT", "tool")));

    EXPECT_EQ(hex(strFile), hex(rewritten(strFile)));
    EXPECT_EQ(hex(wav(adtlChunk("") + cueChunk({cuePoint(1, 0)}) + adtlChunk(records(1, 1, "MALE")))),
              hex(replaced(wav(adtlChunk("")), {Annotation(Annotation::MALE, 0, 0.000125)})));
}

TEST(AnnotatedFileWrite, RemovesNotesAndEmptyCueChunksInAnyCase)
{
    EXPECT_EQ(hex(wav("")), hex(rewritten(wav(cueChunk({}) + adtlChunk(plain("note", "note"))))));
    EXPECT_EQ(hex(wav("")), hex(rewritten(wav(plain("note", "note")))));
}

TEST(AnnotatedFileWrite, RemovesANestedListThatIsLeftEmpty)
{
    EXPECT_EQ(hex(wav(listChunk("outr", plain("rest", "rest")))),
              hex(rewritten(wav(listChunk("outr", adtlChunk(plain("note", "n.")) + plain("rest", "rest"))))));
    EXPECT_EQ(hex(wav(listChunk("outr", ""))), hex(rewritten(wav(listChunk("outr", adtlChunk(plain("note", "n.")))))));
}

TEST(AnnotatedFileWrite, PutsRecordsIntoTheFormThatHeldThem)
{
    EXPECT_EQ(
        hex(wav(ltxtChunk(1, 400) + lablChunk(1, "MALE") + ltxtChunk(2, 4000) + lablChunk(2, "BEEP") + s_strTwoCues)),
        hex(replaced(wav(cueChunk({cuePoint(1, 1)}) + records(1, 1, "MALE")), s_vTwo)));
}

TEST(AnnotatedFileWrite, CannotDeleteAnEmptyContainerThatIsNoList)
{
    LogCapture log(s_szLogger, s_iWarnings);
    AnnotatedFile file;
    ASSERT_TRUE(readFrom(wav(ChunkBuilder("RIFF").text("WAVE", "form type").add(plain("note", "n.")).bytes()), file));
    std::ostringstream stream;

    EXPECT_EQ(&stream, &file.writeToWAV(stream));

    EXPECT_TRUE(stream.fail());
    EXPECT_EQ("", stream.str());
    ASSERT_THAT(log.texts(), ElementsAre("Not able to delete empty LIST chunk"));
    EXPECT_EQ(40000, log.events()[0].m_iLevel);
    ChunkPos pos;
    EXPECT_FALSE(file.parser().find(Chunk::makeId("note"), pos)); // the tree keeps the change
    EXPECT_NE("", written(file));                                 // there is no list left to delete
}

TEST(AnnotatedFileWrite, WritesNothingWithoutAFormat)
{
    LogCapture log(s_szLogger, s_iWarnings);
    AnnotatedFile file;
    ASSERT_TRUE(readFrom(s_strTwo, file));
    file.parser().root().m_children.pop_front();
    std::ostringstream stream;

    file.writeToWAV(stream);

    EXPECT_TRUE(stream.fail());
    EXPECT_EQ("", stream.str());
    EXPECT_THAT(log.texts(), ElementsAre("Invalid WAV file : no chunk fmt"));
    ChunkPos pos;
    EXPECT_FALSE(file.parser().find(Chunk::makeId("cue "), pos)); // the tree keeps the change
    EXPECT_EQ(2u, file.annotations().size());
}

TEST(AnnotatedFileWrite, WritesNothingOfFourGigabytes)
{
    LogCapture log("kestrivon", s_iWarnings);
    AnnotatedFile file;
    ASSERT_TRUE(readFrom(wav(""), file));
    file.parser().root().m_children.emplace_back(Chunk::makeId("junk")).m_uiSizeLeftInFile = 0xFFFFFF00;
    file.annotations() = s_vTwo;
    std::ostringstream stream;

    file.writeToWAV(stream);

    EXPECT_TRUE(stream.fail());
    EXPECT_EQ("", stream.str());
    ASSERT_EQ(1u, log.texts().size());
    EXPECT_THAT(log.texts()[0], testing::HasSubstr("cannot have"));
}

TEST(AnnotatedFileWrite, WritesNothingWithoutAFile)
{
    std::ostringstream stream;
    AnnotatedFile file;

    EXPECT_TRUE(file.writeToWAV(stream).fail());
    EXPECT_EQ("", stream.str());
}

TEST(AnnotatedFileWrite, ThrowsOnlyWhatTheStreamsExceptionsAskFor)
{
    AnnotatedFile file;
    std::ostringstream stream;
    stream.exceptions(std::ios_base::failbit);

    EXPECT_THROW(file.writeToWAV(stream), std::ios_base::failure);
    EXPECT_TRUE(stream.fail());
}

TEST(AnnotatedFileWrite, IsBadWhenTheStreamTakesNoMore)
{
    AnnotatedFile file;
    ASSERT_TRUE(readFrom(s_strTwo, file));
    FullBuf buffer(1000);
    std::ostream stream(&buffer);

    EXPECT_TRUE(file.writeToWAV(stream).fail());
}

TEST(AnnotatedFileWrite, IsBadOnAFullDevice)
{
    AnnotatedFile file;
    ASSERT_TRUE(readFrom(s_strTwo, file));
    std::ofstream stream("/dev/full", std::ios::binary);
    ASSERT_TRUE(stream.good());

    EXPECT_TRUE(file.writeToWAV(stream).fail());
}

TEST(AnnotatedFileWrite, IsReadAgainWithinHalfASample)
{
    std::vector<Annotation> vAnnotations;
    for (int iIndex = 0; iIndex < 300; ++iIndex) // all within one second
        vAnnotations.emplace_back(static_cast<Annotation::AnnotationType>(4002 + iIndex % 289), iIndex * 0.00321,
                                  iIndex * 0.00321 + 0.000777 + iIndex * 0.0001);
    AnnotatedFile file;

    ASSERT_TRUE(readFrom(replaced(wav(""), vAnnotations), file));

    ASSERT_EQ(300u, file.annotations().size());
    for (std::size_t uiIndex = 0; uiIndex < 300; ++uiIndex) {
        EXPECT_EQ(vAnnotations[uiIndex].m_type, file.annotations()[uiIndex].m_type);
        EXPECT_NEAR(vAnnotations[uiIndex].m_dStartTime, file.annotations()[uiIndex].m_dStartTime, 0.5001 / 8000);
        EXPECT_NEAR(vAnnotations[uiIndex].m_dStopTime, file.annotations()[uiIndex].m_dStopTime, 1.0001 / 8000);
    }
}

TEST(AnnotatedFileWrite, WritesGapsAsTheUnknownTextWhichNoReaderTakes)
{
    const std::string strFile = rewritten(wav(cueChunk({cuePoint(2, 800)}) + adtlChunk(records(2, 400, "MALE"))));

    EXPECT_EQ(hex(wav(adtlChunk(records(1, 0, "???AnnotatedFile_AnnotationType???") + records(2, 400, "MALE")) +
                      cueChunk({cuePoint(1, 0), cuePoint(2, 800)}))),
              hex(strFile));
    EXPECT_EQ("refused", listed(strFile));
}

TEST(AnnotatedFileWrite, KeepsOddBytesOfOtherChunks)
{
    const std::string strOdd = ChunkBuilder("odd1").text("abc", "").padding(0xAA).bytes();
    const std::string strInfo = listChunk("INFO", ChunkBuilder("ISFT").text("tool.", "").padding(7).bytes() + "tail.");
    const std::string strFile = riff(strOdd + fmtChunk() + strInfo + dataChunk(audioBytes(33)) + strOdd);

    // 16 samples, so the region is cut there.
    EXPECT_EQ(hex(riff(strOdd + fmtChunk() + strInfo + dataChunk(audioBytes(33)) + strOdd + cueChunk({cuePoint(1, 0)}) +
                       adtlChunk(records(1, 16, "MALE"))) +
                  "behind"),
              hex(replaced(strFile + "behind", {Annotation(Annotation::MALE, 0, 1)})));
}

TEST(AnnotatedFileWrite, MendsTheSizesOfARecordingThatWasInterrupted)
{
    std::string strFile = riff(fmtChunk() + ChunkBuilder("data").text(audioBytes(16000), "").claim(0).bytes());
    strFile.replace(4, 4, littleEndian32(0));

    EXPECT_EQ(hex(s_strTwo), hex(replaced(strFile, s_vTwo)));
}

TEST(AnnotatedFile, CopiesItsTreeAndItsAnnotations)
{
    AnnotatedFile file;
    ASSERT_TRUE(readFrom(s_strTwo, file));

    AnnotatedFile copy(file);
    file.annotations().clear();
    file.parser().root().m_children.clear();

    EXPECT_EQ(hex(s_strTwoAgain), hex(written(copy)));
}
