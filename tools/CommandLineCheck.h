// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommandLineAnnotations.h"

namespace Corvana::Tools {

/// Adds `check` to the command line of `corvana annotations`.
void addCheckCommand(const AnnotationCommandLine& in_commandLine);

} // namespace Corvana::Tools
