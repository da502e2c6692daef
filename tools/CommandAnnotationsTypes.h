// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ostream>

namespace Corvana::Tools {

/// `corvana annotations types`: shows what regions can be labelled with.
struct CommandAnnotationsTypes
{
    struct Options
    {
        bool m_bJson = false;
    };

    /// Returns an ExitCode.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
