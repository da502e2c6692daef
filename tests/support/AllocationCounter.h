// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace Corvana::Test {

/// How often operator new was called in this program and in the libraries it loaded: unchanged over a path that
/// allocates nothing. Only for programs that have AllocationCounter.cpp among their sources, which replaces it.
std::uint64_t nbOfAllocations();
/// The blocks of operator new that were not given back.
std::uint64_t nbOfLiveBlocks();

} // namespace Corvana::Test
