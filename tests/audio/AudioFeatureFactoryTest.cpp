// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFeatureFactory.h"

#include "audio/AudioTestHelpers.h"
#include "support/LogCapture.h"
#include "support/Signals.h"

#include "corvana/AudioFeatureImpl.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace Corvana::Audio {
namespace {

using Math::DoubleVector;
using Math::SignalFeature;
using Test::failedAssertion;
using Test::LogCapture;
using Test::LogEvent;
using Test::noise;
using Test::sameBits;
using Test::valuesOf;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_base_of_v<Math::SignalFeatureFactory, AudioFeatureFactory>);
static_assert(sizeof(AudioFeatureFactory) == sizeof(Math::SignalFeatureFactory), "a factory has no state of its own");

std::unique_ptr<SignalFeature> make(const std::string& in_strDescription)
{
    return std::unique_ptr<SignalFeature>(AudioFeatureFactory().getNewFeature(in_strDescription.c_str()));
}

template <class FeatureT>
bool makes(const std::string& in_strDescription)
{
    const std::unique_ptr<SignalFeature> pFeature = make(in_strDescription);
    const SignalFeature* pMade = pFeature.get();
    return pMade != nullptr && typeid(*pMade) == typeid(FeatureT);
}

LogEvent lookingFor(const std::string& in_strName)
{
    return {"kestrivon.audio.AudioFeatureFactory", 0, "Looking for feature: " + in_strName, "AudioFeatureFactory", 42};
}

TEST(AudioFeatureFactory, TellsItsName)
{
    EXPECT_STREQ("AudioFeatureFactory", AudioFeatureFactory().getFactoryName());
}

TEST(AudioFeatureFactory, AllocatesWithTheTagOfAllFactories)
{
    const MemAccount before = getMemAccount("SignalFeatureFactory");
    Math::SignalFeatureFactory* pFactory = new AudioFeatureFactory;

    const MemAccount during = getMemAccount("SignalFeatureFactory");
    delete pFactory;

    EXPECT_EQ(before.m_uiLiveBlocks + 1, during.m_uiLiveBlocks);
    EXPECT_EQ(before.m_uiLiveBytes + sizeof(AudioFeatureFactory), during.m_uiLiveBytes);
    EXPECT_EQ(before.m_uiLiveBlocks, getMemAccount("SignalFeatureFactory").m_uiLiveBlocks);
}

TEST(AudioFeatureFactory, MakesASpectrumWhateverTheCaseOfItsName)
{
    EXPECT_TRUE(makes<SpectrumFeature>("SPECTRUM"));
    EXPECT_TRUE(makes<SpectrumFeature>("spectrum"));
    EXPECT_TRUE(makes<SpectrumFeature>("Spectrum"));
}

TEST(AudioFeatureFactory, MakesASpectrumFromEmptyParentheses)
{
    EXPECT_TRUE(makes<SpectrumFeature>("spectrum()"));
}

TEST(AudioFeatureFactory, MakesASpectrumOfFortyBands)
{
    ASSERT_TRUE(makes<SpectrumReducedFeature>("spectrum100hz"));
    EXPECT_TRUE(
        sameBits(valuesOf(SpectrumReducedFeature(40), noise(256)), valuesOf(*make("spectrum100hz"), noise(256))));
}

TEST(AudioFeatureFactory, MakesASpectrumOfTwentyBands)
{
    ASSERT_TRUE(makes<SpectrumReducedFeature>("spectrum200hz"));
    EXPECT_TRUE(
        sameBits(valuesOf(SpectrumReducedFeature(20), noise(256)), valuesOf(*make("spectrum200hz"), noise(256))));
}

TEST(AudioFeatureFactory, MakesASpectrumOfEightBands)
{
    ASSERT_TRUE(makes<SpectrumReducedFeature>("spectrum500hz"));
    EXPECT_TRUE(
        sameBits(valuesOf(SpectrumReducedFeature(8), noise(256)), valuesOf(*make("spectrum500hz"), noise(256))));
}

TEST(AudioFeatureFactory, MakesAFlatness)
{
    EXPECT_TRUE(makes<FlatnessFeature>("flatness"));
}

TEST(AudioFeatureFactory, MakesANewFeatureForEveryCall)
{
    AudioFeatureFactory factory;

    const std::unique_ptr<SignalFeature> pFirst(factory.getNewFeature("spectrum"));
    const std::unique_ptr<SignalFeature> pSecond(factory.getNewFeature("spectrum"));

    EXPECT_NE(pFirst.get(), pSecond.get());
    EXPECT_EQ(64u, valuesOf(*pFirst, noise(128)).size());
    EXPECT_EQ(32u, valuesOf(*pSecond, noise(64)).size()) << "a window of another length";
}

TEST(AudioFeatureFactory, ReportsNothingForAFeatureThatItMakes)
{
    LogCapture log;

    make("spectrum");

    EXPECT_THAT(log.events(), IsEmpty());
}

TEST(AudioFeatureFactory, LeaksNothing)
{
    const MemAccount before = getMemAccount("\"DoubleVector\"");

    valuesOf(*make("spectrum100hz"), noise(256));

    EXPECT_EQ(before.m_uiLiveBlocks, getMemAccount("\"DoubleVector\"").m_uiLiveBlocks);
}

// ---- parameters where there are none

struct PlainFeature
{
    const char* m_szName;
    int m_iLine;
};

class AudioFeatureFactoryWithoutParameters : public testing::TestWithParam<PlainFeature>
{
};

INSTANTIATE_TEST_SUITE_P(AudioFeatureFactory, AudioFeatureFactoryWithoutParameters,
                         testing::Values(PlainFeature{"spectrum", 61}, PlainFeature{"spectrum100hz", 65},
                                         PlainFeature{"spectrum200hz", 68}, PlainFeature{"spectrum500hz", 71},
                                         PlainFeature{"flatness", 74}),
                         [](const auto& in_info) { return std::string(in_info.param.m_szName); });

TEST_P(AudioFeatureFactoryWithoutParameters, RefusesAParameter)
{
    LogCapture log;

    EXPECT_EQ(nullptr, make(std::string(GetParam().m_szName) + "(1)"));

    EXPECT_THAT(log.events(),
                ElementsAre(failedAssertion("vParams.empty()", "AudioFeatureFactory", GetParam().m_iLine)));
}

TEST_P(AudioFeatureFactoryWithoutParameters, RefusesSeveralParameters)
{
    LogCapture log;

    EXPECT_EQ(nullptr, make(std::string(GetParam().m_szName) + "(a, b)"));

    EXPECT_THAT(log.events(),
                ElementsAre(failedAssertion("vParams.empty()", "AudioFeatureFactory", GetParam().m_iLine)));
}

// ---- names without a feature

class AudioFeatureFactoryUnmade : public testing::TestWithParam<const char*>
{
};

INSTANTIATE_TEST_SUITE_P(AudioFeatureFactory, AudioFeatureFactoryUnmade,
                         testing::Values("energyhistogram", "clippingrate", "spectralslope", "myfeature",
                                         "nosuchfeature", "EnergyHistogram", "energyhistogram(1)", "clippingrate(1,2)",
                                         "spectralslope()", "myfeature(x)", "nosuchfeature(1)", "spectru",
                                         "spectrum 100hz", "spectrum100", "???Feature_FeatureType???"),
                         [](const auto& in_info) { return "Name" + std::to_string(in_info.index); });

TEST_P(AudioFeatureFactoryUnmade, GivesNullInSilence)
{
    LogCapture log;

    EXPECT_EQ(nullptr, make(GetParam())) << GetParam();

    EXPECT_THAT(log.events(), IsEmpty());
}

// ---- malformed descriptions

class AudioFeatureFactoryMalformed : public testing::TestWithParam<const char*>
{
};

INSTANTIATE_TEST_SUITE_P(AudioFeatureFactory, AudioFeatureFactoryMalformed,
                         testing::Values("", " ", "(", ")", "()", "(1)", "spectrum(", "spectrum)", "spectrum(1",
                                         "spectrum1)", "spectrum(1,)", "spectrum(,1)", "spectrum(,)", "spectrum((1))",
                                         "spectrum(1)x", "spectrum(1)(2)", "nosuchfeature("),
                         [](const auto& in_info) { return "Description" + std::to_string(in_info.index); });

TEST_P(AudioFeatureFactoryMalformed, GivesNullAfterAnAssertion)
{
    LogCapture log("kestrivon", 0);

    EXPECT_EQ(nullptr, make(GetParam())) << GetParam();

    EXPECT_THAT(log.events(), ElementsAre(failedAssertion("splitParams(in_szFeatureName, strFeature, vParams)",
                                                          "AudioFeatureFactory", 38)));
}

TEST(AudioFeatureFactory, GivesNullForANullDescription)
{
    EXPECT_EQ(nullptr, std::unique_ptr<SignalFeature>(AudioFeatureFactory().getNewFeature(nullptr)));
}

// ---- tracing

TEST(AudioFeatureFactory, TracesTheNameThatItLooksFor)
{
    LogCapture log("kestrivon", 0);

    make("SpecTrum");

    EXPECT_THAT(log.events(), ElementsAre(lookingFor("SpecTrum")));
}

TEST(AudioFeatureFactory, TracesTheNameWithoutItsParameters)
{
    LogCapture log("kestrivon", 0);

    make("nosuchfeature(1,2)");

    EXPECT_THAT(log.events(), ElementsAre(lookingFor("nosuchfeature")));
}

TEST(AudioFeatureFactory, TracesBeforeItCountsTheParameters)
{
    LogCapture log("kestrivon", 0);

    make("spectrum(1)");

    EXPECT_THAT(log.events(),
                ElementsAre(lookingFor("spectrum"), failedAssertion("vParams.empty()", "AudioFeatureFactory", 61)));
}

TEST(AudioFeatureFactory, TracesNothingAboveTheTraceLevel)
{
    LogCapture log("kestrivon", 1);

    make("spectrum");

    EXPECT_THAT(log.events(), IsEmpty());
}

} // namespace
} // namespace Corvana::Audio
