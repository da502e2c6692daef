// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/PlotStretch.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Corvana::Tools {

/// The samples of a stretch, gathered in columns while they come.
class Waveform
{
public:
    struct Column
    {
        float m_fMin = 0.0F;
        float m_fMax = 0.0F;
        double m_dPower = 0.0; ///< sum of squares
        std::uint64_t m_uiNbOfSamples = 0;
        bool m_bClippedAbove = false;
        bool m_bClippedBelow = false;

        float getRms() const;
    };

    Waveform() = default;
    /// in_dClippingLevel: the amplitude from which a sample counts as clipped.
    Waveform(const PlotStretch& in_stretch, double in_dClippingLevel);

    /// The samples from this one of the recording on, in order; those outside the stretch are passed over.
    void push(unsigned long in_uiFirst, std::span<const double> in_samples);

    const std::vector<Column>& getColumns() const { return m_vColumns; }
    std::uint64_t getNbOfClipped() const { return m_uiNbOfClipped; }
    double getClippingLevel() const { return m_dClippingLevel; }
    /// The largest amplitude.
    double getPeak() const;

private:
    void add(Column& inout_column, double in_dSample);

    PlotStretch m_stretch;
    double m_dClippingLevel = 1.0;
    std::vector<Column> m_vColumns;
    std::uint64_t m_uiNbOfClipped = 0;
};

} // namespace Corvana::Tools
