// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandFeatures.h"

#include "tools/ExitCode.h"
#include "tools/FeatureSet.h"
#include "tools/InputList.h"
#include "tools/LogBridge.h"
#include "tools/OutputFile.h"
#include "tools/RunSettings.h"
#include "tools/Text.h"
#include "tools/WorkShares.h"

#include <memory>

namespace Corvana::Tools {
namespace {

class FeaturesRun
{
public:
    FeaturesRun(const CommandFeatures::Options& in_options, std::ostream& out_data, std::ostream& out_messages)
        : m_options(in_options)
        , m_messages(out_messages, in_options.m_messages.m_bQuiet)
        , m_progress(out_messages, in_options.m_messages.m_bQuiet ? ProgressMode::NEVER : in_options.m_progress,
                     in_options.m_bStatusLine)
        , m_log(m_messages, in_options.m_messages.m_iLogLevel)
        , m_output(out_data)
        , m_analysis(in_options.m_windows, m_features, m_log, m_messages, m_progress)
    {
        m_messages.setProgress(&m_progress);
        if (in_options.m_bLabels)
            m_analysis.enableLabels();
    }

    int run()
    {
        if (!checkOptions() || !saveConfig())
            return EXIT_UNUSABLE;
        if (!hasInputs())
            return EXIT_DONE;
        const std::vector<Input> vInputs = collectInputs(m_options.m_vInputs, m_options.m_vLists, m_log, m_messages);
        if (!openOutput(vInputs) || !settleForGivenRate())
            return EXIT_UNUSABLE;
        analyseAll(vInputs);
        if (m_output.stream().good() && m_pWriter == nullptr && !settleWithoutRecording(!vInputs.empty()))
            return vInputs.empty() ? EXIT_UNUSABLE : EXIT_SOME_FAILED;
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
        if (!hasInputs() && m_options.m_strSaveConfig.empty())
            return refuse("no recording given: name at least one, or a list of them with --list FILE");
        const std::string strFault = faultOf(m_options.m_windows);
        if (!strFault.empty())
            return refuse(strFault);
        if (m_options.m_bLabels && !checkLabels())
            return false;
        if (m_features.configure(wantedFeatures(), m_options.m_vFormulas, m_messages))
            return true;
        m_messages.plain(m_options.m_bFormulasOnly
                             ? "'corvana list-functions' shows all functions\n"
                             : "'corvana list-features' shows all features and how they are written\n");
        return false;
    }

    bool checkLabels()
    {
        for (const std::string& strInput : m_options.m_vInputs)
            if (strInput == "-")
                return refuse("--labels reads regions from files, which standard input is not");
        for (const NamedFormula& formula : m_options.m_vFormulas)
            if (formula.m_strName == "labels")
                return refuse("the name 'labels' would be that of two columns");
        return true;
    }

    bool hasInputs() const { return !m_options.m_vInputs.empty() || !m_options.m_vLists.empty(); }

    bool saveConfig()
    {
        if (m_options.m_strSaveConfig.empty())
            return true;
        std::vector<std::string> vRead = m_options.m_vLists;
        vRead.insert(vRead.end(), m_options.m_vInputs.begin(), m_options.m_vInputs.end());
        const std::string strFault =
            RunSettings::save(m_options.m_strSaveConfig, {m_options.m_windows, m_features.getDescriptions()}, vRead);
        return strFault.empty() || refuse("cannot write: " + strFault);
    }

    std::vector<std::string> wantedFeatures() const
    {
        if (m_options.m_bFormulasOnly)
            return {};
        return m_options.m_vFeatures.empty() ? defaultFeatures() : m_options.m_vFeatures;
    }

    bool openOutput(const std::vector<Input>& in_vInputs)
    {
        if (!m_options.m_strOutput.empty() && !m_output.open(m_options.m_strOutput))
            return refuse("cannot write: " + m_output.getFault());
        std::vector<std::string> vRead = m_options.m_vLists;
        for (const std::string& strFile : {m_options.m_strConfig, m_options.m_strSaveConfig})
            if (!strFile.empty())
                vRead.push_back(strFile);
        for (const Input& input : in_vInputs)
            if (input.m_strFault.empty())
                vRead.push_back(input.m_strPath);
        const std::string strBoth = m_output.findAmong(vRead);
        return strBoth.empty() || refuse(printable(strBoth) + ": is both read and written; write to another file");
    }

    void settle(const std::vector<std::size_t>& in_vNbOfValues, unsigned long in_uiSampleRate)
    {
        m_vNbOfValues = in_vNbOfValues;
        m_uiSettledRate = in_uiSampleRate;
        m_pWriter =
            RowWriter::make(m_options.m_format, m_features.getColumnNames(), in_vNbOfValues, m_options.m_bLabels);
        m_output.stream() << m_pWriter->getHeader();
        if (m_options.m_bFlushRows)
            m_output.stream().flush();
    }

    bool settleForGivenRate()
    {
        const unsigned long uiRate = m_options.m_windows.m_uiSampleRate;
        if (uiRate == 0)
            return true;
        const FeatureSet::Layout& layout = layoutFor(uiRate);
        if (!layout.m_strFault.empty())
            return refuse(layout.m_strFault);
        settle(layout.m_vNbOfValues, uiRate);
        return true;
    }

    // A table without rows still has its columns; 8000 Hz is what the features are made for. It does not replace a
    // file: that would cost a good table for a name that was mistyped.
    bool settleWithoutRecording(bool in_bHadInputs)
    {
        constexpr unsigned long uiAssumedRate = 8000;
        if (in_bHadInputs && !m_options.m_strOutput.empty() && m_options.m_strOutput != "-") {
            m_messages.note("nothing is written: no recording could be analysed");
            return false;
        }
        const FeatureSet::Layout& layout = layoutFor(uiAssumedRate);
        if (!layout.m_strFault.empty()) {
            if (in_bHadInputs)
                m_messages.note("nothing is written: no recording could be analysed");
            else
                m_messages.error(layout.m_strFault);
            return false;
        }
        settle(layout.m_vNbOfValues, uiAssumedRate);
        return true;
    }

    const FeatureSet::Layout& layoutFor(unsigned long in_uiSampleRate)
    {
        return m_features.getLayout(in_uiSampleRate, m_options.m_windows.m_uiWindowMs, m_log);
    }

    void analyseAll(const std::vector<Input>& in_vInputs)
    {
        const WorkShares shares(in_vInputs, m_progress.isShown());
        double dDone = 0.0;
        for (std::size_t uiInput = 0; uiInput < in_vInputs.size() && m_output.stream().good(); ++uiInput) {
            const double dShare = m_progress.isShown() ? shares.share(uiInput) : -1.0;
            const Input& input = in_vInputs[uiInput];
            const std::string strFault = input.m_strFault.empty() ? analyse(input, dDone, dShare) : input.m_strFault;
            if (!strFault.empty()) {
                m_messages.inputError(input.m_strPath, strFault);
                ++m_uiNbOfFailures;
            }
            dDone += dShare;
        }
    }

    std::string analyse(const Input& in_input, double in_dDone, double in_dShare)
    {
        std::string strFault = m_analysis.open(in_input.m_strPath);
        if (strFault.empty() && m_pWriter == nullptr)
            settle(m_analysis.getNbOfValues(), m_analysis.getWindowRate());
        if (strFault.empty())
            strFault = checkColumns();
        if (!strFault.empty())
            return strFault;
        return m_analysis.writeRows(*m_pWriter, m_output.stream(), m_options.m_bFlushRows, in_dDone, in_dShare);
    }

    std::string checkColumns() const
    {
        if (m_analysis.getNbOfValues() == m_vNbOfValues)
            return {};
        return "its " + std::to_string(m_analysis.getWindowRate()) +
               " Hz give other columns than the recordings before it at " + std::to_string(m_uiSettledRate) +
               " Hz; analyse it in a run of its own, convert it with 'sox IN -r " + std::to_string(m_uiSettledRate) +
               " OUT', or cut all windows alike with --sample-rate " + std::to_string(m_uiSettledRate);
    }

    int finish(std::size_t in_uiNbOfInputs)
    {
        const double dAudioSeconds = m_analysis.getAudioSeconds();
        const bool bWritten = m_output.stream().good() && m_output.commit();
        m_progress.finish(dAudioSeconds);
        if (!bWritten) {
            const std::string strFault = m_output.getFault();
            if (!strFault.empty())
                m_messages.error("cannot write: " + strFault);
            return EXIT_UNUSABLE;
        }
        if (m_uiNbOfFailures == 0)
            return EXIT_DONE;
        if (in_uiNbOfInputs > 1)
            m_messages.note(std::to_string(m_uiNbOfFailures) + " of " + counted(in_uiNbOfInputs, "input") + " failed");
        return EXIT_SOME_FAILED;
    }

    const CommandFeatures::Options& m_options;
    Messages m_messages;
    Progress m_progress;
    LogBridge m_log;
    FeatureSet m_features;
    OutputFile m_output;
    RecordingAnalysis m_analysis;
    std::unique_ptr<RowWriter> m_pWriter;
    std::vector<std::size_t> m_vNbOfValues;
    unsigned long m_uiSettledRate = 0;
    std::size_t m_uiNbOfFailures = 0;
};

} // namespace

int CommandFeatures::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    if (in_options.m_strConfig.empty())
        return FeaturesRun(in_options, out_data, out_messages).run();

    RunSettings settings{in_options.m_windows, {}};
    const std::string strFault = RunSettings::load(in_options.m_strConfig, settings);
    Options options = in_options;
    options.m_windows = settings.m_windows;
    options.m_vFeatures = settings.m_vFeatures;
    if (strFault.empty())
        return FeaturesRun(options, out_data, out_messages).run();
    Messages(out_messages, in_options.m_messages.m_bQuiet).error(printable(in_options.m_strConfig) + ": " + strFault);
    return EXIT_UNUSABLE;
}

} // namespace Corvana::Tools
