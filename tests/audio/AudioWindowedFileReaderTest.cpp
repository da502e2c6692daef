// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioWindowedFileReader.h"

#include "audio/AudioTestHelpers.h"
#include "audio/Fifo.h"
#include "support/LogCapture.h"
#include "support/Signals.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <fstream>
#include <limits>
#include <new>
#include <string>
#include <vector>

namespace Corvana::Audio {
namespace {

using Config = LinearAudioWindower::Config;
using Math::DoubleVector;
using Test::AU_PCM16;
using Test::Fifo;
using Test::LogCapture;
using Test::LogEvent;
using Test::nbOfVectorBlocks;
using Test::noise;
using Test::ramp;
using Test::sameBits;
using Test::TempDir;
using Test::textsAtLevel;
using Test::WAV_PCM16;
using Test::writeSoundFile;
using testing::ElementsAre;
using testing::IsEmpty;

LogEvent ownMessage(const std::string& in_strText, int in_iLine)
{
    return {"kestrivon.audio.WindowedAudioFileReader", 10000, in_strText, "AudioWindowedFileReader", in_iLine};
}

LogEvent readerMessage(const std::string& in_strText, int in_iLine)
{
    return {"kestrivon.audio.AudioFileReader", 10000, in_strText, "AudioFileReader", in_iLine};
}

Config makeConfig(unsigned long in_uiSampleRate, unsigned long in_uiWindowSizeMs, unsigned long in_uiWindowOverlapMs,
                  bool in_bSuppressDCOffset = false)
{
    Config config;
    config.m_uiSampleRate = in_uiSampleRate;
    config.m_uiWindowSizeMs = in_uiWindowSizeMs;
    config.m_uiWindowOverlapMs = in_uiWindowOverlapMs;
    config.m_bSuppressDCOffset = in_bSuppressDCOffset;
    return config;
}

struct TimedWindow
{
    DoubleVector m_vSamples;
    double m_dTime = 0.0;

    friend bool operator==(const TimedWindow& in_left, const TimedWindow& in_right)
    {
        return sameBits(in_left.m_vSamples, in_right.m_vSamples) && in_left.m_dTime == in_right.m_dTime;
    }
};

// Tells which chunks it read.
class ChunkRecordingReader : public WindowedAudioFileReader
{
public:
    bool getNextLinearFrames(DoubleVector& out_vFrames) override
    {
        const bool bRead = WindowedAudioFileReader::getNextLinearFrames(out_vFrames);
        if (bRead)
            m_vChunkSizes.push_back(out_vFrames.size());
        return bRead;
    }
    std::vector<unsigned long> m_vChunkSizes;
};

class WindowedAudioFileReaderTest : public testing::Test
{
protected:
    std::string soundFile(const DoubleVector& in_vSamples) { return writeSoundFile(m_dir.file("sound"), in_vSamples); }
    std::string stereoFile() { return writeSoundFile(m_dir.file("stereo"), noise(100), 8000, WAV_PCM16, 2); }

    void open(const Config& in_config, const DoubleVector& in_vSamples)
    {
        EXPECT_TRUE(m_reader.configure(in_config));
        EXPECT_TRUE(m_reader.setSourceAudioFile(soundFile(in_vSamples).c_str()));
    }

    DoubleVector next()
    {
        DoubleVector vWindow = {-1.0};
        EXPECT_TRUE(m_reader.getNextWindow(vWindow));
        return vWindow;
    }

    std::vector<TimedWindow> windows()
    {
        std::vector<TimedWindow> vWindows;
        DoubleVector vWindow;
        while (m_reader.getNextWindow(vWindow))
            vWindows.push_back({vWindow, m_reader.getCurrentAudioTime()});
        return vWindows;
    }

    TempDir m_dir;
    ChunkRecordingReader m_reader;
};

// ---- chunks

TEST(WindowedAudioFileReader, ReadsChunksOf1024UntilItIsConfigured)
{
    EXPECT_EQ(1024u, WindowedAudioFileReader().getNbOfFramesToRead());
}

TEST(WindowedAudioFileReader, ReadsOneWindowAtATimeByDefault)
{
    WindowedAudioFileReader reader;

    EXPECT_TRUE(reader.configure(Config()));

    EXPECT_EQ(128u, reader.getNbOfFramesToRead());
}

TEST(WindowedAudioFileReader, ReadsAsManyWindowsAtATimeAsTheFactorSays)
{
    WindowedAudioFileReader reader;
    reader.configure(makeConfig(8000, 30, 10));

    EXPECT_TRUE(reader.setChunkReadFactor(4));

    EXPECT_EQ(960u, reader.getNbOfFramesToRead());
}

TEST(WindowedAudioFileReader, AppliesTheFactorToTheDefaultWindow)
{
    WindowedAudioFileReader reader;

    EXPECT_TRUE(reader.setChunkReadFactor(3));

    EXPECT_EQ(384u, reader.getNbOfFramesToRead());
}

TEST(WindowedAudioFileReader, KeepsTheFactorWhenConfigured)
{
    WindowedAudioFileReader reader;
    reader.setChunkReadFactor(4);

    reader.configure(makeConfig(44100, 10, 3));

    EXPECT_EQ(4u * 441u, reader.getNbOfFramesToRead());
}

TEST(WindowedAudioFileReader, ReadsAtLeastOneFrameForAWindow)
{
    WindowedAudioFileReader reader;

    EXPECT_TRUE(reader.configure(makeConfig(8000, 0, 0)));

    EXPECT_EQ(1u, reader.getNbOfFramesToRead());
}

TEST(WindowedAudioFileReader, TellsItsConfiguration)
{
    WindowedAudioFileReader reader;

    reader.configure(makeConfig(16000, 30, 10, true));

    EXPECT_EQ(16000u, reader.getConfig().m_uiSampleRate);
    EXPECT_EQ(30u, reader.getConfig().m_uiWindowSizeMs);
    EXPECT_EQ(10u, reader.getConfig().m_uiWindowOverlapMs);
    EXPECT_TRUE(reader.getConfig().m_bSuppressDCOffset);
}

TEST(WindowedAudioFileReader, LeavesTheChunkWhenTheOverlapIsNotShorterThanTheWindow)
{
    WindowedAudioFileReader reader;
    reader.configure(makeConfig(8000, 30, 10));

    EXPECT_FALSE(reader.configure(makeConfig(8000, 16, 16)));

    EXPECT_EQ(240u, reader.getNbOfFramesToRead());
}

TEST(WindowedAudioFileReader, KeepsAChunkTooLargeForMemoryTooLarge)
{
    WindowedAudioFileReader reader;

    EXPECT_TRUE(reader.setChunkReadFactor(std::numeric_limits<unsigned long>::max() / 128 + 2));

    EXPECT_EQ(std::numeric_limits<unsigned long>::max(), reader.getNbOfFramesToRead());
}

TEST_F(WindowedAudioFileReaderTest, ThrowsWhenTheChunkDoesNotFitIntoMemory)
{
    m_reader.configure(Config());
    m_reader.setChunkReadFactor(std::numeric_limits<unsigned long>::max());

    EXPECT_THROW(m_reader.setSourceAudioFile(soundFile(ramp(10)).c_str()), std::bad_alloc);
}

// ---- windows

TEST_F(WindowedAudioFileReaderTest, CutsAFileIntoWindowsAndDropsItsRest)
{
    open(Config(), ramp(1000));

    const std::vector<TimedWindow> vWindows = windows();

    ASSERT_EQ(7u, vWindows.size());
    EXPECT_EQ(ramp(128), vWindows[0].m_vSamples);
    EXPECT_EQ(ramp(128, 768.0), vWindows[6].m_vSamples);
    EXPECT_THAT(m_reader.m_vChunkSizes, ElementsAre(128u, 128u, 128u, 128u, 128u, 128u, 128u, 104u));
}

TEST_F(WindowedAudioFileReaderTest, TellsTheTimeOfTheEndOfTheLastWindow)
{
    open(Config(), ramp(1000));
    EXPECT_EQ(0.0, m_reader.getCurrentAudioTime());

    windows();

    // Added up seven times, which is the double of 0.112 here.
    EXPECT_EQ(0.112, m_reader.getCurrentAudioTime());
    EXPECT_EQ(0.112, m_reader.getCurrentTime());
}

TEST_F(WindowedAudioFileReaderTest, LogsTheEndOfAFileThatEndsWithinAWindow)
{
    open(Config(), ramp(1000));
    for (int iWindow = 0; iWindow < 7; ++iWindow)
        next();
    LogCapture log;
    DoubleVector vWindow = {1.0};

    EXPECT_FALSE(m_reader.getNextWindow(vWindow));

    EXPECT_THAT(log.events(), ElementsAre(readerMessage("Last chunk of audio read, end of file reached", 202),
                                          ownMessage("New data not enough to make a new window", 133),
                                          ownMessage("End of file reached", 134)));
    EXPECT_TRUE(vWindow.empty());
}

TEST_F(WindowedAudioFileReaderTest, LeavesTheEndToTheReaderFromThenOn)
{
    open(Config(), ramp(1000));
    windows();
    LogCapture log;
    DoubleVector vWindow = {1.0};

    EXPECT_FALSE(m_reader.getNextWindow(vWindow));

    EXPECT_THAT(log.events(), ElementsAre(readerMessage("End of file reached", 214)));
    EXPECT_TRUE(vWindow.empty());
    EXPECT_EQ(0.112, m_reader.getCurrentAudioTime());
}

TEST_F(WindowedAudioFileReaderTest, FindsTheEndBehindAFileOfWholeWindowsInAnEmptyChunk)
{
    open(Config(), ramp(256));

    EXPECT_EQ(2u, windows().size());

    EXPECT_THAT(m_reader.m_vChunkSizes, ElementsAre(128u, 128u, 0u));
    EXPECT_TRUE(m_reader.atEnd());
}

TEST_F(WindowedAudioFileReaderTest, HasNoWindowInAFileShorterThanOne)
{
    open(Config(), ramp(127));

    EXPECT_TRUE(windows().empty());
    EXPECT_EQ(0.0, m_reader.getCurrentAudioTime());
}

TEST_F(WindowedAudioFileReaderTest, HasNoWindowInAFileWithoutFrames)
{
    open(Config(), {});

    EXPECT_TRUE(windows().empty());
}

TEST_F(WindowedAudioFileReaderTest, TakesLaterWindowsFromTheChunkThatItRead)
{
    m_reader.setChunkReadFactor(4);
    open(makeConfig(8000, 30, 10), ramp(2000));

    next();
    EXPECT_THAT(m_reader.m_vChunkSizes, ElementsAre(960u));
    for (int iWindow = 1; iWindow < 5; ++iWindow) // windows 0 to 4 end at sample 880
        next();
    EXPECT_THAT(m_reader.m_vChunkSizes, ElementsAre(960u));
    EXPECT_EQ(ramp(240, 800.0), next());
    EXPECT_THAT(m_reader.m_vChunkSizes, ElementsAre(960u, 960u));
}

TEST_F(WindowedAudioFileReaderTest, ReadsAtMostOneChunkACall)
{
    m_reader.configure(Config());
    m_reader.setNbOfFramesToRead(50);
    m_reader.setSourceAudioFile(soundFile(ramp(1000)).c_str());
    DoubleVector vWindow;

    EXPECT_FALSE(m_reader.getNextWindow(vWindow));
    EXPECT_FALSE(m_reader.getNextWindow(vWindow));
    EXPECT_TRUE(m_reader.getNextWindow(vWindow));

    EXPECT_EQ(ramp(128), vWindow);
    EXPECT_THAT(m_reader.m_vChunkSizes, ElementsAre(50u, 50u, 50u));
}

TEST_F(WindowedAudioFileReaderTest, ReadsNothingWithAFactorOfZero)
{
    m_reader.setChunkReadFactor(0);
    open(Config(), ramp(1000));

    EXPECT_TRUE(windows().empty());
    EXPECT_TRUE(m_reader.atEnd());
}

TEST_F(WindowedAudioFileReaderTest, GivesTheSameWindowsForEveryFactor)
{
    const DoubleVector vSamples = noise(5003);
    const Config config = makeConfig(8000, 30, 10, true);
    open(config, vSamples);
    const std::vector<TimedWindow> vExpected = windows();
    ASSERT_EQ(30u, vExpected.size());

    for (const unsigned long uiFactor : {3UL, 4UL, 1000UL}) {
        m_reader.setChunkReadFactor(uiFactor);
        open(config, vSamples);
        EXPECT_TRUE(vExpected == windows()) << uiFactor;
    }
}

TEST_F(WindowedAudioFileReaderTest, SuppressesTheOffsetWhenConfiguredTo)
{
    open(makeConfig(8000, 16, 0, true), DoubleVector(128, 0.25));

    EXPECT_EQ(DoubleVector(128, 0.0), next());
}

TEST_F(WindowedAudioFileReaderTest, ReplacesWhatTheOutputHeld)
{
    open(Config(), ramp(256));
    DoubleVector vWindow = ramp(500);

    EXPECT_TRUE(m_reader.getNextWindow(vWindow));
    EXPECT_EQ(ramp(128), vWindow);
    EXPECT_TRUE(m_reader.getNextWindow(vWindow));
    EXPECT_EQ(ramp(128, 128.0), vWindow);
}

TEST_F(WindowedAudioFileReaderTest, CutsWhatAnOverriddenReaderDelivered)
{
    class InvertingReader : public WindowedAudioFileReader
    {
    public:
        bool getNextLinearFrames(DoubleVector& out_vFrames) override
        {
            const bool bRead = WindowedAudioFileReader::getNextLinearFrames(out_vFrames);
            for (double& dFrame : out_vFrames)
                dFrame = -dFrame;
            return bRead;
        }
    };
    InvertingReader reader;
    reader.configure(makeConfig(1000, 2, 0));
    reader.setSourceAudioFile(soundFile({1.0, 2.0}).c_str());
    DoubleVector vWindow;

    EXPECT_TRUE(reader.getNextWindow(vWindow));

    EXPECT_EQ(DoubleVector({-1.0, -2.0}), vWindow);
}

TEST_F(WindowedAudioFileReaderTest, AllocatesNothingOnceItRuns)
{
    open(makeConfig(8000, 30, 10, true), noise(20000));
    DoubleVector vWindow;
    for (int iWarmUp = 0; iWarmUp < 10; ++iWarmUp)
        m_reader.getNextWindow(vWindow);
    const unsigned long uiBlocks = nbOfVectorBlocks();

    while (m_reader.getNextWindow(vWindow))
        ;

    EXPECT_EQ(uiBlocks, nbOfVectorBlocks());
}

TEST_F(WindowedAudioFileReaderTest, StillDeliversPlainFrames)
{
    open(makeConfig(8000, 1, 0), ramp(20));
    DoubleVector vFrames;

    EXPECT_TRUE(m_reader.getAllLinearFrames(vFrames));

    EXPECT_EQ(ramp(20), vFrames);
    EXPECT_EQ(8u, m_reader.getNbOfFramesToRead());
}

// ---- opening, rewinding, seeking

TEST_F(WindowedAudioFileReaderTest, RestartsWindowsAndClockWhenItOpensAFile)
{
    open(makeConfig(8000, 30, 10), ramp(2000));
    m_reader.setChunkReadFactor(4);
    m_reader.gotoStart();
    next();

    EXPECT_TRUE(m_reader.setSourceAudioFile(writeSoundFile(m_dir.file("other"), ramp(300, 5000.0)).c_str()));

    EXPECT_EQ(0.0, m_reader.getCurrentAudioTime());
    EXPECT_EQ(ramp(240, 5000.0), next());
    EXPECT_EQ(0.03, m_reader.getCurrentAudioTime());
}

TEST_F(WindowedAudioFileReaderTest, RestartsWindowsAndClockWhenItRewinds)
{
    m_reader.setChunkReadFactor(4);
    open(makeConfig(8000, 30, 10), ramp(2000));
    next();
    next();

    EXPECT_TRUE(m_reader.gotoStart());

    EXPECT_EQ(0.0, m_reader.getCurrentAudioTime());
    EXPECT_EQ(ramp(240), next());
    EXPECT_EQ(0.03, m_reader.getCurrentAudioTime());
}

TEST_F(WindowedAudioFileReaderTest, CountsTimeFromThePlaceThatItSeeks)
{
    m_reader.setChunkReadFactor(4);
    open(makeConfig(8000, 30, 10), ramp(4000));
    next();
    next();

    EXPECT_TRUE(m_reader.gotoAudioTime(0.25));

    EXPECT_EQ(0.0, m_reader.getCurrentAudioTime());
    EXPECT_EQ(ramp(240, 2000.0), next());
    EXPECT_EQ(0.03, m_reader.getCurrentAudioTime());
}

TEST_F(WindowedAudioFileReaderTest, KeepsThePlainReadersTimesAbsolute)
{
    open(Config(), ramp(4000));

    m_reader.gotoAudioTime(0.25);

    EXPECT_EQ(0.25, m_reader.AudioFileReader::getCurrentAudioTime());
}

TEST_F(WindowedAudioFileReaderTest, KeepsWindowsAndClockWhenASeekFails)
{
    m_reader.setChunkReadFactor(4);
    open(Config(), ramp(1000));
    next();
    LogCapture log("kestrivon", 30000);

    EXPECT_FALSE(m_reader.gotoAudioTime(1.0));

    EXPECT_EQ(1u, log.events().size());
    EXPECT_EQ(0.016, m_reader.getCurrentAudioTime());
    EXPECT_EQ(ramp(128, 128.0), next());
}

TEST_F(WindowedAudioFileReaderTest, KeepsTheWindowerWhenAFileIsStereo)
{
    m_reader.setChunkReadFactor(4);
    open(Config(), ramp(1000));
    next();

    EXPECT_FALSE(m_reader.setSourceAudioFile(stereoFile().c_str()));

    EXPECT_EQ(0.016, m_reader.getCurrentAudioTime());
    EXPECT_EQ(ramp(128, 128.0), next()) << "samples that were waiting";
    EXPECT_EQ(0.032, m_reader.getCurrentAudioTime());
}

TEST_F(WindowedAudioFileReaderTest, KeepsTheWindowerWhenAFileIsMissing)
{
    m_reader.setChunkReadFactor(4);
    open(Config(), ramp(1000));
    next();

    EXPECT_FALSE(m_reader.setSourceAudioFile(m_dir.file("missing").c_str()));

    EXPECT_EQ(0.016, m_reader.getCurrentAudioTime());
    EXPECT_EQ(ramp(128, 128.0), next());
}

TEST_F(WindowedAudioFileReaderTest, RewindsAPipeByOpeningItAgainAndRestartsTheWindows)
{
    DoubleVector vSamples(1000);
    for (unsigned long uiIndex = 0; uiIndex < 1000; ++uiIndex)
        vSamples[uiIndex] = static_cast<double>(uiIndex) / 32767.0;
    std::ifstream stream(writeSoundFile(m_dir.file("sound.au"), vSamples, 8000, AU_PCM16), std::ios::binary);
    const std::string strBytes(std::istreambuf_iterator<char>(stream), {});
    Fifo fifo(m_dir.file("fifo"));
    fifo.serve(strBytes);
    m_reader.setChunkReadFactor(4);
    m_reader.configure(Config());
    ASSERT_TRUE(m_reader.setSourceAudioFile(fifo.path().c_str()));
    const DoubleVector vFirst = next();
    next();
    fifo.serve(strBytes);

    EXPECT_TRUE(m_reader.gotoStart());

    EXPECT_EQ(0.0, m_reader.getCurrentAudioTime());
    EXPECT_EQ(vFirst, next());
    EXPECT_EQ(1.0 / 32768.0, vFirst[1]);
}

// ---- tracing

std::vector<std::string> entriesAndExits(const LogCapture& in_log)
{
    std::vector<std::string> vTexts;
    for (const LogEvent& event : in_log.events())
        if (event.m_iLevel == 0 && event.m_strLogger == "kestrivon.audio.WindowedAudioFileReader" &&
            event.m_strFile == "AudioWindowedFileReader")
            vTexts.push_back(event.m_strText);
    return vTexts;
}

TEST_F(WindowedAudioFileReaderTest, TracesItsLife)
{
    LogCapture log("kestrivon", 0);

    {
        WindowedAudioFileReader reader;
    }

    EXPECT_THAT(entriesAndExits(log),
                ElementsAre("ENTER : WindowedAudioFileReader ctor", "EXIT : WindowedAudioFileReader ctor",
                            "ENTER : WindowedAudioFileReader dtor", "EXIT : WindowedAudioFileReader dtor"));
}

TEST_F(WindowedAudioFileReaderTest, TracesItsOperations)
{
    const std::string strPath = soundFile(ramp(1000));
    LogCapture log("kestrivon", 0);
    DoubleVector vWindow;

    m_reader.configure(Config());
    m_reader.setSourceAudioFile(strPath.c_str());
    m_reader.getNextWindow(vWindow);
    m_reader.gotoStart();
    m_reader.gotoAudioTime(0.0);
    m_reader.getCurrentAudioTime();

    EXPECT_THAT(
        entriesAndExits(log),
        ElementsAre("ENTER : WindowedAudioFileReader::configure", "ENTER : WindowedAudioFileReader::setChunkReadFactor",
                    "EXIT : WindowedAudioFileReader::setChunkReadFactor", "EXIT : WindowedAudioFileReader::configure",
                    "ENTER : WindowedAudioFileReader::setSourceAudioFile",
                    "EXIT : WindowedAudioFileReader::setSourceAudioFile",
                    "ENTER : WindowedAudioFileReader::getNextWindow", "EXIT : WindowedAudioFileReader::getNextWindow",
                    "ENTER : WindowedAudioFileReader::gotoStart", "EXIT : WindowedAudioFileReader::gotoStart",
                    "ENTER : WindowedAudioFileReader::gotoAudioTime", "EXIT : WindowedAudioFileReader::gotoAudioTime",
                    "ENTER : WindowedAudioFileReader::getCurrentAudioTime",
                    "EXIT : WindowedAudioFileReader::getCurrentAudioTime"));
}

TEST_F(WindowedAudioFileReaderTest, PassesTheReadersAndTheWindowersTracesThrough)
{
    m_reader.configure(Config());
    LogCapture log("kestrivon", 0);

    m_reader.setSourceAudioFile(soundFile(ramp(1000)).c_str());
    log.clear();
    next();

    EXPECT_THAT(textsAtLevel(log, 0),
                ElementsAre("ENTER : WindowedAudioFileReader::getNextWindow", "ENTER : LinearAudioWindower::popWindow",
                            "EXIT : LinearAudioWindower::popWindow", "ENTER : AudioFileReader::getNextLinearFrames",
                            "EXIT : AudioFileReader::getNextLinearFrames",
                            "ENTER : LinearAudioWindower::pushLinearAudio",
                            "EXIT : LinearAudioWindower::pushLinearAudio", "ENTER : LinearAudioWindower::popWindow",
                            "EXIT : LinearAudioWindower::popWindow", "EXIT : WindowedAudioFileReader::getNextWindow"));
}

// ---- properties

RC_GTEST_PROP(WindowedAudioFileReader, DeliversEveryFullWindow, ())
{
    const auto uiNbOfFrames = *rc::gen::inRange(0UL, 600UL);
    const auto uiWindowMs = *rc::gen::inRange(1UL, 60UL);
    const auto uiOverlapMs = *rc::gen::inRange(0UL, uiWindowMs);
    const auto uiFactor = *rc::gen::inRange(1UL, 20UL);
    const TempDir dir;
    WindowedAudioFileReader reader;
    RC_ASSERT(reader.setChunkReadFactor(uiFactor));
    RC_ASSERT(reader.configure(makeConfig(1000, uiWindowMs, uiOverlapMs)));
    RC_ASSERT(reader.setSourceAudioFile(writeSoundFile(dir.file("sound"), ramp(uiNbOfFrames), 1000).c_str()));

    unsigned long uiStart = 0;
    DoubleVector vWindow;
    while (reader.getNextWindow(vWindow)) {
        RC_ASSERT(vWindow == ramp(uiWindowMs, static_cast<double>(uiStart)));
        uiStart += uiWindowMs - uiOverlapMs;
    }
    RC_ASSERT(uiStart + uiWindowMs > uiNbOfFrames);
}

} // namespace
} // namespace Corvana::Audio
