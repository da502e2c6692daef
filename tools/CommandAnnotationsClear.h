// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/AnnotationEdit.h"

#include <optional>
#include <ostream>
#include <string>

namespace Corvana::Tools {

/// `corvana annotations clear`: removes regions.
struct CommandAnnotationsClear
{
    struct Options : AnnotationEditOptions
    {
        std::optional<std::string> m_strPattern; ///< what the whole type matches; none: all regions go
    };

    /// Longer patterns are refused.
    static constexpr std::size_t s_uiMaxPatternSize = 4096;

    /// Returns an ExitCode.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
