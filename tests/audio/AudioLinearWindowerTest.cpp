// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioLinearWindower.h"

#include "audio/AudioTestHelpers.h"
#include "support/LogCapture.h"
#include "support/Signals.h"

#include <boost/archive/polymorphic_binary_iarchive.hpp>
#include <boost/archive/polymorphic_binary_oarchive.hpp>
#include <boost/archive/polymorphic_text_iarchive.hpp>
#include <boost/archive/polymorphic_text_oarchive.hpp>
#include <boost/archive/polymorphic_xml_iarchive.hpp>
#include <boost/archive/polymorphic_xml_oarchive.hpp>
#include <boost/serialization/nvp.hpp>
#include <boost/serialization/version.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <deque>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace Corvana::Audio {
namespace {

using Config = LinearAudioWindower::Config;
using Math::DoubleVector;
using Test::joined;
using Test::LogCapture;
using Test::LogEvent;
using Test::nbOfVectorBlocks;
using Test::noise;
using Test::ramp;
using Test::sameBits;
using Test::textsAtLevel;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;

static_assert(std::is_base_of_v<LinearAudioSink, LinearAudioWindower>);
static_assert(std::is_base_of_v<TimeSource, LinearAudioWindower>);
static_assert(std::is_base_of_v<Resettable, LinearAudioWindower>);
static_assert(!std::is_copy_assignable_v<LinearAudioWindower>, "an assignment would share the mean feature");

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

// Configured and reset.
std::unique_ptr<LinearAudioWindower> makeWindower(const Config& in_config)
{
    auto pWindower = std::make_unique<LinearAudioWindower>();
    EXPECT_TRUE(pWindower->configure(in_config));
    EXPECT_TRUE(pWindower->reset());
    return pWindower;
}

bool push(LinearAudioWindower& inout_windower, const DoubleVector& in_vSamples)
{
    return inout_windower.pushLinearAudio(in_vSamples.begin(), in_vSamples.end());
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

void popAll(LinearAudioWindower& inout_windower, std::vector<TimedWindow>& inout_vWindows)
{
    DoubleVector vWindow;
    while (inout_windower.popWindow(vWindow))
        inout_vWindows.push_back({vWindow, inout_windower.getCurrentAudioTime()});
}

std::vector<TimedWindow> windowsOf(const Config& in_config, const DoubleVector& in_vSamples,
                                   unsigned long in_uiPieceLength)
{
    const auto pWindower = makeWindower(in_config);
    std::vector<TimedWindow> vWindows;
    for (unsigned long uiFrom = 0; uiFrom < in_vSamples.size(); uiFrom += in_uiPieceLength) {
        const unsigned long uiTo = std::min(in_vSamples.size(), uiFrom + in_uiPieceLength);
        pWindower->pushLinearAudio(in_vSamples.begin() + uiFrom, in_vSamples.begin() + uiTo);
        popAll(*pWindower, vWindows);
    }
    return vWindows;
}

std::vector<double> timesOf(const std::vector<TimedWindow>& in_vWindows)
{
    std::vector<double> vTimes;
    for (const TimedWindow& window : in_vWindows)
        vTimes.push_back(window.m_dTime);
    return vTimes;
}

// The windower written down plainly: a queue of single samples, a clock that adds up.
class PlainWindower
{
public:
    explicit PlainWindower(const Config& in_config)
        : m_config(in_config)
        , m_uiWindow(in_config.m_uiWindowSizeMs * in_config.m_uiSampleRate / 1000)
        , m_uiOverlap(in_config.m_uiWindowOverlapMs * in_config.m_uiSampleRate / 1000)
    {
        if (m_uiWindow == 0)
            m_uiWindow = 1;
    }

    void push(const DoubleVector& in_vSamples)
    {
        m_vQueue.insert(m_vQueue.end(), in_vSamples.begin(), in_vSamples.end());
    }

    bool pop(TimedWindow& out_window)
    {
        out_window.m_vSamples.clear();
        if (m_vQueue.size() < m_uiWindow || m_uiOverlap >= m_uiWindow)
            return false;
        double dSum = 0.0;
        for (unsigned long i = 0; i < m_uiWindow; ++i) {
            out_window.m_vSamples.push_back(m_vQueue[i]);
            dSum += m_vQueue[i];
        }
        if (m_config.m_bSuppressDCOffset)
            for (double& dSample : out_window.m_vSamples)
                dSample = dSample - dSum / static_cast<double>(m_uiWindow);
        for (unsigned long i = 0; i < m_uiWindow - m_uiOverlap; ++i)
            m_vQueue.pop_front();
        const double dWindowMs = static_cast<double>(m_config.m_uiWindowSizeMs);
        m_dTime += (m_bFirst ? dWindowMs : dWindowMs - static_cast<double>(m_config.m_uiWindowOverlapMs)) / 1000.0;
        m_bFirst = false;
        out_window.m_dTime = m_dTime;
        return true;
    }

private:
    Config m_config;
    unsigned long m_uiWindow;
    unsigned long m_uiOverlap;
    std::deque<double> m_vQueue;
    double m_dTime = 0.0;
    bool m_bFirst = true;
};

// ---- Config

TEST(LinearAudioWindowerConfig, DefaultsToSixteenMillisecondsAtEightKilohertz)
{
    const Config config;

    EXPECT_EQ(8000u, config.m_uiSampleRate);
    EXPECT_EQ(16u, config.m_uiWindowSizeMs);
    EXPECT_EQ(0u, config.m_uiWindowOverlapMs);
    EXPECT_FALSE(config.m_bSuppressDCOffset);
}

// ---- construction

TEST(LinearAudioWindower, IsReadyForUseBeforeConfigureAndReset)
{
    LinearAudioWindower windower;
    DoubleVector vWindow;
    push(windower, ramp(256));

    EXPECT_EQ(0.0, windower.getCurrentAudioTime());
    EXPECT_TRUE(windower.popWindow(vWindow));
    EXPECT_EQ(ramp(128), vWindow);
    EXPECT_EQ(0.016, windower.getCurrentAudioTime());
    EXPECT_TRUE(windower.popWindow(vWindow));
    EXPECT_EQ(0.016 + 0.016, windower.getCurrentAudioTime());
}

TEST(LinearAudioWindower, ReachesItsAudioThroughTheBaseInterfaces)
{
    const auto pWindower = makeWindower(makeConfig(8000, 1, 0));
    AudioSink& asSink = *pWindower;
    const TimeSource& asTimeSource = *pWindower;
    const DoubleVector vSamples = ramp(8);
    DoubleVector vWindow;

    EXPECT_TRUE(asSink.pushAudio(vSamples.begin(), vSamples.end()));

    EXPECT_TRUE(pWindower->popWindow(vWindow));
    EXPECT_EQ(vSamples, vWindow);
    EXPECT_EQ(0.001, asTimeSource.getCurrentTime());
}

TEST(LinearAudioWindower, GivesAllItsMemoryBack)
{
    const auto uiVectorBytes = getMemAccount("\"DoubleVector\"").m_uiLiveBytes;
    const auto uiCounters = getMemAccount("ReferenceCount").m_uiLiveBlocks;
    const auto uiFactories = getMemAccount("SignalFeatureFactory").m_uiLiveBlocks;
    {
        const auto pWindower = makeWindower(makeConfig(8000, 16, 8, true));
        push(*pWindower, ramp(1000));
        DoubleVector vWindow;
        pWindower->popWindow(vWindow);
        const LinearAudioWindower copy(*pWindower);
        EXPECT_EQ(uiFactories, getMemAccount("SignalFeatureFactory").m_uiLiveBlocks);
    }
    EXPECT_EQ(uiVectorBytes, getMemAccount("\"DoubleVector\"").m_uiLiveBytes);
    EXPECT_EQ(uiCounters, getMemAccount("ReferenceCount").m_uiLiveBlocks);
    EXPECT_EQ(uiFactories, getMemAccount("SignalFeatureFactory").m_uiLiveBlocks);
}

// ---- configure

TEST(LinearAudioWindower, StoresTheConfiguration)
{
    LinearAudioWindower windower;

    EXPECT_TRUE(windower.configure(makeConfig(16000, 30, 10, true)));

    EXPECT_EQ(16000u, windower.getConfig().m_uiSampleRate);
    EXPECT_EQ(30u, windower.getConfig().m_uiWindowSizeMs);
    EXPECT_EQ(10u, windower.getConfig().m_uiWindowOverlapMs);
    EXPECT_TRUE(windower.getConfig().m_bSuppressDCOffset);
    EXPECT_EQ(480u, windower.getWindowSize());
    EXPECT_EQ(160u, windower.getOverlapSize());
}

TEST(LinearAudioWindower, RefusesAnOverlapAsLongAsTheWindow)
{
    LogCapture log;
    LinearAudioWindower windower;

    EXPECT_FALSE(windower.configure(makeConfig(8000, 16, 16)));

    EXPECT_TRUE(log.events().empty());
}

TEST(LinearAudioWindower, StoresARefusedConfigurationAllTheSame)
{
    LinearAudioWindower windower;

    EXPECT_FALSE(windower.configure(makeConfig(16000, 10, 20, true)));

    EXPECT_EQ(16000u, windower.getConfig().m_uiSampleRate);
    EXPECT_EQ(10u, windower.getConfig().m_uiWindowSizeMs);
    EXPECT_EQ(20u, windower.getConfig().m_uiWindowOverlapMs);
    EXPECT_TRUE(windower.getConfig().m_bSuppressDCOffset);
    EXPECT_EQ(160u, windower.getWindowSize());
    EXPECT_EQ(320u, windower.getOverlapSize());
}

TEST(LinearAudioWindower, PopsNothingWhileTheOverlapIsNotShorterThanTheWindow)
{
    LinearAudioWindower windower;
    windower.configure(makeConfig(8000, 16, 16));
    windower.reset();
    push(windower, ramp(1000));
    DoubleVector vWindow = {1.0, 2.0};

    EXPECT_FALSE(windower.popWindow(vWindow));

    EXPECT_TRUE(vWindow.empty());
    EXPECT_EQ(0.0, windower.getCurrentAudioTime());
}

TEST(LinearAudioWindower, PopsTheWaitingSamplesOnceTheConfigurationIsGoodAgain)
{
    LinearAudioWindower windower;
    windower.configure(makeConfig(8000, 16, 17));
    push(windower, ramp(128));
    DoubleVector vWindow;
    ASSERT_FALSE(windower.popWindow(vWindow));

    windower.configure(makeConfig(8000, 16, 0));

    EXPECT_TRUE(windower.popWindow(vWindow));
    EXPECT_EQ(ramp(128), vWindow);
}

TEST(LinearAudioWindower, TakesAnOverlapOneSampleShorterThanTheWindow)
{
    const auto pWindower = makeWindower(makeConfig(1000, 3, 2));
    push(*pWindower, ramp(5));
    std::vector<TimedWindow> vWindows;

    popAll(*pWindower, vWindows);

    ASSERT_EQ(3u, vWindows.size());
    EXPECT_EQ(DoubleVector({2.0, 3.0, 4.0}), vWindows[2].m_vSamples);
}

TEST(LinearAudioWindower, MakesAWindowOfNoMillisecondsOneSampleLong)
{
    const auto pWindower = makeWindower(makeConfig(8000, 0, 0));
    push(*pWindower, {0.5, 0.25});
    std::vector<TimedWindow> vWindows;

    popAll(*pWindower, vWindows);

    EXPECT_EQ(1u, pWindower->getWindowSize());
    ASSERT_EQ(2u, vWindows.size());
    EXPECT_EQ(DoubleVector({0.25}), vWindows[1].m_vSamples);
    EXPECT_THAT(timesOf(vWindows), ElementsAre(0.0, 0.0));
}

TEST(LinearAudioWindower, MakesAWindowShorterThanASampleOneSampleLong)
{
    const auto pWindower = makeWindower(makeConfig(99, 10, 0)); // 0.99 samples

    EXPECT_EQ(1u, pWindower->getWindowSize());
}

TEST(LinearAudioWindower, TruncatesLengthsToWholeSamples)
{
    const auto pWindower = makeWindower(makeConfig(44100, 10, 3));

    EXPECT_EQ(441u, pWindower->getWindowSize());
    EXPECT_EQ(132u, pWindower->getOverlapSize()); // 132.3
}

TEST(LinearAudioWindower, MultipliesBeforeItDivides)
{
    const auto pWindower = makeWindower(makeConfig(11025, 33, 11));

    EXPECT_EQ(363u, pWindower->getWindowSize());  // 363.825
    EXPECT_EQ(121u, pWindower->getOverlapSize()); // 121.275
}

TEST(LinearAudioWindower, ComparesOverlapAndWindowInSamplesSoThatAHopCanBeNegative)
{
    // 1 sample against 0: accepted, although 0 ms less 1 ms is a step back in time.
    const auto pWindower = makeWindower(makeConfig(900, 0, 1));
    push(*pWindower, ramp(3));
    std::vector<TimedWindow> vWindows;

    popAll(*pWindower, vWindows);

    EXPECT_THAT(timesOf(vWindows), ElementsAre(0.0, -0.001, -0.001 + -0.001));
}

TEST(LinearAudioWindower, RefusesLengthsThatDifferOnlyInMilliseconds)
{
    LinearAudioWindower windower;

    EXPECT_FALSE(windower.configure(makeConfig(100, 19, 11))); // 1 sample each
}

TEST(LinearAudioWindower, KeepsTheBufferWhenReconfigured)
{
    const auto pWindower = makeWindower(makeConfig(8000, 16, 0));
    push(*pWindower, ramp(100));
    DoubleVector vWindow;

    EXPECT_TRUE(pWindower->configure(makeConfig(8000, 10, 0)));

    EXPECT_TRUE(pWindower->popWindow(vWindow));
    EXPECT_EQ(ramp(80), vWindow);
}

TEST(LinearAudioWindower, KeepsTheClockAndTheFirstFlagWhenReconfigured)
{
    const auto pWindower = makeWindower(makeConfig(8000, 16, 0));
    push(*pWindower, ramp(1000));
    DoubleVector vWindow;
    pWindower->popWindow(vWindow);

    pWindower->configure(makeConfig(8000, 30, 10));
    pWindower->popWindow(vWindow);

    EXPECT_EQ(0.016 + 0.02, pWindower->getCurrentAudioTime());
}

// ---- popping

TEST(LinearAudioWindower, HandsOutWindowsOfTheDefaultConfiguration)
{
    const std::vector<TimedWindow> vWindows = windowsOf(Config(), ramp(256), 256);

    ASSERT_EQ(2u, vWindows.size());
    EXPECT_EQ(ramp(128), vWindows[0].m_vSamples);
    EXPECT_EQ(ramp(128, 128.0), vWindows[1].m_vSamples);
    EXPECT_THAT(timesOf(vWindows), ElementsAre(0.016, 0.032));
}

TEST(LinearAudioWindower, SharesTheOverlapBetweenConsecutiveWindows)
{
    const std::vector<TimedWindow> vWindows = windowsOf(makeConfig(8000, 30, 10), ramp(560), 560);

    ASSERT_EQ(3u, vWindows.size());
    EXPECT_EQ(ramp(240), vWindows[0].m_vSamples);
    EXPECT_EQ(ramp(240, 160.0), vWindows[1].m_vSamples);
    EXPECT_EQ(ramp(240, 320.0), vWindows[2].m_vSamples);
}

TEST(LinearAudioWindower, TellsTheTimeOfTheEndOfEachWindow)
{
    const std::vector<TimedWindow> vWindows = windowsOf(makeConfig(8000, 30, 10), ramp(560), 560);

    // Added up as the clock adds up: 0.07 itself is another double than 0.03 + 0.02 + 0.02.
    EXPECT_THAT(timesOf(vWindows), ElementsAre(0.03, 0.03 + 0.02, 0.03 + 0.02 + 0.02));
    EXPECT_DOUBLE_EQ(0.05, vWindows[1].m_dTime);
    EXPECT_DOUBLE_EQ(0.07, vWindows[2].m_dTime);
}

TEST(LinearAudioWindower, AddsUpItsClockInsteadOfMultiplying)
{
    const std::vector<TimedWindow> vWindows = windowsOf(makeConfig(1000, 1, 0), ramp(10), 10);

    double dAddedUp = 0.0;
    for (int iWindow = 0; iWindow < 10; ++iWindow)
        dAddedUp += 0.001;
    ASSERT_EQ(10u, vWindows.size());
    EXPECT_EQ(dAddedUp, vWindows.back().m_dTime);
    EXPECT_NE(10 * 0.001, vWindows.back().m_dTime) << "the example is to tell the two apart";
}

TEST(LinearAudioWindower, TakesTimesFromMillisecondsNotFromSamples)
{
    // 10 ms at 11025 samples per second are 110 samples, which last 9.977 ms.
    const std::vector<TimedWindow> vWindows = windowsOf(makeConfig(11025, 10, 0), ramp(220), 220);

    EXPECT_THAT(timesOf(vWindows), ElementsAre(0.01, 0.02));
}

TEST(LinearAudioWindower, PopsNothingFromTooFewSamples)
{
    const auto pWindower = makeWindower(Config());
    DoubleVector vWindow = {1.0};
    push(*pWindower, ramp(100));

    EXPECT_FALSE(pWindower->popWindow(vWindow));
    EXPECT_TRUE(vWindow.empty());
    EXPECT_EQ(0.0, pWindower->getCurrentAudioTime());

    push(*pWindower, ramp(28, 100.0));
    EXPECT_TRUE(pWindower->popWindow(vWindow));
    EXPECT_EQ(ramp(128), vWindow);
}

TEST(LinearAudioWindower, PopsNothingFromOneSampleTooFew)
{
    const auto pWindower = makeWindower(Config());
    DoubleVector vWindow;

    push(*pWindower, ramp(127));
    EXPECT_FALSE(pWindower->popWindow(vWindow));

    push(*pWindower, ramp(1));
    EXPECT_TRUE(pWindower->popWindow(vWindow));
}

TEST(LinearAudioWindower, AcceptsEmptyPushes)
{
    const auto pWindower = makeWindower(makeConfig(1000, 2, 0));
    DoubleVector vWindow;

    EXPECT_TRUE(pWindower->pushLinearAudio(nullptr, nullptr));
    EXPECT_TRUE(push(*pWindower, {1.0}));
    EXPECT_TRUE(pWindower->pushLinearAudio(nullptr, nullptr));
    EXPECT_TRUE(push(*pWindower, {2.0}));

    EXPECT_TRUE(pWindower->popWindow(vWindow));
    EXPECT_EQ(DoubleVector({1.0, 2.0}), vWindow);
}

TEST(LinearAudioWindower, ReplacesWhatTheOutputHeld)
{
    const auto pWindower = makeWindower(makeConfig(1000, 2, 0));
    push(*pWindower, {1.0, 2.0});
    DoubleVector vWindow = ramp(10);

    EXPECT_TRUE(pWindower->popWindow(vWindow));

    EXPECT_EQ(DoubleVector({1.0, 2.0}), vWindow);
}

TEST(LinearAudioWindower, GivesTheSameWindowsForPiecesOfAnyLength)
{
    const DoubleVector vSamples = noise(3000);
    for (const bool bSuppress : {false, true}) {
        const Config config = makeConfig(8000, 30, 10, bSuppress);
        const std::vector<TimedWindow> vWindows = windowsOf(config, vSamples, vSamples.size());

        ASSERT_EQ(18u, vWindows.size());
        EXPECT_TRUE(vWindows == windowsOf(config, vSamples, 1));
        EXPECT_TRUE(vWindows == windowsOf(config, vSamples, 7));
    }
}

TEST(LinearAudioWindower, AllocatesNothingOnceItRuns)
{
    const auto pWindower = makeWindower(makeConfig(8000, 30, 10, true));
    const DoubleVector vChunk = noise(160);
    DoubleVector vWindow;
    for (int iWarmUp = 0; iWarmUp < 10; ++iWarmUp) {
        push(*pWindower, vChunk);
        pWindower->popWindow(vWindow);
    }
    const unsigned long uiBlocks = nbOfVectorBlocks();

    for (int iRound = 0; iRound < 1000; ++iRound) {
        push(*pWindower, vChunk);
        ASSERT_TRUE(pWindower->popWindow(vWindow));
    }

    EXPECT_EQ(uiBlocks, nbOfVectorBlocks());
}

// ---- suppressing the DC offset

TEST(LinearAudioWindower, PopsAConstantAsZerosWhenItSuppressesTheOffset)
{
    const std::vector<TimedWindow> vWindows = windowsOf(makeConfig(8000, 16, 0, true), DoubleVector(128, 0.25), 128);

    ASSERT_EQ(1u, vWindows.size());
    EXPECT_EQ(DoubleVector(128, 0.0), vWindows[0].m_vSamples);
}

TEST(LinearAudioWindower, SubtractsEachWindowsOwnMean)
{
    const std::vector<TimedWindow> vWindows =
        windowsOf(makeConfig(1000, 4, 0, true), {1.0, 2.0, 3.0, 6.0, -1.0, -1.0, 1.0, -3.0}, 8);

    ASSERT_EQ(2u, vWindows.size());
    EXPECT_EQ(DoubleVector({-2.0, -1.0, 0.0, 3.0}), vWindows[0].m_vSamples); // mean 3
    EXPECT_EQ(DoubleVector({0.0, 0.0, 2.0, -2.0}), vWindows[1].m_vSamples);  // mean -1
}

TEST(LinearAudioWindower, KeepsTheOffsetInSamplesThatTheNextWindowShares)
{
    const std::vector<TimedWindow> vWindows = windowsOf(makeConfig(1000, 2, 1, true), {2.0, 4.0, 8.0}, 3);

    ASSERT_EQ(2u, vWindows.size());
    EXPECT_EQ(DoubleVector({-1.0, 1.0}), vWindows[0].m_vSamples);
    EXPECT_EQ(DoubleVector({-2.0, 2.0}), vWindows[1].m_vSamples);
}

TEST(LinearAudioWindower, KeepsTheOffsetUnlessAskedToSuppressIt)
{
    const std::vector<TimedWindow> vWindows = windowsOf(makeConfig(1000, 2, 0), {0.25, 0.25}, 2);

    ASSERT_EQ(1u, vWindows.size());
    EXPECT_EQ(DoubleVector({0.25, 0.25}), vWindows[0].m_vSamples);
}

// ---- reset

TEST(LinearAudioWindower, ForgetsSamplesAndTimeWhenReset)
{
    const auto pWindower = makeWindower(makeConfig(8000, 30, 10));
    DoubleVector vWindow;
    push(*pWindower, ramp(500));
    pWindower->popWindow(vWindow);
    Resettable& asResettable = *pWindower;

    EXPECT_TRUE(asResettable.reset());

    EXPECT_EQ(0.0, pWindower->getCurrentAudioTime());
    EXPECT_FALSE(pWindower->popWindow(vWindow));
    push(*pWindower, ramp(240, 1000.0));
    EXPECT_TRUE(pWindower->popWindow(vWindow));
    EXPECT_EQ(ramp(240, 1000.0), vWindow);
    EXPECT_EQ(0.03, pWindower->getCurrentAudioTime()) << "the first window again adds its whole length";
}

TEST(LinearAudioWindower, KeepsItsConfigurationWhenReset)
{
    const auto pWindower = makeWindower(makeConfig(8000, 30, 10));

    pWindower->reset();

    EXPECT_EQ(30u, pWindower->getConfig().m_uiWindowSizeMs);
    EXPECT_EQ(240u, pWindower->getWindowSize());
}

// ---- copying

TEST(LinearAudioWindower, CopiesGoOnFromTheSameState)
{
    const auto pWindower = makeWindower(makeConfig(8000, 30, 10, true));
    const DoubleVector vSamples = noise(1000);
    DoubleVector vWindow;
    push(*pWindower, vSamples);
    pWindower->popWindow(vWindow);

    LinearAudioWindower copy(*pWindower);
    std::vector<TimedWindow> vExpected;
    std::vector<TimedWindow> vWindows;
    popAll(*pWindower, vExpected);
    popAll(copy, vWindows);

    EXPECT_EQ(4u, vExpected.size());
    EXPECT_TRUE(vExpected == vWindows);
}

TEST(LinearAudioWindower, CopiesBeforeTheFirstWindowKnowIt)
{
    const auto pWindower = makeWindower(makeConfig(8000, 30, 10));
    push(*pWindower, ramp(240));
    DoubleVector vWindow;

    LinearAudioWindower copy(*pWindower);
    copy.popWindow(vWindow);

    EXPECT_EQ(0.03, copy.getCurrentAudioTime());
}

TEST(LinearAudioWindower, CopiesDoNotDisturbEachOther)
{
    const auto pWindower = makeWindower(makeConfig(1000, 2, 0, true));
    push(*pWindower, {1.0, 3.0});
    LinearAudioWindower copy(*pWindower);
    DoubleVector vWindow;

    pWindower->reset();

    EXPECT_TRUE(copy.popWindow(vWindow));
    EXPECT_EQ(DoubleVector({-1.0, 1.0}), vWindow);
}

TEST(LinearAudioWindower, CopiesMakeAMeanFeatureOfTheirOwn)
{
    LinearAudioWindower windower;
    const auto counters = getMemAccount("ReferenceCount");
    const auto factories = getMemAccount("SignalFeatureFactory");

    LinearAudioWindower copy(windower);

    EXPECT_EQ(counters.m_uiLiveBlocks + 1, getMemAccount("ReferenceCount").m_uiLiveBlocks);
    EXPECT_EQ(factories.m_uiTotalBlocks + 1, getMemAccount("SignalFeatureFactory").m_uiTotalBlocks);
    EXPECT_EQ(factories.m_uiLiveBlocks, getMemAccount("SignalFeatureFactory").m_uiLiveBlocks);
}

TEST(LinearAudioWindower, CopiesOutliveTheirSource)
{
    auto pWindower = makeWindower(makeConfig(1000, 2, 0, true));
    const auto pCopy = std::make_unique<LinearAudioWindower>(*pWindower);
    DoubleVector vWindow;

    pWindower.reset();
    push(*pCopy, {1.0, 3.0});

    EXPECT_TRUE(pCopy->popWindow(vWindow));
    EXPECT_TRUE(pCopy->reset());
}

// ---- tracing

TEST(LinearAudioWindower, TracesItsOperations)
{
    LogCapture log("kestrivon", 0);
    LinearAudioWindower windower;
    const DoubleVector vSamples = ramp(128);
    DoubleVector vWindow;

    windower.configure(Config());
    windower.reset();
    push(windower, vSamples);
    windower.popWindow(vWindow);
    windower.popWindow(vWindow);

    EXPECT_THAT(log.texts(),
                ElementsAre("ENTER : LinearAudioWindower::configure", "EXIT : LinearAudioWindower::configure",
                            "ENTER : LinearAudioWindower::pushLinearAudio",
                            "EXIT : LinearAudioWindower::pushLinearAudio", "ENTER : LinearAudioWindower::popWindow",
                            "EXIT : LinearAudioWindower::popWindow", "ENTER : LinearAudioWindower::popWindow",
                            "EXIT : LinearAudioWindower::popWindow"));
    EXPECT_THAT(log.events(),
                Each(AllOf(Field(&LogEvent::m_strLogger, "kestrivon.audio.LinearAudioWindower"),
                           Field(&LogEvent::m_iLevel, 0), Field(&LogEvent::m_strFile, "AudioLinearWindower"))));
}

TEST(LinearAudioWindower, TracesARefusedConfiguration)
{
    LogCapture log("kestrivon", 0);
    LinearAudioWindower windower;

    windower.configure(makeConfig(8000, 16, 16));

    EXPECT_THAT(log.texts(),
                ElementsAre("ENTER : LinearAudioWindower::configure", "EXIT : LinearAudioWindower::configure"));
}

TEST(LinearAudioWindower, AsksForTheLogLevelUntilItIsConfigured)
{
    LinearAudioWindower windower;
    LogCapture log("kestrivon", 0);
    DoubleVector vWindow;

    windower.popWindow(vWindow);

    EXPECT_THAT(log.texts(),
                ElementsAre("ENTER : LinearAudioWindower::popWindow", "EXIT : LinearAudioWindower::popWindow"));
}

TEST(LinearAudioWindower, RemembersTheLogLevelOfConfigure)
{
    LogCapture logDebug("kestrivon", 10000);
    LinearAudioWindower windower;
    windower.configure(Config());
    LogCapture logTrace("kestrivon", 0);
    DoubleVector vWindow;

    windower.popWindow(vWindow);

    EXPECT_TRUE(logTrace.events().empty());
}

TEST(LinearAudioWindower, AsksForTheLogLevelAgainWhenReset)
{
    LogCapture logDebug("kestrivon", 10000);
    LinearAudioWindower windower;
    windower.configure(Config());
    LogCapture logTrace("kestrivon", 0);
    DoubleVector vWindow;

    windower.reset();
    windower.popWindow(vWindow);

    EXPECT_EQ(2u, logTrace.events().size());
}

// ---- against the plain windower

RC_GTEST_PROP(LinearAudioWindower, DoesWhatAPlainWindowerDoes, ())
{
    const auto uiSampleRate = *rc::gen::element(100UL, 990UL, 1000UL, 8000UL, 11025UL, 44100UL);
    const auto uiWindowMs = *rc::gen::inRange(0UL, 12UL);
    const auto uiOverlapMs = *rc::gen::inRange(0UL, 12UL);
    const Config config = makeConfig(uiSampleRate, uiWindowMs, uiOverlapMs, *rc::gen::arbitrary<bool>());
    LinearAudioWindower windower;
    const bool bConfigured = windower.configure(config);
    RC_ASSERT(windower.reset());
    RC_ASSERT(bConfigured == (windower.getOverlapSize() < windower.getWindowSize()));
    PlainWindower plain(config);
    std::uint64_t uiSeed = 1;

    // 0: pop; else push so many samples
    for (const unsigned long uiStep : *rc::gen::container<std::vector<unsigned long>>(rc::gen::inRange(0UL, 300UL))) {
        const DoubleVector vSamples = noise(uiStep % 3 == 0 ? 0 : uiStep, ++uiSeed);
        plain.push(vSamples);
        RC_ASSERT(push(windower, vSamples));
        TimedWindow expected;
        TimedWindow window;
        const bool bExpected = plain.pop(expected);
        RC_ASSERT(bExpected == windower.popWindow(window.m_vSamples));
        window.m_dTime = bExpected ? windower.getCurrentAudioTime() : 0.0;
        RC_ASSERT(expected == window);
    }
}

RC_GTEST_PROP(LinearAudioWindower, HandsOutEveryFullWindowOfItsInput, ())
{
    const auto uiWindowMs = *rc::gen::inRange(1UL, 40UL);
    const auto uiOverlapMs = *rc::gen::inRange(0UL, uiWindowMs);
    const auto uiNbOfSamples = *rc::gen::inRange(0UL, 2000UL);
    const auto uiPiece = *rc::gen::inRange(1UL, 700UL);

    const DoubleVector vSamples = ramp(uiNbOfSamples);
    const std::vector<TimedWindow> vWindows = windowsOf(makeConfig(1000, uiWindowMs, uiOverlapMs), vSamples, uiPiece);

    const unsigned long uiHop = uiWindowMs - uiOverlapMs;
    RC_ASSERT(vWindows.size() == (uiNbOfSamples < uiWindowMs ? 0 : (uiNbOfSamples - uiWindowMs) / uiHop + 1));
    for (unsigned long uiWindow = 0; uiWindow < vWindows.size(); ++uiWindow)
        RC_ASSERT(vWindows[uiWindow].m_vSamples == ramp(uiWindowMs, static_cast<double>(uiWindow * uiHop)));
}

// ---- archives

bool sameConfig(const Config& in_left, const Config& in_right)
{
    return in_left.m_uiSampleRate == in_right.m_uiSampleRate && in_left.m_uiWindowSizeMs == in_right.m_uiWindowSizeMs &&
           in_left.m_uiWindowOverlapMs == in_right.m_uiWindowOverlapMs &&
           in_left.m_bSuppressDCOffset == in_right.m_bSuppressDCOffset;
}

template <class OutArchiveT>
std::string saved(const std::vector<Config>& in_vConfigs)
{
    std::ostringstream stream;
    {
        OutArchiveT archiveImpl(stream);
        boost::archive::polymorphic_oarchive& archive = archiveImpl;
        Config config; // always the same variable, as in a loop over settings
        for (const Config& next : in_vConfigs) {
            config = next;
            archive << boost::serialization::make_nvp("config", config);
        }
    }
    return stream.str();
}

template <class InArchiveT>
std::vector<Config> loaded(const std::string& in_strSaved, unsigned long in_uiNbOfConfigs = 1)
{
    std::istringstream stream(in_strSaved);
    InArchiveT archiveImpl(stream);
    boost::archive::polymorphic_iarchive& archive = archiveImpl;
    std::vector<Config> vConfigs(in_uiNbOfConfigs);
    for (Config& config : vConfigs)
        archive >> boost::serialization::make_nvp("config", config);
    return vConfigs;
}

template <class ArchivesT>
class LinearAudioWindowerConfigArchive : public testing::Test
{
};

template <class OutArchiveT, class InArchiveT>
struct Archives
{
    using Out = OutArchiveT;
    using In = InArchiveT;
};

using AllArchives =
    testing::Types<Archives<boost::archive::polymorphic_text_oarchive, boost::archive::polymorphic_text_iarchive>,
                   Archives<boost::archive::polymorphic_xml_oarchive, boost::archive::polymorphic_xml_iarchive>,
                   Archives<boost::archive::polymorphic_binary_oarchive, boost::archive::polymorphic_binary_iarchive>>;
TYPED_TEST_SUITE(LinearAudioWindowerConfigArchive, AllArchives);

TYPED_TEST(LinearAudioWindowerConfigArchive, KeepsEveryField)
{
    const Config config = makeConfig(44100, 30, 10, true);

    const std::vector<Config> vLoaded = loaded<typename TypeParam::In>(saved<typename TypeParam::Out>({config}));

    EXPECT_TRUE(sameConfig(config, vLoaded[0]));
}

TYPED_TEST(LinearAudioWindowerConfigArchive, KeepsTheLargestNumbers)
{
    const Config config = makeConfig(~0UL, ~0UL - 1, ~0UL - 2, false);

    const std::vector<Config> vLoaded = loaded<typename TypeParam::In>(saved<typename TypeParam::Out>({config}));

    EXPECT_TRUE(sameConfig(config, vLoaded[0]));
}

TYPED_TEST(LinearAudioWindowerConfigArchive, KeepsTwoConfigsSavedFromOneVariable)
{
    const Config first = makeConfig(8000, 16, 0);
    const Config second = makeConfig(16000, 30, 10, true);

    const std::vector<Config> vLoaded =
        loaded<typename TypeParam::In>(saved<typename TypeParam::Out>({first, second}), 2);

    EXPECT_TRUE(sameConfig(first, vLoaded[0]));
    EXPECT_TRUE(sameConfig(second, vLoaded[1]));
}

TYPED_TEST(LinearAudioWindowerConfigArchive, KeepsAConfigBehindAPointer)
{
    std::ostringstream out;
    const Config config = makeConfig(16000, 30, 10, true);
    {
        typename TypeParam::Out archiveImpl(out);
        boost::archive::polymorphic_oarchive& archive = archiveImpl;
        const Config* pConfig = &config;
        archive << boost::serialization::make_nvp("config", pConfig);
    }
    std::istringstream in(out.str());
    typename TypeParam::In archiveImpl(in);
    boost::archive::polymorphic_iarchive& archive = archiveImpl;
    Config* pLoaded = nullptr;

    archive >> boost::serialization::make_nvp("config", pLoaded);

    const std::unique_ptr<Config> pOwner(pLoaded);
    ASSERT_NE(nullptr, pLoaded);
    EXPECT_TRUE(sameConfig(config, *pLoaded));
}

TEST(LinearAudioWindowerConfigArchive, NamesItsFieldsInOrder)
{
    const std::string strSaved = saved<boost::archive::polymorphic_xml_oarchive>({makeConfig(16000, 30, 10, true)});

    EXPECT_THAT(strSaved, HasSubstr("<config class_id=\"0\" tracking_level=\"0\" version=\"0\">\n"
                                    "\t<m_uiSampleRate>16000</m_uiSampleRate>\n"
                                    "\t<m_uiWindowSizeMs>30</m_uiWindowSizeMs>\n"
                                    "\t<m_uiWindowOverlapMs>10</m_uiWindowOverlapMs>\n"
                                    "\t<m_bSuppressDCOffset>1</m_bSuppressDCOffset>\n"
                                    "</config>"));
}

TEST(LinearAudioWindowerConfigArchive, HasItsClassKeyAndVersion)
{
    EXPECT_STREQ("LinearAudioWindowerConfig", boost::serialization::guid<Config>());
    EXPECT_EQ(0, boost::serialization::version<Config>::value);
}

TEST(LinearAudioWindowerConfigArchive, IsKnownUnderItsClassKey)
{
    const boost::serialization::extended_type_info* pInfo =
        boost::serialization::extended_type_info::find("LinearAudioWindowerConfig");

    ASSERT_NE(nullptr, pInfo);
    EXPECT_STREQ("LinearAudioWindowerConfig", pInfo->get_key());
}

std::string dataFile(const std::string& in_strName)
{
    std::ifstream stream(CORVANA_SOURCE_DIR "/tests/data/" + in_strName, std::ios::binary);
    EXPECT_TRUE(stream.is_open()) << in_strName;
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(LinearAudioWindowerConfigArchive, ReadsTextFilesOfFormerBuilds)
{
    const std::vector<Config> vConfigs =
        loaded<boost::archive::polymorphic_text_iarchive>(dataFile("windower-config.txt"), 2);

    EXPECT_TRUE(sameConfig(makeConfig(16000, 30, 10, true), vConfigs[0]));
    EXPECT_TRUE(sameConfig(makeConfig(8000, 16, 0, false), vConfigs[1]));
}

TEST(LinearAudioWindowerConfigArchive, ReadsXmlFilesOfFormerBuilds)
{
    const std::vector<Config> vConfigs =
        loaded<boost::archive::polymorphic_xml_iarchive>(dataFile("windower-config.xml"), 2);

    EXPECT_TRUE(sameConfig(makeConfig(16000, 30, 10, true), vConfigs[0]));
    EXPECT_TRUE(sameConfig(makeConfig(8000, 16, 0, false), vConfigs[1]));
}

} // namespace
} // namespace Corvana::Audio
