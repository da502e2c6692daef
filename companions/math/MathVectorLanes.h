// SPDX-License-Identifier: Apache-2.0
#pragma once

// Vectors of 1, 2, 4 or 8 doubles on the compilers' vector types, whose + - * work lane by lane with the rounding of
// the same operation on one double. Only what is no arithmetic is written here: loading, storing, and moving lanes.
//
// For sources that are compiled for one instruction set. Everything has internal linkage (an unnamed namespace) and is
// always inlined: an inline function with a name of its own would be shared by the linker, and the variant with
// instructions that a processor lacks might win. CORVANA_KERNEL_MAX_LANES says how long the longest vector may be.

#define CORVANA_KERNEL_INLINE inline __attribute__((always_inline))

namespace Corvana::Math {
namespace {

template <unsigned long uiLanes>
struct Lanes;

// One double, for any processor.
template <>
struct Lanes<1>
{
    using Vector = double;

    static CORVANA_KERNEL_INLINE Vector load(const double* in_p) { return *in_p; }
    static CORVANA_KERNEL_INLINE Vector loadUnaligned(const double* in_p) { return *in_p; }
    static CORVANA_KERNEL_INLINE void store(double* out_p, Vector in_v) { *out_p = in_v; }
    static CORVANA_KERNEL_INLINE void storeUnaligned(double* out_p, Vector in_v) { *out_p = in_v; }
    static CORVANA_KERNEL_INLINE Vector splat(double in_d) { return in_d; }
    static CORVANA_KERNEL_INLINE double first(Vector in_v) { return in_v; }
    static CORVANA_KERNEL_INLINE Vector withFirst(Vector, double in_d) { return in_d; }
    static CORVANA_KERNEL_INLINE Vector even(Vector in_a, Vector) { return in_a; }
    static CORVANA_KERNEL_INLINE Vector odd(Vector, Vector in_b) { return in_b; }
    static CORVANA_KERNEL_INLINE Vector mirror(Vector, Vector in_next) { return in_next; }
    static CORVANA_KERNEL_INLINE void transpose(Vector (&)[1]) {}
};

// What vectors of any length share. The types for loading and storing may alias the doubles in memory.
template <class TypesT>
struct LanesInMemory
{
    using Vector = typename TypesT::Vector;
    using AlignedT = typename TypesT::Aligned;
    using UnalignedT = typename TypesT::Unaligned;

    static CORVANA_KERNEL_INLINE Vector load(const double* in_p)
    {
        return *static_cast<const AlignedT*>(static_cast<const void*>(in_p));
    }
    static CORVANA_KERNEL_INLINE Vector loadUnaligned(const double* in_p)
    {
        return *static_cast<const UnalignedT*>(static_cast<const void*>(in_p));
    }
    static CORVANA_KERNEL_INLINE void store(double* out_p, Vector in_v)
    {
        *static_cast<AlignedT*>(static_cast<void*>(out_p)) = in_v;
    }
    static CORVANA_KERNEL_INLINE void storeUnaligned(double* out_p, Vector in_v)
    {
        *static_cast<UnalignedT*>(static_cast<void*>(out_p)) = in_v;
    }
    static CORVANA_KERNEL_INLINE double first(Vector in_v) { return in_v[0]; }
    static CORVANA_KERNEL_INLINE Vector withFirst(Vector in_v, double in_d)
    {
        in_v[0] = in_d;
        return in_v;
    }
};

#define CORVANA_VECTOR_TYPES(lanes)                                                                                    \
    struct VectorTypes##lanes                                                                                          \
    {                                                                                                                  \
        typedef double Vector __attribute__((vector_size(8 * (lanes))));                                               \
        typedef double Aligned __attribute__((vector_size(8 * (lanes)), may_alias));                                   \
        typedef double Unaligned __attribute__((vector_size(8 * (lanes)), may_alias, aligned(8)));                     \
    };

// even() and odd() take two vectors of (real, imaginary) pairs apart. They leave the points in an order that costs
// least to reach; transpose() expects that order and gives the natural one. mirror(v, next) is next[0], v[last], ...,
// v[1]: v reversed and moved on by one, as bins k.. meet bins size - k...

#if CORVANA_KERNEL_MAX_LANES >= 2
CORVANA_VECTOR_TYPES(2)

template <>
struct Lanes<2> : LanesInMemory<VectorTypes2>
{
    static CORVANA_KERNEL_INLINE Vector splat(double in_d) { return Vector{in_d, in_d}; }
    static CORVANA_KERNEL_INLINE Vector even(Vector in_a, Vector in_b)
    {
        return __builtin_shufflevector(in_a, in_b, 0, 2);
    }
    static CORVANA_KERNEL_INLINE Vector odd(Vector in_a, Vector in_b)
    {
        return __builtin_shufflevector(in_a, in_b, 1, 3);
    }
    static CORVANA_KERNEL_INLINE Vector mirror(Vector in_v, Vector in_next)
    {
        return __builtin_shufflevector(in_v, in_next, 2, 1);
    }
    static CORVANA_KERNEL_INLINE void transpose(Vector (&inout_av)[2])
    {
        const Vector vFirst = even(inout_av[0], inout_av[1]);
        inout_av[1] = odd(inout_av[0], inout_av[1]);
        inout_av[0] = vFirst;
    }
};
#endif

#if CORVANA_KERNEL_MAX_LANES >= 4
CORVANA_VECTOR_TYPES(4)

template <>
struct Lanes<4> : LanesInMemory<VectorTypes4>
{
    static CORVANA_KERNEL_INLINE Vector splat(double in_d) { return Vector{in_d, in_d, in_d, in_d}; }
    // Of points 0, 1 and 2, 3: the order 0, 2, 1, 3.
    static CORVANA_KERNEL_INLINE Vector even(Vector in_a, Vector in_b)
    {
        return __builtin_shufflevector(in_a, in_b, 0, 4, 2, 6);
    }
    static CORVANA_KERNEL_INLINE Vector odd(Vector in_a, Vector in_b)
    {
        return __builtin_shufflevector(in_a, in_b, 1, 5, 3, 7);
    }
    static CORVANA_KERNEL_INLINE Vector mirror(Vector in_v, Vector in_next)
    {
        return __builtin_shufflevector(in_v, in_next, 4, 3, 2, 1);
    }
    static CORVANA_KERNEL_INLINE void transpose(Vector (&inout_av)[4])
    {
        const Vector v02Low = __builtin_shufflevector(inout_av[0], inout_av[2], 0, 1, 4, 5);
        const Vector v02High = __builtin_shufflevector(inout_av[0], inout_av[2], 2, 3, 6, 7);
        const Vector v13Low = __builtin_shufflevector(inout_av[1], inout_av[3], 0, 1, 4, 5);
        const Vector v13High = __builtin_shufflevector(inout_av[1], inout_av[3], 2, 3, 6, 7);
        inout_av[0] = even(v02Low, v13Low);
        inout_av[2] = odd(v02Low, v13Low);
        inout_av[1] = even(v02High, v13High);
        inout_av[3] = odd(v02High, v13High);
    }
};
#endif

#if CORVANA_KERNEL_MAX_LANES >= 8
CORVANA_VECTOR_TYPES(8)

template <>
struct Lanes<8> : LanesInMemory<VectorTypes8>
{
    static CORVANA_KERNEL_INLINE Vector splat(double in_d)
    {
        return Vector{in_d, in_d, in_d, in_d, in_d, in_d, in_d, in_d};
    }
    // Of points 0 to 3 and 4 to 7: the order 0, 4, 1, 5, 2, 6, 3, 7.
    static CORVANA_KERNEL_INLINE Vector even(Vector in_a, Vector in_b)
    {
        return __builtin_shufflevector(in_a, in_b, 0, 8, 2, 10, 4, 12, 6, 14);
    }
    static CORVANA_KERNEL_INLINE Vector odd(Vector in_a, Vector in_b)
    {
        return __builtin_shufflevector(in_a, in_b, 1, 9, 3, 11, 5, 13, 7, 15);
    }
    static CORVANA_KERNEL_INLINE Vector mirror(Vector in_v, Vector in_next)
    {
        return __builtin_shufflevector(in_v, in_next, 8, 7, 6, 5, 4, 3, 2, 1);
    }
    // Blocks of two lanes: the first and third of both, and the second and fourth of both.
    static CORVANA_KERNEL_INLINE Vector evenBlocks(Vector in_a, Vector in_b)
    {
        return __builtin_shufflevector(in_a, in_b, 0, 1, 4, 5, 8, 9, 12, 13);
    }
    static CORVANA_KERNEL_INLINE Vector oddBlocks(Vector in_a, Vector in_b)
    {
        return __builtin_shufflevector(in_a, in_b, 2, 3, 6, 7, 10, 11, 14, 15);
    }
    // Row r holds points 0, 4, 1, 5, 2, 6, 3, 7 of k = r.
    static CORVANA_KERNEL_INLINE void transpose(Vector (&inout_av)[8])
    {
        Vector avPairs[8]; // two rows r and r + 1: points p of both, p + 4 of both
        for (unsigned long uiRow = 0; uiRow < 8; uiRow += 2) {
            avPairs[uiRow] = even(inout_av[uiRow], inout_av[uiRow + 1]);    // points 0 1 2 3
            avPairs[uiRow + 1] = odd(inout_av[uiRow], inout_av[uiRow + 1]); // points 4 5 6 7
        }
        for (unsigned long uiHalf = 0; uiHalf < 2; ++uiHalf) {
            const Vector v02 = evenBlocks(avPairs[uiHalf], avPairs[uiHalf + 2]);         // rows 0-3: 0 2 | 0 2
            const Vector v13 = oddBlocks(avPairs[uiHalf], avPairs[uiHalf + 2]);          // rows 0-3: 1 3 | 1 3
            const Vector v02Next = evenBlocks(avPairs[uiHalf + 4], avPairs[uiHalf + 6]); // rows 4-7
            const Vector v13Next = oddBlocks(avPairs[uiHalf + 4], avPairs[uiHalf + 6]);
            inout_av[4 * uiHalf] = evenBlocks(v02, v02Next);
            inout_av[4 * uiHalf + 1] = evenBlocks(v13, v13Next);
            inout_av[4 * uiHalf + 2] = oddBlocks(v02, v02Next);
            inout_av[4 * uiHalf + 3] = oddBlocks(v13, v13Next);
        }
    }
};
#endif

#undef CORVANA_VECTOR_TYPES

} // namespace
} // namespace Corvana::Math
