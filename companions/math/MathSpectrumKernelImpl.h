// SPDX-License-Identifier: Apache-2.0
// The spectrum of a window: taper, real Fourier transform, powers, total, normalisation. This is the one kernel
// source; each MathSpectrumKernel*.cpp includes it and is compiled for one instruction set. MathSpectrumPlan.cpp makes
// the tables. This page says what the kernel computes, where the values lie, and why the result is exact.
//
// What may not change. The plain algorithm (MathFourierTransform.cpp, and powers added up in index order) fixes for
// every value which operations on which operands it is the result of, and their order. Floating-point operations are
// rounded one by one, so the same operations on the same operands give the same bits, in a vector as alone, whenever
// they are done and wherever their operands lie. All speed comes from these two freedoms: when, and where. Nothing is
// simplified. No product with the factor (1, 0) is left out: it makes a NaN of an infinity, and decides signs of
// zeros. The factor of a quarter turn is no exchange of real and imaginary part: the recurrences that make the factors
// begin with 6.28318530717959, which is not two pi rounded to a double, and leave it a real part of -7e-16. 0.5 *
// (a + b) and c * (0.5 * d) stay, as halving before or after another operation is not the same for subnormal values.
// No multiplication is fused with an addition.
//
// The transform. The n samples count as M = n/2 complex points: even samples real, odd samples imaginary parts. The
// plain algorithm first sorts the points by their reversed index, then combines two transforms of s points each into
// one of 2s points, for s = 1, 2, 4, ...: a *stage*. Its *butterfly* takes one value of each, and factor k of the
// stage:
//
//     low' = low + factor * high                  (values k ...
//     high' = low - factor * high                  ... and k + s of the transform of 2s points)
//
// A transform of s = 2^j points after j stages is that of every (M/s)-th point, beginning at some point i. So the
// state between stages is a table Y[k][i], k from 0 to s - 1 being the frequency and i from 0 to M/s - 1 the first
// point. Before the first stage, s is 1, and Y[0][i] is point i, in its natural order: nothing needs to be sorted, if
// only the butterfly is told which values belong together. They are
//
//     Y[k][i] and Y[k][i + M/2s], with factor k   ->   Y'[k][i] and Y'[k + s][i]
//
// for i below M/2s. The reversal is only where the plain algorithm puts the same values. After the last stage, there
// is one i, and Y[k][0] is value k of the transform, in natural order again.
//
// Vectors. A row Y[k] lies in memory i by i, as blocks of a vector of real parts and a vector of imaginary parts, as
// many as it has lanes. The lanes of a vector are neighbours in i (in the order in which it costs least to take the
// window apart, see MathVectorLanes.h): all take the same factor, and nothing has to move between lanes. That holds
// while a row has at least as many points as a vector has lanes. For the last stages, the vectors turn: a square of
// rows k, k + 1, ... and points i is transposed in registers, and from then on lane l is k + l, with a vector of
// factors.
//
// Passes. Going through memory once per stage would cost more than the arithmetic. A pass does one, two or three
// stages on 2, 4 or 8 *parts* that it holds in registers: rows' parts i, i + M/8s, i + 2M/8s, ... for three stages.
// Each of them runs through exactly the butterflies of three stages one after another (combine()), with the 1 + 2 + 4
// factors that those stages give it. The parts come out in bit-reversed order, which only says which register is
// stored where.
//     firstPass   reads the window, multiplies it by the taper and takes it apart into real and imaginary parts
//     nextPass    as often as needed, between the halves of the scratch
//     lastPass    turns the vectors; its row is what remains of i, so its radix is that of the square
//
// Powers. The transform of the real samples follows from the transform Z of the points: bin k from Z[k] and Z[M - k],
// together with bin M - k. formPowers() takes both for a vector of k at once. The mirror images come from aligned
// blocks whose lanes are turned round (mirror()): loads that straddle two blocks would wait for both to be written. A
// mirrored block of k = 8 .. 15 is M - 8 .. M - 15, one place beside the blocks in memory, so each mirrored vector
// takes one lane from the block before; the powers go back the same way. The powers are formed in registers; the
// transform itself is never stored.
//
// The total. Bins are added up in index order, and each addition waits for the one before: n/2 times the latency of an
// addition, more than a quarter of the time of one window with the longest vectors. While the powers of later bins are
// formed, those of the lower half are added up. Several windows at once (computeSeveral()) go further: each window's
// sum is one of eight chains side by side. Those are the same additions in the same order, only not while waiting.
//
// Sizes. A kernel needs M >= lanes * uiLastRadix, so that rows are long enough to the end; shorter windows take
// shorter vectors or the plain road. 8 lanes and radix 8 need 16 of 32 registers for the parts; with 16 registers,
// radix 4 takes 8.
//
// House rules for this source: nothing but the vectors' operators, for these the compiler may not reorder; no function
// with external linkage and no templates of the standard library, see MathVectorLanes.h; no -ffast-math, no
// contraction, and no vectors but those written here: g++ 12 makes vfmaddsub of straight code that it turns into
// vectors by itself. A test disassembles the library and refuses every fused instruction.
#pragma once

#include "MathSpectrumKernel.h"
#include "MathVectorLanes.h"

namespace Corvana::Math {
namespace {

template <unsigned long uiLanes, unsigned long uiLastRadix, unsigned long uiMaxRadix>
class SpectrumKernelOf
{
public:
    static constexpr SpectrumKernel make() { return {uiLanes, uiLastRadix, uiMaxRadix, &compute, &computeSeveral}; }

private:
    using L = Lanes<uiLanes>;
    using Vector = typename L::Vector;

    // As many complex numbers as there are lanes.
    struct Points
    {
        Vector m_vReal;
        Vector m_vImaginary;
    };

    static CORVANA_KERNEL_INLINE Points load(const double* in_p) { return {L::load(in_p), L::load(in_p + uiLanes)}; }
    static CORVANA_KERNEL_INLINE Points splat(const double* in_p) { return {L::splat(in_p[0]), L::splat(in_p[1])}; }
    static CORVANA_KERNEL_INLINE void store(double* out_p, const Points& in_points)
    {
        L::store(out_p, in_points.m_vReal);
        L::store(out_p + uiLanes, in_points.m_vImaginary);
    }

    // The operations that the plain algorithm does on two points, in its order.
    static CORVANA_KERNEL_INLINE void butterfly(Points& inout_low, Points& inout_high, const Points& in_factor)
    {
        const Vector vReal = in_factor.m_vReal * inout_high.m_vReal - in_factor.m_vImaginary * inout_high.m_vImaginary;
        const Vector vImaginary =
            in_factor.m_vReal * inout_high.m_vImaginary + in_factor.m_vImaginary * inout_high.m_vReal;
        inout_high.m_vReal = inout_low.m_vReal - vReal;
        inout_high.m_vImaginary = inout_low.m_vImaginary - vImaginary;
        inout_low.m_vReal = inout_low.m_vReal + vReal;
        inout_low.m_vImaginary = inout_low.m_vImaginary + vImaginary;
    }

    // One, two or three stages. Part uiPart of the result ends in in place bitsReversed(uiPart).
    template <unsigned long uiRadix>
    static CORVANA_KERNEL_INLINE void combine(Points (&inout_aParts)[uiRadix], const Points (&in_aFactors)[uiRadix - 1])
    {
        for (unsigned long uiPart = 0; uiPart < uiRadix / 2; ++uiPart)
            butterfly(inout_aParts[uiPart], inout_aParts[uiPart + uiRadix / 2], in_aFactors[0]);
        if constexpr (uiRadix >= 4) {
            constexpr unsigned long uiQuarter = uiRadix / 4;
            for (unsigned long uiPart = 0; uiPart < uiQuarter; ++uiPart) {
                butterfly(inout_aParts[uiPart], inout_aParts[uiPart + uiQuarter], in_aFactors[1]);
                butterfly(inout_aParts[uiPart + 2 * uiQuarter], inout_aParts[uiPart + 3 * uiQuarter], in_aFactors[2]);
            }
        }
        if constexpr (uiRadix == 8) {
            butterfly(inout_aParts[0], inout_aParts[1], in_aFactors[3]);
            butterfly(inout_aParts[4], inout_aParts[5], in_aFactors[4]);
            butterfly(inout_aParts[2], inout_aParts[3], in_aFactors[5]);
            butterfly(inout_aParts[6], inout_aParts[7], in_aFactors[6]);
        }
    }

    template <unsigned long uiRadix>
    static constexpr unsigned long bitsReversed(unsigned long in_uiPart)
    {
        unsigned long uiReversed = 0;
        for (unsigned long uiBit = 1; uiBit < uiRadix; uiBit *= 2)
            uiReversed = 2 * uiReversed + (in_uiPart / uiBit) % 2;
        return uiReversed;
    }

    // The first pass: k is 0 for every point, and the parts are pieces of the window itself.
    template <unsigned long uiRadix>
    static void firstPass(const SpectrumTables& in_tables, const double* in_pWindow, double* out_pTo)
    {
        Points aFactors[uiRadix - 1];
        for (unsigned long uiFactor = 0; uiFactor + 1 < uiRadix; ++uiFactor)
            aFactors[uiFactor] = splat(in_tables.m_pPassFactors + 2 * uiFactor);
        const unsigned long uiStride = 2 * in_tables.m_uiNbOfPoints / uiRadix;
        const double* pTaper = in_tables.m_pTaper;
        for (unsigned long uiAt = 0; uiAt < uiStride; uiAt += 2 * uiLanes) {
            Points aParts[uiRadix];
            for (unsigned long uiPart = 0; uiPart < uiRadix; ++uiPart) {
                const unsigned long uiSample = uiAt + uiPart * uiStride;
                const Vector vFirst = L::loadUnaligned(in_pWindow + uiSample) * L::load(pTaper + uiSample);
                const Vector vSecond =
                    L::loadUnaligned(in_pWindow + uiSample + uiLanes) * L::load(pTaper + uiSample + uiLanes);
                aParts[uiPart] = {L::even(vFirst, vSecond), L::odd(vFirst, vSecond)};
            }
            combine<uiRadix>(aParts, aFactors);
            for (unsigned long uiPart = 0; uiPart < uiRadix; ++uiPart)
                store(out_pTo + uiAt + uiPart * uiStride, aParts[bitsReversed<uiRadix>(uiPart)]);
        }
    }

    // A pass between: in_uiNbOfParts transforms, each spread over the points' remaining index.
    template <unsigned long uiRadix>
    static void nextPass(const SpectrumTables& in_tables, const double* in_pFactors, unsigned long in_uiNbDone,
                         const double* in_pFrom, double* out_pTo)
    {
        const unsigned long uiRow = 2 * in_tables.m_uiNbOfPoints / (in_uiNbDone * uiRadix);
        const unsigned long uiStride = 2 * in_tables.m_uiNbOfPoints / uiRadix;
        for (unsigned long uiK = 0; uiK < in_uiNbDone; ++uiK) {
            Points aFactors[uiRadix - 1];
            for (unsigned long uiFactor = 0; uiFactor + 1 < uiRadix; ++uiFactor)
                aFactors[uiFactor] = splat(in_pFactors + 2 * uiFactor);
            in_pFactors += 2 * (uiRadix - 1);
            for (unsigned long uiAt = 0; uiAt < uiRow; uiAt += 2 * uiLanes) {
                Points aParts[uiRadix];
                for (unsigned long uiPart = 0; uiPart < uiRadix; ++uiPart)
                    aParts[uiPart] = load(in_pFrom + uiAt + uiPart * uiRow);
                combine<uiRadix>(aParts, aFactors);
                for (unsigned long uiPart = 0; uiPart < uiRadix; ++uiPart)
                    store(out_pTo + uiAt + uiPart * uiStride, aParts[bitsReversed<uiRadix>(uiPart)]);
            }
            in_pFrom += uiRadix * uiRow;
            out_pTo += uiRow;
        }
    }

    // The last pass: the remaining index has shrunk to uiLastRadix, so the vectors turn to run over k.
    static CORVANA_KERNEL_INLINE void lastPass(const SpectrumTables& in_tables, const double* in_pFrom, double* out_pTo)
    {
        const double* pFactors = in_tables.m_pLastFactors;
        const unsigned long uiStride = 2 * in_tables.m_uiNbOfPoints / uiLastRadix;
        for (unsigned long uiAt = 0; uiAt < uiStride; uiAt += 2 * uiLanes) {
            Points aParts[uiLastRadix];
            for (unsigned long uiColumn = 0; uiColumn < uiLastRadix; uiColumn += uiLanes) {
                Vector avReal[uiLanes];
                Vector avImaginary[uiLanes];
                for (unsigned long uiRow = 0; uiRow < uiLanes; ++uiRow) {
                    const Points row = load(in_pFrom + 2 * (uiRow * uiLastRadix + uiColumn));
                    avReal[uiRow] = row.m_vReal;
                    avImaginary[uiRow] = row.m_vImaginary;
                }
                L::transpose(avReal);
                L::transpose(avImaginary);
                for (unsigned long uiRow = 0; uiRow < uiLanes; ++uiRow)
                    aParts[uiColumn + uiRow] = {avReal[uiRow], avImaginary[uiRow]};
            }
            Points aFactors[uiLastRadix - 1];
            for (unsigned long uiFactor = 0; uiFactor + 1 < uiLastRadix; ++uiFactor)
                aFactors[uiFactor] = load(pFactors + 2 * uiLanes * uiFactor);
            combine<uiLastRadix>(aParts, aFactors);
            for (unsigned long uiPart = 0; uiPart < uiLastRadix; ++uiPart)
                store(out_pTo + uiAt + uiPart * uiStride, aParts[bitsReversed<uiLastRadix>(uiPart)]);
            pFactors += 2 * uiLanes * (uiLastRadix - 1);
            in_pFrom += 2 * uiLanes * uiLastRadix;
        }
    }

    // All stages; returns which half of the scratch holds the transformed points, in their natural order.
    static CORVANA_KERNEL_INLINE double* transform(const SpectrumTables& in_tables, const double* in_pWindow,
                                                   double* inout_pScratch)
    {
        double* pFrom = inout_pScratch;
        double* pTo = inout_pScratch + 2 * in_tables.m_uiNbOfPoints;
        const double* pFactors = in_tables.m_pPassFactors;
        unsigned long uiNbDone = in_tables.m_auiRadix[0];
        switch (uiNbDone) {
        case 2:
            firstPass<2>(in_tables, in_pWindow, pFrom);
            break;
        case 4:
            firstPass<4>(in_tables, in_pWindow, pFrom);
            break;
        default:
            if constexpr (uiMaxRadix == 8)
                firstPass<8>(in_tables, in_pWindow, pFrom);
        }
        pFactors += 2 * (uiNbDone - 1);
        for (unsigned long uiPass = 1; uiPass < in_tables.m_uiNbOfPasses; ++uiPass) {
            const unsigned long uiRadix = in_tables.m_auiRadix[uiPass];
            if (uiMaxRadix == 8 && uiRadix == 8) {
                if constexpr (uiMaxRadix == 8)
                    nextPass<8>(in_tables, pFactors, uiNbDone, pFrom, pTo);
            } else {
                nextPass<4>(in_tables, pFactors, uiNbDone, pFrom, pTo);
            }
            pFactors += 2 * uiNbDone * (uiRadix - 1);
            uiNbDone *= uiRadix;
            double* const pFormer = pFrom;
            pFrom = pTo;
            pTo = pFormer;
        }
        lastPass(in_tables, pFrom, pTo);
        return pTo;
    }

    static CORVANA_KERNEL_INLINE void addUp(double& inout_dTotal, const double* in_pPowers)
    {
        for (unsigned long uiLane = 0; uiLane < uiLanes; ++uiLane)
            inout_dTotal += in_pPowers[uiLane];
    }

    // From the points to the powers; the lower half of them is added up on the way.
    template <bool bAddUp>
    static CORVANA_KERNEL_INLINE double formPowers(const SpectrumTables& in_tables, const double* in_pPoints,
                                                   double* out_pPowers)
    {
        const unsigned long uiNbOfPoints = in_tables.m_uiNbOfPoints;
        const Vector vHalf = L::splat(0.5);
        const Vector vMinusHalf = L::splat(-0.5);
        const double* pFactors = in_tables.m_pBinFactors;
        const double* pLow = in_pPoints;
        const double* pHigh = in_pPoints + 2 * uiNbOfPoints;
        double* pHighPowers = out_pPowers + uiNbOfPoints;
        Points next = load(in_pPoints); // point 0 stands for the point behind the last one, too
        Vector vFormerHigh = L::splat(0.0);
        double dTotal = 0.0;
        for (unsigned long uiBin = 0; uiBin < uiNbOfPoints / 2; uiBin += uiLanes) {
            pHigh -= 2 * uiLanes;
            const Points low = load(pLow);
            const Points block = load(pHigh);
            const Points high{L::mirror(block.m_vReal, next.m_vReal), L::mirror(block.m_vImaginary, next.m_vImaginary)};
            next = block;
            const Points factor = load(pFactors);

            const Vector h1r = vHalf * (low.m_vReal + high.m_vReal);
            const Vector h1i = vHalf * (low.m_vImaginary - high.m_vImaginary);
            const Vector h2r = vHalf * (low.m_vImaginary + high.m_vImaginary);
            const Vector h2i = vMinusHalf * (low.m_vReal - high.m_vReal);
            const Vector vLowReal = h1r + factor.m_vReal * h2r - factor.m_vImaginary * h2i;
            const Vector vLowImaginary = h1i + factor.m_vReal * h2i + factor.m_vImaginary * h2r;
            const Vector vHighReal = h1r - factor.m_vReal * h2r + factor.m_vImaginary * h2i;
            const Vector vHighImaginary = -h1i + factor.m_vReal * h2i + factor.m_vImaginary * h2r;

            Vector vLowPower = vLowReal * vLowReal + vLowImaginary * vLowImaginary;
            const Vector vHighPower = vHighReal * vHighReal + vHighImaginary * vHighImaginary;
            if (uiBin == 0) {
                const double dFirst = L::first(low.m_vReal) + L::first(low.m_vImaginary);
                vLowPower = L::withFirst(vLowPower, dFirst * dFirst);
            } else {
                pHighPowers -= uiLanes;
                L::store(pHighPowers, L::mirror(vFormerHigh, vHighPower));
            }
            vFormerHigh = vHighPower;
            L::store(out_pPowers + uiBin, vLowPower);
            if constexpr (bAddUp)
                addUp(dTotal, out_pPowers + uiBin);
            pLow += 2 * uiLanes;
            pFactors += 2 * uiLanes;
        }
        // The bin in the middle is its own mirror image and stays as it is.
        const Points middle = load(pLow);
        const Vector vMiddle = middle.m_vReal * middle.m_vReal + middle.m_vImaginary * middle.m_vImaginary;
        L::store(pHighPowers - uiLanes, L::mirror(vFormerHigh, vMiddle));
        if constexpr (bAddUp)
            for (unsigned long uiBin = uiNbOfPoints / 2; uiBin < uiNbOfPoints; uiBin += uiLanes)
                addUp(dTotal, out_pPowers + uiBin);
        return dTotal;
    }

    static CORVANA_KERNEL_INLINE void normalise(double in_dTotal, const double* in_pPowers, unsigned long in_uiNbOfBins,
                                                double* out_pBins)
    {
        // A factor of 1 changes no bit.
        const Vector vFactor = L::splat(in_dTotal != 0.0 ? 1.0 / in_dTotal : 1.0);
        for (unsigned long uiBin = 0; uiBin < in_uiNbOfBins; uiBin += uiLanes)
            L::storeUnaligned(out_pBins + uiBin, L::load(in_pPowers + uiBin) * vFactor);
    }

    static double* otherHalf(const SpectrumTables& in_tables, const double* in_pHalf, double* in_pScratch)
    {
        return in_pHalf == in_pScratch ? in_pScratch + 2 * in_tables.m_uiNbOfPoints : in_pScratch;
    }

    static void compute(const SpectrumTables& in_tables, const double* in_pWindow, double* out_pBins,
                        double* inout_pScratch)
    {
        const double* const pPoints = transform(in_tables, in_pWindow, inout_pScratch);
        double* const pPowers = otherHalf(in_tables, pPoints, inout_pScratch);
        const double dTotal = formPowers<true>(in_tables, pPoints, pPowers);
        normalise(dTotal, pPowers, in_tables.m_uiNbOfPoints, out_pBins);
    }

    static void computeSeveral(const SpectrumTables& in_tables, const double* const* in_ppWindows,
                               double* const* out_ppBins, double* inout_pScratch)
    {
        const unsigned long uiNbOfBins = in_tables.m_uiNbOfPoints;
        double* const pPowers = inout_pScratch + 4 * uiNbOfBins;
        for (unsigned long uiWindow = 0; uiWindow < s_uiNbOfWindowsAtOnce; ++uiWindow) {
            const double* const pPoints = transform(in_tables, in_ppWindows[uiWindow], inout_pScratch);
            formPowers<false>(in_tables, pPoints, pPowers + uiWindow * uiNbOfBins);
        }
        double adTotal[s_uiNbOfWindowsAtOnce] = {};
        for (unsigned long uiBin = 0; uiBin < uiNbOfBins; ++uiBin)
            for (unsigned long uiWindow = 0; uiWindow < s_uiNbOfWindowsAtOnce; ++uiWindow)
                adTotal[uiWindow] += pPowers[uiWindow * uiNbOfBins + uiBin];
        for (unsigned long uiWindow = 0; uiWindow < s_uiNbOfWindowsAtOnce; ++uiWindow)
            normalise(adTotal[uiWindow], pPowers + uiWindow * uiNbOfBins, uiNbOfBins, out_ppBins[uiWindow]);
    }
};

} // namespace
} // namespace Corvana::Math
