// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommandLineAnnotations.h"

namespace Corvana::Tools {

/// Adds `corvana merge` to the command line.
void addMergeCommand(const AnnotationCommandLine& in_commandLine);

} // namespace Corvana::Tools
