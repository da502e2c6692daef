// SPDX-License-Identifier: Apache-2.0
#include "corvana/IFFParser.h"

#include "iff/IFFTestHelpers.h"
#include "support/ChunkBuilder.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <locale>
#include <sstream>
#include <string>
#include <vector>

using namespace Corvana::IFF;
using namespace Corvana::Test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;

namespace {

constexpr Chunk::ChunkId s_uiLabel = Chunk::makeId("labl");
constexpr const char* s_szLogger = "kestrivon.iff.IFFParser";

std::string plain(const std::string& in_strId, const std::string& in_strData)
{
    return ChunkBuilder(in_strId).text(in_strData, "data").bytes();
}

std::string withFormSize(std::string in_strFile, std::uint32_t in_uiSize)
{
    return in_strFile.replace(4, 4, littleEndian32(in_uiSize));
}

// A LIST that goes down to so many containers, the RIFF form counted, with a label in the innermost.
std::string nested(unsigned in_uiNbOfContainers)
{
    std::string strChunks = plain("labl", "deep");
    for (unsigned uiList = 1; uiList < in_uiNbOfContainers; ++uiList)
        strChunks = listChunk("nest", strChunks);
    return riff(strChunks);
}

// "found" in the log, such as "Invalid WAV file : it is empty".
std::vector<std::string> messagesOf(const std::string& in_strBytes, int in_iLevel = 30000)
{
    LogCapture log(s_szLogger, in_iLevel);
    IFFParser parser;
    readFrom(in_strBytes, parser);
    return log.texts();
}

const std::string s_strSmall = riff(plain("fmt ", "0123456789abcdef") + plain("data", "ABCD"));

} // namespace

// ---- trees ----

TEST(IFFParser, ReadsLiteralBytes)
{
    const std::string strFile = unhex("52494646 2a000000 57415645"  // RIFF, 42 bytes, WAVE
                                      "64617461 03000000 0102ff 00" // data, 3 bytes, padding
                                      "4c495354 12000000 6164746c 6c61626c 06000000 010000004100"); // LIST, labl
    IFFParser parser;

    ASSERT_TRUE(readFrom(strFile, parser));

    EXPECT_EQ("RIFF:WAVE(data[3] LIST:adtl(labl[6]))", outline(parser));
    const Chunk& data = parser.root().m_children.front();
    EXPECT_THAT(data.m_vData, ElementsAre(1, 2, 0xff));
    EXPECT_EQ(12u, data.m_uiFileOffset);
    const Chunk& list = parser.root().m_children.back();
    EXPECT_EQ(24u, list.m_uiFileOffset);
    EXPECT_EQ(18u, list.getDataSize());
    EXPECT_EQ(36u, list.m_children.front().m_uiFileOffset);
    EXPECT_THAT(list.m_children.front().m_vData, ElementsAre(1, 0, 0, 0, 'A', 0));
    EXPECT_EQ(42u, parser.root().getDataSize());
    EXPECT_EQ(hex(strFile), hex(written(parser)));
}

TEST(IFFParser, ShowsCuePointsAsChildrenOfCue)
{
    const std::string strFile = riff(cueChunk({cuePoint(1, 10), cuePoint(2, 20)}));
    IFFParser parser;

    ASSERT_TRUE(readFrom(strFile, parser));

    EXPECT_EQ("RIFF:WAVE(cue (cuep[24] cuep[24]))", outline(parser));
    EXPECT_EQ("<" + cuePoint(1, 10) + "><" + cuePoint(2, 20) + ">", found(parser, Chunk::makeId("cuep")));
    EXPECT_EQ(24u, parser.root().m_children.front().m_children.front().m_uiFileOffset); // 12 + 8 + the count
    EXPECT_EQ(52u, parser.root().m_children.front().getDataSize());
    EXPECT_EQ(hex(strFile), hex(written(parser)));
}

TEST(IFFParser, WritesTheCountOfTheCuePointsThatAreThere)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(riff(cueChunk({cuePoint(1, 10), cuePoint(2, 20), cuePoint(3, 30)})), parser));

    parser.root().m_children.front().m_children.pop_front();

    EXPECT_EQ(hex(riff(cueChunk({cuePoint(2, 20), cuePoint(3, 30)}))), hex(written(parser)));
}

TEST(IFFParser, WritesATreeBuiltInMemory)
{
    IFFParser parser;
    EXPECT_TRUE(parser.isEmpty());
    Chunk& list = parser.root().m_children.emplace_back(Chunk::makeId("LIST"));
    list.m_uiFormType = Chunk::makeId("adtl");
    const std::uint8_t aucData[] = {'x', 'y', 'z'};
    list.m_children.emplace_back(s_uiLabel).setData(aucData, 3);

    EXPECT_FALSE(parser.isEmpty());
    EXPECT_EQ(hex(riff(adtlChunk(plain("labl", "xyz")))), hex(written(parser)));
}

TEST(IFFParser, ReadsAFormWithoutChunks)
{
    IFFParser parser;

    ASSERT_TRUE(readFrom(riff(""), parser));

    EXPECT_EQ("RIFF:WAVE()", outline(parser));
    EXPECT_FALSE(parser.isEmpty());
    EXPECT_EQ(hex(riff("")), hex(written(parser)));
}

TEST(IFFParser, ReplacesItsFormerTree)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(riff(plain("labl", "old")) + "behind", parser));

    ASSERT_TRUE(readFrom(s_strSmall, parser));

    EXPECT_EQ("RIFF:WAVE(fmt [16] data[4])", outline(parser));
    EXPECT_EQ("", trailing(parser));
}

TEST(IFFParser, CopiesItsTree)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(s_strSmall, parser));

    IFFParser copy(parser);
    parser.root().m_children.clear();

    EXPECT_EQ(s_strSmall, written(copy));
}

// ---- what is refused ----

TEST(IFFParser, RefusesWhatIsNoWavFileAndNamesWhatItIs)
{
    const struct
    {
        std::string m_strBytes;
        const char* m_szMessage;
    } aCases[] = {
        {"", "Invalid WAV file : it is empty"},
        {"RIF", "Invalid WAV file : it is no RIFF file"},
        {"This is a text.", "Invalid WAV file : it is no RIFF file"},
        {"riff" + s_strSmall.substr(4), "Invalid WAV file : it is no RIFF file"},
        {"RIFF", "Invalid WAV file : it ends within its first 12 bytes"},
        {s_strSmall.substr(0, 11), "Invalid WAV file : it ends within its first 12 bytes"},
        {"RIFX" + s_strSmall.substr(4), "Invalid WAV file : it is RIFX, of which only RIFF is supported"},
        {"RF64" + s_strSmall.substr(4), "Invalid WAV file : it is RF64, of which only RIFF is supported"},
        {s_strSmall.substr(0, 8) + "AVI " + s_strSmall.substr(12),
         "Invalid WAV file : its RIFF form is AVI , not WAVE"},
        {s_strSmall.substr(0, 8) + "wave" + s_strSmall.substr(12),
         "Invalid WAV file : its RIFF form is wave, not WAVE"},
    };
    for (const auto& testCase : aCases) {
        LogCapture log(s_szLogger);
        std::istringstream stream(testCase.m_strBytes);
        IFFParser parser;
        parser.root(); // a former tree, which goes

        EXPECT_EQ(&stream, &parser.read(stream));

        EXPECT_TRUE(stream.fail());
        EXPECT_TRUE(parser.isEmpty());
        ASSERT_EQ(1u, log.events().size()) << testCase.m_szMessage;
        EXPECT_EQ(testCase.m_szMessage, log.events()[0].m_strText);
        EXPECT_EQ(40000, log.events()[0].m_iLevel);
        EXPECT_EQ(s_szLogger, log.events()[0].m_strLogger);
        EXPECT_EQ("IFFFormReader", log.events()[0].m_strFile);
    }
}

TEST(IFFParser, LeavesAStreamThatHadFailedBeforeAsItIs)
{
    LogCapture log(s_szLogger);
    std::istringstream stream(s_strSmall);
    stream.setstate(std::ios_base::badbit);
    IFFParser parser;

    parser.read(stream);

    EXPECT_TRUE(stream.bad());
    EXPECT_TRUE(parser.isEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(IFFParser, WritesNothingWithoutATree)
{
    LogCapture log(s_szLogger);
    std::ostringstream stream;

    EXPECT_EQ(&stream, &IFFParser().write(stream));

    EXPECT_TRUE(stream.fail());
    EXPECT_EQ("", stream.str());
    EXPECT_THAT(log.texts(), ElementsAre("No WAV file to write"));
}

TEST(IFFParser, RefusesFourGigabytesBeforeTheFirstByteIsWritten)
{
    // Data that was left in a file count without taking memory: with the form type and their header, 2^32 bytes.
    LogCapture log(s_szLogger);
    IFFParser parser;
    Chunk& data = parser.root().m_children.emplace_back(Chunk::makeId("data"));
    data.m_uiSizeLeftInFile = 0xFFFFFFF4;
    std::ostringstream stream;

    EXPECT_FALSE(parser.canBeWritten());
    parser.write(stream);

    EXPECT_TRUE(stream.fail());
    EXPECT_EQ("", stream.str());
    EXPECT_THAT(log.texts(), ElementsAre("A WAV file cannot have 4294967296 bytes: its sizes have 32 bits",
                                         "A WAV file cannot have 4294967296 bytes: its sizes have 32 bits"));
    EXPECT_FALSE(parser.canBeUpdated());
}

TEST(IFFParser, TakesASizeOfOneByteLess)
{
    LogCapture log(s_szLogger);
    IFFParser parser;
    Chunk& data = parser.root().m_children.emplace_back(Chunk::makeId("data"));
    data.m_uiSizeLeftInFile = 0xFFFFFFF2; // even: no padding
    data.m_uiFileOffset = 12;

    EXPECT_TRUE(parser.canBeUpdated());
    EXPECT_FALSE(parser.canBeWritten());
    EXPECT_THAT(log.texts(), ElementsAre("A WAV file that was read without its audio cannot be written"));
    EXPECT_EQ(0xFFFFFFFEu, parser.root().getDataSize());
}

TEST(IFFParser, TellsTheLargestSizeOfAContainerThatCannotBeWritten)
{
    Chunk list(Chunk::makeId("LIST"));
    list.m_children.emplace_back(Chunk::makeId("data")).m_uiSizeLeftInFile = 0xFFFFFFFF;
    list.m_children.emplace_back(Chunk::makeId("data")).m_uiSizeLeftInFile = 0xFFFFFFFF;

    EXPECT_EQ(0xFFFFFFFFu, list.getDataSize());
}

// ---- find, findNext, unlink ----

namespace {

// fmt, LIST( labl a, LIST( labl b, note ), labl c ), labl d, LIST( labl e )
const std::string s_strLabels =
    riff(plain("fmt ", "format") +
         listChunk("adtl", plain("labl", "aa") + listChunk("nest", plain("labl", "bb") + plain("note", "nn")) +
                               plain("labl", "cc")) +
         plain("labl", "dd") + listChunk("adtl", plain("labl", "ee")));

} // namespace

TEST(IFFParserFind, GoesDepthFirstAndInFileOrder)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(s_strLabels, parser));

    EXPECT_EQ("<aa><bb><cc><dd><ee>", found(parser, s_uiLabel));
}

TEST(IFFParserFind, FindsContainersBeforeWhatIsInThem)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(s_strLabels, parser));
    ChunkPos pos;
    std::vector<std::string> vFound;

    for (bool bFound = parser.find(Chunk::makeId("LIST"), pos); bFound; bFound = parser.findNext(pos))
        vFound.push_back(outline(pos.chunk()));

    EXPECT_THAT(vFound, ElementsAre("LIST:adtl(labl[2] LIST:nest(labl[2] note[2]) labl[2])",
                                    "LIST:nest(labl[2] note[2])", "LIST:adtl(labl[2])"));
}

TEST(IFFParserFind, FindsTheRootItself)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(s_strLabels, parser));
    ChunkPos pos;

    ASSERT_TRUE(parser.find(Chunk::makeId("RIFF"), pos));

    EXPECT_EQ(&parser.root(), &pos.chunk());
    EXPECT_FALSE(pos.isNull());
    EXPECT_FALSE(parser.findNext(pos));
    EXPECT_TRUE(pos.isNull());
}

TEST(IFFParserFind, FindsNothingInNothing)
{
    IFFParser parser;
    ChunkPos pos;

    EXPECT_FALSE(parser.find(Chunk::makeId("RIFF"), pos));
    EXPECT_TRUE(pos.isNull());
    EXPECT_FALSE(parser.findNext(pos));
    EXPECT_FALSE(parser.unlink(pos));
}

TEST(IFFParserFind, LeavesANullPositionWhenThereIsNone)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(s_strLabels, parser));
    ChunkPos pos;
    ASSERT_TRUE(parser.find(s_uiLabel, pos));

    EXPECT_FALSE(parser.find(Chunk::makeId("none"), pos));

    EXPECT_TRUE(pos.isNull());
    EXPECT_FALSE(parser.findNext(pos));
}

TEST(IFFParserFind, TellsTheListThatHoldsTheChunk)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(s_strLabels, parser));
    ChunkPos pos;

    ASSERT_TRUE(parser.find(s_uiLabel, pos));
    EXPECT_EQ(&std::next(parser.root().m_children.begin())->m_children, &pos.list());

    ASSERT_TRUE(parser.find(Chunk::makeId("fmt "), pos));
    EXPECT_EQ(&parser.root().m_children, &pos.list());
    EXPECT_EQ(&parser.root().m_children.front(), &pos.chunk());
}

TEST(IFFParserFind, DoesNotLookIntoPlainChunks)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(riff(plain("data", plain("labl", "no"))), parser));

    EXPECT_EQ("", found(parser, s_uiLabel));
}

TEST(IFFParserUnlink, TakesAChunkOutAndGoesOnBehindIt)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(s_strLabels, parser));
    ChunkPos pos;
    ASSERT_TRUE(parser.find(s_uiLabel, pos));

    EXPECT_TRUE(parser.unlink(pos));

    EXPECT_TRUE(pos.isNull());
    EXPECT_FALSE(parser.unlink(pos));
    EXPECT_EQ("<bb><cc><dd><ee>", found(parser, s_uiLabel));
    ASSERT_TRUE(parser.findNext(pos));
    EXPECT_THAT(pos.chunk().m_vData, ElementsAre('b', 'b'));
}

TEST(IFFParserUnlink, TakesOutAllInOneWalk)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(s_strLabels, parser));
    ChunkPos pos;
    unsigned uiCount = 0;

    for (bool bFound = parser.find(s_uiLabel, pos); bFound; bFound = parser.findNext(pos))
        uiCount += parser.unlink(pos) ? 1 : 0;

    EXPECT_EQ(5u, uiCount);
    EXPECT_EQ("RIFF:WAVE(fmt [6] LIST:adtl(LIST:nest(note[2])) LIST:adtl())", outline(parser));
    EXPECT_TRUE(pos.isNull());
}

TEST(IFFParserUnlink, GoesOnBehindAContainerNotInIt)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(s_strLabels, parser));
    ChunkPos pos;
    ASSERT_TRUE(parser.find(Chunk::makeId("LIST"), pos));

    ASSERT_TRUE(parser.unlink(pos)); // with the nested list
    ASSERT_TRUE(parser.findNext(pos));

    EXPECT_EQ("LIST:adtl(labl[2])", outline(pos.chunk()));
    EXPECT_EQ("<ee>", found(parser, s_uiLabel).substr(4));
    EXPECT_FALSE(parser.findNext(pos));
}

TEST(IFFParserUnlink, FindsANeighbourOfTheSameKind)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(riff(plain("labl", "11") + plain("labl", "22") + plain("labl", "33")), parser));
    ChunkPos pos;
    ASSERT_TRUE(parser.find(s_uiLabel, pos));
    ASSERT_TRUE(parser.findNext(pos));

    ASSERT_TRUE(parser.unlink(pos));
    ASSERT_TRUE(parser.findNext(pos));

    EXPECT_THAT(pos.chunk().m_vData, ElementsAre('3', '3'));
    EXPECT_EQ("<11><33>", found(parser, s_uiLabel));
}

TEST(IFFParserUnlink, EndsTheSearchBehindTheVeryLastChunk)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(riff(listChunk("adtl", plain("labl", "11"))), parser));
    ChunkPos pos;
    ASSERT_TRUE(parser.find(s_uiLabel, pos));

    ASSERT_TRUE(parser.unlink(pos));

    EXPECT_FALSE(parser.findNext(pos));
    EXPECT_TRUE(pos.isNull());
}

TEST(IFFParserUnlink, TakesOutTheRoot)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(s_strLabels, parser));
    ChunkPos pos;
    ASSERT_TRUE(parser.find(Chunk::makeId("RIFF"), pos));

    EXPECT_TRUE(parser.unlink(pos));

    EXPECT_TRUE(parser.isEmpty());
    EXPECT_FALSE(parser.findNext(pos));
}

TEST(IFFParserUnlink, TakesOutACuePoint)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(riff(cueChunk({cuePoint(1, 10), cuePoint(2, 20)})), parser));
    ChunkPos pos;
    ASSERT_TRUE(parser.find(Chunk::makeId("cuep"), pos));

    ASSERT_TRUE(parser.unlink(pos));

    EXPECT_EQ(hex(riff(cueChunk({cuePoint(2, 20)}))), hex(written(parser)));
}

TEST(ChunkPos, NamesNoChunkByDefault)
{
    EXPECT_TRUE(ChunkPos().isNull());
}

TEST(ChunkPos, StaysValidWhileOtherChunksComeAndGo)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(s_strLabels, parser));
    ChunkPos pos;
    ASSERT_TRUE(parser.find(s_uiLabel, pos));
    ASSERT_TRUE(parser.findNext(pos));
    ASSERT_TRUE(parser.findNext(pos)); // cc
    ChunkPos other;
    ASSERT_TRUE(parser.find(s_uiLabel, other));

    ASSERT_TRUE(parser.unlink(other));
    parser.root().m_children.emplace_front(Chunk::makeId("labl"));

    EXPECT_THAT(pos.chunk().m_vData, ElementsAre('c', 'c'));
    ASSERT_TRUE(parser.findNext(pos));
    EXPECT_THAT(pos.chunk().m_vData, ElementsAre('d', 'd'));
}

TEST(IFFParserFind, TakesTimeInProportionToTheNumberOfChunks)
{
    // Two million steps when each goes on from where the last one was; two billion when each begins anew.
    IFFParser parser;
    Chunk& cue = parser.root().m_children.emplace_back(Chunk::makeId("cue "));
    for (unsigned uiPoint = 0; uiPoint < 1000000; ++uiPoint)
        cue.m_children.emplace_back(Chunk::makeId("cuep"));
    ChunkPos pos;
    unsigned uiCount = 0;

    for (bool bFound = parser.find(Chunk::makeId("cuep"), pos); bFound; bFound = parser.findNext(pos))
        ++uiCount;

    EXPECT_EQ(1000000u, uiCount);
}

// ---- what is kept byte for byte ----

TEST(IFFParserRoundTrip, KeepsUnknownChunksAndTheirOrder)
{
    const std::string strFile =
        riff(plain("bext", audioBytes(602)) + plain("fmt ", "0123456789abcdef") + plain("\1\2\3\4", "??") +
             plain("data", audioBytes(100)) + plain("junk", "") + listChunk("INFO", plain("ISFT", "tool")) +
             plain("data", "second") + plain("fmt ", "second"));

    EXPECT_EQ(hex(strFile), hex(rewritten(strFile)));
}

TEST(IFFParserRoundTrip, KeepsTheValueOfPaddingBytes)
{
    const std::string strFile = riff(ChunkBuilder("odd1").text("x", "data").padding(0xAA).bytes() +
                                     listChunk("adtl", ChunkBuilder("odd2").text("abc", "data").padding('P').bytes()) +
                                     ChunkBuilder("odd3").text("y", "data").padding(0xFF).bytes());

    EXPECT_EQ(hex(strFile), hex(rewritten(strFile)));
}

TEST(IFFParserRoundTrip, KeepsAMissingPaddingByteAtTheEndOfAList)
{
    const std::string strFile =
        riff(ChunkBuilder("LIST")
                 .text("adtl", "form type")
                 .add(plain("file", "xx") + ChunkBuilder("labl").text("abc", "data").unpadded().bytes())
                 .padding('L') // the list's own
                 .bytes() +
             plain("last", "z."));

    EXPECT_EQ("RIFF:WAVE(LIST:adtl(file[2] labl[3]) last[2])", outlineOf(strFile));
    EXPECT_EQ(hex(strFile), hex(rewritten(strFile)));
}

TEST(IFFParserRoundTrip, PadsAChunkThatAnotherFollowsNow)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(riff(ChunkBuilder("LIST")
                                  .text("adtl", "form type")
                                  .add(ChunkBuilder("odd1").text("abc", "").unpadded().bytes())
                                  .bytes()),
                         parser));

    parser.root().m_children.front().m_children.emplace_back(Chunk::makeId("next"));

    EXPECT_EQ(hex(riff(adtlChunk(plain("odd1", "abc") + plain("next", "")))), hex(written(parser)));
}

TEST(IFFParserRoundTrip, TakesWhatFollowsOddDataInsideAListForItsPadding)
{
    // Without its padding byte, a chunk in the middle swallows the first letter of the next name. What comes of that is
    // nobody's to guess; it is written back as it was.
    const std::string strFile =
        riff(adtlChunk(ChunkBuilder("odd1").text("abc", "").unpadded().bytes() + plain("labl", "0123456789")));

    EXPECT_EQ(hex(strFile), hex(rewritten(strFile)));
}

TEST(IFFParserRoundTrip, KeepsTailsOfOneToSevenBytesInAList)
{
    for (std::size_t uiTail = 1; uiTail <= 7; ++uiTail) {
        const std::string strFile =
            riff(adtlChunk(plain("labl", "ab") + std::string("1234567").substr(0, uiTail)) + plain("last", "z."));

        EXPECT_EQ("RIFF:WAVE(LIST:adtl(labl[2] +" + std::to_string(uiTail) + ") last[2])", outlineOf(strFile));
        EXPECT_EQ(hex(strFile), hex(rewritten(strFile)));
    }
}

TEST(IFFParserRoundTrip, KeepsAListWithoutAFormType)
{
    for (const std::string& strData : {std::string(), std::string("a"), std::string("ab"), std::string("abc")}) {
        const std::string strFile = riff(plain("LIST", strData) + plain("last", "z."));

        EXPECT_EQ(hex(strFile), hex(rewritten(strFile)));
    }
}

TEST(IFFParserRoundTrip, KeepsAContainerThatTheFileCutsWithinItsHead)
{
    for (const char* szContainer : {"LIST", "cue "})
        for (const std::string& strData : {std::string("a"), std::string("ab"), std::string("abc")}) {
            const std::string strFile =
                riff(ChunkBuilder(szContainer).text(strData, "").claim(1000).unpadded().bytes());

            // Nothing is put in where nothing was: but for the true size and the padding, the bytes are those read.
            const std::string strPadded = strData.size() % 2 == 1 ? strData + '\0' : strData;
            const std::string strExpected =
                riff(szContainer + littleEndian32(static_cast<std::uint32_t>(strData.size())) + strPadded);
            EXPECT_EQ(hex(strExpected), hex(rewritten(strFile))) << szContainer << strData;
        }
}

TEST(IFFParserRoundTrip, KeepsACueChunkWithoutACount)
{
    for (const std::string& strData : {std::string(), std::string("a"), std::string("ab"), std::string("abc")}) {
        const std::string strFile = riff(plain("cue ", strData) + plain("last", "z."));

        EXPECT_EQ(hex(strFile), hex(rewritten(strFile)));
    }
}

TEST(IFFParserRoundTrip, KeepsAChunkThatItsListCutsShort)
{
    const std::string strFile = riff(
        listChunk("INFO", plain("ISFT", "tool") + ChunkBuilder("ICMT").text("abc", "").claim(1000).unpadded().bytes()) +
        plain("last", "z."));

    EXPECT_EQ("RIFF:WAVE(LIST:INFO(ISFT[4] ICMT[3]) last[2])", outlineOf(strFile));
    EXPECT_EQ(hex(strFile), hex(rewritten(strFile)));
}

TEST(IFFParserRoundTrip, TellsTheTrueSizeOfACutChunkThatAnotherFollowsNow)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(riff(listChunk("INFO", ChunkBuilder("ICMT").text("abcd", "").claim(1000).bytes())), parser));

    parser.root().m_children.front().m_children.emplace_back(Chunk::makeId("next"));

    EXPECT_EQ(hex(riff(listChunk("INFO", plain("ICMT", "abcd") + plain("next", "")))), hex(written(parser)));
}

TEST(IFFParserRoundTrip, TellsTheTrueSizeOfACutChunkWhoseDataWereSet)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(riff(listChunk("INFO", ChunkBuilder("ICMT").text("abcd", "").claim(1000).bytes())), parser));
    const std::uint8_t aucData[] = {'x', 'y'};

    parser.root().m_children.front().m_children.front().setData(aucData, 2);

    EXPECT_EQ(hex(riff(listChunk("INFO", plain("ICMT", "xy")))), hex(written(parser)));
}

TEST(IFFParserRoundTrip, KeepsBytesBehindTheForm)
{
    for (const std::string& strBehind :
         {std::string("x"), std::string("ID3\3tag"), plain("labl", "outside"), s_strSmall}) {
        IFFParser parser;
        ASSERT_TRUE(readFrom(s_strSmall + strBehind, parser));

        EXPECT_EQ("RIFF:WAVE(fmt [16] data[4])", outline(parser));
        EXPECT_EQ(strBehind, trailing(parser));
        EXPECT_EQ(hex(s_strSmall + strBehind), hex(written(parser)));
        EXPECT_EQ("", found(parser, s_uiLabel));
    }
}

TEST(IFFParserRoundTrip, KeepsBytesBehindTheFormBehindWhatIsAdded)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(riff(plain("fmt ", "ab")) + "behind", parser));

    parser.root().m_children.emplace_back(Chunk::makeId("new "));

    EXPECT_EQ(hex(riff(plain("fmt ", "ab") + plain("new ", "")) + "behind"), hex(written(parser)));
}

// ---- sizes of the form ----

TEST(IFFParserFormSize, IsReplacedWhenItIsUnknown)
{
    for (const std::uint32_t uiSize : {0u, 0xFFFFFFFFu}) {
        EXPECT_EQ(hex(s_strSmall), hex(rewritten(withFormSize(s_strSmall, uiSize))));
        EXPECT_THAT(messagesOf(withFormSize(s_strSmall, uiSize)), IsEmpty());
    }
}

TEST(IFFParserFormSize, IsReplacedWhenItIsWrong)
{
    // The form holds 4 + 24 + 12 bytes. 27, 29, 39 lie inside a chunk or a header, 41 and 4000 behind the end.
    for (const std::uint32_t uiSize : {1u, 3u, 5u, 27u, 29u, 35u, 39u, 41u, 4000u, 0xFFFFFFFEu}) {
        EXPECT_EQ(hex(s_strSmall), hex(rewritten(withFormSize(s_strSmall, uiSize)))) << uiSize;
        EXPECT_THAT(messagesOf(withFormSize(s_strSmall, uiSize)),
                    ElementsAre("The size of the RIFF form, " + std::to_string(uiSize) +
                                ", does not end on a chunk's end. The form reaches as far as there are chunks."));
    }
}

TEST(IFFParserFormSize, IsBelievedWhenItEndsOnAChunksEnd)
{
    IFFParser parser;
    const std::string strFile = withFormSize(s_strSmall, 28); // behind "fmt "

    ASSERT_TRUE(readFrom(strFile, parser));

    EXPECT_EQ("RIFF:WAVE(fmt [16])", outline(parser));
    EXPECT_EQ(plain("data", "ABCD"), trailing(parser));
    EXPECT_EQ(hex(strFile), hex(written(parser)));
}

TEST(IFFParserFormSize, MayLeaveOutTheLastPaddingByte)
{
    const std::string strFile = riff(plain("data", "ABC"));
    const auto uiSize = static_cast<std::uint32_t>(strFile.size() - 8 - 1);

    EXPECT_EQ(hex(strFile), hex(rewritten(withFormSize(strFile, uiSize))));
    EXPECT_THAT(messagesOf(withFormSize(strFile, uiSize)), IsEmpty());
    EXPECT_EQ(hex(strFile + "behind"), hex(rewritten(withFormSize(strFile, uiSize) + "behind")));
}

TEST(IFFParserFormSize, DoesNotTakeWhatStandsBehindForItsPadding)
{
    const std::string strFile = riff(ChunkBuilder("data").text("ABC", "").unpadded().bytes());
    IFFParser parser;

    ASSERT_TRUE(readFrom(strFile + "behind", parser));

    EXPECT_EQ("behind", trailing(parser));
    EXPECT_EQ(hex(riff(plain("data", "ABC")) + "behind"), hex(written(parser)));
}

TEST(IFFParserFormSize, IsWrittenWithThePaddingByteThatWasMissingAtTheEnd)
{
    const std::string strWhole = riff(plain("data", "ABC"));

    EXPECT_EQ(hex(strWhole), hex(rewritten(strWhole.substr(0, strWhole.size() - 1))));
    EXPECT_EQ(hex(strWhole), hex(rewritten(riff(ChunkBuilder("data").text("ABC", "").unpadded().bytes()))));
}

TEST(IFFParserFormSize, ReachesToTheFirstBytesThatCannotBeAHeaderWhenItIsNotKnown)
{
    IFFParser parser;
    const std::string strJunk("\0\0\0\0\0\0\0\0\1\2\3", 11);

    ASSERT_TRUE(readFrom(withFormSize(s_strSmall, 0) + strJunk, parser));

    EXPECT_EQ("RIFF:WAVE(fmt [16] data[4])", outline(parser));
    EXPECT_EQ(strJunk, trailing(parser));
    EXPECT_EQ(hex(s_strSmall + strJunk), hex(written(parser)));
}

TEST(IFFParserFormSize, MakesNoChunkOfJunkThatLooksLikeOneWhenItIsWrong)
{
    // "\0\1\2\3", two bytes: a chunk's header when the form's size is right, junk when it is not.
    const std::string strJunk = plain("\0\1\2\3"s, "xy");
    const auto uiRight = static_cast<std::uint32_t>(s_strSmall.size() + strJunk.size() - 8);
    EXPECT_EQ("RIFF:WAVE(fmt [16] data[4] \0\1\2\3[2])"s, outlineOf(withFormSize(s_strSmall + strJunk, uiRight)));
    for (const std::uint32_t uiSize : {uiRight + 1, uiRight + 8, uiRight - 12}) { // the last ends within "data"
        EXPECT_EQ("RIFF:WAVE(fmt [16] data[4])", outlineOf(withFormSize(s_strSmall + strJunk, uiSize)));
        EXPECT_EQ(hex(s_strSmall + strJunk), hex(rewritten(withFormSize(s_strSmall + strJunk, uiSize))));

        IFFParser parser;
        std::istringstream stream("in front" + withFormSize(s_strSmall + strJunk, uiSize));
        stream.seekg(8);
        EXPECT_TRUE(parser.read(stream).good());
        EXPECT_EQ("RIFF:WAVE(fmt [16] data[4])", outline(parser));
    }
}

TEST(IFFParserFormSize, KeepsAFewBytesThatCannotBeAChunk)
{
    for (std::size_t uiTail = 1; uiTail <= 7; ++uiTail) {
        const std::string strTail = std::string("datadat").substr(0, uiTail);
        EXPECT_EQ(hex(s_strSmall + strTail), hex(rewritten(withFormSize(s_strSmall, 0) + strTail)));
    }
}

// ---- sizes of chunks ----

TEST(IFFParserChunkSize, IsCutAtTheEndOfTheFile)
{
    const std::string strFile =
        riff(plain("fmt ", "0123456789abcdef") + ChunkBuilder("data").text("ABCD", "").claim(1000).bytes());

    EXPECT_EQ(hex(s_strSmall), hex(rewritten(strFile)));
    EXPECT_THAT(messagesOf(withFormSize(strFile, 0)),
                ElementsAre("Chunk data at byte 36 claims 1000 bytes, of which 4 are there. It is cut."));
}

TEST(IFFParserChunkSize, OfOddDataWithoutPaddingHidesAChunkWhichIsTold)
{
    const std::string strOdd = ChunkBuilder("data").text("abc", "").unpadded().bytes();
    const std::string strPadded = ChunkBuilder("data").text("abc", "").padding('L').bytes();

    EXPECT_THAT(messagesOf(withFormSize(riff(strOdd + adtlChunk(lablChunk(1, "BEEP"))), 0)),
                ElementsAre("Chunk data at byte 12 has an odd size without its padding byte. Chunk LIST behind it is "
                            "not found."));
    EXPECT_THAT(messagesOf(riff(listChunk("INFO", strOdd + cueChunk({})))),
                Contains("Chunk data at byte 24 has an odd size without its padding byte. Chunk cue  behind it is not "
                         "found."));
    EXPECT_THAT(messagesOf(riff(strPadded + plain("rest", "ab"))), IsEmpty());
    EXPECT_THAT(messagesOf(riff(strPadded)), IsEmpty());
}

TEST(IFFParserChunkSize, IsToldOfAChunkWhoseNameIsNoTextByItsNumber)
{
    const auto messages = [](const char* in_szId) {
        return messagesOf(riff(listChunk("INFO", ChunkBuilder(in_szId).text("abcd", "").claim(1000).bytes())));
    };
    const std::string strFault = " at byte 24 claims 1000 bytes, of which 4 are there. It is cut.";

    EXPECT_THAT(messages(" ~ ~"), ElementsAre("Chunk  ~ ~" + strFault));
    EXPECT_THAT(messages("\x7F\x42\x43\x44"), ElementsAre("Chunk 0x4443427f" + strFault));
    EXPECT_THAT(messages("ABC\x1F"), ElementsAre("Chunk 0x1f434241" + strFault));
}

TEST(IFFParserChunkSize, IsToldInAWarningWithItsPlace)
{
    LogCapture log(s_szLogger);
    IFFParser parser;
    readFrom(riff(listChunk("INFO", ChunkBuilder("ICMT").text("abcd", "").claim(1000).bytes())), parser);

    ASSERT_EQ(1u, log.events().size());
    EXPECT_EQ("Chunk ICMT at byte 24 claims 1000 bytes, of which 4 are there. It is cut.", log.events()[0].m_strText);
    EXPECT_EQ(30000, log.events()[0].m_iLevel);
    EXPECT_EQ(s_szLogger, log.events()[0].m_strLogger);
    EXPECT_EQ("IFFFormReader", log.events()[0].m_strFile);
}

TEST(IFFParserChunkSize, ReachesToTheEndOfTheFileForDataThatDoesNotKnow)
{
    const std::string strHead = plain("fmt ", "0123456789abcdef");
    const std::string strUnknown = ChunkBuilder("data").text("ABCDEF", "").claim(0xFFFFFFFF).bytes();
    const std::string strZero = ChunkBuilder("data").text("ABCDEF", "").claim(0).bytes();
    const std::string strRight = riff(strHead + plain("data", "ABCDEF"));

    for (const std::uint32_t uiFormSize : {0u, 0xFFFFFFFFu, 38u, 42u})
        EXPECT_EQ(hex(strRight), hex(rewritten(withFormSize(riff(strHead + strUnknown), uiFormSize)))) << uiFormSize;
    for (const std::uint32_t uiFormSize : {0u, 0xFFFFFFFFu})
        EXPECT_EQ(hex(strRight), hex(rewritten(withFormSize(riff(strHead + strZero), uiFormSize)))) << uiFormSize;
    EXPECT_THAT(messagesOf(withFormSize(riff(strHead + strZero), 0)),
                ElementsAre("Chunk data at byte 36 does not tell its size. It reaches to the end of the file."));
}

TEST(IFFParserChunkSize, ReachesToTheEndOfItsListForDataWithinOne)
{
    const std::string strList = listChunk("wavl", ChunkBuilder("data").text("ABCD", "").claim(0xFFFFFFFF).bytes());
    const std::string strFile = riff(strList + plain("last", "z."));

    EXPECT_EQ("RIFF:WAVE(LIST:wavl(data[4]) last[2])", outlineOf(strFile));
    EXPECT_EQ(hex(strFile), hex(rewritten(strFile)));
}

TEST(IFFParserChunkSize, IsZeroForDataOfAFormThatKnowsItsOwn)
{
    const std::string strFile = riff(plain("fmt ", "0123456789abcdef") + plain("data", "") + plain("last", "z."));

    EXPECT_EQ("RIFF:WAVE(fmt [16] data[0] last[2])", outlineOf(strFile));
    EXPECT_EQ(hex(strFile), hex(rewritten(strFile)));
}

TEST(IFFParserChunkSize, DoesNotReserveWhatItClaims)
{
    // Each of a thousand chunks claims a gigabyte.
    std::string strChunks;
    for (unsigned uiChunk = 0; uiChunk < 1000; ++uiChunk)
        strChunks = listChunk("nest", ChunkBuilder("huge").text("abcd", "").claim(0x40000000).bytes()) + strChunks;
    IFFParser parser;

    ASSERT_TRUE(readFrom(riff(strChunks), parser));

    EXPECT_LE(parser.root().m_children.back().m_children.back().m_vData.capacity(), 24000u);
    EXPECT_EQ(1000u, parser.root().m_children.size());
}

TEST(IFFParserChunkSize, TellsNoMoreThanTwentyOddities)
{
    std::string strChunks;
    for (unsigned uiChunk = 0; uiChunk < 30; ++uiChunk)
        strChunks += listChunk("nest", ChunkBuilder("huge").text("abcd", "").claim(99).bytes());

    const std::vector<std::string> vMessages = messagesOf(riff(strChunks));

    ASSERT_EQ(21u, vMessages.size());
    EXPECT_EQ("Further oddities of this WAV file are not told.", vMessages.back());
}

// ---- cue points ----

TEST(IFFParserCue, HasAsManyPointsAsItsDataAllow)
{
    const std::string strCue =
        ChunkBuilder("cue ").u32(5, "number of cue points").add(cuePoint(1, 10) + cuePoint(2, 20)).bytes();
    LogCapture log(s_szLogger);

    EXPECT_EQ("RIFF:WAVE(cue (cuep[24] cuep[24]))", outlineOf(riff(strCue)));
    EXPECT_THAT(log.texts(), ElementsAre("Chunk cue  at byte 12 counts 5 cue points, of which 2 are there."));
    EXPECT_EQ(hex(riff(cueChunk({cuePoint(1, 10), cuePoint(2, 20)}))), hex(rewritten(riff(strCue))));
}

TEST(IFFParserCue, HasAsManyPointsAsItsCountAllows)
{
    const std::string strFile =
        riff(ChunkBuilder("cue ").u32(1, "number of cue points").add(cuePoint(1, 10) + cuePoint(2, 20)).bytes());

    EXPECT_EQ("RIFF:WAVE(cue (cuep[24] +24))", outlineOf(strFile));
    EXPECT_THAT(messagesOf(strFile), IsEmpty());
    EXPECT_EQ(hex(strFile), hex(rewritten(strFile)));
}

TEST(IFFParserCue, KeepsAPartOfAPointAsPlainBytes)
{
    const std::string strFile = riff(ChunkBuilder("cue ")
                                         .u32(1, "number of cue points")
                                         .add(cuePoint(1, 10) + cuePoint(2, 20).substr(0, 23))
                                         .bytes());

    EXPECT_EQ("RIFF:WAVE(cue (cuep[24] +23))", outlineOf(strFile));
    EXPECT_EQ(hex(strFile), hex(rewritten(strFile)));
}

TEST(IFFParserCue, TakesNoPointThatTheEndOfTheFileCuts)
{
    const std::string strWhole = riff(cueChunk({cuePoint(1, 10), cuePoint(2, 20)}));
    const std::string strCut = strWhole.substr(0, strWhole.size() - 4);

    EXPECT_EQ("RIFF:WAVE(cue (cuep[24] +20))", outlineOf(strCut));
    EXPECT_EQ(
        hex(riff(ChunkBuilder("cue ").u32(1, "number").add(cuePoint(1, 10) + cuePoint(2, 20).substr(0, 20)).bytes())),
        hex(rewritten(strCut)));
    EXPECT_EQ(hex(rewritten(strCut)), hex(rewritten(rewritten(strCut))));
}

TEST(IFFParserCue, MayCountFourBillionPointsThatAreNotThere)
{
    const std::string strCue = ChunkBuilder("cue ").u32(0xFFFFFFFF, "number").add(cuePoint(1, 10)).bytes();

    EXPECT_EQ("RIFF:WAVE(cue (cuep[24]))", outlineOf(riff(strCue)));
}

// ---- depth and number ----

TEST(IFFParserDepth, OpensSixtyFourContainers)
{
    IFFParser parser;

    ASSERT_TRUE(readFrom(nested(64), parser));

    EXPECT_EQ("<deep>", found(parser, s_uiLabel));
    EXPECT_THAT(messagesOf(nested(64)), IsEmpty());
    EXPECT_EQ(hex(nested(64)), hex(written(parser)));
}

TEST(IFFParserDepth, KeepsTheSixtyFifthAsPlainBytes)
{
    IFFParser parser;

    ASSERT_TRUE(readFrom(nested(65), parser));

    EXPECT_EQ("", found(parser, s_uiLabel));
    EXPECT_THAT(
        messagesOf(nested(65)),
        ElementsAre(
            "Chunk LIST at byte 768 lies deeper than 64 containers. It is kept as it is.")); // 64 headers of 12 bytes
    EXPECT_EQ(hex(nested(65)), hex(written(parser)));
    ChunkPos pos;
    unsigned uiLists = 0;
    for (bool bFound = parser.find(Chunk::makeId("LIST"), pos); bFound; bFound = parser.findNext(pos)) {
        ++uiLists;
        EXPECT_EQ(uiLists < 64, pos.chunk().isContainer());
    }
    EXPECT_EQ(64u, uiLists);
}

TEST(IFFParserDepth, KeepsCuePointsThatLieTooDeepAsPlainBytes)
{
    std::string strChunks = cueChunk({cuePoint(1, 10)});
    for (unsigned uiList = 1; uiList < 64; ++uiList)
        strChunks = listChunk("nest", strChunks);
    IFFParser parser;

    ASSERT_TRUE(readFrom(riff(strChunks), parser));

    EXPECT_EQ("", found(parser, Chunk::makeId("cuep")));
    EXPECT_EQ(hex(riff(strChunks)), hex(written(parser)));
}

TEST(IFFParserDepth, IsNotDrivenByTheFile)
{
    // A hundred thousand lists, one in the other: a reader that goes down with them has no stack left.
    std::string strHeaders;
    for (unsigned uiList = 100000; uiList > 0; --uiList)
        strHeaders += "LIST" + littleEndian32(12 * uiList - 8) + "nest";
    const std::string strFile = riff(strHeaders);

    EXPECT_EQ(strFile, rewritten(strFile));
}

TEST(IFFParserNumber, RefusesMoreThanFourMillionChunks)
{
    std::string strChunks;
    for (unsigned uiChunk = 0; uiChunk <= IFFParser::s_uiMaxNbOfChunks; ++uiChunk)
        strChunks += "nil \0\0\0\0"s;
    LogCapture log(s_szLogger);
    IFFParser parser;

    EXPECT_FALSE(readFrom(riff(strChunks), parser));

    EXPECT_TRUE(parser.isEmpty());
    EXPECT_THAT(log.texts(), ElementsAre("Invalid WAV file : more than 4000000 chunks"));
}

TEST(IFFParserNumber, CountsChunksAndCuePointsInListsToo)
{
    std::string strChunks;
    for (unsigned uiChunk = 0; uiChunk + 100 < IFFParser::s_uiMaxNbOfChunks; ++uiChunk)
        strChunks += "nil \0\0\0\0"s;
    const std::vector<std::string> vPoints(100, cuePoint(1, 0));
    LogCapture log(s_szLogger);
    IFFParser parser;

    EXPECT_FALSE(readFrom(riff(listChunk("many", strChunks + cueChunk(vPoints))), parser));

    EXPECT_TRUE(parser.isEmpty());
    EXPECT_THAT(log.texts(), ElementsAre("Invalid WAV file : more than 4000000 chunks"));
}

TEST(IFFParserWriting, WritesTheSameBytesWhereverItsBufferEnds)
{
    // Numbers and data come to lie across every byte around 64 KiB.
    for (std::size_t uiSize = 65500; uiSize <= 65540; ++uiSize) {
        const std::string strFile =
            riff(plain("fill", audioBytes(uiSize)) + cueChunk({cuePoint(1, 10)}) + plain("more", "text"));
        EXPECT_EQ(strFile, rewritten(strFile));
    }
}

TEST(IFFParserWriting, LeavesOutOfCuePointsWhatIsNone)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(riff(cueChunk({cuePoint(1, 10)}) + plain("more", "text")), parser));
    const std::uint8_t aucData[] = {1, 2, 3, 4};
    parser.root().m_children.front().m_children.emplace_back(Chunk::makeId("junk")).setData(aucData, 4);

    EXPECT_EQ(hex(riff(cueChunk({cuePoint(1, 10)}) + plain("more", "text"))), hex(written(parser)));
}

TEST(IFFParser, IsMovedWithItsTree)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(riff(plain("more", "text")) + "behind", parser));

    IFFParser moved(std::move(parser));

    EXPECT_EQ("RIFF:WAVE(more[4])", outline(moved));
    EXPECT_EQ("behind", trailing(moved));
}

// ---- without the audio, and updating ----

TEST(IFFParserWithoutAudio, PassesOverTheAudioOnly)
{
    const std::string strFile = riff(plain("fmt ", "0123456789abcdef") + plain("data", audioBytes(1001)) +
                                     listChunk("adtl", plain("labl", "abcd"))) +
                                "behind";
    IFFParser parser;
    std::istringstream stream(strFile);

    EXPECT_TRUE(parser.readWithoutAudio(stream).good());

    EXPECT_EQ("RIFF:WAVE(fmt [16] data[0] LIST:adtl(labl[4]))", outline(parser));
    ChunkPos pos;
    ASSERT_TRUE(parser.find(Chunk::makeId("data"), pos));
    EXPECT_EQ(1001u, pos.chunk().m_uiSizeLeftInFile);
    EXPECT_EQ(1001u, pos.chunk().getDataSize());
    EXPECT_EQ("behind", trailing(parser));
    EXPECT_EQ(strFile.size() - 8 - 6, parser.root().getDataSize());
}

TEST(IFFParserWithoutAudio, CannotBeWritten)
{
    IFFParser parser;
    std::istringstream stream(s_strSmall);
    parser.readWithoutAudio(stream);
    LogCapture log(s_szLogger);

    EXPECT_EQ("", written(parser));

    EXPECT_THAT(log.texts(), ElementsAre("A WAV file that was read without its audio cannot be written"));
}

TEST(IFFParserUpdate, WritesEverythingButTheAudio)
{
    const std::string strAudio = audioBytes(1001);
    const std::string strFile = riff(plain("data", strAudio) + listChunk("adtl", plain("labl", "abcd"))) + "behind";
    IFFParser parser;
    std::stringstream stream(strFile);
    parser.readWithoutAudio(stream);
    const std::uint8_t aucData[] = {'l', 'o', 'n', 'g', 'e', 'r'};
    parser.root().m_children.back().m_children.back().setData(aucData, 6);

    ASSERT_TRUE(parser.canBeUpdated());
    EXPECT_TRUE(parser.update(stream).good());

    EXPECT_EQ(hex(riff(plain("data", strAudio) + listChunk("adtl", plain("labl", "longer"))) + "behind"),
              hex(stream.str()));
}

TEST(IFFParserUpdate, IsRefusedWhenTheAudioWouldMove)
{
    IFFParser parser;
    std::stringstream stream(riff(plain("labl", "ab") + plain("data", "ABCD")));
    const std::string strBefore = stream.str();
    parser.readWithoutAudio(stream);
    parser.root().m_children.pop_front();

    EXPECT_FALSE(parser.canBeUpdated());
    EXPECT_TRUE(parser.update(stream).fail());
    EXPECT_EQ(strBefore, stream.str());
}

TEST(IFFParserUpdate, IsRefusedWithoutATree)
{
    std::stringstream stream;

    EXPECT_FALSE(IFFParser().canBeUpdated());
    EXPECT_TRUE(IFFParser().update(stream).fail());
}

// ---- the host ----

TEST(IFFParser, IsNotChangedByTheHostsLocale)
{
    struct Grouping : std::numpunct<char>
    {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\1"; }
    };
    const std::string strFile =
        riff(plain("data", audioBytes(5000)) + ChunkBuilder("cut ").text("abcd", "").claim(123456).bytes());
    const std::locale former = std::locale::global(std::locale(std::locale(), new Grouping));

    const std::vector<std::string> vMessages = messagesOf(withFormSize(strFile, 0));
    const std::string strWritten = rewritten(strFile);
    std::locale::global(former);

    EXPECT_THAT(vMessages,
                ElementsAre("Chunk cut  at byte 5020 claims 123456 bytes, of which 4 are there. It is cut."));
    EXPECT_EQ(hex(riff(plain("data", audioBytes(5000)) + plain("cut ", "abcd"))), hex(strWritten));
}
