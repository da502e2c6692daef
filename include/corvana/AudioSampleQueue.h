// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"
#include "corvana/MathDoubleVector.h"

#include <cstddef>

namespace Corvana::Audio {

/// Samples waiting to be consumed: appended at the back, taken from the front, and always one contiguous block, so
/// that a window is one range copy. Taking moves nothing; room in front is reclaimed when the block is full and at
/// least half of it has been taken, so each sample is moved at most about once.
class CORVANA_API SampleQueue
{
public:
    std::size_t size() const { return m_vSamples.size() - m_uiTaken; }
    const double* begin() const { return m_vSamples.data() + m_uiTaken; }

    void push(const double* in_pBegin, const double* in_pEnd);
    /// Takes the oldest samples away; in_uiNbOfSamples is at most size().
    void pop(std::size_t in_uiNbOfSamples);
    /// Keeps the storage.
    void clear();

private:
    Math::DoubleVector m_vSamples;
    std::size_t m_uiTaken = 0;
};

} // namespace Corvana::Audio
