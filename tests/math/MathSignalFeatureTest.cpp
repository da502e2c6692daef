// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathSignalFeature.h"

#include "corvana/AudioFeatureImpl.h"
#include "corvana/AudioSignalWindow.h"
#include "corvana/MathMeanFeature.h"
#include "corvana/MathRangeFeature.h"
#include "corvana/MathSignalFeatureComposed.h"
#include "corvana/MathSlidingWindowFeature.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>
#include <typeinfo>

using Corvana::Cloneable;
using Corvana::Audio::FlatnessFeature;
using Corvana::Audio::SpectrumReducedFeature;
using Corvana::Math::MeanFeature;
using Corvana::Math::SignalFeature;
using Corvana::Math::SignalFeatureComposed;
using Corvana::Math::SignalFeatureWithMemory;
using Corvana::Math::SignalFeatureWithParameters;

namespace {

// One object of each class that can be cloned.
template <class T>
std::unique_ptr<T> made()
{
    if constexpr (std::is_constructible_v<T>)
        return std::make_unique<T>();
    else if constexpr (std::is_constructible_v<T, SignalFeature*, SignalFeature*>)
        return std::make_unique<T>(new MeanFeature, new MeanFeature);
    else if constexpr (std::is_constructible_v<T, double, double>)
        return std::make_unique<T>(8.0, 8.0);
    else if constexpr (std::is_same_v<T, Corvana::Audio::RatiosFeature>)
        return std::make_unique<T>(true);
    else
        return std::make_unique<T>(8UL);
}

template <class T>
class EveryCloneableClass : public testing::Test
{
};

namespace Audio = Corvana::Audio;
namespace Math = Corvana::Math;
using CloneableClasses = testing::Types<
    Math::MeanFeature, Math::RangeFeature, Math::SlidingWindowFeature, Math::SignalFeatureComposed,
    Audio::SpectrumFeature, Audio::SpectrumReducedFeature, Audio::FlatnessFeature, Audio::ZeroCrossingRateFeature,
    Audio::ClippingRateFeature, Audio::SilenceRatioFeature, Audio::SilenceRatioFeatureT<50>,
    Audio::MeanEnergyAboveThreshFeature, Audio::EnergyHistogramFeature, Audio::MaxNeighbourhoodFeature,
    Audio::RatiosFeature, Audio::MeanMaxFeature, Audio::DeltaToSlidingMeanFeature, Audio::SpectralRangeFeature,
    Audio::MaxSpectralRangesFeature, Audio::LowFreqEnergyRatioFeature, Audio::LowFreqEnergyRatiosFeature,
    Audio::SpectralWeightedAreaFeature, Audio::SpectralSlopeFeature, Audio::HarmonicProductFeature,
    Audio::RobustHarmonicProductFeature, Audio::AntiHarmonicProductFeature, Audio::OldHarmonicProductFeature,
    Audio::PeaksFeature, Audio::MyFeature, Audio::SignalWindowImpl, Audio::HannWindow>;
TYPED_TEST_SUITE(EveryCloneableClass, CloneableClasses);

} // namespace

TYPED_TEST(EveryCloneableClass, ClonesToItsOwnClass)
{
    const std::unique_ptr<TypeParam> pObject = made<TypeParam>();
    const Cloneable& base = *pObject;

    const std::unique_ptr<Cloneable> pClone(base.clone());

    const Cloneable& clone = *pClone;
    EXPECT_EQ(typeid(TypeParam), typeid(clone));
    EXPECT_NE(&base, &clone);
}

TYPED_TEST(EveryCloneableClass, TellsTheCompilerTheClassOfItsClone)
{
    EXPECT_TRUE((std::is_same_v<TypeParam*, decltype(std::declval<const TypeParam&>().clone())>));
}

TEST(SignalFeature, HasOneRootWhateverThePaths)
{
    EXPECT_TRUE((std::is_convertible_v<SpectrumReducedFeature*, SignalFeature*>));
    EXPECT_TRUE((std::is_convertible_v<SpectrumReducedFeature*, Corvana::Object*>));
    EXPECT_TRUE((std::is_convertible_v<FlatnessFeature*, SignalFeature*>));
    EXPECT_TRUE((std::is_convertible_v<SignalFeatureComposed*, Corvana::Resettable*>));
    EXPECT_TRUE((std::is_convertible_v<SignalFeatureComposed*, SignalFeature*>));
    EXPECT_TRUE((std::is_convertible_v<SignalFeatureWithMemory*, SignalFeature*>));
    EXPECT_TRUE((std::is_convertible_v<SignalFeatureWithParameters*, SignalFeature*>));
}

TEST(SignalFeature, ClonesToAFeatureInEveryBase)
{
    EXPECT_TRUE((std::is_same_v<SignalFeature*, decltype(std::declval<const SignalFeature&>().clone())>));
    EXPECT_TRUE(
        (std::is_same_v<SignalFeatureWithMemory*, decltype(std::declval<const SignalFeatureWithMemory&>().clone())>));
    EXPECT_TRUE((std::is_same_v<SignalFeatureWithParameters*,
                                decltype(std::declval<const SignalFeatureWithParameters&>().clone())>));
}
