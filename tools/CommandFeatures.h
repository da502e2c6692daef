// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/InputList.h"
#include "tools/MessageOptions.h"
#include "tools/Progress.h"
#include "tools/RecordingAnalysis.h"
#include "tools/RowWriter.h"

#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// `corvana features`: reads recordings window by window and writes a row a window.
struct CommandFeatures
{
    /// One of equal parts of all inputs by position, so that several runs can share them.
    struct Shard
    {
        unsigned long m_uiNumber = 1; ///< from 1
        unsigned long m_uiNbOfShards = 1;
        bool m_bGiven = false; ///< also one part of one is a part
    };

    struct Options
    {
        std::vector<std::string> m_vInputs;
        std::vector<std::string> m_vLists; ///< files with one recording a line
        FolderOptions m_folders;
        Shard m_shard;
        unsigned long m_uiNbOfJobs = 0;        ///< recordings at a time; 0: one for each processor
        std::vector<std::string> m_vFeatures;  ///< descriptions; none: defaultFeatures()
        std::vector<NamedFormula> m_vFormulas; ///< columns behind the features'
        bool m_bFormulasOnly = false;          ///< no features, not even the default ones
        std::string m_strConfig;               ///< a file that gives features and windows; empty: the options here
        std::string m_strSaveConfig;           ///< a file to keep them in; empty: none
        WindowOptions m_windows;
        bool m_bLabels = false; ///< a column with the labels of the regions that cover each window's middle
        RowFormat m_format = RowFormat::CSV;
        std::string m_strOutput;     ///< empty: out_data
        bool m_bDescription = false; ///< a description beside the output, which parts and numbers have in any case
        bool m_bResume = false;      ///< go on where a former run stopped, and let another one do so
        unsigned long m_uiMsBetweenSyncs = 1000; ///< of such a run
        std::string m_strFailures;               ///< a table of the inputs that failed; empty: none
        bool m_bFailFast = false;                ///< the first input that fails ends the run
        bool m_bFlushRows = false;
        ProgressMode m_progress = ProgressMode::AUTO;
        bool m_bStatusLine = false; ///< out_messages is a terminal that does not also show the rows
        MessageOptions m_messages;
    };

    /// Returns an ExitCode.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
