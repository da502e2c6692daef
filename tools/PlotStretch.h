// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>

namespace Corvana::Tools {

/// The samples of a recording that are drawn, and the columns of pixels that they are drawn in.
struct PlotStretch
{
    unsigned long m_uiBegin = 0; ///< the first sample
    unsigned long m_uiEnd = 0;   ///< behind the last one
    unsigned long m_uiSampleRate = 0;
    unsigned long m_uiMaxNbOfColumns = 1;

    unsigned long getNbOfSamples() const { return m_uiEnd - m_uiBegin; }
    /// No more than there are samples.
    unsigned long getNbOfColumns() const { return std::min(m_uiMaxNbOfColumns, getNbOfSamples()); }
    double getFrom() const { return static_cast<double>(m_uiBegin) / static_cast<double>(m_uiSampleRate); }
    double getTo() const { return static_cast<double>(m_uiEnd) / static_cast<double>(m_uiSampleRate); }
};

} // namespace Corvana::Tools
