// SPDX-License-Identifier: Apache-2.0
// Compiled with -O3 -ffast-math -march=native.
#include "AudioRoadPeerLoops.h"

namespace Corvana::Bench {

const RoadLoops s_fastRoadLoops = s_roadLoops;

} // namespace Corvana::Bench
