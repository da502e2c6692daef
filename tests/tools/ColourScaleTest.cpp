// SPDX-License-Identifier: Apache-2.0
#include "tools/ColourScale.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

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
