// SPDX-License-Identifier: Apache-2.0
#include "tools/Spectrogram.h"

#include "corvana/AudioSignalWindow.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>

namespace Corvana::Tools {
namespace {

constexpr double s_dWindowSeconds = 0.032; // tones of telephony, 30 Hz apart, and the syllables of speech
constexpr unsigned long s_uiMinWindowSize = 16;
constexpr unsigned long s_uiMaxWindowSize = 8192;
constexpr unsigned long s_uiLeastWindows = 8; // side by side in a short stretch

// A power of two, near the usual length but short enough for the stretch.
unsigned long windowSizeFor(const PlotStretch& in_stretch)
{
    const double dUsual = std::max(1.0, s_dWindowSeconds * static_cast<double>(in_stretch.m_uiSampleRate));
    const unsigned long uiUsual = 1UL << static_cast<unsigned>(std::lround(std::log2(dUsual)));
    const unsigned long uiShort = std::bit_floor(std::max(1UL, in_stretch.getNbOfSamples() / s_uiLeastWindows));
    return std::clamp(std::min(uiUsual, uiShort), s_uiMinWindowSize, s_uiMaxWindowSize);
}

double levelOf(double in_dPower)
{
    return in_dPower > 0.0 ? 10.0 * std::log10(in_dPower) : -std::numeric_limits<double>::infinity();
}

} // namespace

struct Spectrogram::Transform
{
    explicit Transform(unsigned long in_uiSize)
        : m_taper(in_uiSize)
        , m_plan(m_taper.getWindow())
        , m_vBins(in_uiSize / 2)
    {
        const double dSum = std::accumulate(m_taper.getWindow().begin(), m_taper.getWindow().end(), 0.0);
        m_dFullScale = dSum * dSum / 4.0;
    }

    // Powers in proportion to that of a full-scale tone. The plan gives shares of their sum, which follows from the
    // samples: size times the sum of their squares is the power at 0 Hz, that at the Nyquist frequency, and twice all
    // others.
    const Math::DoubleVector& compute(const double* in_pSamples)
    {
        m_plan.compute(in_pSamples, m_vBins.data(), m_scratch);
        const Math::DoubleVector& vTaper = m_taper.getWindow();
        double dSquares = 0.0;
        double dNyquist = 0.0;
        for (std::size_t uiSample = 0; uiSample < vTaper.size(); uiSample += 2) {
            const double dEven = vTaper[uiSample] * in_pSamples[uiSample];
            const double dOdd = vTaper[uiSample + 1] * in_pSamples[uiSample + 1];
            dSquares += dEven * dEven + dOdd * dOdd;
            dNyquist += dEven - dOdd;
        }
        const double dBoth = std::max(0.0, static_cast<double>(vTaper.size()) * dSquares - dNyquist * dNyquist);
        const double dFactor = dBoth / (2.0 - m_vBins[0]) / m_dFullScale;
        for (double& dBin : m_vBins)
            dBin *= dFactor;
        return m_vBins;
    }

    Audio::HannWindow m_taper;
    Math::SpectrumPlan m_plan;
    Math::SpectrumScratch m_scratch;
    Math::DoubleVector m_vBins;
    double m_dFullScale = 1.0;
};

Spectrogram::Spectrogram(const PlotStretch& in_stretch, unsigned long in_uiMaxNbOfRows)
    : m_stretch(in_stretch)
    , m_uiNbOfColumns(in_stretch.getNbOfColumns())
    , m_uiWindowSize(windowSizeFor(in_stretch))
    , m_uiNbOfRows(std::min(m_uiWindowSize / 2, std::bit_floor(std::max(1UL, in_uiMaxNbOfRows))))
    , m_pTransform(std::make_unique<Transform>(m_uiWindowSize))
{
    const unsigned long uiHop = m_uiWindowSize / 2;
    const unsigned long uiSamplesOfColumn = (in_stretch.getNbOfSamples() + m_uiNbOfColumns - 1) / m_uiNbOfColumns;
    m_uiWindowsOfColumn = (uiSamplesOfColumn + uiHop - 1) / uiHop;
    m_vPowers.assign(m_uiNbOfColumns * m_uiNbOfRows, 0.0F);
    // What lies before the recording is silence.
    m_iPending = placeOfWindow(0);
    if (m_iPending < 0)
        m_vPending.assign(static_cast<std::size_t>(-m_iPending), 0.0);
}

Spectrogram::~Spectrogram() = default;
Spectrogram::Spectrogram(Spectrogram&&) noexcept = default;
Spectrogram& Spectrogram::operator=(Spectrogram&&) noexcept = default;

long Spectrogram::placeOfWindow(unsigned long in_uiWindow) const
{
    // In the middles of as many equal parts of the stretch.
    const double dMiddle = (static_cast<double>(in_uiWindow) + 0.5) /
                           static_cast<double>(m_uiNbOfColumns * m_uiWindowsOfColumn) *
                           static_cast<double>(m_stretch.getNbOfSamples());
    return static_cast<long>(m_stretch.m_uiBegin) + std::lround(dMiddle) - static_cast<long>(m_uiWindowSize / 2);
}

unsigned long Spectrogram::getFirstWanted() const
{
    return static_cast<unsigned long>(std::max(0L, placeOfWindow(0)));
}

unsigned long Spectrogram::getEndWanted() const
{
    return static_cast<unsigned long>(placeOfWindow(m_uiNbOfColumns * m_uiWindowsOfColumn - 1)) + m_uiWindowSize;
}

void Spectrogram::push(unsigned long in_uiFirst, std::span<const double> in_samples)
{
    const unsigned long uiWanted = static_cast<unsigned long>(m_iPending + static_cast<long>(m_vPending.size()));
    if (in_uiFirst + in_samples.size() <= uiWanted)
        return;
    const std::span<const double> fresh = in_samples.subspan(uiWanted > in_uiFirst ? uiWanted - in_uiFirst : 0);
    for (const double dSample : fresh)
        m_vPending.push_back(std::isfinite(dSample) ? dSample : 0.0); // or one would blacken whole windows
    computeUpTo(m_iPending + static_cast<long>(m_vPending.size()));
}

void Spectrogram::computeUpTo(long in_iEnd)
{
    const unsigned long uiNbOfWindows = m_uiNbOfColumns * m_uiWindowsOfColumn;
    for (; m_uiNextWindow < uiNbOfWindows; ++m_uiNextWindow) {
        const long iPlace = placeOfWindow(m_uiNextWindow);
        if (iPlace + static_cast<long>(m_uiWindowSize) > in_iEnd)
            return dropBefore(iPlace);
        addWindow(m_vPending.data() + (iPlace - m_iPending), m_uiNextWindow / m_uiWindowsOfColumn);
    }
    dropBefore(in_iEnd);
}

void Spectrogram::dropBefore(long in_iPlace)
{
    const long iNbOfDropped = std::clamp(in_iPlace - m_iPending, 0L, static_cast<long>(m_vPending.size()));
    m_vPending.erase(m_vPending.begin(), m_vPending.begin() + iNbOfDropped);
    m_iPending += iNbOfDropped;
}

void Spectrogram::addWindow(const double* in_pSamples, unsigned long in_uiColumn)
{
    const Math::DoubleVector& vBins = m_pTransform->compute(in_pSamples);
    const unsigned long uiBinsOfRow = vBins.size() / m_uiNbOfRows;
    float* pColumn = m_vPowers.data() + in_uiColumn * m_uiNbOfRows;
    for (unsigned long uiRow = 0; uiRow < m_uiNbOfRows; ++uiRow) {
        const auto itBegin = vBins.begin() + static_cast<long>(uiRow * uiBinsOfRow);
        pColumn[uiRow] += static_cast<float>(*std::max_element(itBegin, itBegin + static_cast<long>(uiBinsOfRow)));
    }
}

void Spectrogram::finish()
{
    const unsigned long uiNbOfWindows = m_uiNbOfColumns * m_uiWindowsOfColumn;
    if (m_uiNextWindow < uiNbOfWindows) {
        // A recording that breaks off has nothing but silence from there on; these windows need not be computed.
        m_vPending.insert(m_vPending.end(), m_uiWindowSize, 0.0);
        computeUpTo(m_iPending + static_cast<long>(m_vPending.size()));
    }
    for (float& fPower : m_vPowers)
        fPower = static_cast<float>(levelOf(static_cast<double>(fPower) / static_cast<double>(m_uiWindowsOfColumn)));
    m_vPending.clear();
    m_pTransform.reset();
}

double Spectrogram::getLevel(std::size_t in_uiColumn, std::size_t in_uiRow) const
{
    return static_cast<double>(m_vPowers[in_uiColumn * m_uiNbOfRows + in_uiRow]);
}

// Columns and rows by their middles, as fractions of their numbers.
double Spectrogram::mixedLevel(double in_dColumn, double in_dRow) const
{
    const auto split = [](double in_dPlace, std::size_t in_uiCount, std::size_t& out_uiLow, std::size_t& out_uiHigh) {
        const double dPlace = std::clamp(in_dPlace, 0.0, static_cast<double>(in_uiCount - 1));
        out_uiLow = static_cast<std::size_t>(dPlace);
        out_uiHigh = std::min(out_uiLow + 1, in_uiCount - 1);
        return dPlace - static_cast<double>(out_uiLow);
    };
    // Silence is far below all that is drawn, and infinities cannot be mixed.
    const auto level = [this](std::size_t in_uiColumn, std::size_t in_uiRow) {
        return std::max(-1000.0, getLevel(in_uiColumn, in_uiRow));
    };
    std::size_t uiLeft = 0;
    std::size_t uiRight = 0;
    std::size_t uiLower = 0;
    std::size_t uiUpper = 0;
    const double dRight = split(in_dColumn, m_uiNbOfColumns, uiLeft, uiRight);
    const double dUpper = split(in_dRow, m_uiNbOfRows, uiLower, uiUpper);
    const double dLow = level(uiLeft, uiLower) * (1.0 - dRight) + level(uiRight, uiLower) * dRight;
    const double dHigh = level(uiLeft, uiUpper) * (1.0 - dRight) + level(uiRight, uiUpper) * dRight;
    return dLow * (1.0 - dUpper) + dHigh * dUpper;
}

double Spectrogram::getLevelAt(double in_dColumnPlace, double in_dLowerPlace, double in_dUpperPlace) const
{
    const double dColumn = in_dColumnPlace * static_cast<double>(m_uiNbOfColumns) - 0.5;
    // Bin 0 is at 0 Hz, so a bin's place is that of its frequency and not that of its number's middle.
    const unsigned long uiNbOfBins = m_uiWindowSize / 2;
    const double dBinsOfRow = static_cast<double>(uiNbOfBins) / static_cast<double>(m_uiNbOfRows);
    const auto rowAt = [&](double in_dPlace) {
        return in_dPlace * static_cast<double>(m_uiNbOfRows) - (dBinsOfRow - 1.0) / 2.0 / dBinsOfRow;
    };
    const double dLower = rowAt(in_dLowerPlace);
    const double dUpper = rowAt(in_dUpperPlace);
    double dLevel = mixedLevel(dColumn, (dLower + dUpper) / 2.0);
    for (double dRow = std::ceil(dLower); dRow < dUpper; dRow += 1.0)
        dLevel = std::max(dLevel, mixedLevel(dColumn, dRow));
    return dLevel;
}

double Spectrogram::getHighestLevel() const
{
    const auto itHighest = std::max_element(m_vPowers.begin(), m_vPowers.end());
    return itHighest == m_vPowers.end() ? -std::numeric_limits<double>::infinity() : static_cast<double>(*itHighest);
}

} // namespace Corvana::Tools
