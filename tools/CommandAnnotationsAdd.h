// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/AnnotationEdit.h"

#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// `corvana annotations add`: adds one region to each file.
struct CommandAnnotationsAdd
{
    struct Options : AnnotationEditOptions
    {
        std::vector<std::string> m_vArguments; ///< FILE... TYPE START STOP; the files come before those of m_vFiles
    };

    /// Returns an ExitCode.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
