// SPDX-License-Identifier: Apache-2.0
// Any text as comma-separated values and as a map of labels: rows that were read are the same when they are written
// with all fields in quotes and read again; a map gives each region its type or none, and what it refuses it names.
// Behind the first zero byte stand the labels that the map is applied to, one a line.
#include "FuzzSupport.h"

#include "tools/CsvReader.h"
#include "tools/LabelMap.h"

#include <algorithm>
#include <vector>

namespace Corvana::Fuzz {
namespace {

using Annotations = std::vector<Audio::AnnotatedFile::Annotation>;
using Rows = std::vector<std::vector<std::string>>;
using Tools::LabeledRegion;
using Tools::LabelMap;

bool readRows(const std::string& in_strText, Rows& out_vRows)
{
    Tools::CsvReader reader(in_strText);
    std::vector<std::string> vFields;
    unsigned long uiLine = 0;
    while (reader.next(vFields)) {
        CORVANA_FUZZ_REQUIRE(!vFields.empty() && reader.getLine() > uiLine);
        uiLine = reader.getLine();
        out_vRows.push_back(vFields);
    }
    CORVANA_FUZZ_REQUIRE(reader.getFault().empty() || reader.getFault().starts_with("line "));
    return reader.getFault().empty();
}

std::string inQuotes(const std::string& in_strField)
{
    std::string strQuoted = "\"";
    for (const char c : in_strField)
        strQuoted.append(c == '"' ? 2 : 1, c);
    return strQuoted + "\"";
}

void requireRows(const std::string& in_strText)
{
    Rows vRows;
    if (!readRows(in_strText, vRows))
        return;
    std::string strQuoted;
    for (const auto& vFields : vRows)
        for (std::size_t uiField = 0; uiField < vFields.size(); ++uiField)
            strQuoted += inQuotes(vFields[uiField]) + (uiField + 1 < vFields.size() ? "," : "\r\n");
    Rows vAgain;
    CORVANA_FUZZ_REQUIRE(readRows(strQuoted, vAgain));
    CORVANA_FUZZ_REQUIRE(vRows == vAgain);
}

std::vector<LabeledRegion> regionsOf(std::string_view in_strLabels)
{
    constexpr std::size_t uiMaxLabels = 8;
    std::vector<LabeledRegion> vRegions(1);
    for (const char c : in_strLabels) {
        if (c != '\n')
            vRegions.back().m_strLabel += c;
        else if (vRegions.size() == uiMaxLabels)
            break;
        else
            vRegions.emplace_back();
    }
    for (std::size_t uiRegion = 0; uiRegion < vRegions.size(); ++uiRegion)
        vRegions[uiRegion].m_uiLine = uiRegion + 1;
    return vRegions;
}

bool isPrintable(const std::string& in_strText)
{
    return std::none_of(in_strText.begin(), in_strText.end(),
                        [](char in_c) { return static_cast<unsigned char>(in_c) < 0x20 && in_c != '\n'; });
}

void requireApplied(const LabelMap& in_map, const std::vector<LabeledRegion>& in_vRegions)
{
    Annotations vRegions(3);
    const std::string strFaults = in_map.apply(in_vRegions, vRegions);
    CORVANA_FUZZ_REQUIRE(isPrintable(strFaults));
    CORVANA_FUZZ_REQUIRE(vRegions.size() <= in_vRegions.size());
    CORVANA_FUZZ_REQUIRE(strFaults.empty() || vRegions.empty());
    for (const auto& annotation : vRegions)
        CORVANA_FUZZ_REQUIRE(Tools::isRegionType(annotation.m_type));

    // One by one: what all together give, unless one of them is refused.
    std::size_t uiKept = 0;
    bool bRefused = false;
    for (const LabeledRegion& region : in_vRegions) {
        Annotations vOne;
        bRefused = !in_map.apply({region}, vOne).empty() || bRefused;
        CORVANA_FUZZ_REQUIRE(!strFaults.empty() || vOne.empty() || vOne[0].m_type == vRegions.at(uiKept).m_type);
        uiKept += vOne.size();
    }
    CORVANA_FUZZ_REQUIRE(bRefused == !strFaults.empty());
    CORVANA_FUZZ_REQUIRE(bRefused || uiKept == vRegions.size());
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    const std::string_view strInput = ByteReader(in_pData, in_uiSize).rest();
    const std::size_t uiEnd = std::min(strInput.find('\0'), strInput.size());
    const std::string strMap(strInput.substr(0, uiEnd));
    requireRows(strMap);

    LabelMap map;
    const std::string strFault = map.read(strMap);
    CORVANA_FUZZ_REQUIRE(isPrintable(strFault));
    CORVANA_FUZZ_REQUIRE(strFault.empty() || strFault.starts_with("line "));
    if (!strFault.empty())
        return;
    requireApplied(map,
                   regionsOf(uiEnd < strInput.size() ? strInput.substr(uiEnd + 1) : std::string_view("MALE\ndog")));
}
