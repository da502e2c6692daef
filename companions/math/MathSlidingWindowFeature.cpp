// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathSlidingWindowFeature.h"

#include <algorithm>
#include <cassert>

namespace Corvana::Math {
namespace {

// Room is made at once for windows of ordinary length, so that filling them allocates nothing.
constexpr unsigned long s_uiMaxReserved = 1024;

} // namespace

SlidingWindowFeature::SlidingWindowFeature(unsigned long in_uiNbOfValues)
    : m_uiNbOfValues(in_uiNbOfValues)
{
}

SlidingWindowFeature::~SlidingWindowFeature() = default;
SlidingWindowFeature::SlidingWindowFeature(const SlidingWindowFeature&) = default;
SlidingWindowFeature& SlidingWindowFeature::operator=(const SlidingWindowFeature&) = default;

bool SlidingWindowFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    const unsigned long uiReserved = std::min(m_uiNbOfValues, s_uiMaxReserved);
    m_vValues.reserve(uiReserved + in_vInput.size());
    if (out_vOutput.empty())
        out_vOutput.reserve(uiReserved);

    m_vValues.insert(m_vValues.end(), in_vInput.begin(), in_vInput.end());
    if (m_vValues.size() > m_uiNbOfValues)
        m_vValues.erase(m_vValues.begin(), m_vValues.end() - m_uiNbOfValues);
    out_vOutput.insert(out_vOutput.end(), m_vValues.begin(), m_vValues.end());
    return true;
}

bool SlidingWindowFeature::reset()
{
    m_vValues.clear();
    return true;
}

SlidingWindowFeature* SlidingWindowFeature::clone() const
{
    return new SlidingWindowFeature(*this);
}

} // namespace Corvana::Math
