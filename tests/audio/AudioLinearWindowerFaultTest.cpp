// SPDX-License-Identifier: Apache-2.0
// What the windower does when the mean feature is missing or misbehaves. A program of its own: it replaces the math
// library's factory for the whole process.
#include "corvana/AudioLinearWindower.h"

#include "audio/AudioTestHelpers.h"
#include "support/LogCapture.h"

#include "corvana/MathSignalFeatureFactory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Corvana::Test {
namespace {

enum class Fault
{
    NO_FEATURE,
    COMPUTE_FAILS,
    NO_VALUE,
    TWO_VALUES,
    RESET_FAILS
};

Fault s_fault = Fault::NO_FEATURE;
std::string s_strNameAskedFor;

class FaultyMeanFeature : public Math::SignalFeatureWithMemory
{
public:
    bool compute(const Math::DoubleVector&, Math::DoubleVector& out_vOutput) override
    {
        if (s_fault == Fault::NO_VALUE)
            return true;
        out_vOutput.push_back(1.0);
        if (s_fault == Fault::TWO_VALUES)
            out_vOutput.push_back(2.0);
        return s_fault != Fault::COMPUTE_FAILS;
    }
    bool reset() override { return s_fault != Fault::RESET_FAILS; }
    FaultyMeanFeature* clone() const override { return new FaultyMeanFeature(*this); }
};

} // namespace
} // namespace Corvana::Test

// Found before the library's own, because a program's symbols come first.
Corvana::Math::SignalFeature* Corvana::Math::MathSignalFeatureFactory::getNewBaseFeature(const char* in_szFeatureName)
{
    Test::s_strNameAskedFor = in_szFeatureName;
    return Test::s_fault == Test::Fault::NO_FEATURE ? nullptr : new Test::FaultyMeanFeature;
}

namespace Corvana::Audio {
namespace {

using Math::DoubleVector;
using Test::failedAssertion;
using Test::Fault;
using Test::LogCapture;
using Test::ramp;
using Test::s_fault;
using Test::s_strNameAskedFor;
using testing::ElementsAre;
using testing::IsEmpty;

LinearAudioWindower::Config suppressingConfig()
{
    LinearAudioWindower::Config config;
    config.m_uiSampleRate = 1000;
    config.m_uiWindowSizeMs = 4;
    config.m_bSuppressDCOffset = true;
    return config;
}

// Pops a window from 4 samples while the feature has a fault; out_vWindow holds something before.
bool popWith(Fault in_fault, LinearAudioWindower& inout_windower, DoubleVector& out_vWindow)
{
    s_fault = in_fault;
    const DoubleVector vSamples = ramp(4);
    inout_windower.configure(suppressingConfig());
    inout_windower.pushLinearAudio(vSamples.begin(), vSamples.end());
    out_vWindow = {-1.0};
    return inout_windower.popWindow(out_vWindow);
}

TEST(LinearAudioWindowerFault, AsksTheFactoryForTheMeanByName)
{
    const LinearAudioWindower windower;

    EXPECT_EQ("TemporalMean_Mean_Amplitude", s_strNameAskedFor);
}

TEST(LinearAudioWindowerFault, ReportsAMissingMeanFeatureWhenReset)
{
    s_fault = Fault::NO_FEATURE;
    LinearAudioWindower windower;
    LogCapture log;

    EXPECT_FALSE(windower.reset());

    EXPECT_THAT(log.events(), ElementsAre(failedAssertion("!m_pFeatureDCOffset.isNull()", "AudioLinearWindower", 143)));
}

TEST(LinearAudioWindowerFault, ForgetsSamplesAndTimeBeforeItReportsAMissingMeanFeature)
{
    s_fault = Fault::NO_FEATURE;
    LinearAudioWindower windower;
    LinearAudioWindower::Config config;
    config.m_uiSampleRate = 1000;
    config.m_uiWindowSizeMs = 4;
    windower.configure(config);
    const DoubleVector vSamples = ramp(10);
    windower.pushLinearAudio(vSamples.begin(), vSamples.end());
    DoubleVector vWindow;
    ASSERT_TRUE(windower.popWindow(vWindow));

    EXPECT_FALSE(windower.reset());

    EXPECT_EQ(0.0, windower.getCurrentAudioTime());
    EXPECT_FALSE(windower.popWindow(vWindow));
}

TEST(LinearAudioWindowerFault, NeedsNoMeanFeatureUnlessItSuppressesTheOffset)
{
    s_fault = Fault::NO_FEATURE;
    LinearAudioWindower windower;
    const DoubleVector vSamples = ramp(128);
    windower.pushLinearAudio(vSamples.begin(), vSamples.end());
    DoubleVector vWindow;

    EXPECT_TRUE(windower.popWindow(vWindow));
}

TEST(LinearAudioWindowerFault, ReportsAMissingMeanFeatureWhenItPops)
{
    s_fault = Fault::NO_FEATURE;
    LinearAudioWindower windower;
    LogCapture log;
    DoubleVector vWindow;

    EXPECT_FALSE(popWith(Fault::NO_FEATURE, windower, vWindow));

    EXPECT_THAT(log.events(), ElementsAre(failedAssertion("!m_pFeatureDCOffset.isNull()", "AudioLinearWindower", 180)));
    EXPECT_EQ(ramp(4), vWindow);
    EXPECT_EQ(0.0, windower.getCurrentAudioTime());
}

TEST(LinearAudioWindowerFault, PopsNothingWhenTheMeanFails)
{
    s_fault = Fault::COMPUTE_FAILS;
    LinearAudioWindower windower;
    LogCapture log;
    DoubleVector vWindow;

    EXPECT_FALSE(popWith(Fault::COMPUTE_FAILS, windower, vWindow));

    EXPECT_THAT(log.events(), IsEmpty());
    EXPECT_EQ(ramp(4), vWindow);
    EXPECT_EQ(0.0, windower.getCurrentAudioTime());
}

TEST(LinearAudioWindowerFault, ReportsAMeanOfNoValue)
{
    s_fault = Fault::NO_VALUE;
    LinearAudioWindower windower;
    LogCapture log;
    DoubleVector vWindow;

    EXPECT_FALSE(popWith(Fault::NO_VALUE, windower, vWindow));

    EXPECT_THAT(log.events(), ElementsAre(failedAssertion("m_vScratch.size() == 1", "AudioLinearWindower", 186)));
}

TEST(LinearAudioWindowerFault, ReportsAMeanOfTwoValues)
{
    s_fault = Fault::TWO_VALUES;
    LinearAudioWindower windower;
    LogCapture log;
    DoubleVector vWindow;

    EXPECT_FALSE(popWith(Fault::TWO_VALUES, windower, vWindow));

    EXPECT_THAT(log.events(), ElementsAre(failedAssertion("m_vScratch.size() == 1", "AudioLinearWindower", 186)));
    EXPECT_EQ(ramp(4), vWindow);
}

TEST(LinearAudioWindowerFault, KeepsItsSamplesWhenItPopsNothing)
{
    s_fault = Fault::COMPUTE_FAILS;
    LinearAudioWindower windower;
    DoubleVector vWindow;
    ASSERT_FALSE(popWith(Fault::COMPUTE_FAILS, windower, vWindow));

    s_fault = Fault::RESET_FAILS; // its computing works, and yields a mean of 1

    EXPECT_TRUE(windower.popWindow(vWindow));
    EXPECT_EQ(ramp(4, -1.0), vWindow);
    EXPECT_EQ(0.004, windower.getCurrentAudioTime());
}

TEST(LinearAudioWindowerFault, YieldsTheFailureOfResettingTheMeanFeature)
{
    s_fault = Fault::RESET_FAILS;
    LinearAudioWindower windower;
    LogCapture log;

    EXPECT_FALSE(windower.reset());

    EXPECT_THAT(log.events(), IsEmpty());
}

TEST(LinearAudioWindowerFault, CopiesAskForAMeanFeatureOfTheirOwn)
{
    s_fault = Fault::NO_FEATURE;
    const LinearAudioWindower windower;
    s_fault = Fault::TWO_VALUES;

    LinearAudioWindower copy(windower);

    EXPECT_TRUE(copy.reset()) << "the source has none";
}

} // namespace
} // namespace Corvana::Audio
