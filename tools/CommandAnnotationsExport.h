// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/InputList.h"
#include "tools/MessageOptions.h"
#include "tools/RegionFormat.h"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// `corvana annotations export`: writes the regions of recordings into files of other programs.
struct CommandAnnotationsExport
{
    struct Options
    {
        std::vector<std::string> m_vFiles;
        std::vector<std::string> m_vLists;
        FolderOptions m_folders;
        std::optional<RegionFormat> m_format; ///< none: as the output's ending says, else CSV
        std::string m_strOutput;              ///< empty: out_data
        std::string m_strFolder;              ///< a file for each recording in there; empty: one output
        MessageOptions m_messages;
    };

    /// Returns an ExitCode. Each file is complete or as it was before.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
