// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathRealFourierPlan.h"

#include "MathFourierRecurrence.h"
#include "corvana/MathFourierTransform.h"

#include <cassert>
#include <utility>

namespace Corvana::Math {

RealFourierPlan::RealFourierPlan(unsigned long in_uiSize)
    : m_uiSize(in_uiSize)
{
    assert(in_uiSize >= 2 && isPowerOfTwo(in_uiSize));
    makeSwaps();
    makeStages();
    makeRealPart();
}

void RealFourierPlan::makeSwaps()
{
    const unsigned long uiNbOfPoints = m_uiSize / 2;
    unsigned long uiReversed = 0;
    for (unsigned long uiPoint = 0; uiPoint < uiNbOfPoints; ++uiPoint) {
        if (uiReversed > uiPoint)
            m_vSwaps.push_back({static_cast<std::uint32_t>(uiPoint), static_cast<std::uint32_t>(uiReversed)});
        // Adds one to the number whose bits are read backwards.
        unsigned long uiBit = uiNbOfPoints / 2;
        while (uiBit != 0 && (uiReversed & uiBit) != 0) {
            uiReversed &= ~uiBit;
            uiBit /= 2;
        }
        uiReversed |= uiBit;
    }
}

void RealFourierPlan::makeStages()
{
    for (unsigned long uiSpan = 1; uiSpan < m_uiSize / 2; uiSpan *= 2) {
        const FourierRecurrence recurrence = FourierRecurrence::ofStage(uiSpan);
        Twiddle twiddle{1.0, 0.0};
        for (unsigned long uiTwiddle = 0; uiTwiddle < uiSpan; ++uiTwiddle) {
            m_vStages.push_back(twiddle);
            recurrence.advance(twiddle.m_dReal, twiddle.m_dImaginary);
        }
    }
}

void RealFourierPlan::makeRealPart()
{
    const FourierRecurrence recurrence = FourierRecurrence::ofRealPart(m_uiSize);
    Twiddle twiddle{1.0 + recurrence.m_dWpr, recurrence.m_dWpi};
    for (unsigned long uiBin = 1; uiBin < m_uiSize / 4; ++uiBin) {
        m_vRealPart.push_back(twiddle);
        recurrence.advance(twiddle.m_dReal, twiddle.m_dImaginary);
    }
}

void RealFourierPlan::transform(double* inout_pData) const
{
    swapBitReversed(inout_pData);
    combineStages(inout_pData);
    separateRealSpectrum(inout_pData);
}

void RealFourierPlan::swapBitReversed(double* inout_pData) const
{
    for (const Swap& swap : m_vSwaps) {
        double* const pPoint = inout_pData + 2 * static_cast<unsigned long>(swap.m_uiPoint);
        double* const pReversed = inout_pData + 2 * static_cast<unsigned long>(swap.m_uiReversed);
        std::swap(pPoint[0], pReversed[0]);
        std::swap(pPoint[1], pReversed[1]);
    }
}

void RealFourierPlan::combineStages(double* inout_pData) const
{
    const Twiddle* pStage = m_vStages.data();
    for (unsigned long uiSpan = 2; uiSpan < m_uiSize; uiSpan *= 2) {
        // Blocks outside and twiddles inside: neighbouring butterflies touch neighbouring values. They are independent
        // of each other, so their order does not matter; the operations within each do.
        for (unsigned long uiBlock = 0; uiBlock < m_uiSize; uiBlock += 2 * uiSpan) {
            double* const pLow = inout_pData + uiBlock;
            double* const pHigh = pLow + uiSpan;
            for (unsigned long uiValue = 0; uiValue < uiSpan; uiValue += 2) {
                const Twiddle twiddle = pStage[uiValue / 2];
                const double dHighReal = pHigh[uiValue];
                const double dHighImaginary = pHigh[uiValue + 1];
                const double dReal = twiddle.m_dReal * dHighReal - twiddle.m_dImaginary * dHighImaginary;
                const double dImaginary = twiddle.m_dReal * dHighImaginary + twiddle.m_dImaginary * dHighReal;
                pHigh[uiValue] = pLow[uiValue] - dReal;
                pHigh[uiValue + 1] = pLow[uiValue + 1] - dImaginary;
                pLow[uiValue] += dReal;
                pLow[uiValue + 1] += dImaginary;
            }
        }
        pStage += uiSpan / 2;
    }
}

void RealFourierPlan::separateRealSpectrum(double* inout_pData) const
{
    const double c1 = 0.5;
    const double c2 = -0.5;
    for (unsigned long uiBin = 1; uiBin < m_uiSize / 4; ++uiBin) {
        const Twiddle twiddle = m_vRealPart[uiBin - 1];
        double* const pLow = inout_pData + 2 * uiBin;
        double* const pHigh = inout_pData + (m_uiSize - 2 * uiBin);
        const double h1r = c1 * (pLow[0] + pHigh[0]);
        const double h1i = c1 * (pLow[1] - pHigh[1]);
        const double h2r = -c2 * (pLow[1] + pHigh[1]);
        const double h2i = c2 * (pLow[0] - pHigh[0]);
        pLow[0] = h1r + twiddle.m_dReal * h2r - twiddle.m_dImaginary * h2i;
        pLow[1] = h1i + twiddle.m_dReal * h2i + twiddle.m_dImaginary * h2r;
        pHigh[0] = h1r - twiddle.m_dReal * h2r + twiddle.m_dImaginary * h2i;
        pHigh[1] = -h1i + twiddle.m_dReal * h2i + twiddle.m_dImaginary * h2r;
    }
    const double dEven = inout_pData[0];
    inout_pData[0] = dEven + inout_pData[1];
    inout_pData[1] = dEven - inout_pData[1];
}

} // namespace Corvana::Math
