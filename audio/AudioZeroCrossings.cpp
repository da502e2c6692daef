// SPDX-License-Identifier: Apache-2.0
#include "AudioZeroCrossings.h"

#ifdef __x86_64__
#include <immintrin.h>

#include <bit>
#include <cstdint>
#include <cstring>
#endif

// The sign changes where the product of neighbours is below 0: a product that underflows is not, and has to be formed.
// The vectors compare as many pairs of neighbours at a time as they have lanes; nothing is added up but counts.

namespace Corvana::Audio {
namespace {

unsigned long isCrossing(double in_dPrevious, double in_dSample)
{
    return in_dPrevious * in_dSample < 0.0 || (in_dSample == 0.0 && in_dPrevious != 0.0) ? 1 : 0;
}

// Between neighbours, from the second sample of a pair on; so do all functions below.
unsigned long countOneByOne(const double* in_pSamples, const double* in_pEnd)
{
    unsigned long uiCount = 0;
    for (; in_pSamples < in_pEnd; ++in_pSamples)
        uiCount += isCrossing(in_pSamples[-1], *in_pSamples);
    return uiCount;
}

#ifdef __x86_64__

// All bits of a lane are set where there is a crossing.
__m128i crossingsOfTwo(const double* in_pSamples)
{
    const __m128d zero = _mm_setzero_pd();
    const __m128d previous = _mm_loadu_pd(in_pSamples - 1);
    const __m128d samples = _mm_loadu_pd(in_pSamples);
    const __m128d changesSign = _mm_cmplt_pd(_mm_mul_pd(previous, samples), zero);
    const __m128d fallsToZero = _mm_and_pd(_mm_cmpeq_pd(samples, zero), _mm_cmpneq_pd(previous, zero));
    return _mm_castpd_si128(_mm_or_pd(changesSign, fallsToZero));
}

unsigned long countInTwos(const double* in_pSamples, const double* in_pEnd)
{
    __m128i even = _mm_setzero_si128();
    __m128i odd = _mm_setzero_si128();
    for (; in_pEnd - in_pSamples >= 4; in_pSamples += 4) {
        even = _mm_sub_epi64(even, crossingsOfTwo(in_pSamples)); // all bits set is -1
        odd = _mm_sub_epi64(odd, crossingsOfTwo(in_pSamples + 2));
    }
    std::uint64_t auiCounts[2];
    const __m128i both = _mm_add_epi64(even, odd);
    std::memcpy(auiCounts, &both, sizeof both);
    return auiCounts[0] + auiCounts[1] + countOneByOne(in_pSamples, in_pEnd);
}

__attribute__((target("avx2"))) __m256i crossingsOfFour(const double* in_pSamples)
{
    const __m256d zero = _mm256_setzero_pd();
    const __m256d previous = _mm256_loadu_pd(in_pSamples - 1);
    const __m256d samples = _mm256_loadu_pd(in_pSamples);
    const __m256d changesSign = _mm256_cmp_pd(_mm256_mul_pd(previous, samples), zero, _CMP_LT_OQ);
    const __m256d fallsToZero =
        _mm256_and_pd(_mm256_cmp_pd(samples, zero, _CMP_EQ_OQ), _mm256_cmp_pd(previous, zero, _CMP_NEQ_UQ));
    return _mm256_castpd_si256(_mm256_or_pd(changesSign, fallsToZero));
}

__attribute__((target("avx2"))) unsigned long countInFours(const double* in_pSamples, const double* in_pEnd)
{
    __m256i even = _mm256_setzero_si256();
    __m256i odd = _mm256_setzero_si256();
    for (; in_pEnd - in_pSamples >= 8; in_pSamples += 8) {
        even = _mm256_sub_epi64(even, crossingsOfFour(in_pSamples));
        odd = _mm256_sub_epi64(odd, crossingsOfFour(in_pSamples + 4));
    }
    std::uint64_t auiCounts[4];
    const __m256i both = _mm256_add_epi64(even, odd);
    std::memcpy(auiCounts, &both, sizeof both);
    return auiCounts[0] + auiCounts[1] + auiCounts[2] + auiCounts[3] + countOneByOne(in_pSamples, in_pEnd);
}

__attribute__((target("avx512f"))) unsigned crossingsOfEight(__m512d in_previous, __m512d in_samples)
{
    const __m512d zero = _mm512_setzero_pd();
    const __mmask8 changesSign = _mm512_cmp_pd_mask(_mm512_mul_pd(in_previous, in_samples), zero, _CMP_LT_OQ);
    const __mmask8 isZero = _mm512_cmp_pd_mask(in_samples, zero, _CMP_EQ_OQ);
    return static_cast<unsigned>(changesSign) |
           static_cast<unsigned>(_mm512_mask_cmp_pd_mask(isZero, in_previous, zero, _CMP_NEQ_UQ));
}

// Lanes without samples hold zeros, between which there is no crossing.
__attribute__((target("avx512f,popcnt"))) unsigned long countInEights(const double* in_pSamples, const double* in_pEnd)
{
    unsigned long uiCount = 0;
    __m512d before = _mm512_set1_pd(in_pSamples[-1]); // the last lane counts
    while (in_pEnd - in_pSamples >= 32) {
        std::uint64_t uiCrossings = 0;
        for (int iVector = 0; iVector < 4; ++iVector, in_pSamples += 8) {
            const __m512d samples = _mm512_loadu_pd(in_pSamples);
            const __m512d previous = _mm512_castsi512_pd(
                _mm512_maskz_alignr_epi64(0xFF, _mm512_castpd_si512(samples), _mm512_castpd_si512(before), 7));
            uiCrossings = uiCrossings << 8U | crossingsOfEight(previous, samples);
            before = samples;
        }
        uiCount += static_cast<unsigned long>(std::popcount(uiCrossings));
    }
    for (; in_pSamples < in_pEnd; in_pSamples += 8) {
        const long iLeft = in_pEnd - in_pSamples;
        const auto lanes = static_cast<__mmask8>(iLeft >= 8 ? 0xFF : (1 << iLeft) - 1);
        uiCount += static_cast<unsigned long>(std::popcount(crossingsOfEight(
            _mm512_maskz_loadu_pd(lanes, in_pSamples - 1), _mm512_maskz_loadu_pd(lanes, in_pSamples))));
    }
    return uiCount;
}

#endif

unsigned long countBetween(const double* in_pSamples, const double* in_pEnd, Math::Simd in_simd)
{
    switch (in_simd) {
#ifdef __x86_64__
    case Math::Simd::AVX512:
        return countInEights(in_pSamples, in_pEnd);
    case Math::Simd::AVX2:
        return countInFours(in_pSamples, in_pEnd);
    case Math::Simd::BASELINE:
        return countInTwos(in_pSamples, in_pEnd);
#endif
    default:
        return countOneByOne(in_pSamples, in_pEnd);
    }
}

} // namespace

unsigned long countZeroCrossings(double in_dPrevious, const double* in_pSamples, const double* in_pEnd,
                                 Math::Simd in_simd)
{
    if (in_pSamples == in_pEnd)
        return 0;
    return isCrossing(in_dPrevious, *in_pSamples) + countBetween(in_pSamples + 1, in_pEnd, in_simd);
}

} // namespace Corvana::Audio
