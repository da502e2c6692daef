// SPDX-License-Identifier: Apache-2.0
// The spectrum of one window, and of eight at once, for each instruction set that this processor has, beside the
// literal algorithm; and, with CORVANA_BENCH_PEERS, beside FFTW, KissFFT and GSL.
#include "BenchSupport.h"
#include "MathSpectrumPeers.h"
#include "PlainSpectrum.h"

#include "corvana/MathSimd.h"
#include "corvana/MathSpectrumPlan.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace Corvana::Bench {
namespace {

constexpr std::size_t s_uiNbAtOnce = 8;

Math::DoubleVector taperOf(std::size_t in_uiSize)
{
    const std::vector<double> vHann = Plain::hannTable(in_uiSize);
    Math::DoubleVector vTaper;
    vTaper.insert(vTaper.end(), vHann.data(), vHann.data() + vHann.size());
    return vTaper;
}

void oneWindow(benchmark::State& inout_state, Math::Simd in_simd)
{
    const std::size_t uiSize = sizeOf(inout_state);
    const Math::SpectrumPlan plan(taperOf(uiSize), in_simd);
    const Math::DoubleVector vWindow = noise(uiSize);
    Math::DoubleVector vBins(uiSize / 2);
    Math::SpectrumScratch scratch;
    for (auto unused : inout_state) {
        plan.compute(vWindow.data(), vBins.data(), scratch);
        benchmark::DoNotOptimize(vBins.data());
        benchmark::ClobberMemory();
    }
    countSamples(inout_state, uiSize);
}

// Windows that overlap by half, as most analyses take them.
std::vector<const double*> windowsIn(const Math::DoubleVector& in_vSamples, std::size_t in_uiSize)
{
    std::vector<const double*> vpWindows;
    for (std::size_t uiWindow = 0; uiWindow < s_uiNbAtOnce; ++uiWindow)
        vpWindows.push_back(in_vSamples.data() + uiWindow * in_uiSize / 2);
    return vpWindows;
}

std::vector<double*> spectraIn(Math::DoubleVector& inout_vBins, std::size_t in_uiSize)
{
    std::vector<double*> vpSpectra;
    for (std::size_t uiWindow = 0; uiWindow < s_uiNbAtOnce; ++uiWindow)
        vpSpectra.push_back(inout_vBins.data() + uiWindow * in_uiSize / 2);
    return vpSpectra;
}

template <class FunctionT>
void eightWindows(benchmark::State& inout_state, FunctionT in_computeEight)
{
    const std::size_t uiSize = sizeOf(inout_state);
    const Math::DoubleVector vSamples = noise(s_uiNbAtOnce * uiSize);
    Math::DoubleVector vBins(s_uiNbAtOnce * uiSize / 2);
    const std::vector<const double*> vpWindows = windowsIn(vSamples, uiSize);
    const std::vector<double*> vpSpectra = spectraIn(vBins, uiSize);
    for (auto unused : inout_state) {
        in_computeEight(vpWindows.data(), vpSpectra.data());
        benchmark::DoNotOptimize(vBins.data());
        benchmark::ClobberMemory();
    }
    countSamples(inout_state, s_uiNbAtOnce * uiSize);
}

void eightPlanned(benchmark::State& inout_state, Math::Simd in_simd)
{
    const Math::SpectrumPlan plan(taperOf(sizeOf(inout_state)), in_simd);
    Math::SpectrumScratch scratch;
    eightWindows(inout_state, [&](const double* const* in_ppWindows, double* const* out_ppBins) {
        plan.computeSeveral(s_uiNbAtOnce, in_ppWindows, out_ppBins, scratch);
    });
}

void oneLiteral(benchmark::State& inout_state)
{
    const std::size_t uiSize = sizeOf(inout_state);
    const std::vector<double> vTaper = Plain::hannTable(uiSize);
    const Math::DoubleVector vSamples = noise(uiSize);
    const std::vector<double> vWindow(vSamples.begin(), vSamples.end());
    for (auto unused : inout_state) {
        auto vBins = Plain::spectrum(vWindow, vTaper);
        benchmark::DoNotOptimize(vBins);
        benchmark::ClobberMemory();
    }
    countSamples(inout_state, uiSize);
}

void eightLiteral(benchmark::State& inout_state)
{
    const std::size_t uiSize = sizeOf(inout_state);
    const std::vector<double> vTaper = Plain::hannTable(uiSize);
    eightWindows(inout_state, [&](const double* const* in_ppWindows, double* const* out_ppBins) {
        for (std::size_t uiWindow = 0; uiWindow < s_uiNbAtOnce; ++uiWindow) {
            const double* const pWindow = in_ppWindows[uiWindow];
            const auto vBins = Plain::spectrum(std::vector<double>(pWindow, pWindow + uiSize), vTaper);
            std::copy(vBins.begin(), vBins.end(), out_ppBins[uiWindow]);
        }
    });
}

// A peer must do the work: its spectra are the plain ones, but for rounding.
bool givesThePlainSpectra(PeerSpectrum& inout_peer, std::size_t in_uiSize)
{
    const Math::DoubleVector vSamples = noise(s_uiNbAtOnce * in_uiSize);
    Math::DoubleVector vBins(s_uiNbAtOnce * in_uiSize / 2);
    Math::DoubleVector vBinsOfOne(in_uiSize / 2);
    const std::vector<const double*> vpWindows = windowsIn(vSamples, in_uiSize);
    const std::vector<double> vTaper = Plain::hannTable(in_uiSize);
    inout_peer.computeEight(vpWindows.data(), spectraIn(vBins, in_uiSize).data());
    const double* pBins = vBins.data();
    for (const double* const pWindow : vpWindows) {
        inout_peer.compute(pWindow, vBinsOfOne.data());
        const double* pBinsOfOne = vBinsOfOne.data();
        for (const double dExpected : Plain::spectrum(std::vector<double>(pWindow, pWindow + in_uiSize), vTaper))
            if (!(std::abs(*pBins++ - dExpected) <= 1e-12) || !(std::abs(*pBinsOfOne++ - dExpected) <= 1e-12))
                return false;
    }
    return true;
}

void oneByPeer(benchmark::State& inout_state, SpectrumPeer::Make in_make)
{
    const std::size_t uiSize = sizeOf(inout_state);
    const Math::DoubleVector vTaper = taperOf(uiSize);
    const auto pSpectrum = in_make(vTaper.data(), uiSize);
    if (!givesThePlainSpectra(*pSpectrum, uiSize))
        return inout_state.SkipWithError("another spectrum");
    const Math::DoubleVector vWindow = noise(uiSize);
    Math::DoubleVector vBins(uiSize / 2);
    for (auto unused : inout_state) {
        pSpectrum->compute(vWindow.data(), vBins.data());
        benchmark::DoNotOptimize(vBins.data());
        benchmark::ClobberMemory();
    }
    countSamples(inout_state, uiSize);
}

void eightByPeer(benchmark::State& inout_state, SpectrumPeer::Make in_make)
{
    const Math::DoubleVector vTaper = taperOf(sizeOf(inout_state));
    const auto pSpectrum = in_make(vTaper.data(), sizeOf(inout_state));
    if (!givesThePlainSpectra(*pSpectrum, sizeOf(inout_state)))
        return inout_state.SkipWithError("other spectra");
    eightWindows(inout_state, [&](const double* const* in_ppWindows, double* const* out_ppBins) {
        pSpectrum->computeEight(in_ppWindows, out_ppBins);
    });
}

template <class FunctionT, class... ArgumentsT>
void add(const std::string& in_strName, FunctionT in_function, ArgumentsT... in_arguments)
{
    benchmark::RegisterBenchmark(in_strName.c_str(), in_function, in_arguments...)->RangeMultiplier(2)->Range(64, 2048);
}

bool addAll()
{
    for (const Math::Simd simd : {Math::Simd::AVX512, Math::Simd::AVX2, Math::Simd::BASELINE, Math::Simd::PORTABLE}) {
        if (!Math::isSimdSupported(simd))
            continue;
        const std::string strName = Math::getSimdName(simd);
        add("OneWindow_" + strName, oneWindow, simd);
        add("EightWindows_" + strName, eightPlanned, simd);
    }
    add("OneWindow_Literal", oneLiteral);
    add("EightWindows_Literal", eightLiteral);
    for (const SpectrumPeer& peer : spectrumPeers()) {
        if (!peer.m_bOnlyEight)
            add("OneWindow_" + peer.m_strName, oneByPeer, peer.m_pMake);
        add("EightWindows_" + peer.m_strName, eightByPeer, peer.m_pMake);
    }
    return true;
}

const bool s_bAdded = addAll();

} // namespace
} // namespace Corvana::Bench
