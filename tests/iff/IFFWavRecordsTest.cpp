// SPDX-License-Identifier: Apache-2.0
#include "corvana/IFFWavRecords.h"

#include "support/ChunkBuilder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

using namespace Corvana::IFF;
using Corvana::Test::hex;
using Corvana::Test::unhex;

namespace {

template <class RecordT>
bool decode(RecordT& out_record, const std::string& in_strHex)
{
    const std::string strBytes = unhex(in_strHex);
    // A block of exactly that size: reading behind it is a fault that the sanitizers see.
    const std::vector<std::uint8_t> vBytes(strBytes.begin(), strBytes.end());
    return out_record.decode(vBytes.data(), static_cast<std::uint32_t>(vBytes.size()));
}

template <class RecordT>
std::string encoded(const RecordT& in_record)
{
    std::vector<std::uint8_t> vData = {0x55, 0x55}; // of which nothing may stay
    in_record.encode(vData);
    return hex(std::string(vData.begin(), vData.end()));
}

constexpr const char* s_szFmt = "0700 0100 401f0000 803e0000 0200 1000";
constexpr const char* s_szCuePoint = "04030201 08070605 64617461 0c0b0a09 100f0e0d 14131211";
constexpr const char* s_szLabeledText = "04030201 08070605 72676e20 0a09 0c0b 0e0d 100f 6162";
constexpr const char* s_szLabel = "04030201 4d414c45 00";

} // namespace

TEST(WavFmtChunk, TakesItsFieldsFromSixteenBytes)
{
    WavFmtChunk record;

    ASSERT_TRUE(decode(record, s_szFmt));

    EXPECT_EQ(7, record.m_usFormatTag);
    EXPECT_EQ(1, record.m_usNbOfChannels);
    EXPECT_EQ(8000u, record.m_uiSampleRate);
    EXPECT_EQ(16000u, record.m_uiAvgBytesPerSecond);
    EXPECT_EQ(2, record.m_usBlockAlign);
    EXPECT_EQ(16, record.m_usBitsPerSample);
}

TEST(WavFmtChunk, IgnoresAnExtension)
{
    WavFmtChunk record;

    ASSERT_TRUE(decode(record, std::string(s_szFmt) + "0200 beef"));

    EXPECT_EQ(16, record.m_usBitsPerSample);
}

TEST(WavFmtChunk, ReadsEveryFieldToItsFullWidth)
{
    WavFmtChunk record;

    ASSERT_TRUE(decode(record, "ffff feff fdffffff fcffffff fbff faff"));

    EXPECT_EQ(0xFFFF, record.m_usFormatTag);
    EXPECT_EQ(0xFFFE, record.m_usNbOfChannels);
    EXPECT_EQ(0xFFFFFFFDu, record.m_uiSampleRate);
    EXPECT_EQ(0xFFFFFFFCu, record.m_uiAvgBytesPerSecond);
    EXPECT_EQ(0xFFFB, record.m_usBlockAlign);
    EXPECT_EQ(0xFFFA, record.m_usBitsPerSample);
}

TEST(WavFmtChunk, RefusesOneByteTooFewAndChangesNothing)
{
    WavFmtChunk record;
    record.m_uiSampleRate = 16000;

    EXPECT_FALSE(decode(record, "0700 0100 401f0000 803e0000 0200 10"));
    EXPECT_FALSE(decode(record, ""));

    EXPECT_EQ(16000u, record.m_uiSampleRate);
    EXPECT_EQ(0, record.m_usFormatTag);
}

TEST(WavCuePointChunk, TakesItsFieldsFromTwentyFourBytes)
{
    WavCuePointChunk record;

    ASSERT_TRUE(decode(record, s_szCuePoint));

    EXPECT_EQ(0x01020304u, record.m_uiCueId);
    EXPECT_EQ(0x05060708u, record.m_uiPosition);
    EXPECT_EQ(Chunk::makeId("data"), record.m_uiChunkId);
    EXPECT_EQ(0x090a0b0cu, record.m_uiChunkStart);
    EXPECT_EQ(0x0d0e0f10u, record.m_uiBlockStart);
    EXPECT_EQ(0x11121314u, record.m_uiSampleOffset);
}

TEST(WavCuePointChunk, IsWrittenAsTheBytesItWasReadFrom)
{
    WavCuePointChunk record;
    ASSERT_TRUE(decode(record, s_szCuePoint));

    EXPECT_EQ(hex(unhex(s_szCuePoint)), encoded(record));
}

TEST(WavCuePointChunk, IsAllZerosByDefault)
{
    EXPECT_EQ(std::string(48, '0'), encoded(WavCuePointChunk()));
}

TEST(WavCuePointChunk, WritesEachFieldInItsPlace)
{
    const struct
    {
        std::uint32_t WavCuePointChunk::*m_pField;
        std::size_t m_uiOffset;
    } aFields[] = {{&WavCuePointChunk::m_uiCueId, 0},       {&WavCuePointChunk::m_uiPosition, 4},
                   {&WavCuePointChunk::m_uiChunkId, 8},     {&WavCuePointChunk::m_uiChunkStart, 12},
                   {&WavCuePointChunk::m_uiBlockStart, 16}, {&WavCuePointChunk::m_uiSampleOffset, 20}};
    for (const auto& field : aFields) {
        WavCuePointChunk record;
        record.*field.m_pField = 0x89abcdef;
        EXPECT_EQ(std::string(48, '0').replace(2 * field.m_uiOffset, 8, "efcdab89"), encoded(record));
    }
}

TEST(WavCuePointChunk, RefusesOneByteTooFewAndChangesNothing)
{
    WavCuePointChunk record;
    record.m_uiCueId = 7;

    EXPECT_FALSE(decode(record, "04030201 08070605 64617461 0c0b0a09 100f0e0d 141312"));

    EXPECT_EQ(7u, record.m_uiCueId);
    EXPECT_EQ(0u, record.m_uiSampleOffset);
}

TEST(WavCuePointChunk, IgnoresBytesBehindItsFields)
{
    WavCuePointChunk record;

    ASSERT_TRUE(decode(record, std::string(s_szCuePoint) + "ff"));

    EXPECT_EQ(0x11121314u, record.m_uiSampleOffset);
}

TEST(WavLabelChunk, TakesTheTextUpToItsZeroByte)
{
    WavLabelChunk record;

    ASSERT_TRUE(decode(record, s_szLabel));

    EXPECT_EQ(0x01020304u, record.m_uiCueId);
    EXPECT_EQ("MALE", record.m_strText);
}

TEST(WavLabelChunk, IgnoresWhatFollowsTheZeroByte)
{
    WavLabelChunk record;

    ASSERT_TRUE(decode(record, "01000000 4d414c45 00 5858 00"));

    EXPECT_EQ("MALE", record.m_strText);
}

TEST(WavLabelChunk, EndsWithTheChunkWhereTheZeroByteIsMissing)
{
    WavLabelChunk record;

    ASSERT_TRUE(decode(record, "01000000 4d414c45"));

    EXPECT_EQ("MALE", record.m_strText);
}

TEST(WavLabelChunk, MayHaveNoTextAtAll)
{
    WavLabelChunk record;
    record.m_strText = "former";

    ASSERT_TRUE(decode(record, "01000000"));

    EXPECT_EQ("", record.m_strText);
}

TEST(WavLabelChunk, RefusesThreeBytesAndChangesNothing)
{
    WavLabelChunk record;
    record.m_uiCueId = 7;
    record.m_strText = "former";

    EXPECT_FALSE(decode(record, "010000"));

    EXPECT_EQ(7u, record.m_uiCueId);
    EXPECT_EQ("former", record.m_strText);
}

TEST(WavLabelChunk, IsWrittenWithAZeroByteAtTheEnd)
{
    WavLabelChunk record;
    record.m_uiCueId = 0x01020304;
    record.m_strText = "MALE";

    EXPECT_EQ(hex(unhex(s_szLabel)), encoded(record));
}

TEST(WavLabelChunk, IsOneIdentifierAndAZeroByteByDefault)
{
    EXPECT_EQ("0000000000", encoded(WavLabelChunk()));
}

TEST(WavLabeledTextChunk, TakesItsFieldsFromTwentyBytesAndTheTextBehind)
{
    WavLabeledTextChunk record;

    ASSERT_TRUE(decode(record, s_szLabeledText));

    EXPECT_EQ(0x01020304u, record.m_uiCueId);
    EXPECT_EQ(0x05060708u, record.m_uiSampleLength);
    EXPECT_EQ(Chunk::makeId("rgn "), record.m_uiPurpose);
    EXPECT_EQ(0x090a, record.m_usCountry);
    EXPECT_EQ(0x0b0c, record.m_usLanguage);
    EXPECT_EQ(0x0d0e, record.m_usDialect);
    EXPECT_EQ(0x0f10, record.m_usCodePage);
    EXPECT_EQ("ab", record.m_strText);
}

TEST(WavLabeledTextChunk, IsWrittenAsTheBytesItWasReadFrom)
{
    WavLabeledTextChunk record;
    ASSERT_TRUE(decode(record, s_szLabeledText));

    EXPECT_EQ(hex(unhex(s_szLabeledText)), encoded(record));
}

TEST(WavLabeledTextChunk, KeepsZeroBytesOfItsText)
{
    WavLabeledTextChunk record;

    ASSERT_TRUE(decode(record, "01000000 02000000 72676e20 0000 0000 0000 0000 61006200"));

    EXPECT_EQ(std::string("a\0b\0", 4), record.m_strText);
    EXPECT_EQ("010000000200000072676e20000000000000000061006200", encoded(record));
}

TEST(WavLabeledTextChunk, IsTwentyZerosByDefault)
{
    EXPECT_EQ(std::string(40, '0'), encoded(WavLabeledTextChunk()));
}

TEST(WavLabeledTextChunk, RefusesOneByteTooFewAndChangesNothing)
{
    WavLabeledTextChunk record;
    record.m_uiCueId = 7;
    record.m_strText = "former";

    EXPECT_FALSE(decode(record, "04030201 08070605 72676e20 0a09 0c0b 0e0d 10"));

    EXPECT_EQ(7u, record.m_uiCueId);
    EXPECT_EQ("former", record.m_strText);
}

TEST(ChunkDecoder, IsTheCommonBaseOfAllRecords)
{
    WavFmtChunk format;
    WavCuePointChunk point;
    WavLabelChunk label;
    WavLabeledTextChunk text;
    const std::vector<std::uint8_t> vZeros(24);
    for (ChunkDecoder* pRecord : std::initializer_list<ChunkDecoder*>{&format, &point, &label, &text})
        EXPECT_TRUE(pRecord->decode(vZeros.data(), 24));
}
