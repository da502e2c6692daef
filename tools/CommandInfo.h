// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/MessageOptions.h"

#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// `corvana info`: tells what recordings are.
struct CommandInfo
{
    struct Options
    {
        std::vector<std::string> m_vInputs;
        bool m_bJson = false;
        MessageOptions m_messages;
    };

    /// Returns an ExitCode.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
