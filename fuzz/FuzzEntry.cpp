// SPDX-License-Identifier: Apache-2.0
// What every target is held to beside its own invariants, under the fuzzer and in the replay alike: memory in
// proportion to the input, and under the fuzzer time.
#include "FuzzSupport.h"

#include "support/AllocationCounter.h"

#include <ctime>

namespace {

constexpr std::size_t s_uiMaxBytes = std::size_t{64} << 20U;
constexpr std::size_t s_uiMaxBytesPerByte = 8;
constexpr std::size_t s_uiMaxTimedSize = std::size_t{1} << 20U;

// The processor's time, which does not count what other programs take.
double processorSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

} // namespace

const int Corvana::Fuzz::g_iMaxSeconds = CORVANA_FUZZ_SECONDS;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    const double dBegin = processorSeconds();
    const Corvana::Test::PeakMemory memory;
    Corvana::Fuzz::runTarget(in_pData, in_uiSize);
    CORVANA_FUZZ_REQUIRE(memory.bytes() <= s_uiMaxBytes + s_uiMaxBytesPerByte * in_uiSize);
    if (Corvana::Fuzz::g_iMaxSeconds > 0 && in_uiSize <= s_uiMaxTimedSize)
        CORVANA_FUZZ_REQUIRE(processorSeconds() - dBegin <= Corvana::Fuzz::g_iMaxSeconds);
    return 0;
}
