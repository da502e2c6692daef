// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathSignalFeature.h"

namespace Corvana::Math {

/// The last values of a signal.
///   in       any values, each taken as the next value of the signal
///   out      appends the values it has, oldest first: as many as were given so far, at most the number kept
///   failure  none
///   reset    forgets all values
///   cost     O(number kept + n)
class CORVANA_API SlidingWindowFeature : public virtual SignalFeatureWithMemory
{
public:
    explicit SlidingWindowFeature(unsigned long in_uiNbOfValues);
    ~SlidingWindowFeature() override;
    SlidingWindowFeature(const SlidingWindowFeature&);
    SlidingWindowFeature& operator=(const SlidingWindowFeature&);

    bool compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput) override;
    bool reset() override;
    SlidingWindowFeature* clone() const override;

private:
    unsigned long m_uiNbOfValues;
    DoubleVector m_vValues;
};

} // namespace Corvana::Math
