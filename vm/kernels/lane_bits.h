// Bit-level helpers for the real kernels: constants given by their bit
// patterns, integer steps and comparisons on the patterns, and the mask
// that splits a double into a head of 26 significant bits and an exact tail.
#pragma once

#include <bit>
#include <cstdint>

#include "simd.h"

// Every step of a vector path is inlined into its element loop, whatever
// the inliner's size limits: a call per vector would cost more than the
// work of a short step.
#define QOR_KERNEL_INLINE [[gnu::always_inline]] inline

namespace qor::vm {

using simd::vd;
using simd::vf;
using simd::vi;
using SD = simd::Simd<double>;
using SF = simd::Simd<float>;

// A constant given by its bit pattern.
constexpr double dbl(uint64_t u) { return std::bit_cast<double>(u); }
constexpr float flt(uint32_t u) { return std::bit_cast<float>(u); }

template <class T>
struct Bits;

template <>
struct Bits<double> {
    using V = simd::vd;
    using U = uint64_t;
    static constexpr U kSign = 0x8000000000000000ull;
    static constexpr U kSmallestSubnormal = 0x0000000000000001ull;
    // Sign, exponent and the top 25 stored bits: a head of 26 significant
    // bits whose products with another 26- or 27-bit head are exact.
    static constexpr U kSplitHead = 0xFFFFFFFFF8000000ull;
    static V pattern(U u) { return simd::vset1_vd_u64(u); }
    static simd::vi i(V x) { return simd::vcast_vi_vd(x); }
    static V v(simd::vi x) { return simd::vcast_vd_vi(x); }
    static V int_sub(V x, V y) { return v(simd::vsub_vl_vl_vl(i(x), i(y))); }
    // Lane mask of x > y with the patterns read as signed integers: for
    // non-negative values the order of the numbers, and it raises no flag.
    static V int_greater(V x, V y) { return v(simd::vgt_vl_vl_vl(i(x), i(y))); }
};

template <>
struct Bits<float> {
    using V = simd::vf;
    using U = uint32_t;
    static constexpr U kSign = 0x80000000u;
    static constexpr U kSmallestSubnormal = 0x00000001u;
    static V pattern(U u) { return simd::vset1_vf_u32(u); }
    static simd::vi i(V x) { return simd::vcast_vi_vf(x); }
    static V v(simd::vi x) { return simd::vcast_vf_vi(x); }
    static V int_sub(V x, V y) { return v(simd::vsub_vi2_vi2_vi2(i(x), i(y))); }
    static V int_greater(V x, V y) { return v(simd::vgt_vi2_vi2_vi2(i(x), i(y))); }
};

// Sign bit of every lane, the rest cleared.
template <class T>
typename simd::Simd<T>::V sign_of(typename simd::Simd<T>::V x) {
    return simd::Simd<T>::bit_and(x, Bits<T>::pattern(Bits<T>::kSign));
}

// x * 1: the identity on every value except a signalling NaN, which it quiets
// as any arithmetic does.  Under the flush-to-zero mode (DAZ) it turns a
// subnormal into a zero of the same sign, so that kernels built from bit
// operations flush their inputs and results like the arithmetic ones do.
// The one is hidden from the optimiser, which would otherwise drop the
// multiplication.
template <class T>
typename simd::Simd<T>::V flush_subnormal(typename simd::Simd<T>::V x) {
    typename simd::Simd<T>::V one = simd::Simd<T>::set1(T(1));
    asm("" : "+x"(one));
    return simd::Simd<T>::mul(x, one);
}

template <class T>
T flush_subnormal(T x) {
    T one = T(1);
    asm("" : "+x"(one));
    return x * one;
}

}  // namespace qor::vm
