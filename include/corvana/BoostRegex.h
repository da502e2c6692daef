// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

#include <memory>
#include <string>

namespace Corvana {

/// A regular expression in Perl syntax.
class CORVANA_API BoostRegex
{
public:
    /// Flag: letters match without regard to case. Other flag words go to Boost.Regex as they are.
    static const unsigned int s_uiIgnoreCase;

    /// Throws a std::runtime_error for a malformed pattern.
    explicit BoostRegex(const std::string& in_strPattern, unsigned int in_uiFlags = 0);
    ~BoostRegex();
    BoostRegex(const BoostRegex&) = delete;
    BoostRegex& operator=(const BoostRegex&) = delete;

private:
    friend CORVANA_API bool regex_match(const std::string& in_strText, const BoostRegex& in_regex);

    struct Expression;
    std::unique_ptr<const Expression> m_pExpression;
};

/// Whether the whole text matches. Throws a std::runtime_error when matching would take too long.
CORVANA_API bool regex_match(const std::string& in_strText, const BoostRegex& in_regex);

} // namespace Corvana
