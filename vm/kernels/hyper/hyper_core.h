// Building blocks of the hyperbolic kernels, over the exponential and
// logarithm blocks of explog/.
//
// Exact arithmetic without FMA: two-sums, and Dekker's product with heads of
// 26 bits (the product of the two tails, at most 27 bits each, is rounded,
// which leaves the pair within 2^-105 of a * b).
//
// e^a and e^-a together: a = (N/64) ln 2 + r as in the table method of Exp,
// e^a = 2^M hi_j (1 + p(r) + lo_j) and e^-a from the row of -N with p(-r);
// the even and odd parts of p are evaluated once and serve both.
//
// ln of a double-double w = wh + wl: the reduction of Ln applied to wh, with
// wl/wh added to its small terms before the last rounding.
#pragma once

#include "../pair.h"
#include "../explog/exp_core.h"
#include "../explog/log_core.h"
#include "../variant.h"

namespace qor::vm::hyper_core {

using lanes::bits_outside;
using lanes::pick;
using lanes::upper_word_outside;
using pair::fast_two_sum;
using pair::Pair;
using pair::two_prod;
using pair::two_sum;

// sqrt(s.hi + s.lo) as a pair, for s.lo within an ulp of s.hi: one Newton
// step on the rounded root, whose square is formed exactly.  A zero
// argument gives zero (the divisor is kept away from zero).
QOR_KERNEL_INLINE Pair sqrt_pair(Pair s) {
    const vd h = SD::sqrt(s.hi);
    const Pair sq = two_prod(h, h);
    const vd num = SD::add(SD::sub(SD::sub(s.hi, sq.hi), sq.lo), s.lo);
    const vd den = SD::max(SD::add(h, h), SD::set1(0x1p-1000));
    return {h, SD::div(num, den)};
}

// ---- e^a and e^-a by the table method --------------------------------------------
// p(r) = e^r - 1 = odd + even with odd = r + r^3 O(r^2), even = r^2 E(r^2),
// highest degree first.  High: the coefficients of Exp's degree-6 fit (with
// the table's low parts); Medium and Low: its shorter fits of degree 5 and 3
// (relative errors 2^-41.6 and 2^-19.6 of the quadratic part).
enum class Fit { High, Medium, Low };

template <Fit F>
struct ExpFit;
template <>
struct ExpFit<Fit::High> {
    static constexpr double odd[2] = {exp_core::kC4, exp_core::kC2};
    static constexpr double even[3] = {exp_core::kC5, exp_core::kC3, 0.5};
};
template <>
struct ExpFit<Fit::Medium> {
    static constexpr double odd[2] = {exp_core::kQ3[0], exp_core::kQ3[2]};
    static constexpr double even[2] = {exp_core::kQ3[1], exp_core::kQ3[3]};
};
template <>
struct ExpFit<Fit::Low> {
    static constexpr double odd[1] = {exp_core::kQ1[0]};
    static constexpr double even[1] = {exp_core::kQ1[1]};
};

// e^a = up (1 + p_up) and e^-a = down (1 + p_down) with up and down exact:
// 2^M hi_j of N and of -N.  Valid for |a| <= 704 (both scales normal).
struct ExpPair {
    vd up, down, p_up, p_down;
};

template <Fit F>
QOR_KERNEL_INLINE ExpPair exp_pair(vd a) {
    using C = ExpFit<F>;
    const exp_core::Reduced red = exp_core::reduce_e(a);
    const vd shifter = SD::set1(exp_core::kShifter);
    const vd k = SD::sub(simd::vcast_vd_vi(red.t), shifter);
    const vi t_neg = simd::vcast_vi_vd(SD::sub(shifter, k));  // -N in the low bits
    vd hi_up, lo_up, hi_down, lo_down;
    exp_core::table_rows(red.t, hi_up, lo_up);
    exp_core::table_rows(t_neg, hi_down, lo_down);
    const vd r = red.r, r2 = SD::mul(r, r);
    const vd odd = SD::add(r, SD::mul(SD::mul(r, r2), lanes::horner<SD>(r2, C::odd)));
    const vd even = SD::mul(r2, lanes::horner<SD>(r2, C::even));
    ExpPair e;
    e.up = exp_core::scale(hi_up, red.t);
    e.down = exp_core::scale(hi_down, t_neg);
    e.p_up = SD::add(even, odd);
    e.p_down = SD::sub(even, odd);
    if constexpr (F == Fit::High) {
        e.p_up = SD::add(e.p_up, lo_up);
        e.p_down = SD::add(e.p_down, lo_down);
    }
    return e;
}

// e^a - 1 as a pair, for 0 <= a <= 40: 2^M hi_j - 1 exactly (N >= 0, so
// 2^M hi_j >= 1) and 2^M hi_j (p + lo_j) joined to it.  With `Exact`, the
// product with the leading term r of p is formed exactly too, so that the
// pair keeps its relative accuracy however far 2^M hi_j - 1 and the product
// cancel (and for N = 0, where e^a - 1 is p itself).
template <Fit F, bool Exact>
QOR_KERNEL_INLINE Pair expm1_pair(vd a) {
    using C = ExpFit<F>;
    const exp_core::Reduced red = exp_core::reduce_e(a);
    vd hi, lo;
    exp_core::table_rows(red.t, hi, lo);
    const vd r = red.r, r2 = SD::mul(r, r);
    const vd odd_tail = SD::mul(SD::mul(r, r2), lanes::horner<SD>(r2, C::odd));
    const vd even = SD::mul(r2, lanes::horner<SD>(r2, C::even));
    const vd rest = SD::add(SD::add(even, odd_tail), lo);
    const vd up = exp_core::scale(hi, red.t);
    const Pair s = fast_two_sum(up, SD::set1(-1.0));
    if constexpr (Exact) {
        const Pair ur = two_prod(up, r);
        const Pair h = two_sum(s.hi, ur.hi);
        const vd tail = SD::add(SD::add(h.lo, SD::add(s.lo, ur.lo)), SD::mul(up, rest));
        return fast_two_sum(h.hi, tail);
    } else {
        return two_sum(s.hi, SD::add(s.lo, SD::mul(up, SD::add(r, rest))));
    }
}

// ---- logarithm of a pair ------------------------------------------------------------
// ln(wh (1 + rel)) + k_extra ln 2 for positive normal wh and small rel.
QOR_KERNEL_INLINE vd ln_scaled(vd wh, vd rel, vd k_extra) {
    const log_core::Pieces q = log_core::pieces<log_core::Accuracy::High>(wh, SD::sub(SD::set1(0.0), k_extra));
    return log_core::ln_sum(q, rel);
}

// ln(wh + wl) + k_extra ln 2 for positive normal wh and |wl| small beside it.
QOR_KERNEL_INLINE vd ln_pair(vd wh, vd wl, vd k_extra) { return ln_scaled(wh, SD::div(wl, wh), k_extra); }

// The same without the split mantissa and the low parts (about 2^-30
// relative for results away from zero).
QOR_KERNEL_INLINE vd ln_pair_short(vd wh, vd wl, vd k_extra) {
    const log_core::Pieces q = log_core::pieces<log_core::Accuracy::Enhanced>(wh, SD::sub(SD::set1(0.0), k_extra));
    return SD::add(SD::add(SD::mul(q.k, SD::set1(log_core::kLn2Hi)), q.hi),
                   SD::add(q.u, SD::add(q.rrp, SD::div(wl, wh))));
}

// x + x^3 P(x^2), P highest degree first.
template <std::size_t N>
QOR_KERNEL_INLINE vd odd_series(vd x, const double (&p)[N]) {
    const vd x2 = SD::mul(x, x);
    return SD::add(x, SD::mul(SD::mul(x, x2), lanes::horner<SD>(x2, p)));
}

// f on the two halves of a float vector, in double, rounded once.
using exp_core::through_double;

}  // namespace qor::vm::hyper_core
