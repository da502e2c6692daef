// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

namespace Corvana::Math {

/// False for 0; 1 counts as a power of two.
CORVANA_API bool isPowerOfTwo(unsigned long in_uiValue);

/// In-place Fourier transform of in_uiSize complex points, stored interleaved (real, imaginary) in 2 * in_uiSize
/// values. The radix-2 decimation in time of Danielson and Lanczos, in the form of "four1" in Press et al., Numerical
/// Recipes: F(k) = sum over j of x(j) exp(in_isign * 2 pi i j k / in_uiSize), without any scaling.
/// A size that is no power of two is reported by the assertion "isPowerOfTwo(nn)"; the values then have no meaning.
/// Instantiated for double. RealFourierPlan does the same, faster, for many transforms of one size.
template <class T>
CORVANA_API void discreteFastFourierTransform(T* inout_pData, unsigned long in_uiSize, T in_isign);

/// In-place Fourier transform of in_uiSize real values ("realft" of the same book).
/// in_isign 1.0, forward: value 0 becomes the real value at frequency 0, value 1 the real value at the Nyquist
/// frequency, values 2k and 2k+1 the real and imaginary parts of bin k, for k from 1 to in_uiSize/2 - 1.
/// Any other in_isign, inverse: the values transformed back, times in_uiSize/2.
/// A size that is no power of two is reported by the assertion "isPowerOfTwo(n)", and the values then have no meaning;
/// fewer than 2 values stay as they are. Instantiated for double.
template <class T>
CORVANA_API void discreteRealFastFourierTransform(T* inout_pData, unsigned long in_uiSize, T in_isign);

} // namespace Corvana::Math
