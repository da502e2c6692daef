// SPDX-License-Identifier: Apache-2.0
// A program of its own, because it replaces the global allocation: it counts blocks, and lets them start at any
// distance from a multiple of 16, as not every system's allocation is as tidy as ours.
#include "CountedFeatures.h"
#include "corvana/Logger.h"
#include "corvana/MathDoubleVector.h"
#include "corvana/MathMeanFeature.h"
#include "corvana/MathRealFourierPlan.h"
#include "corvana/MathSignalFeatureComposed.h"
#include "corvana/MathSpectrumPlan.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

namespace {

std::atomic<std::size_t> s_uiNbOfAllocations{0};
std::atomic<std::size_t> s_uiShift{0};
std::atomic<void*> s_pLastBlock{nullptr};

// In front of each block stands what malloc() gave.
constexpr std::size_t s_uiRoom = 32;

void* allocateShifted(std::size_t in_uiSize)
{
    void* const pBase = std::malloc(in_uiSize + s_uiRoom);
    if (pBase == nullptr)
        throw std::bad_alloc();
    char* const pBlock = static_cast<char*>(pBase) + 16 + s_uiShift;
    std::memcpy(pBlock - sizeof pBase, &pBase, sizeof pBase);
    ++s_uiNbOfAllocations;
    s_pLastBlock = pBlock;
    return pBlock;
}

void deallocateShifted(void* in_pBlock) noexcept
{
    if (in_pBlock == nullptr)
        return;
    void* pBase = nullptr;
    std::memcpy(&pBase, static_cast<char*>(in_pBlock) - sizeof pBase, sizeof pBase);
    std::free(pBase);
}

} // namespace

void* operator new(std::size_t in_uiSize)
{
    return allocateShifted(in_uiSize);
}
void operator delete(void* in_pBlock) noexcept
{
    deallocateShifted(in_pBlock);
}
void operator delete(void* in_pBlock, std::size_t) noexcept
{
    deallocateShifted(in_pBlock);
}

using Corvana::Logger;
using Corvana::Math::DoubleVector;
using Corvana::Math::MeanFeature;
using Corvana::Math::RealFourierPlan;
using Corvana::Math::SignalFeatureComposed;
using Corvana::Math::SpectrumPlan;
using Corvana::Math::SpectrumScratch;
using Corvana::Test::LogCapture;
using Corvana::Test::ScaleFeature;

TEST(DoubleVectorStorage, StartsAtAMultipleOfSixteenBytesWhereverItsBlockStarts)
{
    for (std::size_t uiShift = 0; uiShift < 16; ++uiShift) {
        s_uiShift = uiShift;
        DoubleVector vValues(3, 0.5);
        const auto uiRaw = reinterpret_cast<std::uintptr_t>(s_pLastBlock.load());
        s_uiShift = 0;

        const auto uiData = reinterpret_cast<std::uintptr_t>(vValues.data());
        const unsigned uiOffset = reinterpret_cast<const unsigned char*>(vValues.data())[-1];
        EXPECT_EQ(uiShift, uiRaw % 16);
        EXPECT_EQ(0u, uiData % 16);
        EXPECT_EQ(uiRaw + 17 - (uiRaw + 1) % 16, uiData);
        EXPECT_EQ(uiData - uiRaw, uiOffset);
        // The last value still lies within the 3 * 8 + 17 bytes.
        EXPECT_LE(uiData + 3 * sizeof(double), uiRaw + 3 * sizeof(double) + 17);
    }
}

TEST(DoubleVectorStorage, IsFoundAgainOnReleaseAndGrowthWhereverItsBlockStarts)
{
    for (std::size_t uiShift = 0; uiShift < 16; ++uiShift) {
        s_uiShift = uiShift;
        {
            DoubleVector vValues;
            for (int iValue = 0; iValue < 100; ++iValue)
                vValues.push_back(iValue);
            s_uiShift = 15 - uiShift;
            vValues.insert(vValues.end(), vValues.begin(), vValues.end());
            s_uiShift = 0;
            ASSERT_EQ(200u, vValues.size());
            EXPECT_EQ(99.0, vValues[199]);
        }
        s_uiShift = 0;
    }
}

TEST(DoubleVector, AllocatesNothingWhileItsStorageIsLargeEnough)
{
    const DoubleVector vSource(128, 1.0);
    DoubleVector vValues;
    vValues.reserve(256);
    const std::size_t uiNbAtStart = s_uiNbOfAllocations;

    for (int iRound = 0; iRound < 10; ++iRound) {
        vValues.clear();
        vValues.insert(vValues.end(), vSource.begin(), vSource.end());
        vValues.insert(vValues.begin(), vValues.begin(), vValues.end());
        vValues.resize(200);
        vValues = vSource;
        vValues.absoluteValue();
        vValues.push_back(*vValues.max_element());
        vValues.erase(vValues.begin(), vValues.begin() + 5);
    }

    EXPECT_EQ(uiNbAtStart, s_uiNbOfAllocations);
}

TEST(RealFourierPlan, AllocatesNothingToTransform)
{
    const RealFourierPlan plan(1024);
    std::vector<double> vValues(1024, 1.0);
    const std::size_t uiNbAtStart = s_uiNbOfAllocations;

    plan.transform(vValues.data());

    EXPECT_EQ(uiNbAtStart, s_uiNbOfAllocations);
}

TEST(SpectrumPlan, AllocatesNothingAfterItsFirstCall)
{
    for (const std::size_t uiShift : {0UL, 16UL}) { // other objects may count on multiples of 16
        s_uiShift = uiShift; // the tables and the scratch find their multiples of 64 bytes anywhere
        const SpectrumPlan plan(DoubleVector(1024, 0.5));
        const DoubleVector vWindows(8 * 1024, 1.0);
        DoubleVector vBins(8 * 512);
        SpectrumScratch scratch;
        const double* apWindows[8];
        double* apBins[8];
        for (std::size_t uiWindow = 0; uiWindow < 8; ++uiWindow) {
            apWindows[uiWindow] = vWindows.data() + 1024 * uiWindow;
            apBins[uiWindow] = vBins.data() + 512 * uiWindow;
        }
        plan.computeSeveral(8, apWindows, apBins, scratch);
        const std::size_t uiNbAtStart = s_uiNbOfAllocations;

        plan.compute(vWindows.data(), vBins.data(), scratch);
        plan.computeSeveral(8, apWindows, apBins, scratch);

        s_uiShift = 0;
        EXPECT_EQ(uiNbAtStart, s_uiNbOfAllocations);
    }
}

TEST(SignalFeatureComposed, AllocatesNothingAfterItsFirstCall)
{
    const DoubleVector vInput(128, 1.0);
    SignalFeatureComposed feature(new ScaleFeature(2.0), new MeanFeature);
    DoubleVector vValues;
    feature.compute(vInput, vValues);
    vValues.clear();
    const std::size_t uiNbAtStart = s_uiNbOfAllocations;

    feature.compute(vInput, vValues);

    EXPECT_EQ(uiNbAtStart, s_uiNbOfAllocations);
}

TEST(LogMacro, AllocatesNothingForAMessageThatNobodyWants)
{
    const LogCapture log("test.allocation", Corvana::LOG_ERROR);
    const Logger logger("test.allocation");
    const std::size_t uiNbAtStart = s_uiNbOfAllocations;

    CORVANA_TRACE_SCOPE(logger, "a method with a name too long for any short text");
    CORVANA_LOG_DEBUG(logger, "a message too long for any short text, " << 12);

    EXPECT_EQ(uiNbAtStart, s_uiNbOfAllocations);
}
