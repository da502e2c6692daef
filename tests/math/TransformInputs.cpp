// SPDX-License-Identifier: Apache-2.0
#include "TransformInputs.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>

namespace Corvana::Test {
namespace {

std::uint64_t bitsOf(double in_dValue)
{
    std::uint64_t uiBits = 0;
    std::memcpy(&uiBits, &in_dValue, sizeof uiBits);
    return uiBits;
}

std::vector<double> withOne(std::vector<double> in_vValues, std::size_t in_uiIndex, double in_dValue)
{
    in_vValues[in_uiIndex % in_vValues.size()] = in_dValue;
    return in_vValues;
}

std::vector<double> scaled(std::vector<double> in_vValues, double in_dFactor)
{
    for (double& dValue : in_vValues)
        dValue *= in_dFactor;
    return in_vValues;
}

} // namespace

std::vector<double> randomValues(unsigned long in_uiSize, unsigned in_uiSeed)
{
    // The generator's numbers are fixed by the standard, those of its distributions are not.
    std::mt19937_64 random(in_uiSeed);
    std::vector<double> vValues(in_uiSize);
    for (double& dValue : vValues)
        dValue = static_cast<double>(random() >> 11) * 0x1p-52 - 1.0;
    return vValues;
}

std::vector<std::pair<std::string, std::vector<double>>> specialInputs(unsigned long in_uiSize)
{
    const double dInfinity = std::numeric_limits<double>::infinity();
    const double dNaN = std::numeric_limits<double>::quiet_NaN();
    const double dMax = std::numeric_limits<double>::max();
    const std::vector<double> vRandom = randomValues(in_uiSize, 77);
    const std::vector<double> vZeros(in_uiSize, 0.0);
    return {
        {"zeros", vZeros},
        {"negative zeros", std::vector<double>(in_uiSize, -0.0)},
        {"one negative zero", withOne(vZeros, in_uiSize / 2, -0.0)},
        {"subnormals", scaled(vRandom, 0x1p-1040)},
        {"least subnormals", std::vector<double>(in_uiSize, 5e-324)},
        {"on the edge of subnormals", scaled(vRandom, 0x1p-1022)},
        {"on the edge of overflow", scaled(vRandom, 0x1p1016)},
        {"overflows", scaled(vRandom, dMax)},
        {"all largest", std::vector<double>(in_uiSize, dMax)},
        {"largest and smallest", withOne(scaled(vRandom, 5e-324), 1, -dMax)},
        {"an infinity", withOne(vRandom, in_uiSize / 3, dInfinity)},
        {"infinities of both signs", withOne(withOne(vRandom, 0, dInfinity), in_uiSize - 1, -dInfinity)},
        {"all infinite", std::vector<double>(in_uiSize, dInfinity)},
        {"a NaN", withOne(vRandom, in_uiSize / 2 + 1, dNaN)},
        {"a negative NaN", withOne(vRandom, 0, -dNaN)},
        {"all NaN", std::vector<double>(in_uiSize, dNaN)},
    };
}

std::string differenceOfBits(const std::vector<double>& in_vExpected, const std::vector<double>& in_vActual)
{
    std::ostringstream text;
    text.precision(17);
    if (in_vExpected.size() != in_vActual.size()) {
        text << in_vExpected.size() << " values expected, not " << in_vActual.size();
        return text.str();
    }
    for (std::size_t uiIndex = 0; uiIndex < in_vExpected.size(); ++uiIndex) {
        const double dExpected = in_vExpected[uiIndex];
        const double dActual = in_vActual[uiIndex];
        const bool bSame = bitsOf(dExpected) == bitsOf(dActual) || (std::isnan(dExpected) && std::isnan(dActual));
        if (!bSame) {
            text << "value " << uiIndex << " of " << in_vExpected.size() << " is " << dActual << ", not " << dExpected;
            return text.str();
        }
    }
    return {};
}

} // namespace Corvana::Test
