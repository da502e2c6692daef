// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/PlotCanvas.h"
#include "tools/ViewRun.h"

#include <optional>
#include <ostream>

namespace Corvana::Tools {

/// `corvana plot`: draws recordings, one as a large picture, several as a sheet.
struct CommandPlot
{
    static constexpr unsigned long s_uiMinWidth = 240;
    static constexpr unsigned long s_uiMaxWidth = 16000;
    static constexpr unsigned long s_uiMinHeight = 160;

    struct Options : ViewOptions
    {
        std::optional<double> m_from; ///< seconds
        std::optional<double> m_to;   ///< seconds
        unsigned long m_uiWidth = 1200;
        unsigned long m_uiHeight = 0;          ///< 0: as the tracks need it
        std::optional<PictureFormat> m_format; ///< none: as the output's name ends
        bool m_bDataTerminal = false;          ///< out_data is a terminal
    };

    /// Returns an ExitCode.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
