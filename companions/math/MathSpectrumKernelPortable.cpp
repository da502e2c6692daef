// SPDX-License-Identifier: Apache-2.0
// The spectrum kernel on single doubles, for any processor.
#define CORVANA_KERNEL_MAX_LANES 1
#include "MathSpectrumKernelImpl.h"

namespace Corvana::Math {

const SpectrumKernel* findPortableKernel(unsigned long in_uiNbOfPoints)
{
    static constexpr SpectrumKernel s_kernel = SpectrumKernelOf<1, 4, 4>::make();
    return in_uiNbOfPoints >= 8 ? &s_kernel : nullptr;
}

} // namespace Corvana::Math
