// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathSignalFeatureFactory.h"

#include "corvana/MathMeanFeature.h"
#include "corvana/MemAllocator.h"
#include "corvana/Resettable.h"
#include "support/Signals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using Corvana::getMemAccount;
using Corvana::Math::DoubleVector;
using Corvana::Math::MathSignalFeatureFactory;
using Corvana::Math::MeanFeature;
using Corvana::Math::SignalFeature;
using Corvana::Math::SignalFeatureFactory;
using Corvana::Test::valuesOf;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Split
{
    bool m_bWellFormed = false;
    // Left overs of an earlier call, to be replaced.
    std::string m_strFeature = "former";
    std::vector<std::string> m_vParams = {"former", "former"};
};

Split split(const char* in_szDescription)
{
    Split result;
    result.m_bWellFormed = SignalFeatureFactory::splitParams(in_szDescription, result.m_strFeature, result.m_vParams);
    return result;
}

class RecordingFactory : public SignalFeatureFactory
{
public:
    const char* getFactoryName() const override { return "RecordingFactory"; }
    std::vector<std::string> m_vAsked;

protected:
    SignalFeature* getNewBaseFeature(const char* in_szFeatureName) override
    {
        m_vAsked.emplace_back(in_szFeatureName);
        return new MeanFeature;
    }
};

} // namespace

// ---- splitParams

TEST(SplitParams, TakesANameWithoutParameters)
{
    for (const char* szDescription :
         {"spectrum", "spectrum()", " spectrum ", "\tspectrum", "spectrum ( ) ", "spectrum( )", "spectrum\t()"}) {
        const Split result = split(szDescription);
        EXPECT_TRUE(result.m_bWellFormed) << szDescription;
        EXPECT_EQ("spectrum", result.m_strFeature) << szDescription;
        EXPECT_THAT(result.m_vParams, IsEmpty()) << szDescription;
    }
}

TEST(SplitParams, RefusesNull)
{
    const Split result = split(nullptr);

    EXPECT_FALSE(result.m_bWellFormed);
    EXPECT_EQ("", result.m_strFeature);
    EXPECT_THAT(result.m_vParams, IsEmpty());
}

TEST(SplitParams, TakesOneParameter)
{
    for (const char* szDescription : {"peaks(5)", "peaks( 5 )", " peaks (\t5)\t"}) {
        const Split result = split(szDescription);
        EXPECT_TRUE(result.m_bWellFormed) << szDescription;
        EXPECT_EQ("peaks", result.m_strFeature) << szDescription;
        EXPECT_THAT(result.m_vParams, ElementsAre("5")) << szDescription;
    }
}

TEST(SplitParams, TakesParametersInTheirOrder)
{
    EXPECT_THAT(split("spectralrange(1000,100)").m_vParams, ElementsAre("1000", "100"));
    EXPECT_THAT(split("spectralrange( 1000 , 100 )").m_vParams, ElementsAre("1000", "100"));
    EXPECT_THAT(split("f(a,b,c,d)").m_vParams, ElementsAre("a", "b", "c", "d"));
}

TEST(SplitParams, KeepsTheLettersAndTheBlanksInside)
{
    const Split result = split(" Some Name ( A b , -1.5e3 )");

    EXPECT_TRUE(result.m_bWellFormed);
    EXPECT_EQ("Some Name", result.m_strFeature);
    EXPECT_THAT(result.m_vParams, ElementsAre("A b", "-1.5e3"));
}

TEST(SplitParams, RefusesWhatIsMalformedAndEmptiesBothOutputs)
{
    for (const char* szDescription :
         {"",          " ",         "\t",          "()",           "(5)",        " (5)",       "peaks(",
          "peaks(5",   "peaks)",    "peaks5)",     "peaks(5))",    "peaks((5)",  "peaks((5))", "peaks(5)(6)",
          "peaks()()", "peaks(5)x", "peaks(5) x",  "peaks() x",    ")peaks(",    "peaks)5(",   "peaks(,)",
          "peaks(5,)", "peaks(,5)", "peaks(5,,6)", "peaks(5, ,6)", "peaks( , )", "peaks(5,6",  ")",
          "(",         ")("}) {
        const Split result = split(szDescription);
        EXPECT_FALSE(result.m_bWellFormed) << szDescription;
        EXPECT_EQ("", result.m_strFeature) << szDescription;
        EXPECT_THAT(result.m_vParams, IsEmpty()) << szDescription;
    }
}

TEST(SplitParams, TakesThousandsOfParameters)
{
    std::string strDescription = "f(0";
    for (int iParam = 1; iParam < 5000; ++iParam)
        strDescription.append(1, ',').append(std::to_string(iParam));

    const Split result = split((strDescription + ")").c_str());

    ASSERT_EQ(5000u, result.m_vParams.size());
    EXPECT_EQ("4999", result.m_vParams.back());
}

// ---- SignalFeatureFactory

TEST(SignalFeatureFactory, AsksItsClassForTheFeature)
{
    RecordingFactory factory;

    const std::unique_ptr<SignalFeature> pFeature(factory.getNewFeature("peaks(5)"));

    EXPECT_NE(nullptr, pFeature);
    EXPECT_THAT(factory.m_vAsked, ElementsAre("peaks(5)"));
}

TEST(SignalFeatureFactory, MakesNothingOfNull)
{
    RecordingFactory factory;

    EXPECT_EQ(nullptr, factory.getNewFeature(nullptr));

    EXPECT_THAT(factory.m_vAsked, IsEmpty());
}

TEST(SignalFeatureFactory, IsAccountedUnderItsTag)
{
    const auto before = getMemAccount("SignalFeatureFactory");
    {
        const std::unique_ptr<SignalFeatureFactory> pFactory(new RecordingFactory);
        const auto during = getMemAccount("SignalFeatureFactory");
        EXPECT_EQ(before.m_uiLiveBlocks + 1, during.m_uiLiveBlocks);
        EXPECT_EQ(before.m_uiLiveBytes + sizeof(RecordingFactory), during.m_uiLiveBytes);
    }
    const auto after = getMemAccount("SignalFeatureFactory");
    EXPECT_EQ(before.m_uiLiveBlocks, after.m_uiLiveBlocks);
    EXPECT_EQ(before.m_uiLiveBytes, after.m_uiLiveBytes);
}

TEST(SignalFeatureFactory, IsAccountedAlsoWhenDestroyedThroughItsRoot)
{
    const auto before = getMemAccount("SignalFeatureFactory");

    delete static_cast<Corvana::Object*>(new RecordingFactory);

    EXPECT_EQ(before.m_uiLiveBytes, getMemAccount("SignalFeatureFactory").m_uiLiveBytes);
    EXPECT_EQ(before.m_uiTotalBlocks + 1, getMemAccount("SignalFeatureFactory").m_uiTotalBlocks);
}

// ---- MathSignalFeatureFactory

TEST(MathSignalFeatureFactory, SaysItsName)
{
    EXPECT_STREQ("MathSignalFeatureFactory", MathSignalFeatureFactory().getFactoryName());
}

TEST(MathSignalFeatureFactory, MakesAMeanFeatureThatCanBeReset)
{
    MathSignalFeatureFactory factory;

    const std::unique_ptr<SignalFeature> pFeature(factory.getNewFeature("TemporalMean_Mean_Amplitude"));

    ASSERT_NE(nullptr, pFeature);
    EXPECT_NE(nullptr, dynamic_cast<MeanFeature*>(pFeature.get()));
    EXPECT_NE(nullptr, dynamic_cast<Corvana::Math::SignalFeatureWithMemory*>(pFeature.get()));
    auto* pResettable = dynamic_cast<Corvana::Resettable*>(pFeature.get());
    ASSERT_NE(nullptr, pResettable);
    EXPECT_TRUE(pResettable->reset());
    EXPECT_EQ(DoubleVector({2.0}), valuesOf(*pFeature, DoubleVector({1.0, 3.0})));
}

TEST(MathSignalFeatureFactory, MakesAFeatureWhoseClonesCanBeResetToo)
{
    MathSignalFeatureFactory factory;
    const std::unique_ptr<SignalFeature> pFeature(factory.getNewFeature("TemporalMean_Mean_Amplitude"));
    ASSERT_NE(nullptr, pFeature);

    const std::unique_ptr<SignalFeature> pClone(pFeature->clone());

    const SignalFeature& feature = *pFeature;
    const SignalFeature& clone = *pClone;
    EXPECT_EQ(typeid(feature), typeid(clone));
}

TEST(MathSignalFeatureFactory, MakesNothingElse)
{
    MathSignalFeatureFactory factory;

    for (const char* szName :
         {"", "mean", "temporalmean_mean_amplitude", "TemporalMean_Mean_Amplitude()", "TemporalMean_Mean_Amplitude ",
          " TemporalMean_Mean_Amplitude", "TemporalMean_Mean_Amplitud", "spectrum"})
        EXPECT_EQ(nullptr, factory.getNewFeature(szName)) << szName;
}
