// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/FormulaSet.h"
#include "tools/InputList.h"
#include "tools/MessageOptions.h"
#include "tools/Progress.h"
#include "tools/RecordingAnalysis.h"

#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// `corvana report`: writes a page that shows and plays recordings.
struct CommandReport
{
    struct Options
    {
        std::vector<std::string> m_vInputs;
        std::vector<std::string> m_vLists; ///< files with one recording a line
        FolderOptions m_folders;
        std::vector<std::string> m_vFeatures;  ///< curves
        std::vector<NamedFormula> m_vFormulas; ///< curves behind the features'
        WindowOptions m_windows;
        std::string m_strOutput; ///< "-": out_data
        bool m_bWithoutAudio = false;
        ProgressMode m_progress = ProgressMode::AUTO;
        bool m_bStatusLine = false; ///< out_messages is a terminal
        MessageOptions m_messages;
    };

    /// Returns an ExitCode.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
