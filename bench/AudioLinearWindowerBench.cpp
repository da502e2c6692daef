// SPDX-License-Identifier: Apache-2.0
// The windower, fed one hop at a time, beside the one copy that no windower can do without.
#include "BenchSupport.h"

#include "corvana/AudioLinearWindower.h"

#include <cstring>

namespace Corvana::Bench {
namespace {

// A millisecond holds 8 samples; the window is 128 to 1024 of them.
void windows(benchmark::State& inout_state, unsigned long in_uiOverlapShare, bool in_bSuppressDCOffset)
{
    Audio::LinearAudioWindower::Config config;
    config.m_uiWindowSizeMs = sizeOf(inout_state) / 8;
    config.m_uiWindowOverlapMs = in_uiOverlapShare == 0 ? 0 : config.m_uiWindowSizeMs / in_uiOverlapShare;
    config.m_bSuppressDCOffset = in_bSuppressDCOffset;
    Audio::LinearAudioWindower windower;
    if (!windower.configure(config) || !windower.reset())
        return inout_state.SkipWithError("configure failed");

    const Math::DoubleVector vSamples = noise(windower.getWindowSize());
    const std::size_t uiHop = windower.getWindowSize() - windower.getOverlapSize();
    windower.pushLinearAudio(vSamples.begin(), vSamples.end() - uiHop);
    Math::DoubleVector vWindow;
    for (auto unused : inout_state) {
        windower.pushLinearAudio(vSamples.begin(), vSamples.begin() + uiHop);
        if (!windower.popWindow(vWindow))
            inout_state.SkipWithError("no window");
        benchmark::DoNotOptimize(vWindow.data());
        benchmark::ClobberMemory();
    }
    countSamples(inout_state, vSamples.size());
}

void Windower_Windows(benchmark::State& inout_state)
{
    windows(inout_state, 0, false);
}

void WindowerHalfOverlap_Windows(benchmark::State& inout_state)
{
    windows(inout_state, 2, false);
}

void WindowerWithoutOffset_Windows(benchmark::State& inout_state)
{
    windows(inout_state, 0, true);
}

constexpr std::size_t s_uiHopsInChunk = 8;

// Windows that overlap by half, fed eight hops at a time, as from a file.
void WindowerChunks_Windows(benchmark::State& inout_state)
{
    Audio::LinearAudioWindower::Config config;
    config.m_uiWindowSizeMs = sizeOf(inout_state) / 8;
    config.m_uiWindowOverlapMs = config.m_uiWindowSizeMs / 2;
    Audio::LinearAudioWindower windower;
    if (!windower.configure(config) || !windower.reset())
        return inout_state.SkipWithError("configure failed");

    const std::size_t uiHop = windower.getWindowSize() - windower.getOverlapSize();
    const Math::DoubleVector vChunk = noise(s_uiHopsInChunk * uiHop);
    windower.pushLinearAudio(vChunk.begin(), vChunk.begin() + windower.getOverlapSize());
    Math::DoubleVector vWindow;
    for (auto unused : inout_state) {
        windower.pushLinearAudio(vChunk.begin(), vChunk.end());
        for (std::size_t uiWindow = 0; uiWindow < s_uiHopsInChunk; ++uiWindow) {
            if (!windower.popWindow(vWindow))
                inout_state.SkipWithError("no window");
            benchmark::DoNotOptimize(vWindow.data());
            benchmark::ClobberMemory();
        }
    }
    countSamples(inout_state, s_uiHopsInChunk * windower.getWindowSize());
}

void copyWindow(benchmark::State& inout_state)
{
    const Math::DoubleVector vSamples = noise(sizeOf(inout_state));
    Math::DoubleVector vWindow(vSamples.size());
    for (auto unused : inout_state) {
        std::memcpy(vWindow.data(), vSamples.data(), vSamples.size() * sizeof(double));
        benchmark::DoNotOptimize(vWindow.data());
        benchmark::ClobberMemory();
    }
    countSamples(inout_state, vSamples.size());
}

// The peer under each name, so that every ratio is taken within one run.
void Windower_Memcpy(benchmark::State& inout_state)
{
    copyWindow(inout_state);
}

void WindowerHalfOverlap_Memcpy(benchmark::State& inout_state)
{
    copyWindow(inout_state);
}

void WindowerWithoutOffset_Memcpy(benchmark::State& inout_state)
{
    copyWindow(inout_state);
}

void WindowerChunks_Memcpy(benchmark::State& inout_state)
{
    const std::size_t uiHop = sizeOf(inout_state) / 2;
    const Math::DoubleVector vSamples = noise((s_uiHopsInChunk + 1) * uiHop);
    Math::DoubleVector vWindow(sizeOf(inout_state));
    for (auto unused : inout_state) {
        for (std::size_t uiWindow = 0; uiWindow < s_uiHopsInChunk; ++uiWindow) {
            std::memcpy(vWindow.data(), vSamples.data() + uiWindow * uiHop, vWindow.size() * sizeof(double));
            benchmark::DoNotOptimize(vWindow.data());
            benchmark::ClobberMemory();
        }
    }
    countSamples(inout_state, s_uiHopsInChunk * vWindow.size());
}

BENCHMARK(WindowerChunks_Windows)->Apply(windowSizes);
BENCHMARK(WindowerChunks_Memcpy)->Apply(windowSizes);
BENCHMARK(Windower_Windows)->Apply(windowSizes);
BENCHMARK(Windower_Memcpy)->Apply(windowSizes);
BENCHMARK(WindowerHalfOverlap_Windows)->Apply(windowSizes);
BENCHMARK(WindowerHalfOverlap_Memcpy)->Apply(windowSizes);
BENCHMARK(WindowerWithoutOffset_Windows)->Apply(windowSizes);
BENCHMARK(WindowerWithoutOffset_Memcpy)->Apply(windowSizes);

} // namespace
} // namespace Corvana::Bench
