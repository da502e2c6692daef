// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/PlotReader.h"

#include <ostream>
#include <string>

namespace Corvana::Tools {

/// Writes a page that shows recordings and plays them, with all that it needs in itself. Whatever names and labels
/// hold, it reaches the page as text. Order of calls: begin(), addRecording() and addAudio() for each recording, end().
class ReportPage
{
public:
    explicit ReportPage(std::ostream& out_stream);

    void begin(const std::string& in_strTitle);
    /// Returns why it could not be shown, empty when it was.
    std::string addRecording(const PlotRecording& in_recording);
    /// The sound of the recording added last, from its file, as 16 bits a sample.
    /// Returns why there is none or only a part, empty when it is all there; out_bTooLong: since that would be too
    /// much.
    std::string addAudio(const std::string& in_strPath, LogBridge& inout_log, bool& out_bTooLong);
    void end();

    /// More sound than this is left out: no browser would take the page.
    static constexpr unsigned long s_uiMaxAudioBytes = 300UL << 20U;

private:
    std::ostream& m_stream;
    std::size_t m_uiNbOfRecordings = 0;
};

} // namespace Corvana::Tools
