// SPDX-License-Identifier: Apache-2.0
// Compiled with -O3 -ffast-math -march=native, KissFFT with it, which is a header.
#include "MathSpectrumPeers.h"

#ifdef CORVANA_BENCH_KISSFFT
#include <kissfft/kissfft.hh>
#endif

namespace Corvana::Bench {

const PeerLoops s_fastPeerLoops = s_loops;

#ifdef CORVANA_BENCH_KISSFFT
namespace {

class KissSpectrum : public PeerSpectrum
{
public:
    KissSpectrum(const double* in_pTaper, std::size_t in_uiSize)
        : m_pTaper(in_pTaper)
        , m_vSamples(in_uiSize)
        , m_vPoints(in_uiSize / 2)
        , m_transform(in_uiSize / 2, false)
    {
    }

    void compute(const double* in_pWindow, double* out_pBins) override
    {
        taper(in_pWindow, m_pTaper, m_vSamples.data(), m_vSamples.size());
        m_transform.transform_real(m_vSamples.data(), m_vPoints.data());
        m_vPoints[0].imag(0.0); // the value at half the sample rate
        normalisePowers(reinterpret_cast<const double*>(m_vPoints.data()), out_pBins, m_vPoints.size());
    }

private:
    const double* m_pTaper;
    std::vector<double> m_vSamples;
    std::vector<std::complex<double>> m_vPoints;
    kissfft<double> m_transform;
};

} // namespace

std::unique_ptr<PeerSpectrum> makeKissSpectrum(const double* in_pTaper, std::size_t in_uiSize)
{
    return std::make_unique<KissSpectrum>(in_pTaper, in_uiSize);
}
#endif

} // namespace Corvana::Bench
