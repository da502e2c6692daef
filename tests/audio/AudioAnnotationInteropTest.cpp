// SPDX-License-Identifier: Apache-2.0
// What other programs make of files that were annotated here.
#include "corvana/AudioAnnotation.h"

#include "audio/AnnotationTestHelpers.h"
#include "support/ChunkBuilder.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sndfile.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

using namespace Corvana::Test;
using Corvana::Audio::AnnotatedFile;
using testing::ElementsAre;

namespace {

const std::vector<Annotation> s_vAnnotations = {Annotation(Annotation::CPA_HUMAN, 0.1, 0.2),
                                                Annotation(Annotation::BEEP, 0.3, 0.45),
                                                Annotation(Annotation::SF_12, 0.5, 0.6)};
// One second of each, at 8000 samples per second.
const std::string s_strAudio16 = audioBytes(16000);
const std::string s_strAudio8 = audioBytes(7999); // of odd size

bool isInstalled(const std::string& in_strProgram)
{
    return std::system(("command -v " + in_strProgram + " >/dev/null 2>&1").c_str()) == 0;
}

// What a command writes; the test fails when the command does.
std::string outputOf(const std::string& in_strCommand)
{
    std::FILE* pPipe = popen(in_strCommand.c_str(), "r");
    std::string strOutput;
    char acBlock[4096];
    for (std::size_t uiRead = 1; pPipe != nullptr && uiRead > 0; strOutput.append(acBlock, uiRead))
        uiRead = std::fread(acBlock, 1, sizeof acBlock, pPipe);
    EXPECT_EQ(0, pPipe == nullptr ? -1 : pclose(pPipe)) << in_strCommand;
    return strOutput;
}

std::vector<std::string> linesOf(const std::string& in_strText)
{
    std::istringstream text(in_strText);
    std::vector<std::string> vLines;
    for (std::string strLine; std::getline(text, strLine);)
        vLines.push_back(strLine);
    return vLines;
}

struct Case
{
    const char* m_szName;
    AnnotatedFile::LabelOrder m_order;
    bool m_bTwice; // the list is there already when the file is written
};

class AnnotationInterop : public testing::TestWithParam<Case>
{
protected:
    std::string annotated(const std::string& in_strBytes)
    {
        const std::string strFile = m_folder.write("annotated.wav", in_strBytes);
        const std::size_t uiFirst = GetParam().m_bTwice ? 0 : s_vAnnotations.size() - 1;
        AnnotatedFile file;
        std::istringstream stream(in_strBytes);
        EXPECT_TRUE(file.readFromWAV(stream).good());
        file.setLabelOrder(GetParam().m_order);
        file.annotations().assign(s_vAnnotations.begin(), s_vAnnotations.begin() + static_cast<long>(uiFirst));
        m_folder.write("annotated.wav", written(file));
        for (std::size_t uiIndex = uiFirst; uiIndex < s_vAnnotations.size(); ++uiIndex)
            EXPECT_TRUE(AnnotatedFile::addAnnotation(strFile.c_str(), s_vAnnotations[uiIndex], GetParam().m_order));
        return strFile;
    }
    std::string annotated16() { return annotated(riff(fmtChunk() + dataChunk(s_strAudio16))); }
    std::string annotated8() { return annotated(riff(fmtChunk(1, 8000, 8) + dataChunk(s_strAudio8))); }

    TempDir m_folder;
};

INSTANTIATE_TEST_SUITE_P(Order, AnnotationInterop,
                         testing::Values(Case{"Pairs", AnnotatedFile::AS_PAIRS, false},
                                         Case{"PairsAgain", AnnotatedFile::AS_PAIRS, true},
                                         Case{"LabelsFirst", AnnotatedFile::LABELS_FIRST, false},
                                         Case{"LabelsFirstAgain", AnnotatedFile::LABELS_FIRST, true}),
                         [](const auto& in_info) { return in_info.param.m_szName; });

} // namespace

TEST_P(AnnotationInterop, GivesLibsndfileTheSameSamples)
{
    SF_INFO info = {};
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(annotated16().c_str(), SFM_READ, &info),
                                                              sf_close);
    ASSERT_NE(nullptr, pFile);
    EXPECT_EQ(8000, info.frames);
    EXPECT_EQ(8000, info.samplerate);
    EXPECT_EQ(1, info.channels);

    std::vector<short> vSamples(8001);
    ASSERT_EQ(8000, sf_read_short(pFile.get(), vSamples.data(), 8001));

    EXPECT_EQ(0, std::memcmp(s_strAudio16.data(), vSamples.data(), s_strAudio16.size()));
}

TEST_P(AnnotationInterop, GivesLibsndfileTheCuePoints)
{
    SF_INFO info = {};
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(annotated8().c_str(), SFM_READ, &info), sf_close);
    ASSERT_NE(nullptr, pFile);
    EXPECT_EQ(7999, info.frames);

    SF_CUES cues = {};
    ASSERT_EQ(SF_TRUE, sf_command(pFile.get(), SFC_GET_CUE, &cues, sizeof cues));

    ASSERT_EQ(3u, cues.cue_count);
    const std::uint32_t auiStarts[] = {800, 2400, 4000};
    for (unsigned uiCue = 0; uiCue < 3; ++uiCue) {
        EXPECT_EQ(static_cast<int>(uiCue) + 1, cues.cue_points[uiCue].indx);
        EXPECT_EQ(auiStarts[uiCue], cues.cue_points[uiCue].position);
        EXPECT_EQ(auiStarts[uiCue], cues.cue_points[uiCue].sample_offset);
        EXPECT_EQ(0x61746164, cues.cue_points[uiCue].fcc_chunk); // "data"
    }
}

TEST_P(AnnotationInterop, GivesLibsndfileAllNamesWhenLabelsComeFirst)
{
    if (GetParam().m_order != AnnotatedFile::LABELS_FIRST)
        return;
    SF_INFO info = {};
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(annotated8().c_str(), SFM_READ, &info), sf_close);
    ASSERT_NE(nullptr, pFile);
    SF_CUES cues = {};
    ASSERT_EQ(SF_TRUE, sf_command(pFile.get(), SFC_GET_CUE, &cues, sizeof cues));

    ASSERT_EQ(3u, cues.cue_count);
    EXPECT_STREQ("CPA_HUMAN", cues.cue_points[0].name);
    EXPECT_STREQ("BEEP", cues.cue_points[1].name);
    EXPECT_STREQ("SF_12", cues.cue_points[2].name);
}

TEST_P(AnnotationInterop, GivesFfmpegTheSameSamples)
{
    if (!isInstalled("ffmpeg"))
        GTEST_SKIP() << "ffmpeg is not installed";

    EXPECT_TRUE(s_strAudio16 == outputOf("ffmpeg -v error -i '" + annotated16() + "' -f s16le -"));
    EXPECT_TRUE(s_strAudio8 == outputOf("ffmpeg -v error -i '" + annotated8() + "' -f u8 -"));
}

TEST_P(AnnotationInterop, GivesFfmpegTheStarts)
{
    if (!isInstalled("ffprobe"))
        GTEST_SKIP() << "ffprobe is not installed";

    EXPECT_THAT(linesOf(outputOf("ffprobe -v error -show_entries chapter=id,start -of csv '" + annotated16() + "'")),
                ElementsAre("chapter,1,800", "chapter,2,2400", "chapter,3,4000"));
}

TEST_P(AnnotationInterop, GivesFfmpegAllNamesWhenLabelsComeFirst)
{
    if (GetParam().m_order != AnnotatedFile::LABELS_FIRST)
        return;
    if (!isInstalled("ffprobe"))
        GTEST_SKIP() << "ffprobe is not installed";

    EXPECT_THAT(linesOf(outputOf("ffprobe -v error -show_entries chapter=id:chapter_tags=title -of csv '" +
                                 annotated8() + "'")),
                ElementsAre("chapter,1,CPA_HUMAN", "chapter,2,BEEP", "chapter,3,SF_12"));
}

TEST_P(AnnotationInterop, GivesSoxTheSameSamples)
{
    if (!isInstalled("sox"))
        GTEST_SKIP() << "sox is not installed";

    EXPECT_TRUE(s_strAudio16 == outputOf("sox -D '" + annotated16() + "' -t raw -"));
    EXPECT_TRUE(s_strAudio8 == outputOf("sox -D '" + annotated8() + "' -t raw -"));
}

// Files that libsndfile writes with cue points have names, but no lengths.
TEST(AnnotationInteropReading, TakesSamplesAndStartsOfLibsndfileButMissesTheLengths)
{
    TempDir folder;
    SF_INFO info = {};
    info.samplerate = 8000;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* pFile = sf_open(folder.file("foreign.wav").c_str(), SFM_WRITE, &info);
    ASSERT_NE(nullptr, pFile);
    SF_CUES cues = {};
    cues.cue_count = 1;
    cues.cue_points[0].indx = 1;
    cues.cue_points[0].fcc_chunk = 0x61746164;
    cues.cue_points[0].sample_offset = 800;
    std::strcpy(cues.cue_points[0].name, "MALE");
    sf_command(pFile, SFC_SET_CUE, &cues, sizeof cues);
    sf_write_raw(pFile, s_strAudio16.data(), 16000);
    sf_close(pFile);

    EXPECT_EQ("refused", listed(contentsOf(folder.file("foreign.wav"))));
    AnnotatedFile file;
    std::istringstream stream(contentsOf(folder.file("foreign.wav")));
    file.readFromWAV(stream);
    EXPECT_EQ(8000u, file.getNbOfSamples());
}
