// SPDX-License-Identifier: Apache-2.0
#include "tools/Waveform.h"

#include <algorithm>
#include <cmath>

namespace Corvana::Tools {

float Waveform::Column::getRms() const
{
    return m_uiNbOfSamples == 0 ? 0.0F : static_cast<float>(std::sqrt(m_dPower / static_cast<double>(m_uiNbOfSamples)));
}

Waveform::Waveform(const PlotStretch& in_stretch, double in_dClippingLevel)
    : m_stretch(in_stretch)
    , m_dClippingLevel(in_dClippingLevel)
    , m_vColumns(in_stretch.getNbOfColumns())
{
}

void Waveform::push(unsigned long in_uiFirst, std::span<const double> in_samples)
{
    const unsigned long uiNbOfColumns = m_vColumns.size();
    const unsigned long uiNbOfSamples = m_stretch.getNbOfSamples();
    unsigned long uiSample = std::max(in_uiFirst, m_stretch.m_uiBegin);
    const unsigned long uiStop = std::min(in_uiFirst + in_samples.size(), m_stretch.m_uiEnd);
    while (uiSample < uiStop) {
        const unsigned long uiColumn = (uiSample - m_stretch.m_uiBegin) * uiNbOfColumns / uiNbOfSamples;
        // The first sample of the next column, rounded up.
        const unsigned long uiNext =
            m_stretch.m_uiBegin + ((uiColumn + 1) * uiNbOfSamples + uiNbOfColumns - 1) / uiNbOfColumns;
        for (const unsigned long uiEnd = std::min(uiStop, uiNext); uiSample < uiEnd; ++uiSample)
            add(m_vColumns[uiColumn], in_samples[uiSample - in_uiFirst]);
    }
}

void Waveform::add(Column& inout_column, double in_dSample)
{
    if (!std::isfinite(in_dSample)) // as files of floating-point samples may hold
        return;
    const auto fSample = static_cast<float>(in_dSample);
    const bool bFirst = inout_column.m_uiNbOfSamples++ == 0;
    inout_column.m_fMin = bFirst ? fSample : std::min(inout_column.m_fMin, fSample);
    inout_column.m_fMax = bFirst ? fSample : std::max(inout_column.m_fMax, fSample);
    inout_column.m_dPower += in_dSample * in_dSample;
    if (std::fabs(in_dSample) < m_dClippingLevel)
        return;
    (in_dSample > 0.0 ? inout_column.m_bClippedAbove : inout_column.m_bClippedBelow) = true;
    ++m_uiNbOfClipped;
}

double Waveform::getPeak() const
{
    double dPeak = 0.0;
    for (const Column& column : m_vColumns)
        dPeak = std::max(
            {dPeak, std::fabs(static_cast<double>(column.m_fMin)), std::fabs(static_cast<double>(column.m_fMax))});
    return dPeak;
}

} // namespace Corvana::Tools
