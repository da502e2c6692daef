// SPDX-License-Identifier: Apache-2.0
#include "corvana/BoostRegex.h"

#include <boost/regex.hpp>

namespace Corvana {

struct BoostRegex::Expression
{
    boost::regex m_regex;
};

const unsigned int BoostRegex::s_uiIgnoreCase = boost::regex::icase;

BoostRegex::BoostRegex(const std::string& in_strPattern, unsigned int in_uiFlags)
    : m_pExpression(new Expression{boost::regex(in_strPattern, in_uiFlags)})
{
}

BoostRegex::~BoostRegex() = default;

bool regex_match(const std::string& in_strText, const BoostRegex& in_regex)
{
    return boost::regex_match(in_strText, in_regex.m_pExpression->m_regex);
}

} // namespace Corvana
