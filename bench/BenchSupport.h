// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathDoubleVector.h"

#include <benchmark/benchmark.h>

#include <cstdint>

namespace Corvana::Bench {

/// Repeatable noise, evenly spread over -1 to 1: no value is special, so no path of a kernel is favoured.
inline Math::DoubleVector noise(std::size_t in_uiNbOfSamples)
{
    std::uint64_t uiState = 1;
    Math::DoubleVector vSamples(in_uiNbOfSamples);
    for (double& dSample : vSamples) {
        uiState = uiState * 6364136223846793005U + 1442695040888963407U;
        dSample = static_cast<double>(uiState >> 11U) * 0x1p-52 - 1.0;
    }
    return vSamples;
}

/// Samples a second.
inline void countSamples(benchmark::State& inout_state, std::size_t in_uiSamplesPerIteration)
{
    inout_state.SetItemsProcessed(inout_state.iterations() * static_cast<std::int64_t>(in_uiSamplesPerIteration));
}

/// A size in samples, as the benchmark's argument.
inline std::size_t sizeOf(const benchmark::State& in_state)
{
    return static_cast<std::size_t>(in_state.range(0));
}

/// Window lengths of telephony and music at 8 to 44.1 kHz: 16 ms to 128 ms at 8 kHz.
inline void windowSizes(benchmark::internal::Benchmark* inout_pBenchmark)
{
    inout_pBenchmark->RangeMultiplier(2)->Range(128, 1024);
}

} // namespace Corvana::Bench
