// SPDX-License-Identifier: Apache-2.0
// Lists of labels that libsndfile may never come to an end of.
#include "audio/AudioRiffListCheck.h"

#include "audio/AudioTestHelpers.h"
#include "corvana/AudioAnnotation.h"
#include "corvana/AudioFileReader.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace Corvana::Audio {
namespace {

using Math::DoubleVector;
using Test::LogCapture;
using Test::TempDir;

// Bytes of a chunk, with a length that it claims beside the one that it has.
std::string chunk(const std::string& in_strName, const std::string& in_strBody, std::uint32_t in_uiClaimed,
                  bool in_bBigEndian = false)
{
    std::string strChunk = in_strName;
    for (unsigned uiByte = 0; uiByte < 4; ++uiByte)
        strChunk += static_cast<char>(in_uiClaimed >> 8 * (in_bBigEndian ? 3 - uiByte : uiByte));
    return strChunk + in_strBody + (in_strBody.size() % 2 == 0 ? "" : std::string(1, '\0'));
}

std::string chunk(const std::string& in_strName, const std::string& in_strBody)
{
    return chunk(in_strName, in_strBody, static_cast<std::uint32_t>(in_strBody.size()));
}

std::string formatChunk()
{
    return chunk("fmt ", std::string("\1\0\1\0\x40\x1F\0\0\x80\x3E\0\0\2\0\x10\0", 16));
}

std::string recording(const std::string& in_strSamples, const std::string& in_strBehind)
{
    return chunk("RIFF", "WAVE" + formatChunk() + chunk("data", in_strSamples) + in_strBehind);
}

std::string list(const std::string& in_strEntries)
{
    return chunk("LIST", "adtl" + in_strEntries);
}

bool isMisleading(const std::string& in_strBytes)
{
    return RiffListCheck([&](std::uint64_t in_uiPosition, unsigned char* out_pBytes, std::size_t in_uiCount) {
               return in_uiPosition >= in_strBytes.size()
                          ? 0
                          : in_strBytes.copy(reinterpret_cast<char*>(out_pBytes), in_uiCount,
                                             static_cast<std::size_t>(in_uiPosition));
           })
        .isMisleading();
}

class MisleadingListTest : public testing::Test
{
protected:
    // The samples of a file of these bytes.
    DoubleVector samplesOf(const std::string& in_strBytes)
    {
        DoubleVector vSamples;
        AudioFileReader reader;
        EXPECT_TRUE(reader.setSourceAudioFile(m_dir.write("recording.wav", in_strBytes).c_str()));
        reader.getAllLinearFrames(vSamples);
        return vSamples;
    }

    TempDir m_dir;
    const std::string m_strSamples = std::string("LIST\1\0\2\0LIST\3\0LI", 16) + "ST" + std::string(40, '\5');
};

TEST_F(MisleadingListTest, IsReadAlthoughAnEntryLeadsBackwards)
{
    const DoubleVector vExpected = samplesOf(recording(m_strSamples, ""));
    ASSERT_EQ(vExpected.size(), m_strSamples.size() / 2);
    // To itself, to the list's kind, to an entry before, and to the end of the numbers.
    for (const std::uint32_t uiBack : {8U, 9U, 12U, 13U, 28U, 1U, 2U, 0x80000000U, 0x80000001U}) {
        const std::string strEntry = chunk("abcd", std::string(30, 'x'), 0U - uiBack);
        for (const std::string& strBefore : {std::string(), chunk("labl", "abcd1234efgh")}) {
            const std::string strBytes = recording(m_strSamples, list(strBefore + strEntry) + chunk("junk", "xy"));
            EXPECT_TRUE(isMisleading(strBytes)) << uiBack;
            EXPECT_EQ(samplesOf(strBytes), vExpected) << uiBack;
        }
    }
}

TEST_F(MisleadingListTest, IsReadInFrontOfTheSamples)
{
    const std::string strBytes =
        chunk("RIFF", "WAVE" + list(chunk("abcd", "x", 0xFFFFFFF8)) + formatChunk() + chunk("data", m_strSamples));
    EXPECT_TRUE(isMisleading(strBytes));
    EXPECT_EQ(samplesOf(strBytes), samplesOf(recording(m_strSamples, "")));
}

TEST_F(MisleadingListTest, IsReadAgainAndElsewhereAsAnyRecording)
{
    const std::string strPath =
        m_dir.write("recording.wav", recording(m_strSamples, list(chunk("abcd", "x", 0xFFFFFFF8))));
    AudioFileReader reader;
    ASSERT_TRUE(reader.setSourceAudioFile(strPath.c_str()));
    EXPECT_EQ(reader.getNbOfFrames(), m_strSamples.size() / 2);
    DoubleVector vOnce;
    DoubleVector vAgain;
    ASSERT_TRUE(reader.getAllLinearFrames(vOnce));
    ASSERT_TRUE(reader.getAllLinearFrames(vAgain));
    EXPECT_EQ(vOnce, vAgain);
    ASSERT_TRUE(reader.gotoAudioTime(4 / 8000.0));
    DoubleVector vRest;
    ASSERT_TRUE(reader.getNextLinearFrames(vRest));
    EXPECT_TRUE(std::equal(vRest.begin(), vRest.end(), vOnce.begin() + 4, vOnce.end()));
}

TEST_F(MisleadingListTest, WithoutAudioIsRefusedWithLibsndfilesReason)
{
    const LogCapture log;
    AudioFileReader reader;
    const std::string strPath =
        m_dir.write("recording.wav", chunk("RIFF", "WAVE" + list(chunk("abcd", "x", 0xFFFFFFF8))));
    EXPECT_FALSE(reader.setSourceAudioFile(strPath.c_str()));
    ASSERT_EQ(log.texts().size(), 1u);
    EXPECT_EQ(log.texts()[0].find("failed to open " + strPath + ", "), 0u) << log.texts()[0];
}

TEST(RiffListCheck, TrustsTheListsThatAreWrittenHere)
{
    const TempDir dir;
    const std::string strPath = dir.write("recording.wav", recording(std::string(16000, '\0'), ""));
    for (const auto order : {AnnotatedFile::AS_PAIRS, AnnotatedFile::LABELS_FIRST}) {
        AnnotatedFile file;
        file.setLabelOrder(order);
        ASSERT_TRUE(file.addAnnotation(strPath.c_str(), {AnnotatedFile::Annotation::BEEP, 0.1, 0.2}));
        std::ifstream stream(strPath, std::ios::binary);
        EXPECT_FALSE(isMisleading({std::istreambuf_iterator<char>(stream), {}}));
    }
}

TEST(RiffListCheck, TrustsSoundListsAndListsThatLibsndfileLeaves)
{
    for (const std::string& strEntries :
         {std::string(), chunk("labl", "abcdefgh"), chunk("ISFT", "odd"), std::string("INFO") + chunk("ICMT", ""),
          chunk("data", "", 0x80000000), std::string(12, '\0'), chunk("note", "1234") + chunk("ltxt", "1234"),
          chunk("abcd", "1234", 5), std::string("a"), chunk("labl", "ab"), chunk("abcd", "") + "xyz"})
        EXPECT_FALSE(isMisleading(recording("ab", list(strEntries)))) << testing::PrintToString(strEntries);
    EXPECT_FALSE(isMisleading(recording("ab", chunk("LIST", ""))));
    // The last entry's padding does not count.
    EXPECT_FALSE(isMisleading(recording("ab", chunk("LIST", "adtl" + chunk("ISFT", "odd"), 15))));
    EXPECT_FALSE(isMisleading("RIFF"));
    EXPECT_FALSE(isMisleading(chunk("RIFF", "AVI " + list(chunk("abcd", "", 0x80000000)))));
    EXPECT_FALSE(isMisleading(chunk("FORM", "WAVE" + list(chunk("abcd", "", 0x80000000)))));
}

TEST(RiffListCheck, TrustsNoListWithAnEntryOfTwoGigabytes)
{
    for (const std::uint32_t uiSize : {0x7FFFFFFFU, 0x80000000U, UINT32_MAX})
        for (const std::string& strBefore : {std::string(), chunk("labl", "abcdefgh"), std::string("INFO")})
            EXPECT_TRUE(isMisleading(recording("ab", list(strBefore + chunk("abcd", "1234", uiSize))))) << uiSize;
    EXPECT_FALSE(isMisleading(recording("ab", list(chunk("abcd", "1234", 0x7FFFFFFE)))));
    // libsndfile reads on behind a list that its entries do not fill.
    EXPECT_TRUE(isMisleading(recording("ab", list("ab") + chunk("cd", "", 0xFFFFFFFF))));
}

TEST(RiffListCheck, FindsListsWhereverLibsndfileMayLookForThem)
{
    const std::string strBad = list(chunk("abcd", "", 0x80000000));
    EXPECT_TRUE(isMisleading(recording("ab", chunk("junk", "x" + strBad))));
    EXPECT_TRUE(isMisleading(recording("ab", std::string("\1\2\3\4\0\0\0\0xxx", 11) + strBad)));
    EXPECT_TRUE(isMisleading(chunk("RIFF", "WAVE" + formatChunk() + chunk("data", "ab" + strBad, 0))));
    EXPECT_FALSE(isMisleading(recording(strBad, ""))); // samples
    const std::string strBigEndian = chunk("LIST", "adtl" + chunk("abcd", "", 0x80000000, true), 12, true);
    EXPECT_TRUE(isMisleading(chunk("RIFX", "WAVE" + strBigEndian, 4 + 20, true)));
}

TEST(RiffListCheck, PassesOverTheLongDataOfRF64)
{
    const std::string strSize =
        chunk("ds64", std::string(8, '\0') + std::string("\x8\0\0\0\0\0\0\0", 8) + std::string(12, '\0'));
    const std::string strBad = list(chunk("abcd", "", 0x80000000));
    EXPECT_TRUE(isMisleading(chunk("RF64", "WAVE" + strSize + chunk("data", "abcdefgh", UINT32_MAX) + strBad)));
    EXPECT_FALSE(isMisleading(chunk("RF64", "WAVE" + strSize + chunk("data", "abcdefgh", UINT32_MAX) + list(""))));
}

TEST(RiffListCheck, TrustsNoFileWithMoreBesidesTheAudioThanItLooksThrough)
{
    EXPECT_FALSE(isMisleading(recording("ab", chunk("junk", std::string(260000, 'x')))));
    EXPECT_TRUE(isMisleading(recording("ab", chunk("junk", std::string(270000, 'x')))));
    std::string strMany;
    for (unsigned uiChunk = 0; uiChunk < 10000; ++uiChunk)
        strMany += chunk("junk", "");
    EXPECT_TRUE(isMisleading(recording("ab", strMany)));
    EXPECT_FALSE(isMisleading(recording("ab", strMany.substr(0, strMany.size() / 2))));
}

TEST(RiffListCheck, TrustsNoListOfMoreEntriesThanItGoesThrough)
{
    std::string strMany;
    for (unsigned uiEntry = 0; uiEntry < 100000; ++uiEntry)
        strMany += "INFO";
    EXPECT_TRUE(isMisleading(recording("ab", list(strMany))));
    EXPECT_FALSE(isMisleading(recording("ab", list(strMany.substr(0, strMany.size() / 2)))));
}

RC_GTEST_PROP(RiffListCheck, EndsForAnyBytesAndFindsWhatALoneListHoldsInAnyChunk,
              (const std::vector<std::uint8_t>& in_vBytes))
{
    const std::string strList = chunk("LIST", std::string(in_vBytes.begin(), in_vBytes.end()));
    const bool bMisleading = isMisleading(recording("ab", strList));
    RC_ASSERT(!bMisleading || isMisleading(recording("ab", chunk("junk", strList))));
    RC_CLASSIFY(bMisleading);
}

} // namespace
} // namespace Corvana::Audio
