// Asinh and Acosh, real: ln(a + sqrt(a^2 + 1)) with a = |x| (the sign of x
// set last) and ln(x + sqrt(x^2 - 1)).
//   double:
//     asinh, a < 1/8: x + x^3 P(x^2), P the Taylor series up to the term of
//       x^14 (HA, LA; the tail stays below 2^-59 of the result) or x^4 (EP).
//     HA and LA (one computation: nothing cheaper keeps the small results
//       within 4 ulp): a^2 (x^2) exact as a pair, a^2 + 1 (x^2 - 1) as a
//       pair, its root as a pair by one corrected step, the sum with a (x)
//       as a pair w, and ln w by the reduction of Ln with the tail of w
//       joined to the small terms (about 0.52 ulp).  Near x = 1 the pair
//       carries x^2 - 1 exactly, so acosh(1 + d) = ln(1 + sqrt(2d) + ...)
//       loses nothing.
//     EP: a^2 + 1 and x^2 - 1 = (x - 1)(x + 1) rounded, w as the pair of
//       the rounded root plus a, and the short logarithm (about 2^-30).
//     Above 2^28 the root equals a (x) to the last bit and w = 2a: the
//       argument of the logarithm is a itself with its exponent raised by
//       one, which keeps the largest doubles finite.
//   single: the double EP computation, rounded once.
// acosh of x < 1 (-inf included) is NaN, code 1 (domain); NaN and the
// infinities give NaN and +-inf (acosh: +inf) without a code.
#pragma once

#include <cmath>
#include <limits>

#include "hyper_core.h"

namespace qor::vm::hyper {

using namespace hyper_core;

// Taylor coefficients of (asinh x - x)/x^3 in x^2, from the term of x^14 down.
inline constexpr double kAsinhTaylor8[8] = {dbl(0x3F87A87878787878ull), dbl(0xBF8C99999999999Aull),
                                            dbl(0x3F91C4EC4EC4EC4Full), dbl(0xBF96E8BA2E8BA2E9ull),
                                            dbl(0x3F9F1C71C71C71C7ull), dbl(0xBFA6DB6DB6DB6DB7ull),
                                            dbl(0x3FB3333333333333ull), dbl(0xBFC5555555555555ull)};
inline constexpr double kAsinhTaylor3[3] = {kAsinhTaylor8[5], kAsinhTaylor8[6], kAsinhTaylor8[7]};

inline constexpr double kRootIsArgument = 0x1p28;  // above it sqrt(a^2 +- 1) rounds to a

// ln(w + k ln 2) for the pair (wh, wl) of each lane, or ln(2a) where `big`.
template <Variant Var>
QOR_KERNEL_INLINE vd ln_of_sum(vd big, vd a, vd wh, vd wl) {
    const vd arg = SD::select(big, a, wh);
    const vd tail = SD::bit_andnot(big, wl);
    const vd k_extra = SD::bit_and(big, SD::set1(1.0));
    if constexpr (Var == Variant::EP) return ln_pair_short(arg, tail, k_extra);
    else return ln_pair(arg, tail, k_extra);
}

template <Variant Var>
QOR_KERNEL_INLINE vd asinh_double(vd x) {
    const vd a = SD::abs(x);
    auto large = [&] {
        const vd big = SD::gt(a, SD::set1(kRootIsArgument));
        const vd am = SD::min(a, SD::set1(kRootIsArgument));
        Pair w;
        if constexpr (Var == Variant::EP) {
            w = fast_two_sum(SD::sqrt(SD::add(SD::mul(am, am), SD::set1(1.0))), am);
        } else {
            const Pair sq = two_prod(am, am);
            const Pair s = two_sum(SD::set1(1.0), sq.hi);
            const Pair root = sqrt_pair(fast_two_sum(s.hi, SD::add(s.lo, sq.lo)));
            w = fast_two_sum(root.hi, am);  // the root exceeds a
            w.lo = SD::add(w.lo, root.lo);
        }
        return SD::copysign(ln_of_sum<Var>(big, a, w.hi, w.lo), x);
    };
    auto small = [&] {
        // the series' sign is that of x (asinh(-0) = -0)
        if constexpr (Var == Variant::EP) return SD::copysign(odd_series(x, kAsinhTaylor3), x);
        else return SD::copysign(odd_series(x, kAsinhTaylor8), x);
    };
    return pick(SD::lt(a, SD::set1(0.125)), small, large);
}

// Valid for x >= 1 (lanes below are taken as 1).
template <Variant Var>
QOR_KERNEL_INLINE vd acosh_double(vd x) {
    x = SD::max(x, SD::set1(1.0));
    const vd big = SD::gt(x, SD::set1(kRootIsArgument));
    const vd xm = SD::min(x, SD::set1(kRootIsArgument));
    Pair w;
    if constexpr (Var == Variant::EP) {
        const vd one = SD::set1(1.0);
        w = fast_two_sum(xm, SD::sqrt(SD::mul(SD::sub(xm, one), SD::add(xm, one))));
    } else {
        const Pair sq = two_prod(xm, xm);
        const Pair s = two_sum(sq.hi, SD::set1(-1.0));
        const Pair root = sqrt_pair(fast_two_sum(s.hi, SD::add(s.lo, sq.lo)));
        w = fast_two_sum(xm, root.hi);  // x exceeds the root
        w.lo = SD::add(w.lo, root.lo);
    }
    return ln_of_sum<Var>(big, x, w.hi, w.lo);
}

// The scalar routines: special arguments, and any other through the vector
// computation of one lane.
template <Variant Var>
inline int asinh_scalar(double x, double& y) {
    if (x != x || std::isinf(x)) y = x + x;
    else y = simd::vget0_d_vd(asinh_double<Var>(SD::set1(x)));
    return QOR_VM_STATUS_OK;
}

template <Variant Var>
inline int acosh_scalar(double x, double& y) {
    if (x != x || x == std::numeric_limits<double>::infinity()) {
        y = x + x;
        return QOR_VM_STATUS_OK;
    }
    if (!(x >= 1.0)) {
        y = std::numeric_limits<double>::quiet_NaN();
        return QOR_VM_STATUS_DOMAIN;
    }
    y = simd::vget0_d_vd(acosh_double<Var>(SD::set1(x)));
    return QOR_VM_STATUS_OK;
}

// Lanes outside [1, inf) for acosh: below 1 (negatives, NaN with the sign
// set), infinities and NaN; judged on the upper words, no flag.
inline vd acosh_screen(vd x) { return upper_word_outside(x, 0x3FF00000, 0x7FEFFFFF); }
inline vf acosh_screen(vf x) { return bits_outside(x, 0x3F800000, 0x7F7FFFFF); }

template <Variant Var>
struct DoubleAsinh {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return SD::isnonfinite(x); }
    vd operator()(vd x) const { return asinh_double<Var>(x); }
    int fix(double x, double& y) const { return asinh_scalar<Var>(x, y); }
};

template <Variant Var>
struct DoubleAcosh {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return acosh_screen(x); }
    vd operator()(vd x) const { return acosh_double<Var>(x); }
    int fix(double x, double& y) const { return acosh_scalar<Var>(x, y); }
};

struct SingleAsinh {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return SF::isnonfinite(x); }
    vf operator()(vf x) const { return through_double(x, asinh_double<Variant::EP>); }
    int fix(float x, float& r) const {
        r = x + x;  // infinities and NaN
        return QOR_VM_STATUS_OK;
    }
};

struct SingleAcosh {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return acosh_screen(x); }
    vf operator()(vf x) const { return through_double(x, acosh_double<Variant::EP>); }
    int fix(float x, float& r) const {
        double y;
        const int code = acosh_scalar<Variant::EP>(double(x), y);
        r = float(y);
        return code;
    }
};

}  // namespace qor::vm::hyper
