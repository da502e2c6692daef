// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathDoubleVector.h"
#include "corvana/MathSpectrumPlan.h"
#include "tools/PlotStretch.h"

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace Corvana::Tools {

/// The power of a stretch over time and frequency, gathered while its samples come. A column is the mean of the windows
/// whose middles lie in it; windows overlap by at least half, and reach beyond the stretch as far as there are samples.
/// They are tapered and transformed as the feature "spectrum" does it. Levels are in dB of a full-scale tone.
class Spectrogram
{
public:
    /// in_uiMaxNbOfRows: finer spectra are reduced to it, each row being the strongest of its bins.
    Spectrogram(const PlotStretch& in_stretch, unsigned long in_uiMaxNbOfRows);
    ~Spectrogram();
    Spectrogram(Spectrogram&&) noexcept;
    Spectrogram& operator=(Spectrogram&&) noexcept;

    /// The samples that the windows read: a little more than the stretch.
    unsigned long getFirstWanted() const;
    unsigned long getEndWanted() const;
    /// The samples from this one of the recording on. Without gaps from the first one wanted, or of the recording.
    void push(unsigned long in_uiFirst, std::span<const double> in_samples);
    /// There are no more samples: what is missing is silence.
    void finish();

    std::size_t getNbOfColumns() const { return m_uiNbOfColumns; }
    std::size_t getNbOfRows() const { return m_uiNbOfRows; }
    /// Half the sampling rate: the upper edge of the highest row.
    double getTopHz() const { return static_cast<double>(m_stretch.m_uiSampleRate) / 2.0; }
    /// Row 0 is the lowest frequency; minus infinity for silence.
    double getLevel(std::size_t in_uiColumn, std::size_t in_uiRow) const;
    /// What a pixel shows: places are parts of the whole, 0 at the left or lower edge and 1 at the right or upper one.
    /// Between two columns or bins a mixture of both, and the strongest of the rows where several fall into a pixel.
    double getLevelAt(double in_dColumnPlace, double in_dLowerPlace, double in_dUpperPlace) const;
    /// The highest level; minus infinity when all is silence.
    double getHighestLevel() const;
    unsigned long getWindowSize() const { return m_uiWindowSize; }

private:
    struct Transform;

    // Samples before the first one of the recording have negative places.
    long placeOfWindow(unsigned long in_uiWindow) const;
    void computeUpTo(long in_iEnd);
    void addWindow(const double* in_pSamples, unsigned long in_uiColumn);
    void dropBefore(long in_iPlace);
    double mixedLevel(double in_dColumn, double in_dRow) const;

    PlotStretch m_stretch;
    unsigned long m_uiNbOfColumns;
    unsigned long m_uiWindowSize;
    unsigned long m_uiWindowsOfColumn;
    unsigned long m_uiNbOfRows;
    std::unique_ptr<Transform> m_pTransform;
    std::vector<double> m_vPending; // samples of windows still to come
    long m_iPending = 0;            // the place of the first one
    unsigned long m_uiNextWindow = 0;
    std::vector<float> m_vPowers; // column by column, sums until finish(), then levels
};

} // namespace Corvana::Tools
