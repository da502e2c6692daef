// SPDX-License-Identifier: Apache-2.0
#include "tools/TablePart.h"

#include "tools/NpyFormat.h"
#include "tools/TableFile.h"
#include "tools/Text.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sys/stat.h>
#include <utility>

namespace Corvana::Tools {
namespace {

constexpr std::size_t s_uiBlock = std::size_t{1} << 18U;

std::string systemFault(const std::string& in_strPath)
{
    return printable(in_strPath) + ": " + std::strerror(errno);
}

std::string changed(const std::string& in_strPath)
{
    return printable(in_strPath) + ": is not as its run wrote it; run that part again";
}

/// Counts the rows of a text in pieces.
class RowCounter
{
public:
    /// in_bQuotes: line ends between quotes are part of a field.
    explicit RowCounter(bool in_bQuotes)
        : m_bQuotes(in_bQuotes)
    {
    }

    void add(std::string_view in_strText)
    {
        for (const char cLetter : in_strText) {
            m_bQuoted ^= m_bQuotes && cLetter == '"';
            m_uiNbOfRows += cLetter == '\n' && !m_bQuoted ? 1 : 0;
        }
    }

    std::uint64_t getNbOfRows() const { return m_uiNbOfRows; }

private:
    const bool m_bQuotes;
    bool m_bQuoted = false;
    std::uint64_t m_uiNbOfRows = 0;
};

// Behind the start. The checksum is that of all that was copied so far, of other parts too.
std::string copy(const std::string& in_strPath, std::size_t in_uiStart, std::uint64_t in_uiExpected,
                 OutputFile& out_file, Checksum& inout_checksum, RowCounter& inout_counter)
{
    errno = EIO; // for streams that do not tell why
    std::ifstream stream(in_strPath, std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(in_uiStart));
    if (!stream)
        return systemFault(in_strPath);
    Checksum checksum;
    std::vector<char> vBlock(s_uiBlock);
    while (out_file.isGood() &&
           (stream.read(vBlock.data(), static_cast<std::streamsize>(vBlock.size())) || stream.gcount() > 0)) {
        const std::string_view strBlock(vBlock.data(), static_cast<std::size_t>(stream.gcount()));
        checksum.add(strBlock);
        inout_checksum.add(strBlock);
        inout_counter.add(strBlock);
        out_file.stream().write(strBlock.data(), static_cast<std::streamsize>(strBlock.size()));
    }
    if (stream.bad())
        return systemFault(in_strPath);
    return !out_file.isGood() || checksum.getValue() == in_uiExpected ? std::string() : changed(in_strPath);
}

} // namespace

TablePart::TablePart(std::string in_strPath)
    : m_strPath(std::move(in_strPath))
{
}

std::vector<std::string> TablePart::getFiles() const
{
    std::vector<std::string> vFiles = {m_strPath, descriptionPathOf(m_strPath)};
    if (isNpy())
        vFiles.push_back(npyTimesPathOf(m_strPath));
    return vFiles;
}

std::string TablePart::open(TableDescription& out_description)
{
    TableDescriptionReader reader;
    InputOutcome outcome;
    if (reader.open(descriptionPathOf(m_strPath)))
        while (reader.next(outcome)) {
        }
    if (!reader.getFault().empty())
        return printable(descriptionPathOf(m_strPath)) + ": " + reader.getFault() +
               "; 'corvana features --shard I/N' writes it beside each part";
    out_description = reader.get();
    m_format = out_description.m_settings.m_format;
    m_uiShard = out_description.m_settings.m_uiShard;
    m_size = out_description.m_size;
    if (out_description.m_settings.m_uiNbOfShards == 0)
        return printable(m_strPath) +
               ": is a whole table, not a part of one; parts come from 'corvana features --shard I/N'";
    const std::string strStart = startOfTable(out_description);
    m_uiStart = strStart.size();
    std::string strFault =
        checkFile(m_strPath, strStart, isNpy() ? out_description.m_vColumns.size() * s_uiNpyValueBytes : 0);
    if (strFault.empty() && isNpy())
        strFault = checkFile(npyTimesPathOf(m_strPath), npyHeaderOfTimes(m_size.m_uiNbOfRows), s_uiNpyTimeBytes);
    return strFault;
}

// in_uiRowBytes: 0 for rows whose length only the description tells; else that of all rows tells it, too.
std::string TablePart::checkFile(const std::string& in_strPath, const std::string& in_strStart,
                                 std::uint64_t in_uiRowBytes) const
{
    struct stat status = {};
    errno = EIO; // for streams that do not tell why
    if (stat(in_strPath.c_str(), &status) != 0)
        return systemFault(in_strPath);
    if (!S_ISREG(status.st_mode))
        return printable(in_strPath) + ": is no file";
    const auto uiSize = static_cast<std::uint64_t>(status.st_size);
    if (uiSize < in_strStart.size() || (in_strPath == m_strPath && uiSize != m_size.m_uiNbOfBytes))
        return changed(in_strPath);
    // Not the product of two numbers that anyone may have written.
    const std::uint64_t uiRowBytes = uiSize - in_strStart.size();
    if (in_uiRowBytes != 0 && (uiRowBytes % in_uiRowBytes != 0 || uiRowBytes / in_uiRowBytes != m_size.m_uiNbOfRows))
        return changed(in_strPath);
    std::ifstream stream(in_strPath, std::ios::binary);
    std::string strStart(in_strStart.size(), '\0');
    if (!stream || !stream.read(strStart.data(), static_cast<std::streamsize>(strStart.size())))
        return systemFault(in_strPath);
    return strStart == in_strStart ? std::string() : changed(in_strPath);
}

std::string TablePart::copyRows(OutputFile& out_file, Checksum& inout_checksum) const
{
    RowCounter counter(m_format == RowFormat::CSV);
    std::string strFault = copy(m_strPath, m_uiStart, m_size.m_uiChecksum, out_file, inout_checksum, counter);
    const bool bCounted = isNpy() || !out_file.isGood() || counter.getNbOfRows() == m_size.m_uiNbOfRows;
    return strFault.empty() && !bCounted ? changed(m_strPath) : strFault;
}

std::string TablePart::copyTimes(OutputFile& out_file, Checksum& inout_checksum) const
{
    RowCounter unused(false);
    return copy(npyTimesPathOf(m_strPath), npyHeaderOfTimes(0).size(), m_size.m_uiTimesChecksum, out_file,
                inout_checksum, unused);
}

std::string TablePart::copyInputs(TableDescriptionWriter& out_writer) const
{
    TableDescriptionReader reader;
    InputOutcome outcome;
    if (reader.open(descriptionPathOf(m_strPath)))
        while (reader.next(outcome))
            out_writer.add(outcome);
    return reader.getFault().empty() ? std::string()
                                     : printable(descriptionPathOf(m_strPath)) + ": " + reader.getFault();
}

} // namespace Corvana::Tools
