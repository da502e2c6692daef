// SPDX-License-Identifier: Apache-2.0
#include "tools/RegionCollector.h"

#include "corvana/NumberText.h"
#include "tools/Text.h"

#include <cmath>

namespace Corvana::Tools {

std::string inShortQuotes(std::string_view in_strText)
{
    constexpr std::size_t uiMaxLetters = 60;
    if (in_strText.size() <= uiMaxLetters)
        return inQuotes(in_strText);
    return inQuotes(std::string(in_strText.substr(0, uiMaxLetters)) + "...");
}

bool RegionCollector::add(LabeledRegion&& inout_region)
{
    const unsigned long uiLine = inout_region.m_uiLine;
    if (!std::isfinite(inout_region.m_dStart) || !std::isfinite(inout_region.m_dStop))
        return fail(uiLine, "a time is not finite; write seconds, such as 12.5");
    if (inout_region.m_dStop < inout_region.m_dStart)
        return fail(uiLine, "the stop " + toShortestText(inout_region.m_dStop) + " lies before the start " +
                                toShortestText(inout_region.m_dStart) + "; exchange them");
    if (m_vRegions.size() >= s_uiMaxRegions)
        return fail(uiLine, "more than " + std::to_string(s_uiMaxRegions) + " regions; divide the file");
    m_vRegions.push_back(std::move(inout_region));
    return true;
}

bool RegionCollector::fail(unsigned long in_uiLine, const std::string& in_strText)
{
    if (m_strFault.empty())
        m_strFault = "line " + std::to_string(in_uiLine) + ": " + in_strText;
    m_vRegions.clear();
    return false;
}

bool RegionCollector::takeTime(unsigned long in_uiLine, const char* in_szName, std::string_view in_strText,
                               double& out_dSeconds)
{
    if (parseNumber(in_strText, out_dSeconds) && std::isfinite(out_dSeconds))
        return true;
    return fail(in_uiLine, std::string("the ") + in_szName + " is " + inShortQuotes(in_strText) +
                               "; write it in seconds, such as 12.5");
}

} // namespace Corvana::Tools
