// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/FileRun.h"
#include "tools/InputList.h"
#include "tools/MessageOptions.h"

#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// `corvana annotations stats`: counts the regions of recordings by type.
struct CommandAnnotationsStats
{
    enum class Format
    {
        TABLE,
        CSV,
        JSON
    };

    struct Options
    {
        std::vector<std::string> m_vFiles;
        std::vector<std::string> m_vLists;
        FolderOptions m_folders;
        FileRunOptions m_run;
        Format m_format = Format::TABLE;
        MessageOptions m_messages;
    };

    /// Returns an ExitCode.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
