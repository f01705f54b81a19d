// Lane helpers of the exponential, logarithm and power kernels: constants
// from bit patterns, flag-free screens on the bit patterns, exponent and
// mantissa fields, table rows as vectors, widening and narrowing between
// float and double lanes, and Horner's scheme.
#pragma once

#include <cstddef>
#include <cstdint>

#include "lane_bits.h"
#include "simd.h"

namespace qor::vm {
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
    vi hw = simd::vshuffle_vi2_vi2<0xF5>(simd::vcast_vi_vd(x));  // upper word in both halves
    hw = simd::vor_vi_vi_vi(hw, simd::vset1_vi2_i(int32_t(0x80000000u)));
    return simd::vcast_vd_vi(simd::vgt_vi2_vi2_vi2(hw, simd::vset1_vi2_i(int32_t(upper | 0x80000000u))));
}

// Lanes whose |x| has a bit pattern above `limit` (a positive float's bits):
// magnitudes above the limit, infinities and NaN.  Integer compare, no flag.
inline vf magnitude_above(vf x, uint32_t limit) {
    vi b = simd::vand_vi_vi_vi(simd::vcast_vi_vf(x), simd::vset1_vi2_i(0x7FFFFFFF));
    return simd::vcast_vf_vi(simd::vgt_vi2_vi2_vi2(b, simd::vset1_vi2_i(int32_t(limit))));
}

// Lanes of x that are not positive, normal and finite (zeros, negatives,
// subnormals, infinities, NaN), judged on the upper words without a flag.
inline vd not_positive_normal(vd x) {
    vi hw = simd::vshuffle_vi2_vi2<0xF5>(simd::vcast_vi_vd(x));
    // hw + 0x7FF00000 wraps [0x00100000, 0x7FF00000) onto the signed range
    // [-0x80000000, -0x00200000).
    hw = simd::vadd_vi2_vi2_vi2(hw, simd::vset1_vi2_i(0x7FF00000));
    return simd::vcast_vd_vi(simd::vgt_vi2_vi2_vi2(hw, simd::vset1_vi2_i(-0x00200001)));
}

inline vf not_positive_normal(vf x) {
    vi b = simd::vadd_vi2_vi2_vi2(simd::vcast_vi_vf(x), simd::vset1_vi2_i(0x7F800000));
    return simd::vcast_vf_vi(simd::vgt_vi2_vi2_vi2(b, simd::vset1_vi2_i(-0x01000001)));
}

// The biased exponent field of each double, as a double (0 ... 2047).
inline vd exponent_field(vd x) {
    vi e = simd::vsrl_vl_vl_i(simd::vcast_vi_vd(x), 52);
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
    return simd::vcast_vd_vi(simd::vadd_vl_vl_vl(simd::vcast_vi_vd(y), simd::vsll_vl_vl_i(e_low, 52)));
}

inline vf add_exponent(vf y, vi e_low) {
    return simd::vcast_vf_vi(simd::vadd_vi2_vi2_vi2(simd::vcast_vi_vf(y), simd::vsll_vi2_vi2_i(e_low, 23)));
}

// Two rows of a table of double pairs, picked by j0 and j1: the first
// members of the rows in `first`, the second members in `second`.
inline void pair_rows(const double (*table)[2], int64_t j0, int64_t j1, vd& first, vd& second) {
    vd a = simd::vloada_vd_p(table[j0]), b = simd::vloada_vd_p(table[j1]);
    first = simd::vunpacklo_vd_vd_vd(a, b);
    second = simd::vunpackhi_vd_vd_vd(a, b);
}

// Four rows of a table of float pairs, picked by the int32 lanes of j: the
// first members of the rows in `first`, the second members in `second`.
inline void quad_rows(const float (*table)[2], vi j, vf& first, vf& second) {
    const vf a = simd::vload_vf_p_p(table[simd::vget_i_vi2<0>(j)], table[simd::vget_i_vi2<1>(j)]);
    const vf b = simd::vload_vf_p_p(table[simd::vget_i_vi2<2>(j)], table[simd::vget_i_vi2<3>(j)]);
    first = simd::vevens_vf_vf_vf(a, b);
    second = simd::vodds_vf_vf_vf(a, b);
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

// Lanes whose upper word, read as a signed integer, is below `low` or above
// `high`: for positive limits, arguments below the first limit (negatives
// included) and above the second (infinities and NaN with high = 0x7FEFFFFF).
// No flag is raised.
inline vd upper_word_outside(vd x, int32_t low, int32_t high) {
    const vi hw = simd::vshuffle_vi2_vi2<0xF5>(simd::vcast_vi_vd(x));
    const vi below = simd::vgt_vi2_vi2_vi2(simd::vset1_vi2_i(low), hw);
    const vi above = simd::vgt_vi2_vi2_vi2(hw, simd::vset1_vi2_i(high));
    return simd::vcast_vd_vi(simd::vor_vi_vi_vi(below, above));
}

// The same on the bit patterns of floats.
inline vf bits_outside(vf x, int32_t low, int32_t high) {
    const vi b = SF::to_bits(x);
    const vi below = simd::vgt_vi2_vi2_vi2(simd::vset1_vi2_i(low), b);
    const vi above = simd::vgt_vi2_vi2_vi2(b, simd::vset1_vi2_i(high));
    return simd::vcast_vf_vi(simd::vor_vi_vi_vi(below, above));
}

// first() where `use_first` marks lanes, second() elsewhere; a branch that
// no lane takes is not computed.
template <class First, class Second>
QOR_KERNEL_INLINE vd pick(vd use_first, First first, Second second) {
    const int which = SD::movemask(use_first);
    if (which == 3) return first();
    if (which == 0) return second();
    return SD::select(use_first, first(), second());
}

}  // namespace lanes
}  // namespace qor::vm
