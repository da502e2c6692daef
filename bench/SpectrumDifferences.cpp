// SPDX-License-Identifier: Apache-2.0
// corvana-SpectrumDifferences LARGEST: for each instruction set that this machine has, a line with its name, how many
// values of spectra it computed, and how many of them differ from the plain algorithm's in any bit. Windows of all
// powers of two from 2 to LARGEST, one by one and several at once: random values, subnormal ones, overflows,
// infinities, NaNs, zeros of both signs, and each of them alone among random values. All NaNs count as one.
#include "ReferenceSpectrum.h"
#include "TransformInputs.h"

#include "corvana/MathSimd.h"
#include "corvana/MathSpectrumPlan.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <vector>

namespace {

using namespace Corvana;
using Window = std::vector<double>;

struct Count
{
    unsigned long m_uiValues = 0;
    unsigned long m_uiDifferences = 0;

    void compare(const Window& in_vExpected, const Window& in_vActual)
    {
        for (std::size_t uiBin = 0; uiBin < in_vExpected.size(); ++uiBin) {
            const double dExpected = in_vExpected[uiBin];
            const double dActual = in_vActual[uiBin];
            const bool bSame = std::isnan(dExpected)
                                   ? std::isnan(dActual)
                                   : std::bit_cast<std::uint64_t>(dExpected) == std::bit_cast<std::uint64_t>(dActual);
            m_uiDifferences += bSame ? 0 : 1;
        }
        m_uiValues += in_vExpected.size();
    }
};

std::vector<Window> windowsOf(unsigned long in_uiSize)
{
    constexpr double dInfinity = std::numeric_limits<double>::infinity();
    std::vector<Window> vvWindows;
    for (const auto& [strName, vWindow] : Test::specialInputs(in_uiSize))
        vvWindows.push_back(vWindow);
    unsigned uiSeed = 0;
    for (const double dSpecial : {0.0, -0.0, 5e-324, -5e-324, 1.7e308, dInfinity, -dInfinity, std::nan("")})
        for (const unsigned long uiPlace : {0UL, in_uiSize / 3, in_uiSize - 1}) {
            vvWindows.push_back(Test::randomValues(in_uiSize, ++uiSeed));
            vvWindows.push_back(Test::randomValues(in_uiSize, ++uiSeed));
            vvWindows.back()[uiPlace] = dSpecial;
        }
    return vvWindows;
}

Math::DoubleVector taperOf(unsigned long in_uiSize)
{
    const Window vHann = Test::referenceHannWindow(in_uiSize);
    Math::DoubleVector vTaper;
    vTaper.insert(vTaper.end(), vHann.data(), vHann.data() + vHann.size());
    return vTaper;
}

void compareAll(const std::vector<Window>& in_vvWindows, const std::vector<Window>& in_vvExpected, Math::Simd in_simd,
                Count& inout_count)
{
    const Math::SpectrumPlan plan(taperOf(in_vvWindows.front().size()), in_simd);
    Math::SpectrumScratch scratch;
    std::vector<Window> vvBins(in_vvWindows.size(), Window(plan.getNbOfBins()));
    std::vector<const double*> vpWindows;
    std::vector<double*> vpBins;
    Window vBins(plan.getNbOfBins());
    for (std::size_t uiWindow = 0; uiWindow < in_vvWindows.size(); ++uiWindow) {
        vpWindows.push_back(in_vvWindows[uiWindow].data());
        vpBins.push_back(vvBins[uiWindow].data());
        plan.compute(in_vvWindows[uiWindow].data(), vBins.data(), scratch);
        inout_count.compare(in_vvExpected[uiWindow], vBins);
    }
    plan.computeSeveral(vpWindows.size(), vpWindows.data(), vpBins.data(), scratch);
    for (std::size_t uiWindow = 0; uiWindow < in_vvWindows.size(); ++uiWindow)
        inout_count.compare(in_vvExpected[uiWindow], vvBins[uiWindow]);
}

} // namespace

int main(int in_iNbOfArguments, char** in_aszArguments)
{
    const unsigned long uiLargest = in_iNbOfArguments > 1 ? std::strtoul(in_aszArguments[1], nullptr, 10) : 65536;
    constexpr Math::Simd aSimds[] = {Math::Simd::AVX512, Math::Simd::AVX2, Math::Simd::BASELINE, Math::Simd::PORTABLE};
    Count aCounts[std::size(aSimds)];
    for (unsigned long uiSize = 2; uiSize <= uiLargest; uiSize *= 2) {
        const std::vector<Window> vvWindows = windowsOf(uiSize);
        std::vector<Window> vvExpected;
        for (const Window& vWindow : vvWindows)
            vvExpected.push_back(Test::referencePowerSpectrum(vWindow));
        for (std::size_t uiSimd = 0; uiSimd < std::size(aSimds); ++uiSimd)
            if (Math::isSimdSupported(aSimds[uiSimd]))
                compareAll(vvWindows, vvExpected, aSimds[uiSimd], aCounts[uiSimd]);
    }
    for (std::size_t uiSimd = 0; uiSimd < std::size(aSimds); ++uiSimd)
        if (Math::isSimdSupported(aSimds[uiSimd]))
            std::printf("%s %lu %lu\n", Math::getSimdName(aSimds[uiSimd]), aCounts[uiSimd].m_uiValues,
                        aCounts[uiSimd].m_uiDifferences);
    return std::fflush(stdout) == 0 ? 0 : 1;
}
