// SPDX-License-Identifier: Apache-2.0
#include "tools/TableFile.h"

#include "tools/NpyFormat.h"
#include "tools/Text.h"

#include <algorithm>
#include <sstream>

namespace Corvana::Tools {
namespace {

std::uint64_t checksumAfter(std::uint64_t in_uiChecksum, std::string_view in_strBytes)
{
    Checksum checksum(in_uiChecksum);
    checksum.add(in_strBytes);
    return checksum.getValue();
}

class TextTable : public TableFile
{
public:
    explicit TextTable(std::ostream& out_stream)
        : m_file(out_stream)
    {
    }

    bool open(const std::string& in_strPath) override { return m_file.open(in_strPath); }
    bool canBeResumed(const std::string& in_strPath) override { return m_file.canBeResumed(in_strPath); }

    bool openToResume(const std::string& in_strPath, const TablePosition& in_position) override
    {
        m_position = in_position;
        return m_file.openToResume(in_strPath, in_position.m_uiNbOfBytes);
    }

    bool openToFinish(const std::string& in_strPath, const TablePosition& in_position) override
    {
        m_position = in_position;
        return m_file.openToFinish(in_strPath, in_position.m_uiNbOfBytes);
    }

    void begin(const std::string& in_strHeader, std::size_t) override
    {
        if (m_position.m_uiNbOfBytes > 0)
            return;
        m_file.stream() << in_strHeader;
        m_position.m_uiNbOfBytes = in_strHeader.size();
    }

    void write(std::string_view in_strBytes) override
    {
        m_file.stream().write(in_strBytes.data(), static_cast<std::streamsize>(in_strBytes.size()));
        m_position.m_uiNbOfBytes += in_strBytes.size();
        if (m_bChecksums)
            m_position.m_uiChecksum = checksumAfter(m_position.m_uiChecksum, in_strBytes);
    }

    void flush() override { m_file.stream().flush(); }
    bool isGood() const override { return m_file.isGood(); }
    bool sync() override { return m_file.sync(); }
    bool prepare() override { return m_file.sync(); }
    bool commit() override { return m_file.commit(); }
    void removePartial() override { m_file.removePartial(); }
    bool isNamedAtLast() const override { return m_file.isNamedAtLast(); }
    std::string findAmong(const std::vector<std::string>& in_vPaths) const override
    {
        return m_file.findAmong(in_vPaths);
    }
    std::string getFault() const override { return m_file.getFault(); }

private:
    OutputFile m_file;
};

class NpyTable : public TableFile
{
public:
    NpyTable()
        : m_values(m_unused)
        , m_times(m_unused)
    {
    }

    bool open(const std::string& in_strPath) override
    {
        return m_values.open(in_strPath) && isFile(m_values, in_strPath) && m_times.open(npyTimesPathOf(in_strPath)) &&
               isFile(m_times, npyTimesPathOf(in_strPath));
    }

    bool canBeResumed(const std::string& in_strPath) override
    {
        return m_values.canBeResumed(in_strPath) && m_times.canBeResumed(npyTimesPathOf(in_strPath));
    }

    bool openToResume(const std::string& in_strPath, const TablePosition& in_position) override
    {
        m_position = in_position;
        return m_values.openToResume(in_strPath, in_position.m_uiNbOfBytes) &&
               m_times.openToResume(npyTimesPathOf(in_strPath), getNbOfTimeBytes());
    }

    bool openToFinish(const std::string& in_strPath, const TablePosition& in_position) override
    {
        m_position = in_position;
        return m_values.openToFinish(in_strPath, in_position.m_uiNbOfBytes) &&
               m_times.openToFinish(npyTimesPathOf(in_strPath), getNbOfTimeBytes());
    }

    void begin(const std::string&, std::size_t in_uiNbOfColumns) override
    {
        m_uiNbOfColumns = in_uiNbOfColumns;
        if (m_position.m_uiNbOfBytes > 0)
            return;
        const std::string strHeader = npyHeaderOfValues(0, in_uiNbOfColumns);
        m_values.stream() << strHeader;
        m_times.stream() << npyHeaderOfTimes(0);
        m_position.m_uiNbOfBytes = strHeader.size();
    }

    void write(std::string_view in_strBytes) override
    {
        if (!m_strBegun.empty()) {
            const std::size_t uiMissing = std::min(in_strBytes.size(), getRecordBytes() - m_strBegun.size());
            m_strBegun += in_strBytes.substr(0, uiMissing);
            in_strBytes.remove_prefix(uiMissing);
            if (m_strBegun.size() < getRecordBytes())
                return;
            writeRecord(m_strBegun);
            m_strBegun.clear();
        }
        for (; in_strBytes.size() >= getRecordBytes(); in_strBytes.remove_prefix(getRecordBytes()))
            writeRecord(in_strBytes.substr(0, getRecordBytes()));
        m_strBegun = in_strBytes;
    }

    void flush() override {}
    bool isGood() const override { return m_values.isGood() && m_times.isGood(); }
    bool sync() override { return m_values.sync() && m_times.sync(); }

    bool prepare() override
    {
        return m_values.rewriteStart(npyHeaderOfValues(m_position.m_uiNbOfRows, m_uiNbOfColumns)) &&
               m_times.rewriteStart(npyHeaderOfTimes(m_position.m_uiNbOfRows)) && sync();
    }

    // Whoever finds the values finds the times, too.
    bool commit() override { return m_times.commit() && m_values.commit(); }

    void removePartial() override
    {
        m_values.removePartial();
        m_times.removePartial();
    }

    bool isNamedAtLast() const override { return m_values.isNamedAtLast(); }

    std::string findAmong(const std::vector<std::string>& in_vPaths) const override
    {
        const std::string strFound = m_values.findAmong(in_vPaths);
        return strFound.empty() ? m_times.findAmong(in_vPaths) : strFound;
    }

    std::string getFault() const override
    {
        const std::string strFault = m_strFault.empty() ? m_values.getFault() : m_strFault;
        return strFault.empty() ? m_times.getFault() : strFault;
    }

private:
    bool isFile(const OutputFile& in_file, const std::string& in_strPath)
    {
        if (!in_file.isNamedAtLast())
            m_strFault = printable(in_strPath) + ": is no file, which the format npy needs";
        return in_file.isNamedAtLast();
    }

    // Without rows nothing may have been begun.
    std::uint64_t getNbOfTimeBytes() const
    {
        return m_position.m_uiNbOfBytes == 0 ? 0
                                             : npyHeaderOfTimes(0).size() + m_position.m_uiNbOfRows * s_uiNpyTimeBytes;
    }

    std::size_t getRecordBytes() const { return s_uiNpyTimeBytes + m_uiNbOfColumns * s_uiNpyValueBytes; }

    void writeRecord(std::string_view in_strRecord)
    {
        writeTo(m_times, in_strRecord.substr(0, s_uiNpyTimeBytes), m_position.m_uiTimesChecksum);
        writeTo(m_values, in_strRecord.substr(s_uiNpyTimeBytes), m_position.m_uiChecksum);
        m_position.m_uiNbOfBytes += in_strRecord.size() - s_uiNpyTimeBytes;
    }

    void writeTo(OutputFile& inout_file, std::string_view in_strBytes, std::uint64_t& inout_uiChecksum) const
    {
        inout_file.stream().write(in_strBytes.data(), static_cast<std::streamsize>(in_strBytes.size()));
        if (m_bChecksums)
            inout_uiChecksum = checksumAfter(inout_uiChecksum, in_strBytes);
    }

    std::ostringstream m_unused;
    OutputFile m_values;
    OutputFile m_times;
    std::size_t m_uiNbOfColumns = 0;
    std::string m_strBegun; // a record that has not come to its end
    std::string m_strFault;
};

} // namespace

std::unique_ptr<TableFile> TableFile::make(RowFormat in_format, std::ostream& out_stream)
{
    if (in_format == RowFormat::NPY)
        return std::make_unique<NpyTable>();
    return std::make_unique<TextTable>(out_stream);
}

std::string startOfTable(const TableDescription& in_description)
{
    if (in_description.m_settings.m_format == RowFormat::NPY)
        return npyHeaderOfValues(in_description.m_size.m_uiNbOfRows, in_description.m_vColumns.size());
    std::vector<std::string> vNames;
    for (const TableColumn& column : in_description.m_vColumns)
        vNames.push_back(column.m_strName);
    return RowWriter::make(in_description.m_settings.m_format, vNames, std::vector<std::size_t>(vNames.size(), 1),
                           in_description.m_settings.m_bLabels)
        ->getHeader();
}

} // namespace Corvana::Tools
