// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

// What a good programmer writes around FFTW or aubio for windows of 256 samples, for the two sources that compile it
// differently: for any x86-64 processor (-O3), and with -ffast-math -march=native.

namespace Corvana::Bench {

struct RoadLoops
{
    void (*m_pTaper)(const double* in_pWindow, const double* in_pTaper, double* out_pSamples);
    void (*m_pNormalisePowers)(const double* in_pPoints, double* out_pBins);
    void (*m_pNormaliseMagnitudes)(const float* in_pMagnitudes, double* out_pBins);
    double (*m_pFlatness)(const double* in_pBins);
    void (*m_pRanges)(const double* in_pBins, double* out_pValues);
    double (*m_pCrossingRate)(const double* in_pWindow, double in_dPrevious);
};

extern const RoadLoops s_plainRoadLoops;
extern const RoadLoops s_fastRoadLoops;

namespace {

constexpr std::size_t s_uiRoadWindow = 256;
constexpr std::size_t s_uiRoadHop = 128;
constexpr std::size_t s_uiRoadBins = 128;

void taper(const double* __restrict in_pWindow, const double* __restrict in_pTaper, double* __restrict out_pSamples)
{
    for (std::size_t uiSample = 0; uiSample < s_uiRoadWindow; ++uiSample)
        out_pSamples[uiSample] = in_pWindow[uiSample] * in_pTaper[uiSample];
}

void divideBy(double in_dTotal, double* inout_pBins)
{
    const double dReciprocal = in_dTotal == 0.0 ? 0.0 : 1.0 / in_dTotal;
    for (std::size_t uiBin = 0; uiBin < s_uiRoadBins; ++uiBin)
        inout_pBins[uiBin] *= dReciprocal;
}

void normalisePowers(const double* __restrict in_pPoints, double* __restrict out_pBins)
{
    double dTotal = 0.0;
    for (std::size_t uiBin = 0; uiBin < s_uiRoadBins; ++uiBin) {
        const double dReal = in_pPoints[2 * uiBin];
        const double dImaginary = in_pPoints[2 * uiBin + 1];
        out_pBins[uiBin] = dReal * dReal + dImaginary * dImaginary;
        dTotal += out_pBins[uiBin];
    }
    divideBy(dTotal, out_pBins);
}

void normaliseMagnitudes(const float* __restrict in_pMagnitudes, double* __restrict out_pBins)
{
    double dTotal = 0.0;
    for (std::size_t uiBin = 0; uiBin < s_uiRoadBins; ++uiBin) {
        const double dMagnitude = static_cast<double>(in_pMagnitudes[uiBin]);
        out_pBins[uiBin] = dMagnitude * dMagnitude;
        dTotal += out_pBins[uiBin];
    }
    divideBy(dTotal, out_pBins);
}

// The geometric mean times the number of bins, zeros left out of the product. Sixteen products of eight values each
// stay within the range of a double; their exponents are added up and their mantissas multiplied, so that one logarithm
// does.
double flatness(const double* in_pBins)
{
    constexpr std::size_t uiProducts = 16;
    double adProducts[uiProducts];
    for (std::size_t uiProduct = 0; uiProduct < uiProducts; ++uiProduct)
        adProducts[uiProduct] = 1.0;
    for (std::size_t uiBin = 0; uiBin < s_uiRoadBins; uiBin += uiProducts)
        for (std::size_t uiProduct = 0; uiProduct < uiProducts; ++uiProduct) {
            const double dBin = in_pBins[uiBin + uiProduct];
            adProducts[uiProduct] *= dBin != 0.0 ? dBin : 1.0;
        }
    constexpr std::uint64_t uiMantissa = 0x000FFFFFFFFFFFFFU;
    constexpr std::uint64_t uiOne = 0x3FF0000000000000U;
    std::uint64_t uiExponents = 0;
    double dMantissas = 1.0;
    for (std::size_t uiProduct = 0; uiProduct < uiProducts; ++uiProduct) {
        const auto uiBits = std::bit_cast<std::uint64_t>(adProducts[uiProduct]);
        uiExponents += uiBits >> 52U;
        dMantissas *= std::bit_cast<double>((uiBits & uiMantissa) | uiOne);
    }
    const double dExponents = static_cast<double>(static_cast<std::int64_t>(uiExponents) - 1023 * 16);
    const double dMean = std::exp2((dExponents + std::log2(dMantissas)) / static_cast<double>(s_uiRoadBins));
    return dMean == 1.0 ? dMean : dMean * static_cast<double>(s_uiRoadBins);
}

struct RoadRange
{
    std::size_t m_uiFirstBin;
    std::size_t m_uiNbOfBins;
    double m_dOffset; // of the centre, in bins of 31.25 Hz
};

// 425, 950, 1400 and 2100 Hz with 50, 100, 100 and 150 Hz to either side.
constexpr RoadRange s_aRoadRanges[] = {{12, 5, -0.4}, {26, 9, 0.4}, {41, 9, -0.2}, {62, 11, 0.2}};

void ranges(const double* __restrict in_pBins, double* __restrict out_pValues)
{
    for (const RoadRange& range : s_aRoadRanges) {
        for (std::size_t uiBin = 0; uiBin < range.m_uiNbOfBins; ++uiBin)
            *out_pValues++ = in_pBins[range.m_uiFirstBin + uiBin];
        *out_pValues++ = range.m_dOffset;
    }
}

// Sign changes and arrivals at exactly 0.
double crossingRate(const double* in_pWindow, double in_dPrevious)
{
    const auto crosses = [](double in_dBefore, double in_dNow) -> unsigned {
        return static_cast<unsigned>(in_dBefore * in_dNow < 0.0) |
               static_cast<unsigned>(in_dNow == 0.0 && in_dBefore != 0.0);
    };
    unsigned uiCrossings = crosses(in_dPrevious, in_pWindow[0]);
    for (std::size_t uiSample = 1; uiSample < s_uiRoadWindow; ++uiSample)
        uiCrossings += crosses(in_pWindow[uiSample - 1], in_pWindow[uiSample]);
    return static_cast<double>(uiCrossings) / static_cast<double>(s_uiRoadWindow);
}

constexpr RoadLoops s_roadLoops{taper, normalisePowers, normaliseMagnitudes, flatness, ranges, crossingRate};

} // namespace
} // namespace Corvana::Bench
