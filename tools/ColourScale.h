// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Colour.h"

#include <array>
#include <cstdint>

namespace Corvana::Tools {

/// Turns a value from 0 to 1 into a colour. Equal steps of the value look like equal steps, to colour-blind eyes and on
/// a black-and-white printer too, because the lightness grows evenly.
class ColourScale
{
public:
    /// From black over purple and orange to pale yellow: for levels.
    static const ColourScale& magma();
    /// From dark violet over green to yellow: for any other values.
    static const ColourScale& viridis();

    /// 0xRRGGBB. Values outside 0 to 1 count as the nearer end; what is not a number is light grey.
    std::uint32_t at(double in_dValue) const;

private:
    static constexpr std::size_t s_uiNbOfStops = 10;

    explicit ColourScale(const std::array<std::uint32_t, s_uiNbOfStops>& in_auiStops);

    static constexpr std::size_t s_uiNbOfSteps = 128;
    std::array<std::uint32_t, s_uiNbOfSteps> m_auiColours;
};

} // namespace Corvana::Tools
