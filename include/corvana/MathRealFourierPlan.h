// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

#include <cstdint>
#include <vector>

namespace Corvana::Math {

/// The forward real Fourier transform of one size, with its tables made once.
/// transform() gives the same bits as discreteRealFastFourierTransform(data, size, 1.0): the tables hold what the
/// recurrences of that algorithm yield, and every value goes through the same operations in the same order.
/// Immutable after construction, so any number of threads may share a plan.
class CORVANA_API RealFourierPlan
{
public:
    /// in_uiSize: a power of two from 2 to 2^32 (checked by the standard assertion in debug builds); the tables take
    /// about 14 bytes a value.
    explicit RealFourierPlan(unsigned long in_uiSize);

    unsigned long getSize() const { return m_uiSize; }

    /// Transforms getSize() values in place; packed as discreteRealFastFourierTransform() packs them. Cost O(n log n);
    /// allocates nothing.
    void transform(double* inout_pData) const;

private:
    struct Twiddle
    {
        double m_dReal;
        double m_dImaginary;
    };
    struct Swap
    {
        std::uint32_t m_uiPoint;
        std::uint32_t m_uiReversed;
    };

    void makeSwaps();
    void makeStages();
    void makeRealPart();
    void swapBitReversed(double* inout_pData) const;
    void combineStages(double* inout_pData) const;
    void separateRealSpectrum(double* inout_pData) const;

    unsigned long m_uiSize;
    std::vector<Swap> m_vSwaps;
    std::vector<Twiddle> m_vStages;   // stage after stage: 1, 2, 4, ... twiddles
    std::vector<Twiddle> m_vRealPart; // one for each pair of bins k and size/2 - k
};

} // namespace Corvana::Math
