// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Corvana::Tools {

/// The text with control characters written as \n, \t, \x1b and so on, so that a name from outside can neither break
/// a message into lines nor steer a terminal.
std::string printable(std::string_view in_strText);

/// The text between single quotes, printable.
std::string inQuotes(std::string_view in_strText);

/// The texts with ", " between them.
std::string joined(const std::vector<std::string>& in_vTexts);

/// Steps between two words: letters put in, taken out or replaced, neighbours swapped (optimal string alignment);
/// upper and lower case are equal.
std::size_t editDistance(std::string_view in_strLeft, std::string_view in_strRight);

/// At most three names that a mistyped word may stand for, the nearest first; none when nothing is near.
std::vector<std::string> nearestNames(std::string_view in_strWord, const std::vector<std::string>& in_vNames);

/// "; did you mean a, b?", or nothing for no names.
std::string didYouMean(const std::vector<std::string>& in_vNames);

/// "1 file", "2 files".
std::string counted(unsigned long in_uiCount, std::string_view in_strSingular);

/// A duration for people: "0.25 s", "59 s", "2 min 05 s", "3 h 02 min".
std::string durationText(double in_dSeconds);

/// A number with so many digits behind the point, in every locale with a point.
std::string fixedText(double in_dValue, int in_iNbOfDigits);

} // namespace Corvana::Tools
