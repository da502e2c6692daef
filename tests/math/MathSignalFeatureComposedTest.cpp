// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathSignalFeatureComposed.h"

#include "CountedFeatures.h"
#include "corvana/MathMeanFeature.h"
#include "support/Signals.h"

#include <gtest/gtest.h>

#include <memory>

using Corvana::Math::DoubleVector;
using Corvana::Math::MeanFeature;
using Corvana::Math::SignalFeatureComposed;
using Corvana::Test::AliveCount;
using Corvana::Test::FailingFeature;
using Corvana::Test::ScaleFeature;
using Corvana::Test::TotalFeature;
using Corvana::Test::valuesOf;

namespace {

class SignalFeatureComposedTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(0, AliveCount::s_iNbAlive); }
    void TearDown() override { EXPECT_EQ(0, AliveCount::s_iNbAlive); }
};

} // namespace

TEST_F(SignalFeatureComposedTest, GivesTheInnerFeaturesValuesToTheOuterOne)
{
    SignalFeatureComposed feature(new ScaleFeature(10.0), new MeanFeature);

    EXPECT_EQ(DoubleVector({20.0}), valuesOf(feature, DoubleVector({1.0, 3.0})));
}

TEST_F(SignalFeatureComposedTest, StartsEachComputationWithoutTheFormerOnesValues)
{
    SignalFeatureComposed feature(new ScaleFeature(1.0), new MeanFeature);
    valuesOf(feature, DoubleVector({100.0, 200.0}));

    EXPECT_EQ(DoubleVector({3.0}), valuesOf(feature, DoubleVector({3.0})));
}

TEST_F(SignalFeatureComposedTest, AppendsTheOuterFeaturesValuesOnly)
{
    SignalFeatureComposed feature(new ScaleFeature(2.0), new ScaleFeature(3.0));
    DoubleVector vValues{7.0};

    EXPECT_TRUE(feature.compute(DoubleVector({1.0, 2.0}), vValues));

    EXPECT_EQ(DoubleVector({7.0, 6.0, 12.0}), vValues);
}

TEST_F(SignalFeatureComposedTest, FailsWhenTheInnerFeatureFails)
{
    SignalFeatureComposed feature(new FailingFeature, new MeanFeature);
    DoubleVector vValues{7.0};

    EXPECT_FALSE(feature.compute(DoubleVector({1.0}), vValues));

    EXPECT_EQ(DoubleVector({7.0}), vValues);
}

TEST_F(SignalFeatureComposedTest, FailsWhenTheOuterFeatureFails)
{
    DoubleVector vValues;

    EXPECT_FALSE(SignalFeatureComposed(new MeanFeature, new FailingFeature).compute(DoubleVector({1.0}), vValues));
}

TEST_F(SignalFeatureComposedTest, FailsWithoutAnInnerOrAnOuterFeature)
{
    DoubleVector vValues;

    EXPECT_FALSE(SignalFeatureComposed(nullptr, new MeanFeature).compute(DoubleVector({1.0}), vValues));
    EXPECT_FALSE(SignalFeatureComposed(new MeanFeature, nullptr).compute(DoubleVector({1.0}), vValues));
    EXPECT_FALSE(SignalFeatureComposed(nullptr, nullptr).compute(DoubleVector({1.0}), vValues));

    EXPECT_TRUE(vValues.empty());
}

TEST_F(SignalFeatureComposedTest, ResetsBothFeatures)
{
    SignalFeatureComposed feature(new TotalFeature, new TotalFeature);
    valuesOf(feature, DoubleVector({5.0}));
    ASSERT_EQ(DoubleVector({11.0}), valuesOf(feature, DoubleVector({1.0}))); // 5, then 5 + 6

    EXPECT_TRUE(feature.reset());

    EXPECT_EQ(DoubleVector({1.0}), valuesOf(feature, DoubleVector({1.0})));
}

TEST_F(SignalFeatureComposedTest, ResetsWhatCanBeReset)
{
    SignalFeatureComposed feature(new ScaleFeature(1.0), new TotalFeature);
    valuesOf(feature, DoubleVector({5.0}));

    EXPECT_TRUE(feature.reset());
    EXPECT_TRUE(SignalFeatureComposed(new ScaleFeature(1.0), new MeanFeature).reset());
    EXPECT_TRUE(SignalFeatureComposed(nullptr, nullptr).reset());

    EXPECT_EQ(DoubleVector({1.0}), valuesOf(feature, DoubleVector({1.0})));
}

TEST_F(SignalFeatureComposedTest, ResetsTheOuterFeatureAlsoWhenTheInnerOneRefuses)
{
    auto* pInner = new TotalFeature;
    pInner->m_bResets = false;
    SignalFeatureComposed feature(pInner, new TotalFeature);
    valuesOf(feature, DoubleVector({5.0}));

    EXPECT_FALSE(feature.reset());

    EXPECT_EQ(DoubleVector({1.0}), valuesOf(feature, DoubleVector({1.0})));
}

TEST_F(SignalFeatureComposedTest, ClonesBothFeaturesWithTheirMemory)
{
    SignalFeatureComposed feature(new TotalFeature, new TotalFeature);
    valuesOf(feature, DoubleVector({5.0}));

    const std::unique_ptr<SignalFeatureComposed> pClone(feature.clone());

    EXPECT_EQ(DoubleVector({11.0}), valuesOf(*pClone, DoubleVector({1.0})));
    EXPECT_EQ(DoubleVector({11.0}), valuesOf(feature, DoubleVector({1.0}))); // untouched by the clone
    EXPECT_NE(feature.getInner(), pClone->getInner());
    EXPECT_NE(feature.getOuter(), pClone->getOuter());
}

TEST_F(SignalFeatureComposedTest, OwnsBothFeatures)
{
    {
        const SignalFeatureComposed feature(new ScaleFeature(1.0), new TotalFeature);
        EXPECT_EQ(2, AliveCount::s_iNbAlive);
        const std::unique_ptr<SignalFeatureComposed> pClone(feature.clone());
        EXPECT_EQ(4, AliveCount::s_iNbAlive);
    }
    EXPECT_EQ(0, AliveCount::s_iNbAlive);
}

TEST_F(SignalFeatureComposedTest, ComposesComposedFeatures)
{
    SignalFeatureComposed feature(new SignalFeatureComposed(new ScaleFeature(2.0), new ScaleFeature(3.0)),
                                  new TotalFeature);

    EXPECT_EQ(DoubleVector({18.0}), valuesOf(feature, DoubleVector({1.0, 2.0})));
    EXPECT_TRUE(feature.reset());
    EXPECT_EQ(DoubleVector({6.0}), valuesOf(feature, DoubleVector({1.0})));
}

#ifndef NDEBUG
TEST(SignalFeatureComposedDeathTest, RefusesItsInputAsOutputInDebugBuilds)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    SignalFeatureComposed feature(new MeanFeature, new MeanFeature);
    DoubleVector vValues{1.0};

    EXPECT_DEATH(feature.compute(vValues, vValues), "in_vInput");
}
#endif
