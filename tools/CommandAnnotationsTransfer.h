// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/AnnotationEdit.h"

#include <ostream>
#include <string>

namespace Corvana::Tools {

/// `corvana annotations merge` and `copy`: brings the regions of one file into others.
struct CommandAnnotationsTransfer
{
    struct Options : AnnotationEditOptions
    {
        std::string m_strSource; ///< m_vFiles and m_vLists are the targets
        bool m_bReplace = false; ///< copy: the regions of the targets go
    };

    /// Returns an ExitCode.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
