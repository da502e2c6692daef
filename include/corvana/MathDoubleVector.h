// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <type_traits>

namespace Corvana::Math {

/// The vector of doubles passed between all stages: windows, spectra, feature values.
///
/// Works as a standard vector does, with three differences: its storage starts at a multiple of 16 bytes and is
/// accounted under the tag "\"DoubleVector\"" (the quotes belong to it); resize() leaves new values unwritten; a
/// range to insert may lie in the vector itself. clear() keeps the storage. Growth by k values of a vector of size s
/// gives the capacity s + max(s, k). Too large a size throws std::bad_alloc. Element access is not checked.
class CORVANA_API DoubleVector
{
public:
    using value_type = double;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = double&;
    using const_reference = const double&;
    using iterator = double*;
    using const_iterator = const double*;

    DoubleVector() noexcept = default;
    DoubleVector(std::initializer_list<double> in_vValues);
    explicit DoubleVector(size_type in_uiSize, double in_dValue = 0.0);
    DoubleVector(const DoubleVector& in_vOther);
    DoubleVector(DoubleVector&& inout_vOther) noexcept;
    ~DoubleVector();
    /// Keeps storage that is large enough.
    DoubleVector& operator=(const DoubleVector& in_vOther);
    DoubleVector& operator=(DoubleVector&& inout_vOther) noexcept;

    size_type size() const { return static_cast<size_type>(m_pEnd - m_pBegin); }
    size_type capacity() const { return static_cast<size_type>(m_pEndOfCapacity - m_pBegin); }
    bool empty() const { return m_pBegin == m_pEnd; }

    double* begin() { return m_pBegin; }
    double* end() { return m_pEnd; }
    const double* begin() const { return m_pBegin; }
    const double* end() const { return m_pEnd; }
    double* data() { return m_pBegin; }
    const double* data() const { return m_pBegin; }
    double& operator[](size_type in_uiIndex) { return m_pBegin[in_uiIndex]; }
    const double& operator[](size_type in_uiIndex) const { return m_pBegin[in_uiIndex]; }
    double& front() { return *m_pBegin; }
    const double& front() const { return *m_pBegin; }
    double& back() { return m_pEnd[-1]; }
    const double& back() const { return m_pEnd[-1]; }

    void clear() { m_pEnd = m_pBegin; }
    void reserve(size_type in_uiCapacity);
    /// New values are not written: callers that need zeros write them.
    void resize(size_type in_uiSize)
    {
        if (in_uiSize > capacity())
            resize_i(in_uiSize);
        else
            m_pEnd = m_pBegin + in_uiSize;
    }
    void push_back(double in_dValue)
    {
        if (m_pEnd == m_pEndOfCapacity)
            grow(1);
        *m_pEnd++ = in_dValue;
    }
    void pop_back() { --m_pEnd; }

    /// Inserts a range, which may lie in this vector; returns the first inserted value's place.
    double* insert(double* in_pPosition, const double* in_pFirst, const double* in_pLast);
    /// The same for any forward iterators that do not point into this vector; each value is converted to double.
    template <class It>
    double* insert(double* in_pPosition, It in_first, It in_last)
    {
        if constexpr (std::is_convertible_v<It, const double*>) {
            return insert(in_pPosition, static_cast<const double*>(in_first), static_cast<const double*>(in_last));
        } else {
            double* const pInserted = makeRoom(in_pPosition, static_cast<size_type>(std::distance(in_first, in_last)));
            double* pNext = pInserted;
            for (; in_first != in_last; ++in_first)
                *pNext++ = static_cast<double>(*in_first);
            return pInserted;
        }
    }
    /// Returns the place behind the erased values.
    double* erase(double* in_pFirst, double* in_pLast);

    /// Replaces every value by its absolute value.
    void absoluteValue();
    /// The first largest value; end() when empty.
    const double* max_element() const;
    /// The first smallest and the first largest value; end() for both when empty.
    void minmax_element(const double*& out_pMin, const double*& out_pMax) const;

    void swap(DoubleVector& inout_vOther) noexcept;
    /// Equal sizes and values, compared as doubles: a NaN is unequal to itself, 0.0 equals -0.0.
    friend CORVANA_API bool operator==(const DoubleVector& in_vLeft, const DoubleVector& in_vRight);

private:
    void resize_i(size_type in_uiSize);
    void grow(size_type in_uiNbOfValues);
    double* makeRoom(const double* in_pPosition, size_type in_uiNbOfValues);
    void allocate(size_type in_uiCapacity);
    void moveTo(size_type in_uiCapacity);

    double* m_pBegin = nullptr;
    double* m_pEnd = nullptr;
    double* m_pEndOfCapacity = nullptr;
};

inline void swap(DoubleVector& inout_vLeft, DoubleVector& inout_vRight) noexcept
{
    inout_vLeft.swap(inout_vRight);
}

} // namespace Corvana::Math
