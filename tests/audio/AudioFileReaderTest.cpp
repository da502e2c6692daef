// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFileReader.h"

#include "audio/AudioTestHelpers.h"
#include "audio/Fifo.h"
#include "support/LogCapture.h"
#include "support/OtherUser.h"
#include "support/Signals.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <sndfile.h>

#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <locale>
#include <map>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace Corvana::Audio {
namespace {

using Math::DoubleVector;
using Test::AU_PCM16;
using Test::failedAssertion;
using Test::Fifo;
using Test::joined;
using Test::LogCapture;
using Test::LogEvent;
using Test::nbOfVectorBlocks;
using Test::noise;
using Test::OtherUser;
using Test::ramp;
using Test::sameBits;
using Test::TempDir;
using Test::textsAtLevel;
using Test::WAV_ALAW;
using Test::WAV_DOUBLE;
using Test::WAV_PCM16;
using Test::WAV_ULAW;
using Test::writeSoundFile;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

static_assert(!std::is_copy_constructible_v<AudioFileReader> && !std::is_copy_assignable_v<AudioFileReader>);
static_assert(std::is_base_of_v<TimeSource, AudioFileReader>);

constexpr const char* s_szLogger = "kestrivon.audio.AudioFileReader";

LogEvent message(int in_iLevel, const std::string& in_strText, int in_iLine)
{
    return {s_szLogger, in_iLevel, in_strText, "AudioFileReader", in_iLine};
}

LogEvent lastChunkMessage()
{
    return message(10000, "Last chunk of audio read, end of file reached", 202);
}

LogEvent endOfFileMessage()
{
    return message(10000, "End of file reached", 214);
}

LogEvent rewindMessage()
{
    return message(30000, "Audio file is not seekable, will need to close and then open the file to rewind it", 147);
}

LogEvent seekFailedMessage()
{
    return message(40000, "Audio file is not seekable, gotoAudioTime() is not supported", 177);
}

// What libsndfile says when it is asked to open the file.
LogEvent openFailedMessage(const std::string& in_strPath)
{
    SF_INFO info = {};
    EXPECT_EQ(nullptr, sf_open(in_strPath.c_str(), SFM_READ, &info));
    char acError[2048] = {};
    sf_error_str(nullptr, acError, sizeof acError);
    return message(40000, "failed to open " + in_strPath + ", " + acError, 99);
}

LogEvent formatMessage(const std::string& in_strPath, const std::string& in_strHexCode)
{
    return message(10000, in_strPath + " : sfInfo.format=0x" + in_strHexCode, 106);
}

// Samples that 16 bits hold exactly.
DoubleVector coarseNoise(unsigned long in_uiNbOfSamples)
{
    DoubleVector vSamples = noise(in_uiNbOfSamples);
    for (double& dSample : vSamples)
        dSample = std::floor(dSample * 32767.0) / 32768.0;
    return vSamples;
}

// What has to be written for these samples to be read: libsndfile multiplies by 32767 and divides by 32768.
DoubleVector toWrite(DoubleVector in_vSamples)
{
    for (double& dSample : in_vSamples)
        dSample *= 32768.0 / 32767.0;
    return in_vSamples;
}

std::string fileBytes(const std::string& in_strPath)
{
    std::ifstream stream(in_strPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// A reader with a file of these samples in it.
class AudioFileReaderOn : public testing::Test
{
protected:
    std::string open(const DoubleVector& in_vSamples, unsigned long in_uiNbOfFramesToRead = 1024,
                     int in_iSampleRate = 8000, int in_iFormat = WAV_DOUBLE)
    {
        const std::string strPath = writeSoundFile(m_dir.file("sound"), in_vSamples, in_iSampleRate, in_iFormat);
        m_reader.setNbOfFramesToRead(in_uiNbOfFramesToRead);
        EXPECT_TRUE(m_reader.setSourceAudioFile(strPath.c_str()));
        return strPath;
    }

    DoubleVector next()
    {
        DoubleVector vFrames = {-1.0};
        EXPECT_TRUE(m_reader.getNextLinearFrames(vFrames));
        return vFrames;
    }

    bool hasNext()
    {
        DoubleVector vFrames;
        return m_reader.getNextLinearFrames(vFrames);
    }

    std::vector<unsigned long> chunkSizes()
    {
        std::vector<unsigned long> vSizes;
        DoubleVector vFrames;
        while (m_reader.getNextLinearFrames(vFrames))
            vSizes.push_back(vFrames.size());
        return vSizes;
    }

    DoubleVector rest()
    {
        DoubleVector vAll;
        DoubleVector vFrames;
        while (m_reader.getNextLinearFrames(vFrames))
            vAll.insert(vAll.end(), vFrames.begin(), vFrames.end());
        return vAll;
    }

    TempDir m_dir;
    AudioFileReader m_reader;
};

using AudioFileReaderTest = AudioFileReaderOn;

// ---- without a file

TEST(AudioFileReader, StartsWithoutAFileAtTimeZero)
{
    AudioFileReader reader;

    EXPECT_EQ(1024u, reader.getNbOfFramesToRead());
    EXPECT_FALSE(reader.atEnd());
    EXPECT_EQ(0.0, reader.getCurrentAudioTime());
    EXPECT_EQ(0.0, reader.getCurrentTime());
    EXPECT_EQ(0u, reader.getSampleRate());
    EXPECT_EQ(0u, reader.getNbOfFrames());
}

TEST(AudioFileReader, WritesNoFileInfoWithoutAFile)
{
    AudioFileReader reader;
    std::ostringstream stream;

    EXPECT_EQ(&stream, &reader.getFileInfo(stream));

    EXPECT_EQ("", stream.str());
}

TEST(AudioFileReader, ReadsNothingWithoutAFile)
{
    LogCapture log;
    AudioFileReader reader;
    DoubleVector vFrames = {1.0};

    EXPECT_TRUE(reader.getNextLinearFrames(vFrames));
    EXPECT_TRUE(vFrames.empty());
    EXPECT_TRUE(reader.atEnd());
    EXPECT_FALSE(reader.getNextLinearFrames(vFrames));

    EXPECT_THAT(log.events(), ElementsAre(lastChunkMessage(), endOfFileMessage()));
}

TEST(AudioFileReader, ReadsAllOfNothingWithoutAFile)
{
    AudioFileReader reader;
    DoubleVector vFrames;

    EXPECT_FALSE(reader.getAllLinearFrames(vFrames));

    EXPECT_TRUE(vFrames.empty());
    EXPECT_EQ(1024u, reader.getNbOfFramesToRead());
}

TEST(AudioFileReader, SurvivesSeeksWithoutAFile)
{
    AudioFileReader reader;

    reader.gotoStart();
    reader.gotoAudioTime(1.0);

    EXPECT_EQ(0u, reader.getSampleRate());
}

TEST(AudioFileReader, ClipsAtLinearFullScaleWithoutAFile)
{
    EXPECT_EQ(0.999969, AudioFileReader().getClippingValue());
}

// ---- opening

TEST_F(AudioFileReaderTest, TellsRateAndLengthOfTheOpenFile)
{
    open(ramp(2500), 1024, 44100);

    EXPECT_EQ(44100u, m_reader.getSampleRate());
    EXPECT_EQ(2500u, m_reader.getNbOfFrames());
    EXPECT_EQ(0.0, m_reader.getCurrentAudioTime());
    EXPECT_FALSE(m_reader.atEnd());
}

TEST_F(AudioFileReaderTest, LogsTheFormatCodeInHexadecimal)
{
    LogCapture log;

    const std::string strPath = open(coarseNoise(10), 1024, 8000, WAV_PCM16);

    EXPECT_THAT(log.events(), ElementsAre(formatMessage(strPath, "10002")));
}

TEST_F(AudioFileReaderTest, LogsTheFormatCodeWithoutTheHostsDigitGrouping)
{
    struct Grouping : std::numpunct<char>
    {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale former = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    LogCapture log;

    const std::string strPath = open(coarseNoise(10), 1024, 8000, WAV_PCM16);
    std::locale::global(former);

    EXPECT_THAT(log.events(), ElementsAre(formatMessage(strPath, "10002")));
}

TEST_F(AudioFileReaderTest, RefusesAStereoFile)
{
    LogCapture log;
    const std::string strPath = writeSoundFile(m_dir.file("stereo"), noise(200), 8000, WAV_PCM16, 2);

    EXPECT_FALSE(m_reader.setSourceAudioFile(strPath.c_str()));

    EXPECT_THAT(log.events(), ElementsAre(formatMessage(strPath, "10002"),
                                          message(40000, "Audio file is not mono (more than 1 channel)", 110)));
}

TEST_F(AudioFileReaderTest, HasNoFileOpenAfterRefusingAStereoFile)
{
    open(ramp(100));
    const std::string strPath = writeSoundFile(m_dir.file("stereo"), noise(200), 8000, WAV_PCM16, 2);

    EXPECT_FALSE(m_reader.setSourceAudioFile(strPath.c_str()));

    EXPECT_EQ(0u, m_reader.getSampleRate());
    EXPECT_EQ(0u, m_reader.getNbOfFrames());
    EXPECT_TRUE(next().empty());
    std::ostringstream stream;
    m_reader.getFileInfo(stream);
    EXPECT_EQ("", stream.str());
}

TEST_F(AudioFileReaderTest, RefusesAMissingFile)
{
    LogCapture log;
    const std::string strPath = m_dir.file("missing.wav");

    EXPECT_FALSE(m_reader.setSourceAudioFile(strPath.c_str()));

    EXPECT_THAT(log.events(), ElementsAre(openFailedMessage(strPath)));
}

TEST_F(AudioFileReaderTest, ClosesTheFormerFileWhenItCannotOpenTheNext)
{
    open(ramp(100));

    EXPECT_FALSE(m_reader.setSourceAudioFile(m_dir.file("missing.wav").c_str()));

    EXPECT_EQ(0u, m_reader.getSampleRate());
    EXPECT_TRUE(next().empty());
}

TEST_F(AudioFileReaderTest, TellsEachOfSeveralThreadsItsOwnReason)
{
    const std::string strText = m_dir.write("text.wav", "this is no sound");
    const std::string strGood = Corvana::Test::writeSoundFile(m_dir.file("good.wav"), Corvana::Test::noise(10));
    const std::string strMissing = m_dir.file("missing.wav");
    const LogCapture log("kestrivon.audio.AudioFileReader", LOG_ERROR);
    {
        std::vector<std::jthread> vThreads;
        for (const std::string* const pPath : {&strText, &strGood, &strMissing, &strGood})
            vThreads.emplace_back([pPath] {
                for (unsigned uiTrial = 0; uiTrial < 300; ++uiTrial)
                    AudioFileReader().setSourceAudioFile(pPath->c_str());
            });
    }
    std::map<std::string, unsigned> reasons;
    for (const std::string& strReason : log.texts())
        ++reasons[strReason];
    const std::map<std::string, unsigned> expected = {{"failed to open " + strText + ", Format not recognised.", 300},
                                                      {"failed to open " + strMissing + ", System error.", 300}};
    EXPECT_EQ(reasons, expected);
}

TEST_F(AudioFileReaderTest, IsNotAtTheEndAfterAFailedOpen)
{
    open(ramp(10));
    rest();
    ASSERT_TRUE(m_reader.atEnd());

    m_reader.setSourceAudioFile(m_dir.file("missing.wav").c_str());

    EXPECT_FALSE(m_reader.atEnd());
}

TEST_F(AudioFileReaderTest, RefusesANullName)
{
    LogCapture log;
    open(ramp(100));
    log.clear();

    EXPECT_FALSE(m_reader.setSourceAudioFile(nullptr));

    ASSERT_EQ(1u, log.events().size());
    EXPECT_EQ(message(40000, "failed to open , no file name given", 99), log.events()[0]);
    EXPECT_EQ(0u, m_reader.getSampleRate());
}

TEST_F(AudioFileReaderTest, RefusesAFolder)
{
    LogCapture log;

    EXPECT_FALSE(m_reader.setSourceAudioFile(m_dir.path().c_str()));

    EXPECT_THAT(log.events(), ElementsAre(openFailedMessage(m_dir.path())));
}

TEST_F(AudioFileReaderTest, RefusesAnEmptyFile)
{
    LogCapture log;
    const std::string strPath = m_dir.write("empty.wav", "");

    EXPECT_FALSE(m_reader.setSourceAudioFile(strPath.c_str()));

    EXPECT_THAT(log.events(), ElementsAre(openFailedMessage(strPath)));
}

TEST_F(AudioFileReaderTest, RefusesAFileThatIsNoAudio)
{
    LogCapture log;
    const std::string strPath = m_dir.write("letter.wav", "Dear customer, your call is important to us.");

    EXPECT_FALSE(m_reader.setSourceAudioFile(strPath.c_str()));

    EXPECT_THAT(log.events(), ElementsAre(openFailedMessage(strPath)));
}

TEST_F(AudioFileReaderTest, RefusesAHeaderWithoutItsRest)
{
    LogCapture log;
    const std::string strPath = m_dir.write("cut.wav", "RIFF");

    EXPECT_FALSE(m_reader.setSourceAudioFile(strPath.c_str()));

    EXPECT_THAT(log.events(), ElementsAre(openFailedMessage(strPath)));
}

TEST_F(AudioFileReaderTest, RefusesANameBelowAFile)
{
    LogCapture log;
    const std::string strPath = m_dir.write("file", "x") + "/sound.wav";

    EXPECT_FALSE(m_reader.setSourceAudioFile(strPath.c_str()));

    EXPECT_THAT(log.events(), ElementsAre(openFailedMessage(strPath)));
}

TEST_F(AudioFileReaderTest, RefusesAFileWithoutReadPermission)
{
    LogCapture log;
    const std::string strPath = writeSoundFile(m_dir.file("secret.wav"), ramp(10));
    std::filesystem::permissions(strPath, std::filesystem::perms::none);
    std::filesystem::permissions(m_dir.path(), std::filesystem::perms::all);
    const OtherUser user;

    EXPECT_FALSE(m_reader.setSourceAudioFile(strPath.c_str()));

    EXPECT_THAT(log.events(), ElementsAre(openFailedMessage(strPath)));
}

TEST_F(AudioFileReaderTest, OpensANameWithBlanksAndLettersOutsideAscii)
{
    const std::string strPath = writeSoundFile(m_dir.file("Gespräch no 1 – 日本.wav"), ramp(3));

    EXPECT_TRUE(m_reader.setSourceAudioFile(strPath.c_str()));

    EXPECT_EQ(ramp(3), next());
}

TEST_F(AudioFileReaderTest, StartsAfreshWithTheNextFile)
{
    open(ramp(10));
    rest();
    const std::string strNext = writeSoundFile(m_dir.file("next"), ramp(5, 100.0), 16000);

    EXPECT_TRUE(m_reader.setSourceAudioFile(strNext.c_str()));

    EXPECT_FALSE(m_reader.atEnd());
    EXPECT_EQ(0.0, m_reader.getCurrentAudioTime());
    EXPECT_EQ(16000u, m_reader.getSampleRate());
    EXPECT_EQ(ramp(5, 100.0), next());
}

TEST_F(AudioFileReaderTest, LeavesNoFileOpenWhenTheChunkDoesNotFitIntoMemory)
{
    const std::string strPath = writeSoundFile(m_dir.file("sound"), ramp(10));
    m_reader.setNbOfFramesToRead(std::numeric_limits<unsigned long>::max());

    EXPECT_THROW(m_reader.setSourceAudioFile(strPath.c_str()), std::bad_alloc);

    EXPECT_EQ(0u, m_reader.getSampleRate());
    m_reader.setNbOfFramesToRead(4);
    EXPECT_TRUE(m_reader.setSourceAudioFile(strPath.c_str()));
    EXPECT_EQ(ramp(4), next());
}

TEST_F(AudioFileReaderTest, ClosesItsFileInTheEnd)
{
    const auto countOpenFiles = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const std::string strPath = writeSoundFile(m_dir.file("sound"), ramp(10));
    const std::string strStereo = writeSoundFile(m_dir.file("stereo"), ramp(10), 8000, WAV_PCM16, 2);
    const auto iBefore = countOpenFiles();
    {
        AudioFileReader reader;
        reader.setSourceAudioFile(strPath.c_str());
        reader.setSourceAudioFile(strPath.c_str());
        EXPECT_EQ(iBefore + 1, countOpenFiles());
        reader.setSourceAudioFile(strStereo.c_str());
        EXPECT_EQ(iBefore, countOpenFiles());
        reader.setSourceAudioFile(strPath.c_str());
    }
    EXPECT_EQ(iBefore, countOpenFiles());
}

// ---- reading

TEST_F(AudioFileReaderTest, DeliversAShortLastChunkWithTrue)
{
    open(ramp(2500));
    LogCapture log;

    EXPECT_EQ(ramp(1024), next());
    EXPECT_EQ(ramp(1024, 1024.0), next());
    EXPECT_FALSE(m_reader.atEnd());
    EXPECT_THAT(log.events(), IsEmpty());
    EXPECT_EQ(ramp(452, 2048.0), next());
    EXPECT_TRUE(m_reader.atEnd());
    EXPECT_THAT(log.events(), ElementsAre(lastChunkMessage()));
    EXPECT_FALSE(hasNext());
    EXPECT_THAT(log.events(), ElementsAre(lastChunkMessage(), endOfFileMessage()));
}

TEST_F(AudioFileReaderTest, DeliversAnEmptyLastChunkWhenTheLengthIsAMultipleOfTheChunk)
{
    open(ramp(2048));

    EXPECT_EQ(1024u, next().size());
    EXPECT_EQ(1024u, next().size());
    EXPECT_FALSE(m_reader.atEnd());
    EXPECT_EQ(0u, next().size());
    EXPECT_TRUE(m_reader.atEnd());
    EXPECT_FALSE(hasNext());
}

TEST_F(AudioFileReaderTest, DeliversAFileOfOneChunkInOneChunkAndAnEmptyOne)
{
    open(ramp(1024));

    EXPECT_THAT(chunkSizes(), ElementsAre(1024u, 0u));
}

TEST_F(AudioFileReaderTest, DeliversAFileWithoutFramesAsOneEmptyChunk)
{
    open({});

    EXPECT_EQ(8000u, m_reader.getSampleRate());
    EXPECT_THAT(chunkSizes(), ElementsAre(0u));
    EXPECT_EQ(0.0, m_reader.getCurrentAudioTime());
}

TEST_F(AudioFileReaderTest, EmptiesTheOutputBehindTheEnd)
{
    open(ramp(10));
    rest();
    DoubleVector vFrames = {1.0, 2.0};

    EXPECT_FALSE(m_reader.getNextLinearFrames(vFrames));

    EXPECT_TRUE(vFrames.empty());
}

TEST_F(AudioFileReaderTest, ReplacesWhatTheOutputHeld)
{
    open(ramp(3));
    DoubleVector vFrames = ramp(100);

    EXPECT_TRUE(m_reader.getNextLinearFrames(vFrames));

    EXPECT_EQ(ramp(3), vFrames);
}

TEST_F(AudioFileReaderTest, ReadsSingleFrames)
{
    open(ramp(3), 1);

    EXPECT_THAT(chunkSizes(), ElementsAre(1u, 1u, 1u, 0u));
}

TEST_F(AudioFileReaderTest, IsAtTheEndAtOnceWhenItReadsNoFrames)
{
    open(ramp(3), 0);

    EXPECT_TRUE(next().empty());
    EXPECT_TRUE(m_reader.atEnd());
    EXPECT_FALSE(hasNext());
}

TEST_F(AudioFileReaderTest, ThrowsWhenAChunkDoesNotFitIntoMemory)
{
    open(ramp(10), 4);
    next();
    m_reader.setNbOfFramesToRead(std::numeric_limits<unsigned long>::max() / 2);
    DoubleVector vFrames;

    EXPECT_THROW(m_reader.getNextLinearFrames(vFrames), std::bad_alloc);

    m_reader.setNbOfFramesToRead(4);
    EXPECT_EQ(ramp(4, 4.0), next()) << "nothing was read by the failed call";
}

TEST_F(AudioFileReaderTest, GivesTheSameFramesForChunksOfAnyLength)
{
    const DoubleVector vSamples = noise(3000);
    for (const unsigned long uiChunk : {1UL, 7UL, 128UL, 3000UL, 3001UL}) {
        open(vSamples, uiChunk);
        EXPECT_TRUE(sameBits(vSamples, rest())) << uiChunk;
    }
}

TEST_F(AudioFileReaderTest, ReadsLongerChunksFromMidFileOn)
{
    open(ramp(100), 10);
    next();

    EXPECT_TRUE(m_reader.setNbOfFramesToRead(50));

    EXPECT_EQ(50u, m_reader.getNbOfFramesToRead());
    EXPECT_EQ(ramp(50, 10.0), next());
    EXPECT_EQ(ramp(40, 60.0), next());
}

TEST_F(AudioFileReaderTest, ReadsShorterChunksFromMidFileOn)
{
    open(ramp(100), 50);
    next();

    m_reader.setNbOfFramesToRead(20);

    EXPECT_EQ(ramp(20, 50.0), next());
    EXPECT_EQ(ramp(20, 70.0), next());
    EXPECT_EQ(ramp(10, 90.0), next());
}

TEST_F(AudioFileReaderTest, CanGoOnAfterAShortChunkAndARewind)
{
    open(ramp(15), 10);
    rest();

    EXPECT_TRUE(m_reader.gotoStart());

    EXPECT_EQ(ramp(10), next());
}

TEST_F(AudioFileReaderTest, DeliversNormalisedSamples)
{
    open(toWrite({-1.0, -0.5, 0.0, 0.5, 32767.0 / 32768.0}), 1024, 8000, WAV_PCM16);

    EXPECT_EQ(DoubleVector({-1.0, -0.5, 0.0, 0.5, 32767.0 / 32768.0}), next());
}

TEST_F(AudioFileReaderTest, DeliversWhatIsLeftOfAFileThatShrinks)
{
    const std::string strPath = open(coarseNoise(4096), 1024, 8000, WAV_PCM16);
    next();
    const auto uiHeader = std::filesystem::file_size(strPath) - 2 * 4096;

    std::filesystem::resize_file(strPath, uiHeader + 2 * 1500);

    EXPECT_THAT(chunkSizes(), ElementsAre(476u));
    EXPECT_TRUE(m_reader.atEnd());
    EXPECT_EQ(1024 * (1.0 / 8000) + 476 * (1.0 / 8000), m_reader.getCurrentAudioTime());
}

TEST_F(AudioFileReaderTest, AllocatesNothingAfterTheFirstChunk)
{
    open(noise(20000), 160);
    DoubleVector vFrames;
    m_reader.getNextLinearFrames(vFrames);
    const unsigned long uiBlocks = nbOfVectorBlocks();

    while (m_reader.getNextLinearFrames(vFrames))
        ;

    EXPECT_EQ(uiBlocks, nbOfVectorBlocks());
}

// ---- clock

TEST_F(AudioFileReaderTest, TellsTheTimeOfTheFramesRead)
{
    open(ramp(2500));

    next();
    EXPECT_EQ(1024 * (1.0 / 8000), m_reader.getCurrentAudioTime());
    EXPECT_EQ(1024 * (1.0 / 8000), m_reader.getCurrentTime());
}

TEST_F(AudioFileReaderTest, AddsUpItsClockChunkByChunk)
{
    open(ramp(100), 7, 11025);

    const double dChunk = 7.0 * (1.0 / 11025);
    double dAddedUp = 0.0;
    for (int iChunk = 0; iChunk < 14; ++iChunk) {
        next();
        dAddedUp += dChunk;
    }
    EXPECT_EQ(dAddedUp, m_reader.getCurrentAudioTime());
    EXPECT_NE(98.0 * (1.0 / 11025), m_reader.getCurrentAudioTime()) << "the example is to tell the two apart";
}

TEST_F(AudioFileReaderTest, CountsAShortChunkByWhatWasRead)
{
    open(ramp(10), 100, 8000);

    next();

    EXPECT_EQ(10 * (1.0 / 8000), m_reader.getCurrentAudioTime());
}

TEST_F(AudioFileReaderTest, MultipliesByTheSecondsPerFrame)
{
    open(ramp(5), 5, 44100);

    next();

    // Not 5.0 / 44100, which is another double.
    EXPECT_EQ(5.0 * (1.0 / 44100), m_reader.getCurrentAudioTime());
}

// ---- rewinding

TEST_F(AudioFileReaderTest, RewindsToTheFirstFrame)
{
    open(ramp(100), 30);
    next();
    next();
    LogCapture log;

    EXPECT_TRUE(m_reader.gotoStart());

    EXPECT_EQ(0.0, m_reader.getCurrentAudioTime());
    EXPECT_EQ(ramp(30), next());
    EXPECT_THAT(log.events(), IsEmpty());
}

TEST_F(AudioFileReaderTest, IsNotAtTheEndAfterARewind)
{
    open(ramp(100));
    rest();
    ASSERT_TRUE(m_reader.atEnd());

    m_reader.gotoStart();

    EXPECT_FALSE(m_reader.atEnd());
}

// ---- seeking

TEST_F(AudioFileReaderTest, SeeksToTheNearestFrame)
{
    open(ramp(1000), 10);

    EXPECT_TRUE(m_reader.gotoAudioTime(0.0123));

    EXPECT_EQ(98 * (1.0 / 8000), m_reader.getCurrentAudioTime());
    EXPECT_EQ(0.01225, m_reader.getCurrentAudioTime());
    EXPECT_EQ(ramp(10, 98.0), next());
    EXPECT_EQ(0.01225 + 10 * (1.0 / 8000), m_reader.getCurrentAudioTime());
}

TEST_F(AudioFileReaderTest, RoundsHalfAFrameUp)
{
    open(ramp(100), 1, 1000);

    EXPECT_TRUE(m_reader.gotoAudioTime(0.0625)); // frame 62.5

    EXPECT_EQ(ramp(1, 63.0), next());
}

TEST_F(AudioFileReaderTest, SeeksBackwards)
{
    open(ramp(1000), 500);
    rest();

    EXPECT_TRUE(m_reader.gotoAudioTime(0.1));

    EXPECT_FALSE(m_reader.atEnd());
    EXPECT_EQ(ramp(200, 800.0), next());
}

TEST_F(AudioFileReaderTest, SeeksToTheEnd)
{
    open(ramp(1000), 500);

    EXPECT_TRUE(m_reader.gotoAudioTime(0.125));

    EXPECT_EQ(0.125, m_reader.getCurrentAudioTime());
    EXPECT_TRUE(next().empty());
    EXPECT_TRUE(m_reader.atEnd());
}

TEST_F(AudioFileReaderTest, TakesANegativeZeroForTheStart)
{
    open(ramp(10));

    EXPECT_TRUE(m_reader.gotoAudioTime(-0.0));

    EXPECT_EQ(ramp(10), next());
}

class AudioFileReaderRefusedSeek : public AudioFileReaderOn, public testing::WithParamInterface<double>
{
};

TEST_P(AudioFileReaderRefusedSeek, IsReportedAndLeavesThePlace)
{
    open(ramp(1000), 100);
    next();
    LogCapture log;

    EXPECT_FALSE(m_reader.gotoAudioTime(GetParam()));

    EXPECT_THAT(log.events(), ElementsAre(seekFailedMessage()));
    EXPECT_EQ(100 * (1.0 / 8000), m_reader.getCurrentAudioTime());
    EXPECT_EQ(ramp(100, 100.0), next());
}

INSTANTIATE_TEST_SUITE_P(AudioFileReader, AudioFileReaderRefusedSeek,
                         testing::Values(-0.001, -1e-9, -1e300, -std::numeric_limits<double>::infinity(),
                                         std::numeric_limits<double>::quiet_NaN(),
                                         std::numeric_limits<double>::infinity(), 1e300, 0x1p63, 0x1p63 / 8000, 0.126,
                                         1001.0 / 8000),
                         [](const auto& in_info) { return "Time" + std::to_string(in_info.index); });

TEST_F(AudioFileReaderTest, StaysAtTheEndAfterARefusedSeek)
{
    open(ramp(10));
    rest();

    EXPECT_FALSE(m_reader.gotoAudioTime(99.0));

    EXPECT_TRUE(m_reader.atEnd());
    EXPECT_FALSE(hasNext());
}

// ---- everything at once

TEST_F(AudioFileReaderTest, ReadsTheWholeFile)
{
    const DoubleVector vSamples = noise(2500);
    open(vSamples, 7);
    DoubleVector vFrames;

    EXPECT_TRUE(m_reader.getAllLinearFrames(vFrames));

    EXPECT_TRUE(sameBits(vSamples, vFrames));
    EXPECT_TRUE(m_reader.atEnd());
}

TEST_F(AudioFileReaderTest, ReadsTheWholeFileFromItsStartAlsoInMidFile)
{
    open(ramp(2500), 7);
    next();
    DoubleVector vFrames;

    EXPECT_TRUE(m_reader.getAllLinearFrames(vFrames));

    EXPECT_EQ(ramp(2500), vFrames);
}

TEST_F(AudioFileReaderTest, AppendsTheWholeFile)
{
    open(ramp(2500));
    DoubleVector vFrames = {-1.0, -2.0};

    EXPECT_TRUE(m_reader.getAllLinearFrames(vFrames));

    EXPECT_EQ(joined({-1.0, -2.0}, ramp(2500)), vFrames);
}

TEST_F(AudioFileReaderTest, HasNothingToReadInAFileWithoutFrames)
{
    open({});
    DoubleVector vFrames;

    EXPECT_FALSE(m_reader.getAllLinearFrames(vFrames));
    EXPECT_EQ(1024u, m_reader.getNbOfFramesToRead());
}

TEST_F(AudioFileReaderTest, CountsWhatTheOutputHeldAsRead)
{
    open({});
    DoubleVector vFrames = {1.0};

    EXPECT_TRUE(m_reader.getAllLinearFrames(vFrames));
}

TEST_F(AudioFileReaderTest, RestoresTheChunkLengthAfterReadingTheWholeFile)
{
    open(ramp(2500), 7);
    DoubleVector vFrames;

    m_reader.getAllLinearFrames(vFrames);

    EXPECT_EQ(7u, m_reader.getNbOfFramesToRead());
    m_reader.gotoStart();
    EXPECT_EQ(ramp(7), next());
}

TEST_F(AudioFileReaderTest, ReadsTheWholeFileInChunksOf1024)
{
    class CountingReader : public AudioFileReader
    {
    public:
        bool getNextLinearFrames(DoubleVector& out_vFrames) override
        {
            m_vNbOfFrames.push_back(getNbOfFramesToRead());
            return AudioFileReader::getNextLinearFrames(out_vFrames);
        }
        std::vector<unsigned long> m_vNbOfFrames;
    };
    const std::string strPath = writeSoundFile(m_dir.file("sound"), ramp(2048));
    CountingReader reader;
    reader.setNbOfFramesToRead(7);
    reader.setSourceAudioFile(strPath.c_str());
    DoubleVector vFrames;

    EXPECT_TRUE(reader.getAllLinearFrames(vFrames));

    EXPECT_EQ(ramp(2048), vFrames);
    EXPECT_THAT(reader.m_vNbOfFrames, ElementsAre(1024u, 1024u, 1024u, 1024u));
}

TEST_F(AudioFileReaderTest, ReadsTheWholeFileWithoutTheRewindOfADerivedReader)
{
    class StubbornReader : public AudioFileReader
    {
    public:
        bool gotoStart() override
        {
            ADD_FAILURE() << "the derived reader's state is not concerned";
            return false;
        }
    };
    const std::string strPath = writeSoundFile(m_dir.file("sound"), ramp(10));
    StubbornReader reader;
    reader.setSourceAudioFile(strPath.c_str());
    DoubleVector vFrames;

    EXPECT_TRUE(reader.getAllLinearFrames(vFrames));
}

TEST_F(AudioFileReaderTest, RestoresTheChunkLengthWhenAnExceptionEndsTheReading)
{
    class ThrowingReader : public AudioFileReader
    {
    public:
        bool getNextLinearFrames(DoubleVector&) override { throw std::runtime_error("disk on fire"); }
    };
    const std::string strPath = writeSoundFile(m_dir.file("sound"), ramp(10));
    ThrowingReader reader;
    reader.setNbOfFramesToRead(7);
    reader.setSourceAudioFile(strPath.c_str());
    DoubleVector vFrames;

    EXPECT_THROW(reader.getAllLinearFrames(vFrames), std::runtime_error);

    EXPECT_EQ(7u, reader.getNbOfFramesToRead());
}

// ---- clipping and format

TEST_F(AudioFileReaderTest, ClipsMuLawBelowFullScale)
{
    open(coarseNoise(10), 1024, 8000, WAV_ULAW);
    EXPECT_EQ(0.980347, m_reader.getClippingValue());
}

TEST_F(AudioFileReaderTest, ClipsALawBelowFullScale)
{
    open(coarseNoise(10), 1024, 8000, WAV_ALAW);
    EXPECT_EQ(0.984375, m_reader.getClippingValue());
}

TEST_F(AudioFileReaderTest, ClipsSixteenBitSamplesAtTheirFullScale)
{
    open(coarseNoise(10), 1024, 8000, WAV_PCM16);
    EXPECT_EQ(0.999969, m_reader.getClippingValue());
}

TEST_F(AudioFileReaderTest, ClipsByTheEncodingWhateverTheContainer)
{
    open(coarseNoise(10), 1024, 8000, SF_FORMAT_AU | SF_FORMAT_ULAW);
    EXPECT_EQ(0.980347, m_reader.getClippingValue());
}

std::string fileInfo(AudioFileReader& inout_reader)
{
    std::ostringstream stream;
    inout_reader.getFileInfo(stream);
    return stream.str();
}

// The names are libsndfile's; asking it keeps the test true for other versions.
std::string libraryName(int in_iFormat, const char* SF_FORMAT_INFO::*in_pField)
{
    SF_FORMAT_INFO info = {};
    info.format = in_iFormat;
    EXPECT_EQ(0, sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info));
    return info.*in_pField;
}

TEST_F(AudioFileReaderTest, WritesTheFormatOfAMuLawFile)
{
    open(coarseNoise(10), 1024, 8000, WAV_ULAW);

    EXPECT_EQ(libraryName(SF_FORMAT_WAV, &SF_FORMAT_INFO::name) + " (.wav) " +
                  libraryName(SF_FORMAT_ULAW, &SF_FORMAT_INFO::name),
              fileInfo(m_reader));
}

TEST_F(AudioFileReaderTest, WritesTheFormatOfASixteenBitFile)
{
    open(coarseNoise(10), 1024, 8000, WAV_PCM16);

    EXPECT_EQ(libraryName(SF_FORMAT_WAV, &SF_FORMAT_INFO::name) + " (.wav) " +
                  libraryName(SF_FORMAT_PCM_16, &SF_FORMAT_INFO::name),
              fileInfo(m_reader));
}

TEST_F(AudioFileReaderTest, WritesTheFormatOfAFileWithTheOtherByteOrder)
{
    open(coarseNoise(10), 1024, 8000, SF_FORMAT_AU | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE);

    EXPECT_EQ(libraryName(SF_FORMAT_AU, &SF_FORMAT_INFO::name) + " (.au) " +
                  libraryName(SF_FORMAT_PCM_16, &SF_FORMAT_INFO::name),
              fileInfo(m_reader));
}

TEST_F(AudioFileReaderTest, ReturnsTheStreamThatItWroteTheFormatTo)
{
    open(coarseNoise(10));
    std::ostringstream stream;

    EXPECT_EQ(&stream, &m_reader.getFileInfo(stream));
}

// ---- files that cannot seek

class AudioFileReaderOnAPipe : public testing::TestWithParam<int>
{
protected:
    AudioFileReaderOnAPipe()
        : m_strBytes(fileBytes(writeSoundFile(m_dir.file("sound"), toWrite(m_vSamples), 8000, GetParam())))
        , m_fifo(m_dir.file("fifo"))
    {
    }

    bool open(AudioFileReader& inout_reader)
    {
        m_fifo.serve(m_strBytes);
        return inout_reader.setSourceAudioFile(m_fifo.path().c_str());
    }

    TempDir m_dir;
    const DoubleVector m_vSamples = coarseNoise(2500);
    std::string m_strBytes;
    Fifo m_fifo;
};

INSTANTIATE_TEST_SUITE_P(AudioFileReader, AudioFileReaderOnAPipe, testing::Values(AU_PCM16, WAV_PCM16),
                         [](const auto& in_info) { return in_info.param == AU_PCM16 ? "AU" : "WAV"; });

class OpenCountingReader : public AudioFileReader
{
public:
    bool setSourceAudioFile(const char* in_szFileName) override
    {
        m_vNames.emplace_back(in_szFileName);
        return AudioFileReader::setSourceAudioFile(in_szFileName);
    }
    std::vector<std::string> m_vNames;
};

TEST_P(AudioFileReaderOnAPipe, ReadsFromFrontToBack)
{
    AudioFileReader reader;
    DoubleVector vAll;
    DoubleVector vFrames;

    EXPECT_TRUE(open(reader));
    while (reader.getNextLinearFrames(vFrames))
        vAll.insert(vAll.end(), vFrames.begin(), vFrames.end());

    EXPECT_TRUE(sameBits(m_vSamples, vAll));
}

TEST_P(AudioFileReaderOnAPipe, RewindsByOpeningTheFileAgain)
{
    OpenCountingReader reader;
    DoubleVector vFrames;
    ASSERT_TRUE(open(reader));
    reader.getNextLinearFrames(vFrames);
    m_fifo.serve(m_strBytes);
    LogCapture log("kestrivon", 30000);

    EXPECT_TRUE(reader.gotoStart());

    EXPECT_THAT(log.events(), ElementsAre(rewindMessage()));
    EXPECT_THAT(reader.m_vNames, ElementsAre(m_fifo.path(), m_fifo.path()));
    EXPECT_EQ(0.0, reader.getCurrentAudioTime());
    EXPECT_TRUE(reader.getNextLinearFrames(vFrames));
    EXPECT_EQ(1024u, vFrames.size());
    EXPECT_EQ(m_vSamples[0], vFrames[0]);
}

TEST_P(AudioFileReaderOnAPipe, FailsToRewindWhenTheFileIsGone)
{
    AudioFileReader reader;
    ASSERT_TRUE(open(reader));
    m_fifo.remove();
    LogCapture log("kestrivon", 30000);

    EXPECT_FALSE(reader.gotoStart());

    EXPECT_THAT(log.events(), ElementsAre(rewindMessage(), openFailedMessage(m_fifo.path())));
    EXPECT_EQ(0u, reader.getSampleRate());
}

TEST_P(AudioFileReaderOnAPipe, CannotSeekToATime)
{
    AudioFileReader reader;
    DoubleVector vFrames;
    ASSERT_TRUE(open(reader));
    reader.getNextLinearFrames(vFrames);
    LogCapture log;

    EXPECT_FALSE(reader.gotoAudioTime(0.01));

    EXPECT_THAT(log.events(), ElementsAre(seekFailedMessage()));
    EXPECT_EQ(1024 * (1.0 / 8000), reader.getCurrentAudioTime());
    EXPECT_TRUE(reader.getNextLinearFrames(vFrames));
    EXPECT_EQ(m_vSamples[1024], vFrames[0]);
}

TEST_P(AudioFileReaderOnAPipe, ReadsTheWholeFileByOpeningItAgain)
{
    OpenCountingReader reader;
    reader.setNbOfFramesToRead(100);
    DoubleVector vFrames;
    ASSERT_TRUE(open(reader));
    reader.getNextLinearFrames(vFrames);
    vFrames.clear();
    m_fifo.serve(m_strBytes);

    EXPECT_TRUE(reader.getAllLinearFrames(vFrames));

    EXPECT_TRUE(sameBits(m_vSamples, vFrames));
    EXPECT_EQ(2u, reader.m_vNames.size()) << "a derived reader's own opening runs";
    EXPECT_EQ(100u, reader.getNbOfFramesToRead());
}

TEST_P(AudioFileReaderOnAPipe, ReportsThatTheWholeFileCannotBeReadAgain)
{
    AudioFileReader reader;
    reader.setNbOfFramesToRead(100);
    ASSERT_TRUE(open(reader));
    m_fifo.remove();
    LogCapture log("kestrivon", 30000);
    DoubleVector vFrames = {1.0};

    EXPECT_FALSE(reader.getAllLinearFrames(vFrames));

    EXPECT_THAT(log.events(), ElementsAre(rewindMessage(), openFailedMessage(m_fifo.path()),
                                          failedAssertion("AudioFileReader::gotoStart()", "AudioFileReader", 244)));
    EXPECT_EQ(DoubleVector({1.0}), vFrames);
    EXPECT_EQ(100u, reader.getNbOfFramesToRead());
}

// ---- tracing

TEST(AudioFileReader, TracesItsOperations)
{
    const TempDir dir;
    const std::string strPath = writeSoundFile(dir.file("sound"), ramp(10));
    LogCapture log("kestrivon", 0);
    AudioFileReader reader;
    DoubleVector vFrames;

    reader.setNbOfFramesToRead(5);
    reader.setSourceAudioFile(strPath.c_str());
    reader.getNextLinearFrames(vFrames);
    reader.gotoStart();
    reader.gotoAudioTime(0.0);

    EXPECT_THAT(
        textsAtLevel(log, 0),
        ElementsAre("ENTER : AudioFileReader ctor", "EXIT : AudioFileReader ctor",
                    "ENTER : AudioFileReader::setNbOfFramesToRead", "EXIT : AudioFileReader::setNbOfFramesToRead",
                    "ENTER : AudioFileReader::setSourceAudioFile", "EXIT : AudioFileReader::setSourceAudioFile",
                    "ENTER : AudioFileReader::getNextLinearFrames", "EXIT : AudioFileReader::getNextLinearFrames"));
    EXPECT_THAT(log.events(),
                Each(AllOf(Field(&LogEvent::m_strLogger, s_szLogger), Field(&LogEvent::m_strFile, "AudioFileReader"))));
}

TEST(AudioFileReader, TracesTheReadingOfAWholeFileAroundItsChunks)
{
    const TempDir dir;
    const std::string strPath = writeSoundFile(dir.file("sound"), ramp(10));
    AudioFileReader reader;
    reader.setSourceAudioFile(strPath.c_str());
    LogCapture log("kestrivon", 0);
    DoubleVector vFrames;

    reader.getAllLinearFrames(vFrames);

    EXPECT_THAT(
        textsAtLevel(log, 0),
        ElementsAre("ENTER : AudioFileReader::getAllLinearFrames", "ENTER : AudioFileReader::getNextLinearFrames",
                    "EXIT : AudioFileReader::getNextLinearFrames", "ENTER : AudioFileReader::getNextLinearFrames",
                    "EXIT : AudioFileReader::getNextLinearFrames", "EXIT : AudioFileReader::getAllLinearFrames"));
}

TEST(AudioFileReader, TracesAFailedOpening)
{
    LogCapture log("kestrivon", 0);
    AudioFileReader reader;
    log.clear();

    reader.setSourceAudioFile("/no/such/file");

    EXPECT_THAT(textsAtLevel(log, 0), ElementsAre("ENTER : AudioFileReader::setSourceAudioFile",
                                                  "EXIT : AudioFileReader::setSourceAudioFile"));
}

// ---- properties

RC_GTEST_PROP(AudioFileReader, DeliversEveryFrameOnce, ())
{
    const auto uiNbOfFrames = *rc::gen::inRange(0UL, 500UL);
    const TempDir dir;
    const std::string strPath = writeSoundFile(dir.file("sound"), ramp(uiNbOfFrames));
    AudioFileReader reader;
    RC_ASSERT(reader.setSourceAudioFile(strPath.c_str()));
    unsigned long uiPlace = 0;

    for (const unsigned long uiChunk : *rc::gen::container<std::vector<unsigned long>>(rc::gen::inRange(0UL, 200UL))) {
        if (uiChunk % 5 == 4) {
            const double dTime = static_cast<double>(uiChunk) / 8000.0;
            const bool bInside = uiChunk <= uiNbOfFrames;
            RC_ASSERT(reader.gotoAudioTime(dTime) == bInside);
            uiPlace = bInside ? uiChunk : uiPlace;
        }
        reader.setNbOfFramesToRead(uiChunk);
        DoubleVector vFrames;
        const bool bAtEnd = reader.atEnd();
        RC_ASSERT(reader.getNextLinearFrames(vFrames) == !bAtEnd);
        const unsigned long uiExpected = bAtEnd ? 0 : std::min(uiChunk, uiNbOfFrames - uiPlace);
        RC_ASSERT(vFrames == ramp(uiExpected, static_cast<double>(uiPlace)));
        uiPlace += uiExpected;
    }
}

// ---- 16-bit samples

// Every sample that there is, as libsndfile converts it.
TEST(AudioFileReaderShorts, AreTheDoublesThatLibsndfileMakesOfThem)
{
    constexpr int iNbOfSamples = 65536;
    std::vector<short> vSamples;
    for (int iSample = 0; iSample < iNbOfSamples; ++iSample)
        vSamples.push_back(static_cast<short>(iSample - 32768));
    const Corvana::Test::TempDir folder;
    for (const int iFormat : {SF_FORMAT_WAV | SF_FORMAT_PCM_16, SF_FORMAT_WAV | SF_ENDIAN_BIG | SF_FORMAT_PCM_16,
                              SF_FORMAT_WAVEX | SF_FORMAT_PCM_16, SF_FORMAT_AIFF | SF_FORMAT_PCM_16,
                              SF_FORMAT_AIFF | SF_ENDIAN_LITTLE | SF_FORMAT_PCM_16, SF_FORMAT_AU | SF_FORMAT_PCM_16,
                              SF_FORMAT_W64 | SF_FORMAT_PCM_16, SF_FORMAT_WAV | SF_FORMAT_PCM_24}) {
        const std::string strPath = folder.file("shorts");
        SF_INFO info = {};
        info.samplerate = 8000;
        info.channels = 1;
        info.format = iFormat;
        SNDFILE* pFile = sf_open(strPath.c_str(), SFM_WRITE, &info);
        ASSERT_NE(nullptr, pFile) << iFormat;
        ASSERT_EQ(iNbOfSamples, sf_write_short(pFile, vSamples.data(), iNbOfSamples));
        sf_close(pFile);
        std::vector<double> vExpected(iNbOfSamples);
        pFile = sf_open(strPath.c_str(), SFM_READ, &info);
        ASSERT_EQ(iNbOfSamples, sf_read_double(pFile, vExpected.data(), iNbOfSamples));
        sf_close(pFile);

        AudioFileReader reader;
        reader.setNbOfFramesToRead(1000);
        ASSERT_TRUE(reader.setSourceAudioFile(strPath.c_str()));
        DoubleVector vFrames;
        ASSERT_TRUE(reader.getAllLinearFrames(vFrames));

        ASSERT_EQ(vExpected.size(), vFrames.size());
        EXPECT_TRUE(std::equal(vFrames.begin(), vFrames.end(), vExpected.begin(),
                               [](double in_dLeft, double in_dRight) {
                                   return std::bit_cast<std::uint64_t>(in_dLeft) ==
                                          std::bit_cast<std::uint64_t>(in_dRight);
                               }))
            << iFormat;
    }
}

TEST(AudioFileReaderShorts, FillChunksOfAnyLength)
{
    const Corvana::Test::TempDir folder;
    const std::string strPath =
        writeSoundFile(folder.file("long"), coarseNoise(50000), 8000, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    AudioFileReader reader;
    ASSERT_TRUE(reader.setSourceAudioFile(strPath.c_str()));
    DoubleVector vExpected;
    ASSERT_TRUE(reader.getAllLinearFrames(vExpected)); // in chunks of 1024
    for (const unsigned long uiChunk : {16383UL, 16384UL, 16385UL, 32768UL, 40000UL, 50000UL, 60000UL}) {
        reader.setNbOfFramesToRead(uiChunk);
        ASSERT_TRUE(reader.setSourceAudioFile(strPath.c_str()));
        DoubleVector vAll;
        DoubleVector vChunk;
        while (reader.getNextLinearFrames(vChunk)) {
            EXPECT_EQ(vChunk.size(), std::min(uiChunk, vExpected.size() - vAll.size())) << uiChunk;
            vAll.insert(vAll.end(), vChunk.begin(), vChunk.end());
        }
        EXPECT_TRUE(vAll == vExpected) << uiChunk;
    }
}

} // namespace
} // namespace Corvana::Audio
