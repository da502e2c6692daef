// SPDX-License-Identifier: Apache-2.0
#include "corvana/IFFParser.h"

#include "iff/IFFTestHelpers.h"
#include "support/ChunkBuilder.h"
#include "support/LogCapture.h"
#include "support/OddStreams.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <istream>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>

using namespace Corvana::IFF;
using namespace Corvana::Test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string s_strFile = riff(fmtChunk() + dataChunk(audioBytes(301)) + cueChunk({cuePoint(1, 10)}) +
                                   adtlChunk(ltxtChunk(1, 5) + lablChunk(1, "MALE"))) +
                              "behind";
const std::string s_strOutline = "RIFF:WAVE(fmt [16] data[301] cue (cuep[24]) LIST:adtl(ltxt[20] labl[9]))";

void failAsFilesDo()
{
    throw std::ios_base::failure("the disk is broken");
}

void failInItsOwnWay()
{
    throw std::runtime_error("the line is cut");
}

} // namespace

TEST(IFFParserStream, StaysGoodAtTheEndOfTheFile)
{
    std::istringstream stream(s_strFile);
    stream.exceptions(std::ios_base::eofbit | std::ios_base::failbit | std::ios_base::badbit);
    IFFParser parser;

    EXPECT_NO_THROW(parser.read(stream));

    EXPECT_TRUE(stream.good());
    EXPECT_FALSE(parser.isEmpty());
}

TEST(IFFParserStream, IsReadToItsEnd)
{
    std::istringstream stream(s_strFile);
    IFFParser parser;
    parser.read(stream);

    EXPECT_EQ(std::char_traits<char>::eof(), stream.get());
}

TEST(IFFParserStream, NeedNotSeek)
{
    PipeBuf buffer(s_strFile);
    std::istream stream(&buffer);
    IFFParser parser;

    EXPECT_TRUE(parser.read(stream).good());

    EXPECT_EQ(s_strOutline, outline(parser));
    EXPECT_EQ("behind", trailing(parser));
    EXPECT_EQ(hex(s_strFile), hex(written(parser)));
}

TEST(IFFParserStream, NeedNotSeekToPassOverTheAudio)
{
    PipeBuf buffer(s_strFile);
    std::istream stream(&buffer);
    IFFParser parser;

    EXPECT_TRUE(parser.readWithoutAudio(stream).good());

    EXPECT_EQ("RIFF:WAVE(fmt [16] data[0] cue (cuep[24]) LIST:adtl(ltxt[20] labl[9]))", outline(parser));
    ChunkPos pos;
    ASSERT_TRUE(parser.find(Chunk::makeId("data"), pos));
    EXPECT_EQ(301u, pos.chunk().m_uiSizeLeftInFile);
}

TEST(IFFParserStream, NeedNotSeekForSizesThatAreWrong)
{
    std::string strWrong = s_strFile.substr(0, s_strFile.size() - 6);
    strWrong.replace(4, 4, littleEndian32(123456));
    PipeBuf buffer(strWrong);
    std::istream stream(&buffer);
    IFFParser parser;

    EXPECT_TRUE(parser.read(stream).good());

    EXPECT_EQ(hex(s_strFile.substr(0, s_strFile.size() - 6)), hex(written(parser)));
}

TEST(IFFParserStream, IsReadFromItsPresentPosition)
{
    std::istringstream stream("in front" + s_strFile);
    stream.seekg(8);
    IFFParser parser;

    EXPECT_TRUE(parser.read(stream).good());

    EXPECT_EQ(s_strOutline, outline(parser));
    EXPECT_EQ(0u, parser.root().m_uiFileOffset);
    EXPECT_EQ(12u, parser.root().m_children.front().m_uiFileOffset);
    EXPECT_EQ(hex(s_strFile), hex(written(parser)));
}

TEST(IFFParserStream, BelievesSizesCountedFromItsPresentPosition)
{
    // The form's size ends inside the file only when the bytes in front are counted, which they are not.
    std::string strTooLarge = riff(fmtChunk());
    strTooLarge.replace(4, 4, littleEndian32(30));
    std::istringstream stream("in front" + strTooLarge);
    stream.seekg(8);
    IFFParser parser;

    EXPECT_TRUE(parser.read(stream).good());

    EXPECT_EQ(hex(riff(fmtChunk())), hex(written(parser)));
}

TEST(IFFParserStream, IsEmptyAtItsEnd)
{
    std::istringstream stream(s_strFile);
    stream.seekg(0, std::ios_base::end);
    LogCapture log("kestrivon.iff.IFFParser");
    IFFParser parser;

    EXPECT_TRUE(parser.read(stream).fail());

    EXPECT_THAT(log.texts(), ElementsAre("Invalid WAV file : it is empty"));
}

TEST(IFFParserStream, ThrowsOnlyWhatItsExceptionsAskFor)
{
    std::istringstream stream("no WAV file");
    stream.exceptions(std::ios_base::failbit);
    IFFParser parser;
    parser.root();

    EXPECT_THROW(parser.read(stream), std::ios_base::failure);

    EXPECT_TRUE(stream.fail());
    EXPECT_TRUE(parser.isEmpty());
}

TEST(IFFParserStream, MayBreakAnywhere)
{
    LogCapture log("kestrivon.iff.IFFParser", 40000);
    for (std::size_t uiBreak = 0; uiBreak <= s_strFile.size(); ++uiBreak) {
        PipeBuf buffer(s_strFile);
        buffer.breakAfter(uiBreak, failAsFilesDo);
        std::istream stream(&buffer);
        IFFParser parser;
        log.clear();

        EXPECT_TRUE(parser.read(stream).fail()) << uiBreak;

        EXPECT_TRUE(parser.isEmpty()) << uiBreak;
        EXPECT_THAT(log.texts(), ElementsAre(uiBreak < 12 ? "Invalid WAV file : it could not be read"
                                                          : "Invalid WAV file : it could not be read to its end"));
    }
}

TEST(IFFParserStream, MayBreakAnywhereWhenItCanSeek)
{
    for (std::size_t uiBreak = 0; uiBreak <= s_strFile.size(); ++uiBreak) {
        SeekablePipeBuf buffer(s_strFile);
        buffer.breakAfter(uiBreak, failAsFilesDo);
        std::istream stream(&buffer);
        IFFParser parser;

        EXPECT_TRUE(parser.read(stream).fail() || uiBreak == s_strFile.size()) << uiBreak;
        EXPECT_EQ(stream.fail(), parser.isEmpty()) << uiBreak;
    }
}

TEST(IFFParserStream, MayBreakInItsOwnWay)
{
    for (std::size_t uiBreak = 0; uiBreak <= s_strFile.size(); ++uiBreak) {
        PipeBuf buffer(s_strFile);
        buffer.breakAfter(uiBreak, failInItsOwnWay);
        std::istream stream(&buffer);
        IFFParser parser;

        EXPECT_NO_THROW(parser.read(stream)) << uiBreak; // as with the standard's own ways of reading

        EXPECT_TRUE(stream.fail()) << uiBreak;
        EXPECT_TRUE(parser.isEmpty()) << uiBreak;
    }
}

TEST(IFFParserStream, HasNoTreeWhenItThrowsInTheMiddle)
{
    PipeBuf buffer(s_strFile);
    buffer.breakAfter(100, failAsFilesDo);
    std::istream stream(&buffer);
    stream.exceptions(std::ios_base::failbit | std::ios_base::badbit);
    IFFParser parser;

    EXPECT_THROW(parser.read(stream), std::ios_base::failure);

    EXPECT_TRUE(stream.fail());
    EXPECT_TRUE(parser.isEmpty());
}

TEST(IFFParserStream, EndsEarlyWhenTheLineIsCutWithoutAWord)
{
    // What is there is kept; every length of a file is a file that somebody has.
    for (std::size_t uiSize = 12; uiSize < s_strFile.size(); ++uiSize) {
        IFFParser parser;
        ASSERT_TRUE(readFrom(s_strFile.substr(0, uiSize), parser)) << uiSize;

        const std::string strOnce = written(parser);
        EXPECT_EQ(hex(strOnce), hex(rewritten(strOnce))) << uiSize;
        ChunkPos pos;
        ASSERT_EQ(uiSize >= 44, parser.find(Chunk::makeId("data"), pos)) << uiSize;
        if (uiSize >= 44) {
            const std::string strKept(pos.chunk().m_vData.begin(), pos.chunk().m_vData.end());
            EXPECT_EQ(hex(audioBytes(301).substr(0, uiSize - 44)), hex(strKept));
        }
    }
}

TEST(IFFParserStream, IsBadWhenItTakesNoMore)
{
    const std::string strWhole = s_strFile;
    IFFParser parser;
    ASSERT_TRUE(readFrom(strWhole, parser));
    for (std::size_t uiRoom = 0; uiRoom < strWhole.size(); ++uiRoom) {
        FullBuf buffer(uiRoom);
        std::ostream stream(&buffer);

        EXPECT_TRUE(parser.write(stream).fail()) << uiRoom;

        EXPECT_EQ(strWhole.substr(0, buffer.bytes().size()), buffer.bytes());
    }
    FullBuf buffer(strWhole.size());
    std::ostream stream(&buffer);
    EXPECT_TRUE(parser.write(stream).good());
}

TEST(IFFParserStream, ThrowsWhileWritingWhatItsExceptionsAskFor)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(s_strFile, parser));
    FullBuf buffer(100);
    std::ostream stream(&buffer);
    stream.exceptions(std::ios_base::badbit);

    EXPECT_THROW(parser.write(stream), std::ios_base::failure);

    EXPECT_EQ(hex(s_strFile), hex(written(parser)));
}

TEST(IFFParserStream, WritesNothingToAStreamThatFailedBefore)
{
    IFFParser parser;
    ASSERT_TRUE(readFrom(s_strFile, parser));
    std::ostringstream stream;
    stream.setstate(std::ios_base::failbit);

    parser.write(stream);

    EXPECT_TRUE(stream.fail());
    EXPECT_EQ("", stream.str());
}

TEST(IFFParserStream, NeedNotSeekToPassOverAudioThatIsCut)
{
    PipeBuf buffer(riff(fmtChunk() + ChunkBuilder("data").text(audioBytes(9000), "").claim(10000).bytes()));
    std::istream stream(&buffer);
    IFFParser parser;

    EXPECT_TRUE(parser.readWithoutAudio(stream).good());

    EXPECT_EQ("RIFF:WAVE(fmt [16] data[0])", outline(parser));
    EXPECT_EQ(9000u, parser.root().m_children.back().m_uiSizeLeftInFile);
}
