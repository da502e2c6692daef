// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Colour.h"

#include <string>

namespace Corvana::Tools {

/// Who says that a region is what its label tells: a listener, or a detector whose name stands before the outcome.
struct RegionSource
{
    std::size_t m_uiRank; ///< the order in which sources are shown
    const char* m_szName; ///< such as "heard" or "DIALOGIC"
    Colour m_colour;
};

const RegionSource& regionSourceOf(const std::string& in_strLabel);

} // namespace Corvana::Tools
