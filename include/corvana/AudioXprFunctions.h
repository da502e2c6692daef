// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioFeatureImpl.h"
#include "corvana/MathXprFunctionAdaptor.h"
#include "corvana/OS.h"

#include <memory>
#include <string>
#include <vector>

namespace Corvana::Math::Xpr {

/// The kind of a feature class that has parameters: FeatureTypeOf<F>::value.
template <class F>
struct FeatureTypeOf;
template <>
struct FeatureTypeOf<Audio::SpectralRangeFeature>
{
    static constexpr Audio::AudioFeature::FeatureType value = Audio::AudioFeature::SPECTRALRANGE;
};
template <>
struct FeatureTypeOf<Audio::MaxSpectralRangesFeature>
{
    static constexpr Audio::AudioFeature::FeatureType value = Audio::AudioFeature::MAXSPECTRALRANGES;
};

/// A function of the variable "x" that computes a feature of its own, made without arguments.
template <class F>
class CORVANA_API SignalFeatureToFunctionAdaptorBaseImpl : public SingleVariableFunctionImpl,
                                                           public virtual FunctionAdaptor
{
public:
    explicit SignalFeatureToFunctionAdaptorBaseImpl(const char* in_szFunctionName)
        : SingleVariableFunctionImpl(in_szFunctionName, "x")
        , m_pFeature(std::make_unique<F>())
    {
    }

    bool calculate(Arguments& in_arguments, DoubleVector& out_vResult) override
    {
        const DoubleVector* pArgument = findArgument(in_arguments);
        return pArgument != nullptr && m_pFeature->compute(*pArgument, out_vResult);
    }

    /// What the feature's parameter names begin with in configurations: its kind in small letters, and ".".
    static const std::string& paramPrefixName()
    {
        static const std::string s_strPrefix = [] {
            std::string strPrefix = Audio::AudioFeature::getFeatureTypeString(FeatureTypeOf<F>::value);
            strToLower(strPrefix);
            return strPrefix + ".";
        }();
        return s_strPrefix;
    }

protected:
    F& getFeature() { return *m_pFeature; }

private:
    std::unique_ptr<F> m_pFeature;
};

/// The same for a feature without parameters and memory.
template <class F>
class CORVANA_API SignalFeatureToFunctionAdaptorImpl : public SignalFeatureToFunctionAdaptorBaseImpl<F>,
                                                       public NoParamFunctionImpl,
                                                       public NoMemoryFunctionImpl
{
public:
    explicit SignalFeatureToFunctionAdaptorImpl(const char* in_szFunctionName)
        : SignalFeatureToFunctionAdaptorBaseImpl<F>(in_szFunctionName)
    {
    }
};

/// The same for a feature with parameters.
template <class F>
class CORVANA_API SignalFeatureWithParamAdaptorImpl : public SignalFeatureToFunctionAdaptorBaseImpl<F>,
                                                      public NoMemoryFunctionImpl
{
public:
    explicit SignalFeatureWithParamAdaptorImpl(const char* in_szFunctionName)
        : SignalFeatureToFunctionAdaptorBaseImpl<F>(in_szFunctionName)
    {
    }

    bool configure(const ROConfiguration& in_config, const TSHandle<VirtualFileSystem>&) override
    {
        return this->getFeature().configure(in_config);
    }
};

} // namespace Corvana::Math::Xpr

namespace Corvana {

/// "harmonicProduct": the candidates' products of 5 harmonics of a spectrum.
class CORVANA_API XprHarmonicProduct
    : public Math::Xpr::SignalFeatureToFunctionAdaptorImpl<Audio::HarmonicProductFeature>
{
public:
    XprHarmonicProduct();
    ~XprHarmonicProduct() override;
};

/// "silenceRatio": the share of samples below a fiftieth of the window's peak.
class CORVANA_API XprSilenceRatio
    : public Math::Xpr::SignalFeatureToFunctionAdaptorImpl<Audio::SilenceRatioFeatureT<50>>
{
public:
    XprSilenceRatio();
    ~XprSilenceRatio() override;
};

/// "peaks": the heights of the three strongest peaks, and the logarithms of their indexes.
class CORVANA_API XprPeaks : public Math::Xpr::SignalFeatureToFunctionAdaptorImpl<Audio::PeaksFeature>
{
public:
    XprPeaks();
    ~XprPeaks() override;
};

/// "spectralRange": the bins around "spectralrange.frequencyHz", "spectralrange.widthHz" to either side.
class CORVANA_API XprSpectralRange : public Math::Xpr::SignalFeatureWithParamAdaptorImpl<Audio::SpectralRangeFeature>
{
public:
    XprSpectralRange();
    ~XprSpectralRange() override;
    void getParameterNames(std::vector<std::string>& out_vNames) const override;
};

/// "maxSpectralRanges": the bins around the strongest of "maxspectralranges.frequenciesList".
class CORVANA_API XprMaxSpectralRanges
    : public Math::Xpr::SignalFeatureWithParamAdaptorImpl<Audio::MaxSpectralRangesFeature>
{
public:
    XprMaxSpectralRanges();
    ~XprMaxSpectralRanges() override;
    void getParameterNames(std::vector<std::string>& out_vNames) const override;
};

/// "lowFreqEnergyRatios": the shares of energy below 100 Hz, and from there to 1000 Hz.
class CORVANA_API XprLowFreqEnergyRatios
    : public Math::Xpr::SignalFeatureToFunctionAdaptorImpl<Audio::LowFreqEnergyRatiosFeature>
{
public:
    XprLowFreqEnergyRatios();
    ~XprLowFreqEnergyRatios() override;
};

} // namespace Corvana
