// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MathSpectrumPeerLoops.h"

#include <cstddef>

#include <memory>
#include <string>
#include <vector>

namespace Corvana::Bench {

/// The normalised power spectrum as one writes it around a transform of another library: taper, transform of real
/// doubles, powers and their total in one loop, normalisation. Its values are not the library's, but near them.
class PeerSpectrum
{
public:
    virtual ~PeerSpectrum() = default;
    PeerSpectrum(const PeerSpectrum&) = delete;
    PeerSpectrum& operator=(const PeerSpectrum&) = delete;

    virtual void compute(const double* in_pWindow, double* out_pBins) = 0;
    /// Eight windows; one after the other, where the peer knows nothing better.
    virtual void computeEight(const double* const* in_ppWindows, double* const* out_ppBins);

protected:
    PeerSpectrum() = default;
};

struct SpectrumPeer
{
    using Make = std::unique_ptr<PeerSpectrum> (*)(const double* in_pTaper, std::size_t in_uiSize);

    std::string m_strName;
    Make m_pMake;
    bool m_bOnlyEight; ///< the peer differs from another one only in how it takes eight windows
};

/// What this program was built with; empty without CORVANA_BENCH_PEERS.
std::vector<SpectrumPeer> spectrumPeers();

/// KissFFT, compiled with -ffast-math for this machine; only where it is there.
std::unique_ptr<PeerSpectrum> makeKissSpectrum(const double* in_pTaper, std::size_t in_uiSize);

} // namespace Corvana::Bench
