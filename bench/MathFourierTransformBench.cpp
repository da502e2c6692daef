// SPDX-License-Identifier: Apache-2.0
// The real transform with its tables made once, beside the same transform without tables.
#include "BenchSupport.h"

#include "corvana/MathFourierTransform.h"
#include "corvana/MathRealFourierPlan.h"

#include <algorithm>

namespace Corvana::Bench {
namespace {

// Each pass starts from the same samples: transforming a result over and over would end in infinities.
template <class TransformT>
void transformCopies(benchmark::State& inout_state, TransformT in_transform)
{
    const Math::DoubleVector vSamples = noise(sizeOf(inout_state));
    Math::DoubleVector vData(vSamples);
    for (auto unused : inout_state) {
        std::copy(vSamples.begin(), vSamples.end(), vData.begin());
        in_transform(vData.data());
        benchmark::DoNotOptimize(vData.data());
        benchmark::ClobberMemory();
    }
    countSamples(inout_state, vSamples.size());
}

void RealTransform_Plan(benchmark::State& inout_state)
{
    const Math::RealFourierPlan plan(sizeOf(inout_state));
    transformCopies(inout_state, [&](double* inout_pData) { plan.transform(inout_pData); });
}

void RealTransform_Literal(benchmark::State& inout_state)
{
    const std::size_t uiSize = sizeOf(inout_state);
    transformCopies(inout_state,
                    [=](double* inout_pData) { Math::discreteRealFastFourierTransform(inout_pData, uiSize, 1.0); });
}

BENCHMARK(RealTransform_Plan)->Apply(windowSizes);
BENCHMARK(RealTransform_Literal)->Apply(windowSizes);

} // namespace
} // namespace Corvana::Bench
