// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/RegionFormat.h"

#include <string>
#include <string_view>
#include <vector>

namespace Corvana::Tools {

/// A text from outside for a message: between quotes, printable, and only the beginning of a long one.
std::string inShortQuotes(std::string_view in_strText);

/// Gathers the regions that a reader finds, and the first fault. What returns bool returns false for a fault, so that
/// a reader stops there.
class RegionCollector
{
public:
    explicit RegionCollector(std::vector<LabeledRegion>& out_vRegions)
        : m_vRegions(out_vRegions)
    {
        m_vRegions.clear();
    }

    /// Refuses times that are not finite, a stop before its start, and regions above the limit.
    bool add(LabeledRegion&& inout_region);

    /// Keeps the fault, unless there is one already. Always false.
    bool fail(unsigned long in_uiLine, const std::string& in_strText);
    /// A time as a number; in_szName is what the fault calls it, such as "start".
    bool takeTime(unsigned long in_uiLine, const char* in_szName, std::string_view in_strText, double& out_dSeconds);

    const std::string& getFault() const { return m_strFault; }

private:
    std::vector<LabeledRegion>& m_vRegions;
    std::string m_strFault;
};

} // namespace Corvana::Tools
