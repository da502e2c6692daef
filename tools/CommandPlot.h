// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/FormulaSet.h"
#include "tools/InputList.h"
#include "tools/MessageOptions.h"
#include "tools/PlotCanvas.h"
#include "tools/Progress.h"
#include "tools/RecordingAnalysis.h"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// `corvana plot`: draws recordings, one as a large picture, several as a sheet.
struct CommandPlot
{
    static constexpr unsigned long s_uiMinWidth = 240;
    static constexpr unsigned long s_uiMaxWidth = 16000;
    static constexpr unsigned long s_uiMinHeight = 160;

    struct Options
    {
        std::vector<std::string> m_vInputs;
        std::vector<std::string> m_vLists; ///< files with one recording a line
        FolderOptions m_folders;
        std::vector<std::string> m_vFeatures;  ///< curves
        std::vector<NamedFormula> m_vFormulas; ///< curves behind the features'
        WindowOptions m_windows;
        std::optional<double> m_from; ///< seconds
        std::optional<double> m_to;   ///< seconds
        unsigned long m_uiWidth = 1200;
        unsigned long m_uiHeight = 0;          ///< 0: as the tracks need it
        std::string m_strOutput;               ///< "-": out_data
        std::optional<PictureFormat> m_format; ///< none: as the output's name ends
        bool m_bDataTerminal = false;          ///< out_data is a terminal
        ProgressMode m_progress = ProgressMode::AUTO;
        bool m_bStatusLine = false; ///< out_messages is a terminal
        MessageOptions m_messages;
    };

    /// Returns an ExitCode.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
