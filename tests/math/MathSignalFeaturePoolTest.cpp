// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathSignalFeaturePool.h"

#include "CountedFeatures.h"
#include "corvana/MathMeanFeature.h"
#include "corvana/MathSignalFeatureComposed.h"
#include "corvana/MemAllocator.h"
#include "support/Signals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

using Corvana::getMemAccount;
using Corvana::Math::DoubleVector;
using Corvana::Math::MathSignalFeatureFactory;
using Corvana::Math::SignalFeature;
using Corvana::Math::SignalFeatureComposed;
using Corvana::Math::SignalFeatureFactory;
using Corvana::Math::SignalFeaturePool;
using Corvana::Test::AliveCount;
using Corvana::Test::ScaleFeature;
using Corvana::Test::TotalFeature;
using Corvana::Test::valuesOf;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Makes "double", "triple", "total"; notes what it is asked for.
class TestFactory : public SignalFeatureFactory
{
public:
    explicit TestFactory(std::vector<std::string>& out_vAsked, double in_dFactor = 1.0)
        : m_vAsked(out_vAsked)
        , m_dFactor(in_dFactor)
    {
    }
    const char* getFactoryName() const override { return "TestFactory"; }

protected:
    SignalFeature* getNewBaseFeature(const char* in_szFeatureName) override
    {
        const std::string strName = in_szFeatureName;
        m_vAsked.push_back(strName);
        if (strName == "double")
            return new ScaleFeature(2.0 * m_dFactor);
        if (strName == "triple(1, 2)")
            return new ScaleFeature(3.0 * m_dFactor);
        if (strName == "total")
            return new TotalFeature;
        if (strName == "no memory")
            throw std::bad_alloc();
        return nullptr;
    }

private:
    std::vector<std::string>& m_vAsked;
    double m_dFactor;
};

class SignalFeaturePoolTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(0, AliveCount::s_iNbAlive); }
    void TearDown() override { EXPECT_EQ(0, AliveCount::s_iNbAlive); }

    // A pool with one factory.
    SignalFeaturePool& pool()
    {
        if (m_pool.getNbOfFactories() == 0)
            m_pool.addFactory(new TestFactory(m_vAsked));
        return m_pool;
    }
    std::unique_ptr<SignalFeature> made(const char* in_szDescription)
    {
        return std::unique_ptr<SignalFeature>(pool().getNewFeature(in_szDescription));
    }

    std::vector<std::string> m_vAsked;

private:
    SignalFeaturePool m_pool;
};

std::uint64_t nbOfLiveFactories()
{
    return getMemAccount("SignalFeatureFactory").m_uiLiveBlocks;
}

} // namespace

// ---- Factories

TEST_F(SignalFeaturePoolTest, MakesNothingWithoutFactories)
{
    const SignalFeaturePool pool;

    EXPECT_EQ(0u, pool.getNbOfFactories());
    EXPECT_EQ(nullptr, pool.getNewFeature("double"));
}

TEST_F(SignalFeaturePoolTest, OwnsTheFactoriesThatItTakes)
{
    const std::uint64_t uiNbAtStart = nbOfLiveFactories();
    {
        SignalFeaturePool pool;
        EXPECT_TRUE(pool.addFactory(new TestFactory(m_vAsked)));
        EXPECT_TRUE(pool.addFactory(new MathSignalFeatureFactory));
        EXPECT_EQ(2u, pool.getNbOfFactories());
        EXPECT_EQ(uiNbAtStart + 2, nbOfLiveFactories());
    }
    EXPECT_EQ(uiNbAtStart, nbOfLiveFactories());
}

TEST_F(SignalFeaturePoolTest, RefusesNull)
{
    SignalFeaturePool pool;

    EXPECT_FALSE(pool.addFactory(nullptr));

    EXPECT_EQ(0u, pool.getNbOfFactories());
}

TEST_F(SignalFeaturePoolTest, RefusesAFactoryThatItOwnsAlready)
{
    SignalFeaturePool pool;
    auto* pFactory = new TestFactory(m_vAsked);
    ASSERT_TRUE(pool.addFactory(pFactory));

    EXPECT_FALSE(pool.addFactory(pFactory));

    EXPECT_EQ(1u, pool.getNbOfFactories());
}

TEST_F(SignalFeaturePoolTest, AsksTheFactoriesInOrderAndTakesTheFirstFeature)
{
    std::vector<std::string> vAskedFirst;
    std::vector<std::string> vAskedSecond;
    SignalFeaturePool pool;
    pool.addFactory(new MathSignalFeatureFactory);
    pool.addFactory(new TestFactory(vAskedFirst));
    pool.addFactory(new TestFactory(vAskedSecond, 100.0));

    const std::unique_ptr<SignalFeature> pFeature(pool.getNewFeature("double"));

    ASSERT_NE(nullptr, pFeature);
    EXPECT_EQ(DoubleVector({2.0}), valuesOf(*pFeature, DoubleVector({1.0})));
    EXPECT_THAT(vAskedFirst, ElementsAre("double"));
    EXPECT_THAT(vAskedSecond, IsEmpty());
}

TEST_F(SignalFeaturePoolTest, AsksAllFactoriesBeforeItGivesUp)
{
    std::vector<std::string> vAskedFirst;
    std::vector<std::string> vAskedSecond;
    SignalFeaturePool pool;
    pool.addFactory(new TestFactory(vAskedFirst));
    pool.addFactory(new TestFactory(vAskedSecond));

    EXPECT_EQ(nullptr, pool.getNewFeature("quadruple"));

    EXPECT_THAT(vAskedFirst, ElementsAre("quadruple"));
    EXPECT_THAT(vAskedSecond, ElementsAre("quadruple"));
}

// ---- Descriptions

TEST_F(SignalFeaturePoolTest, HandsTheDescriptionOnWithoutTheBlanksAroundIt)
{
    const auto pFeature = made(" \ttriple(1, 2) ");

    EXPECT_NE(nullptr, pFeature);
    EXPECT_THAT(m_vAsked, ElementsAre("triple(1, 2)"));
}

TEST_F(SignalFeaturePoolTest, MakesNothingOfNullAndOfEmptyDescriptions)
{
    EXPECT_EQ(nullptr, made(nullptr));
    EXPECT_EQ(nullptr, made(""));
    EXPECT_EQ(nullptr, made(" \t"));

    EXPECT_THAT(m_vAsked, IsEmpty());
}

TEST_F(SignalFeaturePoolTest, MakesANewFeatureEachTime)
{
    const auto pFirst = made("double");
    const auto pSecond = made("double");

    EXPECT_NE(pFirst.get(), pSecond.get());
}

TEST_F(SignalFeaturePoolTest, MakesAPlainFeatureOfASingleStage)
{
    const auto pFeature = made("double");

    EXPECT_NE(nullptr, dynamic_cast<ScaleFeature*>(pFeature.get()));
}

// ---- Chains

TEST_F(SignalFeaturePoolTest, ComposesStagesFromLeftToRight)
{
    // Twice 1 is 2; the total then keeps growing by the doubled values.
    const auto pFeature = made("double|total");

    ASSERT_NE(nullptr, pFeature);
    EXPECT_NE(nullptr, dynamic_cast<SignalFeatureComposed*>(pFeature.get()));
    EXPECT_EQ(DoubleVector({2.0}), valuesOf(*pFeature, DoubleVector({1.0})));
    EXPECT_EQ(DoubleVector({8.0}), valuesOf(*pFeature, DoubleVector({1.0, 2.0})));
}

TEST_F(SignalFeaturePoolTest, ComposesManyStages)
{
    const auto pFeature = made(" double | triple(1, 2) |total| double");

    ASSERT_NE(nullptr, pFeature);
    EXPECT_EQ(DoubleVector({36.0}), valuesOf(*pFeature, DoubleVector({1.0, 2.0}))); // ((1 + 2) * 6) * 2
    EXPECT_THAT(m_vAsked, ElementsAre("double", "triple(1, 2)", "total", "double"));
}

TEST_F(SignalFeaturePoolTest, MakesChainsThatCanBeReset)
{
    const auto pFeature = made("double|total|double");
    ASSERT_NE(nullptr, pFeature);
    valuesOf(*pFeature, DoubleVector({5.0}));

    auto* pResettable = dynamic_cast<Corvana::Resettable*>(pFeature.get());

    ASSERT_NE(nullptr, pResettable);
    EXPECT_TRUE(pResettable->reset());
    EXPECT_EQ(DoubleVector({4.0}), valuesOf(*pFeature, DoubleVector({1.0})));
}

TEST_F(SignalFeaturePoolTest, TakesStagesFromSeveralFactories)
{
    pool().addFactory(new MathSignalFeatureFactory);

    const auto pFeature = made("double|TemporalMean_Mean_Amplitude");

    ASSERT_NE(nullptr, pFeature);
    EXPECT_EQ(DoubleVector({4.0}), valuesOf(*pFeature, DoubleVector({1.0, 3.0})));
}

TEST_F(SignalFeaturePoolTest, MakesNothingWhenAStageIsUnknownOrEmpty)
{
    for (const char* szDescription : {"unknown|double", "double|unknown", "double|unknown|total", "double|", "|double",
                                      "double||total", "double| |total", "|", " | ", "||"})
        EXPECT_EQ(nullptr, made(szDescription)) << szDescription;

    EXPECT_EQ(0, AliveCount::s_iNbAlive);
}

TEST_F(SignalFeaturePoolTest, LosesNothingWhenAFactoryThrows)
{
    EXPECT_THROW(made("double|total|no memory"), std::bad_alloc);

    EXPECT_EQ(0, AliveCount::s_iNbAlive);
}

TEST_F(SignalFeaturePoolTest, MakesLongChains)
{
    std::string strDescription = "total";
    for (int iStage = 0; iStage < 200; ++iStage)
        strDescription += "|total";

    const auto pFeature = made(strDescription.c_str());

    ASSERT_NE(nullptr, pFeature);
    EXPECT_EQ(DoubleVector({1.0}), valuesOf(*pFeature, DoubleVector({1.0})));
}

TEST_F(SignalFeaturePoolTest, RefusesChainsOfMoreThan256Stages)
{
    std::string strDescription = "total";
    for (int iStage = 1; iStage < 256; ++iStage)
        strDescription += "|total";

    EXPECT_NE(nullptr, made(strDescription.c_str()));
    EXPECT_EQ(nullptr, made((strDescription + "|total").c_str()));
}

TEST_F(SignalFeaturePoolTest, MakesFeaturesThatOutliveIt)
{
    std::unique_ptr<SignalFeature> pFeature;
    {
        SignalFeaturePool pool;
        pool.addFactory(new TestFactory(m_vAsked));
        pFeature.reset(pool.getNewFeature("double|total"));
    }

    ASSERT_NE(nullptr, pFeature);
    EXPECT_EQ(DoubleVector({2.0}), valuesOf(*pFeature, DoubleVector({1.0})));
}
