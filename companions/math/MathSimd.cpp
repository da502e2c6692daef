// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathSimd.h"

#include "corvana/Logger.h"

#include <cstdlib>
#include <string_view>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.math.Simd")

namespace Corvana::Math {
namespace {

// The best first.
constexpr Simd s_aSimds[] = {Simd::AVX512, Simd::AVX2, Simd::BASELINE, Simd::PORTABLE};

Simd bestSimd()
{
    for (const Simd simd : s_aSimds)
        if (isSimdSupported(simd))
            return simd;
    return Simd::PORTABLE;
}

} // namespace

bool isSimdSupported(Simd in_simd)
{
#if defined(__x86_64__)
    // The checks include that the operating system saves the registers.
    __builtin_cpu_init(); // objects with static storage may ask before the compiler's own start-up code has run
    switch (in_simd) {
    case Simd::AVX512:
        return __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512vl") != 0 &&
               __builtin_cpu_supports("avx512dq") != 0;
    case Simd::AVX2:
        return __builtin_cpu_supports("avx2") != 0;
    default:
        return true;
    }
#else
    return in_simd == Simd::PORTABLE;
#endif
}

const char* getSimdName(Simd in_simd)
{
    switch (in_simd) {
    case Simd::AVX512:
        return "avx512";
    case Simd::AVX2:
        return "avx2";
    case Simd::BASELINE:
        return "baseline";
    default:
        return "portable";
    }
}

Simd chooseSimd(const char* in_szName)
{
    const std::string_view strName = in_szName == nullptr ? "" : in_szName;
    if (strName.empty())
        return bestSimd();
    for (const Simd simd : s_aSimds) {
        if (strName != getSimdName(simd))
            continue;
        if (isSimdSupported(simd))
            return simd;
        CORVANA_LOG_WARN(fileScopeLogger(), "CORVANA_SIMD names an instruction set that this processor lacks, "
                                                << getSimdName(bestSimd()) << " is used instead of: " << strName);
        return bestSimd();
    }
    CORVANA_LOG_WARN(fileScopeLogger(), "CORVANA_SIMD is none of avx512, avx2, baseline and portable, "
                                            << getSimdName(bestSimd()) << " is used instead of: " << strName);
    return bestSimd();
}

Simd getSimd()
{
    static const Simd s_simd = chooseSimd(std::getenv("CORVANA_SIMD"));
    return s_simd;
}

const char* getSimdName()
{
    return getSimdName(getSimd());
}

} // namespace Corvana::Math
