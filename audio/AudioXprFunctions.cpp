// SPDX-License-Identifier: Apache-2.0
// The audio features that formulas can call. They register themselves when the library is loaded.
#include "corvana/AudioXprFunctions.h"

#include "corvana/MathXprRegistry.h"
#include "corvana/MathXprUserFunction.h"

namespace Corvana {

XprHarmonicProduct::XprHarmonicProduct()
    : SignalFeatureToFunctionAdaptorImpl("harmonicProduct")
{
}

XprHarmonicProduct::~XprHarmonicProduct() = default;

XprSilenceRatio::XprSilenceRatio()
    : SignalFeatureToFunctionAdaptorImpl("silenceRatio")
{
}

XprSilenceRatio::~XprSilenceRatio() = default;

XprPeaks::XprPeaks()
    : SignalFeatureToFunctionAdaptorImpl("peaks")
{
}

XprPeaks::~XprPeaks() = default;

XprSpectralRange::XprSpectralRange()
    : SignalFeatureWithParamAdaptorImpl("spectralRange")
{
}

XprSpectralRange::~XprSpectralRange() = default;

void XprSpectralRange::getParameterNames(std::vector<std::string>& out_vNames) const
{
    out_vNames.push_back(paramPrefixName() + "frequencyHz");
    out_vNames.push_back(paramPrefixName() + "widthHz");
}

XprMaxSpectralRanges::XprMaxSpectralRanges()
    : SignalFeatureWithParamAdaptorImpl("maxSpectralRanges")
{
}

XprMaxSpectralRanges::~XprMaxSpectralRanges() = default;

void XprMaxSpectralRanges::getParameterNames(std::vector<std::string>& out_vNames) const
{
    out_vNames.push_back(paramPrefixName() + "frequenciesList");
}

XprLowFreqEnergyRatios::XprLowFreqEnergyRatios()
    : SignalFeatureToFunctionAdaptorImpl("lowFreqEnergyRatios")
{
}

XprLowFreqEnergyRatios::~XprLowFreqEnergyRatios() = default;

namespace {

template <class FunctionT>
bool registerFunction(const char* in_szName)
{
    using Math::Xpr::Registry;
    auto pAllocator = std::make_unique<Registry::ExpressionAllocatorT<Math::Xpr::UserFunctionImpl<FunctionT>>>();
    if (!Registry::getInstance().registerFunction(in_szName, pAllocator.get()))
        return false;
    static_cast<void>(pAllocator.release()); // the registry has it now
    return true;
}

// A refused name is not reported here: the flags are for a debugger.
[[maybe_unused]] const bool s_bRegisterSpectrumFeature = registerFunction<Audio::SpectrumFeature>("spectrum");
[[maybe_unused]] const bool s_bRegisterFlatnessFeature = registerFunction<Audio::FlatnessFeature>("flatness");
[[maybe_unused]] const bool s_bRegisterXprHarmonicProduct = registerFunction<XprHarmonicProduct>("harmonicProduct");
[[maybe_unused]] const bool s_bRegisterXprSilenceRatio = registerFunction<XprSilenceRatio>("silenceRatio");
[[maybe_unused]] const bool s_bRegisterXprPeaks = registerFunction<XprPeaks>("peaks");
[[maybe_unused]] const bool s_bRegisterXprSpectralRange = registerFunction<XprSpectralRange>("spectralRange");
[[maybe_unused]] const bool s_bRegisterXprMaxSpectralRanges =
    registerFunction<XprMaxSpectralRanges>("maxSpectralRanges");
[[maybe_unused]] const bool s_bRegisterXprLowFreqEnergyRatios =
    registerFunction<XprLowFreqEnergyRatios>("lowFreqEnergyRatios");

} // namespace
} // namespace Corvana
