// SPDX-License-Identifier: Apache-2.0
// The transforms in the order of operations that defines their results. The sines and cosines come from recurrences,
// and the constants are not the nearest doubles to multiples of pi: both are part of the result, as is every product
// with 1.0 and 0.0 (it decides signs of zeros, and what becomes of infinities).
#include "corvana/MathFourierTransform.h"

#include "corvana/Assertion.h"

#include <cmath>
#include <utility>

namespace Corvana::Math {
namespace {

template <class T>
void swapBitReversed(T* inout_pData, unsigned long in_uiNbOfValues)
{
    const unsigned long uiNbOfPoints = in_uiNbOfValues / 2;
    unsigned long uiReversed = 0;
    for (unsigned long uiIndex = 0; uiIndex + 1 < in_uiNbOfValues; uiIndex += 2) {
        // The bound only matters for sizes that are no power of two.
        if (uiReversed > uiIndex && uiReversed + 1 < in_uiNbOfValues) {
            std::swap(inout_pData[uiReversed], inout_pData[uiIndex]);
            std::swap(inout_pData[uiReversed + 1], inout_pData[uiIndex + 1]);
        }
        unsigned long uiBit = uiNbOfPoints;
        while (uiBit >= 2 && uiReversed + 1 > uiBit) {
            uiReversed -= uiBit;
            uiBit /= 2;
        }
        uiReversed += uiBit;
    }
}

} // namespace

bool isPowerOfTwo(unsigned long in_uiValue)
{
    return in_uiValue != 0 && (in_uiValue & (in_uiValue - 1)) == 0;
}

template <class T>
void discreteFastFourierTransform(T* inout_pData, unsigned long in_uiSize, T in_isign)
{
    CORVANA_ASSERT_AT(CORVANA_HERE, isPowerOfTwo(in_uiSize), "isPowerOfTwo(nn)");

    const unsigned long uiNbOfValues = 2 * in_uiSize;
    swapBitReversed(inout_pData, uiNbOfValues);

    for (unsigned long uiSpan = 2; uiSpan < uiNbOfValues; uiSpan *= 2) {
        const T theta = in_isign * (6.28318530717959 / static_cast<T>(uiSpan));
        T wtemp = std::sin(0.5 * theta);
        const T wpr = -2.0 * wtemp * wtemp;
        const T wpi = std::sin(theta);
        T wr = 1.0;
        T wi = 0.0;
        for (unsigned long uiTwiddle = 0; uiTwiddle < uiSpan; uiTwiddle += 2) {
            for (unsigned long i = uiTwiddle; i < uiNbOfValues; i += 2 * uiSpan) {
                const unsigned long j = i + uiSpan;
                if (j + 1 >= uiNbOfValues)
                    break; // never for a power of two
                const T tempr = wr * inout_pData[j] - wi * inout_pData[j + 1];
                const T tempi = wr * inout_pData[j + 1] + wi * inout_pData[j];
                inout_pData[j] = inout_pData[i] - tempr;
                inout_pData[j + 1] = inout_pData[i + 1] - tempi;
                inout_pData[i] += tempr;
                inout_pData[i + 1] += tempi;
            }
            wtemp = wr;
            wr = wtemp * wpr - wi * wpi + wr;
            wi = wi * wpr + wtemp * wpi + wi;
        }
    }
}

template <class T>
void discreteRealFastFourierTransform(T* inout_pData, unsigned long in_uiSize, T in_isign)
{
    CORVANA_ASSERT_AT(CORVANA_HERE, isPowerOfTwo(in_uiSize), "isPowerOfTwo(n)");
    if (in_uiSize < 2)
        return;

    const bool bForward = in_isign == T(1.0);
    const T c1 = 0.5;
    const T c2 = bForward ? -0.5 : 0.5;
    T theta = 3.141592653589793 / static_cast<T>(in_uiSize / 2); // NOLINT(bugprone-integer-division): of an even number
    if (bForward)
        discreteFastFourierTransform(inout_pData, in_uiSize / 2, T(1.0));
    else
        theta = -theta;

    T wtemp = std::sin(0.5 * theta);
    const T wpr = -2.0 * wtemp * wtemp;
    const T wpi = std::sin(theta);
    T wr = 1.0 + wpr;
    T wi = wpi;
    for (unsigned long uiBin = 1; uiBin < in_uiSize / 4; ++uiBin) {
        const unsigned long i1 = 2 * uiBin;
        const unsigned long i2 = i1 + 1;
        const unsigned long i3 = in_uiSize - i1;
        const unsigned long i4 = i3 + 1;
        const T h1r = c1 * (inout_pData[i1] + inout_pData[i3]);
        const T h1i = c1 * (inout_pData[i2] - inout_pData[i4]);
        const T h2r = -c2 * (inout_pData[i2] + inout_pData[i4]);
        const T h2i = c2 * (inout_pData[i1] - inout_pData[i3]);
        inout_pData[i1] = h1r + wr * h2r - wi * h2i;
        inout_pData[i2] = h1i + wr * h2i + wi * h2r;
        inout_pData[i3] = h1r - wr * h2r + wi * h2i;
        inout_pData[i4] = -h1i + wr * h2i + wi * h2r;
        wtemp = wr;
        wr = wtemp * wpr - wi * wpi + wr;
        wi = wi * wpr + wtemp * wpi + wi;
    }

    const T h1r = inout_pData[0];
    if (bForward) {
        inout_pData[0] = h1r + inout_pData[1];
        inout_pData[1] = h1r - inout_pData[1];
    } else {
        inout_pData[0] = c1 * (h1r + inout_pData[1]);
        inout_pData[1] = c1 * (h1r - inout_pData[1]);
        discreteFastFourierTransform(inout_pData, in_uiSize / 2, T(-1.0));
    }
}

template CORVANA_API void discreteFastFourierTransform<double>(double*, unsigned long, double);
template CORVANA_API void discreteRealFastFourierTransform<double>(double*, unsigned long, double);

} // namespace Corvana::Math
