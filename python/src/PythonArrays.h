// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathDoubleVector.h"

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <span>
#include <vector>

namespace Corvana::Python {

/// Arrays of doubles, one after another in memory. Integers are refused before they come here: nobody can tell which
/// of their values is full scale.
using Array = pybind11::array_t<double, pybind11::array::c_style>;

/// The values of an array of one dimension; it must outlive them.
std::span<const double> valuesOf(const Array& in_values);
Math::DoubleVector toVector(const Array& in_values);

/// The same storage as an array.
Array toArray(Math::DoubleVector&& inout_vValues);
Array toArray(std::vector<double>&& inout_vValues);
/// Of two dimensions; the values of a row lie one after another.
Array toTable(std::vector<double>&& inout_vValues, std::size_t in_uiNbOfRows, std::size_t in_uiNbOfColumns);

} // namespace Corvana::Python
