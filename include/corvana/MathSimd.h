// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

namespace Corvana::Math {

/// The instruction sets that the kernels are compiled for. All give the same bits; they differ in speed.
enum class Simd
{
    PORTABLE, ///< plain C++ on any processor
    BASELINE, ///< every x86-64 processor: vectors of 2 doubles
    AVX2,     ///< vectors of 4 doubles
    AVX512    ///< vectors of 8 doubles
};

/// Whether this library has kernels for that instruction set and this processor can run them.
CORVANA_API bool isSimdSupported(Simd in_simd);

/// "portable", "baseline", "avx2" or "avx512".
CORVANA_API const char* getSimdName(Simd in_simd);

/// The instruction set of that name; the best supported one when the name is null or empty, and, after a message at
/// warning level, when it is unknown or not supported.
CORVANA_API Simd chooseSimd(const char* in_szName);

/// What this process computes with: chooseSimd() of the environment variable CORVANA_SIMD, read once.
CORVANA_API Simd getSimd();

/// The name of getSimd().
CORVANA_API const char* getSimdName();

} // namespace Corvana::Math
