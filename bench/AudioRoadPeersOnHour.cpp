// SPDX-License-Identifier: Apache-2.0
// The peers' roads over the same hour as the library's, in the same program.
#include "AudioRoadHour.h"
#include "AudioRoadPeers.h"
#include "PlainSpectrum.h"

#include <algorithm>

namespace Corvana::Bench {
namespace {

constexpr std::size_t s_uiWindow = 256;
constexpr std::size_t s_uiHop = 128;
constexpr std::size_t s_uiNbOfWindows = (s_uiRoadFrames - s_uiWindow) / s_uiHop + 1;
constexpr std::size_t s_uiRowsToCheck = 1024;

std::vector<double> lastFrames(std::size_t in_uiNbOfFrames)
{
    SF_INFO info = {};
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(RoadHour::get().path(), SFM_READ, &info),
                                                              sf_close);
    std::vector<double> vFrames(in_uiNbOfFrames);
    const auto iNbOfFrames = static_cast<sf_count_t>(in_uiNbOfFrames);
    sf_seek(pFile.get(), info.frames - iNbOfFrames, SEEK_SET);
    if (sf_read_double(pFile.get(), vFrames.data(), iNbOfFrames) != iNbOfFrames)
        throw std::runtime_error("cannot read the hour");
    return vFrames;
}

double crossingRate(const std::vector<double>& in_vWindow)
{
    double dPrevious = in_vWindow[s_uiHop - 1]; // the last sample of the window before
    std::size_t uiNbOfCrossings = 0;
    for (const double dSample : in_vWindow) {
        if (dPrevious * dSample < 0.0 || (dSample == 0.0 && dPrevious != 0.0))
            ++uiNbOfCrossings;
        dPrevious = dSample;
    }
    return static_cast<double>(uiNbOfCrossings) / static_cast<double>(in_vWindow.size());
}

void appendRange(const std::vector<double>& in_vSpectrum, const RoadBand& in_band, std::vector<double>& out_vRow)
{
    const double dCenter = static_cast<double>(in_band.m_uiCenterHz) / 31.25;
    const auto uiCenter = static_cast<std::size_t>(dCenter + 0.5);
    const auto uiHalf = static_cast<std::size_t>(std::ceil(static_cast<double>(in_band.m_uiHalfWidthHz) / 31.25));
    for (std::size_t uiBin = uiCenter - uiHalf; uiBin <= uiCenter + uiHalf; ++uiBin)
        out_vRow.push_back(in_vSpectrum[uiBin]);
    out_vRow.push_back(dCenter - static_cast<double>(uiCenter));
}

std::vector<double> plainRow(const std::vector<double>& in_vWindow, const std::vector<double>& in_vTaper)
{
    const std::vector<double> vSpectrum = Plain::spectrum(in_vWindow, in_vTaper);
    std::vector<double> vRow = vSpectrum;
    vRow.push_back(Plain::flatness(vSpectrum));
    vRow.push_back(crossingRate(in_vWindow));
    for (const RoadBand& band : s_aRoadBands)
        appendRange(vSpectrum, band, vRow);
    return vRow;
}

// A peer must do the work: as many rows, and the last ones near the plain ones.
bool givesThePlainRows(RoadPeer& inout_peer)
{
    RoadRows rows(s_uiRowsToCheck);
    if (!inout_peer.analyse(RoadHour::get().path(), rows) || rows.getNbOfRows() != s_uiNbOfWindows)
        return false;
    const std::vector<double> vFrames = lastFrames(s_uiRowsToCheck * s_uiHop + s_uiHop);
    const std::vector<double> vTaper = Plain::hannTable(s_uiWindow);
    for (std::size_t uiRow = 0; uiRow < s_uiRowsToCheck; ++uiRow) {
        const auto itFirst = vFrames.begin() + static_cast<std::ptrdiff_t>(uiRow * s_uiHop);
        const std::vector<double> vExpected = plainRow({itFirst, itFirst + s_uiWindow}, vTaper);
        const RoadRow& row = rows[(s_uiNbOfWindows + uiRow) % s_uiRowsToCheck];
        const auto isNear = [&](double in_dExpected, double in_dActual) {
            return std::abs(in_dExpected - in_dActual) <= inout_peer.getTolerance();
        };
        if (!std::equal(row.begin(), row.end(), vExpected.begin(), vExpected.end(), isNear))
            return false;
    }
    return true;
}

void analyse(benchmark::State& inout_state, MadeRoadPeer (*in_pMake)(), bool& inout_bChecked)
{
    const MadeRoadPeer pPeer = in_pMake();
    if (!inout_bChecked && !givesThePlainRows(*pPeer))
        return inout_state.SkipWithError("other values");
    inout_bChecked = true;
    RoadRows rows(1);
    for (auto unused : inout_state) {
        pPeer->analyse(RoadHour::get().path(), rows);
        benchmark::DoNotOptimize(rows);
        benchmark::ClobberMemory();
    }
    countSamples(inout_state, s_uiRoadFrames);
}

const bool s_bAdded = [] {
    for (const NamedRoadPeer& peer : roadPeers()) {
        benchmark::RegisterBenchmark(("Road_" + peer.m_strName).c_str(),
                                     [=, bChecked = false](benchmark::State& inout_state) mutable {
                                         analyse(inout_state, peer.m_pMake, bChecked);
                                     })
            ->Arg(s_uiWindow)
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

} // namespace
} // namespace Corvana::Bench
