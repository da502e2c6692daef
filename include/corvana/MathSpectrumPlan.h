// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"
#include "corvana/MathDoubleVector.h"
#include "corvana/MathSimd.h"

#include <memory>

namespace Corvana::Math {

struct SpectrumKernel;
struct SpectrumTables;
class RealFourierPlan;

/// Room for what a SpectrumPlan computes on the way. It grows with the first call that it is given to and is used again
/// by the next ones; one thread uses it at a time. A copy starts empty: nothing in it is worth copying.
class CORVANA_API SpectrumScratch
{
public:
    SpectrumScratch();
    ~SpectrumScratch();
    SpectrumScratch(const SpectrumScratch&);
    SpectrumScratch& operator=(const SpectrumScratch&);

private:
    friend class SpectrumPlan;
    DoubleVector m_vValues;
};

/// The normalised power spectrum of windows of one size, in one go: taper, real transform, powers, total and
/// normalisation, with all tables made once.
///
/// Gives the same bits as the plain algorithm, whatever the instruction set: each sample times its coefficient;
/// discreteRealFastFourierTransform(); bin 0 the square of the value at frequency 0, bin k real * real + imaginary *
/// imaginary, the Nyquist value dropped; all bins times 1.0 / total, where the total is their sum in index order,
/// unless it is 0. This holds for any values, infinities, NaNs, subnormal ones and overflows included (of a NaN, that
/// it is one).
///
/// Immutable after construction, so any number of threads may share a plan; each has its own scratch.
class CORVANA_API SpectrumPlan
{
public:
    /// in_vTaper: one coefficient a sample; their number, a power of two from 2 to 2^32 (checked by the standard
    /// assertion in debug builds), is the windows' size. The tables take about 2.5 doubles a sample.
    /// in_simd: supported by this processor.
    explicit SpectrumPlan(const DoubleVector& in_vTaper, Simd in_simd = getSimd());
    ~SpectrumPlan();
    SpectrumPlan(const SpectrumPlan&) = delete;
    SpectrumPlan& operator=(const SpectrumPlan&) = delete;

    unsigned long getSize() const { return m_uiSize; }
    unsigned long getNbOfBins() const { return m_uiSize / 2; }

    /// From getSize() samples to getNbOfBins() bins, which may not overlap.
    /// Uses 2 * getSize() values of scratch, and allocates nothing where it is that large.
    void compute(const double* in_pWindow, double* out_pBins, SpectrumScratch& inout_scratch) const;

    /// The same for several windows, with the same bits, faster than one by one: their totals are added up side by
    /// side. No output may overlap any window or another output. Windows may overlap each other.
    /// Uses 6 * getSize() values of scratch.
    void computeSeveral(unsigned long in_uiNbOfWindows, const double* const* in_ppWindows, double* const* out_ppBins,
                        SpectrumScratch& inout_scratch) const;

private:
    class TableMaker;

    void computeOne(const double* in_pWindow, double* out_pBins, double* inout_pScratch) const;
    void computePlainly(const double* in_pWindow, double* out_pBins, double* inout_pScratch) const;

    unsigned long m_uiSize;
    DoubleVector m_vTables;
    const double* m_pTaper;
    const SpectrumKernel* m_pKernel;
    std::unique_ptr<const SpectrumTables> m_pTables;     // for the kernel
    std::unique_ptr<const RealFourierPlan> m_pPlainPlan; // where a window is too short for the kernel
};

} // namespace Corvana::Math
