// SPDX-License-Identifier: Apache-2.0
#include "MathSpectrumPeers.h"

#ifdef CORVANA_BENCH_FFTW
#include <fftw3.h>
#endif
#ifdef CORVANA_BENCH_GSL
#include <gsl/gsl_fft_real.h>
#endif

namespace Corvana::Bench {

const PeerLoops s_plainPeerLoops = s_loops;

void PeerSpectrum::computeEight(const double* const* in_ppWindows, double* const* out_ppBins)
{
    for (int iWindow = 0; iWindow < 8; ++iWindow)
        compute(in_ppWindows[iWindow], out_ppBins[iWindow]);
}

namespace {

#ifdef CORVANA_BENCH_FFTW
using FftwDoubles = std::unique_ptr<double[], decltype(&fftw_free)>;

FftwDoubles fftwDoubles(std::size_t in_uiSize)
{
    return {fftw_alloc_real(in_uiSize), fftw_free};
}

fftw_complex* asComplex(const FftwDoubles& in_points)
{
    return reinterpret_cast<fftw_complex*>(in_points.get());
}

using FftwPlan = std::unique_ptr<std::remove_pointer_t<fftw_plan>, decltype(&fftw_destroy_plan)>;

class FftwSpectrum : public PeerSpectrum
{
public:
    FftwSpectrum(const double* in_pTaper, std::size_t in_uiSize, const PeerLoops& in_loops)
        : m_pTaper(in_pTaper)
        , m_uiSize(in_uiSize)
        , m_loops(in_loops)
        , m_pSamples(fftwDoubles(in_uiSize))
        , m_pPoints(fftwDoubles(in_uiSize + 2))
        , m_pPlan(
              fftw_plan_dft_r2c_1d(static_cast<int>(in_uiSize), m_pSamples.get(), asComplex(m_pPoints), FFTW_MEASURE),
              fftw_destroy_plan)
    {
    }

    void compute(const double* in_pWindow, double* out_pBins) override
    {
        m_loops.m_pTaper(in_pWindow, m_pTaper, m_pSamples.get(), m_uiSize);
        fftw_execute(m_pPlan.get());
        m_loops.m_pNormalisePowers(m_pPoints.get(), out_pBins, m_uiSize / 2);
    }

private:
    const double* m_pTaper;
    std::size_t m_uiSize;
    const PeerLoops& m_loops;
    FftwDoubles m_pSamples;
    FftwDoubles m_pPoints;
    FftwPlan m_pPlan;
};

// One plan for eight transforms, which FFTW may interleave as it likes.
class FftwEightSpectra : public FftwSpectrum
{
public:
    FftwEightSpectra(const double* in_pTaper, std::size_t in_uiSize, const PeerLoops& in_loops)
        : FftwSpectrum(in_pTaper, in_uiSize, in_loops)
        , m_pTaper(in_pTaper)
        , m_uiSize(in_uiSize)
        , m_loops(in_loops)
        , m_pSamples(fftwDoubles(8 * in_uiSize))
        , m_pPoints(fftwDoubles(8 * (in_uiSize + 2)))
        , m_pPlan(nullptr, fftw_destroy_plan)
    {
        const int iSize = static_cast<int>(in_uiSize);
        m_pPlan.reset(fftw_plan_many_dft_r2c(1, &iSize, 8, m_pSamples.get(), nullptr, 1, iSize, asComplex(m_pPoints),
                                             nullptr, 1, iSize / 2 + 1, FFTW_MEASURE));
    }

    void computeEight(const double* const* in_ppWindows, double* const* out_ppBins) override
    {
        for (std::size_t uiWindow = 0; uiWindow < 8; ++uiWindow)
            m_loops.m_pTaper(in_ppWindows[uiWindow], m_pTaper, m_pSamples.get() + uiWindow * m_uiSize, m_uiSize);
        fftw_execute(m_pPlan.get());
        for (std::size_t uiWindow = 0; uiWindow < 8; ++uiWindow)
            m_loops.m_pNormalisePowers(m_pPoints.get() + uiWindow * (m_uiSize + 2), out_ppBins[uiWindow], m_uiSize / 2);
    }

private:
    const double* m_pTaper;
    std::size_t m_uiSize;
    const PeerLoops& m_loops;
    FftwDoubles m_pSamples;
    FftwDoubles m_pPoints;
    FftwPlan m_pPlan;
};
#endif

#ifdef CORVANA_BENCH_GSL
// GSL orders its result as value at 0, then real and imaginary parts in turn. With a 0 in front these are the points
// that the loops read.
class GslSpectrum : public PeerSpectrum
{
public:
    GslSpectrum(const double* in_pTaper, std::size_t in_uiSize, const PeerLoops& in_loops)
        : m_pTaper(in_pTaper)
        , m_uiSize(in_uiSize)
        , m_loops(in_loops)
        , m_vPoints(in_uiSize + 1)
        , m_pTable(gsl_fft_real_wavetable_alloc(in_uiSize), gsl_fft_real_wavetable_free)
        , m_pWorkspace(gsl_fft_real_workspace_alloc(in_uiSize), gsl_fft_real_workspace_free)
    {
    }

    void compute(const double* in_pWindow, double* out_pBins) override
    {
        m_loops.m_pTaper(in_pWindow, m_pTaper, m_vPoints.data() + 1, m_uiSize);
        gsl_fft_real_transform(m_vPoints.data() + 1, 1, m_uiSize, m_pTable.get(), m_pWorkspace.get());
        m_loops.m_pNormalisePowers(m_vPoints.data(), out_pBins, m_uiSize / 2);
    }

private:
    const double* m_pTaper;
    std::size_t m_uiSize;
    const PeerLoops& m_loops;
    std::vector<double> m_vPoints;
    std::unique_ptr<gsl_fft_real_wavetable, decltype(&gsl_fft_real_wavetable_free)> m_pTable;
    std::unique_ptr<gsl_fft_real_workspace, decltype(&gsl_fft_real_workspace_free)> m_pWorkspace;
};
#endif

template <class SpectrumT, const PeerLoops& loops>
std::unique_ptr<PeerSpectrum> make(const double* in_pTaper, std::size_t in_uiSize)
{
    return std::make_unique<SpectrumT>(in_pTaper, in_uiSize, loops);
}

} // namespace

std::vector<SpectrumPeer> spectrumPeers()
{
    std::vector<SpectrumPeer> vPeers;
#ifdef CORVANA_BENCH_FFTW
    vPeers.push_back({"fftw", make<FftwSpectrum, s_plainPeerLoops>, false});
    vPeers.push_back({"fftwfast", make<FftwSpectrum, s_fastPeerLoops>, false});
    vPeers.push_back({"fftwmany", make<FftwEightSpectra, s_plainPeerLoops>, true});
    vPeers.push_back({"fftwmanyfast", make<FftwEightSpectra, s_fastPeerLoops>, true});
#endif
#ifdef CORVANA_BENCH_KISSFFT
    vPeers.push_back({"kissfft", makeKissSpectrum, false});
#endif
#ifdef CORVANA_BENCH_GSL
    vPeers.push_back({"gsl", make<GslSpectrum, s_fastPeerLoops>, false});
#endif
    return vPeers;
}

} // namespace Corvana::Bench
