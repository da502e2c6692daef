// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathDoubleVector.h"

#include "corvana/MemAllocator.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <new>
#include <utility>

namespace Corvana::Math {
namespace {

// The quotes belong to the tag.
constexpr const char* s_szTag = "\"DoubleVector\"";

// Alignment of the data, and one byte in front of them that tells how far behind the raw block they start.
constexpr std::size_t s_uiAlignment = 16;
constexpr std::size_t s_uiSlack = s_uiAlignment + 1;
constexpr std::size_t s_uiMaxCapacity = (std::numeric_limits<std::size_t>::max() - s_uiSlack) / sizeof(double);

constexpr std::size_t blockSize(std::size_t in_uiCapacity)
{
    return in_uiCapacity * sizeof(double) + s_uiSlack;
}

double* allocateValues(std::size_t in_uiCapacity)
{
    if (in_uiCapacity > s_uiMaxCapacity)
        throw std::bad_alloc();
    auto* pRaw = static_cast<unsigned char*>(DefaultStaticMemAllocator::allocate(blockSize(in_uiCapacity), s_szTag));
    const std::size_t uiOffset = s_uiSlack - (reinterpret_cast<std::uintptr_t>(pRaw) + 1) % s_uiAlignment;
    unsigned char* pData = pRaw + uiOffset;
    pData[-1] = static_cast<unsigned char>(uiOffset);
    return reinterpret_cast<double*>(pData);
}

void deallocateValues(double* in_pData, std::size_t in_uiCapacity) noexcept
{
    if (in_pData == nullptr)
        return;
    auto* pData = reinterpret_cast<unsigned char*>(in_pData);
    DefaultStaticMemAllocator::deallocate(pData - pData[-1], blockSize(in_uiCapacity), s_szTag);
}

} // namespace

// For a vector that has no room yet. Where its values end is for the caller to say.
void DoubleVector::allocate(size_type in_uiCapacity)
{
    if (in_uiCapacity == 0)
        return;
    m_pBegin = allocateValues(in_uiCapacity);
    m_pEndOfCapacity = m_pBegin + in_uiCapacity;
}

void DoubleVector::moveTo(size_type in_uiCapacity)
{
    DoubleVector vMoved;
    vMoved.allocate(in_uiCapacity);
    vMoved.m_pEnd = std::copy(m_pBegin, m_pEnd, vMoved.m_pBegin);
    swap(vMoved);
}

void DoubleVector::grow(size_type in_uiNbOfValues)
{
    const size_type uiSize = size();
    const size_type uiGrowth = std::max(uiSize, in_uiNbOfValues);
    if (uiGrowth > s_uiMaxCapacity - uiSize)
        throw std::bad_alloc();
    moveTo(uiSize + uiGrowth);
}

DoubleVector::DoubleVector(std::initializer_list<double> in_vValues)
{
    allocate(in_vValues.size());
    m_pEnd = std::copy(in_vValues.begin(), in_vValues.end(), m_pBegin);
}

DoubleVector::DoubleVector(size_type in_uiSize, double in_dValue)
{
    allocate(in_uiSize);
    m_pEnd = m_pBegin + in_uiSize;
    std::fill(m_pBegin, m_pEnd, in_dValue);
}

DoubleVector::DoubleVector(const DoubleVector& in_vOther)
{
    allocate(in_vOther.size());
    m_pEnd = std::copy(in_vOther.m_pBegin, in_vOther.m_pEnd, m_pBegin);
}

DoubleVector::DoubleVector(DoubleVector&& inout_vOther) noexcept
{
    swap(inout_vOther);
}

DoubleVector::~DoubleVector()
{
    deallocateValues(m_pBegin, capacity());
}

DoubleVector& DoubleVector::operator=(const DoubleVector& in_vOther)
{
    if (this == &in_vOther)
        return *this;
    if (in_vOther.size() > capacity()) {
        DoubleVector vCopy(in_vOther);
        swap(vCopy);
    } else {
        m_pEnd = std::copy(in_vOther.m_pBegin, in_vOther.m_pEnd, m_pBegin);
    }
    return *this;
}

DoubleVector& DoubleVector::operator=(DoubleVector&& inout_vOther) noexcept
{
    swap(inout_vOther);
    return *this;
}

void DoubleVector::reserve(size_type in_uiCapacity)
{
    if (in_uiCapacity > capacity())
        moveTo(in_uiCapacity);
}

void DoubleVector::resize_i(size_type in_uiSize)
{
    if (in_uiSize > capacity())
        grow(in_uiSize - size());
    m_pEnd = m_pBegin + in_uiSize;
}

double* DoubleVector::makeRoom(const double* in_pPosition, size_type in_uiNbOfValues)
{
    const size_type uiPosition = static_cast<size_type>(in_pPosition - m_pBegin);
    if (in_uiNbOfValues > capacity() - size())
        grow(in_uiNbOfValues);
    double* const pPosition = m_pBegin + uiPosition;
    std::copy_backward(pPosition, m_pEnd, m_pEnd + in_uiNbOfValues);
    m_pEnd += in_uiNbOfValues;
    return pPosition;
}

double* DoubleVector::insert(double* in_pPosition, const double* in_pFirst, const double* in_pLast)
{
    const bool bOwnRange =
        in_pFirst != in_pLast && !std::less<>()(in_pFirst, m_pBegin) && std::less<>()(in_pFirst, m_pEnd);
    const size_type uiNbOfValues = static_cast<size_type>(in_pLast - in_pFirst);
    const size_type uiFirst = bOwnRange ? static_cast<size_type>(in_pFirst - m_pBegin) : 0;

    double* const pInserted = makeRoom(in_pPosition, uiNbOfValues);
    if (!bOwnRange) {
        std::copy(in_pFirst, in_pLast, pInserted);
        return pInserted;
    }
    // Making room has moved the values, and those behind the position have moved by the length of the range.
    const size_type uiPosition = static_cast<size_type>(pInserted - m_pBegin);
    const size_type uiBefore = std::min(uiNbOfValues, uiPosition > uiFirst ? uiPosition - uiFirst : 0);
    double* const pBehind = std::copy_n(m_pBegin + uiFirst, uiBefore, pInserted);
    std::copy_n(m_pBegin + uiFirst + uiBefore + uiNbOfValues, uiNbOfValues - uiBefore, pBehind);
    return pInserted;
}

double* DoubleVector::erase(double* in_pFirst, double* in_pLast)
{
    if (in_pFirst != in_pLast)
        m_pEnd = std::copy(in_pLast, m_pEnd, in_pFirst);
    return in_pFirst;
}

void DoubleVector::absoluteValue()
{
    for (double& dValue : *this)
        dValue = std::fabs(dValue);
}

const double* DoubleVector::max_element() const
{
    return std::max_element(begin(), end());
}

void DoubleVector::minmax_element(const double*& out_pMin, const double*& out_pMax) const
{
    // Not std::minmax_element, which yields the last of equal largest values.
    out_pMin = std::min_element(begin(), end());
    out_pMax = std::max_element(begin(), end());
}

void DoubleVector::swap(DoubleVector& inout_vOther) noexcept
{
    std::swap(m_pBegin, inout_vOther.m_pBegin);
    std::swap(m_pEnd, inout_vOther.m_pEnd);
    std::swap(m_pEndOfCapacity, inout_vOther.m_pEndOfCapacity);
}

bool operator==(const DoubleVector& in_vLeft, const DoubleVector& in_vRight)
{
    return std::equal(in_vLeft.begin(), in_vLeft.end(), in_vRight.begin(), in_vRight.end());
}

} // namespace Corvana::Math
