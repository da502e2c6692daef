// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandFeatures.h"

#include "corvana/Version.h"
#include "tools/ExitCode.h"
#include "tools/FailureTable.h"
#include "tools/FeatureSet.h"
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
        , m_inOrder(nbOfThreads())
    {
        m_messages.setProgress(&m_progress);
    }

    int run()
    {
        if (!checkOptions() || !saveConfig())
            return EXIT_UNUSABLE;
        if (!hasInputs())
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
        if (m_table.isGood() && !isSettled() && !settleWithoutRecording()) {
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
        const bool bDescription = m_options.m_bDescription || isSharded() || m_options.m_format == RowFormat::NPY;
        return {m_options.m_format, m_options.m_strOutput, bDescription, m_options.m_bResume,
                m_options.m_uiMsBetweenSyncs};
    }

    bool isSharded() const { return m_options.m_shard.m_bGiven || m_options.m_shard.m_uiNbOfShards > 1; }
    bool isSettled() const { return m_columns.m_uiSampleRate != 0; }
    bool isToNamedFile() const { return !m_options.m_strOutput.empty() && m_options.m_strOutput != "-"; }

    bool checkOptions()
    {
        if (!hasInputs() && m_options.m_strSaveConfig.empty())
            return refuse("no recording given: name at least one, or a list of them with --list FILE");
        const std::string strFault = faultOf(m_options.m_windows);
        if (!strFault.empty())
            return refuse(strFault);
        if (m_options.m_bLabels && !checkLabels())
            return false;
        if (isSharded() && !checkShard())
            return false;
        if (!checkTable() || !checkFailures())
            return false;
        if (m_features.configure(m_options.m_vFeatures, m_options.m_vFormulas, m_messages))
            return true;
        m_messages.plain(m_options.m_bFormulasOnly
                             ? "'corvana list-functions' shows all functions\n"
                             : "'corvana list-features' shows all features and how they are written\n");
        return false;
    }

    bool readsStandardInput() const
    {
        return std::find(m_options.m_vInputs.begin(), m_options.m_vInputs.end(), "-") != m_options.m_vInputs.end();
    }

    bool checkLabels()
    {
        if (readsStandardInput())
            return refuse("--labels reads regions from files, which standard input is not");
        for (const NamedFormula& formula : m_options.m_vFormulas)
            if (formula.m_strName == "labels")
                return refuse("the name 'labels' would be that of two columns");
        return true;
    }

    bool checkShard()
    {
        if (readsStandardInput())
            return refuse("--shard shares files among several runs, which standard input is not");
        return isToNamedFile() || refuse("--shard makes a part of a table, which needs a file: name it with -o FILE");
    }

    bool checkTable()
    {
        const bool bNpy = m_options.m_format == RowFormat::NPY;
        if (bNpy && m_options.m_bLabels)
            return refuse("--labels gives words, and --format npy holds numbers: write csv or jsonl, or leave one out");
        if (m_options.m_bResume && readsStandardInput())
            return refuse("--resume goes on with files, which standard input is not");
        if (isToNamedFile() || !hasInputs())
            return true;
        if (bNpy)
            return refuse("--format npy writes more than one file: name the first with -o FILE.npy");
        if (m_options.m_bResume)
            return refuse("--resume goes on with a file: name it with -o FILE");
        return !m_options.m_bDescription || refuse("--sidecar stands beside a file: name that with -o FILE");
    }

    bool checkFailures()
    {
        const std::string& strFile = m_options.m_strFailures;
        if (strFile == "-" || strFile == "/dev/stdout")
            return refuse("--failures writes a table of its own, which needs a file: name it with --failures FILE");
        return strFile.empty() || !m_table.writesTo(strFile) ||
               refuse(printable(strFile) + ": is written by the table of rows, too; name another file with --failures");
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

    void chooseShard()
    {
        TableSettings part;
        putShard(part);
        m_uiBegin = m_uiNext = part.getFirstInput();
        m_uiEnd = part.getEndOfInputs();
    }

    void putShard(TableSettings& inout_settings) const
    {
        inout_settings.m_uiShard = isSharded() ? m_options.m_shard.m_uiNumber : 0;
        inout_settings.m_uiNbOfShards = isSharded() ? m_options.m_shard.m_uiNbOfShards : 0;
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

    std::vector<std::string> filesRead() const
    {
        std::vector<std::string> vRead = m_options.m_vLists;
        for (const std::string& strFile : {m_options.m_strConfig, m_options.m_strSaveConfig})
            if (!strFile.empty())
                vRead.push_back(strFile);
        for (const Input& input : m_vInputs)
            if (input.m_strFault.empty())
                vRead.push_back(input.m_strPath);
        return vRead;
    }

    bool openOutput()
    {
        const std::vector<std::string> vRead = filesRead();
        if (!m_table.open(m_table.needsSettings() ? settings() : TableSettings(), vRead))
            return refuse("cannot write: " + m_table.getFault());
        if (!m_options.m_strFailures.empty() && !m_failures.open(m_options.m_strFailures))
            return refuse("cannot write: " + m_failures.getFault());
        std::string strBoth = m_table.findAmong(vRead);
        if (strBoth.empty() && m_failures.isOpen())
            strBoth = m_failures.findAmong(vRead);
        return strBoth.empty() || refuse(printable(strBoth) + ": is both read and written; write to another file");
    }

    void tellOfStoppedRun()
    {
        const std::string strJournal = RunJournal::nameFor(OutputFile::targetOf(m_options.m_strOutput));
        if (!m_options.m_bResume && isToNamedFile() && isRegularFile(strJournal))
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
        const FeatureSet::Layout& layout = layoutFor(former.m_uiSampleRate);
        if (!layout.m_strFault.empty())
            return refuse(layout.m_strFault);
        settle({layout.m_vNbOfValues, former.m_uiSampleRate});
        return true;
    }

    std::vector<TableColumn> describedColumns() const
    {
        const std::vector<std::string> vNames = columnNames(m_features.getColumnNames(), m_columns.m_vNbOfValues);
        const std::vector<std::string> vUnits = m_features.getUnits();
        std::vector<TableColumn> vColumns;
        for (std::size_t uiFeature = 0; uiFeature < vUnits.size(); ++uiFeature)
            for (std::size_t uiValue = 0; uiValue < m_columns.m_vNbOfValues[uiFeature]; ++uiValue)
                vColumns.push_back({vNames[vColumns.size()], vUnits[uiFeature]});
        return vColumns;
    }

    void settle(const RowColumns& in_columns)
    {
        m_columns = in_columns;
        const std::unique_ptr<RowWriter> pWriter = RowWriter::make(m_options.m_format, m_features.getColumnNames(),
                                                                   in_columns.m_vNbOfValues, m_options.m_bLabels);
        m_table.begin(pWriter->getHeader(), describedColumns(), in_columns.m_uiSampleRate);
        if (m_options.m_bFlushRows)
            m_table.stream().flush();
    }

    bool settleForGivenRate()
    {
        const unsigned long uiRate = m_options.m_windows.m_uiSampleRate;
        if (uiRate == 0 || isSettled())
            return true;
        const FeatureSet::Layout& layout = layoutFor(uiRate);
        if (!layout.m_strFault.empty())
            return refuse(layout.m_strFault);
        settle({layout.m_vNbOfValues, uiRate});
        return true;
    }

    // A table without rows still has its columns; 8000 Hz is what the features are made for. It does not replace a
    // file: that would cost a good table for a name that was mistyped.
    bool settleWithoutRecording()
    {
        constexpr unsigned long uiAssumedRate = 8000;
        const bool bHadInputs = !m_vInputs.empty();
        if (bHadInputs && isToNamedFile()) {
            m_messages.note("nothing is written: no recording could be analysed");
            return false;
        }
        const FeatureSet::Layout& layout = layoutFor(uiAssumedRate);
        if (!layout.m_strFault.empty()) {
            if (bHadInputs)
                m_messages.note("nothing is written: no recording could be analysed");
            else
                m_messages.error(layout.m_strFault);
            return false;
        }
        settle({layout.m_vNbOfValues, uiAssumedRate});
        return true;
    }

    const FeatureSet::Layout& layoutFor(unsigned long in_uiSampleRate)
    {
        return m_features.getLayout(in_uiSampleRate, m_options.m_windows.m_uiWindowMs, *m_log);
    }

    void makeRows(RunProgress& inout_progress)
    {
        const bool bSeveral = m_inOrder.getMaxNbInFlight() > 1 && m_uiEnd - m_uiNext > 1;
        if (!isSettled() && (bSeveral || isSharded()))
            settleByOpening();
        std::size_t uiNext = m_uiNext;
        if (!bSeveral || !isSettled())
            uiNext = makeRowsHere(bSeveral, inout_progress);
        if (uiNext < m_uiEnd && !m_bStopped)
            makeRowsInThreads(uiNext, inout_progress);
    }

    // The first recording of all that can be opened settles the columns, also when another shard has it, or another
    // thread will come to it later. What can be read only once is left alone.
    void settleByOpening()
    {
        std::ostream nowhere(nullptr);
        Messages toldLater(nowhere, true);
        Progress progress(nowhere, ProgressMode::NEVER, false);
        LogBridge log(toldLater, m_options.m_messages.m_iLogLevel);
        RecordingAnalysis analysis(m_options.m_windows, m_features, log, toldLater, progress);
        for (const Input& input : m_vInputs) {
            if (!input.m_strFault.empty())
                continue;
            if (!isRegularFile(input.m_strPath) && !isSharded())
                return;
            if (isRegularFile(input.m_strPath) && analysis.open(input.m_strPath).empty()) {
                settle({analysis.getNbOfValues(), analysis.getWindowRate()});
                return;
            }
        }
    }

    // Straight to where they belong, one recording after the other. Returns the first input that is left.
    std::size_t makeRowsHere(bool in_bOnlyUntilSettled, RunProgress& inout_progress)
    {
        RecordingRows rows(m_options, m_vInputs, m_messages, inout_progress);
        std::size_t uiInput = m_uiNext;
        while (uiInput < m_uiEnd && !m_bStopped && !(in_bOnlyUntilSettled && isSettled())) {
            std::string strFault = rows.open(uiInput);
            if (strFault.empty() && !isSettled())
                settle(rows.getColumns());
            if (strFault.empty())
                strFault = rows.write(m_columns, m_table.stream(), m_options.m_bFlushRows);
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
            return std::make_unique<RowsWorker>(m_options, m_vInputs, m_columns,
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
                            (isToNamedFile() ? "; nothing is written" : "") +
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
    FailureTable m_failures;
    InOrder m_inOrder;
    std::vector<Input> m_vInputs;
    std::size_t m_uiBegin = 0; // the inputs of this shard
    std::size_t m_uiEnd = 0;
    std::size_t m_uiNext = 0; // the first that no former run finished
    RowColumns m_columns;
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
