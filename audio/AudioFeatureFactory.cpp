// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFeatureFactory.h"

#include "corvana/Assertion.h"
#include "corvana/AudioFeatureImpl.h"
#include "corvana/Logger.h"

#include <memory>
#include <string>
#include <vector>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.AudioFeatureFactory")

namespace Corvana::Audio {
namespace {

namespace at {
constexpr const char* s_szFile = "AudioFeatureFactory";
constexpr SourcePosition malformed{s_szFile, 38};
constexpr SourcePosition lookingFor{s_szFile, 42};
constexpr SourcePosition spectrum{s_szFile, 61};
constexpr SourcePosition spectrum100Hz{s_szFile, 65};
constexpr SourcePosition spectrum200Hz{s_szFile, 68};
constexpr SourcePosition spectrum500Hz{s_szFile, 71};
constexpr SourcePosition flatness{s_szFile, 74};
} // namespace at

using Parameters = std::vector<std::string>;
using FeaturePtr = std::unique_ptr<Math::SignalFeature>;

// A feature that takes no parameters, made from the given arguments.
template <class FeatureT, class... ArgumentsT>
FeaturePtr newPlainFeature(SourcePosition in_position, const Parameters& in_vParams, ArgumentsT... in_arguments)
{
    if (!CORVANA_ASSERT_AT(in_position, in_vParams.empty(), "vParams.empty()"))
        return nullptr;
    return std::make_unique<FeatureT>(in_arguments...);
}

FeaturePtr newFeature(AudioFeature::FeatureType in_type, const Parameters& in_vParams)
{
    switch (in_type) {
    case AudioFeature::SPECTRUM:
        return newPlainFeature<SpectrumFeature>(at::spectrum, in_vParams);
    case AudioFeature::SPECTRUM100HZ:
        return newPlainFeature<SpectrumReducedFeature>(at::spectrum100Hz, in_vParams, 40UL);
    case AudioFeature::SPECTRUM200HZ:
        return newPlainFeature<SpectrumReducedFeature>(at::spectrum200Hz, in_vParams, 20UL);
    case AudioFeature::SPECTRUM500HZ:
        return newPlainFeature<SpectrumReducedFeature>(at::spectrum500Hz, in_vParams, 8UL);
    case AudioFeature::FLATNESS:
        return newPlainFeature<FlatnessFeature>(at::flatness, in_vParams);
    default:
        return nullptr; // known by name only
    }
}

} // namespace

AudioFeatureFactory::~AudioFeatureFactory() = default;

const char* AudioFeatureFactory::getFactoryName() const
{
    return "AudioFeatureFactory";
}

Math::SignalFeature* AudioFeatureFactory::getNewBaseFeature(const char* in_szFeatureName)
{
    std::string strFeature;
    Parameters vParams;
    if (!CORVANA_ASSERT_AT(at::malformed, splitParams(in_szFeatureName, strFeature, vParams),
                           "splitParams(in_szFeatureName, strFeature, vParams)"))
        return nullptr;
    const Fallible<AudioFeature::FeatureType> type = AudioFeature::parseFeatureType(strFeature.c_str());
    CORVANA_LOG_TRACE_AT(at::lookingFor, fileScopeLogger(), "Looking for feature: " << strFeature);
    return type.isValid() ? newFeature(type.getValue(), vParams).release() : nullptr;
}

} // namespace Corvana::Audio
