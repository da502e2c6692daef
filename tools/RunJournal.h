// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/InputOutcome.h"
#include "tools/TableDescription.h"
#include "tools/TableSettings.h"

#include <chrono>
#include <string>

namespace Corvana::Tools {

/// Which inputs of a table are finished, in a file beside it, so that a run that was killed can go on. A line for each
/// input stands there only when the table's rows up to it are on the disk. Locked while it is open.
class RunJournal
{
public:
    /// What a former run left.
    struct Former
    {
        std::uint64_t m_uiSampleRate = 0; ///< that the columns were settled for; 0: they were not
        InputOutcomes m_outcomes;         ///< of the first inputs, in order
        double m_dSeconds = 0.0;          ///< of sound in them
        TablePosition m_position;         ///< behind their rows
        bool m_bComplete = false;         ///< all of the table was on the disk
    };

    /// in_uiMsBetweenSyncs: what may have to be done again after a kill.
    explicit RunJournal(unsigned long in_uiMsBetweenSyncs = 1000)
        : m_timeBetweenSyncs(in_uiMsBetweenSyncs)
    {
    }
    ~RunJournal() { close(); }
    RunJournal(const RunJournal&) = delete;
    RunJournal& operator=(const RunJournal&) = delete;

    /// The name of a table's journal.
    static std::string nameFor(const std::string& in_strTable);

    /// Opens the journal of a table, or makes it, and reads what a former run left. A last line that was not written to
    /// its end is dropped. False, with the fault: it cannot be used; another run has it; it is of a run with other
    /// settings; it is damaged.
    bool open(const std::string& in_strTable, const TableSettings& in_settings);
    const Former& getFormer() const { return m_former; }

    /// Told once, before the first input with rows.
    void settle(std::uint64_t in_uiSampleRate);
    /// The next input is finished, and the table has come so far.
    void add(const InputOutcome& in_outcome, const TablePosition& in_position);
    /// Whether enough has happened since the last sync() that it is time for the next one.
    bool isSyncDue() const;
    /// Writes what was added; the table's rows must be on the disk. False, with the fault.
    bool sync();
    /// All of the table is on the disk, this long; what remains is giving names. False, with the fault.
    bool complete(const TablePosition& in_position);
    /// The table has its name, or is not to be gone on with. Nothing happens to one that could not be opened. False,
    /// with the fault.
    bool remove();

    /// For people; empty for none.
    const std::string& getFault() const { return m_strFault; }

private:
    bool refuse(const std::string& in_strFault);
    bool refuse(int in_iError);
    bool begin(const TableSettings& in_settings);
    bool load(const TableSettings& in_settings);
    std::string readLine(const std::string& in_strLine, bool in_bHead, const TableSettings& in_settings,
                         std::string& out_strRefusal);
    std::string takeEntry(JsonFields& inout_fields, const TableSettings& in_settings);
    void takePosition(JsonFields& inout_fields, std::uint64_t in_uiNbOfRows);
    std::string takeOutcome(JsonFields& inout_fields, const TableSettings& in_settings);
    bool write(const std::string& in_strLines);
    void close();

    const std::chrono::milliseconds m_timeBetweenSyncs;
    std::string m_strName;
    int m_iDescriptor = -1;
    Former m_former;
    std::uint64_t m_uiNextInput = 0;
    std::string m_strPending;
    std::uint64_t m_uiSyncedBytes = 0; // of the table
    std::uint64_t m_uiPendingBytes = 0;
    std::chrono::steady_clock::time_point m_lastSync;
    std::string m_strFault;
};

} // namespace Corvana::Tools
