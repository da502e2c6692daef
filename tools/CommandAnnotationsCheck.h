// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/FileRun.h"
#include "tools/InputList.h"
#include "tools/MessageOptions.h"

#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// `corvana annotations check`: tells what is wrong with the regions and the chunks of recordings, where, and how to
/// mend it; mends what can be without a loss.
struct CommandAnnotationsCheck
{
    struct Options
    {
        std::vector<std::string> m_vFiles;
        std::vector<std::string> m_vLists; ///< files with one recording a line
        FolderOptions m_folders;
        FileRunOptions m_run;
        bool m_bJson = false;
        bool m_bFix = false;    ///< mend what can be, before telling what is left
        bool m_bDryRun = false; ///< only tell what would be mended
        MessageOptions m_messages;
    };

    /// Returns an ExitCode: 1 when a file has an error or a warning that was not mended, or cannot be read. Remarks are
    /// no fault.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
