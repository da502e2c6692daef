// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/FeatureSet.h"
#include "tools/FormulaSet.h"
#include "tools/InputList.h"
#include "tools/LogBridge.h"
#include "tools/MessageOptions.h"
#include "tools/Messages.h"
#include "tools/OutputFile.h"
#include "tools/PlotReader.h"
#include "tools/Progress.h"
#include "tools/RecordingAnalysis.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// What everything that shows recordings to people takes.
struct ViewOptions
{
    std::vector<std::string> m_vInputs;
    std::vector<std::string> m_vLists; ///< files with one recording a line
    FolderOptions m_folders;
    std::vector<std::string> m_vFeatures;  ///< curves
    std::vector<NamedFormula> m_vFormulas; ///< curves behind the features'
    WindowOptions m_windows;
    std::string m_strOutput; ///< "-": out_data
    ProgressMode m_progress = ProgressMode::AUTO;
    bool m_bStatusLine = false; ///< out_messages is a terminal
    MessageOptions m_messages;
};

/// A run that makes one view of recordings, a picture or a page: reads one after the other, names those that fail, and
/// writes the view when it is complete. What kind of view it is, the derived class knows.
class ViewRun
{
public:
    virtual ~ViewRun() = default;
    ViewRun(const ViewRun&) = delete;
    ViewRun& operator=(const ViewRun&) = delete;

    /// Returns an ExitCode.
    int run();

protected:
    /// How messages call what is done to recordings.
    struct Words
    {
        const char* m_szDo;   ///< "draw"
        const char* m_szDone; ///< "drawn"
    };

    /// What a recording left in the view.
    struct Added
    {
        std::string m_strFault; ///< empty: all of it is there
        bool m_bShown = false;  ///< at least a part is, as of a recording that breaks off
    };

    /// One recording's part of all work; see PlotReader::read().
    struct Share
    {
        double m_dDone;
        double m_dShare;
    };

    /// The options outlive the run.
    ViewRun(const ViewOptions& in_options, const Words& in_words, std::ostream& out_data, std::ostream& out_messages);

    /// Tells what is wrong; always false.
    bool refuse(const std::string& in_strText);
    Messages& messages() { return m_messages; }
    LogBridge& log() { return m_log; }
    /// What the view is written into.
    std::ostream& stream() { return m_output.stream(); }

private:
    /// Checks what only this kind of view takes. False: told why not.
    virtual bool checkOptions() = 0;
    /// Inputs are known, and the output is open.
    virtual PlotReader::Options begin(const std::vector<Input>& in_vInputs) = 0;
    virtual Added add(PlotReader& inout_reader, const std::string& in_strPath, const Share& in_share) = 0;
    /// Writes what is not written yet. Returns why that cannot be done, empty when it is.
    virtual std::string finish() = 0;

    bool isUsable();
    bool openOutput();
    void addAll(PlotReader& inout_reader);
    bool write(double in_dAudioSeconds);

    const ViewOptions& m_viewOptions;
    Words m_words;
    Messages m_messages;
    Progress m_progress;
    LogBridge m_log;
    FeatureSet m_features;
    OutputFile m_output;
    std::vector<Input> m_vInputs;
    std::size_t m_uiNbOfShown = 0;
    std::size_t m_uiNbOfFailures = 0;
};

} // namespace Corvana::Tools
