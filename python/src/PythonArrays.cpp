// SPDX-License-Identifier: Apache-2.0
#include "PythonArrays.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace py = pybind11;

namespace Corvana::Python {
namespace {

// Python's array keeps the vector alive, so nothing is copied.
template <class VectorT>
Array adopt(VectorT&& inout_vValues, std::vector<py::ssize_t> in_vShape)
{
    auto pVector = std::make_unique<std::decay_t<VectorT>>(std::forward<VectorT>(inout_vValues));
    double* const pValues = pVector->data();
    const py::capsule owner(pVector.get(), [](void* in_p) { delete static_cast<std::decay_t<VectorT>*>(in_p); });
    static_cast<void>(pVector.release()); // the capsule has it now
    return Array(std::move(in_vShape), pValues, owner);
}

} // namespace

std::span<const double> valuesOf(const Array& in_values)
{
    if (in_values.ndim() != 1)
        throw py::value_error("an array of one dimension is wanted, not of " + std::to_string(in_values.ndim()));
    return {in_values.data(), static_cast<std::size_t>(in_values.size())};
}

Math::DoubleVector toVector(const Array& in_values)
{
    const std::span<const double> values = valuesOf(in_values);
    Math::DoubleVector vValues;
    vValues.resize(values.size());
    std::copy(values.begin(), values.end(), vValues.begin());
    return vValues;
}

Array toArray(Math::DoubleVector&& inout_vValues)
{
    const auto iSize = static_cast<py::ssize_t>(inout_vValues.size());
    return adopt(std::move(inout_vValues), {iSize});
}

Array toArray(std::vector<double>&& inout_vValues)
{
    const auto iSize = static_cast<py::ssize_t>(inout_vValues.size());
    return adopt(std::move(inout_vValues), {iSize});
}

Array toTable(std::vector<double>&& inout_vValues, std::size_t in_uiNbOfRows, std::size_t in_uiNbOfColumns)
{
    return adopt(std::move(inout_vValues),
                 {static_cast<py::ssize_t>(in_uiNbOfRows), static_cast<py::ssize_t>(in_uiNbOfColumns)});
}

} // namespace Corvana::Python
