// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/OutputFile.h"
#include "tools/TableDescription.h"

#include <string>
#include <string_view>
#include <vector>

namespace Corvana::Tools {

/// A table that a run over a part of the inputs wrote, with the description beside it. Where something is returned, it
/// is why the part cannot be joined with others, for people; empty when nothing is wrong.
class TablePart
{
public:
    explicit TablePart(std::string in_strPath);

    /// Reads the description, and compares the lengths of the files with it.
    std::string open(TableDescription& out_description);
    const std::string& getPath() const { return m_strPath; }
    std::uint64_t getShard() const { return m_uiShard; }
    std::uint64_t getNbOfRows() const { return m_size.m_uiNbOfRows; }
    /// Of all rows, without what stands before them.
    std::uint64_t getNbOfRowBytes() const { return m_size.m_uiNbOfBytes - m_uiStart; }
    /// The table, the description, and the file with the times where there is one.
    std::vector<std::string> getFiles() const;

    /// Appends the rows, in memory that does not depend on their number; that they are not those that the description
    /// tells of is a fault. What the output tells of itself is not.
    std::string copyRows(OutputFile& out_file, Checksum& inout_checksum) const;
    /// The same of the times.
    std::string copyTimes(OutputFile& out_file, Checksum& inout_checksum) const;
    /// Appends the inputs.
    std::string copyInputs(TableDescriptionWriter& out_writer) const;

private:
    bool isNpy() const { return m_format == RowFormat::NPY; }
    std::string checkFile(const std::string& in_strPath, const std::string& in_strStart,
                          std::uint64_t in_uiRowBytes) const;

    std::string m_strPath;
    // Not the whole description: there may be thousands of parts with thousands of columns.
    RowFormat m_format = RowFormat::CSV;
    std::uint64_t m_uiShard = 0;
    TablePosition m_size;
    std::size_t m_uiStart = 0;
};

} // namespace Corvana::Tools
