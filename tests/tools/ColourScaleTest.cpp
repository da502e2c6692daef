// SPDX-License-Identifier: Apache-2.0
#include "tools/ColourScale.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace Corvana::Tools {
namespace {

// CIE 1976 L*, from 0 to 100, of a colour in sRGB.
double lightnessOf(std::uint32_t in_uiColour)
{
    double dY = 0.0;
    const std::pair<unsigned, double> aParts[] = {{16U, 0.2126}, {8U, 0.7152}, {0U, 0.0722}};
    for (const auto& [uiShift, dWeight] : aParts) {
        const double dPart = static_cast<double>(in_uiColour >> uiShift & 0xFFU) / 255.0;
        dY += dWeight * (dPart <= 0.04045 ? dPart / 12.92 : std::pow((dPart + 0.055) / 1.055, 2.4));
    }
    return dY <= 216.0 / 24389.0 ? dY * 24389.0 / 27.0 : 116.0 * std::cbrt(dY) - 16.0;
}

TEST(ColourScale, BeginsDarkAndEndsLight)
{
    EXPECT_EQ(ColourScale::magma().at(0.0), 0x000004U);
    EXPECT_EQ(ColourScale::magma().at(1.0), 0xFCFDBFU);
    EXPECT_EQ(ColourScale::viridis().at(0.0), 0x440154U);
    EXPECT_EQ(ColourScale::viridis().at(1.0), 0xFDE725U);
}

// Ten colours of each published scale, and what lies between them part by part.
TEST(ColourScale, RunsStraightFromOneKnownColourToTheNext)
{
    using Stops = std::array<int, 10>;
    const std::pair<const ColourScale*, Stops> aScales[] = {
        {&ColourScale::magma(),
         {0x000004, 0x180F3E, 0x451077, 0x721F81, 0x9F2F7F, 0xCD4071, 0xF1605D, 0xFD9567, 0xFEC98D, 0xFCFDBF}},
        {&ColourScale::viridis(),
         {0x440154, 0x482878, 0x3E4A89, 0x31688E, 0x26828E, 0x1F9E89, 0x35B779, 0x6DCD59, 0xB4DE2C, 0xFDE725}}};
    for (const auto& [pScale, aiStops] : aScales)
        for (int iStep = 0; iStep < 128; ++iStep) {
            const auto uiStop = static_cast<std::size_t>(std::min(iStep * 9 / 127, 8));
            const double dShare = iStep * 9.0 / 127.0 - static_cast<double>(uiStop);
            unsigned long uiExpected = 0;
            for (const int iUnit : {0x10000, 0x100, 1}) {
                const int iLeft = aiStops[uiStop] / iUnit % 256;
                const int iRight = aiStops[uiStop + 1] / iUnit % 256;
                uiExpected += static_cast<unsigned long>(std::lround(iLeft + (iRight - iLeft) * dShare) * iUnit);
            }
            EXPECT_EQ(pScale->at(iStep / 127.0), uiExpected) << iStep;
        }
}

TEST(ColourScale, TakesValuesOutsideForTheNearerEnd)
{
    EXPECT_EQ(ColourScale::magma().at(-1.0), ColourScale::magma().at(0.0));
    EXPECT_EQ(ColourScale::magma().at(2.0), ColourScale::magma().at(1.0));
    EXPECT_EQ(ColourScale::magma().at(-std::numeric_limits<double>::infinity()), ColourScale::magma().at(0.0));
}

TEST(ColourScale, ShowsWhatIsNoNumberInGrey)
{
    EXPECT_EQ(ColourScale::viridis().at(std::nan("")), 0xD9D9D9U);
}

// So that whoever tells no colours apart sees the same picture in shades of grey.
TEST(ColourScale, GrowsEvenlyInLightness)
{
    for (const ColourScale* pScale : {&ColourScale::magma(), &ColourScale::viridis()}) {
        const double dDark = lightnessOf(pScale->at(0.0));
        const double dLight = lightnessOf(pScale->at(1.0));
        double dLast = dDark;
        for (int iStep = 1; iStep <= 50; ++iStep) {
            const double dLightness = lightnessOf(pScale->at(iStep / 50.0));
            EXPECT_GT(dLightness, dLast) << iStep;
            // Of 100, which is black to white.
            EXPECT_NEAR(dLightness, dDark + (dLight - dDark) * iStep / 50.0, 6.0) << iStep;
            dLast = dLightness;
        }
    }
}

} // namespace
} // namespace Corvana::Tools
