// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/FileRun.h"
#include "tools/InputList.h"
#include "tools/MessageOptions.h"
#include "tools/RegionFormat.h"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// `corvana annotations list`: shows the regions of recordings.
struct CommandAnnotationsList
{
    struct Options
    {
        std::vector<std::string> m_vFiles;
        std::vector<std::string> m_vLists; ///< files with one recording a line
        FolderOptions m_folders;
        FileRunOptions m_run;
        std::optional<RegionFormat> m_format; ///< none: a table for people
        MessageOptions m_messages;
    };

    /// Returns an ExitCode.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
