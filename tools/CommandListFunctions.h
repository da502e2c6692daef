// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ostream>

namespace Corvana::Tools {

/// `corvana list-functions`: shows the functions that formulas can call.
struct CommandListFunctions
{
    struct Options
    {
        bool m_bJson = false;
    };

    /// Returns an ExitCode.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
