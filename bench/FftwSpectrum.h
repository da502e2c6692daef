// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace Corvana::Bench {

/// The normalised power spectrum as one writes it around FFTW: taper, a real transform in double precision planned by
/// measuring (FFTW_MEASURE), powers and their total in one loop, normalisation. Its values are not the library's.
class FftwSpectrum
{
public:
    /// How the loops around the transform are compiled.
    enum Around
    {
        PLAIN, ///< as the library's sources are: -O3, for any x86-64 processor, additions in the written order
        FAST   ///< with -ffast-math for this machine: the total is added up in several parts
    };

    FftwSpectrum(const double* in_pTaper, std::size_t in_uiSize, Around in_around);
    ~FftwSpectrum();
    FftwSpectrum(const FftwSpectrum&) = delete;
    FftwSpectrum& operator=(const FftwSpectrum&) = delete;

    void compute(const double* in_pWindow, double* out_pBins) const;

private:
    const double* m_pTaper;
    std::size_t m_uiSize;
    Around m_around;
    double* m_pSamples;
    double* m_pPoints;
    void* m_pPlan;
};

} // namespace Corvana::Bench
