// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathSignalFeatureFactory.h"

#include "corvana/MathMeanFeature.h"
#include "corvana/MemAllocator.h"
#include "corvana/NumberText.h"

#include <string_view>

namespace Corvana::Math {
namespace {

constexpr const char* s_szTag = "SignalFeatureFactory";

class TemporalMeanFeature : public MeanFeature, public virtual SignalFeatureWithMemory
{
public:
    bool reset() override { return true; } // a window's mean remembers nothing
    TemporalMeanFeature* clone() const override { return new TemporalMeanFeature(*this); }
};

bool splitAtCommas(std::string_view in_strParams, std::vector<std::string>& out_vParams)
{
    for (;;) {
        const std::size_t uiComma = in_strParams.find(',');
        const std::string_view strParam = withoutBlanksAround(in_strParams.substr(0, uiComma));
        if (strParam.empty())
            return false;
        out_vParams.emplace_back(strParam);
        if (uiComma == std::string_view::npos)
            return true;
        in_strParams.remove_prefix(uiComma + 1);
    }
}

bool split(std::string_view in_strDescription, std::string& out_strFeature, std::vector<std::string>& out_vParams)
{
    const std::string_view strDescription = withoutBlanksAround(in_strDescription);
    const std::size_t uiOpen = strDescription.find('(');
    const std::string_view strName = withoutBlanksAround(strDescription.substr(0, uiOpen));
    if (strName.empty() || strName.find(')') != std::string_view::npos)
        return false;
    out_strFeature = strName;
    if (uiOpen == std::string_view::npos)
        return true;

    const std::string_view strRest = strDescription.substr(uiOpen + 1);
    if (strRest.empty() || strRest.back() != ')' || strRest.find_first_of("()") != strRest.size() - 1)
        return false;
    const std::string_view strParams = withoutBlanksAround(strRest.substr(0, strRest.size() - 1));
    return strParams.empty() || splitAtCommas(strParams, out_vParams);
}

} // namespace

SignalFeatureFactory::SignalFeatureFactory() = default;
SignalFeatureFactory::~SignalFeatureFactory() = default;

SignalFeature* SignalFeatureFactory::getNewFeature(const char* in_szFeatureName)
{
    return in_szFeatureName == nullptr ? nullptr : getNewBaseFeature(in_szFeatureName);
}

bool SignalFeatureFactory::splitParams(const char* in_szFeatureName, std::string& out_strFeature,
                                       std::vector<std::string>& out_vParams)
{
    out_strFeature.clear();
    out_vParams.clear();
    if (in_szFeatureName != nullptr && split(in_szFeatureName, out_strFeature, out_vParams))
        return true;
    out_strFeature.clear();
    out_vParams.clear();
    return false;
}

void* SignalFeatureFactory::operator new(std::size_t in_uiSize)
{
    return NoSizeMemAllocator::allocate(in_uiSize, s_szTag);
}

void SignalFeatureFactory::operator delete(void* in_pFactory) noexcept
{
    NoSizeMemAllocator::deallocate(in_pFactory, s_szTag);
}

MathSignalFeatureFactory::~MathSignalFeatureFactory() = default;

const char* MathSignalFeatureFactory::getFactoryName() const
{
    return "MathSignalFeatureFactory";
}

SignalFeature* MathSignalFeatureFactory::getNewBaseFeature(const char* in_szFeatureName)
{
    if (std::string_view(in_szFeatureName) != "TemporalMean_Mean_Amplitude")
        return nullptr;
    return new TemporalMeanFeature;
}

} // namespace Corvana::Math
