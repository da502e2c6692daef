// SPDX-License-Identifier: Apache-2.0
#include "tools/LabelMap.h"

#include "corvana/NumberText.h"
#include "tools/CsvReader.h"
#include "tools/RegionCollector.h"
#include "tools/Text.h"

namespace Corvana::Tools {
namespace {

using Annotation = Audio::AnnotatedFile::Annotation;

std::string trimmed(const std::string& in_strText)
{
    return std::string(withoutBlanksAround(in_strText));
}

std::string atLine(const CsvReader& in_rows, const std::string& in_strFault)
{
    return "line " + std::to_string(in_rows.getLine()) + ": " + in_strFault;
}

/// The labels that are no types, with the lines where they stand.
class BadLabels
{
public:
    void add(const LabeledRegion& in_region)
    {
        auto [itLabel, bNew] = m_labels.try_emplace(in_region.m_strLabel);
        if (bNew) {
            RegionTypeValue ignored{};
            if (m_vOrder.size() < s_uiMaxLabels) // the others are only counted
                itLabel->second.m_strFault = parseRegionType(trimmed(in_region.m_strLabel), ignored);
            m_vOrder.push_back(in_region.m_strLabel);
        }
        ++itLabel->second.m_uiCount;
        if (itLabel->second.m_uiCount <= s_uiMaxLines)
            itLabel->second.m_strLines += (bNew ? "" : ", ") + std::to_string(in_region.m_uiLine);
    }

    std::string text() const
    {
        if (m_vOrder.size() == 1)
            return lineOf(m_vOrder.front());
        std::string strText = m_vOrder.empty() ? "" : std::to_string(m_vOrder.size()) + " labels are no types:";
        for (std::size_t uiLabel = 0; uiLabel < std::min(m_vOrder.size(), s_uiMaxLabels); ++uiLabel)
            strText += "\n  " + lineOf(m_vOrder[uiLabel]);
        if (m_vOrder.size() > s_uiMaxLabels)
            strText += "\n  and " + std::to_string(m_vOrder.size() - s_uiMaxLabels) + " more";
        return strText;
    }

    bool isFull() const { return m_vOrder.size() > s_uiMaxKept; }

private:
    static constexpr std::size_t s_uiMaxLines = 10;
    static constexpr std::size_t s_uiMaxLabels = 100;
    static constexpr std::size_t s_uiMaxKept = 10000;

    struct Label
    {
        unsigned long m_uiCount = 0;
        std::string m_strLines;
        std::string m_strFault;
    };

    std::string lineOf(const std::string& in_strLabel) const
    {
        const Label& label = m_labels.at(in_strLabel);
        return (label.m_uiCount == 1 ? "line " : "lines ") + label.m_strLines +
               (label.m_uiCount > s_uiMaxLines ? " and others: " : ": ") + label.m_strFault;
    }

    std::map<std::string, Label> m_labels;
    std::vector<std::string> m_vOrder;
};

} // namespace

std::string LabelMap::read(const std::string& in_strText)
{
    m_types.clear();
    CsvReader rows(std::string_view(in_strText).substr(in_strText.starts_with("\xEF\xBB\xBF") ? 3 : 0));
    std::vector<std::string> vFields;
    for (bool bFirst = true; rows.next(vFields); bFirst = false) {
        if (vFields.size() != 2)
            return atLine(rows, counted(vFields.size(), "column") + "; wanted are a label and its type, with a comma "
                                                                    "between them");
        const std::string strLabel = trimmed(vFields[0]);
        const std::string strType = trimmed(vFields[1]);
        if (bFirst && strLabel == "label" && strType == "type")
            continue;
        RegionTypeValue type{};
        const std::string strFault = strType.empty() ? "" : parseRegionType(strType, type);
        if (!strFault.empty())
            return atLine(rows, strFault);
        const auto wanted = strType.empty() ? std::nullopt : std::optional(type);
        const auto [itLabel, bNew] = m_types.try_emplace(strLabel, wanted);
        if (!bNew && itLabel->second != wanted)
            return atLine(rows, "the label " + inShortQuotes(strLabel) + " stands for another type above; remove one");
    }
    return rows.getFault();
}

std::string LabelMap::apply(const std::vector<LabeledRegion>& in_vRegions, std::vector<Annotation>& out_vRegions) const
{
    out_vRegions.clear();
    BadLabels badLabels;
    for (const LabeledRegion& region : in_vRegions) {
        const std::string strLabel = trimmed(region.m_strLabel);
        const auto itMapped = m_types.find(strLabel);
        RegionTypeValue type{};
        if (itMapped != m_types.end() && !itMapped->second)
            continue;
        bool bKnown = true;
        if (itMapped != m_types.end())
            type = *itMapped->second;
        else
            bKnown = readRegionType(strLabel, type);
        if (bKnown)
            out_vRegions.emplace_back(type, region.m_dStart, region.m_dStop);
        else if (!badLabels.isFull())
            badLabels.add(region);
    }
    const std::string strFaults = badLabels.text();
    if (!strFaults.empty())
        out_vRegions.clear();
    return strFaults;
}

} // namespace Corvana::Tools
