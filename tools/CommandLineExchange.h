// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommandLineAnnotations.h"

namespace Corvana::Tools {

/// Adds export, import, stats and diff to the command line of `corvana annotations`.
void addExchangeCommands(const AnnotationCommandLine& in_commandLine);

} // namespace Corvana::Tools
