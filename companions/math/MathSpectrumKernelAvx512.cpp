// SPDX-License-Identifier: Apache-2.0
// The spectrum kernel for processors with AVX-512: eight doubles in a vector, 32 registers. Four doubles for windows
// that are too short for eight.
#define CORVANA_KERNEL_MAX_LANES 8
#include "MathSpectrumKernelImpl.h"

namespace Corvana::Math {

const SpectrumKernel* findAvx512Kernel(unsigned long in_uiNbOfPoints)
{
    static constexpr SpectrumKernel s_kernel = SpectrumKernelOf<8, 8, 8>::make();
    static constexpr SpectrumKernel s_shortKernel = SpectrumKernelOf<4, 4, 8>::make();
    if (in_uiNbOfPoints >= 64)
        return &s_kernel;
    return in_uiNbOfPoints >= 16 ? &s_shortKernel : nullptr;
}

} // namespace Corvana::Math
