// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ostream>

namespace Corvana::Tools {

/// `corvana doctor`: what the program runs with, and whether it is right.
struct CommandDoctor
{
    struct Options
    {
        bool m_bJson = false;
    };

    /// Returns an ExitCode; EXIT_SOME_FAILED when a test failed.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
