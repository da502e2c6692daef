// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathSignalFeature.h"

namespace Corvana::Math {

/// A run of consecutive input values.
///   in       any values
///   out      appends the configured number of values, from the configured index on; nothing before configure()
///   failure  false, out untouched: the range passes the end of the input
///   cost     O(range)
class CORVANA_API RangeFeature : public virtual SignalFeature
{
public:
    RangeFeature();
    ~RangeFeature() override;
    RangeFeature(const RangeFeature&);
    RangeFeature& operator=(const RangeFeature&);

    /// Reads "range.startIndex" and "range.length". False, with the range unchanged and a message at error level: a
    /// key is missing, or its value is no whole number from 0 on.
    bool configure(const ROConfiguration& in_config);
    bool compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput) override;
    RangeFeature* clone() const override;

private:
    unsigned long m_uiStartIndex = 0;
    unsigned long m_uiLength = 0;
};

} // namespace Corvana::Math
