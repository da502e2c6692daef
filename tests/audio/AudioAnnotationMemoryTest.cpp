// SPDX-License-Identifier: Apache-2.0
// Counts every byte that this program and the libraries it loads hold at one time, so that "no second copy of the audio
// in memory" can be told from the outside.
#include "corvana/AudioAnnotation.h"

#include "audio/AnnotationTestHelpers.h"
#include "support/AllocationCounter.h"
#include "support/ChunkBuilder.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>

using namespace Corvana::Test;
using Corvana::Audio::AnnotatedFile;

namespace {

constexpr std::size_t s_uiMegabyte = 1 << 20;
constexpr std::size_t s_uiAudio = 64 * s_uiMegabyte;
constexpr std::size_t s_uiAllowance = 16 * s_uiMegabyte;

class AnnotationMemory : public testing::Test
{
protected:
    // A file of silence that takes no room on the disk; bytes in front of the silence and behind it.
    std::string sparse(const std::string& in_strName, const std::string& in_strFront,
                       const std::string& in_strBehind = "")
    {
        const std::string strPath = m_folder.write(in_strName, in_strFront);
        std::filesystem::resize_file(strPath, in_strFront.size() + s_uiAudio);
        std::ofstream stream(strPath, std::ios::binary | std::ios::app);
        stream << in_strBehind;
        return strPath;
    }

    static std::string header(std::uint32_t in_uiFormSize, std::uint32_t in_uiDataSize)
    {
        return "RIFF" + littleEndian32(in_uiFormSize) + "WAVE" + fmtChunk() + "data" + littleEndian32(in_uiDataSize);
    }

    // How much more than before an operation holds at its worst.
    template <class Action>
    static std::size_t peakOf(Action in_action)
    {
        const PeakMemory peak;
        EXPECT_TRUE(in_action());
        return peak.bytes();
    }

    TempDir m_folder;
    std::string m_strFile = sparse("target.wav", header(36 + s_uiAudio, s_uiAudio));
};

const Annotation s_beep(Annotation::BEEP, 0.5, 1);

} // namespace

TEST_F(AnnotationMemory, IsTheFileAndSixteenMegabytesAtMostForEveryOperation)
{
    const std::string strOther = sparse("other.wav", header(36 + s_uiAudio, s_uiAudio));
    const char* szFile = m_strFile.c_str();
    const char* szOther = strOther.c_str();

    EXPECT_LE(peakOf([=] { return AnnotatedFile::addAnnotation(szFile, s_beep); }), s_uiAudio + s_uiAllowance);
    EXPECT_LE(peakOf([=] { return AnnotatedFile::addAnnotations(szFile, szOther); }), s_uiAudio + s_uiAllowance);
    EXPECT_LE(peakOf([=] { return AnnotatedFile::copyAnnotations(szFile, szOther); }), s_uiAudio + s_uiAllowance);
    EXPECT_LE(peakOf([=] { return AnnotatedFile::clearAnnotations(szFile, "BEEP"); }), s_uiAudio + s_uiAllowance);
    EXPECT_LE(peakOf([=] { return AnnotatedFile::clearAnnotations(szOther); }), s_uiAudio + s_uiAllowance);
}

TEST_F(AnnotationMemory, IsTheFileAndSixteenMegabytesAtMostForRecordingsThatWereInterrupted)
{
    const std::string strUnknown = sparse("unknown.wav", header(0xFFFFFFFF, 0xFFFFFFFF));
    const std::string strZero = sparse("zero.wav", header(0, 0));
    const std::string strCut = sparse("cut.wav", header(0xFFFFFFF0, 0xFFFFFF00));

    for (const std::string& strFile : {strUnknown, strZero, strCut})
        EXPECT_LE(peakOf([&] { return AnnotatedFile::addAnnotation(strFile.c_str(), s_beep); }),
                  s_uiAudio + s_uiAllowance)
            << strFile;
}

TEST_F(AnnotationMemory, IsTheFileAndSixteenMegabytesAtMostForBytesBehindTheForm)
{
    const std::string strFile = sparse("behind.wav", riff(fmtChunk() + dataChunk("abcd")), "end");

    EXPECT_LE(peakOf([&] { return AnnotatedFile::addAnnotation(strFile.c_str(), s_beep); }), s_uiAudio + s_uiAllowance);
}

TEST_F(AnnotationMemory, IsHardlyAnyForTheRegionsAlone)
{
    EXPECT_LE(peakOf([&] {
                  AnnotatedFile file;
                  std::ifstream stream(m_strFile, std::ios::binary);
                  if (!file.readRegionsFromWAV(stream))
                      return false;
                  file.annotations().push_back(s_beep);
                  return file.updateFile(m_strFile.c_str());
              }),
              s_uiMegabyte);
}

TEST_F(AnnotationMemory, DoesNotGrowWithWhatAFileClaims)
{
    // Four billion cue points, and a chunk of four gigabytes.
    const std::string strFile =
        m_folder.write("claims.wav", riff(fmtChunk() + dataChunk("abcd") +
                                          ChunkBuilder("cue ").u32(0xFFFFFFFF, "count").add(cuePoint(1, 0)).bytes() +
                                          adtlChunk(records(1, 0, "MALE")) +
                                          ChunkBuilder("huge").text("abcd", "").claim(0xFFFFFFF0).bytes()));

    EXPECT_LE(peakOf([&] { return AnnotatedFile::addAnnotation(strFile.c_str(), s_beep); }), s_uiMegabyte);
}
