// Kernel definitions of the exponential and logarithm functions, and the
// lane helpers they share.
//
// An Op of this family screens its input before computing:
//
//   struct Op {
//       using T = float or double;
//       static constexpr int block;        // elements per screened block
//       static constexpr bool reads_mode;  // flush to zero as the mode says
//       V operator()(V x) const;           // vector path, every lane
//       V special(V x) const;              // lanes for the scalar routine
//       int fix(T x, T& r) const;          // scalar routine: result, code
//   };
//
// The element loop (loop.h) computes a whole block, stores it, and only when
// the block's screen marked a lane sends the marked elements to the scalar
// routine and the reporter.  Marked lanes enter the vector path as +0, so
// that infinities, NaN and out-of-range values raise no flag there and index
// no table out of range; their results come from the scalar routine alone.
#pragma once

#include <cstdint>

#include "driver.h"
#include "lane_bits.h"

namespace qor::vm {

// ---- lane helpers -----------------------------------------------------------
namespace lanes {

using simd::vd;
using simd::vf;
using simd::vi;

inline vd from_bits(uint64_t u) { return simd::vset1_vd_u64(u); }
inline vf from_bits32(uint32_t u) { return simd::vset1_vf_u32(u); }

// Mask of the lanes whose magnitude, compared on the upper 32 bits, exceeds
// `upper` (the upper word of a positive double).  The sign bit is forced on
// and the words compared as signed integers, so infinities and NaN are
// marked and no floating-point flag is raised.
inline vd upper_word_above(vd x, uint32_t upper) {
    vi hw = _mm_shuffle_epi32(simd::vcast_vi_vd(x), 0xF5);  // upper word in both halves
    hw = _mm_or_si128(hw, _mm_set1_epi32(int32_t(0x80000000u)));
    return simd::vcast_vd_vi(_mm_cmpgt_epi32(hw, _mm_set1_epi32(int32_t(upper | 0x80000000u))));
}

// Lanes whose |x| has a bit pattern above `limit` (a positive float's bits):
// magnitudes above the limit, infinities and NaN.  Integer compare, no flag.
inline vf magnitude_above(vf x, uint32_t limit) {
    vi b = _mm_and_si128(simd::vcast_vi_vf(x), _mm_set1_epi32(0x7FFFFFFF));
    return simd::vcast_vf_vi(_mm_cmpgt_epi32(b, _mm_set1_epi32(int32_t(limit))));
}

// Lanes of x that are not positive, normal and finite (zeros, negatives,
// subnormals, infinities, NaN), judged on the upper words without a flag.
inline vd not_positive_normal(vd x) {
    vi hw = _mm_shuffle_epi32(simd::vcast_vi_vd(x), 0xF5);
    // hw + 0x7FF00000 wraps [0x00100000, 0x7FF00000) onto the signed range
    // [-0x80000000, -0x00200000).
    hw = _mm_add_epi32(hw, _mm_set1_epi32(0x7FF00000));
    return simd::vcast_vd_vi(_mm_cmpgt_epi32(hw, _mm_set1_epi32(-0x00200001)));
}

inline vf not_positive_normal(vf x) {
    vi b = _mm_add_epi32(simd::vcast_vi_vf(x), _mm_set1_epi32(0x7F800000));
    return simd::vcast_vf_vi(_mm_cmpgt_epi32(b, _mm_set1_epi32(-0x01000001)));
}

// The biased exponent field of each double, as a double (0 ... 2047).
inline vd exponent_field(vd x) {
    vi e = _mm_srli_epi64(simd::vcast_vi_vd(x), 52);
    const vd two52 = from_bits(0x4330000000000000ull);  // 2^52: its low bits take e
    return simd::vsub_vd_vd_vd(simd::vor_vd_vd_vd(simd::vcast_vd_vi(e), two52), two52);
}

// The mantissa of each double with the exponent of 1.0: a value in [1, 2).
inline vd mantissa_one_two(vd x) {
    const vd mant = from_bits(0x000FFFFFFFFFFFFFull);
    return simd::vor_vd_vd_vd(simd::vand_vd_vd_vd(x, mant), from_bits(0x3FF0000000000000ull));
}

// y * 2^e for the integer e held in bits 0..11 of the lanes of `e_low`,
// by adding e << 52 to the exponent field.  Valid while the result stays
// normal and finite.
inline vd add_exponent(vd y, vi e_low) {
    return simd::vcast_vd_vi(_mm_add_epi64(simd::vcast_vi_vd(y), _mm_slli_epi64(e_low, 52)));
}

inline vf add_exponent(vf y, vi e_low) {
    return simd::vcast_vf_vi(_mm_add_epi32(simd::vcast_vi_vf(y), _mm_slli_epi32(e_low, 23)));
}

// Two rows of a table of double pairs, picked by j0 and j1: the first
// members of the rows in `first`, the second members in `second`.
inline void pair_rows(const double (*table)[2], int64_t j0, int64_t j1, vd& first, vd& second) {
    vd a = _mm_load_pd(table[j0]), b = _mm_load_pd(table[j1]);
    first = _mm_unpacklo_pd(a, b);
    second = _mm_unpackhi_pd(a, b);
}

// 4 floats as two vectors of doubles and back.
inline vd low_half(vf x) { return simd::vcast_vd_vf_lo(x); }
inline vd high_half(vf x) { return simd::vcast_vd_vf_hi(x); }
inline vf narrow(vd lo, vd hi) { return simd::vcast_vf_vd_vd(lo, hi); }

// Horner's scheme over coefficients from the highest degree down.
template <class S, std::size_t N>
typename S::V horner(typename S::V x, const typename S::T (&c)[N]) {
    typename S::V p = S::set1(c[0]);
    for (std::size_t k = 1; k < N; ++k) p = S::add(S::mul(p, x), S::set1(c[k]));
    return p;
}

}  // namespace lanes
}  // namespace qor::vm

// The contiguous and strided kernels of one function slot, screened before.
#define QOR_VM_SCREENED_KERNELS(p, Fn, slot, T, op) QOR_VM_UNARY_FORMS(p, Fn, slot, T, T, op)
