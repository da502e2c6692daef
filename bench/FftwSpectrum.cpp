// SPDX-License-Identifier: Apache-2.0
#include "FftwSpectrum.h"

#include "FftwLoops.h"

#include <fftw3.h>

namespace Corvana::Bench {

const FftwLoops s_plainFftwLoops = s_loops;

FftwSpectrum::FftwSpectrum(const double* in_pTaper, std::size_t in_uiSize, Around in_around)
    : m_pTaper(in_pTaper)
    , m_uiSize(in_uiSize)
    , m_around(in_around)
    , m_pSamples(fftw_alloc_real(in_uiSize))
    , m_pPoints(fftw_alloc_real(in_uiSize + 2))
    , m_pPlan(fftw_plan_dft_r2c_1d(static_cast<int>(in_uiSize), m_pSamples, reinterpret_cast<fftw_complex*>(m_pPoints),
                                   FFTW_MEASURE))
{
}

FftwSpectrum::~FftwSpectrum()
{
    fftw_destroy_plan(static_cast<fftw_plan>(m_pPlan));
    fftw_free(m_pPoints);
    fftw_free(m_pSamples);
}

void FftwSpectrum::compute(const double* in_pWindow, double* out_pBins) const
{
    const FftwLoops& loops = m_around == FAST ? s_fastFftwLoops : s_plainFftwLoops;
    loops.m_pTaper(in_pWindow, m_pTaper, m_pSamples, m_uiSize);
    fftw_execute(static_cast<fftw_plan>(m_pPlan));
    loops.m_pNormalisePowers(m_pPoints, out_pBins, m_uiSize / 2);
}

} // namespace Corvana::Bench
