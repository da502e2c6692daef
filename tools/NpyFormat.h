// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Corvana::Tools {

/// The records of rows, as RowWriter makes them: the time, the position of the input, and the values, 8 bytes each.
constexpr std::size_t s_uiNpyTimeBytes = 16; ///< of time and position
constexpr std::size_t s_uiNpyValueBytes = 8;

/// Appends 8 bytes, the lowest first, on every machine.
void appendNpy(std::string& inout_strRecord, double in_dValue);
void appendNpy(std::string& inout_strRecord, std::uint64_t in_uiValue);

/// What stands before the values in a file of NumPy's format .npy, version 1.0: little-endian doubles, a row after
/// another. As long for every number of rows, so that it can be written over when they are known, and a multiple of 64
/// bytes, so that values can be mapped into memory.
std::string npyHeaderOfValues(std::uint64_t in_uiNbOfRows, std::uint64_t in_uiNbOfColumns);

/// The same for times and positions of inputs: records with the fields 'time' and 'file'.
std::string npyHeaderOfTimes(std::uint64_t in_uiNbOfRows);

/// The name of the file with the times that belong to a file of values: calls.times.npy for calls.npy.
std::string npyTimesPathOf(const std::string& in_strValues);

} // namespace Corvana::Tools
