// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathSignalFeatureComposed.h"

#include <cassert>

namespace Corvana::Math {
namespace {

bool resetIfResettable(SignalFeature* in_pFeature)
{
    auto* pResettable = dynamic_cast<Resettable*>(in_pFeature);
    return pResettable == nullptr || pResettable->reset();
}

} // namespace

SignalFeatureComposed::SignalFeatureComposed(SignalFeature* in_pInner, SignalFeature* in_pOuter)
    : m_pInner(in_pInner)
    , m_pOuter(in_pOuter)
{
}

SignalFeatureComposed::~SignalFeatureComposed() = default;

bool SignalFeatureComposed::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    if (m_pInner.isNull() || m_pOuter.isNull())
        return false;
    m_vScratch.clear();
    return m_pInner->compute(in_vInput, m_vScratch) && m_pOuter->compute(m_vScratch, out_vOutput);
}

bool SignalFeatureComposed::reset()
{
    // Both are reset, whatever the first one says.
    const bool bInner = resetIfResettable(m_pInner.get());
    const bool bOuter = resetIfResettable(m_pOuter.get());
    return bInner && bOuter;
}

SignalFeatureComposed* SignalFeatureComposed::clone() const
{
    return new SignalFeatureComposed(*this);
}

} // namespace Corvana::Math
