// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathXprVirtualFileSystem.h"

namespace Corvana::Math::Xpr {

VirtualFileSystem::~VirtualFileSystem() = default;

} // namespace Corvana::Math::Xpr
