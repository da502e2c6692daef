// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathXprFunctionAdaptor.h"

#include "corvana/AudioFeatureImpl.h"
#include "corvana/TrieConfiguration.h"
#include "support/LogCapture.h"
#include "support/Signals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

using Corvana::LimitedObjPtr;
using Corvana::Resettable;
using Corvana::ROConfiguration;
using Corvana::TrieConfiguration;
using Corvana::TSHandle;
using Corvana::Audio::FlatnessFeature;
using Corvana::Audio::SpectrumFeature;
using Corvana::Math::DoubleVector;
using Corvana::Math::SignalFeature;
using Corvana::Math::Xpr::FunctionAdaptor;
using Corvana::Math::Xpr::NoMemoryFunctionImpl;
using Corvana::Math::Xpr::NoParamFunctionImpl;
using Corvana::Math::Xpr::SignalFeatureFunctionAdaptorImpl;
using Corvana::Math::Xpr::SingleVariableFunctionImpl;
using Corvana::Math::Xpr::VirtualFileSystem;
using Corvana::Test::AssertionCapture;
using Corvana::Test::noise;
using Corvana::Test::sameBits;
using Corvana::Test::valuesOf;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// A function put together from the pieces: appends its variable, doubled.
class DoublingFunction : public SingleVariableFunctionImpl, public NoParamFunctionImpl, public NoMemoryFunctionImpl
{
public:
    DoublingFunction(const char* in_szFunctionName, const char* in_szVariableName)
        : SingleVariableFunctionImpl(in_szFunctionName, in_szVariableName)
    {
    }
    bool calculate(Arguments& in_arguments, DoubleVector& out_vResult) override
    {
        const DoubleVector* pArgument = findArgument(in_arguments);
        if (pArgument == nullptr)
            return false;
        for (const double dValue : *pArgument)
            out_vResult.push_back(2.0 * dValue);
        return true;
    }
};

FunctionAdaptor::Arguments argument(const char* in_szName, DoubleVector& inout_vValue)
{
    return {{in_szName, LimitedObjPtr<DoubleVector>(&inout_vValue)}};
}

} // namespace

// ---- SingleVariableFunctionImpl

TEST(SingleVariableFunction, KnowsItsNames)
{
    const DoublingFunction function("double", "x");
    std::vector<std::string> vNames{"former"};

    function.getArgumentNames(vNames);

    EXPECT_EQ("double", function.getFunctionName());
    EXPECT_EQ("x", function.getVariableName());
    EXPECT_THAT(vNames, ElementsAre("former", "x"));
}

TEST(SingleVariableFunction, CopiesItsNames)
{
    const DoublingFunction function("double", "x");
    DoublingFunction assigned("triple", "y");

    const DoublingFunction copy(function);
    assigned = function;

    EXPECT_EQ("double", copy.getFunctionName());
    EXPECT_EQ("x", copy.getVariableName());
    EXPECT_EQ("double", assigned.getFunctionName());
    EXPECT_EQ("x", assigned.getVariableName());
}

TEST(SingleVariableFunction, SurvivesSelfAssignment)
{
    DoublingFunction function("double", "x");
    const DoublingFunction& self = function;

    function = self;

    EXPECT_EQ("double", function.getFunctionName());
    EXPECT_EQ("x", function.getVariableName());
}

TEST(SingleVariableFunction, FindsItsVariableAmongTheArguments)
{
    DoublingFunction function("double", "x");
    DoubleVector vX{1.0, 2.0};
    DoubleVector vY{5.0};
    FunctionAdaptor::Arguments arguments = argument("x", vX);
    arguments["y"] = LimitedObjPtr<DoubleVector>(&vY);
    DoubleVector vResult{7.0};

    EXPECT_TRUE(function.calculate(arguments, vResult));

    EXPECT_EQ(DoubleVector({7.0, 2.0, 4.0}), vResult);
}

TEST(SingleVariableFunction, FailsWithoutItsVariable)
{
    DoublingFunction function("double", "x");
    DoubleVector vValue{1.0};
    FunctionAdaptor::Arguments none;
    FunctionAdaptor::Arguments capital = argument("X", vValue);
    FunctionAdaptor::Arguments null{{"x", LimitedObjPtr<DoubleVector>()}};
    DoubleVector vResult;

    EXPECT_FALSE(function.calculate(none, vResult));
    EXPECT_FALSE(function.calculate(capital, vResult));
    EXPECT_FALSE(function.calculate(null, vResult));

    EXPECT_TRUE(vResult.empty());
    EXPECT_THAT(none, IsEmpty());
}

// ---- NoParamFunctionImpl and NoMemoryFunctionImpl

TEST(NoParamFunction, HasNoParameters)
{
    const DoublingFunction function("double", "x");
    std::vector<std::string> vNames{"former"};

    function.getParameterNames(vNames);

    EXPECT_THAT(vNames, ElementsAre("former"));
}

TEST(NoParamFunction, TakesEveryConfiguration)
{
    DoublingFunction function("double", "x");

    EXPECT_TRUE(function.configure(TrieConfiguration(), TSHandle<VirtualFileSystem>()));
}

TEST(NoMemoryFunction, HasNothingToReset)
{
    DoublingFunction function("double", "x");

    EXPECT_TRUE(function.reset());
}

TEST(FunctionAdaptor, IsHeldOnceWhateverThePaths)
{
    DoublingFunction function("double", "x");

    FunctionAdaptor* pAdaptor = &function; // ambiguous, were there several
    Resettable* pResettable = &function;

    EXPECT_EQ(pResettable, static_cast<Resettable*>(pAdaptor));
}

// ---- SignalFeatureFunctionAdaptorImpl

namespace {

template <class FeatureT>
class EverySelfAdaptingFeature : public testing::Test
{
};

using SelfAdaptingFeatures = testing::Types<SpectrumFeature, FlatnessFeature>;
TYPED_TEST_SUITE(EverySelfAdaptingFeature, SelfAdaptingFeatures);

} // namespace

TYPED_TEST(EverySelfAdaptingFeature, CalculatesWhatItComputes)
{
    DoubleVector vInput = noise(64);
    FunctionAdaptor::Arguments arguments = argument("x", vInput);
    TypeParam feature;
    SignalFeatureFunctionAdaptorImpl& adaptor = feature;
    DoubleVector vResult;

    EXPECT_TRUE(adaptor.calculate(arguments, vResult));

    EXPECT_TRUE(sameBits(valuesOf(TypeParam(), vInput), vResult));
}

TYPED_TEST(EverySelfAdaptingFeature, AppendsToTheResult)
{
    DoubleVector vInput = noise(64);
    FunctionAdaptor::Arguments arguments = argument("x", vInput);
    TypeParam feature;
    DoubleVector vResult{7.0};

    EXPECT_TRUE(feature.calculate(arguments, vResult));

    EXPECT_EQ(1 + valuesOf(TypeParam(), vInput).size(), vResult.size());
    EXPECT_EQ(7.0, vResult[0]);
}

TYPED_TEST(EverySelfAdaptingFeature, FailsInSilenceWithoutItsArgument)
{
    AssertionCapture assertions;
    DoubleVector vInput = noise(64);
    FunctionAdaptor::Arguments none;
    FunctionAdaptor::Arguments other = argument("y", vInput);
    FunctionAdaptor::Arguments null{{"x", LimitedObjPtr<DoubleVector>()}};
    TypeParam feature;
    DoubleVector vResult;

    EXPECT_FALSE(feature.calculate(none, vResult));
    EXPECT_FALSE(feature.calculate(other, vResult));
    EXPECT_FALSE(feature.calculate(null, vResult));

    EXPECT_TRUE(vResult.empty());
    EXPECT_THAT(assertions.texts(), IsEmpty());
}

TYPED_TEST(EverySelfAdaptingFeature, HasTheVariableXNoParametersAndNoMemory)
{
    TypeParam feature;
    FunctionAdaptor& adaptor = feature;
    std::vector<std::string> vParameters;

    adaptor.getParameterNames(vParameters);

    EXPECT_EQ("x", feature.getVariableName());
    EXPECT_THAT(vParameters, IsEmpty());
    EXPECT_TRUE(adaptor.configure(TrieConfiguration(), TSHandle<VirtualFileSystem>()));
    EXPECT_TRUE(adaptor.reset());
}

TYPED_TEST(EverySelfAdaptingFeature, ClonesAsAnAdaptorToItsOwnClass)
{
    const TypeParam feature;
    const SignalFeatureFunctionAdaptorImpl& adaptor = feature;

    const std::unique_ptr<SignalFeatureFunctionAdaptorImpl> pClone(adaptor.clone());

    const SignalFeatureFunctionAdaptorImpl& clone = *pClone;
    EXPECT_EQ(typeid(TypeParam), typeid(clone));
    EXPECT_EQ(feature.getFunctionName(), pClone->getFunctionName());
    EXPECT_EQ("x", pClone->getVariableName());
}

TYPED_TEST(EverySelfAdaptingFeature, IsReachedFromTheFeatureByACrossCast)
{
    TypeParam feature;
    SignalFeature& base = feature;

    EXPECT_NE(nullptr, dynamic_cast<FunctionAdaptor*>(&base));
    EXPECT_NE(nullptr, dynamic_cast<Resettable*>(&base));
}

TEST(SpectrumFunction, BearsItsFunctionName)
{
    EXPECT_EQ("spectrum", SpectrumFeature().getFunctionName());
}

TEST(FlatnessFunction, BearsItsFunctionName)
{
    EXPECT_EQ("flatness", FlatnessFeature().getFunctionName());
}

TEST(SpectrumFunction, FailsWhenTheFeatureFails)
{
    AssertionCapture assertions;
    DoubleVector vFirst = noise(64);
    DoubleVector vSecond = noise(32);
    FunctionAdaptor::Arguments first = argument("x", vFirst);
    FunctionAdaptor::Arguments second = argument("x", vSecond);
    SpectrumFeature feature;
    DoubleVector vResult;
    ASSERT_TRUE(feature.calculate(first, vResult));

    EXPECT_FALSE(feature.calculate(second, vResult));

    EXPECT_THAT(assertions.texts(), ElementsAre("m_pSignalWindow->getSize() == uiSizeFFT"));
}
