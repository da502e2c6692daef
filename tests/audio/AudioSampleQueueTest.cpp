// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioSampleQueue.h"

#include "audio/AudioTestHelpers.h"
#include "support/Signals.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <deque>
#include <vector>

namespace Corvana::Audio {
namespace {

using Math::DoubleVector;
using Test::nbOfVectorBlocks;
using Test::ramp;

void push(SampleQueue& inout_queue, const DoubleVector& in_vSamples)
{
    inout_queue.push(in_vSamples.begin(), in_vSamples.end());
}

DoubleVector contents(const SampleQueue& in_queue)
{
    DoubleVector vContents;
    vContents.insert(vContents.end(), in_queue.begin(), in_queue.begin() + in_queue.size());
    return vContents;
}

TEST(SampleQueue, IsEmptyAtFirst)
{
    EXPECT_EQ(0u, SampleQueue().size());
}

TEST(SampleQueue, KeepsSamplesInTheOrderOfPushing)
{
    SampleQueue queue;

    push(queue, {1.0, 2.0});
    push(queue, {3.0});

    EXPECT_EQ(DoubleVector({1.0, 2.0, 3.0}), contents(queue));
}

TEST(SampleQueue, TakesTheOldestSamplesAway)
{
    SampleQueue queue;
    push(queue, {1.0, 2.0, 3.0});

    queue.pop(2);

    EXPECT_EQ(DoubleVector({3.0}), contents(queue));
}

TEST(SampleQueue, IsEmptyAfterEverythingWasTaken)
{
    SampleQueue queue;
    push(queue, {1.0, 2.0, 3.0});

    queue.pop(3);
    push(queue, {4.0});

    EXPECT_EQ(DoubleVector({4.0}), contents(queue));
}

TEST(SampleQueue, TakesAnEmptyRangeOfNullPointers)
{
    SampleQueue queue;

    queue.push(nullptr, nullptr);
    queue.pop(0);

    EXPECT_EQ(0u, queue.size());
}

TEST(SampleQueue, ForgetsEverythingWhenCleared)
{
    SampleQueue queue;
    push(queue, {1.0, 2.0, 3.0});
    queue.pop(1);

    queue.clear();
    push(queue, {7.0});

    EXPECT_EQ(DoubleVector({7.0}), contents(queue));
}

TEST(SampleQueue, KeepsItsStorageWhenCleared)
{
    SampleQueue queue;
    push(queue, ramp(1000));
    const DoubleVector vAgain = ramp(1000);
    const unsigned long uiBlocks = nbOfVectorBlocks();

    queue.clear();
    push(queue, vAgain);

    EXPECT_EQ(uiBlocks, nbOfVectorBlocks());
}

TEST(SampleQueue, CopiesAreIndependent)
{
    SampleQueue queue;
    push(queue, {1.0, 2.0, 3.0});
    queue.pop(1);

    SampleQueue copy(queue);
    queue.clear();
    push(copy, {4.0});

    EXPECT_EQ(DoubleVector({2.0, 3.0, 4.0}), contents(copy));
}

TEST(SampleQueue, GrowsRatherThanMovingManySamplesForALittleRoom)
{
    SampleQueue queue;
    push(queue, ramp(100)); // exactly full
    queue.pop(49);
    const DoubleVector vOne = {100.0};
    const unsigned long uiBlocks = nbOfVectorBlocks();

    push(queue, vOne);

    EXPECT_EQ(uiBlocks + 1, nbOfVectorBlocks());
    EXPECT_EQ(ramp(52, 49.0), contents(queue));
}

TEST(SampleQueue, ReusesTheRoomInFrontOnceHalfOfTheSamplesWereTaken)
{
    SampleQueue queue;
    push(queue, ramp(100)); // exactly full
    queue.pop(50);
    const DoubleVector vFifty = ramp(50, 100.0);
    const unsigned long uiBlocks = nbOfVectorBlocks();

    push(queue, vFifty);

    EXPECT_EQ(uiBlocks, nbOfVectorBlocks());
    EXPECT_EQ(ramp(100, 50.0), contents(queue));
}

TEST(SampleQueue, AllocatesNothingInTheLongRun)
{
    SampleQueue queue;
    const DoubleVector vChunk = ramp(160);
    push(queue, ramp(80));
    for (int iWarmUp = 0; iWarmUp < 10; ++iWarmUp) {
        push(queue, vChunk);
        queue.pop(160);
    }
    const unsigned long uiBlocks = nbOfVectorBlocks();

    for (int iRound = 0; iRound < 10000; ++iRound) {
        push(queue, vChunk);
        queue.pop(160);
    }

    EXPECT_EQ(uiBlocks, nbOfVectorBlocks());
    EXPECT_EQ(80u, queue.size());
}

RC_GTEST_PROP(SampleQueue, HoldsWhatADoubleEndedQueueHolds, (const std::vector<std::pair<std::uint8_t, bool>>& vSteps))
{
    SampleQueue queue;
    std::deque<double> vExpected;
    double dNext = 0.0;
    for (const auto& [uiNbOfSamples, bPop] : vSteps) {
        if (bPop) {
            const std::size_t uiPopped = std::min<std::size_t>(uiNbOfSamples, queue.size());
            queue.pop(uiPopped);
            vExpected.erase(vExpected.begin(), vExpected.begin() + static_cast<std::ptrdiff_t>(uiPopped));
        } else {
            const DoubleVector vSamples = ramp(uiNbOfSamples, dNext);
            dNext += uiNbOfSamples;
            push(queue, vSamples);
            vExpected.insert(vExpected.end(), vSamples.begin(), vSamples.end());
        }
        RC_ASSERT(vExpected.size() == queue.size());
        RC_ASSERT(std::equal(vExpected.begin(), vExpected.end(), queue.begin()));
    }
}

} // namespace
} // namespace Corvana::Audio
