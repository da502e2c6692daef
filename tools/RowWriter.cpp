// SPDX-License-Identifier: Apache-2.0
#include "tools/RowWriter.h"

#include "corvana/NumberText.h"
#include "tools/NpyFormat.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace Corvana::Tools {
namespace {

// A row as it grows. Its room is never given back, and not written before its letters are.
class RowText
{
public:
    std::string_view get() const { return {m_pText.get(), m_uiSize}; }
    void clear() { m_uiSize = 0; }

    void append(std::string_view in_strText)
    {
        std::memcpy(makeRoom(in_strText.size()), in_strText.data(), in_strText.size());
        m_uiSize += in_strText.size();
    }

    void append(char in_cLetter)
    {
        *makeRoom(1) = in_cLetter;
        ++m_uiSize;
    }

    void appendNumber(double in_dValue)
    {
        char* const pBegin = makeRoom(s_uiMaxShortestText);
        m_uiSize += static_cast<std::size_t>(writeShortestText(pBegin, in_dValue) - pBegin);
    }

    // With a comma before each.
    void appendNumbers(std::span<const double> in_values)
    {
        char* const pBegin = makeRoom(in_values.size() * (1 + s_uiMaxShortestText));
        char* pEnd = pBegin;
        for (const double dValue : in_values) {
            *pEnd++ = ',';
            pEnd = writeShortestText(pEnd, dValue);
        }
        m_uiSize += static_cast<std::size_t>(pEnd - pBegin);
    }

    void appendJsonNumber(double in_dValue)
    {
        if (std::isfinite(in_dValue))
            return appendNumber(in_dValue);
        std::string strText;
        Tools::appendJsonNumber(strText, in_dValue);
        append(strText);
    }

private:
    char* makeRoom(std::size_t in_uiNbOfLetters)
    {
        if (in_uiNbOfLetters > m_uiCapacity - m_uiSize)
            grow(in_uiNbOfLetters);
        return m_pText.get() + m_uiSize;
    }

    void grow(std::size_t in_uiNbOfLetters)
    {
        const std::size_t uiCapacity = 2 * m_uiSize + in_uiNbOfLetters;
        auto pText = std::make_unique_for_overwrite<char[]>(uiCapacity);
        std::copy_n(m_pText.get(), m_uiSize, pText.get());
        m_pText = std::move(pText);
        m_uiCapacity = uiCapacity;
    }

    std::unique_ptr<char[]> m_pText;
    std::size_t m_uiSize = 0;
    std::size_t m_uiCapacity = 0;
};

class CsvRowWriter : public RowWriter
{
public:
    CsvRowWriter(const std::vector<std::string>& in_vDescriptions, const std::vector<std::size_t>& in_vNbOfValues,
                 bool in_bLabels)
        : m_bLabels(in_bLabels)
        , m_strHeader(in_bLabels ? "file,time,labels" : "file,time")
    {
        for (const std::string& strName : columnNames(in_vDescriptions, in_vNbOfValues))
            m_strHeader += "," + csvField(strName);
        m_strHeader += '\n';
    }

    std::string getHeader() const override { return m_strHeader; }

    void beginFile(const std::string& in_strFile) override
    {
        m_strRowStart = csvField(in_strFile) + ",";
        setLabels({});
    }

    void beginRow(double in_dTime) override
    {
        m_row.clear();
        m_row.append(m_strRowStart);
        m_row.appendNumber(in_dTime);
        if (m_bLabels)
            m_row.append(m_strLabels);
    }

    void setLabels(const std::vector<std::string>& in_vLabels) override
    {
        std::string strLabels;
        for (const std::string& strLabel : in_vLabels)
            strLabels += (strLabels.empty() ? "" : ";") + strLabel;
        m_strLabels = "," + csvField(strLabels);
    }

    void addFeature(std::size_t, std::span<const double> in_values) override { m_row.appendNumbers(in_values); }

    std::string_view endRow() override
    {
        m_row.append('\n');
        return m_row.get();
    }

private:
    const bool m_bLabels;
    std::string m_strHeader;
    std::string m_strRowStart;
    std::string m_strLabels; // with the comma before them
    RowText m_row;
};

class JsonRowWriter : public RowWriter
{
public:
    JsonRowWriter(const std::vector<std::string>& in_vDescriptions, const std::vector<std::size_t>& in_vNbOfValues,
                  bool in_bLabels)
        : m_bLabels(in_bLabels)
        , m_vNbOfValues(in_vNbOfValues)
    {
        for (const std::string& strDescription : in_vDescriptions)
            m_vKeys.push_back("," + jsonString(strDescription) + ":");
    }

    std::string getHeader() const override { return {}; }

    void beginFile(const std::string& in_strFile) override
    {
        m_strRowStart = "{\"file\":" + jsonString(in_strFile) + ",\"time\":";
        setLabels({});
    }

    void beginRow(double in_dTime) override
    {
        m_row.clear();
        m_row.append(m_strRowStart);
        m_row.appendJsonNumber(in_dTime);
        if (m_bLabels)
            m_row.append(m_strLabels);
    }

    void setLabels(const std::vector<std::string>& in_vLabels) override
    {
        m_strLabels = ",\"labels\":[";
        for (std::size_t uiLabel = 0; uiLabel < in_vLabels.size(); ++uiLabel)
            m_strLabels += (uiLabel == 0 ? "" : ",") + jsonString(in_vLabels[uiLabel]);
        m_strLabels += ']';
    }

    void addFeature(std::size_t in_uiFeature, std::span<const double> in_values) override
    {
        m_row.append(m_vKeys[in_uiFeature]);
        if (m_vNbOfValues[in_uiFeature] == 1)
            m_row.appendJsonNumber(in_values[0]);
        else
            appendArray(in_values);
    }

    std::string_view endRow() override
    {
        m_row.append("}\n");
        return m_row.get();
    }

private:
    void appendArray(std::span<const double> in_values)
    {
        m_row.append('[');
        for (std::size_t uiIndex = 0; uiIndex < in_values.size(); ++uiIndex) {
            if (uiIndex > 0)
                m_row.append(',');
            m_row.appendJsonNumber(in_values[uiIndex]);
        }
        m_row.append(']');
    }

    const bool m_bLabels;
    std::vector<std::size_t> m_vNbOfValues;
    std::vector<std::string> m_vKeys; // each with the comma before it
    std::string m_strRowStart;
    std::string m_strLabels; // with the comma and the key before them
    RowText m_row;
};

class NpyRowWriter : public RowWriter
{
public:
    std::string getHeader() const override { return {}; }
    void setFileIndex(std::uint64_t in_uiIndex) override { m_uiFile = in_uiIndex; }
    void beginFile(const std::string&) override {}

    void beginRow(double in_dTime) override
    {
        m_strRow.clear();
        appendNpy(m_strRow, in_dTime);
        appendNpy(m_strRow, m_uiFile);
    }

    void setLabels(const std::vector<std::string>&) override {} // which have no place among numbers

    void addFeature(std::size_t, std::span<const double> in_values) override
    {
        for (const double dValue : in_values)
            appendNpy(m_strRow, dValue);
    }

    std::string_view endRow() override { return m_strRow; }

private:
    std::uint64_t m_uiFile = 0;
    std::string m_strRow;
};

} // namespace

std::unique_ptr<RowWriter> RowWriter::make(RowFormat in_format, const std::vector<std::string>& in_vDescriptions,
                                           const std::vector<std::size_t>& in_vNbOfValues, bool in_bLabels)
{
    if (in_format == RowFormat::NPY)
        return std::make_unique<NpyRowWriter>();
    if (in_format == RowFormat::JSONL)
        return std::make_unique<JsonRowWriter>(in_vDescriptions, in_vNbOfValues, in_bLabels);
    return std::make_unique<CsvRowWriter>(in_vDescriptions, in_vNbOfValues, in_bLabels);
}

std::vector<std::string> columnNames(const std::vector<std::string>& in_vFeatures,
                                     const std::vector<std::size_t>& in_vNbOfValues)
{
    std::vector<std::string> vNames;
    for (std::size_t uiFeature = 0; uiFeature < in_vFeatures.size(); ++uiFeature) {
        const std::size_t uiNbOfValues = in_vNbOfValues[uiFeature];
        if (uiNbOfValues == 1)
            vNames.push_back(in_vFeatures[uiFeature]);
        for (std::size_t uiValue = 0; uiNbOfValues != 1 && uiValue < uiNbOfValues; ++uiValue)
            vNames.push_back(in_vFeatures[uiFeature] + "[" + std::to_string(uiValue) + "]");
    }
    return vNames;
}

std::string csvField(const std::string& in_strText)
{
    if (in_strText.find_first_of(",\"\r\n") == std::string::npos)
        return in_strText;
    std::string strField = "\"";
    for (const char cLetter : in_strText) {
        if (cLetter == '"')
            strField += '"';
        strField += cLetter;
    }
    return strField + "\"";
}

std::string jsonString(const std::string& in_strText)
{
    return nlohmann::json(in_strText).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void appendJsonNumber(std::string& inout_strText, double in_dValue)
{
    if (std::isnan(in_dValue))
        inout_strText += "null";
    else if (std::isinf(in_dValue))
        inout_strText += in_dValue > 0.0 ? "1e999" : "-1e999";
    else
        appendShortestText(inout_strText, in_dValue);
}

} // namespace Corvana::Tools
