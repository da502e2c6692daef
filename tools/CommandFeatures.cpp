// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandFeatures.h"

#include "corvana/Version.h"
#include "tools/ExitCode.h"
#include "tools/FailureTable.h"
#include "tools/FeatureSet.h"
#include "tools/FeaturesColumns.h"
#include "tools/FeaturesOptions.h"
#include "tools/FeaturesTable.h"
#include "tools/InOrder.h"
#include "tools/InputList.h"
#include "tools/LogBridge.h"
#include "tools/RecordingRows.h"
#include "tools/RunProgress.h"
#include "tools/RunSettings.h"
#include "tools/Text.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>

namespace Corvana::Tools {
namespace {

// What rows that wait for their turn may take in memory, all together and each recording's.
constexpr std::size_t s_uiMaxWaiting = std::size_t{128} << 20U;
constexpr std::size_t s_uiMinWaiting = std::size_t{1} << 20U;

std::string folderForTemporaryFiles()
{
    const char* szFolder = std::getenv("TMPDIR");
    return szFolder == nullptr || *szFolder == '\0' ? "/tmp" : szFolder;
}

class FeaturesRun
{
public:
    FeaturesRun(const CommandFeatures::Options& in_options, std::ostream& out_data, std::ostream& out_messages)
        : m_options(in_options)
        , m_messages(out_messages, in_options.m_messages.m_bQuiet)
        , m_progress(out_messages, in_options.m_messages.m_bQuiet ? ProgressMode::NEVER : in_options.m_progress,
                     in_options.m_bStatusLine)
        , m_log(std::in_place, m_messages, in_options.m_messages.m_iLogLevel)
        , m_table(tableOptions(), out_data)
        , m_columns(in_options, m_features, m_table)
        , m_inOrder(nbOfThreads())
    {
        m_messages.setProgress(&m_progress);
    }

    int run()
    {
        if (!checkOptions() || !saveConfig())
            return EXIT_UNUSABLE;
        if (!hasInputs(m_options))
            return EXIT_DONE;
        m_vInputs = collectInputs(m_options.m_vInputs, m_options.m_vLists, m_options.m_folders, *m_log, m_messages);
        chooseShard();
        if (!openOutput() || !goOn() || !settleForGivenRate()) {
            m_table.abandonUnlessBegun();
            return EXIT_UNUSABLE;
        }
        m_log.reset(); // who makes rows has one
        RunProgress progress(m_progress, m_vInputs, m_uiNext, m_uiEnd);
        makeRows(progress);
        m_log.emplace(m_messages, m_options.m_messages.m_iLogLevel);
        if (m_table.isGood() && !m_columns.isSettled() && !settleWithoutRecording()) {
            m_table.abandon();
            return !m_vInputs.empty() && listFailures() ? EXIT_SOME_FAILED : EXIT_UNUSABLE;
        }
        return finish(progress);
    }

private:
    bool refuse(const std::string& in_strText)
    {
        m_messages.error(in_strText);
        return false;
    }

    // Who wants to see rows or the log of the libraries at once has to see them in their order.
    unsigned long nbOfThreads() const
    {
        const bool bAtOnce = m_options.m_bFlushRows || m_options.m_messages.m_iLogLevel < LOG_WARN;
        return bAtOnce ? 1 : m_options.m_uiNbOfJobs;
    }

    FeaturesTable::Options tableOptions() const
    {
        const bool bDescription =
            m_options.m_bDescription || isSharded(m_options) || m_options.m_format == RowFormat::NPY;
        return {m_options.m_format, m_options.m_strOutput, bDescription, m_options.m_bResume,
                m_options.m_uiMsBetweenSyncs};
    }

    bool checkOptions()
    {
        const std::string strFault = faultOf(m_options);
        if (!strFault.empty())
            return refuse(strFault);
        const std::string& strFailures = m_options.m_strFailures;
        if (!strFailures.empty() && m_table.writesTo(strFailures))
            return refuse(printable(strFailures) +
                          ": is written by the table of rows, too; name another file with --failures");
        if (m_features.configure(m_options.m_vFeatures, m_options.m_vFormulas, m_messages))
            return true;
        m_messages.plain(m_options.m_bFormulasOnly
                             ? "'corvana list-functions' shows all functions\n"
                             : "'corvana list-features' shows all features and how they are written\n");
        return false;
    }

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

    void chooseShard()
    {
        TableSettings part;
        putShard(part);
        m_uiBegin = m_uiNext = part.getFirstInput();
        m_uiEnd = part.getEndOfInputs();
    }

    void putShard(TableSettings& inout_settings) const
    {
        inout_settings.m_uiShard = isSharded(m_options) ? m_options.m_shard.m_uiNumber : 0;
        inout_settings.m_uiNbOfShards = isSharded(m_options) ? m_options.m_shard.m_uiNbOfShards : 0;
        inout_settings.m_uiNbOfInputs = m_vInputs.size();
    }

    TableSettings settings() const
    {
        TableSettings settings;
        settings.m_strVersion = getVersion();
        settings.m_format = m_options.m_format;
        settings.m_uiWindowMs = m_options.m_windows.m_uiWindowMs;
        settings.m_uiOverlapMs = m_options.m_windows.m_uiOverlapMs;
        settings.m_bSuppressDC = m_options.m_windows.m_bSuppressDC;
        settings.m_uiSampleRate = m_options.m_windows.m_uiSampleRate;
        settings.m_bLabels = m_options.m_bLabels;
        settings.m_vFeatures = m_features.getDescriptions();
        settings.m_vFormulas = m_options.m_vFormulas;
        putShard(settings);
        constexpr char cEnd = '\0';
        Checksum digest;
        for (const Input& input : m_vInputs) {
            digest.add(input.m_strPath);
            digest.add({&cEnd, 1});
        }
        settings.m_uiInputsDigest = digest.getValue();
        return settings;
    }

    std::vector<std::string> allFilesRead() const
    {
        std::vector<std::string> vRead = filesRead(m_options.m_vLists, m_vInputs);
        for (const std::string& strFile : {m_options.m_strConfig, m_options.m_strSaveConfig})
            if (!strFile.empty())
                vRead.push_back(strFile);
        return vRead;
    }

    bool openOutput()
    {
        const std::vector<std::string> vRead = allFilesRead();
        if (!m_table.open(m_table.needsSettings() ? settings() : TableSettings(), vRead))
            return refuse("cannot write: " + m_table.getFault());
        if (!m_options.m_strFailures.empty() && !m_failures.open(m_options.m_strFailures))
            return refuse("cannot write: " + m_failures.getFault());
        std::string strBoth = m_table.findAmong(vRead);
        if (strBoth.empty() && m_failures.isOpen())
            strBoth = m_failures.findAmong(vRead);
        return strBoth.empty() || refuse(readAndWritten(strBoth));
    }

    void tellOfStoppedRun()
    {
        const std::string strJournal = RunJournal::nameFor(OutputFile::targetOf(m_options.m_strOutput));
        if (!m_options.m_bResume && isToNamedFile(m_options) && isRegularFile(strJournal))
            m_messages.note("begins anew, although " + printable(strJournal) +
                            " is of a run that was stopped; --resume goes on with that one");
    }

    // What a former run finished counts as if this one had.
    bool goOn()
    {
        tellOfStoppedRun();
        const RunJournal::Former& former = m_table.getFormer();
        m_uiNext += former.m_outcomes.size();
        m_uiNbOfFailures = former.m_outcomes.getNbOfFailures();
        for (const auto& [uiInput, strFault] : former.m_outcomes.getFaults())
            m_failures.add(m_vInputs[m_uiBegin + uiInput].m_strPath, strFault);
        if (former.m_outcomes.size() > 0)
            m_messages.note("goes on with " + printable(m_options.m_strOutput) + ": of " +
                            counted(m_uiEnd - m_uiBegin, "input") + ", " + std::to_string(former.m_outcomes.size()) +
                            (former.m_outcomes.size() == 1 ? " is" : " are") + " finished, " +
                            std::to_string(m_uiNbOfFailures) + " of them failed");
        m_bStopped = m_bGivenUp = m_options.m_bFailFast && m_uiNbOfFailures > 0;
        if (m_bGivenUp) {
            const auto& [uiInput, strFault] = *former.m_outcomes.getFaults().begin();
            m_messages.inputError(m_vInputs[m_uiBegin + uiInput].m_strPath, strFault);
        }
        if (former.m_uiSampleRate == 0)
            return true;
        const std::string strFault = m_columns.settleForRate(former.m_uiSampleRate, *m_log);
        return strFault.empty() || refuse(strFault);
    }

    bool settleForGivenRate()
    {
        const unsigned long uiRate = m_options.m_windows.m_uiSampleRate;
        if (uiRate == 0 || m_columns.isSettled())
            return true;
        const std::string strFault = m_columns.settleForRate(uiRate, *m_log);
        return strFault.empty() || refuse(strFault);
    }

    // A table without rows still has its columns; 8000 Hz is what the features are made for. It does not replace a
    // file: that would cost a good table for a name that was mistyped.
    bool settleWithoutRecording()
    {
        constexpr unsigned long uiAssumedRate = 8000;
        const bool bHadInputs = !m_vInputs.empty();
        if (bHadInputs && isToNamedFile(m_options)) {
            m_messages.note("nothing is written: no recording could be analysed");
            return false;
        }
        const std::string strFault = m_columns.settleForRate(uiAssumedRate, *m_log);
        if (strFault.empty())
            return true;
        if (bHadInputs)
            m_messages.note("nothing is written: no recording could be analysed");
        else
            m_messages.error(strFault);
        return false;
    }

    void makeRows(RunProgress& inout_progress)
    {
        const bool bSeveral = m_inOrder.getMaxNbInFlight() > 1 && m_uiEnd - m_uiNext > 1;
        if (!m_columns.isSettled() && (bSeveral || isSharded(m_options)))
            m_columns.settleByOpening(m_vInputs);
        std::size_t uiNext = m_uiNext;
        if (!bSeveral || !m_columns.isSettled())
            uiNext = makeRowsHere(bSeveral, inout_progress);
        if (uiNext < m_uiEnd && !m_bStopped)
            makeRowsInThreads(uiNext, inout_progress);
    }

    // Straight to where they belong, one recording after the other. Returns the first input that is left.
    std::size_t makeRowsHere(bool in_bOnlyUntilSettled, RunProgress& inout_progress)
    {
        RecordingRows rows(m_options, m_vInputs, m_messages, inout_progress);
        std::size_t uiInput = m_uiNext;
        while (uiInput < m_uiEnd && !m_bStopped && !(in_bOnlyUntilSettled && m_columns.isSettled())) {
            std::string strFault = rows.open(uiInput);
            if (strFault.empty() && !m_columns.isSettled())
                m_columns.settle(rows.getColumns());
            if (strFault.empty())
                strFault = rows.write(m_columns.get(), m_table.stream(), m_options.m_bFlushRows);
            const InputOutcome outcome = rows.end(strFault);
            m_bStopped = !take(uiInput++, outcome, {}, inout_progress);
        }
        return uiInput;
    }

    void makeRowsInThreads(std::size_t in_uiBegin, RunProgress& inout_progress)
    {
        const std::size_t uiWaiting = std::max(s_uiMinWaiting, s_uiMaxWaiting / m_inOrder.getMaxNbInFlight());
        const std::string strFolder = folderForTemporaryFiles();
        RowMemory memory;
        const auto makeWorker = [&] {
            return std::make_unique<RowsWorker>(m_options, m_vInputs, m_columns.get(),
                                                RowsWorker::Store{uiWaiting, strFolder, memory, m_inOrder.isStopped()},
                                                inout_progress);
        };
        m_inOrder.run(in_uiBegin, m_uiEnd, makeWorker, [&](std::size_t in_uiInput, InOrder::Result& inout_result) {
            auto& result = static_cast<RowsWorker::Result&>(inout_result);
            if (!result.m_rows.copyTo(m_table.stream())) {
                m_strStoreFault = result.m_rows.getFault();
                return false;
            }
            return take(in_uiInput, result.m_outcome, result.m_strMessages, inout_progress);
        });
    }

    // The rows of an input are written. False: nothing more is to be done.
    bool take(std::size_t in_uiInput, const InputOutcome& in_outcome, const std::string& in_strMessages,
              RunProgress& inout_progress)
    {
        const bool bFailed = !in_outcome.m_strFault.empty();
        inout_progress.take(bFailed);
        const auto pause = inout_progress.pause();
        if (!in_strMessages.empty())
            m_messages.plain(in_strMessages);
        if (bFailed) {
            ++m_uiNbOfFailures;
            m_messages.inputError(m_vInputs[in_uiInput].m_strPath, in_outcome.m_strFault);
            m_failures.add(m_vInputs[in_uiInput].m_strPath, in_outcome.m_strFault);
        }
        m_bGivenUp = bFailed && m_options.m_bFailFast;
        return !m_bGivenUp && m_table.end(in_outcome);
    }

    int finish(RunProgress& inout_progress)
    {
        const bool bWhole = m_strStoreFault.empty() && !m_bGivenUp;
        // The table is last: as long as it has no name another run can go on, and write both.
        const bool bListed = bWhole && m_table.isGood() && listFailures();
        const bool bWritten =
            bListed && m_table.commit([this](std::size_t in_uiInput) { return m_vInputs[in_uiInput].m_strPath; });
        inout_progress.finish();
        if (bWhole && m_table.isGood() && !bListed)
            m_table.keep();
        if (m_bGivenUp && m_table.keep()) {
            m_messages.note(std::string("stopped at the first input that failed, as --fail-fast asks") +
                            (isToNamedFile(m_options) ? "; nothing is written" : "") +
                            (m_options.m_bResume ? " before --resume goes on there" : ""));
            return EXIT_SOME_FAILED; // a table of failures would not be complete
        }
        if (!bWritten) {
            const std::string strFault = m_strStoreFault.empty() ? m_table.getFault() : m_strStoreFault;
            if (!strFault.empty())
                m_messages.error("cannot write: " + strFault);
            return EXIT_UNUSABLE;
        }
        if (m_uiNbOfFailures > 0 && m_uiEnd - m_uiBegin > 1)
            m_messages.note(std::to_string(m_uiNbOfFailures) + " of " + counted(m_uiEnd - m_uiBegin, "input") +
                            " failed");
        return m_uiNbOfFailures == 0 ? EXIT_DONE : EXIT_SOME_FAILED;
    }

    bool listFailures()
    {
        if (m_failures.commit())
            return true;
        const std::string strFault = m_failures.getFault();
        if (!strFault.empty())
            m_messages.error("cannot write: " + strFault);
        return false;
    }

    const CommandFeatures::Options& m_options;
    Messages m_messages;
    Progress m_progress;
    std::optional<LogBridge> m_log;
    FeatureSet m_features;
    FeaturesTable m_table;
    FeaturesColumns m_columns;
    FailureTable m_failures;
    InOrder m_inOrder;
    std::vector<Input> m_vInputs;
    std::size_t m_uiBegin = 0; // the inputs of this shard
    std::size_t m_uiEnd = 0;
    std::size_t m_uiNext = 0; // the first that no former run finished
    std::size_t m_uiNbOfFailures = 0;
    bool m_bStopped = false;
    bool m_bGivenUp = false;
    std::string m_strStoreFault;
};

std::vector<std::string> wantedFeatures(const CommandFeatures::Options& in_options)
{
    if (in_options.m_bFormulasOnly)
        return {};
    return in_options.m_vFeatures.empty() ? defaultFeatures() : in_options.m_vFeatures;
}

} // namespace

int CommandFeatures::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    Options options = in_options;
    if (!in_options.m_strConfig.empty()) {
        RunSettings settings{in_options.m_windows, {}};
        const std::string strFault = RunSettings::load(in_options.m_strConfig, settings);
        if (!strFault.empty()) {
            Messages(out_messages, in_options.m_messages.m_bQuiet)
                .error(printable(in_options.m_strConfig) + ": " + strFault);
            return EXIT_UNUSABLE;
        }
        options.m_windows = settings.m_windows;
        options.m_vFeatures = settings.m_vFeatures;
    }
    options.m_vFeatures = wantedFeatures(options);
    return FeaturesRun(options, out_data, out_messages).run();
}

} // namespace Corvana::Tools
