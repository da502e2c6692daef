// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/MessageOptions.h"

#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// `corvana annotations diff`: tells how the regions of two recordings differ.
struct CommandAnnotationsDiff
{
    /// As those of diff.
    enum Result : int
    {
        SAME = 0,
        DIFFERENT = 1,
        TROUBLE = 2 ///< nothing could be compared, or the output not be written
    };

    struct Options
    {
        std::vector<std::string> m_vFiles;
        double m_dToleranceSeconds = 0.0; ///< 0: times are equal when they mean the same sample
        bool m_bJson = false;
        MessageOptions m_messages;
    };

    /// Returns a Result.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
