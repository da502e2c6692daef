// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandReport.h"

#include "tools/ExitCode.h"
#include "tools/FeatureSet.h"
#include "tools/InputList.h"
#include "tools/LogBridge.h"
#include "tools/OutputFile.h"
#include "tools/PlotReader.h"
#include "tools/ReportPage.h"
#include "tools/Text.h"
#include "tools/WorkShares.h"

namespace Corvana::Tools {
namespace {

// As fine as is kept beside the sound itself.
constexpr unsigned long s_uiNbOfColumns = 8192;
constexpr unsigned long s_uiMaxNbOfRows = 256;

class ReportRun
{
public:
    ReportRun(const CommandReport::Options& in_options, std::ostream& out_data, std::ostream& out_messages)
        : m_options(in_options)
        , m_messages(out_messages, in_options.m_messages.m_bQuiet)
        , m_progress(out_messages, in_options.m_messages.m_bQuiet ? ProgressMode::NEVER : in_options.m_progress,
                     in_options.m_bStatusLine)
        , m_log(m_messages, in_options.m_messages.m_iLogLevel)
        , m_output(out_data)
    {
        m_messages.setProgress(&m_progress);
    }

    int run()
    {
        if (!checkOptions())
            return EXIT_UNUSABLE;
        const std::vector<Input> vInputs =
            collectInputs(m_options.m_vInputs, m_options.m_vLists, m_options.m_folders, m_log, m_messages);
        if (vInputs.empty()) {
            m_messages.error("nothing to show: no recordings");
            return EXIT_UNUSABLE;
        }
        if (!openOutput(vInputs))
            return EXIT_UNUSABLE;
        ReportPage page(m_output.stream());
        page.begin(vInputs.size() == 1 ? vInputs[0].m_strPath : counted(vInputs.size(), "recording"));
        addAll(vInputs, page);
        page.end();
        return finish(vInputs.size());
    }

private:
    bool refuse(const std::string& in_strText)
    {
        m_messages.error(in_strText);
        return false;
    }

    bool checkOptions()
    {
        if (m_options.m_vInputs.empty() && m_options.m_vLists.empty())
            return refuse("no recording given: name at least one, or a list of them with --list FILE");
        if (m_options.m_strOutput.empty())
            return refuse("no file to write into given: name it with -o FILE.html");
        const std::string strFault = faultOf(m_options.m_windows);
        if (!strFault.empty())
            return refuse(strFault);
        if (m_features.configure(m_options.m_vFeatures, m_options.m_vFormulas, m_messages))
            return true;
        m_messages.plain("'corvana list-features' and 'corvana list-functions' show what can be computed\n");
        return false;
    }

    bool openOutput(const std::vector<Input>& in_vInputs)
    {
        if (!m_output.open(m_options.m_strOutput))
            return refuse("cannot write: " + m_output.getFault());
        std::vector<std::string> vRead = m_options.m_vLists;
        for (const Input& input : in_vInputs)
            if (input.m_strFault.empty())
                vRead.push_back(input.m_strPath);
        const std::string strBoth = m_output.findAmong(vRead);
        return strBoth.empty() || refuse(printable(strBoth) + ": is both read and written; write to another file");
    }

    void addAll(const std::vector<Input>& in_vInputs, ReportPage& out_page)
    {
        PlotReader::Options options;
        options.m_uiNbOfColumns = s_uiNbOfColumns;
        options.m_uiMaxNbOfRows = s_uiMaxNbOfRows;
        options.m_windows = m_options.m_windows;
        PlotReader reader(options, m_features, m_log, m_messages, m_progress);
        const WorkShares shares(in_vInputs, m_progress.isShown());
        double dDone = 0.0;
        for (std::size_t uiInput = 0; uiInput < in_vInputs.size() && m_output.stream().good(); ++uiInput) {
            const double dShare = m_progress.isShown() ? shares.share(uiInput) : -1.0;
            const Input& input = in_vInputs[uiInput];
            const std::string strFault =
                input.m_strFault.empty() ? addOne(reader, input.m_strPath, dDone, dShare, out_page) : input.m_strFault;
            if (!strFault.empty()) {
                m_messages.inputError(input.m_strPath, strFault);
                ++m_uiNbOfFailures;
            }
            dDone += dShare;
        }
        m_dAudioSeconds = reader.getAudioSeconds();
    }

    std::string addOne(PlotReader& inout_reader, const std::string& in_strPath, double in_dDone, double in_dShare,
                       ReportPage& out_page)
    {
        PlotRecording recording;
        bool bDrawable = false;
        const std::string strFault = inout_reader.read(in_strPath, in_dDone, in_dShare, recording, bDrawable);
        if (!bDrawable)
            return strFault;
        const std::string strPageFault = out_page.addRecording(recording);
        if (!strPageFault.empty())
            return strPageFault;
        ++m_uiNbOfRecordings;
        bool bTooLong = false;
        const std::string strAudioFault =
            m_options.m_bWithoutAudio ? "" : out_page.addAudio(in_strPath, m_log, bTooLong);
        if (bTooLong)
            m_messages.inputWarning(in_strPath, strAudioFault);
        return strFault.empty() && !bTooLong ? strAudioFault : strFault;
    }

    int finish(std::size_t in_uiNbOfInputs)
    {
        if (m_uiNbOfRecordings == 0 && m_output.stream().good()) {
            m_messages.note("nothing is written: no recording could be shown");
            return EXIT_SOME_FAILED;
        }
        const bool bWritten = m_output.stream().good() && m_output.commit();
        m_progress.finish(m_dAudioSeconds);
        if (!bWritten) {
            const std::string strFault = m_output.getFault();
            if (!strFault.empty())
                m_messages.error("cannot write: " + strFault);
            return EXIT_UNUSABLE;
        }
        if (m_uiNbOfFailures > 0 && in_uiNbOfInputs > 1)
            m_messages.note(std::to_string(m_uiNbOfFailures) + " of " + counted(in_uiNbOfInputs, "input") + " failed");
        return m_uiNbOfFailures > 0 ? EXIT_SOME_FAILED : EXIT_DONE;
    }

    const CommandReport::Options& m_options;
    Messages m_messages;
    Progress m_progress;
    LogBridge m_log;
    FeatureSet m_features;
    OutputFile m_output;
    std::size_t m_uiNbOfRecordings = 0;
    std::size_t m_uiNbOfFailures = 0;
    double m_dAudioSeconds = 0.0;
};

} // namespace

int CommandReport::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    return ReportRun(in_options, out_data, out_messages).run();
}

} // namespace Corvana::Tools
