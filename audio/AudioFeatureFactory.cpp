// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFeatureFactory.h"

#include "corvana/Assertion.h"
#include "corvana/AudioFeatureImpl.h"
#include "corvana/Logger.h"

#include <locale>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.AudioFeatureFactory")

namespace Corvana::Audio {
namespace {

namespace at {
constexpr const char* s_szFile = "AudioFeatureFactory";
constexpr SourcePosition malformed{s_szFile, 38};
constexpr SourcePosition lookingFor{s_szFile, 42};
constexpr SourcePosition zeroCrossingRate{s_szFile, 53};
constexpr SourcePosition spectrum{s_szFile, 61};
constexpr SourcePosition spectrum100Hz{s_szFile, 65};
constexpr SourcePosition spectrum200Hz{s_szFile, 68};
constexpr SourcePosition spectrum500Hz{s_szFile, 71};
constexpr SourcePosition flatness{s_szFile, 74};
constexpr SourcePosition spectralRange{s_szFile, 82};
constexpr SourcePosition maxSpectralRanges{s_szFile, 96};
constexpr SourcePosition oldHarmonicProduct{s_szFile, 115};
constexpr SourcePosition harmonicProduct{s_szFile, 118};
constexpr SourcePosition robustHarmonicProduct{s_szFile, 121};
constexpr SourcePosition antiHarmonicProduct{s_szFile, 124};
constexpr SourcePosition spectralWeightedArea{s_szFile, 127};
constexpr SourcePosition silenceRatio{s_szFile, 130};
constexpr SourcePosition noiseRatio{s_szFile, 133};
constexpr SourcePosition amplitudeDistribution{s_szFile, 136};
constexpr SourcePosition temporalAmplitudeDistribution{s_szFile, 139};
constexpr SourcePosition peaks{s_szFile, 142};
constexpr SourcePosition neighbourhoodOfMax{s_szFile, 145};
constexpr SourcePosition lowFreqEnergyRatio{s_szFile, 148};
constexpr SourcePosition lowFreqEnergyRatios{s_szFile, 151};
constexpr SourcePosition deltaToSlidingMean{s_szFile, 154};
} // namespace at

// Half-width of the ranges that are given by their centres only.
constexpr unsigned long s_uiListedHalfWidthHz = 20;
constexpr unsigned long s_uiSilenceRatio = 50;
constexpr unsigned long s_uiNoiseRatio = 10;

using Parameters = std::vector<std::string>;
using FeaturePtr = std::unique_ptr<Math::SignalFeature>;

// Reads whole numbers one after another with a stream's ordinary extraction: what follows a number is not examined.
class NumberReader
{
public:
    bool read(const std::string& in_strParam, unsigned long& out_uiValue)
    {
        m_stream.clear();
        m_stream.str(in_strParam);
        m_stream >> out_uiValue;
        return !m_stream.fail();
    }

private:
    std::istringstream m_stream = makeStream();

    // The host's locale may group digits; descriptions never do.
    static std::istringstream makeStream()
    {
        std::istringstream stream;
        stream.imbue(std::locale::classic());
        return stream;
    }
};

// A feature that takes no parameters, made from the given arguments.
template <class FeatureT, class... ArgumentsT>
FeaturePtr newPlainFeature(SourcePosition in_position, const Parameters& in_vParams, ArgumentsT... in_arguments)
{
    if (!CORVANA_ASSERT_AT(in_position, in_vParams.empty(), "vParams.empty()"))
        return nullptr;
    return std::make_unique<FeatureT>(in_arguments...);
}

FeaturePtr newZeroCrossingRate(const Parameters& in_vParams)
{
    if (in_vParams.empty())
        return std::make_unique<ZeroCrossingRateFeature>();
    if (!CORVANA_ASSERT_AT(at::zeroCrossingRate, in_vParams.size() == 1, "vParams.size() == 1"))
        return nullptr;
    unsigned long uiParameter = 0;
    if (!NumberReader().read(in_vParams[0], uiParameter))
        return nullptr;
    return std::make_unique<ZeroCrossingRateFeature>(uiParameter);
}

FeaturePtr newSpectralRange(const Parameters& in_vParams)
{
    if (!CORVANA_ASSERT_AT(at::spectralRange, in_vParams.size() == 2, "vParams.size() == 2"))
        return nullptr;
    NumberReader reader;
    unsigned long uiCenterHz = 0;
    unsigned long uiHalfWidthHz = 0;
    if (!reader.read(in_vParams[0], uiCenterHz) || !reader.read(in_vParams[1], uiHalfWidthHz))
        return nullptr;
    return std::make_unique<SpectralRangeFeature>(uiCenterHz, uiHalfWidthHz);
}

FeaturePtr newMaxSpectralRanges(const Parameters& in_vParams)
{
    if (!CORVANA_ASSERT_AT(at::maxSpectralRanges, !in_vParams.empty(), "!vParams.empty()"))
        return nullptr;
    auto pFeature = std::make_unique<MaxSpectralRangesFeature>();
    NumberReader reader;
    for (const std::string& strParam : in_vParams) {
        unsigned long uiCenterHz = 0;
        if (!reader.read(strParam, uiCenterHz))
            return nullptr;
        pFeature->addSpectralRange(uiCenterHz, s_uiListedHalfWidthHz);
    }
    return pFeature;
}

FeaturePtr newDeltaToSlidingMean(const Parameters& in_vParams)
{
    FeaturePtr pFeature = newPlainFeature<DeltaToSlidingMeanFeature>(at::deltaToSlidingMean, in_vParams);
    if (auto* pResettable = dynamic_cast<Resettable*>(pFeature.get()))
        pResettable->reset(); // it has no sliding mean before
    return pFeature;
}

FeaturePtr newFeature(AudioFeature::FeatureType in_type, const Parameters& in_vParams)
{
    switch (in_type) {
    case AudioFeature::ZEROCROSSINGRATE:
        return newZeroCrossingRate(in_vParams);
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
    case AudioFeature::SPECTRALRANGE:
        return newSpectralRange(in_vParams);
    case AudioFeature::MAXSPECTRALRANGES:
        return newMaxSpectralRanges(in_vParams);
    case AudioFeature::OLDHARMONICPRODUCT:
        return newPlainFeature<OldHarmonicProductFeature>(at::oldHarmonicProduct, in_vParams);
    case AudioFeature::HARMONICPRODUCT:
        return newPlainFeature<HarmonicProductFeature>(at::harmonicProduct, in_vParams);
    case AudioFeature::ROBUSTHARMONICPRODUCT:
        return newPlainFeature<RobustHarmonicProductFeature>(at::robustHarmonicProduct, in_vParams);
    case AudioFeature::ANTIHARMONICPRODUCT:
        return newPlainFeature<AntiHarmonicProductFeature>(at::antiHarmonicProduct, in_vParams);
    case AudioFeature::SPECTRALWEIGHTEDAREA:
        return newPlainFeature<SpectralWeightedAreaFeature>(at::spectralWeightedArea, in_vParams);
    case AudioFeature::SILENCERATIO:
        return newPlainFeature<SilenceRatioFeature>(at::silenceRatio, in_vParams, s_uiSilenceRatio);
    case AudioFeature::NOISERATIO:
        return newPlainFeature<SilenceRatioFeature>(at::noiseRatio, in_vParams, s_uiNoiseRatio);
    case AudioFeature::AMPLITUDEDISTRIBUTION:
        return newPlainFeature<RatiosFeature>(at::amplitudeDistribution, in_vParams, false);
    case AudioFeature::TEMPORALAMPLITUDEDISTRIBUTION:
        return newPlainFeature<RatiosFeature>(at::temporalAmplitudeDistribution, in_vParams, true);
    case AudioFeature::PEAKS:
        return newPlainFeature<PeaksFeature>(at::peaks, in_vParams);
    case AudioFeature::NEIGHBOURHOODOFMAX:
        return newPlainFeature<MaxNeighbourhoodFeature>(at::neighbourhoodOfMax, in_vParams);
    case AudioFeature::LOWFREQENERGYRATIO:
        return newPlainFeature<LowFreqEnergyRatioFeature>(at::lowFreqEnergyRatio, in_vParams);
    case AudioFeature::LOWFREQENERGYRATIOS:
        return newPlainFeature<LowFreqEnergyRatiosFeature>(at::lowFreqEnergyRatios, in_vParams);
    case AudioFeature::DELTATOSLIDINGMEAN:
        return newDeltaToSlidingMean(in_vParams);
    case AudioFeature::ENERGYHISTOGRAM:
    case AudioFeature::CLIPPINGRATE:
    case AudioFeature::SPECTRALSLOPE:
    case AudioFeature::MYFEATURE:
        break; // known by name only
    }
    return nullptr;
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
