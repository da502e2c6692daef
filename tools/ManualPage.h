// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommandDescription.h"

#include <string>

namespace Corvana::Tools {

/// The manual page of a command, for man(1): what its help says, in the sections that readers of such pages expect.
/// The help's last paragraphs "Examples:", "Exit codes:" and "Environment:" become sections of their own.
std::string manualPage(const CommandDescription& in_command);

} // namespace Corvana::Tools
