// SPDX-License-Identifier: Apache-2.0
#include "tools/ColourScale.h"

#include <algorithm>
#include <cmath>

namespace Corvana::Tools {
namespace {

constexpr std::uint32_t s_uiNoValue = 0xD9D9D9;

std::uint32_t mixedPart(std::uint32_t in_uiLeft, std::uint32_t in_uiRight, unsigned in_uiShift, double in_dShare)
{
    const double dLeft = in_uiLeft >> in_uiShift & 0xFFU;
    const double dRight = in_uiRight >> in_uiShift & 0xFFU;
    return static_cast<std::uint32_t>(std::lround(dLeft + (dRight - dLeft) * in_dShare)) << in_uiShift;
}

} // namespace

ColourScale::ColourScale(const std::array<std::uint32_t, s_uiNbOfStops>& in_auiStops)
{
    for (std::size_t uiStep = 0; uiStep < s_uiNbOfSteps; ++uiStep) {
        const double dPlace = static_cast<double>(uiStep) * static_cast<double>(s_uiNbOfStops - 1) /
                              static_cast<double>(s_uiNbOfSteps - 1);
        const std::size_t uiStop = std::min(static_cast<std::size_t>(dPlace), s_uiNbOfStops - 2);
        const double dShare = dPlace - static_cast<double>(uiStop);
        m_auiColours[uiStep] = 0;
        for (const unsigned uiShift : {16U, 8U, 0U})
            m_auiColours[uiStep] |= mixedPart(in_auiStops[uiStop], in_auiStops[uiStop + 1], uiShift, dShare);
    }
}

const ColourScale& ColourScale::magma()
{
    static const ColourScale scale(
        {0x000004, 0x180F3E, 0x451077, 0x721F81, 0x9F2F7F, 0xCD4071, 0xF1605D, 0xFD9567, 0xFEC98D, 0xFCFDBF});
    return scale;
}

const ColourScale& ColourScale::viridis()
{
    static const ColourScale scale(
        {0x440154, 0x482878, 0x3E4A89, 0x31688E, 0x26828E, 0x1F9E89, 0x35B779, 0x6DCD59, 0xB4DE2C, 0xFDE725});
    return scale;
}

std::uint32_t ColourScale::at(double in_dValue) const
{
    if (std::isnan(in_dValue))
        return s_uiNoValue;
    const double dStep = std::clamp(in_dValue, 0.0, 1.0) * static_cast<double>(s_uiNbOfSteps - 1);
    return m_auiColours[static_cast<std::size_t>(dStep + 0.5)];
}

} // namespace Corvana::Tools
