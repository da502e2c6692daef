// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommandFeatures.h"

#include <string>

namespace Corvana::Tools {

/// Whether anything is to be analysed.
bool hasInputs(const CommandFeatures::Options& in_options);
/// Whether the run makes one part of a table.
bool isSharded(const CommandFeatures::Options& in_options);
/// Whether the rows go into a file with a name.
bool isToNamedFile(const CommandFeatures::Options& in_options);

/// Why no run can have these options, for people: what is missing, or contradicts something else; empty when it can.
/// Features, formulas and files are not looked at.
std::string faultOf(const CommandFeatures::Options& in_options);

} // namespace Corvana::Tools
