// SPDX-License-Identifier: Apache-2.0
// Compiled with -O3 -ffast-math -march=native.
#include "FftwLoops.h"

namespace Corvana::Bench {

const FftwLoops s_fastFftwLoops = s_loops;

} // namespace Corvana::Bench
