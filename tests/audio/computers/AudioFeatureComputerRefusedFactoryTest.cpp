// SPDX-License-Identifier: Apache-2.0
// No real pool refuses a fresh factory, so this program brings one that refuses every factory: a definition in the
// program comes before the shared library's own.
#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/MathSignalFeaturePool.h"
#include "corvana/MemAllocator.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// The computers leave them to nobody.
std::vector<Corvana::Math::SignalFeatureFactory*> s_vRefused;

} // namespace

bool Corvana::Math::SignalFeaturePool::addFactory(SignalFeatureFactory* in_pFactory)
{
    s_vRefused.push_back(in_pFactory);
    return false;
}

namespace Corvana::Audio {
namespace {

using Test::LogCapture;
using Test::LogEvent;
using testing::ElementsAre;
using testing::IsEmpty;

const char* const s_szLogger = "kestrivon.audio.FeatureComputerImpl";
const char* const s_szMessage = "Could not add AudioFeatureFactory to feature pool";

class RefusedFeatureFactory : public testing::Test
{
protected:
    void TearDown() override
    {
        for (Math::SignalFeatureFactory* pFactory : s_vRefused)
            delete pFactory;
        s_vRefused.clear();
    }
};

TEST_F(RefusedFeatureFactory, IsWarnedOfByTheComputer)
{
    LogCapture log;

    const FeatureComputerImpl computer;

    EXPECT_THAT(log.events(), ElementsAre(LogEvent{s_szLogger, 30000, s_szMessage, "AudioFeatureComputerImpl", 38}));
}

TEST_F(RefusedFeatureFactory, IsWarnedOfByTheComputerWithInputs)
{
    LogCapture log;

    const FeatureComputerWithInputsImpl computer;

    EXPECT_THAT(log.events(), ElementsAre(LogEvent{s_szLogger, 30000, s_szMessage, "AudioFeatureComputerImpl", 69}));
}

TEST_F(RefusedFeatureFactory, IsNotWarnedOfWhenWarningsAreOff)
{
    LogCapture log("kestrivon", 40000);

    const FeatureComputerImpl computer;
    const FeatureComputerWithInputsImpl computerWithInputs;

    EXPECT_THAT(log.events(), IsEmpty());
}

TEST_F(RefusedFeatureFactory, LeavesTheComputerWithoutAudioFeatures)
{
    FeatureComputerImpl computer;

    EXPECT_FALSE(computer.addFeature("spectrum"));
    EXPECT_EQ(0u, computer.getNbOfFeatures());
    EXPECT_EQ(0u, computer.getFeaturePool().getNbOfFactories());
}

TEST_F(RefusedFeatureFactory, LeavesTheComputerUsable)
{
    FeatureComputerImpl computer;
    Math::DoubleVector vFeatures{1.0};

    EXPECT_TRUE(computer.computeFeatures(vFeatures));
    EXPECT_TRUE(vFeatures.empty());
    EXPECT_TRUE(computer.reset());
}

TEST_F(RefusedFeatureFactory, IsNotFreed)
{
    const MemAccount before = getMemAccount("SignalFeatureFactory");

    {
        const FeatureComputerImpl computer;
        const FeatureComputerWithInputsImpl computerWithInputs;
    }

    EXPECT_EQ(before.m_uiLiveBlocks + 2, getMemAccount("SignalFeatureFactory").m_uiLiveBlocks);
    ASSERT_EQ(2u, s_vRefused.size());
    EXPECT_STREQ("AudioFeatureFactory", s_vRefused[0]->getFactoryName());
    EXPECT_STREQ("AudioFeatureFactory", s_vRefused[1]->getFactoryName());
}

} // namespace
} // namespace Corvana::Audio
