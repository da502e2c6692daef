// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"
#include "corvana/SourcePosition.h"

namespace Corvana::Math {
class SignalFeaturePool;
}

namespace Corvana::Audio {

/// Adds a fresh AudioFeatureFactory to a computer's pool. False, after a warning at the given position: the pool
/// refused it, and the computer has no audio features. Exported for the tests: no computer can be made to meet this.
CORVANA_API bool installAudioFeatureFactory(Math::SignalFeaturePool& inout_pool, SourcePosition in_refused);

} // namespace Corvana::Audio
