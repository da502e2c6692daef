// SPDX-License-Identifier: Apache-2.0
// The spectrum kernel for processors with AVX2: four doubles in a vector, 16 registers.
#define CORVANA_KERNEL_MAX_LANES 4
#include "MathSpectrumKernelImpl.h"

namespace Corvana::Math {

const SpectrumKernel* findAvx2Kernel(unsigned long in_uiNbOfPoints)
{
    static constexpr SpectrumKernel s_kernel = SpectrumKernelOf<4, 4, 4>::make();
    return in_uiNbOfPoints >= 16 ? &s_kernel : nullptr;
}

} // namespace Corvana::Math
