// SPDX-License-Identifier: Apache-2.0
#include "tools/RegionFormat.h"

#include "corvana/NumberText.h"
#include "tools/CsvReader.h"
#include "tools/RegionCollector.h"
#include "tools/RegionTextGrid.h"
#include "tools/RowWriter.h"
#include "tools/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <optional>

namespace Corvana::Tools {
namespace {

struct FormatName
{
    RegionFormat m_format;
    const char* m_szName;
    const char* m_szEnding;
};

constexpr FormatName s_aFormats[] = {{RegionFormat::CSV, "csv", ".csv"},
                                     {RegionFormat::JSON, "json", ".json"},
                                     {RegionFormat::AUDACITY, "audacity", ".txt"},
                                     {RegionFormat::TEXTGRID, "textgrid", ".TextGrid"}};

const FormatName& entryOf(RegionFormat in_format)
{
    return *std::find_if(std::begin(s_aFormats), std::end(s_aFormats),
                         [in_format](const FormatName& in_entry) { return in_entry.m_format == in_format; });
}

std::string inLowerCase(std::string_view in_strText)
{
    std::string strText(in_strText);
    for (char& cLetter : strText)
        if (cLetter >= 'A' && cLetter <= 'Z')
            cLetter = static_cast<char>(cLetter - 'A' + 'a');
    return strText;
}

void writeCsv(std::ostream& out_stream, const std::vector<LabeledRegion>& in_vRegions)
{
    out_stream << "index,type,start,stop\n";
    for (std::size_t uiIndex = 0; uiIndex < in_vRegions.size(); ++uiIndex)
        out_stream << std::to_string(in_vRegions[uiIndex].m_uiIndex.value_or(uiIndex)) + "," +
                          csvField(in_vRegions[uiIndex].m_strLabel) + "," +
                          toShortestText(in_vRegions[uiIndex].m_dStart) + "," +
                          toShortestText(in_vRegions[uiIndex].m_dStop) + "\n";
}

void writeJson(std::ostream& out_stream, const std::vector<LabeledRegion>& in_vRegions)
{
    out_stream << '[';
    for (std::size_t uiIndex = 0; uiIndex < in_vRegions.size(); ++uiIndex) {
        std::string strRow = uiIndex == 0 ? "\n" : ",\n";
        strRow += "  {\"index\":" + std::to_string(in_vRegions[uiIndex].m_uiIndex.value_or(uiIndex)) +
                  ",\"type\":" + jsonString(in_vRegions[uiIndex].m_strLabel) + ",\"start\":";
        appendJsonNumber(strRow, in_vRegions[uiIndex].m_dStart);
        strRow += ",\"stop\":";
        appendJsonNumber(strRow, in_vRegions[uiIndex].m_dStop);
        out_stream << strRow << '}';
    }
    out_stream << (in_vRegions.empty() ? "]\n" : "\n]\n");
}

void writeAudacity(std::ostream& out_stream, const std::vector<LabeledRegion>& in_vRegions)
{
    for (const LabeledRegion& region : in_vRegions) {
        std::string strLabel = region.m_strLabel;
        for (char& cLetter : strLabel)
            if (cLetter == '\t' || cLetter == '\n' || cLetter == '\r')
                cLetter = ' ';
        out_stream << toShortestText(region.m_dStart) + "\t" + toShortestText(region.m_dStop) + "\t" + strLabel + "\n";
    }
}

/// Which columns of comma-separated values hold what.
struct RegionColumns
{
    std::size_t m_uiType = 0;
    std::size_t m_uiStart = 0;
    std::size_t m_uiStop = 0;
    std::optional<std::size_t> m_uiFile;
    std::size_t m_uiCount = 0;
};

class RegionCsvReader
{
public:
    RegionCsvReader(std::string_view in_strText, RegionCollector& inout_regions)
        : m_rows(in_strText)
        , m_regions(inout_regions)
    {
    }

    // The reader's own fault, which the collector does not know; empty when all was well.
    std::string read()
    {
        std::vector<std::string> vFields;
        if (!m_rows.next(vFields))
            return m_rows.getFault();
        const bool bHeader = std::none_of(vFields.begin(), vFields.end(), isNumber);
        if (!(bHeader ? takeHeader(vFields) : takeColumns(vFields.size()) && takeRow(vFields)))
            return {};
        while (m_rows.next(vFields))
            if (!takeRow(vFields))
                return {};
        return m_rows.getFault();
    }

private:
    static bool isNumber(const std::string& in_strField)
    {
        double dValue = 0.0;
        return parseNumber(in_strField, dValue);
    }

    bool takeHeader(const std::vector<std::string>& in_vFields)
    {
        m_columns.m_uiCount = in_vFields.size();
        const std::optional<std::size_t> uiType = findColumn(in_vFields, "type", "label");
        const std::optional<std::size_t> uiStart = findColumn(in_vFields, "start", "start");
        const std::optional<std::size_t> uiStop = findColumn(in_vFields, "stop", "end");
        m_columns.m_uiFile = findColumn(in_vFields, "file", "file");
        if (!m_regions.getFault().empty())
            return false;
        if (!uiType || !uiStart || !uiStop)
            return m_regions.fail(m_rows.getLine(), "neither a region nor a header with the columns type, start and "
                                                    "stop, with commas between them");
        m_columns.m_uiType = *uiType;
        m_columns.m_uiStart = *uiStart;
        m_columns.m_uiStop = *uiStop;
        return true;
    }

    std::optional<std::size_t> findColumn(const std::vector<std::string>& in_vFields, const char* in_szName,
                                          const char* in_szOtherName)
    {
        std::optional<std::size_t> uiFound;
        for (std::size_t uiColumn = 0; uiColumn < in_vFields.size(); ++uiColumn) {
            const std::string strName = inLowerCase(withoutBlanksAround(in_vFields[uiColumn]));
            if (strName != in_szName && strName != in_szOtherName)
                continue;
            if (uiFound)
                m_regions.fail(m_rows.getLine(),
                               std::string("several columns for the ") + in_szName + "; rename all but one");
            uiFound = uiColumn;
        }
        return uiFound;
    }

    bool takeColumns(std::size_t in_uiCount)
    {
        if (in_uiCount != 3 && in_uiCount != 4)
            return m_regions.fail(m_rows.getLine(), countFault(in_uiCount) +
                                                        " and no header; wanted are type,start,stop or "
                                                        "index,type,start,stop");
        const std::size_t uiFirst = in_uiCount - 3;
        m_columns = {uiFirst, uiFirst + 1, uiFirst + 2, {}, in_uiCount};
        return true;
    }

    static std::string countFault(std::size_t in_uiCount) { return counted(in_uiCount, "column"); }

    bool takeRow(const std::vector<std::string>& in_vFields)
    {
        const unsigned long uiLine = m_rows.getLine();
        if (in_vFields.size() != m_columns.m_uiCount)
            return m_regions.fail(uiLine, countFault(in_vFields.size()) + " instead of " +
                                              std::to_string(m_columns.m_uiCount) +
                                              "; put a label that contains a comma between quotes");
        if (!isOfOneFile(in_vFields))
            return false;
        LabeledRegion region{in_vFields[m_columns.m_uiType], 0.0, 0.0, uiLine};
        return m_regions.takeTime(uiLine, "start", in_vFields[m_columns.m_uiStart], region.m_dStart) &&
               m_regions.takeTime(uiLine, "stop", in_vFields[m_columns.m_uiStop], region.m_dStop) &&
               m_regions.add(std::move(region));
    }

    // A list of several recordings' regions must not end up in one of them.
    bool isOfOneFile(const std::vector<std::string>& in_vFields)
    {
        if (!m_columns.m_uiFile)
            return true;
        const std::string& strFile = in_vFields[*m_columns.m_uiFile];
        if (!m_strFile)
            m_strFile = strFile;
        return *m_strFile == strFile ||
               m_regions.fail(m_rows.getLine(), "a region of " + inShortQuotes(strFile) + " among those of " +
                                                    inShortQuotes(*m_strFile) + "; make a file for each recording");
    }

    CsvReader m_rows;
    RegionCollector& m_regions;
    RegionColumns m_columns;
    std::optional<std::string> m_strFile;
};

/// Letters of a text, counting the lines that were gone through.
class LineCountingIterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    LineCountingIterator(const char* in_pLetter, unsigned long* inout_pLine)
        : m_pLetter(in_pLetter)
        , m_pLine(inout_pLine)
    {
    }

    reference operator*() const { return *m_pLetter; }
    LineCountingIterator& operator++()
    {
        *m_pLine += *m_pLetter == '\n' ? 1 : 0;
        ++m_pLetter;
        return *this;
    }
    bool operator==(const LineCountingIterator& in_other) const { return m_pLetter == in_other.m_pLetter; }

private:
    const char* m_pLetter;
    unsigned long* m_pLine;
};

/// Takes the regions while the text is parsed, so that no tree of it is ever in memory.
class RegionJsonReader : public nlohmann::json_sax<nlohmann::json>
{
public:
    RegionJsonReader(std::string_view in_strText, RegionCollector& inout_regions)
        : m_strText(in_strText)
        , m_regions(inout_regions)
    {
    }

    void read()
    {
        const LineCountingIterator begin(m_strText.data(), &m_uiLine);
        const LineCountingIterator end(m_strText.data() + m_strText.size(), &m_uiLine);
        nlohmann::json::sax_parse(begin, end, this);
    }

    bool null() override { return takeOther("null"); }
    bool boolean(bool) override { return takeOther("true or false"); }
    bool number_integer(number_integer_t in_iValue) override { return takeNumber(static_cast<double>(in_iValue)); }
    bool number_unsigned(number_unsigned_t in_uiValue) override { return takeNumber(static_cast<double>(in_uiValue)); }
    bool number_float(number_float_t in_dValue, const string_t&) override { return takeNumber(in_dValue); }
    bool binary(binary_t&) override { return takeOther("binary data"); }

    bool string(string_t& inout_strValue) override
    {
        if (m_uiDepth != s_uiRegionDepth || m_strKey != "type")
            return takeOther("a text");
        m_region.m_strLabel = std::move(inout_strValue);
        return setGiven(0);
    }

    bool start_object(std::size_t) override
    {
        if (m_uiDepth == 0 || (m_uiDepth == s_uiRegionDepth && (isTime() || m_strKey == "type")))
            return takeOther("an object");
        if (++m_uiDepth == s_uiRegionDepth) {
            m_region = LabeledRegion();
            m_region.m_uiLine = m_uiLine;
            m_abGiven = {};
            m_bOfRecording = false;
        }
        return true;
    }

    bool end_object() override
    {
        if (m_uiDepth-- != s_uiRegionDepth)
            return true;
        if (m_bOfRecording && std::find(m_abGiven.begin(), m_abGiven.end(), true) == m_abGiven.end())
            return m_regions.fail(
                m_region.m_uiLine,
                "the regions of several recordings; 'corvana annotations export --format json "
                "--folder DIR RECORDING...' makes a file for each, which 'import --folder DIR' reads");
        for (std::size_t uiKey = 0; uiKey < m_abGiven.size(); ++uiKey)
            if (!m_abGiven[uiKey])
                return m_regions.fail(m_region.m_uiLine, std::string("a region without \"") + s_aszKeys[uiKey] +
                                                             "\"; it wants \"type\", \"start\" and \"stop\"");
        return m_regions.add(std::move(m_region));
    }

    bool start_array(std::size_t) override
    {
        if (m_uiDepth == 1 || (m_uiDepth == s_uiRegionDepth && (isTime() || m_strKey == "type")))
            return takeOther("an array");
        ++m_uiDepth;
        return true;
    }

    bool end_array() override
    {
        --m_uiDepth;
        return true;
    }

    bool key(string_t& inout_strKey) override
    {
        if (m_uiDepth == s_uiRegionDepth) {
            m_strKey = std::move(inout_strKey);
            m_bOfRecording = m_bOfRecording || m_strKey == "regions";
        }
        return true;
    }

    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& in_exception) override
    {
        // The parser's own position and number are dropped: the line is said anyway.
        const std::string strText = in_exception.what();
        const std::size_t uiReason = strText.find("syntax error");
        return m_regions.fail(m_uiLine, "no JSON: " + (uiReason == std::string::npos
                                                           ? "a number is too large, or the text is damaged"
                                                           : strText.substr(uiReason)));
    }

private:
    static constexpr std::size_t s_uiRegionDepth = 2; // an object in an array
    static constexpr std::array<const char*, 3> s_aszKeys = {"type", "start", "stop"};

    bool isTime() const { return m_strKey == "start" || m_strKey == "stop"; }

    bool takeNumber(double in_dValue)
    {
        if (m_uiDepth != s_uiRegionDepth || !isTime())
            return takeOther("a number");
        (m_strKey == "start" ? m_region.m_dStart : m_region.m_dStop) = in_dValue;
        return setGiven(m_strKey == "start" ? 1 : 2);
    }

    // What stands where a region's keys do not need it is passed over.
    bool takeOther(const char* in_szWhat)
    {
        if (m_uiDepth < s_uiRegionDepth)
            return m_regions.fail(m_uiLine, std::string("an array of regions is wanted, each an object, but here is ") +
                                                in_szWhat);
        if (m_uiDepth > s_uiRegionDepth)
            return true;
        if (isTime())
            return m_regions.fail(m_uiLine, "\"" + m_strKey + "\" is " + in_szWhat +
                                                "; write it as a number of seconds, such as 12.5");
        return m_strKey != "type" ||
               m_regions.fail(m_uiLine, std::string("\"type\" is ") + in_szWhat + "; write it between quotes");
    }

    bool setGiven(std::size_t in_uiKey)
    {
        if (m_abGiven[in_uiKey])
            return m_regions.fail(m_uiLine, "\"" + m_strKey + "\" stands twice in one region; remove one");
        m_abGiven[in_uiKey] = true;
        return true;
    }

    std::string_view m_strText;
    RegionCollector& m_regions;
    unsigned long m_uiLine = 1;
    std::size_t m_uiDepth = 0;
    std::string m_strKey;
    LabeledRegion m_region;
    std::array<bool, 3> m_abGiven{};
    bool m_bOfRecording = false; // the object holds the regions of one of several recordings
};

class AudacityReader
{
public:
    AudacityReader(std::string_view in_strText, RegionCollector& inout_regions)
        : m_strRest(in_strText)
        , m_regions(inout_regions)
    {
    }

    void read()
    {
        while (!m_strRest.empty()) {
            ++m_uiLine;
            const std::string_view strLine = takeLine();
            // Lines with a backslash hold the frequencies of the region before them.
            if (strLine.empty() || strLine.front() == '\\')
                continue;
            if (!takeRegion(strLine))
                return;
        }
    }

private:
    std::string_view takeLine()
    {
        const std::size_t uiEnd = std::min(m_strRest.find_first_of("\r\n"), m_strRest.size());
        const std::string_view strLine = m_strRest.substr(0, uiEnd);
        m_strRest.remove_prefix(uiEnd);
        m_strRest.remove_prefix(m_strRest.starts_with("\r\n") ? 2 : std::min<std::size_t>(1, m_strRest.size()));
        return strLine;
    }

    bool takeRegion(std::string_view in_strLine)
    {
        const std::size_t uiFirst = in_strLine.find('\t');
        const std::size_t uiSecond = uiFirst == std::string_view::npos ? uiFirst : in_strLine.find('\t', uiFirst + 1);
        if (uiSecond == std::string_view::npos)
            return m_regions.fail(m_uiLine,
                                  "no start, stop and label with tabs between them: " + inShortQuotes(in_strLine));
        LabeledRegion region{std::string(in_strLine.substr(uiSecond + 1)), 0.0, 0.0, m_uiLine};
        return takeTime("start", in_strLine.substr(0, uiFirst), region.m_dStart) &&
               takeTime("stop", in_strLine.substr(uiFirst + 1, uiSecond - uiFirst - 1), region.m_dStop) &&
               m_regions.add(std::move(region));
    }

    // A comma is a decimal sign where it cannot part thousands: it is the only sign in the number, and no number of
    // the file has a point.
    bool takeTime(const char* in_szName, std::string_view in_strText, double& out_dSeconds)
    {
        std::string strNumber(in_strText);
        const std::size_t uiSign = strNumber.find_first_of(".,");
        if (uiSign != std::string::npos) {
            const char cSign = strNumber[uiSign];
            if (m_cDecimalSign != '\0' && m_cDecimalSign != cSign)
                return m_regions.fail(m_uiLine, "the " + std::string(in_szName) + " " + inShortQuotes(in_strText) +
                                                    " has another decimal sign than line " +
                                                    std::to_string(m_uiDecimalLine) + "; use the point everywhere");
            if (m_cDecimalSign == '\0')
                m_uiDecimalLine = m_uiLine;
            m_cDecimalSign = cSign;
            strNumber[uiSign] = '.';
        }
        return parseNumber(strNumber, out_dSeconds) ? m_regions.takeTime(m_uiLine, in_szName, strNumber, out_dSeconds)
                                                    : m_regions.takeTime(m_uiLine, in_szName, in_strText, out_dSeconds);
    }

    std::string_view m_strRest;
    RegionCollector& m_regions;
    unsigned long m_uiLine = 0;
    char m_cDecimalSign = '\0';
    unsigned long m_uiDecimalLine = 0;
};

void appendUtf8(std::string& inout_strText, std::uint32_t in_uiCode)
{
    const auto append = [&inout_strText](std::uint32_t in_uiByte) {
        inout_strText += static_cast<char>(static_cast<unsigned char>(in_uiByte));
    };
    if (in_uiCode < 0x80) {
        append(in_uiCode);
    } else if (in_uiCode < 0x800) {
        append(0xC0 | in_uiCode >> 6);
        append(0x80 | (in_uiCode & 0x3F));
    } else if (in_uiCode < 0x10000) {
        append(0xE0 | in_uiCode >> 12);
        append(0x80 | (in_uiCode >> 6 & 0x3F));
        append(0x80 | (in_uiCode & 0x3F));
    } else {
        append(0xF0 | in_uiCode >> 18);
        append(0x80 | (in_uiCode >> 12 & 0x3F));
        append(0x80 | (in_uiCode >> 6 & 0x3F));
        append(0x80 | (in_uiCode & 0x3F));
    }
}

bool isHighSurrogate(std::uint32_t in_uiUnit)
{
    return in_uiUnit >= 0xD800 && in_uiUnit < 0xDC00;
}

bool isLowSurrogate(std::uint32_t in_uiUnit)
{
    return in_uiUnit >= 0xDC00 && in_uiUnit < 0xE000;
}

// Half a pair becomes U+FFFD, as everywhere; a last byte alone is dropped.
std::string fromUtf16(std::string_view in_strBytes, bool in_bBigEndian)
{
    const auto unitAt = [&](std::size_t in_uiIndex) {
        const auto uiFirst = static_cast<unsigned char>(in_strBytes[in_uiIndex]);
        const auto uiSecond = static_cast<unsigned char>(in_strBytes[in_uiIndex + 1]);
        return static_cast<std::uint32_t>(in_bBigEndian ? uiFirst << 8 | uiSecond : uiSecond << 8 | uiFirst);
    };
    std::string strText;
    strText.reserve(in_strBytes.size());
    for (std::size_t uiIndex = 0; uiIndex + 1 < in_strBytes.size(); uiIndex += 2) {
        std::uint32_t uiCode = unitAt(uiIndex);
        if (isHighSurrogate(uiCode) && uiIndex + 3 < in_strBytes.size() && isLowSurrogate(unitAt(uiIndex + 2))) {
            uiIndex += 2;
            uiCode = 0x10000 + ((uiCode - 0xD800) << 10) + (unitAt(uiIndex) - 0xDC00);
        }
        appendUtf8(strText, isHighSurrogate(uiCode) || isLowSurrogate(uiCode) ? 0xFFFD : uiCode);
    }
    return strText;
}

// The text in UTF-8 without a byte order mark; it is put into the second argument where it must be converted.
std::string_view decoded(const std::string& in_strText, std::string& out_strConverted)
{
    const std::string_view strText = in_strText;
    if (strText.starts_with("\xEF\xBB\xBF"))
        return strText.substr(3);
    if (!strText.starts_with("\xFE\xFF") && !strText.starts_with("\xFF\xFE"))
        return strText;
    out_strConverted = fromUtf16(strText.substr(2), strText.starts_with("\xFE\xFF"));
    return out_strConverted;
}

std::string readDecoded(std::string_view in_strText, RegionFormat in_format, RegionCollector& inout_regions)
{
    if (in_format == RegionFormat::CSV)
        return RegionCsvReader(in_strText, inout_regions).read();
    if (in_format == RegionFormat::JSON)
        RegionJsonReader(in_strText, inout_regions).read();
    else if (in_format == RegionFormat::AUDACITY)
        AudacityReader(in_strText, inout_regions).read();
    else
        readTextGrid(in_strText, inout_regions);
    return {};
}

} // namespace

void writeRegions(std::ostream& out_stream, RegionFormat in_format, const std::vector<LabeledRegion>& in_vRegions,
                  double in_dDurationSeconds)
{
    if (in_format == RegionFormat::CSV)
        writeCsv(out_stream, in_vRegions);
    else if (in_format == RegionFormat::JSON)
        writeJson(out_stream, in_vRegions);
    else if (in_format == RegionFormat::AUDACITY)
        writeAudacity(out_stream, in_vRegions);
    else
        writeTextGrid(out_stream, in_vRegions, in_dDurationSeconds);
}

std::string readRegions(const std::string& in_strText, RegionFormat in_format, std::vector<LabeledRegion>& out_vRegions)
{
    RegionCollector regions(out_vRegions);
    if (in_strText.size() > s_uiMaxRegionBytes)
        return "more than " + std::to_string(s_uiMaxRegionBytes >> 20U) + " MiB; this is no list of regions";
    std::string strConverted;
    const std::string strFault = readDecoded(decoded(in_strText, strConverted), in_format, regions);
    if (!strFault.empty() || !regions.getFault().empty()) {
        out_vRegions.clear();
        return strFault.empty() ? regions.getFault() : strFault;
    }
    if (in_format == RegionFormat::TEXTGRID)
        std::stable_sort(out_vRegions.begin(), out_vRegions.end(),
                         [](const LabeledRegion& in_left, const LabeledRegion& in_right) {
                             return in_left.m_dStart < in_right.m_dStart;
                         });
    return {};
}

const char* nameOf(RegionFormat in_format)
{
    return entryOf(in_format).m_szName;
}

const char* endingOf(RegionFormat in_format)
{
    return entryOf(in_format).m_szEnding;
}

bool findFormatOfFile(const std::string& in_strPath, RegionFormat& out_format)
{
    const std::string strPath = inLowerCase(in_strPath);
    for (const FormatName& entry : s_aFormats) {
        if (strPath.ends_with(inLowerCase(entry.m_szEnding))) {
            out_format = entry.m_format;
            return true;
        }
    }
    return false;
}

} // namespace Corvana::Tools
