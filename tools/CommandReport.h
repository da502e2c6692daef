// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ViewRun.h"

#include <ostream>

namespace Corvana::Tools {

/// `corvana report`: writes a page that shows and plays recordings.
struct CommandReport
{
    struct Options : ViewOptions
    {
        bool m_bWithoutAudio = false;
    };

    /// Returns an ExitCode.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
