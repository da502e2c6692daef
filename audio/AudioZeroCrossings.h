// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathSimd.h"

namespace Corvana::Audio {

/// How often the samples of a signal cross 0: the sign changes from one sample to the next, or a sample other than 0 is
/// followed by one that is exactly 0. in_dPrevious: the sample before the first one. All instruction sets count alike,
/// infinities, NaNs and products that underflow included. in_simd: supported by this processor.
CORVANA_API unsigned long countZeroCrossings(double in_dPrevious, const double* in_pSamples, const double* in_pEnd,
                                             Math::Simd in_simd = Math::getSimd());

} // namespace Corvana::Audio
