// SPDX-License-Identifier: Apache-2.0
#include "tools/TableDescription.h"

#include "tools/JsonDocument.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <utility>

namespace Corvana::Tools {
namespace {

using nlohmann::json;

constexpr std::uint64_t s_uiVersion = 1;
constexpr std::string_view s_strInputs = ",\"inputs\":[";
constexpr std::string_view s_strEnd = "]}";
// No table that anybody makes has so many columns, nor a file so long a name.
constexpr std::size_t s_uiMaxLine = std::size_t{16} << 20U;
constexpr std::uint64_t s_uiMaxNumber = std::uint64_t{1} << 62U;

// Open, for the inputs.
std::string headOf(const TableDescription& in_description)
{
    JsonWriter head;
    head.putNumber("corvana_table", s_uiVersion);
    in_description.m_settings.put(head);
    head.putNumber("sample_rate", in_description.m_uiSampleRate);
    head.putNumber("rows", in_description.m_size.m_uiNbOfRows);
    head.putNumber("bytes", in_description.m_size.m_uiNbOfBytes);
    head.putText("checksum", Checksum(in_description.m_size.m_uiChecksum).getText());
    if (in_description.m_settings.m_format == RowFormat::NPY)
        head.putText("times_checksum", Checksum(in_description.m_size.m_uiTimesChecksum).getText());
    head.beginArray("columns");
    for (const TableColumn& column : in_description.m_vColumns) {
        head.beginItem();
        head.putText("name", column.m_strName);
        if (column.m_strUnit.empty())
            head.putNull("unit");
        else
            head.putText("unit", column.m_strUnit);
        head.end();
    }
    head.end();
    return head.getOpenLine();
}

std::vector<TableColumn> readColumns(JsonFields& inout_fields)
{
    std::vector<TableColumn> vColumns;
    for (const json& item : inout_fields.getArray("columns")) {
        JsonFields column(item);
        std::string strName = column.getText("name");
        vColumns.push_back({std::move(strName), column.isNull("unit") ? std::string() : column.getText("unit")});
        inout_fields.setFault(column.getFault());
    }
    return vColumns;
}

TableDescription readDescription(JsonFields& inout_fields)
{
    TableDescription description;
    if (inout_fields.getNumber("corvana_table", s_uiMaxNumber) != s_uiVersion)
        inout_fields.setFault("'corvana_table' is not " + std::to_string(s_uiVersion) +
                              ", so it was written by another version of corvana");
    description.m_settings = TableSettings::read(inout_fields);
    description.m_uiSampleRate = inout_fields.getNumber("sample_rate", s_uiMaxNumber);
    description.m_size.m_uiNbOfRows = inout_fields.getNumber("rows", s_uiMaxNumber);
    description.m_size.m_uiNbOfBytes = inout_fields.getNumber("bytes", s_uiMaxNumber);
    description.m_size.m_uiChecksum = inout_fields.getChecksum("checksum");
    if (description.m_settings.m_format == RowFormat::NPY)
        description.m_size.m_uiTimesChecksum = inout_fields.getChecksum("times_checksum");
    description.m_vColumns = readColumns(inout_fields);
    return description;
}

} // namespace

std::string descriptionPathOf(const std::string& in_strTable)
{
    return in_strTable + ".json";
}

TableDescriptionWriter::TableDescriptionWriter(std::ostream& out_stream, const TableDescription& in_description)
    : m_stream(out_stream)
{
    m_stream << headOf(in_description) << s_strInputs << '\n';
}

void TableDescriptionWriter::add(const InputOutcome& in_outcome)
{
    JsonWriter object;
    object.putText("file", in_outcome.m_strPath);
    object.putNumber("rows", in_outcome.m_uiNbOfRows);
    if (!in_outcome.m_strFault.empty())
        object.putText("fault", in_outcome.m_strFault);
    m_stream << (m_bFirst ? "" : ",\n") << object.getLine();
    m_bFirst = false;
}

void TableDescriptionWriter::finish()
{
    m_stream << (m_bFirst ? "" : "\n") << s_strEnd << '\n';
}

bool TableDescriptionReader::refuse(const std::string& in_strFault)
{
    m_strFault = in_strFault;
    return false;
}

bool TableDescriptionReader::open(const std::string& in_strPath)
{
    std::error_code error;
    if (std::filesystem::exists(in_strPath, error) && !std::filesystem::is_regular_file(in_strPath, error))
        return refuse("is no file");
    errno = 0;
    auto pStream = std::make_unique<std::ifstream>(in_strPath, std::ios::binary);
    if (!*pStream)
        return refuse(std::string("cannot be opened, ") + std::strerror(errno));
    return read(std::move(pStream));
}

bool TableDescriptionReader::read(std::unique_ptr<std::istream> in_pStream)
{
    m_pStream = std::move(in_pStream);
    m_pLines = std::make_unique<LineReader>(*m_pStream, s_uiMaxLine);
    std::string strLine;
    if (!m_pLines->next(strLine) || !strLine.ends_with(s_strInputs))
        return refuse("is no description of a table as 'corvana features' writes it");
    strLine.replace(strLine.size() - s_strInputs.size(), s_strInputs.size(), "}");
    return readHead(strLine);
}

bool TableDescriptionReader::readHead(const std::string& in_strLine)
{
    JsonDocument head;
    if (!head.parse(in_strLine))
        return refuse(std::string("line 1: ") + head.getFault());
    JsonFields fields(head.get());
    m_description = readDescription(fields);
    return fields.getFault().empty() || refuse("line 1: " + fields.getFault());
}

bool TableDescriptionReader::next(InputOutcome& out_outcome)
{
    std::string strLine;
    if (!m_strFault.empty())
        return false;
    if (!m_pLines->next(strLine))
        return refuse(m_pLines->isTooLong()
                          ? "line " + std::to_string(m_pLines->getNumber()) + ": is longer than any that corvana writes"
                          : "breaks off");
    if (strLine == s_strEnd)
        return checkEnd();
    return readOutcome(std::move(strLine), out_outcome) ||
           refuse("line " + std::to_string(m_pLines->getNumber()) + ": " + m_strFault);
}

bool TableDescriptionReader::readOutcome(std::string in_strLine, InputOutcome& out_outcome)
{
    if (m_bLast)
        return refuse("stands behind the last input");
    m_bLast = !in_strLine.ends_with(',');
    if (!m_bLast)
        in_strLine.pop_back();
    JsonDocument object;
    if (!object.parse(in_strLine))
        return refuse(object.getFault());
    JsonFields fields(object.get());
    out_outcome.m_strPath = fields.getText("file");
    out_outcome.m_uiNbOfRows = fields.getNumber("rows", s_uiMaxNumber - m_uiNbOfRows);
    out_outcome.m_strFault = fields.has("fault") ? fields.getText("fault") : std::string();
    ++m_uiNbOfInputs;
    m_uiNbOfRows += out_outcome.m_uiNbOfRows;
    return fields.getFault().empty() || refuse(fields.getFault());
}

bool TableDescriptionReader::checkEnd()
{
    const TableSettings& settings = m_description.m_settings;
    const std::uint64_t uiExpected = settings.getEndOfInputs() - settings.getFirstInput();
    std::string strRest;
    if (m_pLines->next(strRest) || m_pLines->hasTornEnd() || (m_uiNbOfInputs > 0 && !m_bLast))
        return refuse("does not end with its last input");
    if (m_uiNbOfInputs != uiExpected)
        return refuse("holds " + std::to_string(m_uiNbOfInputs) + " inputs instead of " + std::to_string(uiExpected));
    if (m_uiNbOfRows != m_description.m_size.m_uiNbOfRows)
        return refuse("gives its inputs " + std::to_string(m_uiNbOfRows) + " rows and the table " +
                      std::to_string(m_description.m_size.m_uiNbOfRows));
    return false;
}

} // namespace Corvana::Tools
