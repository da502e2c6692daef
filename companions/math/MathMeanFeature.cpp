// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathMeanFeature.h"

#include <cassert>

namespace Corvana::Math {

MeanFeature::~MeanFeature() = default;

bool MeanFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    double dSum = 0.0;
    for (const double dValue : in_vInput) // in index order: part of the result
        dSum += dValue;
    out_vOutput.push_back(in_vInput.empty() ? 0.0 : dSum / static_cast<double>(in_vInput.size()));
    return true;
}

MeanFeature* MeanFeature::clone() const
{
    return new MeanFeature(*this);
}

} // namespace Corvana::Math
