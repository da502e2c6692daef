// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommandLineAnnotations.h"

namespace Corvana::Tools {

struct Terminals;

/// Adds `corvana report` to the command line.
void addReportCommand(const AnnotationCommandLine& in_commandLine, const Terminals& in_terminals);

} // namespace Corvana::Tools
