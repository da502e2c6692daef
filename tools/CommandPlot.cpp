// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandPlot.h"

#include "corvana/NumberText.h"
#include "corvana/OS.h"
#include "tools/ExitCode.h"
#include "tools/FeatureSet.h"
#include "tools/InputList.h"
#include "tools/LogBridge.h"
#include "tools/OutputFile.h"
#include "tools/PlotReader.h"
#include "tools/PlotSheet.h"
#include "tools/Text.h"
#include "tools/WorkShares.h"

#include <utility>

namespace Corvana::Tools {
namespace {

class PlotRun
{
public:
    PlotRun(const CommandPlot::Options& in_options, std::ostream& out_data, std::ostream& out_messages)
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
            m_messages.error("nothing to draw: no recordings");
            return EXIT_UNUSABLE;
        }
        if (!openOutput(vInputs))
            return EXIT_UNUSABLE;
        const PlotSheet sheet(vInputs.size(), m_options.m_uiWidth, m_options.m_uiHeight);
        readAll(vInputs, sheet.getNbOfColumns());
        if (m_vRecordings.empty()) {
            m_messages.note("nothing is written: no recording could be drawn");
            return EXIT_SOME_FAILED;
        }
        if (!write(sheet))
            return EXIT_UNUSABLE;
        if (m_uiNbOfFailures > 0 && vInputs.size() > 1)
            m_messages.note(std::to_string(m_uiNbOfFailures) + " of " + counted(vInputs.size(), "input") + " failed");
        return m_uiNbOfFailures > 0 ? EXIT_SOME_FAILED : EXIT_DONE;
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
        if (m_options.m_from.has_value() && m_options.m_to.has_value() && *m_options.m_from >= *m_options.m_to)
            return refuse("--from " + toShortestText(*m_options.m_from) + " is not before --to " +
                          toShortestText(*m_options.m_to));
        const std::string strFault = faultOf(m_options.m_windows);
        if (!strFault.empty())
            return refuse(strFault);
        if (!findFormat())
            return false;
        if (m_features.configure(m_options.m_vFeatures, m_options.m_vFormulas, m_messages))
            return true;
        m_messages.plain("'corvana list-features' and 'corvana list-functions' show what can be computed\n");
        return false;
    }

    bool findFormat()
    {
        if (m_options.m_strOutput.empty())
            return refuse("no file to draw into given: name it with -o FILE.png, FILE.svg or FILE.pdf");
        if (m_options.m_strOutput == "-" && m_options.m_bDataTerminal)
            return refuse("a picture is nothing for a terminal: name a file with -o, or redirect the output");
        if (m_options.m_format.has_value()) {
            m_format = *m_options.m_format;
            return true;
        }
        constexpr std::pair<const char*, PictureFormat> aEndings[] = {
            {".png", PictureFormat::PNG}, {".svg", PictureFormat::SVG}, {".pdf", PictureFormat::PDF}};
        std::string strName = m_options.m_strOutput;
        strToLower(strName);
        for (const auto& [szEnding, format] : aEndings)
            if (strName.ends_with(szEnding)) {
                m_format = format;
                return true;
            }
        return refuse(printable(m_options.m_strOutput) +
                      ": its ending tells no format; end it in .png, .svg or .pdf, or give --format");
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

    void readAll(const std::vector<Input>& in_vInputs, unsigned long in_uiNbOfColumns)
    {
        PlotReader::Options options;
        options.m_from = m_options.m_from;
        options.m_to = m_options.m_to;
        options.m_uiNbOfColumns = in_uiNbOfColumns;
        options.m_windows = m_options.m_windows;
        PlotReader reader(options, m_features, m_log, m_messages, m_progress);
        const WorkShares shares(in_vInputs, m_progress.isShown());
        double dDone = 0.0;
        for (std::size_t uiInput = 0; uiInput < in_vInputs.size(); ++uiInput) {
            const double dShare = m_progress.isShown() ? shares.share(uiInput) : -1.0;
            readOne(reader, in_vInputs[uiInput], dDone, dShare);
            dDone += dShare;
        }
        m_dAudioSeconds = reader.getAudioSeconds();
    }

    void readOne(PlotReader& inout_reader, const Input& in_input, double in_dDone, double in_dShare)
    {
        PlotRecording recording;
        bool bDrawable = false;
        const std::string strFault = in_input.m_strFault.empty() ? inout_reader.read(in_input.m_strPath, in_dDone,
                                                                                     in_dShare, recording, bDrawable)
                                                                 : in_input.m_strFault;
        if (bDrawable)
            m_vRecordings.push_back(std::move(recording));
        if (strFault.empty())
            return;
        m_messages.inputError(in_input.m_strPath, strFault);
        ++m_uiNbOfFailures;
    }

    bool write(const PlotSheet& in_sheet)
    {
        std::string strFault;
        const std::string strPicture = in_sheet.draw(m_vRecordings, m_format, strFault);
        m_progress.finish(m_dAudioSeconds);
        if (!strFault.empty())
            return refuse(strFault);
        m_output.stream() << strPicture;
        if (m_output.commit())
            return true;
        const std::string strOutputFault = m_output.getFault();
        return !strOutputFault.empty() && refuse("cannot write: " + strOutputFault);
    }

    const CommandPlot::Options& m_options;
    Messages m_messages;
    Progress m_progress;
    LogBridge m_log;
    FeatureSet m_features;
    OutputFile m_output;
    PictureFormat m_format = PictureFormat::PNG;
    std::vector<PlotRecording> m_vRecordings;
    std::size_t m_uiNbOfFailures = 0;
    double m_dAudioSeconds = 0.0;
};

} // namespace

int CommandPlot::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    return PlotRun(in_options, out_data, out_messages).run();
}

} // namespace Corvana::Tools
