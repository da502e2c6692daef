// SPDX-License-Identifier: Apache-2.0
#include "FeatureTestSupport.h"

#include "corvana/MathMeanFeature.h"
#include "corvana/MathSignalFeatureComposed.h"
#include "corvana/MathSlidingWindowFeature.h"

#include <gtest/gtest.h>

#include <memory>

namespace Corvana::Math {
namespace {

using namespace Test;

TEST(SlidingWindowFeature, AppendsTheValuesItHasWhileItFills)
{
    SlidingWindowFeature feature(3);

    EXPECT_EQ(succeeds({1}), outcomeOf(feature, {1}));
    EXPECT_EQ(succeeds({1, 2}), outcomeOf(feature, {2}));
    EXPECT_EQ(succeeds({1, 2, 3}), outcomeOf(feature, {3}));
}

TEST(SlidingWindowFeature, DropsTheOldestValueWhenItIsFull)
{
    SlidingWindowFeature feature(3);
    outcomeOf(feature, {1, 2, 3});

    EXPECT_EQ(succeeds({2, 3, 4}), outcomeOf(feature, {4}));
    EXPECT_EQ(succeeds({4, 5, 6}), outcomeOf(feature, {5, 6}));
}

TEST(SlidingWindowFeature, KeepsTheEndOfALongInput)
{
    SlidingWindowFeature feature(3);

    EXPECT_EQ(succeeds({5, 6, 7}), outcomeOf(feature, {1, 2, 3, 4, 5, 6, 7}));
}

TEST(SlidingWindowFeature, GivesItsValuesAgainForAnEmptyInput)
{
    SlidingWindowFeature feature(3);

    EXPECT_EQ(succeeds({}), outcomeOf(feature, {}));
    outcomeOf(feature, {1, 2});
    EXPECT_EQ(succeeds({1, 2}), outcomeOf(feature, {}));
}

TEST(SlidingWindowFeature, KeepsNothingOfLengthZero)
{
    SlidingWindowFeature feature(0);

    EXPECT_EQ(succeeds({}), outcomeOf(feature, {1, 2}));
}

TEST(SlidingWindowFeature, ReservesNoMoreThanItNeedsForAHugeLength)
{
    SlidingWindowFeature feature(static_cast<unsigned long>(-1));

    EXPECT_EQ(succeeds({1, 2}), outcomeOf(feature, {1, 2}));
    EXPECT_EQ(succeeds({1, 2, 3}), outcomeOf(feature, {3}));
}

TEST(SlidingWindowFeature, ForgetsItsValuesAtReset)
{
    SlidingWindowFeature feature(3);
    outcomeOf(feature, {1, 2});

    EXPECT_TRUE(feature.reset());

    EXPECT_EQ(succeeds({9}), outcomeOf(feature, {9}));
}

TEST(SlidingWindowFeature, LeavesWhatIsInTheOutputInFront)
{
    SlidingWindowFeature feature(2);
    DoubleVector vOut = {7.0};

    EXPECT_TRUE(feature.compute({1.0, 2.0, 3.0}, vOut));

    EXPECT_EQ(DoubleVector({7.0, 2.0, 3.0}), vOut);
}

TEST(SlidingWindowFeature, ClonesWithItsValues)
{
    SlidingWindowFeature feature(3);
    outcomeOf(feature, {1, 2});
    const std::unique_ptr<SlidingWindowFeature> pClone(feature.clone());
    outcomeOf(feature, {50});

    EXPECT_EQ(succeeds({1, 2, 3}), outcomeOf(*pClone, {3}));
    EXPECT_EQ(succeeds({2, 50, 60}), outcomeOf(feature, {60}));
}

TEST(SlidingWindowFeature, GivesTheSameInPiecesOfOneAsInOne)
{
    const Values vSignal = randomWindow(100, 1);
    SlidingWindowFeature whole(17);
    SlidingWindowFeature pieces(17);

    Outcome last;
    for (const double dValue : vSignal)
        last = outcomeOf(pieces, {dValue});

    EXPECT_EQ(outcomeOf(whole, vSignal), last);
}

TEST(SlidingWindowFeature, MakesASlidingMeanTogetherWithAMean)
{
    auto pWindow = std::make_unique<SlidingWindowFeature>(2);
    auto pMean = std::make_unique<MeanFeature>();
    SignalFeatureComposed composed(pWindow.release(), pMean.release());

    EXPECT_EQ(succeeds({1.0}), outcomeOf(composed, {1.0}));
    EXPECT_EQ(succeeds({1.5}), outcomeOf(composed, {2.0}));
    EXPECT_EQ(succeeds({2.5}), outcomeOf(composed, {3.0}));
    EXPECT_TRUE(composed.reset());
    EXPECT_EQ(succeeds({9.0}), outcomeOf(composed, {9.0}));
}

} // namespace
} // namespace Corvana::Math
