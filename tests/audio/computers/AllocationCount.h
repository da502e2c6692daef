// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Corvana::Test {

/// How often operator new was called in this program and in the libraries it loaded: unchanged over a path that
/// allocates nothing.
unsigned long nbOfAllocations();

} // namespace Corvana::Test
