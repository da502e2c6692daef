// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/LogCapture.h"

#include "corvana/MathDoubleVector.h"
#include "corvana/MemAllocator.h"

#include <string>
#include <vector>

namespace Corvana::Test {

/// The log event of a failed assertion.
inline LogEvent failedAssertion(const std::string& in_strText, const std::string& in_strFile, int in_iLine)
{
    return {"kestrivon.assertion", 40000, "Assertion failed: " + in_strText, in_strFile, in_iLine};
}

/// The texts of the captured messages of one level.
inline std::vector<std::string> textsAtLevel(const LogCapture& in_log, int in_iLevel)
{
    std::vector<std::string> vTexts;
    for (const LogEvent& event : in_log.events())
        if (event.m_iLevel == in_iLevel)
            vTexts.push_back(event.m_strText);
    return vTexts;
}

/// in_dFirst, in_dFirst + 1, ...: samples that tell their own place.
inline Math::DoubleVector ramp(unsigned long in_uiNbOfValues, double in_dFirst = 0.0)
{
    Math::DoubleVector vValues(in_uiNbOfValues);
    double dNext = in_dFirst;
    for (double& dValue : vValues)
        dValue = dNext++;
    return vValues;
}

inline Math::DoubleVector joined(const Math::DoubleVector& in_vFirst, const Math::DoubleVector& in_vSecond)
{
    Math::DoubleVector vBoth = in_vFirst;
    vBoth.insert(vBoth.end(), in_vSecond.begin(), in_vSecond.end());
    return vBoth;
}

/// How many blocks vectors have ever allocated: unchanged over a path that allocates none.
inline unsigned long nbOfVectorBlocks()
{
    return getMemAccount("\"DoubleVector\"").m_uiTotalBlocks;
}

} // namespace Corvana::Test
