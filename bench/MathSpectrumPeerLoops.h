// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

// The loops around the transform of another library, for the two sources that compile them differently: as the library
// is (-O3, any x86-64 processor, additions in the written order), and with -ffast-math -march=native.

namespace Corvana::Bench {

struct PeerLoops
{
    void (*m_pTaper)(const double* in_pWindow, const double* in_pTaper, double* out_pSamples, std::size_t in_uiSize);
    void (*m_pNormalisePowers)(const double* in_pPoints, double* out_pBins, std::size_t in_uiNbOfBins);
};

extern const PeerLoops s_plainPeerLoops;
extern const PeerLoops s_fastPeerLoops;

namespace {

void taper(const double* __restrict in_pWindow, const double* __restrict in_pTaper, double* __restrict out_pSamples,
           std::size_t in_uiSize)
{
    for (std::size_t uiSample = 0; uiSample < in_uiSize; ++uiSample)
        out_pSamples[uiSample] = in_pWindow[uiSample] * in_pTaper[uiSample];
}

void normalisePowers(const double* __restrict in_pPoints, double* __restrict out_pBins, std::size_t in_uiNbOfBins)
{
    double dTotal = 0.0;
    for (std::size_t uiBin = 0; uiBin < in_uiNbOfBins; ++uiBin) {
        const double dReal = in_pPoints[2 * uiBin];
        const double dImaginary = in_pPoints[2 * uiBin + 1];
        out_pBins[uiBin] = dReal * dReal + dImaginary * dImaginary;
        dTotal += out_pBins[uiBin];
    }
    if (dTotal == 0.0)
        return;
    const double dReciprocal = 1.0 / dTotal;
    for (std::size_t uiBin = 0; uiBin < in_uiNbOfBins; ++uiBin)
        out_pBins[uiBin] *= dReciprocal;
}

constexpr PeerLoops s_loops{taper, normalisePowers};

} // namespace
} // namespace Corvana::Bench
