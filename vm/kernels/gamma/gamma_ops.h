// TGamma and LGamma, real: one kernel per row serves all three accuracy
// slots (methods in gamma_core.h).  Measured over a million arguments
// against MPFR:
//   TGamma, double: |x| < 10 by the quotient num/den of pairs, divided once;
//     10 <= x < 171 as e^lgamma with the Stirling sum as a pair fed to the
//     exponential's reduction; left of -10 (scalar routine) by reflection,
//     pi over the pair product sin(pi x) y Gamma(y), y = -x, scaled down at
//     the end, so that subnormal results are rounded once.  Within 0.82 ulp
//     (the reflection; about 0.55 elsewhere).
//   LGamma, double: |x| < 10 as ln|num/den|, the quotient kept as a pair
//     and its tail added to the logarithm's rest, and within 2^-20 of the
//     zeros 1 and 2 the expansions in x - 1 and x - 2 (relative accuracy
//     there); from 10 the Stirling sum, rounded once; left of -10 (scalar
//     routine) ln pi - ln|sin(pi x)| - ln y - lgamma(y), the large parts
//     summed exactly.  Within 0.65 ulp, except near the zeros left of 0,
//     where |Gamma| = 1 and the error is absolute, about 2^-59.
//   single: the same formulas in plain double arithmetic on the widened
//     lanes (relative errors near 2^-45), rounded once; the scalar routine
//     is the double one.
// Special values: Gamma(+-0) = +-inf and lgamma(+-0) = +inf, code 2 (pole);
// at the negative integers Gamma is NaN with code 1 (a domain error, as the
// C library's tgamma reports it) and lgamma +inf with code 2; Gamma
// overflows (infinity, code 3) above about 171.62 (double) or 35.04
// (single), lgamma above about 2.55e305 (double) or 4.08e36 (single); a
// subnormal or zero Gamma left of the origin is code 4.  Gamma(+inf) =
// +inf, Gamma(-inf) = NaN (code 1), lgamma(+-inf) = +inf; NaN gives a quiet
// NaN with no code.
#pragma once

#include <cfloat>
#include <cmath>
#include <limits>

#include "gamma_core.h"

namespace qor::vm::gamma {

inline constexpr double kInf = std::numeric_limits<double>::infinity();
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Lanes with the sign bit set (also -0 and negative NaN), without a flag.
QOR_KERNEL_INLINE vd negative(vd x) {
    return SD::from_bits(simd::vgt_vl_vl_vl(simd::vzero_vi(), SD::to_bits(x)));
}

// Negative lanes that are integers (no flag on NaN: floor and eq are quiet).
QOR_KERNEL_INLINE vd negative_integer(vd x) { return SD::bit_and(negative(x), SD::eq(x, SD::floor(x))); }

// ---- TGamma ----------------------------------------------------------------------
// Valid for -10 < x < 171, x not 0 nor a negative integer.
QOR_KERNEL_INLINE vd tgamma_vector(vd x) {
    const vd near = lanes::upper_word_above(x, 0x4023FFFF);  // |x| >= 10, marks the Stirling lanes
    auto small = [&] {
        const Quotient q = gamma_quotient(SD::select(near, SD::set1(1.0), x));
        const DD g = dd_div(q.num, q.den);
        return SD::add(g.hi, g.lo);
    };
    auto large = [&] {
        const Scaled e = exp_dd(stirling(SD::max(x, SD::set1(kStirlingFrom))));
        return exp_core::scale(SD::add(e.head, e.tail), e.t);
    };
    switch (SD::movemask(near)) {
        case 0: return small();
        case 3: return large();
        default: return SD::select(near, large(), small());
    }
}

// Gamma(x) for x <= -10, x not an integer, |x| < 2^52.
inline int tgamma_reflected(double x, double& y) {
    const vd X = SD::set1(x), Y = SD::set1(-x);
    const DD s = sinpi_dd(X);
    if (x < -190.0) {  // |Gamma(x)| < 2^-1100 even next to the integers
        y = std::copysign(0.0, simd::vget0_d_vd(s.hi));
        return QOR_VM_STATUS_UNDERFLOW;
    }
    const Scaled g = exp_dd(stirling(Y));  // Gamma(y) = (head + tail) 2^M
    const DD d = dd_mul(dd_mul(s, Y), fast_two_sum(g.head, g.tail));
    const DD q = dd_div(dd_const(cf::kPi), d);
    const double qh = simd::vget0_d_vd(q.hi), ql = simd::vget0_d_vd(q.lo);
    const int e = std::ilogb(qh);
    const double a = std::ldexp(qh, -e), b = std::ldexp(ql, -e);
    const int m = e - scaled_exponent(g.t);
    if (m >= -1022) {
        y = std::ldexp(a + b, m);
        return QOR_VM_STATUS_OK;
    }
    y = m < -1076 ? std::copysign(0.0, a) : exp_core::scale_sum_tiny(a, b, m);
    return QOR_VM_STATUS_UNDERFLOW;
}

inline int tgamma_scalar(double x, double& y) {
    x = flush_subnormal(x);
    if (std::isnan(x)) {
        y = x + x;
        return QOR_VM_STATUS_OK;
    }
    if (x == 0.0) {
        y = std::copysign(kInf, x);
        return QOR_VM_STATUS_SING;
    }
    if (x < 0.0 && (x == -kInf || x == std::floor(x))) {
        y = kNaN;
        return QOR_VM_STATUS_DOMAIN;
    }
    if (x == kInf) {
        y = kInf;
        return QOR_VM_STATUS_OK;
    }
    if (std::fabs(x) < 0x1p-60) {  // Gamma(x) = 1/x - gamma + O(x)
        y = 1.0 / x;
        if (std::isinf(y)) return QOR_VM_STATUS_OVERFLOW;
        y -= cf::kEulerGamma[0];
        return QOR_VM_STATUS_OK;
    }
    if (x <= -kStirlingFrom) return tgamma_reflected(x, y);
    if (x < 171.0) {
        y = simd::vget0_d_vd(tgamma_vector(SD::set1(x)));
        return QOR_VM_STATUS_OK;
    }
    if (x > 171.625) {
        y = kInf;
        return QOR_VM_STATUS_OVERFLOW;
    }
    const Scaled g = exp_dd(stirling(SD::set1(x)));
    const double head = simd::vget0_d_vd(g.head), tail = simd::vget0_d_vd(g.tail);
    const int m = scaled_exponent(g.t);
    y = (head + tail) * exp_core::pow2i(m - 1) * 2.0;
    return std::isinf(y) ? QOR_VM_STATUS_OVERFLOW : QOR_VM_STATUS_OK;
}

struct DoubleTGamma {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const {
        vd m = SD::bit_or(lanes::upper_word_above(x, 0x40655FFF),  // |x| >= 171, inf, NaN
                          SD::bit_and(negative(x), lanes::upper_word_above(x, 0x4023FFFF)));  // x <= -10
        m = SD::bit_or(m, lanes::not_positive_normal(SD::abs(x)));
        return SD::bit_or(m, negative_integer(x));
    }
    vd operator()(vd x) const { return tgamma_vector(SD::select(SD::eq(x, SD::set1(0.0)), SD::set1(1.0), x)); }
    int fix(double x, double& y) const { return tgamma_scalar(x, y); }
};

// ---- LGamma ----------------------------------------------------------------------
// lgamma(1 + f) (lanes of `one`) or lgamma(2 + f), |f| < 2^-20: f times
// the lead as an exact product, the rest rounded once with it.
QOR_KERNEL_INLINE vd near_zero(vd f, vd one) {
    const vd lead_hi = SD::select(one, SD::set1(cf::kNearOneLead[0]), SD::set1(cf::kNearTwoLead[0]));
    const vd lead_lo = SD::select(one, SD::set1(cf::kNearOneLead[1]), SD::set1(cf::kNearTwoLead[1]));
    const vd tail = SD::select(one, lanes::horner<SD>(f, cf::kNearOneTail), lanes::horner<SD>(f, cf::kNearTwoTail));
    const DD p = two_prod(f, lead_hi);
    return SD::add(p.hi, SD::add(p.lo, SD::mul(f, SD::add(lead_lo, SD::mul(f, tail)))));
}

// Valid for -10 < x < 2^1000, x normal and not a negative integer.
QOR_KERNEL_INLINE vd lgamma_vector(vd x) {
    const vd near = lanes::upper_word_above(x, 0x4023FFFF);
    auto small = [&] {
        const Quotient q = gamma_quotient(SD::select(near, SD::set1(1.0), x));
        const DD g = dd_div(q.num, q.den);
        const log_core::Pieces p = log_core::pieces<log_core::Accuracy::High>(SD::abs(g.hi), SD::set1(0.0));
        const vd l = log_core::ln_sum(p, SD::div(g.lo, g.hi));
        // Within 2^-20 of the zeros 1 and 2, where ln g would lose the
        // result's last bits to the pair's rounding: the expansions.
        const vd f1 = SD::sub(x, SD::set1(1.0)), f2 = SD::sub(x, SD::set1(2.0));
        const vd tiny = SD::set1(0x1p-20);
        const vd near1 = SD::lt(SD::abs(f1), tiny);
        const vd zero = SD::bit_or(near1, SD::lt(SD::abs(f2), tiny));
        if (SD::movemask(zero) == 0) return l;
        return SD::select(zero, near_zero(SD::select(near1, f1, f2), near1), l);
    };
    auto large = [&] {
        const DD l = stirling(SD::max(x, SD::set1(kStirlingFrom)));
        return SD::add(l.hi, l.lo);
    };
    switch (SD::movemask(near)) {
        case 0: return small();
        case 3: return large();
        default: return SD::select(near, large(), small());
    }
}

// lgamma(x) for x <= -10, x not an integer, |x| < 2^52.
inline double lgamma_reflected(double x) {
    const vd Y = SD::set1(-x);
    DD s = sinpi_dd(SD::set1(x));
    s = {SD::abs(s.hi), SD::bit_xor(s.lo, sign_of<double>(s.hi))};
    const LnPair ls = ln_dd(s);
    const LnPair ly = ln_dd({Y, SD::set1(0.0)});
    const DD lg = stirling(Y);
    const DD a = two_sum(SD::neg(lg.hi), SD::neg(ls.big));
    const DD b = two_sum(a.hi, SD::neg(ly.big));
    const DD c = two_sum(b.hi, SD::set1(cf::kLnPi[0]));
    vd tail = SD::add(SD::add(a.lo, b.lo), SD::add(c.lo, SD::set1(cf::kLnPi[1])));
    tail = SD::sub(tail, SD::add(lg.lo, SD::add(ls.small, ly.small)));
    return simd::vget0_d_vd(SD::add(c.hi, tail));
}

inline int lgamma_scalar(double x, double& y) {
    x = flush_subnormal(x);
    if (std::isnan(x)) {
        y = x + x;
        return QOR_VM_STATUS_OK;
    }
    if (std::isinf(x)) {
        y = kInf;
        return QOR_VM_STATUS_OK;
    }
    if (x == 0.0 || (x < 0.0 && x == std::floor(x))) {
        y = kInf;
        return QOR_VM_STATUS_SING;
    }
    const double ax = std::fabs(x);
    if (ax < DBL_MIN) {  // -ln|x|, the rest below 2^-1000
        const log_core::Pieces p = log_core::pieces<log_core::Accuracy::High>(SD::set1(ax * 0x1p60), SD::set1(60.0));
        y = -simd::vget0_d_vd(log_core::ln_sum(p));
        return QOR_VM_STATUS_OK;
    }
    if (x <= -kStirlingFrom) {
        y = lgamma_reflected(x);
        return QOR_VM_STATUS_OK;
    }
    if (x < 0x1p1000) {
        y = simd::vget0_d_vd(lgamma_vector(SD::set1(x)));
        return QOR_VM_STATUS_OK;
    }
    // x (ln x - 1) 2^-24, the other terms below 2^-990 of it, scaled back.
    const log_core::Pieces p = log_core::pieces<log_core::Accuracy::High>(SD::set1(x), SD::set1(0.0));
    const vd z = SD::set1(x * 0x1p-24);
    const DD t = two_prod(z, SD::sub(log_core::big_part(p), SD::set1(1.0)));
    y = simd::vget0_d_vd(SD::add(t.hi, SD::add(t.lo, SD::mul(z, log_core::small_part(p))))) * 0x1p24;
    return std::isinf(y) ? QOR_VM_STATUS_OVERFLOW : QOR_VM_STATUS_OK;
}

struct DoubleLGamma {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const {
        vd m = SD::bit_or(lanes::upper_word_above(x, 0x7E6FFFFF),  // |x| >= 2^1000, inf, NaN
                          SD::bit_and(negative(x), lanes::upper_word_above(x, 0x4023FFFF)));
        m = SD::bit_or(m, lanes::not_positive_normal(SD::abs(x)));
        return SD::bit_or(m, negative_integer(x));
    }
    vd operator()(vd x) const { return lgamma_vector(SD::select(SD::eq(x, SD::set1(0.0)), SD::set1(1.0), x)); }
    int fix(double x, double& y) const { return lgamma_scalar(x, y); }
};

// ---- single precision: the formulas in plain double arithmetic --------------------
// Valid for -10 < x < 36, x not 0 nor a negative integer.
QOR_KERNEL_INLINE vd tgamma_plain(vd x) {
    const vd near = lanes::upper_word_above(x, 0x4023FFFF);
    auto small = [&] {
        vd num, den;
        gamma_quotient_plain(SD::select(near, SD::set1(1.0), x), num, den);
        return SD::div(num, den);
    };
    auto large = [&] { return exp_core::table_exp_ha<exp_core::reduce_e>(stirling_plain(SD::max(x, SD::set1(kStirlingFrom)))); };
    switch (SD::movemask(near)) {
        case 0: return small();
        case 3: return large();
        default: return SD::select(near, large(), small());
    }
}

// Valid for -10 < x < 2^1000, x normal and not a negative integer.
QOR_KERNEL_INLINE vd lgamma_plain(vd x) {
    const vd near = lanes::upper_word_above(x, 0x4023FFFF);
    auto small = [&] {
        vd num, den;
        gamma_quotient_plain(SD::select(near, SD::set1(1.0), x), num, den);
        const vd g = SD::abs(SD::div(num, den));
        const vd l = log_core::ln_sum(log_core::pieces<log_core::Accuracy::Medium>(g, SD::set1(0.0)));
        const vd f1 = SD::sub(x, SD::set1(1.0)), f2 = SD::sub(x, SD::set1(2.0));
        const vd tiny = SD::set1(0x1p-20);
        const vd near1 = SD::lt(SD::abs(f1), tiny);
        const vd zero = SD::bit_or(near1, SD::lt(SD::abs(f2), tiny));
        if (SD::movemask(zero) == 0) return l;
        return SD::select(zero, near_zero(SD::select(near1, f1, f2), near1), l);
    };
    auto large = [&] { return stirling_plain(SD::max(x, SD::set1(kStirlingFrom))); };
    switch (SD::movemask(near)) {
        case 0: return small();
        case 3: return large();
        default: return SD::select(near, large(), small());
    }
}

// The double screens and scalar routines; the vector path in double on the
// widened lanes, rounded once.
template <vd (*Vector)(vd), int (*Scalar)(double, double&)>
struct SingleGamma {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    uint32_t positive_limit;  // bits of the float from which the scalar routine takes over
    vf special(vf x) const {
        const vf neg = SF::from_bits(simd::vgt_vi2_vi2_vi2(simd::vzero_vi(), SF::to_bits(x)));
        vf m = SF::bit_or(lanes::magnitude_above(x, positive_limit - 1),
                          SF::bit_and(neg, lanes::magnitude_above(x, 0x411FFFFFu)));  // x <= -10
        m = SF::bit_or(m, lanes::not_positive_normal(SF::abs(x)));
        return SF::bit_or(m, SF::bit_and(neg, SF::eq(x, SF::floor(x))));
    }
    vf operator()(vf x) const {
        x = SF::select(SF::eq(x, SF::set1(0.0f)), SF::set1(1.0f), x);
        return lanes::narrow(Vector(lanes::low_half(x)), Vector(lanes::high_half(x)));
    }
    int fix(float x, float& r) const {
        double y;
        const int code = Scalar(double(flush_subnormal(x)), y);
        r = float(y);
        if (code != QOR_VM_STATUS_OK || !std::isfinite(x)) return code;
        if (std::isinf(r)) return QOR_VM_STATUS_OVERFLOW;
        if (std::fabs(r) < FLT_MIN) return QOR_VM_STATUS_UNDERFLOW;
        return code;
    }
};

}  // namespace qor::vm::gamma
