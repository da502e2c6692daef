// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Logger.h"

namespace Corvana::Tools {

/// How much the program says besides its results.
struct MessageOptions
{
    bool m_bQuiet = false;      ///< errors only
    int m_iLogLevel = LOG_WARN; ///< the least level of library messages that are shown
};

} // namespace Corvana::Tools
