// Cube roots: the shared reduction and refinements of Cbrt, InvCbrt and
// Pow2o3.
//
// A positive normal x is 2^(3q) v with v = m 2^rem in [1, 8), m in [1, 2)
// and rem in {0, 1, 2}: q and rem come from the biased exponent E by
// q' = floor(E/3) = (E * 21846) >> 16 (exact for E < 2^15), the bias 1023
// being 3 * 341 (single: E + 2 and 129 = 3 * 43).  A polynomial of degree 5
// in m times 2^(-rem/3) approximates g = v^(-1/3) to 2^-17.  Then:
//
//   HA cube root: t = v g^2 rounded to 17 bits, so that t^3 is exact and so
//     is d = v - t^3 (Sterbenz); with u = d / t^3,
//         cbrt v = t (1 + u)^(1/3) = t + t u (1/3 - u/9 + 5u^2/81),
//     one rounding from a value within about 2^-62 (0.5 ulp plus 2^-9).
//   HA inverse: t = g rounded to 16 bits (t^3 exact), e = 1 - v t^3 from an
//     exact Dekker product, and
//         v^(-1/3) = t (1 - e)^(-1/3) = t + t e (1/3 + 2e/9 + 14e^2/81 + 35e^3/243).
//   LA inverse: the same series on g itself with e in plain double.
//   Newton (single HA through double, double EP): g + g e/3, about 2^-33.
//
// Results of a cube root of a double are always normal (2^-358 ... 2^342),
// so the scaling by 2^q is an addition to the exponent field.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "../exp_log_loop.h"
#include "../lanes.h"
#include "../lane_bits.h"
#include "../variant.h"

namespace qor::vm::cbrt_core {

using Acc = Variant;

// m^(-1/3) on [1, 2], highest degree first: absolute error 2^-17.2
// (degree 5) and 2^-14.6 (degree 4).
inline constexpr double kInvCbrt5[6] = {dbl(0xBF90E87006CBE6BBull), dbl(0x3FC37CE9E9ED0A1Dull),
                                        dbl(0xBFE2C4B958D54C08ull), dbl(0x3FF3A267A3D49AD4ull),
                                        dbl(0xBFF8DD4BD7D34771ull), dbl(0x3FFC713E2847CBE6ull)};
inline constexpr float kInvCbrt5f[6] = {flt(0xBC874380u), flt(0x3E1BE74Fu), flt(0xBF1625CBu),
                                        flt(0x3F9D133Du), flt(0xBFC6EA5Fu), flt(0x3FE389F1u)};
inline constexpr float kInvCbrt4f[5] = {flt(0x3CE398C2u), flt(0xBE5D8DF6u), flt(0x3F2F4566u), flt(0xBF94C970u),
                                        flt(0x3FD5489Fu)};
// 2^(-1/3) and 2^(-2/3).
inline constexpr double kTwoM13 = dbl(0x3FE965FEA53D6E3Dull);
inline constexpr double kTwoM23 = dbl(0x3FE428A2F98D728Bull);
inline constexpr double kThird = dbl(0x3FD5555555555555ull);
inline constexpr double kNinth = dbl(0x3FBC71C71C71C71Cull);
inline constexpr double k5o81 = dbl(0x3FAF9ADD3C0CA458ull);
inline constexpr double k2o9 = dbl(0x3FCC71C71C71C71Cull);
inline constexpr double k14o81 = dbl(0x3FC61F9ADD3C0CA4ull);
inline constexpr double k35o243 = dbl(0x3FC26FABB85CB534ull);

// ---- double -------------------------------------------------------------------
struct Reduced {
    vd v;      // in [1, 8)
    vd g;      // v^(-1/3) to about 2^-17
    vi shift;  // (q - 341) << 52: the exponent step of the cube root
};

// For positive normal ax.
QOR_KERNEL_INLINE Reduced reduce(vd ax) {
    const vi bits = SD::to_bits(ax);
    const vi e = simd::vsrl_vl_vl_i(bits, 52);  // biased exponent in the low word, high word 0
    const vi q = simd::vsrl_vi2_vi2_i(simd::vmullo_vi2_vi2_vi2(e, simd::vset1_vi2_i(21846)), 16);
    const vi rem = simd::vsub_vi2_vi2_vi2(e, simd::vadd_vi2_vi2_vi2(q, simd::vadd_vi2_vi2_vi2(q, q)));
    const vi mant = simd::vand_vi_vi_vi(bits, simd::vset1_vl_l(0x000FFFFFFFFFFFFFll));
    const vd v = SD::from_bits(
        simd::vor_vi_vi_vi(mant, simd::vsll_vl_vl_i(simd::vadd_vi2_vi2_vi2(rem, simd::vset1_vi2_i(1023)), 52)));
    const vd m = SD::from_bits(simd::vor_vi_vi_vi(mant, simd::vset1_vl_l(0x3FF0000000000000ll)));
    vd c = SD::select(SD::from_bits(simd::veq_vl_vl_vl(rem, simd::vset1_vl_l(1))), SD::set1(kTwoM13), SD::set1(1.0));
    c = SD::select(SD::from_bits(simd::veq_vl_vl_vl(rem, simd::vset1_vl_l(2))), SD::set1(kTwoM23), c);
    const vd g = SD::mul(lanes::horner<SD>(m, kInvCbrt5), c);
    return {v, g, simd::vsll_vl_vl_i(simd::vsub_vl_vl_vl(q, simd::vset1_vl_l(341)), 52)};
}

QOR_KERNEL_INLINE vd scale_up(vd y, vi shift) { return SD::from_bits(simd::vadd_vl_vl_vl(SD::to_bits(y), shift)); }
QOR_KERNEL_INLINE vd scale_down(vd y, vi shift) { return SD::from_bits(simd::vsub_vl_vl_vl(SD::to_bits(y), shift)); }

// x rounded to a multiple of 2^-bits_after_point, for |x| < 2^(52 - bits).
QOR_KERNEL_INLINE vd round_to_grid(vd x, double shifter) {
    const vd s = SD::set1(shifter);
    return SD::sub(SD::add(x, s), s);
}

// cbrt v as t + corr, t of 17 bits: the HA cube root before its rounding.
struct Split {
    vd t, corr;
};

QOR_KERNEL_INLINE Split cbrt_split(const Reduced& a) {
    const vd y0 = SD::mul(SD::mul(a.v, a.g), a.g);
    const vd t = round_to_grid(y0, 0x1.8p36);  // multiples of 2^-16 in [1, 2]
    const vd t3 = SD::mul(SD::mul(t, t), t);  // exact: at most 51 bits
    const vd u = SD::div(SD::sub(a.v, t3), t3);
    const vd s = SD::add(SD::set1(kThird), SD::mul(u, SD::sub(SD::mul(u, SD::set1(k5o81)), SD::set1(kNinth))));
    return {t, SD::mul(SD::mul(t, u), s)};
}

// v^(-1/3) to 2^-33 by one Newton step: g + g e/3 with e = 1 - v g^3.
QOR_KERNEL_INLINE vd newton_inverse(const Reduced& a) {
    const vd e = SD::sub(SD::set1(1.0), SD::mul(a.v, SD::mul(SD::mul(a.g, a.g), a.g)));
    return SD::add(a.g, SD::mul(a.g, SD::mul(e, SD::set1(kThird))));
}

// t (1 + e/3 + 2e^2/9 + 14e^3/81 [+ 35e^4/243]).
template <bool FourthOrder>
QOR_KERNEL_INLINE vd inverse_series(vd t, vd e) {
    vd s = SD::set1(k14o81);
    if constexpr (FourthOrder) s = SD::add(SD::mul(e, SD::set1(k35o243)), s);
    s = SD::add(SD::mul(e, s), SD::set1(k2o9));
    s = SD::add(SD::mul(e, s), SD::set1(kThird));
    return SD::add(t, SD::mul(t, SD::mul(e, s)));
}

// v^(-1/3), HA: e = 1 - v t^3 exactly for the 16-bit t.
QOR_KERNEL_INLINE vd inverse_ha(const Reduced& a) {
    const vd t = round_to_grid(a.g, 0x1.8p36);  // multiples of 2^-16 in (1/2, 1]
    const vd t3 = SD::mul(SD::mul(t, t), t);    // exact: at most 48 bits
    const vd head = Bits<double>::pattern(Bits<double>::kSplitHead);
    const vd vh = SD::bit_and(a.v, head), vl = SD::sub(a.v, vh);
    const vd th = SD::bit_and(t3, head), tl = SD::sub(t3, th);
    const vd p = SD::mul(a.v, t3);
    const vd pe = SD::add(SD::add(SD::add(SD::sub(SD::mul(vh, th), p), SD::mul(vh, tl)), SD::mul(vl, th)),
                          SD::mul(vl, tl));
    const vd e = SD::sub(SD::sub(SD::set1(1.0), p), pe);  // 1 - p is exact
    return inverse_series<true>(t, e);
}

// v^(-1/3), LA: the series on g with e rounded.
QOR_KERNEL_INLINE vd inverse_la(const Reduced& a) {
    const vd e = SD::sub(SD::set1(1.0), SD::mul(a.v, SD::mul(SD::mul(a.g, a.g), a.g)));
    return inverse_series<false>(a.g, e);
}

// ---- single precision ---------------------------------------------------------
struct ReducedF {
    vf v;
    vf g;      // v^(-1/3) from the polynomial of degree 5 or 4
    vi shift;  // (q - 43) << 23
};

// For positive normal float ax.
template <std::size_t N>
QOR_KERNEL_INLINE ReducedF reduce(vf ax, const float (&poly)[N]) {
    const vi bits = SF::to_bits(ax);
    const vi e = simd::vadd_vi2_vi2_vi2(simd::vsrl_vi2_vi2_i(bits, 23), simd::vset1_vi2_i(2));
    const vi q = simd::vsrl_vi2_vi2_i(simd::vmullo_vi2_vi2_vi2(e, simd::vset1_vi2_i(21846)), 16);
    const vi rem = simd::vsub_vi2_vi2_vi2(e, simd::vadd_vi2_vi2_vi2(q, simd::vadd_vi2_vi2_vi2(q, q)));
    const vi mant = simd::vand_vi_vi_vi(bits, simd::vset1_vi2_i(0x007FFFFF));
    const vf v = SF::from_bits(
        simd::vor_vi_vi_vi(mant, simd::vsll_vi2_vi2_i(simd::vadd_vi2_vi2_vi2(rem, simd::vset1_vi2_i(127)), 23)));
    const vf m = SF::from_bits(simd::vor_vi_vi_vi(mant, simd::vset1_vi2_i(0x3F800000)));
    vf c = SF::select(SF::from_bits(simd::veq_vi2_vi2_vi2(rem, simd::vset1_vi2_i(1))), SF::set1(float(kTwoM13)),
                      SF::set1(1.0f));
    c = SF::select(SF::from_bits(simd::veq_vi2_vi2_vi2(rem, simd::vset1_vi2_i(2))), SF::set1(float(kTwoM23)), c);
    return {v, SF::mul(lanes::horner<SF>(m, poly), c),
            simd::vsll_vi2_vi2_i(simd::vsub_vi2_vi2_vi2(q, simd::vset1_vi2_i(43)), 23)};
}

QOR_KERNEL_INLINE vf scale_up(vf y, vi shift) { return SF::from_bits(simd::vadd_vi2_vi2_vi2(SF::to_bits(y), shift)); }
QOR_KERNEL_INLINE vf scale_down(vf y, vi shift) { return SF::from_bits(simd::vsub_vi2_vi2_vi2(SF::to_bits(y), shift)); }

// ---- scalar helpers --------------------------------------------------------------
// f applied to one value through a vector function.
template <class T, class F>
T on_lane(T x, F f) {
    using S = simd::Simd<T>;
    alignas(16) T out[S::lanes];
    S::store(out, f(S::set1(x)));
    return out[0];
}

}  // namespace qor::vm::cbrt_core
