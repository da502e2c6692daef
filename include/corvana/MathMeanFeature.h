// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathSignalFeature.h"

namespace Corvana::Math {

/// Arithmetic mean.
///   in       any values
///   out      appends 1 value, in the input's unit: their sum in index order, divided by their number; 0.0 when empty
///   failure  none
///   cost     O(n); stateless
class CORVANA_API MeanFeature : public virtual SignalFeature
{
public:
    ~MeanFeature() override;
    bool compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput) override;
    MeanFeature* clone() const override;
};

} // namespace Corvana::Math
