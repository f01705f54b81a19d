// Log1p, real: ln(1 + x).
//   double (one kernel): |x| < 0.0017: x + x^2 P(x); otherwise s = 1 + x
//     formed exactly as s + e, ln s by the reduction of Ln with the split
//     mantissa, and e/s added to the small terms before the last rounding
//     (about 0.51 ulp).
//   single:
//     HA: u = 1 + x in single with its exact correction c, ln u by the
//       reduction of Ln in double and ln(1 + c/u) added, rounded once
//       (about 0.5 ulp).
//     LA, EP: single-precision arithmetic: u = 1 + x with the correction
//       c = x - (u - 1), the single-precision Ln of the variant, and
//       c (2 - u) for c/u.
// log1p(x) has the sign of x, which the kernels set (log1p(-0) = -0).
// x = -1 gives -inf (code 2); x < -1 and -inf give NaN (code 1).
#pragma once

#include <cmath>
#include <limits>

#include "log_core.h"
#include "log_single.h"

namespace qor::vm::explog {

using namespace log_core;

// Lanes that are not above -1 or not finite.
inline vd log1p_screen(vd x) {
    vi hw = simd::vshuffle_vi2_vi2<0xF5>(simd::vcast_vi_vd(x));
    vi minus_big = simd::vgt_vi2_vi2_vi2(simd::vxor_vi_vi_vi(hw, simd::vset1_vi2_i(int32_t(0x80000000u))),
                                         simd::vset1_vi2_i(0x3FEFFFFF));
    return SD::bit_or(simd::vcast_vd_vi(minus_big), SD::isnonfinite(x));
}

inline vf log1p_screen(vf x) {
    vi b = SF::to_bits(x);
    vi minus_big = simd::vgt_vi2_vi2_vi2(simd::vxor_vi_vi_vi(b, simd::vset1_vi2_i(int32_t(0x80000000u))),
                                         simd::vset1_vi2_i(0x3F7FFFFF));
    return SF::bit_or(simd::vcast_vf_vi(minus_big), SF::isnonfinite(x));
}

// s + e = 1 + x exactly.
inline vd one_plus(vd x, vd& e) {
    const vd one = SD::set1(1.0);
    const vd s = SD::add(one, x);
    const vd bb = SD::sub(s, one);
    e = SD::add(SD::sub(one, SD::sub(s, bb)), SD::sub(x, bb));
    return s;
}

// |x| < 0.0017 (upper word below that of 2^-9.2): x + x^2 P(x) with the
// polynomial of the reduction, whose leading term carries the result.
inline constexpr uint32_t kLog1pSmallUpper = 0x3F5BFFFF;

template <std::size_t N>
inline vd series(vd x, const double (&p)[N]) {
    return SD::add(x, SD::mul(SD::mul(x, x), lanes::horner<SD>(x, p)));
}

template <class Big>
inline vd small_or_big(vd x, const double (&p)[5], Big big) {
    const vd large = lanes::upper_word_above(x, kLog1pSmallUpper);
    const int which = SD::movemask(large);
    vd y = which == 0 ? series(x, p) : which == 3 ? big(x) : SD::select(large, big(x), series(x, p));
    return SD::copysign(y, x);
}

inline vd log1p_double(vd x) {
    return small_or_big(x, kP4, [](vd v) {
        vd e;
        const vd s = one_plus(v, e);
        return ln_sum(pieces<Accuracy::High>(s, SD::set1(0.0)), SD::div(e, s));
    });
}

// Single arguments: u + c = 1 + x exactly (two-sum in single), ln u by the
// single-precision reduction in double, and ln(1 + c/u) added in double
// before the one rounding.
inline vf log1p_single(vf x) {
    const vf one = SF::set1(1.0f);
    const vf u = SF::add(one, x);
    const vf bb = SF::sub(u, one);
    const vf c = SF::add(SF::sub(one, SF::sub(u, bb)), SF::sub(x, bb));
    SinglePieces lo, hi;
    single_pieces(u, lo, hi);
    // ln(1 + q) = q - q^2/2 for q = c/u, |q| <= 2^-24.
    auto plus_log1p_of = [](vd ln_u, vd q) { return SD::add(ln_u, SD::sub(q, SD::mul(SD::mul(q, q), SD::set1(0.5)))); };
    const vd y_lo = plus_log1p_of(single_ln(lo), SD::div(lanes::low_half(c), lanes::low_half(u)));
    const vd y_hi = plus_log1p_of(single_ln(hi), SD::div(lanes::high_half(c), lanes::high_half(u)));
    return SF::copysign(lanes::narrow(y_lo, y_hi), x);
}

template <class T>
int log1p_scalar(T x, T& y) {
    constexpr T inf = std::numeric_limits<T>::infinity();
    if (std::isnan(x) || x == inf) {
        y = x * x;
        return QOR_VM_STATUS_OK;
    }
    if (x == T(-1)) {
        y = -inf;
        return QOR_VM_STATUS_SING;
    }
    if (x < T(-1)) {
        y = std::numeric_limits<T>::quiet_NaN();
        return QOR_VM_STATUS_DOMAIN;
    }
    y = T(simd::vget0_d_vd(log1p_double(SD::set1(double(x)))));
    return QOR_VM_STATUS_OK;
}

struct DoubleLog1p {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return log1p_screen(x); }
    vd operator()(vd x) const { return log1p_double(x); }
    int fix(double x, double& y) const { return log1p_scalar(x, y); }
};

template <log_single::Variant Var>
struct SingleLog1p {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return log1p_screen(x); }
    vf operator()(vf x) const {
        if constexpr (Var == log_single::Variant::HA) {
            return log1p_single(x);
        } else {
            const vf one = SF::set1(1.0f);
            const vf u = SF::add(one, x);
            const vf c = SF::sub(x, SF::sub(u, one));
            vf k, lnm;
            log_single::ln_parts<Var>(u, k, lnm);
            // c/u for |x| < 1, with 1/u ~ 2 - u, whose error (u - 1)^2 leaves
            // the correction within |x| 2^-25 of the result.  For |x| >= 1
            // the correction is below 2^-24 of the result and is dropped.
            const vf c_small = SF::bit_andnot(lanes::magnitude_above(x, 0x3F7FFFFFu), c);  // |x| < 1
            const vf corr = SF::mul(c_small, SF::sub(SF::set1(2.0f), u));
            const vf y = SF::add(SF::mul(k, SF::set1(log_single::kLn2HiF)),
                                 SF::add(SF::mul(k, SF::set1(log_single::kLn2LoF)), SF::add(lnm, corr)));
            return SF::copysign(y, x);
        }
    }
    int fix(float x, float& r) const { return log1p_scalar(x, r); }
};

}  // namespace qor::vm::explog
