// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/OutputFile.h"
#include "tools/RowWriter.h"
#include "tools/TableDescription.h"

#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace Corvana::Tools {

/// The file, or the files, that a table of features is written to. Order of calls: one that opens, begin(), for each
/// recording write() and endRows(), then prepare() and commit().
class TableFile
{
public:
    /// NPY: a file of values, and one beside it with the times and the positions of the inputs. The others: a text,
    /// which goes to the stream until a file is opened.
    static std::unique_ptr<TableFile> make(RowFormat in_format, std::ostream& out_stream);
    virtual ~TableFile() = default;
    TableFile() = default;
    TableFile(const TableFile&) = delete;
    TableFile& operator=(const TableFile&) = delete;

    /// Each of these as OutputFile's; false, with the fault.
    virtual bool open(const std::string& in_strPath) = 0;
    virtual bool canBeResumed(const std::string& in_strPath) = 0;
    virtual bool openToResume(const std::string& in_strPath, const TablePosition& in_position) = 0;
    virtual bool openToFinish(const std::string& in_strPath, const TablePosition& in_position) = 0;

    /// What stands before the rows; nothing is written when a former run has done it.
    virtual void begin(const std::string& in_strHeader, std::size_t in_uiNbOfColumns) = 0;
    /// Rows as the RowWriter of the format makes them, in pieces of any length.
    virtual void write(std::string_view in_strBytes) = 0;
    /// So many whole rows have been written since the last call.
    void endRows(std::uint64_t in_uiNbOfRows) { m_position.m_uiNbOfRows += in_uiNbOfRows; }
    /// Hands out what was written; a text that a terminal shows.
    virtual void flush() = 0;
    /// Whether all that was written so far went well.
    virtual bool isGood() const = 0;

    /// Brings all that was written so far to the disk. False: that failed.
    virtual bool sync() = 0;
    /// Makes all of it complete and brings it to the disk, without a name yet. False: that failed.
    virtual bool prepare() = 0;
    /// Gives the names. False: that failed.
    virtual bool commit() = 0;
    virtual void removePartial() = 0;

    /// As OutputFile's.
    virtual bool isNamedAtLast() const = 0;
    virtual std::string findAmong(const std::vector<std::string>& in_vPaths) const = 0;
    /// Why something failed, for people; empty for a reader that has gone.
    virtual std::string getFault() const = 0;
    /// Behind the rows that were written; its checksums count only where they are wanted.
    const TablePosition& getPosition() const { return m_position; }
    void wantChecksums() { m_bChecksums = true; }

protected:
    TablePosition m_position;
    bool m_bChecksums = false;
};

/// What stands before the first row of a table in its file.
std::string startOfTable(const TableDescription& in_description);

} // namespace Corvana::Tools
