// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/MessageOptions.h"

#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// `corvana merge`: joins the tables that `corvana features --shard` wrote, into the bytes of a run over all inputs.
struct CommandMerge
{
    struct Options
    {
        std::string m_strOutput;
        std::vector<std::string> m_vParts; ///< in any order
        MessageOptions m_messages;
    };

    /// Returns an ExitCode: nothing is written unless all parts are there, unchanged, and of one run.
    static int run(const Options& in_options, std::ostream& out_messages);
};

} // namespace Corvana::Tools
