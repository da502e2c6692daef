// SPDX-License-Identifier: Apache-2.0
// The spectrum kernel for every x86-64 processor (SSE2): two doubles in a vector, 16 registers.
#define CORVANA_KERNEL_MAX_LANES 2
#include "MathSpectrumKernelImpl.h"

namespace Corvana::Math {

const SpectrumKernel* findBaselineKernel(unsigned long in_uiNbOfPoints)
{
    static constexpr SpectrumKernel s_kernel = SpectrumKernelOf<2, 4, 4>::make();
    return in_uiNbOfPoints >= 8 ? &s_kernel : nullptr;
}

} // namespace Corvana::Math
