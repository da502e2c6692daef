// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioSink.h"

#include "corvana/AudioTimeSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace Corvana::Audio {
namespace {

using testing::Return;

static_assert(std::is_abstract_v<AudioSink> && std::is_abstract_v<LinearAudioSink> && std::is_abstract_v<TimeSource>);
static_assert(std::is_base_of_v<AudioSink, LinearAudioSink>);
static_assert(std::has_virtual_destructor_v<AudioSink> && std::has_virtual_destructor_v<TimeSource>);

class MockLinearAudioSink : public LinearAudioSink
{
public:
    MOCK_METHOD(bool, pushLinearAudio, (const double*, const double*), (override));
};

class MockTimeSource : public TimeSource
{
public:
    MOCK_METHOD(double, getCurrentAudioTime, (), (const, override));
};

TEST(LinearAudioSink, HandsPushedAudioOnAsLinearAudio)
{
    const double adSamples[3] = {0.1, 0.2, 0.3};
    MockLinearAudioSink sink;
    AudioSink& asBase = sink;

    EXPECT_CALL(sink, pushLinearAudio(adSamples, adSamples + 3)).WillOnce(Return(true));

    EXPECT_TRUE(asBase.pushAudio(adSamples, adSamples + 3));
}

TEST(LinearAudioSink, YieldsTheFailureOfPushingLinearAudio)
{
    MockLinearAudioSink sink;

    EXPECT_CALL(sink, pushLinearAudio).WillOnce(Return(false));

    EXPECT_FALSE(sink.pushAudio(nullptr, nullptr));
}

TEST(TimeSource, TellsTheAudioTimeAsTheCurrentTime)
{
    MockTimeSource source;

    EXPECT_CALL(source, getCurrentAudioTime).WillOnce(Return(1.25));

    EXPECT_EQ(1.25, source.getCurrentTime());
}

} // namespace
} // namespace Corvana::Audio
