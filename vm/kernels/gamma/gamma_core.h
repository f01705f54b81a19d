// Building blocks of the gamma kernels, in two-double arithmetic (dd.h).
//
// Near the origin, |x| < 10: with m the nearest integer of x and f = x - m
// (exact, |f| <= 1/2),
//     Gamma(x) = Gamma(1 + f) (1 + f) ... (m - 1 + f)           m >= 1,
//     Gamma(x) = Gamma(1 + f) / ((m + f) (m + 1 + f) ... f)     m <= 0,
// with 1/Gamma(1 + f), an entire function, from a polynomial
// 1 + gamma f + f^2 Q(f) whose three lowest coefficients are pairs and
// whose last three steps run in two-double arithmetic; every factor j + f
// is an exact two-double sum.  The quotient comes out as a numerator and a
// denominator, both pairs good to about 2^-62 relative, so that its
// logarithm is relative-accurate where Gamma is near 1 (lgamma's zeros).
//
// From 10 on, Stirling's formula with the logarithm as an exact big part and
// a small rest:
//     lgamma(x) = x ln x - x - (ln x)/2 + ln(2 pi)/2 + S(1/x^2)/x,
// the large terms summed exactly, S a fit (absolute error below 2^-64).
//
// Left of -10 the reflection Gamma(x) Gamma(1 - x) = pi / sin(pi x), with
// Gamma(1 - x) = y Gamma(y), y = -x, and sin(pi x) as a pair: x is reduced
// exactly to r = x - n, |r| <= 1/2, and sin(pi r) or cos(pi (1/2 - |r|))
// taken from fits on |t| <= 1/4.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <iterator>

#include "../explog/exp_core.h"
#include "../explog/log_core.h"
#include "dd.h"
#include "gamma_coeffs.h"

namespace qor::vm::gamma {

namespace cf = gamma_coeffs;

inline constexpr double kStirlingFrom = 10.0;
inline constexpr double kOne[2] = {1.0, 0.0};

QOR_KERNEL_INLINE DD dd_one() { return {SD::set1(1.0), SD::set1(0.0)}; }

// 1/Gamma(1 + f) for |f| <= 1/2.
QOR_KERNEL_INLINE DD recip_gamma_1p(vd f) {
    DD a{lanes::horner<SD>(f, cf::kRecipQHigh), SD::set1(0.0)};
    a = dd_horner_step(a, f, cf::kRecipQ1);
    a = dd_horner_step(a, f, cf::kRecipQ0);
    a = dd_horner_step(a, f, cf::kEulerGamma);
    return dd_horner_step(a, f, kOne);
}

struct Quotient {
    DD num, den;  // Gamma(x) = num / den
};

// For |x| < 10, x not 0 nor a negative integer.
QOR_KERNEL_INLINE Quotient gamma_quotient(vd x) {
    const vd one = SD::set1(1.0);
    const vd m = SD::nearbyint(x);
    const vd f = SD::sub(x, m);
    const vd up = SD::ge(m, one);
    const vd count = SD::abs(SD::sub(m, one));  // factors: m - 1 above, 1 - m below
    const vd base = SD::select(up, one, m);
    DD p = dd_one();
    vd s = SD::set1(0.0);
    for (vd active = SD::gt(count, s); SD::movemask(active) != 0; active = SD::gt(count, s)) {
        const DD factor = fast_two_sum(SD::add(base, s), f);  // j + f, |j| >= 1 or j = 0
        p = dd_mul(p, dd_select(active, factor, dd_one()));
        s = SD::add(s, one);
    }
    const DD r = recip_gamma_1p(f);
    return {dd_select(up, p, dd_one()), dd_mul(r, dd_select(up, dd_one(), p))};
}

// lgamma(x) for 10 <= x < 2^1000 as hi + lo, |lo| well below ulp(hi).
QOR_KERNEL_INLINE DD stirling(vd x) {
    const log_core::Pieces q = log_core::pieces<log_core::Accuracy::High>(x, SD::set1(0.0));
    const vd big = log_core::big_part(q), small = log_core::small_part(q);
    const DD p = two_prod(x, big);
    // x ln x > x (ln x - 1) > (ln x)/2 + 1 for x >= 10: each sum's first
    // term is the larger.
    const DD s1 = fast_two_sum(p.hi, SD::neg(x));
    const DD s2 = fast_two_sum(s1.hi, SD::mul(SD::set1(-0.5), big));
    const DD s3 = fast_two_sum(s2.hi, SD::set1(cf::kHalfLn2Pi[0]));
    const vd u = SD::div(SD::set1(1.0), x);
    const vd corr = SD::mul(u, lanes::horner<SD>(SD::mul(u, u), cf::kStirling));
    vd tail = SD::add(SD::add(s1.lo, s2.lo), SD::add(s3.lo, p.lo));
    tail = SD::add(tail, SD::add(SD::mul(x, small), SD::mul(SD::set1(-0.5), small)));
    tail = SD::add(tail, SD::add(SD::set1(cf::kHalfLn2Pi[1]), corr));
    return {s3.hi, tail};
}

// e^(hi + lo) = (head + tail) 2^M, M carried in t as exp_core::scale reads it.
struct Scaled {
    vd head, tail;
    vi t;
};

QOR_KERNEL_INLINE Scaled exp_dd(DD a) {
    const exp_core::Reduced red = exp_core::reduce_e(a.hi);
    vd hi, lo;
    exp_core::table_rows(red.t, hi, lo);
    const vd p = exp_core::poly_ha(SD::add(red.r, a.lo), lo);
    return {hi, SD::mul(hi, p), red.t};
}

inline int scaled_exponent(vi t) {
    return int((simd::vget_l_vl<0>(t) - std::bit_cast<int64_t>(exp_core::kShifter)) >> 6);
}

// sin(pi x) as a pair for |x| < 2^52.
QOR_KERNEL_INLINE DD sinpi_dd(vd x) {
    const vd n = SD::nearbyint(x);
    const vd r = SD::sub(x, n);  // exact, |r| <= 1/2
    const vd ar = SD::abs(r);
    const vd use_cos = SD::gt(ar, SD::set1(0.25));
    const vd t = SD::select(use_cos, SD::sub(SD::set1(0.5), ar), r);  // exact
    const vd t2 = SD::mul(t, t);
    DD pt = two_prod(SD::set1(cf::kPi[0]), t);
    pt.lo = SD::add(pt.lo, SD::mul(SD::set1(cf::kPi[1]), t));
    const vd ws = SD::mul(t2, lanes::horner<SD>(t2, cf::kSinPi));
    const DD sine = fast_two_sum(pt.hi, SD::add(pt.lo, SD::mul(pt.hi, ws)));
    // 1 - t^2 C(t^2) with its leading term pi^2/2 t^2 as an exact pair.
    const DD z = two_prod(t, t);
    DD lead = two_prod(SD::set1(cf::kHalfPiSquared[0]), z.hi);
    lead.lo = SD::add(lead.lo, SD::add(SD::mul(SD::set1(cf::kHalfPiSquared[0]), z.lo),
                                       SD::mul(SD::set1(cf::kHalfPiSquared[1]), z.hi)));
    vd rest = SD::set1(cf::kCosPi[0]);
    for (std::size_t k = 1; k + 1 < std::size(cf::kCosPi); ++k) rest = SD::add(SD::mul(rest, z.hi), SD::set1(cf::kCosPi[k]));
    rest = SD::mul(SD::mul(z.hi, z.hi), rest);
    const DD one_less = two_sum(SD::set1(1.0), SD::neg(lead.hi));
    const DD cosine = fast_two_sum(one_less.hi, SD::sub(one_less.lo, SD::add(lead.lo, rest)));
    DD v = dd_select(use_cos, cosine, sine);
    // sin(pi r) takes the sign of r; (-1)^n from the parity of n.
    const vd half = SD::mul(n, SD::set1(0.5));
    const vd odd = SD::neq(half, SD::floor(half));
    vd flip = SD::bit_and(use_cos, sign_of<double>(r));
    flip = SD::bit_xor(flip, SD::bit_and(odd, SD::set1(-0.0)));
    return {SD::bit_xor(v.hi, flip), SD::bit_xor(v.lo, flip)};
}

// ln v for a positive pair v: the exact big part of ln(hi) and the rest.
struct LnPair {
    vd big, small;
};

QOR_KERNEL_INLINE LnPair ln_dd(DD v) {
    const log_core::Pieces q = log_core::pieces<log_core::Accuracy::High>(v.hi, SD::set1(0.0));
    return {log_core::big_part(q), SD::add(log_core::small_part(q), SD::div(v.lo, v.hi))};
}

// ---- plain double arithmetic, for the single-precision kernels ---------------------
// The same formulas without pairs: relative errors near 2^-45, far below
// half an ulp of a float.

QOR_KERNEL_INLINE vd recip_gamma_1p_plain(vd f) {
    vd h = lanes::horner<SD>(f, cf::kRecipQHigh);
    for (const double* c : {cf::kRecipQ1, cf::kRecipQ0, cf::kEulerGamma, kOne}) h = SD::add(SD::mul(h, f), SD::set1(c[0]));
    return h;
}

// Gamma(x) for |x| < 10 (not 0 nor a negative integer) as num / den.
QOR_KERNEL_INLINE void gamma_quotient_plain(vd x, vd& num, vd& den) {
    const vd one = SD::set1(1.0);
    const vd m = SD::nearbyint(x);
    const vd f = SD::sub(x, m);
    const vd up = SD::ge(m, one);
    const vd count = SD::abs(SD::sub(m, one));
    vd factor = SD::add(SD::select(up, one, m), f);
    vd p = one;
    vd s = SD::set1(0.0);
    for (vd active = SD::gt(count, s); SD::movemask(active) != 0; active = SD::gt(count, s)) {
        p = SD::mul(p, SD::select(active, factor, one));
        factor = SD::add(factor, one);
        s = SD::add(s, one);
    }
    const vd r = recip_gamma_1p_plain(f);
    num = SD::select(up, p, one);
    den = SD::select(up, r, SD::mul(r, p));
}

// lgamma(x) for 10 <= x < 2^1000.
QOR_KERNEL_INLINE vd stirling_plain(vd x) {
    const vd ln = log_core::ln_sum(log_core::pieces<log_core::Accuracy::Medium>(x, SD::set1(0.0)));
    const vd u = SD::div(SD::set1(1.0), x);
    const vd corr = SD::mul(u, lanes::horner<SD>(SD::mul(u, u), cf::kStirling));
    const vd main = SD::sub(SD::mul(SD::sub(x, SD::set1(0.5)), ln), x);
    return SD::add(main, SD::add(SD::set1(cf::kHalfLn2Pi[0]), corr));
}

}  // namespace qor::vm::gamma
