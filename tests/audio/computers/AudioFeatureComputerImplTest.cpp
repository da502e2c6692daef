// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFeatureComputerImpl.h"

#include "audio/computers/ComputerTestHelpers.h"
#include "corvana/MemAllocator.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace Corvana::Audio {
namespace {

using Math::DoubleVector;
using Test::addAll;
using Test::allExamples;
using Test::computed;
using Test::LogCapture;
using Test::LogEvent;
using Test::s_szAudioLogger;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

// The class tree, as pointers and archives rely on it.
static_assert(std::is_base_of_v<Math::FeatureComputerImpl, FeatureComputerImpl>);
static_assert(std::is_base_of_v<Math::FeatureComputerWithInputsImpl, FeatureComputerWithInputsImpl>);
static_assert(std::is_base_of_v<Math::FeatureComputerImpl, Math::FeatureComputerWithInputsImpl>);
static_assert(std::is_base_of_v<Math::FeatureComputerWithInputs, Math::FeatureComputerWithInputsImpl>);
static_assert(std::is_base_of_v<Math::FeatureComputer, Math::FeatureComputerImpl>);
static_assert(std::is_base_of_v<Math::FeatureComputer, Math::FeatureComputerWithInputs>);
static_assert(std::is_base_of_v<Resettable, Math::FeatureComputer>);
static_assert(std::is_base_of_v<Object, Math::FeatureComputer>);
// A base that can be reached only once by each path is one base: virtual.
static_assert(std::is_convertible_v<FeatureComputerWithInputsImpl*, Math::FeatureComputer*>);
static_assert(std::is_convertible_v<FeatureComputerWithInputsImpl*, Object*>);
static_assert(std::is_convertible_v<FeatureComputerWithInputsImpl*, Resettable*>);
// No members of their own.
static_assert(sizeof(FeatureComputerImpl) == sizeof(Math::FeatureComputerImpl));
static_assert(sizeof(FeatureComputerWithInputsImpl) == sizeof(Math::FeatureComputerWithInputsImpl));
// Default construction is the only way to make one.
static_assert(std::is_default_constructible_v<FeatureComputerImpl>);
static_assert(!std::is_copy_constructible_v<FeatureComputerImpl> && !std::is_copy_assignable_v<FeatureComputerImpl>);
static_assert(!std::is_copy_constructible_v<FeatureComputerWithInputsImpl>);
static_assert(!std::is_base_of_v<Math::FeatureComputerWithInputs, FeatureComputerImpl>);

unsigned long nbOfLiveFactories()
{
    return getMemAccount("SignalFeatureFactory").m_uiLiveBlocks;
}

template <class ComputerT>
class AudioFeatureComputer : public testing::Test
{
};
using Computers = testing::Types<FeatureComputerImpl, FeatureComputerWithInputsImpl>;

class ComputerName
{
public:
    template <class ComputerT>
    static std::string GetName(int)
    {
        return std::is_same_v<ComputerT, FeatureComputerImpl> ? "Plain" : "WithInputs";
    }
};
TYPED_TEST_SUITE(AudioFeatureComputer, Computers, ComputerName);

TYPED_TEST(AudioFeatureComputer, StartsEmpty)
{
    TypeParam computer;

    EXPECT_EQ(0u, computer.getNbOfFeatures());
    EXPECT_TRUE(computed(computer).empty());
}

TYPED_TEST(AudioFeatureComputer, HasOneFactoryInItsPool)
{
    TypeParam computer;

    EXPECT_EQ(1u, computer.getFeaturePool().getNbOfFactories());
}

TYPED_TEST(AudioFeatureComputer, MakesAFactoryOfItsOwn)
{
    const unsigned long uiBefore = nbOfLiveFactories();

    const TypeParam first;
    EXPECT_EQ(uiBefore + 1, nbOfLiveFactories());
    const TypeParam second;
    EXPECT_EQ(uiBefore + 2, nbOfLiveFactories());
}

TYPED_TEST(AudioFeatureComputer, GivesItsFactoryBackWhenItEnds)
{
    const MemAccount before = getMemAccount("SignalFeatureFactory");

    {
        TypeParam computer;
        computer.addFeature("spectrum|flatness");
    }

    const MemAccount after = getMemAccount("SignalFeatureFactory");
    EXPECT_EQ(before.m_uiLiveBlocks, after.m_uiLiveBlocks);
    EXPECT_EQ(before.m_uiLiveBytes, after.m_uiLiveBytes);
    EXPECT_EQ(before.m_uiTotalBlocks + 1, after.m_uiTotalBlocks);
}

TYPED_TEST(AudioFeatureComputer, KeepsWorkingWhenAnotherOneHasEnded)
{
    TypeParam computer;
    {
        const TypeParam other;
    }

    EXPECT_TRUE(computer.addFeature("silenceratio"));
    EXPECT_EQ(1u, computed(computer, DoubleVector(8, 0.5)).size());
}

TYPED_TEST(AudioFeatureComputer, LogsNothingWhenItIsMadeAndEnds)
{
    const LogCapture log;

    {
        const TypeParam computer;
    }

    EXPECT_THAT(log.events(), IsEmpty());
}

TYPED_TEST(AudioFeatureComputer, KnowsAllAudioFeatures)
{
    TypeParam computer;

    addAll(computer, allExamples());

    EXPECT_EQ(22u, computer.getNbOfFeatures());
}

TYPED_TEST(AudioFeatureComputer, IsAFeatureComputerThatCanBeReset)
{
    TypeParam computer;
    Math::FeatureComputer& asComputer = computer;
    Resettable& asResettable = computer;
    DoubleVector vFeatures{1.0};

    EXPECT_TRUE(asResettable.reset());
    EXPECT_TRUE(asComputer.computeFeatures(vFeatures));
    EXPECT_TRUE(vFeatures.empty());
}

auto isTrace(const std::string& in_strText)
{
    return AllOf(Field(&LogEvent::m_strLogger, s_szAudioLogger), Field(&LogEvent::m_iLevel, 0),
                 Field(&LogEvent::m_strFile, "AudioFeatureComputerImpl"), Field(&LogEvent::m_strText, in_strText));
}

TEST(FeatureComputerImpl, TracesItsConstructor)
{
    const LogCapture log(s_szAudioLogger, 0);

    const FeatureComputerImpl computer;

    EXPECT_THAT(log.events(),
                ElementsAre(isTrace("ENTER : FeatureComputerImpl ctor"), isTrace("EXIT : FeatureComputerImpl ctor")));
}

TEST(FeatureComputerWithInputsImpl, TracesItsConstructor)
{
    const LogCapture log(s_szAudioLogger, 0);

    const FeatureComputerWithInputsImpl computer;

    EXPECT_THAT(log.events(), ElementsAre(isTrace("ENTER : FeatureComputerWithInputsImpl ctor"),
                                          isTrace("EXIT : FeatureComputerWithInputsImpl ctor")));
}

TEST(FeatureComputerWithInputsImpl, TakesInputsThroughItsInterface)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "tone"));
    Math::FeatureComputerWithInputs& asInterface = computer;

    EXPECT_TRUE(asInterface.setInput("tone", DoubleVector{0.0, 1.0, 3.0, 2.0, 0.0}));

    EXPECT_EQ(DoubleVector({1.0, 3.0, 2.0}), computed(asInterface));
}

} // namespace
} // namespace Corvana::Audio
