// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommandDescription.h"

#include <string>
#include <vector>

namespace Corvana::Tools {

/// What a shell cannot read off the commands.
struct CompletionNames
{
    std::vector<std::string> m_vFeatures;
    std::vector<std::string> m_vRegionTypes;
};

/// A script that makes a shell complete commands, options, their values and names of files; in_program is the
/// program's description, with its commands.
std::string bashCompletion(const CommandDescription& in_program, const CompletionNames& in_names);
std::string zshCompletion(const CommandDescription& in_program, const CompletionNames& in_names);
std::string fishCompletion(const CommandDescription& in_program, const CompletionNames& in_names);

} // namespace Corvana::Tools
