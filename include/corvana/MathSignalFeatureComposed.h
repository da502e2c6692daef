// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/CloneableObjPtr.h"
#include "corvana/MathSignalFeature.h"

namespace Corvana::Math {

/// One feature behind another: outer(inner(in)).
///   in       what the inner feature takes
///   out      appends what the outer feature appends, given the inner one's values as its input
///   failure  false when either feature fails, or is null
///   reset    resets the features that can be reset; true when all of them say so
class CORVANA_API SignalFeatureComposed : public virtual SignalFeatureWithMemory
{
public:
    /// Owns both.
    SignalFeatureComposed(SignalFeature* in_pInner, SignalFeature* in_pOuter);
    ~SignalFeatureComposed() override;

    bool compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput) override;
    bool reset() override;
    /// Copies both features with their memory.
    SignalFeatureComposed* clone() const override;

    const SignalFeature* getInner() const { return m_pInner.get(); }
    const SignalFeature* getOuter() const { return m_pOuter.get(); }

private:
    CloneableObjPtr<SignalFeature> m_pInner;
    CloneableObjPtr<SignalFeature> m_pOuter;
    DoubleVector m_vScratch;
};

} // namespace Corvana::Math
