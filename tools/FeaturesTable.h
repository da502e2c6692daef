// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/InputOutcome.h"
#include "tools/OutputFile.h"
#include "tools/RunJournal.h"
#include "tools/TableFile.h"

#include <functional>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// The table that a run writes, with what stands beside it: the description, and the journal of a run that another one
/// may go on with. Order of calls: open(), begin() before the first row, for each input its rows and end(), commit().
class FeaturesTable
{
public:
    struct Options
    {
        RowFormat m_format = RowFormat::CSV;
        std::string m_strPath; ///< empty: the caller's stream
        bool m_bDescription = false;
        bool m_bResume = false;
        unsigned long m_uiMsBetweenSyncs = 1000; ///< what may have to be done again after a kill
    };

    /// The name of an input by its position among all.
    using PathOf = std::function<std::string(std::size_t)>;

    FeaturesTable(const Options& in_options, std::ostream& out_stream);
    FeaturesTable(const FeaturesTable&) = delete;
    FeaturesTable& operator=(const FeaturesTable&) = delete;

    /// Whether the settings are asked for at all.
    bool needsSettings() const { return m_options.m_bDescription || m_options.m_bResume; }
    /// Opens all files. False, with the fault, which may be that one of the files that are read is where rows are kept
    /// for another run: such a file is left as it is.
    bool open(const TableSettings& in_settings, const std::vector<std::string>& in_vRead = {});
    /// Whether what is one of the files that are written, or is to be one, has that name; in_strPath is not "-".
    bool writesTo(const std::string& in_strPath) const;
    /// What a former run finished: its inputs need not be read again.
    const RunJournal::Former& getFormer() const { return m_journal.getFormer(); }
    /// The first of the paths that is written to as well; empty when none is.
    std::string findAmong(const std::vector<std::string>& in_vPaths) const;

    /// What stands before the rows, unless a former run wrote it, and what the columns were settled for.
    void begin(const std::string& in_strHeader, const std::vector<TableColumn>& in_vColumns,
               std::uint64_t in_uiSampleRate);
    /// Takes rows as the RowWriter of the format makes them; fails when the table does.
    std::ostream& stream() { return m_stream; }
    bool isGood() const { return m_stream.good() && m_pTable->isGood() && m_journal.getFault().empty(); }
    /// The rows of the next input are written. False, with the fault: what was written could not be kept.
    bool end(const InputOutcome& in_outcome);

    /// Keeps what is there for another run, where that is asked for. False, with the fault.
    bool keep();
    /// Nothing is to stay, not even for another run: there is no row.
    void abandon();
    /// The same, unless a former run left something.
    void abandonUnlessBegun();
    /// Gives the names, when all of it is on the disk; in_pathOf names the inputs for the description. False, with the
    /// fault.
    bool commit(const PathOf& in_pathOf);
    /// For people; empty for a reader that has gone.
    std::string getFault() const;

private:
    /// Hands on what the stream gets.
    class Buffer : public std::streambuf
    {
    public:
        explicit Buffer(TableFile& out_table)
            : m_table(out_table)
        {
        }

        bool isOutOfMemory() const { return m_bOutOfMemory; }

    protected:
        int_type overflow(int_type in_iLetter) override;
        std::streamsize xsputn(const char* in_pBegin, std::streamsize in_iLength) override;
        int sync() override;

    private:
        TableFile& m_table;
        bool m_bOutOfMemory = false;
    };

    bool openTable(const std::vector<std::string>& in_vRead);
    std::vector<std::string> getTargets() const;
    std::string findPartialAmong(const std::vector<std::string>& in_vRead) const;
    void describe(const PathOf& in_pathOf);

    const Options m_options;
    TableSettings m_settings;
    RunJournal m_journal;
    std::unique_ptr<TableFile> m_pTable;
    Buffer m_buffer;
    std::ostream m_stream;
    std::ostream m_nowhere;
    OutputFile m_description;
    TableDescription m_described;
    InputOutcomes m_outcomes;
    std::string m_strFault;
};

} // namespace Corvana::Tools
