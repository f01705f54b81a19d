// I0 and I1, the modified Bessel functions of the first kind (I0 even, I1
// odd); one kernel per row serves all three accuracy slots.
//   |x| < 8: the power series in t = x^2/4 (t a pair, x^2 exact), all of
//     its terms positive: the first eight coefficients 1/(k!)^2 (or
//     1/(k! (k+1)!)) as pairs in two-double Horner steps, the rest a fit of
//     the tail; I1 = x/2 times its sum, the product exact before the one
//     rounding (within about 0.55 ulp measured).
//   |x| >= 8: e^|x| / sqrt(2 pi |x|) (1 + u g(u)), u = 1/|x|, g a fit; the
//     exponential of |x| - ln sqrt(2 pi) as a head and a tail with its
//     power of two apart, divided by sqrt|x| as a pair, scaled last, so
//     that nothing overflows before the end (within 0.55 ulp for I0 and
//     0.71 for I1, measured over a million arguments).
//   single: the same formulas in plain double arithmetic on the widened
//     lanes, rounded once; the scalar routine is the double one.
// Above about 713.99 (double) or 91.90 (single) the result overflows:
// infinity, code 3.  I1 of a tiny argument is x/2; a subnormal result is
// code 4.  I0(+-inf) = +inf, I1(+-inf) = +-inf; NaN gives a quiet NaN.
#pragma once

#include <cfloat>
#include <cmath>
#include <iterator>
#include <limits>

#include "gamma_core.h"

namespace qor::vm::besseli {

using gamma::DD;
namespace cf = gamma_coeffs;

template <int Order>
struct Coefficients;
template <>
struct Coefficients<0> {
    static constexpr const auto& head = cf::kI0Head;
    static constexpr const auto& tail = cf::kI0Tail;
    static constexpr const auto& asym = cf::kI0Asym;
};
template <>
struct Coefficients<1> {
    static constexpr const auto& head = cf::kI1Head;
    static constexpr const auto& tail = cf::kI1Tail;
    static constexpr const auto& asym = cf::kI1Asym;
};

// a * (x.hi + x.lo) + c with a two-double accumulator.
QOR_KERNEL_INLINE DD horner_step(DD a, DD x, const double (&c)[2]) {
    const DD p = gamma::two_prod(a.hi, x.hi);
    const DD s = gamma::two_sum(p.hi, SD::set1(c[0]));
    vd lo = SD::add(p.lo, SD::add(SD::mul(a.lo, x.hi), SD::mul(a.hi, x.lo)));
    lo = SD::add(SD::add(s.lo, lo), SD::set1(c[1]));
    return gamma::fast_two_sum(s.hi, lo);
}

// |x| < 8, |x| >= 2^-500.
template <int Order>
QOR_KERNEL_INLINE vd series(vd x) {
    using C = Coefficients<Order>;
    DD t = gamma::two_prod(x, x);
    t = {SD::mul(t.hi, SD::set1(0.25)), SD::mul(t.lo, SD::set1(0.25))};
    DD s{lanes::horner<SD>(t.hi, C::tail), SD::set1(0.0)};
    for (const auto& c : C::head) s = horner_step(s, t, c);
    if constexpr (Order == 0) {
        return SD::add(s.hi, s.lo);
    } else {
        const DD p = gamma::two_prod(x, s.hi);
        return SD::mul(SD::add(p.hi, SD::add(p.lo, SD::mul(x, s.lo))), SD::set1(0.5));
    }
}

// sum c_k T_k(v) by Clenshaw's recurrence, c from the highest degree down;
// the first `skip` (highest) terms left out.
template <std::size_t Skip = 0, std::size_t N>
QOR_KERNEL_INLINE vd clenshaw(vd v, const double (&c)[N]) {
    const vd v2 = SD::add(v, v);
    vd b1 = SD::set1(0.0), b2 = SD::set1(0.0);
    for (std::size_t k = Skip; k + 1 < N; ++k) {
        const vd b = SD::add(SD::sub(SD::mul(v2, b1), b2), SD::set1(c[k]));
        b2 = b1;
        b1 = b;
    }
    return SD::add(SD::sub(SD::mul(v, b1), b2), SD::set1(c[N - 1]));
}

// |x| >= 8: the result's magnitude as (head + tail) 2^M.
template <int Order>
QOR_KERNEL_INLINE gamma::Scaled asymptotic(vd ax) {
    using C = Coefficients<Order>;
    const vd u = SD::div(SD::set1(1.0), ax);
    const vd w = SD::mul(u, clenshaw(SD::sub(SD::mul(u, SD::set1(16.0)), SD::set1(1.0)), C::asym));
    const DD a = gamma::two_sum(ax, SD::set1(-cf::kLnSqrt2Pi[0]));
    const gamma::Scaled e = gamma::exp_dd({a.hi, SD::sub(a.lo, SD::set1(cf::kLnSqrt2Pi[1]))});
    const DD n = gamma::fast_two_sum(e.head, e.tail);  // e^... 2^-M as a pair
    const vd nl = SD::add(n.lo, SD::mul(n.hi, w));      // numerator n.hi + nl
    const vd r = SD::sqrt(ax);
    const DD rr = gamma::two_prod(r, r);
    const vd rl = SD::div(SD::sub(SD::sub(ax, rr.hi), rr.lo), SD::add(r, r));  // sqrt|x| = r + rl
    const vd q = SD::div(n.hi, r);
    const DD qr = gamma::two_prod(q, r);
    const vd rem = SD::add(SD::sub(SD::sub(n.hi, qr.hi), qr.lo), SD::sub(nl, SD::mul(q, rl)));
    return {q, SD::div(rem, r), e.t};
}

// Valid for 2^-500 <= |x| <= 700.
template <int Order>
QOR_KERNEL_INLINE vd besseli_vector(vd x) {
    const vd ax = SD::abs(x);
    const vd far = lanes::upper_word_above(x, 0x401FFFFF);  // |x| >= 8
    auto small = [&] { return series<Order>(SD::select(far, SD::set1(1.0), x)); };
    auto large = [&] {
        const gamma::Scaled s = asymptotic<Order>(SD::max(ax, SD::set1(8.0)));
        const vd v = exp_core::scale(SD::add(s.head, s.tail), s.t);
        return Order == 0 ? v : SD::bit_or(v, sign_of<double>(x));
    };
    switch (SD::movemask(far)) {
        case 0: return small();
        case 3: return large();
        default: return SD::select(far, large(), small());
    }
}

template <int Order>
int besseli_scalar(double x, double& y) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    x = flush_subnormal(x);
    const double ax = std::fabs(x);
    if (std::isnan(x)) {
        y = x + x;
        return QOR_VM_STATUS_OK;
    }
    if (ax == inf) {
        y = Order == 0 ? inf : x;
        return QOR_VM_STATUS_OK;
    }
    if (ax < 0x1p-500) {  // 1 + x^2/4 or x/2 (1 + x^2/8), the rest below half an ulp
        y = Order == 0 ? 1.0 : x * 0.5;
        return (Order == 1 && x != 0.0 && ax < 2 * DBL_MIN) ? QOR_VM_STATUS_UNDERFLOW : QOR_VM_STATUS_OK;
    }
    if (ax <= 700.0) {
        y = simd::vget0_d_vd(besseli_vector<Order>(SD::set1(x)));
        return QOR_VM_STATUS_OK;
    }
    if (ax > 714.0) {
        y = Order == 0 ? inf : std::copysign(inf, x);
        return QOR_VM_STATUS_OVERFLOW;
    }
    const gamma::Scaled s = asymptotic<Order>(SD::set1(ax));
    const double v = simd::vget0_d_vd(SD::add(s.head, s.tail));
    y = std::copysign(v * exp_core::pow2i(gamma::scaled_exponent(s.t) - 8) * 256.0, Order == 0 ? 1.0 : x);
    return std::isinf(y) ? QOR_VM_STATUS_OVERFLOW : QOR_VM_STATUS_OK;
}

template <int Order>
struct DoubleBesselI {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const {
        const vd ax = SD::abs(x);
        return SD::bit_or(lanes::upper_word_above(x, 0x4085E000 - 1),  // |x| > 700 (a little below), inf, NaN
                          SD::from_bits(simd::vgt_vl_vl_vl(SD::to_bits(SD::set1(0x1p-500)), SD::to_bits(ax))));
    }
    vd operator()(vd x) const { return besseli_vector<Order>(x); }
    int fix(double x, double& y) const { return besseli_scalar<Order>(x, y); }
};

// Plain double arithmetic for the single-precision kernels (relative
// errors near 2^-48), valid for |x| <= 88: the series in t = x^2/4 (exact
// for a float x), or e^|x| / sqrt(2 pi |x|) (1 + u g(u)).
template <int Order>
QOR_KERNEL_INLINE vd besseli_plain(vd x) {
    using C = Coefficients<Order>;
    const vd ax = SD::abs(x);
    const vd far = lanes::upper_word_above(x, 0x401FFFFF);  // |x| >= 8
    auto small = [&] {
        const vd xs = SD::select(far, SD::set1(1.0), x);
        const vd t = SD::mul(SD::mul(xs, xs), SD::set1(0.25));
        vd s = lanes::horner<SD>(t, C::tail);
        for (const auto& c : C::head) s = SD::add(SD::mul(s, t), SD::set1(c[0]));
        return Order == 0 ? s : SD::mul(SD::mul(xs, SD::set1(0.5)), s);
    };
    auto large = [&] {
        const vd a = SD::max(ax, SD::set1(8.0));
        const vd u = SD::div(SD::set1(1.0), a);
        // The terms of degree 11 and up stay below 2^-35.
        constexpr std::size_t skip = std::size(C::asym) - 11;
        const vd w = SD::mul(u, clenshaw<skip>(SD::sub(SD::mul(u, SD::set1(16.0)), SD::set1(1.0)), C::asym));
        const vd e = exp_core::table_exp_ha<exp_core::reduce_e>(SD::sub(a, SD::set1(cf::kLnSqrt2Pi[0])));
        const vd v = SD::div(SD::add(e, SD::mul(e, w)), SD::sqrt(a));
        return Order == 0 ? v : SD::bit_or(v, sign_of<double>(x));
    };
    switch (SD::movemask(far)) {
        case 0: return small();
        case 3: return large();
        default: return SD::select(far, large(), small());
    }
}

template <int Order>
struct SingleBesselI {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const {
        return SF::bit_or(lanes::magnitude_above(x, 0x42B00000u),  // |x| > 88, inf, NaN
                          lanes::not_positive_normal(SF::abs(x)));
    }
    vf operator()(vf x) const {
        return lanes::narrow(besseli_plain<Order>(lanes::low_half(x)), besseli_plain<Order>(lanes::high_half(x)));
    }
    int fix(float x, float& r) const {
        double y;
        x = flush_subnormal(x);
        const int code = besseli_scalar<Order>(double(x), y);
        r = float(y);
        if (code != QOR_VM_STATUS_OK || !std::isfinite(x)) return code;
        if (std::isinf(r)) return QOR_VM_STATUS_OVERFLOW;
        if (x != 0.0f && std::fabs(r) < FLT_MIN) return QOR_VM_STATUS_UNDERFLOW;
        return code;
    }
};

}  // namespace qor::vm::besseli
