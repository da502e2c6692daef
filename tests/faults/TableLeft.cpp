// SPDX-License-Identifier: Apache-2.0
#include "TableLeft.h"

#include "tools/NpyFormat.h"
#include "tools/TableDescription.h"

#include <algorithm>
#include <memory>
#include <sstream>
#include <string_view>
#include <vector>

namespace Corvana::Test {
namespace {

using Rows = std::vector<std::string>;

bool areAmong(const Rows& in_vLeft, const Rows& in_vWhole)
{
    auto itWhole = in_vWhole.begin();
    return std::all_of(in_vLeft.begin(), in_vLeft.end(), [&](const std::string& in_strRow) {
        itWhole = std::find(itWhole, in_vWhole.end(), in_strRow);
        return itWhole != in_vWhole.end() && itWhole++ != in_vWhole.end();
    });
}

// False: the last line has no end.
bool takeLines(const std::string& in_strText, Rows& out_vRows)
{
    std::istringstream text(in_strText);
    for (std::string strLine; std::getline(text, strLine);)
        out_vRows.push_back(strLine);
    return in_strText.empty() || in_strText.ends_with('\n');
}

// False: the header tells of other rows than there are.
bool takeRecords(const std::string& in_strBytes, Rows& out_vRows)
{
    const std::string strShape = "'shape': (";
    const std::size_t uiShape = in_strBytes.find(strShape);
    if (uiShape == std::string::npos)
        return in_strBytes.empty();
    const std::string strNumbers = in_strBytes.substr(uiShape + strShape.size());
    const std::uint64_t uiNbOfRows = std::stoull(strNumbers);
    const std::string strColumns = strNumbers.substr(strNumbers.find(',') + 1);
    const bool bTimes = strColumns.starts_with(')');
    const std::string strHeader =
        bTimes ? Tools::npyHeaderOfTimes(uiNbOfRows) : Tools::npyHeaderOfValues(uiNbOfRows, std::stoull(strColumns));
    const std::size_t uiRow = bTimes ? Tools::s_uiNpyTimeBytes : Tools::s_uiNpyValueBytes * std::stoull(strColumns);
    for (std::size_t uiPos = strHeader.size(); uiPos < in_strBytes.size(); uiPos += uiRow)
        out_vRows.push_back(in_strBytes.substr(uiPos, uiRow));
    return in_strBytes.starts_with(strHeader) && in_strBytes.size() == strHeader.size() + uiNbOfRows * uiRow;
}

// False: it is none.
bool takeDescription(const std::string& in_strText, std::vector<Tools::InputOutcome>& out_vOutcomes)
{
    Tools::TableDescriptionReader reader;
    if (reader.read(std::make_unique<std::istringstream>(in_strText)))
        for (Tools::InputOutcome outcome; reader.next(outcome);)
            out_vOutcomes.push_back(outcome);
    return reader.getFault().empty();
}

bool isLeftOfDescription(const std::string& in_strLeft, const std::string& in_strWhole)
{
    std::vector<Tools::InputOutcome> vLeft;
    std::vector<Tools::InputOutcome> vWhole;
    return takeDescription(in_strLeft, vLeft) && takeDescription(in_strWhole, vWhole) &&
           std::equal(vLeft.begin(), vLeft.end(), vWhole.begin(), vWhole.end(),
                      [](const auto& in_one, const auto& in_other) {
                          return in_one.m_strPath == in_other.m_strPath &&
                                 (in_one.m_uiNbOfRows == in_other.m_uiNbOfRows ||
                                  (in_one.m_uiNbOfRows < in_other.m_uiNbOfRows && !in_one.m_strFault.empty()));
                      });
}

} // namespace

bool belongsToTable(const std::string& in_strName, const std::string& in_strTable)
{
    return in_strName == in_strTable || in_strName == Tools::descriptionPathOf(in_strTable) ||
           in_strName == Tools::npyTimesPathOf(in_strTable);
}

bool isLeftOfTable(const std::string& in_strName, const std::string& in_strLeft, const std::string& in_strWhole)
{
    if (in_strName.ends_with(".json"))
        return isLeftOfDescription(in_strLeft, in_strWhole);
    const auto take = in_strName.ends_with(".npy") ? takeRecords : takeLines;
    Rows vLeft;
    Rows vWhole;
    return take(in_strLeft, vLeft) && take(in_strWhole, vWhole) && areAmong(vLeft, vWhole);
}

} // namespace Corvana::Test
