// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommandLineAnnotations.h"

namespace Corvana::Tools {

struct Terminals;

/// Adds `corvana plot` to the command line.
void addPlotCommand(const AnnotationCommandLine& in_commandLine, const Terminals& in_terminals);

} // namespace Corvana::Tools
