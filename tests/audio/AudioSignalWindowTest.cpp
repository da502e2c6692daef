// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioSignalWindow.h"

#include "audio/AudioTestHelpers.h"
#include "support/LogCapture.h"
#include "support/Signals.h"
#include "support/TypeOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <type_traits>
#include <typeinfo>

namespace Corvana::Audio {
namespace {

using Math::DoubleVector;
using Test::failedAssertion;
using Test::LogCapture;
using Test::sameBits;
using Test::typeOf;
using testing::ElementsAre;

static_assert(std::is_abstract_v<SignalWindow>);
static_assert(std::is_same_v<double, decltype(std::declval<const SignalWindow&>().getSize())>);
static_assert(!std::is_convertible_v<HannWindow*, SignalWindowImpl*>, "the table is not part of the interface");

// The definition, written out: product first, then quotient.
DoubleVector hannTable(unsigned long in_uiSize)
{
    DoubleVector vTable(in_uiSize);
    for (unsigned long i = 0; i < in_uiSize; ++i) {
        const double dProduct = static_cast<double>(i) * 6.283185307179586;
        const double dAngle = dProduct / static_cast<double>(in_uiSize - 1);
        vTable[i] = (1.0 - std::cos(dAngle)) * 0.5;
    }
    return vTable;
}

TEST(SignalWindowImpl, HoldsOnesOnly)
{
    EXPECT_EQ(DoubleVector({1.0, 1.0, 1.0}), SignalWindowImpl(3).getWindow());
    EXPECT_EQ(1.0, SignalWindowImpl(3).getValue(2));
}

TEST(SignalWindowImpl, OfNoSamplesIsEmpty)
{
    EXPECT_EQ(DoubleVector(), SignalWindowImpl(0).getWindow());
    EXPECT_EQ(0.0, SignalWindowImpl(0).getSize());
}

TEST(SignalWindowImpl, ClonesToItsOwnClass)
{
    const SignalWindowImpl window(4);
    const SignalWindow& asBase = window;

    const std::unique_ptr<SignalWindow> pClone(asBase.clone());

    EXPECT_EQ(typeid(SignalWindowImpl), typeOf(*pClone));
    EXPECT_EQ(window.getWindow(), pClone->getWindow());
    EXPECT_EQ(4.0, pClone->getSize());
}

TEST(SignalWindowImpl, YieldsOneForAnIndexOutsideAfterReportingIt)
{
    LogCapture log;

    EXPECT_EQ(1.0, SignalWindowImpl(4).getValue(4));

    EXPECT_THAT(log.events(),
                ElementsAre(failedAssertion("in_uiSampleIndex < m_uiWindowSize", "AudioSignalWindow", 70)));
}

TEST(HannWindow, OfOneSampleIsNotANumber)
{
    const HannWindow window(1);

    ASSERT_EQ(1u, window.getWindow().size());
    EXPECT_TRUE(std::isnan(window.getWindow()[0]));
    EXPECT_TRUE(std::isnan(window.getValue(0)));
}

TEST(HannWindow, OfTwoSamplesIsZero)
{
    // cos(2 pi) is 1 to the last bit, so both ends are exactly 0.
    EXPECT_EQ(DoubleVector({0.0, 0.0}), HannWindow(2).getWindow());
}

TEST(HannWindow, OfFiveSamplesRisesAndFallsByHalves)
{
    const HannWindow window(5);

    // One unit in the last place: cos(pi / 2) of the nearest double is not exactly 0.
    ASSERT_EQ(5u, window.getWindow().size());
    EXPECT_EQ(0.0, window.getValue(0));
    EXPECT_DOUBLE_EQ(0.5, window.getValue(1));
    EXPECT_EQ(1.0, window.getValue(2));
    EXPECT_DOUBLE_EQ(0.5, window.getValue(3));
    EXPECT_EQ(0.0, window.getValue(4));
}

TEST(HannWindow, OfNoSamplesIsEmpty)
{
    EXPECT_EQ(DoubleVector(), HannWindow(0).getWindow());
    EXPECT_EQ(0.0, HannWindow(0).getSize());
}

TEST(HannWindow, DividesTheProductOfIndexAndTwoPiByOneLessThanTheSize)
{
    for (const unsigned long uiSize : {2UL, 3UL, 5UL, 7UL, 64UL, 100UL, 128UL, 240UL, 256UL, 441UL, 1000UL, 4096UL})
        EXPECT_TRUE(sameBits(hannTable(uiSize), HannWindow(uiSize).getWindow())) << uiSize;
}

TEST(HannWindow, YieldsTheCoefficientAtAnIndex)
{
    const HannWindow window(256);
    const DoubleVector vTable = hannTable(256);

    EXPECT_EQ(vTable[0], window.getValue(0));
    EXPECT_EQ(vTable[100], window.getValue(100));
    EXPECT_EQ(vTable[255], window.getValue(255));
}

TEST(HannWindow, YieldsOneForTheIndexBehindTheLastAfterReportingIt)
{
    LogCapture log;
    const HannWindow window(5);

    EXPECT_EQ(1.0, window.getValue(5));

    EXPECT_THAT(log.events(),
                ElementsAre(failedAssertion("in_uiSampleIndex < m_uiWindowSize", "AudioSignalWindow", 70)));
}

TEST(HannWindow, ReportsNothingForTheLastIndex)
{
    LogCapture log;

    EXPECT_EQ(0.0, HannWindow(5).getValue(4));

    EXPECT_TRUE(log.events().empty());
}

TEST(HannWindow, ReportsTheLargestPossibleIndex)
{
    LogCapture log;

    EXPECT_EQ(1.0, HannWindow(5).getValue(~0UL));

    EXPECT_EQ(1u, log.events().size());
}

TEST(HannWindow, TellsItsSizeAsADouble)
{
    EXPECT_EQ(256.0, HannWindow(256).getSize());
}

TEST(HannWindow, ClonesToItsOwnClassWithTheSameTable)
{
    auto pWindow = std::make_unique<HannWindow>(7);
    const DoubleVector vTable = pWindow->getWindow();
    const Cloneable& asCloneable = *pWindow;

    const std::unique_ptr<Cloneable> pClone(asCloneable.clone());
    pWindow.reset();

    const auto* pCopy = dynamic_cast<const SignalWindow*>(pClone.get());
    ASSERT_NE(nullptr, pCopy);
    EXPECT_EQ(typeid(HannWindow), typeOf(*pCopy));
    EXPECT_EQ(vTable, pCopy->getWindow());
    EXPECT_EQ(7.0, pCopy->getSize());
}

TEST(HannWindow, GivesItsMemoryBack)
{
    const std::uint64_t uiBefore = getMemAccount("\"DoubleVector\"").m_uiLiveBytes;

    delete HannWindow(64).clone();

    EXPECT_EQ(uiBefore, getMemAccount("\"DoubleVector\"").m_uiLiveBytes);
}

} // namespace
} // namespace Corvana::Audio
