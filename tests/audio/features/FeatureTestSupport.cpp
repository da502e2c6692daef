// SPDX-License-Identifier: Apache-2.0
#include "FeatureTestSupport.h"

#include "corvana/AudioFeatureFactory.h"
#include "corvana/AudioFeatureImpl.h"
#include "corvana/AudioFileReader.h"
#include "corvana/MathMeanFeature.h"
#include "corvana/MathRangeFeature.h"
#include "corvana/MathSignalFeatureComposed.h"
#include "corvana/MathSignalFeaturePool.h"
#include "corvana/MathSlidingWindowFeature.h"

#include <cmath>
#include <cstring>
#include <ostream>
#include <stdexcept>

namespace Corvana::Test {

using Math::DoubleVector;
using namespace Audio;

DoubleVector toVector(const Values& in_vValues)
{
    DoubleVector vValues(in_vValues.size());
    std::copy(in_vValues.begin(), in_vValues.end(), vValues.begin());
    return vValues;
}

Values toValues(const DoubleVector& in_vValues)
{
    return {in_vValues.begin(), in_vValues.end()};
}

bool sameValues(const Values& in_vLeft, const Values& in_vRight)
{
    const auto isSame = [](double in_dLeft, double in_dRight) {
        return (std::isnan(in_dLeft) && std::isnan(in_dRight)) ||
               std::memcmp(&in_dLeft, &in_dRight, sizeof in_dLeft) == 0;
    };
    return std::equal(in_vLeft.begin(), in_vLeft.end(), in_vRight.begin(), in_vRight.end(), isSame);
}

std::ostream& operator<<(std::ostream& out_stream, const Outcome& in_outcome)
{
    out_stream << (in_outcome.m_bDone ? "true {" : "false {");
    const auto iPrecision = out_stream.precision(17);
    for (const double dValue : in_outcome.m_vValues)
        out_stream << ' ' << dValue;
    out_stream.precision(iPrecision);
    return out_stream << " }";
}

Outcome succeeds(Values in_vValues)
{
    return {true, std::move(in_vValues)};
}

Outcome refuses(Values in_vValues)
{
    return {false, std::move(in_vValues)};
}

Outcome outcomeOf(Math::SignalFeature& inout_feature, const Values& in_vInput)
{
    DoubleVector vValues;
    const bool bDone = inout_feature.compute(toVector(in_vInput), vValues);
    return {bDone, toValues(vValues)};
}

Outcome outcomeOf(const PlainResult& in_result)
{
    return {in_result.m_bDone, in_result.m_vValues};
}

std::unique_ptr<Math::SignalFeature> newFeature(const std::string& in_strDescription)
{
    Math::SignalFeaturePool pool;
    auto pFactory = std::make_unique<AudioFeatureFactory>();
    if (pool.addFactory(pFactory.get()))
        static_cast<void>(pFactory.release());
    return std::unique_ptr<Math::SignalFeature>(pool.getNewFeature(in_strDescription.c_str()));
}

std::ostream& operator<<(std::ostream& out_stream, const FeatureClass& in_class)
{
    return out_stream << in_class.m_szName;
}

namespace {

template <class FeatureT, class... ArgumentsT>
FeatureClass featureClass(const char* in_szName, const char* in_szInput, ArgumentsT... in_arguments)
{
    return {in_szName, &typeid(FeatureT),
            [in_arguments...]() -> std::unique_ptr<Math::SignalFeature> {
                return std::make_unique<FeatureT>(in_arguments...);
            },
            in_szInput};
}

std::unique_ptr<Math::SignalFeature> newResetDelta()
{
    auto pFeature = std::make_unique<DeltaToSlidingMeanFeature>();
    pFeature->reset();
    return pFeature;
}

std::unique_ptr<Math::SignalFeature> newRanges()
{
    auto pFeature = std::make_unique<MaxSpectralRangesFeature>();
    pFeature->addSpectralRange(1000, 100);
    pFeature->addSpectralRange(2000, 100);
    return pFeature;
}

std::unique_ptr<Math::SignalFeature> newRange()
{
    auto pFeature = std::make_unique<Math::RangeFeature>();
    pFeature->configure(configurationOf({{"range.startIndex", "2"}, {"range.length", "3"}}));
    return pFeature;
}

std::unique_ptr<Math::SignalFeature> newSlidingMean()
{
    auto pWindow = std::make_unique<Math::SlidingWindowFeature>(7);
    auto pMean = std::make_unique<Math::MeanFeature>();
    return std::make_unique<Math::SignalFeatureComposed>(pWindow.release(), pMean.release());
}

} // namespace

const std::vector<FeatureClass>& allFeatureClasses()
{
    static const std::vector<FeatureClass> s_vClasses = {
        featureClass<SpectrumFeature>("Spectrum", "window"),
        featureClass<SpectrumReducedFeature>("SpectrumReduced", "window", 8UL),
        featureClass<FlatnessFeature>("Flatness", "spectrum"),
        featureClass<ZeroCrossingRateFeature>("ZeroCrossingRate", "window", 3UL),
        featureClass<ClippingRateFeature>("ClippingRate", "window", -0.1, 0.1),
        featureClass<SilenceRatioFeature>("SilenceRatio", "window", 10UL),
        featureClass<SilenceRatioFeatureT<50>>("SilenceRatioT50", "window"),
        featureClass<MeanEnergyAboveThreshFeature>("MeanEnergyAboveThresh", "window", 0.01),
        featureClass<EnergyHistogramFeature>("EnergyHistogram", "window", 0.05, 12UL),
        featureClass<MaxNeighbourhoodFeature>("MaxNeighbourhood", "window"),
        featureClass<RatiosFeature>("Ratios", "window", false),
        featureClass<RatiosFeature>("TemporalRatios", "window", true),
        featureClass<MeanMaxFeature>("MeanMax", "window", 0.01, 0.001),
        {"DeltaToSlidingMean", &typeid(DeltaToSlidingMeanFeature), newResetDelta, "value"},
        featureClass<SpectralRangeFeature>("SpectralRange", "spectrum", 1000UL, 100UL),
        {"MaxSpectralRanges", &typeid(MaxSpectralRangesFeature), newRanges, "spectrum"},
        featureClass<LowFreqEnergyRatioFeature>("LowFreqEnergyRatio", "spectrum"),
        featureClass<LowFreqEnergyRatiosFeature>("LowFreqEnergyRatios", "spectrum"),
        featureClass<SpectralWeightedAreaFeature>("SpectralWeightedArea", "spectrum"),
        featureClass<SpectralSlopeFeature>("SpectralSlope", "spectrum"),
        featureClass<HarmonicProductFeature>("HarmonicProduct", "spectrum"),
        featureClass<RobustHarmonicProductFeature>("RobustHarmonicProduct", "spectrum"),
        featureClass<AntiHarmonicProductFeature>("AntiHarmonicProduct", "spectrum"),
        featureClass<OldHarmonicProductFeature>("OldHarmonicProduct", "spectrum"),
        featureClass<PeaksFeature>("Peaks", "spectrum"),
        featureClass<MyFeature>("My", "window"),
        {"Range", &typeid(Math::RangeFeature), newRange, "spectrum"},
        featureClass<Math::MeanFeature>("Mean", "window"),
        featureClass<Math::SlidingWindowFeature>("SlidingWindow", "window", 9UL),
        {"Composed", &typeid(Math::SignalFeatureComposed), newSlidingMean, "window"},
    };
    return s_vClasses;
}

const DoubleVector& sampleCall()
{
    static const DoubleVector s_vSamples = [] {
        AudioFileReader reader;
        DoubleVector vSamples;
        if (!reader.setSourceAudioFile(CORVANA_SOURCE_DIR "/examples/data/sample-call.wav") ||
            !reader.getAllLinearFrames(vSamples))
            throw std::runtime_error("cannot read the sample call");
        return vSamples;
    }();
    return s_vSamples;
}

std::vector<Values> windowsOf(const DoubleVector& in_vSamples, unsigned long in_uiSize, unsigned long in_uiHop)
{
    std::vector<Values> vWindows;
    for (unsigned long uiStart = 0; uiStart + in_uiSize <= in_vSamples.size(); uiStart += in_uiHop)
        vWindows.emplace_back(in_vSamples.begin() + uiStart, in_vSamples.begin() + uiStart + in_uiSize);
    return vWindows;
}

Values randomWindow(unsigned long in_uiSize, std::uint64_t in_uiSeed)
{
    Values vSamples = toValues(noise(2 * in_uiSize, in_uiSeed));
    for (unsigned long uiIndex = 0; uiIndex < in_uiSize; ++uiIndex) {
        const double dChoice = vSamples[in_uiSize + uiIndex];
        vSamples[uiIndex] = dChoice > 0.9 ? 0.0 : vSamples[uiIndex] * std::pow(10.0, 2.0 * dChoice - 1.0);
    }
    vSamples.resize(in_uiSize);
    return vSamples;
}

Values randomSpectrum(unsigned long in_uiSize, std::uint64_t in_uiSeed)
{
    Values vBins = randomWindow(in_uiSize, in_uiSeed);
    double dTotal = 0.0;
    for (double& dBin : vBins) {
        dBin *= dBin;
        dTotal += dBin;
    }
    for (double& dBin : vBins)
        dBin = dTotal == 0.0 ? 0.0 : dBin / dTotal;
    return vBins;
}

TrieConfiguration configurationOf(const std::vector<std::pair<std::string, std::string>>& in_vEntries)
{
    ParameterTrie trie;
    for (const auto& [strKey, strValue] : in_vEntries)
        trie.insert(strKey.c_str(), ParameterValue(strValue.c_str()));
    return TrieConfiguration(std::move(trie));
}

bool ThrowingConfiguration::hasKey(const char*) const
{
    if (m_at == At::HAS_KEY)
        throw std::out_of_range("no such table");
    return true;
}

bool ThrowingConfiguration::getValue(const char*, std::int32_t&) const
{
    throw std::runtime_error("the table is gone");
}

bool ThrowingConfiguration::getValue(const char*, unsigned long&) const
{
    throw std::runtime_error("the table is gone");
}

bool ThrowingConfiguration::getValue(const char*, double&) const
{
    throw std::runtime_error("the table is gone");
}

bool ThrowingConfiguration::getValue(const char*, std::string&) const
{
    throw std::runtime_error("the table is gone");
}

} // namespace Corvana::Test
