// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace Corvana {

/// The shortest decimal text that reads back to the same double, with a decimal point in every locale:
/// "0.1", "1e-09", "-0"; "inf", "-inf", and "nan" whatever the sign and payload.
CORVANA_API std::string toShortestText(double in_dValue);
/// Appends the same text without an allocation of its own.
CORVANA_API void appendShortestText(std::string& inout_strText, double in_dValue);
/// Room for the longest such text, "-2.2250738585072014e-308", and for copying a few letters too many.
constexpr std::size_t s_uiMaxShortestText = 40;
/// Writes the same text to s_uiMaxShortestText letters of room, all of which may change; returns the text's end.
CORVANA_API char* writeShortestText(char* out_pText, double in_dValue);

/// Reads a whole text as a number, independently of the locale. Only blanks and tabs may stand around it; an optional
/// sign is taken where the type has one. False, with out untouched: anything else, or a value that does not fit.
CORVANA_API bool parseNumber(std::string_view in_strText, long& out_iValue);
CORVANA_API bool parseNumber(std::string_view in_strText, unsigned long& out_uiValue);
CORVANA_API bool parseNumber(std::string_view in_strText, double& out_dValue);

/// The text without the blanks and tabs around it.
CORVANA_API std::string_view withoutBlanksAround(std::string_view in_strText);

} // namespace Corvana
