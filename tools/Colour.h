// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace Corvana::Tools {

/// A colour in sRGB, each part from 0 to 1.
struct Colour
{
    double m_dRed = 0.0;
    double m_dGreen = 0.0;
    double m_dBlue = 0.0;
    double m_dAlpha = 1.0;

    /// From 0xRRGGBB.
    static constexpr Colour of(std::uint32_t in_uiRgb, double in_dAlpha = 1.0)
    {
        return {static_cast<double>(in_uiRgb >> 16U & 0xFFU) / 255.0,
                static_cast<double>(in_uiRgb >> 8U & 0xFFU) / 255.0, static_cast<double>(in_uiRgb & 0xFFU) / 255.0,
                in_dAlpha};
    }
};

} // namespace Corvana::Tools
