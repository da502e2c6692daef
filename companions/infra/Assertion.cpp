// SPDX-License-Identifier: Apache-2.0
#include "corvana/Assertion.h"

#include "corvana/Logger.h"

CORVANA_FILE_SCOPE_LOGGER("kestrivon.assertion")

namespace Corvana {

Assertion::Assertion(bool in_bCondition, const char* in_szText, const char* in_szFile, int in_iLine)
{
    if (!in_bCondition)
        CORVANA_LOG_ERROR_AT((SourcePosition{in_szFile, in_iLine}), fileScopeLogger(),
                             "Assertion failed: " << in_szText);
}

} // namespace Corvana
