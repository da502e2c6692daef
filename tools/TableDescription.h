// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Checksum.h"
#include "tools/InputOutcome.h"
#include "tools/LineReader.h"
#include "tools/TableSettings.h"

#include <istream>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// How far a table has come.
struct TablePosition
{
    std::uint64_t m_uiNbOfRows = 0;
    std::uint64_t m_uiNbOfBytes = 0;                    ///< of its file, or of that with the values
    std::uint64_t m_uiChecksum = Checksum().getValue(); ///< of the bytes behind what stands before the first row
    std::uint64_t m_uiTimesChecksum =
        Checksum().getValue(); ///< the same of the file with the times, where there is one
};

/// A column of values.
struct TableColumn
{
    std::string m_strName;
    std::string m_strUnit; ///< empty: it has none, or nobody can tell, as for formulas
};

/// What a table of features holds and what it was made from, but for its inputs.
struct TableDescription
{
    TableSettings m_settings;
    std::uint64_t m_uiSampleRate = 0; ///< that the columns were settled for
    std::vector<TableColumn> m_vColumns;
    TablePosition m_size;
};

/// The name of the file that describes a table.
std::string descriptionPathOf(const std::string& in_strTable);

/// Writes a description as JSON, with a line for each input. Nothing in it depends on the machine or the time, so that
/// equal runs give equal bytes.
class TableDescriptionWriter
{
public:
    /// The stream must live as long.
    TableDescriptionWriter(std::ostream& out_stream, const TableDescription& in_description);
    void add(const InputOutcome& in_outcome);
    void finish();

private:
    std::ostream& m_stream;
    bool m_bFirst = true;
};

/// Reads a description as the writer writes it, in memory that depends on its columns and not on its inputs. It may
/// come from anyone: what is not as it is written is a fault.
class TableDescriptionReader
{
public:
    /// False, with the fault: there is none, or it is damaged.
    bool open(const std::string& in_strPath);
    /// The same for one that is open.
    bool read(std::unique_ptr<std::istream> in_pStream);
    const TableDescription& get() const { return m_description; }
    /// The inputs, one after another. False: there is no more, or a fault. At the end it is known that the inputs are
    /// as many, and have as many rows, as the description says.
    bool next(InputOutcome& out_outcome);
    /// For people, such as "line 3: 'rows' is no whole number from 0 to 9"; empty for none.
    const std::string& getFault() const { return m_strFault; }

private:
    bool refuse(const std::string& in_strFault);
    bool readHead(const std::string& in_strLine);
    bool readOutcome(std::string in_strLine, InputOutcome& out_outcome);
    bool checkEnd();

    std::unique_ptr<std::istream> m_pStream;
    std::unique_ptr<LineReader> m_pLines;
    TableDescription m_description;
    std::uint64_t m_uiNbOfInputs = 0;
    std::uint64_t m_uiNbOfRows = 0;
    bool m_bLast = false;
    std::string m_strFault;
};

} // namespace Corvana::Tools
