// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathMeanFeature.h"

#include "support/Signals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using Corvana::Math::DoubleVector;
using Corvana::Math::MeanFeature;
using Corvana::Test::sine;
using Corvana::Test::valuesOf;

TEST(MeanFeature, IsZeroForAnEmptyInput)
{
    EXPECT_EQ(DoubleVector({0.0}), valuesOf(MeanFeature(), DoubleVector()));
}

TEST(MeanFeature, IsTheOnlyValue)
{
    EXPECT_EQ(DoubleVector({0.25}), valuesOf(MeanFeature(), DoubleVector({0.25})));
}

TEST(MeanFeature, IsTheConstantOfAConstantInput)
{
    EXPECT_EQ(DoubleVector({0.0}), valuesOf(MeanFeature(), DoubleVector(128, 0.0)));
    EXPECT_EQ(DoubleVector({0.5}), valuesOf(MeanFeature(), DoubleVector(128, 0.5)));
}

TEST(MeanFeature, IsTheSumDividedByTheNumber)
{
    EXPECT_EQ(DoubleVector({2.5}), valuesOf(MeanFeature(), DoubleVector({1.0, 2.0, 3.0, 4.0})));
}

TEST(MeanFeature, IsNothingForWholePeriodsOfATone)
{
    // 1000 Hz at 8000 Hz: 16 whole periods.
    EXPECT_NEAR(0.0, valuesOf(MeanFeature(), sine(1000.0, 8000.0, 128))[0], 1e-15);
}

TEST(MeanFeature, AddsInIndexOrder)
{
    // 1e16 + 1 is rounded back to 1e16, so 1 is lost before -1e16 cancels; added last it is not.
    EXPECT_EQ(DoubleVector({0.0}), valuesOf(MeanFeature(), DoubleVector({1e16, 1.0, -1e16})));
    EXPECT_EQ(DoubleVector({1.0 / 3.0}), valuesOf(MeanFeature(), DoubleVector({1e16, -1e16, 1.0})));
}

TEST(MeanFeature, DividesAndDoesNotMultiplyByTheReciprocal)
{
    // 5 values of 3: 3 * (1.0 / 5) differs from 3.0 / 5 in the last bit.
    EXPECT_EQ(3.0 / 5.0, valuesOf(MeanFeature(), DoubleVector({1.0, 1.0, 1.0, 0.0, 0.0}))[0]);
    EXPECT_NE(3.0 / 5.0, 3.0 * (1.0 / 5.0));
}

TEST(MeanFeature, HandsOnNaN)
{
    EXPECT_TRUE(std::isnan(valuesOf(MeanFeature(), DoubleVector({1.0, std::numeric_limits<double>::quiet_NaN()}))[0]));
}

TEST(MeanFeature, AppendsBehindWhatIsThere)
{
    DoubleVector vValues{7.0};
    MeanFeature feature;

    EXPECT_TRUE(feature.compute(DoubleVector({1.0, 3.0}), vValues));
    EXPECT_TRUE(feature.compute(DoubleVector({5.0}), vValues));

    EXPECT_EQ(DoubleVector({7.0, 2.0, 5.0}), vValues);
}

#ifndef NDEBUG
TEST(MeanFeatureDeathTest, RefusesItsInputAsOutputInDebugBuilds)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    MeanFeature feature;
    DoubleVector vValues{1.0};

    EXPECT_DEATH(feature.compute(vValues, vValues), "in_vInput");
}
#endif
