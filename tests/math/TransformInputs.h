// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Corvana::Test {

/// Repeatable values, evenly spread over -1 to 1.
std::vector<double> randomValues(unsigned long in_uiSize, unsigned in_uiSeed);

/// Named inputs of that many values that leave the ordinary range: zeros of both signs, subnormals, overflows,
/// infinities, NaNs.
std::vector<std::pair<std::string, std::vector<double>>> specialInputs(unsigned long in_uiSize);

/// Empty when both hold the same bits, else where they differ first. All NaNs count as one: which of two NaN operands
/// an addition hands on, and with which sign an invalid operation marks its result, is the compiler's choice of
/// operand order and not the algorithm's.
std::string differenceOfBits(const std::vector<double>& in_vExpected, const std::vector<double>& in_vActual);

} // namespace Corvana::Test
