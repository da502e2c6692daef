// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioXprFunctions.h"

#include "corvana/MathXprRegistry.h"
#include "corvana/MathXprUserFunction.h"
#include "corvana/MemAllocator.h"
#include "corvana/TrieConfiguration.h"
#include "support/LogCapture.h"
#include "support/Signals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using Corvana::Handle;
using Corvana::LimitedObjPtr;
using Corvana::ParameterTrie;
using Corvana::ParameterValue;
using Corvana::Resettable;
using Corvana::TrieConfiguration;
using Corvana::XprHarmonicProduct;
using Corvana::XprLowFreqEnergyRatios;
using Corvana::XprMaxSpectralRanges;
using Corvana::XprPeaks;
using Corvana::XprSilenceRatio;
using Corvana::XprSpectralRange;
using Corvana::Math::DoubleVector;
using Corvana::Math::Xpr::ExpressionBaseImpl;
using Corvana::Math::Xpr::ExpressionImplCopier;
using Corvana::Math::Xpr::FunctionAdaptor;
using Corvana::Math::Xpr::FunctionBaseImpl;
using Corvana::Math::Xpr::NoMemoryFunctionImpl;
using Corvana::Math::Xpr::NoParamFunctionImpl;
using Corvana::Math::Xpr::Registry;
using Corvana::Math::Xpr::SignalFeatureFunctionAdaptorImpl;
using Corvana::Math::Xpr::SingleVariableFunctionImpl;
using Corvana::Math::Xpr::UserFunctionImpl;
using Corvana::Math::Xpr::VariableImpl;
using Corvana::Test::AssertionCapture;
using Corvana::Test::LogCapture;
using Corvana::Test::noise;
using Corvana::Test::sameBits;
using Corvana::Test::sine;
using Corvana::Test::valuesOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace Audio = Corvana::Audio;

namespace {

Handle<FunctionBaseImpl> newFunction(const char* in_szName)
{
    return Registry::getInstance().newFunction(in_szName);
}

Handle<VariableImpl> newVariable(const char* in_szName, const DoubleVector& in_vValue)
{
    const Handle<VariableImpl> hVariable(new VariableImpl(in_szName));
    hVariable->setValue(in_vValue);
    return hVariable;
}

// A function whose "x" is a variable with this value.
Handle<FunctionBaseImpl> functionOf(const char* in_szName, const DoubleVector& in_vValue)
{
    Handle<FunctionBaseImpl> hFunction = newFunction(in_szName);
    EXPECT_TRUE(hFunction->bindArgument(0, newVariable("x", in_vValue)));
    return hFunction;
}

std::vector<std::string> parametersOf(const FunctionBaseImpl& in_function)
{
    std::vector<std::string> vNames;
    for (long iIndex = 0; iIndex < in_function.getNbOfParameters(); ++iIndex)
        vNames.push_back(in_function.getParameter(iIndex));
    return vNames;
}

DoubleVector valueOf(ExpressionBaseImpl& inout_node)
{
    LimitedObjPtr<DoubleVector> pResult;
    EXPECT_TRUE(inout_node.evaluate(pResult));
    return pResult.isNull() ? DoubleVector() : *pResult;
}

TrieConfiguration configuration(const std::vector<std::pair<const char*, ParameterValue>>& in_vValues)
{
    ParameterTrie trie;
    for (const auto& [szKey, value] : in_vValues)
        trie.insert(szKey, value);
    return TrieConfiguration(trie);
}

TrieConfiguration rangeConfiguration(long in_iFrequencyHz, long in_iWidthHz)
{
    return configuration({{"frequencyHz", ParameterValue(in_iFrequencyHz)}, {"widthHz", ParameterValue(in_iWidthHz)}});
}

DoubleVector spectrum()
{
    return valuesOf(Audio::SpectrumFeature(), noise(256));
}

constexpr std::array<const char*, 8> s_aszNames = {
    "spectrum", "flatness",      "harmonicProduct",   "silenceRatio",
    "peaks",    "spectralRange", "maxSpectralRanges", "lowFreqEnergyRatios"};

std::uint64_t liveBlocks(const char* in_szTag)
{
    return Corvana::getMemAccount(in_szTag).m_uiLiveBlocks;
}

} // namespace

// ---- What loading registers

TEST(AudioXprFunctions, AreExactlyTheEightNamesInTheRegistry)
{
    EXPECT_THAT(Registry::getInstance().getFunctionNames(),
                UnorderedElementsAre("spectrum", "flatness", "harmonicProduct", "silenceRatio", "peaks",
                                     "spectralRange", "maxSpectralRanges", "lowFreqEnergyRatios"));
}

TEST(AudioXprFunctions, AreFoundByTheirExactSpellingOnly)
{
    for (const char* szName : {"Spectrum", "SPECTRUM", "spectralrange", "spectrum ", "spectru", ""})
        EXPECT_TRUE(newFunction(szName).isNull()) << szName;
}

TEST(AudioXprFunctions, CannotBeRegisteredTwice)
{
    using AllocatorT = Registry::ExpressionAllocatorT<UserFunctionImpl<Audio::FlatnessFeature>>;
    const auto pAllocator = std::make_unique<AllocatorT>();
    LogCapture log;

    EXPECT_FALSE(Registry::getInstance().registerFunction("flatness", pAllocator.get()));

    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_FALSE(newFunction("flatness").isNull());
}

TEST(AudioXprFunctions, MakeANewNodeEachTime)
{
    EXPECT_NE(newFunction("peaks").get(), newFunction("peaks").get());
}

TEST(AudioXprFunctions, AreNodesOfTheirFunctionObjects)
{
    EXPECT_FALSE(newFunction("spectrum").cast<UserFunctionImpl<Audio::SpectrumFeature>>().isNull());
    EXPECT_FALSE(newFunction("flatness").cast<UserFunctionImpl<Audio::FlatnessFeature>>().isNull());
    EXPECT_FALSE(newFunction("harmonicProduct").cast<UserFunctionImpl<XprHarmonicProduct>>().isNull());
    EXPECT_FALSE(newFunction("silenceRatio").cast<UserFunctionImpl<XprSilenceRatio>>().isNull());
    EXPECT_FALSE(newFunction("peaks").cast<UserFunctionImpl<XprPeaks>>().isNull());
    EXPECT_FALSE(newFunction("spectralRange").cast<UserFunctionImpl<XprSpectralRange>>().isNull());
    EXPECT_FALSE(newFunction("maxSpectralRanges").cast<UserFunctionImpl<XprMaxSpectralRanges>>().isNull());
    EXPECT_FALSE(newFunction("lowFreqEnergyRatios").cast<UserFunctionImpl<XprLowFreqEnergyRatios>>().isNull());
}

// ---- New nodes

namespace {

class EveryXprFunction : public testing::TestWithParam<const char*>
{
};

INSTANTIATE_TEST_SUITE_P(AudioXprFunctions, EveryXprFunction, testing::ValuesIn(s_aszNames),
                         [](const auto& in_info) { return std::string(in_info.param); });

} // namespace

TEST_P(EveryXprFunction, BearsItsNameAndHasOneUnboundArgumentX)
{
    const Handle<FunctionBaseImpl> hFunction = newFunction(GetParam());

    EXPECT_EQ(GetParam(), hFunction->getName());
    ASSERT_EQ(1, hFunction->getNbOfArguments());
    EXPECT_EQ("x", hFunction->getArgument(0).m_strName);
    EXPECT_EQ(-1, hFunction->getArgument(0).m_iChildIndex);
    EXPECT_EQ(0, hFunction->getNbOfChildren());
}

TEST_P(EveryXprFunction, HasTheParametersOfTheTable)
{
    const Handle<FunctionBaseImpl> hFunction = newFunction(GetParam());

    const std::string strName = GetParam();
    const std::vector<std::string> vExpected =
        strName == "spectralRange" ? std::vector<std::string>{"spectralrange.frequencyHz", "spectralrange.widthHz"}
        : strName == "maxSpectralRanges" ? std::vector<std::string>{"maxspectralranges.frequenciesList"}
                                         : std::vector<std::string>();
    EXPECT_EQ(vExpected, parametersOf(*hFunction));
}

TEST_P(EveryXprFunction, FailsWithoutAnArgument)
{
    const Handle<FunctionBaseImpl> hFunction = newFunction(GetParam());
    DoubleVector vFormer{7.0};
    LimitedObjPtr<DoubleVector> pResult(&vFormer);

    EXPECT_FALSE(hFunction->evaluate(pResult));
    EXPECT_FALSE(hFunction->evaluate(pResult));

    EXPECT_EQ(&vFormer, pResult.get());
}

TEST_P(EveryXprFunction, FailsWhileItsVariableHasNoValue)
{
    const Handle<FunctionBaseImpl> hFunction = newFunction(GetParam());
    ASSERT_TRUE(hFunction->bindArgument(0, Handle<VariableImpl>(new VariableImpl("x"))));
    LogCapture log("kestrivon", 40000);
    LimitedObjPtr<DoubleVector> pResult;

    EXPECT_FALSE(hFunction->evaluate(pResult));

    EXPECT_TRUE(pResult.isNull());
    EXPECT_THAT(log.texts(), ElementsAre("Variable without a value : x"));
}

TEST_P(EveryXprFunction, FailsWhenItsChildIsNoVariable)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf(GetParam(), noise(64));
    const Handle<ExpressionBaseImpl> hOther = newFunction("flatness");
    ASSERT_TRUE(hFunction->replace(hFunction->getChildAt(0), hOther));
    LimitedObjPtr<DoubleVector> pResult;

    EXPECT_FALSE(hFunction->evaluate(pResult));

    EXPECT_TRUE(pResult.isNull());
}

TEST_P(EveryXprFunction, GivesBackAllItsMemory)
{
    const std::uint64_t uiNodes = liveBlocks("UserFunctionImpl");
    const std::uint64_t uiCounts = liveBlocks("ReferenceCount");
    {
        const Handle<FunctionBaseImpl> hFunction = functionOf(GetParam(), noise(64));
        EXPECT_EQ(uiNodes + 1, liveBlocks("UserFunctionImpl"));
        EXPECT_EQ(uiCounts + 2, liveBlocks("ReferenceCount")); // the function's and the variable's

        ExpressionImplCopier copier;
        const Handle<ExpressionBaseImpl> hCopy = copier.copyOf(hFunction);
        EXPECT_EQ(uiNodes + 2, liveBlocks("UserFunctionImpl"));
        EXPECT_EQ(uiCounts + 4, liveBlocks("ReferenceCount"));
    }
    EXPECT_EQ(uiNodes, liveBlocks("UserFunctionImpl"));
    EXPECT_EQ(uiCounts, liveBlocks("ReferenceCount"));
}

TEST_P(EveryXprFunction, HasNothingToResetAndDependsOnItsChildrenOnly)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf(GetParam(), noise(64));

    EXPECT_TRUE(hFunction->reset());
    EXPECT_TRUE(hFunction->isDependantOf(hFunction->getChildAt(0)));
    EXPECT_FALSE(hFunction->isDependantOf(newFunction("peaks")));
    EXPECT_FALSE(hFunction->isDependantOf(Handle<ExpressionBaseImpl>()));
}

TEST_P(EveryXprFunction, IsWrittenAsACall)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf(GetParam(), noise(64));
    std::ostringstream stream;

    hFunction->write(stream);

    EXPECT_EQ(std::string(GetParam()) + "(x)", stream.str());
}

TEST(UserFunctionImpl, CountsFourBytesForEachHandle)
{
    const std::uint64_t uiBytes = Corvana::getMemAccount("ReferenceCount").m_uiLiveBytes;

    const Handle<FunctionBaseImpl> hFunction = newFunction("peaks");

    EXPECT_EQ(uiBytes + 4, Corvana::getMemAccount("ReferenceCount").m_uiLiveBytes);
}

namespace {

template <class FunctionT>
class EveryFunctionObject : public testing::Test
{
};

using FunctionObjects =
    testing::Types<Audio::SpectrumFeature, Audio::FlatnessFeature, XprHarmonicProduct, XprSilenceRatio, XprPeaks,
                   XprSpectralRange, XprMaxSpectralRanges, XprLowFreqEnergyRatios>;
TYPED_TEST_SUITE(EveryFunctionObject, FunctionObjects);

} // namespace

TYPED_TEST(EveryFunctionObject, MakesABareNodeUnamedAndWithoutArguments)
{
    const UserFunctionImpl<TypeParam> node(true);

    EXPECT_EQ("unamed", node.getName());
    EXPECT_EQ(0, node.getNbOfArguments());
    EXPECT_EQ(0, node.getNbOfParameters());
    EXPECT_EQ(0, node.getNbOfChildren());
}

TYPED_TEST(EveryFunctionObject, FailsToEvaluateABareNode)
{
    UserFunctionImpl<TypeParam> node(true);
    LimitedObjPtr<DoubleVector> pResult;

    EXPECT_FALSE(node.evaluate(pResult));

    EXPECT_TRUE(pResult.isNull());
}

TYPED_TEST(EveryFunctionObject, IsAnAdaptorOfTheVariableX)
{
    TypeParam function;
    SingleVariableFunctionImpl& single = function;
    FunctionAdaptor& adaptor = function; // ambiguous, were there several
    Resettable& resettable = function;
    std::vector<std::string> vNames;

    single.getArgumentNames(vNames);

    EXPECT_EQ("x", single.getVariableName());
    EXPECT_THAT(vNames, ElementsAre("x"));
    EXPECT_EQ(&resettable, static_cast<Resettable*>(&adaptor));
    EXPECT_TRUE(adaptor.reset());
    EXPECT_FALSE(newFunction(single.getFunctionName().c_str()).isNull());
}

TYPED_TEST(EveryFunctionObject, FailsToCalculateWithoutItsVariable)
{
    TypeParam function;
    DoubleVector vValue = noise(64);
    FunctionAdaptor::Arguments none;
    FunctionAdaptor::Arguments other{{"y", LimitedObjPtr<DoubleVector>(&vValue)}};
    FunctionAdaptor::Arguments null{{"x", LimitedObjPtr<DoubleVector>()}};
    DoubleVector vResult{7.0};

    EXPECT_FALSE(function.calculate(none, vResult));
    EXPECT_FALSE(function.calculate(other, vResult));
    EXPECT_FALSE(function.calculate(null, vResult));

    EXPECT_EQ(DoubleVector({7.0}), vResult);
}

TEST(AudioXprFunctions, AreDerivedAsTheirKindsSay)
{
    using namespace Corvana::Math::Xpr;
    EXPECT_TRUE((std::is_base_of_v<SignalFeatureFunctionAdaptorImpl, Audio::SpectrumFeature>));
    EXPECT_TRUE((std::is_base_of_v<SignalFeatureFunctionAdaptorImpl, Audio::FlatnessFeature>));
    EXPECT_TRUE(
        (std::is_base_of_v<SignalFeatureToFunctionAdaptorImpl<Audio::HarmonicProductFeature>, XprHarmonicProduct>));
    EXPECT_TRUE(
        (std::is_base_of_v<SignalFeatureToFunctionAdaptorImpl<Audio::SilenceRatioFeatureT<50>>, XprSilenceRatio>));
    EXPECT_TRUE((std::is_base_of_v<SignalFeatureToFunctionAdaptorImpl<Audio::PeaksFeature>, XprPeaks>));
    EXPECT_TRUE((std::is_base_of_v<SignalFeatureToFunctionAdaptorImpl<Audio::LowFreqEnergyRatiosFeature>,
                                   XprLowFreqEnergyRatios>));
    EXPECT_TRUE((std::is_base_of_v<SignalFeatureWithParamAdaptorImpl<Audio::SpectralRangeFeature>, XprSpectralRange>));
    EXPECT_TRUE(
        (std::is_base_of_v<SignalFeatureWithParamAdaptorImpl<Audio::MaxSpectralRangesFeature>, XprMaxSpectralRanges>));
    EXPECT_TRUE((std::is_base_of_v<NoParamFunctionImpl, XprPeaks>));
    EXPECT_FALSE((std::is_base_of_v<NoParamFunctionImpl, XprSpectralRange>));
    EXPECT_TRUE((std::is_base_of_v<NoMemoryFunctionImpl, XprPeaks>));
    EXPECT_TRUE((std::is_base_of_v<NoMemoryFunctionImpl, XprSpectralRange>));
}

// ---- Parameters

TEST(XprSpectralRange, NamesItsParametersBehindItsKindInSmallLetters)
{
    std::vector<std::string> vNames{"former"};

    XprSpectralRange().getParameterNames(vNames);

    EXPECT_THAT(vNames, ElementsAre("former", "spectralrange.frequencyHz", "spectralrange.widthHz"));
    EXPECT_EQ("spectralrange.", XprSpectralRange::paramPrefixName());
    EXPECT_EQ(&XprSpectralRange::paramPrefixName(), &XprSpectralRange::paramPrefixName());
}

TEST(XprMaxSpectralRanges, NamesItsParameterBehindItsKindInSmallLetters)
{
    std::vector<std::string> vNames{"former"};

    XprMaxSpectralRanges().getParameterNames(vNames);

    EXPECT_THAT(vNames, ElementsAre("former", "maxspectralranges.frequenciesList"));
    EXPECT_EQ("maxspectralranges.", XprMaxSpectralRanges::paramPrefixName());
}

TEST(UserFunctionImpl, IsConfiguredByPlainKeys)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf("spectralRange", spectrum());

    EXPECT_TRUE(hFunction->configure(rangeConfiguration(1000, 100), {}));

    EXPECT_TRUE(sameBits(valuesOf(Audio::SpectralRangeFeature(1000, 100), spectrum()), valueOf(*hFunction)));
}

namespace {

// Opens what configure() calls, for the keys that stand there.
class OpenSpectralRange : public UserFunctionImpl<XprSpectralRange>
{
public:
    using UserFunctionImpl::configure_i;
    using UserFunctionImpl::UserFunctionImpl;
};

} // namespace

TEST(UserFunctionImpl, GivesItsFeatureThePlainKeysOfConfigureI)
{
    OpenSpectralRange node(false);
    node.bindArgument(0, newVariable("x", spectrum()));

    EXPECT_TRUE(node.configure_i(rangeConfiguration(1010, 0), {}));

    EXPECT_TRUE(sameBits(valuesOf(Audio::SpectralRangeFeature(1010, 0), spectrum()), valueOf(node)));
}

TEST(UserFunctionImpl, ReportsAFailedConfiguration)
{
    OpenSpectralRange node(false);
    LogCapture log("kestrivon", 40000);

    EXPECT_FALSE(node.configure_i(TrieConfiguration(), {}));
    EXPECT_FALSE(node.configure(TrieConfiguration(), {}));

    EXPECT_THAT(log.texts(), ElementsAre("Parameter frequencyHz is not set for spectral range feature",
                                         "Parameter frequencyHz is not set for spectral range feature"));
}

TEST(UserFunctionImpl, IsConfiguredByFullParameterNames)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf("spectralRange", spectrum());

    EXPECT_TRUE(hFunction->configure(configuration({{"spectralrange.frequencyHz", ParameterValue(500L)},
                                                    {"spectralrange.widthHz", ParameterValue("50")},
                                                    {"maxspectralranges.frequenciesList", ParameterValue("7")}}),
                                     {}));

    EXPECT_TRUE(sameBits(valuesOf(Audio::SpectralRangeFeature(500, 50), spectrum()), valueOf(*hFunction)));
}

TEST(UserFunctionImpl, PrefersFullParameterNamesToPlainKeys)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf("spectralRange", spectrum());

    EXPECT_TRUE(hFunction->configure(configuration({{"spectralrange.frequencyHz", ParameterValue(500L)},
                                                    {"frequencyHz", ParameterValue(1000L)},
                                                    {"widthHz", ParameterValue(0L)}}),
                                     {}));

    EXPECT_TRUE(sameBits(valuesOf(Audio::SpectralRangeFeature(500, 0), spectrum()), valueOf(*hFunction)));
}

TEST(UserFunctionImpl, PrefersValuesOfTheCallToEveryConfiguration)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf("spectralRange", spectrum());
    ASSERT_TRUE(hFunction->setParameterValue("spectralrange.frequencyHz", ParameterValue(2000L)));
    ASSERT_TRUE(hFunction->setParameterValue("widthHz", ParameterValue(32L)));

    EXPECT_TRUE(hFunction->configure(configuration({{"spectralrange.frequencyHz", ParameterValue(500L)},
                                                    {"frequencyHz", ParameterValue(1000L)},
                                                    {"widthHz", ParameterValue(0L)}}),
                                     {}));

    EXPECT_TRUE(sameBits(valuesOf(Audio::SpectralRangeFeature(2000, 32), spectrum()), valueOf(*hFunction)));
}

TEST(UserFunctionImpl, TakesTheLastValueOfAParameter)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf("spectralRange", spectrum());
    ASSERT_TRUE(hFunction->setParameterValue("frequencyHz", ParameterValue(2000L)));
    ASSERT_TRUE(hFunction->setParameterValue("widthHz", ParameterValue(0L)));
    ASSERT_TRUE(hFunction->setParameterValue("frequencyHz", ParameterValue(1000L)));
    std::ostringstream stream;

    EXPECT_TRUE(hFunction->configure(TrieConfiguration(), {}));
    hFunction->write(stream);

    EXPECT_TRUE(sameBits(valuesOf(Audio::SpectralRangeFeature(1000, 0), spectrum()), valueOf(*hFunction)));
    EXPECT_EQ("spectralRange(x, widthHz=0, frequencyHz=1000)", stream.str());
}

TEST(UserFunctionImpl, RefusesUnknownParameters)
{
    const Handle<FunctionBaseImpl> hFunction = newFunction("spectralRange");

    EXPECT_FALSE(hFunction->setParameterValue("frequencyhz", ParameterValue(1L)));
    EXPECT_FALSE(hFunction->setParameterValue("maxspectralranges.frequencyHz", ParameterValue(1L)));
    EXPECT_FALSE(newFunction("peaks")->setParameterValue("frequencyHz", ParameterValue(1L)));
}

TEST(UserFunctionImpl, ConfiguresFunctionsWithoutParametersWithAnything)
{
    for (const char* szName :
         {"spectrum", "flatness", "harmonicProduct", "silenceRatio", "peaks", "lowFreqEnergyRatios"})
        EXPECT_TRUE(newFunction(szName)->configure(TrieConfiguration(), {})) << szName;
}

TEST(UserFunctionImpl, ConfiguresTheListOfRanges)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf("maxSpectralRanges", spectrum());
    Audio::MaxSpectralRangesFeature feature;
    feature.addSpectralRange(440, 20);
    feature.addSpectralRange(480, 20);

    EXPECT_TRUE(
        hFunction->configure(configuration({{"maxspectralranges.frequenciesList", ParameterValue("440, 480")}}), {}));

    EXPECT_TRUE(sameBits(valuesOf(feature, spectrum()), valueOf(*hFunction)));
}

TEST(UserFunctionImpl, HasDefaultFeatureSettingsUntilConfigured)
{
    const Handle<FunctionBaseImpl> hRange = functionOf("spectralRange", spectrum());
    const Handle<FunctionBaseImpl> hRanges = functionOf("maxSpectralRanges", spectrum());
    AssertionCapture assertions;
    LimitedObjPtr<DoubleVector> pResult;

    EXPECT_FALSE(hRange->evaluate(pResult));
    EXPECT_FALSE(hRanges->evaluate(pResult));

    EXPECT_TRUE(pResult.isNull());
    EXPECT_THAT(assertions.texts(), ElementsAre("m_uiCenterFrequency > 0"));
}

// ---- Evaluating

TEST(UserFunctionImpl, GivesTheSameResultObjectEachTime)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf("spectrum", noise(64));
    LimitedObjPtr<DoubleVector> pFirst;
    LimitedObjPtr<DoubleVector> pSecond;

    ASSERT_TRUE(hFunction->evaluate(pFirst));
    hFunction->getChildAt(0).cast<VariableImpl>()->setValue(noise(64, 2));
    ASSERT_TRUE(hFunction->evaluate(pSecond));

    EXPECT_EQ(pFirst.get(), pSecond.get());
    EXPECT_TRUE(sameBits(valuesOf(Audio::SpectrumFeature(), noise(64, 2)), *pSecond));
}

TEST(UserFunctionImpl, ReplacesItsFormerValues)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf("spectrum", noise(64));

    valueOf(*hFunction);
    valueOf(*hFunction);

    EXPECT_TRUE(sameBits(valuesOf(Audio::SpectrumFeature(), noise(64)), valueOf(*hFunction)));
}

TEST(UserFunctionImpl, ResolvesItsArgumentsOnce)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf("silenceRatio", noise(10));
    const DoubleVector vFirst = valueOf(*hFunction);
    const Handle<VariableImpl> hOther = newVariable("x", {1.0, 0.0, 0.0});
    ASSERT_FALSE(sameBits(vFirst, valueOf(*functionOf("silenceRatio", {1.0, 0.0, 0.0}))));

    ASSERT_TRUE(hFunction->replace(hFunction->getChildAt(0), hOther));

    EXPECT_TRUE(sameBits(vFirst, valueOf(*hFunction)));
}

TEST(UserFunctionImpl, LeavesTheOutputAndItsResultAloneWhenItsFeatureFails)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf("spectrum", noise(64));
    LimitedObjPtr<DoubleVector> pResult;
    ASSERT_TRUE(hFunction->evaluate(pResult));
    const DoubleVector vFormer = *pResult;
    const DoubleVector* const pFormer = pResult.get();
    hFunction->getChildAt(0).cast<VariableImpl>()->setValue(noise(32));
    AssertionCapture assertions;

    EXPECT_FALSE(hFunction->evaluate(pResult)); // appends before it fails
    DoubleVector vOther;
    LimitedObjPtr<DoubleVector> pOther(&vOther);
    EXPECT_FALSE(hFunction->evaluate(pOther));

    EXPECT_EQ(pFormer, pResult.get());
    EXPECT_EQ(&vOther, pOther.get());
    EXPECT_TRUE(sameBits(vFormer, *pResult));
    EXPECT_EQ(2U, assertions.texts().size());
}

TEST(UserFunctionImpl, EvaluatesAgainAfterAFailure)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf("spectrum", DoubleVector{1.0});
    LimitedObjPtr<DoubleVector> pResult;
    ASSERT_FALSE(hFunction->evaluate(pResult));

    hFunction->getChildAt(0).cast<VariableImpl>()->setValue(noise(64));

    EXPECT_TRUE(sameBits(valuesOf(Audio::SpectrumFeature(), noise(64)), valueOf(*hFunction)));
}

TEST(UserFunctionImpl, ReadsAHiddenVariable)
{
    const Handle<VariableImpl> hHidden(new VariableImpl("x"));
    hHidden->bind(functionOf("spectrum", noise(256)));
    const Handle<FunctionBaseImpl> hFlatness = newFunction("flatness");
    ASSERT_TRUE(hFlatness->bindArgument(0, hHidden));
    std::ostringstream stream;

    hFlatness->write(stream);

    EXPECT_EQ("flatness(spectrum(x))", stream.str());
    EXPECT_TRUE(sameBits(valuesOf(Audio::FlatnessFeature(), spectrum()), valueOf(*hFlatness)));
}

// ---- Copying

TEST_P(EveryXprFunction, IsCopiedWithItsNameArgumentsAndParameters)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf(GetParam(), noise(64));
    ExpressionImplCopier copier;

    const Handle<FunctionBaseImpl> hCopy = copier.copyOf(hFunction).cast<FunctionBaseImpl>();

    ASSERT_FALSE(hCopy.isNull());
    EXPECT_NE(hFunction.get(), hCopy.get());
    EXPECT_EQ(GetParam(), hCopy->getName());
    ASSERT_EQ(1, hCopy->getNbOfArguments());
    EXPECT_EQ("x", hCopy->getArgument(0).m_strName);
    EXPECT_EQ(0, hCopy->getArgument(0).m_iChildIndex);
    EXPECT_EQ(parametersOf(*hFunction), parametersOf(*hCopy));
    EXPECT_NE(hFunction->getChildAt(0).get(), hCopy->getChildAt(0).get());
}

TEST(UserFunctionImpl, IsIndependentOfTheEvaluatedNodeItWasCopiedFrom)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf("spectrum", noise(64));
    LimitedObjPtr<DoubleVector> pResult;
    ASSERT_TRUE(hFunction->evaluate(pResult));
    const DoubleVector vFormer = *pResult;
    ExpressionImplCopier copier;
    const Handle<ExpressionBaseImpl> hCopy = copier.copyOf(hFunction);

    hCopy->getChildAt(0).cast<VariableImpl>()->setValue(noise(32)); // another length: needs a fresh feature
    LimitedObjPtr<DoubleVector> pCopy;
    ASSERT_TRUE(hCopy->evaluate(pCopy));

    EXPECT_NE(pResult.get(), pCopy.get());
    EXPECT_TRUE(sameBits(vFormer, *pResult));
    EXPECT_TRUE(sameBits(valuesOf(Audio::SpectrumFeature(), noise(32)), *pCopy));
    EXPECT_TRUE(sameBits(vFormer, valueOf(*hFunction)));
}

TEST(UserFunctionImpl, OutlivesTheNodeItWasCopiedFrom)
{
    Handle<FunctionBaseImpl> hFunction = functionOf("spectrum", noise(64));
    valueOf(*hFunction);
    Handle<ExpressionBaseImpl> hCopy;
    {
        ExpressionImplCopier copier;
        hCopy = copier.copyOf(hFunction);
    }

    hFunction = Handle<FunctionBaseImpl>();

    EXPECT_TRUE(sameBits(valuesOf(Audio::SpectrumFeature(), noise(64)), valueOf(*hCopy)));
}

TEST(UserFunctionImpl, CopiesAConfiguredNodeWithDefaultFeatureSettings)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf("spectralRange", spectrum());
    ASSERT_TRUE(hFunction->configure(rangeConfiguration(1000, 100), {}));
    const DoubleVector vValue = valueOf(*hFunction);
    ExpressionImplCopier copier;
    const Handle<ExpressionBaseImpl> hCopy = copier.copyOf(hFunction);
    LimitedObjPtr<DoubleVector> pResult;
    {
        AssertionCapture assertions;
        EXPECT_FALSE(hCopy->evaluate(pResult));
        EXPECT_THAT(assertions.texts(), ElementsAre("m_uiCenterFrequency > 0"));
    }

    EXPECT_TRUE(hCopy->configure(rangeConfiguration(1000, 100), {}));

    EXPECT_TRUE(sameBits(vValue, valueOf(*hCopy)));
}

TEST(UserFunctionImpl, CopiesTheValuesOfTheCall)
{
    const Handle<FunctionBaseImpl> hFunction = functionOf("spectralRange", spectrum());
    hFunction->setParameterValue("frequencyHz", ParameterValue(1000L));
    hFunction->setParameterValue("widthHz", ParameterValue(100L));
    ExpressionImplCopier copier;

    const Handle<ExpressionBaseImpl> hCopy = copier.copyOf(hFunction);

    EXPECT_TRUE(hCopy->configure(TrieConfiguration(), {}));
    EXPECT_TRUE(sameBits(valuesOf(Audio::SpectralRangeFeature(1000, 100), spectrum()), valueOf(*hCopy)));
}

TEST(UserFunctionImpl, CopiesABareNodeUnderItsFunctionsName)
{
    const Handle<ExpressionBaseImpl> hBare(new UserFunctionImpl<XprPeaks>(true));
    ExpressionImplCopier copier;

    const Handle<FunctionBaseImpl> hCopy = copier.copyOf(hBare).cast<FunctionBaseImpl>();

    EXPECT_EQ("unamed", hBare->getName());
    EXPECT_EQ("peaks", hCopy->getName());
    EXPECT_EQ(0, hCopy->getNbOfArguments());
}

TEST(UserFunctionImpl, CopiesAVariableReadTwiceOnce)
{
    const Handle<VariableImpl> hVariable = newVariable("x", noise(64));
    const Handle<FunctionBaseImpl> hFirst = newFunction("spectrum");
    const Handle<FunctionBaseImpl> hSecond = newFunction("silenceRatio");
    hFirst->bindArgument(0, hVariable);
    hSecond->bindArgument(0, hVariable);
    ExpressionImplCopier copier;

    const Handle<ExpressionBaseImpl> hFirstCopy = copier.copyOf(hFirst);
    const Handle<ExpressionBaseImpl> hSecondCopy = copier.copyOf(hSecond);

    EXPECT_EQ(hFirstCopy->getChildAt(0).get(), hSecondCopy->getChildAt(0).get());
    EXPECT_EQ(hFirstCopy.get(), copier.copyOf(hFirst).get());
    EXPECT_NE(hVariable.get(), hFirstCopy->getChildAt(0).get());
}
