// SPDX-License-Identifier: Apache-2.0
#pragma once

// What stands between the spectrum plan and its kernels: the tables that a plan fills, and the entry points of a kernel
// that was compiled for one instruction set. Included by sources with flags of their own, so it holds nothing but
// plain data and declarations: an inline function would be emitted there for everybody.

namespace Corvana::Math {

/// The windows that a kernel adds up side by side.
constexpr unsigned long s_uiNbOfWindowsAtOnce = 8;

/// More passes than any size needs.
constexpr unsigned long s_uiMaxNbOfPasses = 32;

/// The tables of one size, in the order in which a kernel reads them. All start at multiples of 64 bytes.
struct SpectrumTables
{
    /// Complex points: half of the window's size.
    unsigned long m_uiNbOfPoints;
    /// The passes before the last one, and how many parts each one combines (2, 4 or 8).
    unsigned long m_uiNbOfPasses;
    unsigned long m_auiRadix[s_uiMaxNbOfPasses];
    /// One coefficient a sample.
    const double* m_pTaper;
    /// For each pass but the last, for each k: the pass's factors, each as (real, imaginary).
    const double* m_pPassFactors;
    /// For each block of k: the last pass's factors, each as a vector of real and a vector of imaginary parts.
    const double* m_pLastFactors;
    /// For each block of bins of the lower half: the factors that separate them from their mirror images, as a vector
    /// of real and one of imaginary parts.
    const double* m_pBinFactors;
};

/// A kernel for one instruction set and one vector length.
struct SpectrumKernel
{
    /// Doubles in a vector, and points in a block: a block is a vector of real parts and one of imaginary parts.
    unsigned long m_uiLanes;
    /// The parts that the last pass combines, and the most that another one does.
    unsigned long m_uiLastRadix;
    unsigned long m_uiMaxRadix;
    /// The spectrum of one window. Scratch: 2 * size doubles from a multiple of 64 bytes on.
    void (*m_pCompute)(const SpectrumTables& in_tables, const double* in_pWindow, double* out_pBins,
                       double* inout_pScratch);
    /// The spectra of s_uiNbOfWindowsAtOnce windows. Scratch: 2 * size doubles and s_uiNbOfWindowsAtOnce * size / 2
    /// more, from a multiple of 64 bytes on.
    void (*m_pComputeSeveral)(const SpectrumTables& in_tables, const double* const* in_ppWindows,
                              double* const* out_ppBins, double* inout_pScratch);
};

/// The kernel of an instruction set for that many points; null for too few. It needs
/// m_uiLanes * m_uiLastRadix points at least.
const SpectrumKernel* findPortableKernel(unsigned long in_uiNbOfPoints);
#if defined(__x86_64__)
const SpectrumKernel* findBaselineKernel(unsigned long in_uiNbOfPoints);
const SpectrumKernel* findAvx2Kernel(unsigned long in_uiNbOfPoints);
const SpectrumKernel* findAvx512Kernel(unsigned long in_uiNbOfPoints);
#endif

} // namespace Corvana::Math
