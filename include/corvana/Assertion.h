// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"
#include "corvana/SourcePosition.h"

namespace Corvana {

/// A failed precondition that does not stop the program: the caller goes on with its documented fallback.
/// A false condition is logged at error level through the logger "kestrivon.assertion" as "Assertion failed: "
/// followed by the condition's text; file and line travel in the log event's own fields.
class CORVANA_API Assertion
{
public:
    Assertion(bool in_bCondition, const char* in_szText, const char* in_szFile, int in_iLine);
};

/// Reports a false condition and yields the condition, so that check and fallback stand together.
inline bool checkAssertion(SourcePosition in_position, bool in_bCondition, const char* in_szText)
{
    if (!in_bCondition)
        Assertion(false, in_szText, in_position.m_szFile, in_position.m_iLine);
    return in_bCondition;
}

} // namespace Corvana

/// Yields the condition; a false one is reported with its source text and the current position.
#define CORVANA_ASSERT(condition) ::Corvana::checkAssertion(CORVANA_HERE, static_cast<bool>(condition), #condition)
/// The same with a position and a text that others rely on.
#define CORVANA_ASSERT_AT(position, condition, text)                                                                   \
    ::Corvana::checkAssertion((position), static_cast<bool>(condition), (text))
