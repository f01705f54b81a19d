// Erf, Erfc, Erfcx and CdfNorm, real (methods in erf_core.h).
//   double:
//     HA: the long fits, R and e^(-a^2) as pairs with an exact product of
//       the heads, 1 - erfc and 2 - erfc formed exactly; the last rounding
//       dominates (within about 0.6 ulp).
//     LA: the same fits in plain arithmetic (about 2 ulp).
//     EP: the shorter fits (relative error about 2^-36).
//   single: in double, rounded once: HA and LA with the shorter fits
//     (about 0.51 ulp), EP with the shortest (about 2^-18).
//   Erf:     for |x| >= 1/2 a polynomial of erf itself on one of 56 pieces
//            of [0.5, 6), no exponential (from 5.93 on erf rounds to 1);
//            erf(-0) = -0.
//   Erfc:    2 - erfc(-x) for x <= -1/2; results at and below the normal
//            range (x above 26, 9.1 in single) go to the scalar routine,
//            which rounds a subnormal result once: code 4 for a subnormal
//            or zero result of a finite argument, as Exp reports it.
//   Erfcx:   one kernel (HA) in every slot.  x >= 32 by the asymptotic form
//            A(1/x^2)/x; -1/2 < x < 1/2 as e^(x^2) erfc(x); x <= -1/2 as
//            2 e^(x^2) - erfcx(-x), overflowing (code 3) below -26.63
//            (-9.38 in single); results below the normal range (x above
//            2.5e307, 4.8e37 in single) are code 4.
//   CdfNorm: erfc(z)/2 with z = -x/sqrt 2 formed as a pair in double (its
//            rounding would cost 2 z^2 ulps), so that the left tail keeps
//            its accuracy down to the underflow near -38.5 (-14.2 in
//            single), again code 4.
// NaN gives a quiet NaN, infinities their limits, all without a code.
#pragma once

#include <bit>
#include <cfloat>
#include <cmath>
#include <limits>

#include "../exp_log_loop.h"
#include "../variant.h"
#include "erf_core.h"

namespace qor::vm::erf {

using namespace erf_core;

template <Variant Var>
constexpr Quality double_quality() {
    return Var == Variant::HA ? Quality::High : Var == Variant::LA ? Quality::Fast : Quality::Mid;
}
template <Variant Var>
constexpr Quality single_quality() {
    return Var == Variant::EP ? Quality::Low : Quality::Mid;
}

inline constexpr double kHalf = 0.5;
// -1/sqrt 2 as head and tail.
inline constexpr double kMinusRsqrt2Hi = dbl(0xBFE6A09E667F3BCDull);
inline constexpr double kMinusRsqrt2Lo = dbl(0x3C8BDD3413B26456ull);

// ---- vector paths -------------------------------------------------------------
template <Quality Q>
QOR_KERNEL_INLINE vd erf_double(vd x) {
    const vd a = SD::abs(x);
    return pick(SD::lt(a, SD::set1(kHalf)), [&] { return erf_small<Q>(x); },
                [&] { return SD::copysign(erf_direct<Q>(SD::min(a, SD::set1(6.0))), x); });
}

// erfc(z + zl) for z <= 26, as 2 - erfc(-z) for negative z; CdfNorm passes
// a tail.
template <Quality Q, bool WithTail = false>
QOR_KERNEL_INLINE vd erfc_double(vd z, vd zl = SD::set1(0.0)) {
    const vd a = SD::abs(z);
    return pick(SD::lt(a, SD::set1(kHalf)), [&] {
        const Pair s = erfc_small<Q, WithTail>(z, zl);
        return SD::add(s.hi, s.lo);
    }, [&] {
        const vd b = SD::min(a, SD::max(z, SD::set1(6.0)));  // erfc(z) = 2 from z = -6 on
        const vd negative = SD::lt(z, SD::set1(0.0));
        vd bl = zl;
        if constexpr (WithTail) bl = SD::bit_xor(zl, SD::bit_and(negative, SD::set1(-0.0)));
        const Pair e = erfc_large_scaled<Q, WithTail>(b, bl);
        const Pair d = fast_two_sum(SD::set1(2.0), SD::neg(e.hi));
        return SD::select(negative, SD::add(d.hi, SD::sub(d.lo, e.lo)), SD::add(e.hi, e.lo));
    });
}

// z = -x/sqrt 2 as a pair.
template <Quality Q>
QOR_KERNEL_INLINE Pair minus_x_over_sqrt2(vd x) {
    if constexpr (Q == Quality::High || Q == Quality::Fast) {
        const Pair p = two_prod(x, SD::set1(kMinusRsqrt2Hi));
        return fast_two_sum(p.hi, SD::add(p.lo, SD::mul(x, SD::set1(kMinusRsqrt2Lo))));
    } else {
        return {SD::mul(x, SD::set1(kMinusRsqrt2Hi)), SD::set1(0.0)};
    }
}

template <Quality Q>
QOR_KERNEL_INLINE vd cdfnorm_double(vd x) {
    const Pair z = minus_x_over_sqrt2<Q>(x);
    constexpr bool tail = Q == Quality::High || Q == Quality::Fast;
    return SD::mul(erfc_double<Q, tail>(z.hi, z.lo), SD::set1(kHalf));
}

// 2^-M of the pattern t, for M in [0, 1023] (+0 for 1023).
QOR_KERNEL_INLINE vd inverse_power_of_two(vi t) {
    const vi field = simd::vsll_vl_vl_i(simd::vsrl_vl_vl_i(t, 6), 52);
    return simd::vcast_vd_vi(simd::vsub_vl_vl_vl(simd::vcast_vi_vd(SD::set1(1.0)), field));
}

// Erfcx for x >= -26.5 (double) and x <= 2^1000.
template <Quality Q>
QOR_KERNEL_INLINE vd erfcx_double(vd x) {
    constexpr bool pairs = Q == Quality::High;
    const vd a = SD::abs(x);
    const vd small = SD::lt(a, SD::set1(kHalf)), negative = SD::le(x, SD::set1(-kHalf));
    const vd asymptotic = SD::ge(x, SD::set1(32.0));
    const int ms = SD::movemask(small), mn = SD::movemask(negative), ma = SD::movemask(asymptotic);
    vd y = SD::set1(0.0);
    if ((ms | ma) != 3) {  // some lane in the pieces: x in [0.5, 32) or x <= -0.5
        const vd b = SD::min(a, SD::set1(32.0));
        const Pair r = erfcx_pieces<Q>(b);
        y = SD::add(r.hi, r.lo);
        if (mn) {
            // 2 e^(a^2) - R = (2 E - R 2^-M) 2^M with e^(a^2) = E 2^M.
            const Scaled e = exp_square<Q, false>(SD::min(b, SD::set1(26.7)));
            const vd down = inverse_power_of_two(e.t);
            const Pair d = fast_two_sum(SD::add(e.v.hi, e.v.hi), SD::neg(SD::mul(r.hi, down)));
            const vd lo = SD::sub(SD::add(d.lo, SD::add(e.v.lo, e.v.lo)), SD::mul(r.lo, down));
            y = SD::select(negative, SD::mul(SD::add(d.hi, lo), power_of_two(e.t)), y);
        }
    }
    if (ms) {
        const vd xs = SD::bit_and(small, x);
        const Scaled e = exp_square<Q, false>(xs);  // M = 0: x^2 < 1/4
        const Pair c = erfc_small<Q>(xs);
        const vd v = pairs ? [&] { const Pair p = mul_pairs(e.v, c); return SD::add(p.hi, p.lo); }()
                           : SD::mul(e.v.hi, SD::add(c.hi, c.lo));
        y = SD::select(small, v, y);
    }
    if (ma) y = SD::select(asymptotic, erfcx_asymptotic<Q>(SD::max(x, SD::set1(32.0))), y);
    return y;
}

// ---- scalar routines ---------------------------------------------------------------
inline double lane0(vd v) { return simd::vget0_d_vd(v); }

// The exponent M of a pattern of exp_core.
inline int exponent_of(vi t) {
    return int((simd::vget_l_vl<0>(t) - std::bit_cast<int64_t>(exp_core::kShifter)) >> 6);
}

// (head + tail) 2^m rounded once, normal or not; m >= -1080.
inline double scale_once(double head, double tail, int m) {
    const double s = head + tail;
    if (std::ilogb(s) + m >= -1021) return s * exp_core::pow2i(m + 64) * 0x1p-64;
    return exp_core::scale_sum_tiny(head, tail, m);
}

inline int tiny_code(double y) { return y < DBL_MIN ? QOR_VM_STATUS_UNDERFLOW : QOR_VM_STATUS_OK; }

// erfc(a + al)/2^h for 26 <= a: the tail near and below the normal range.
template <Quality Q, bool WithTail = false>
int erfc_tail_scalar(double a, double al, int h, double& y) {
    if (a > 27.3) {
        y = 0.0;
        return QOR_VM_STATUS_UNDERFLOW;
    }
    const Scaled s = erfc_large<Q, WithTail>(SD::set1(a), SD::set1(al));
    y = scale_once(lane0(s.v.hi), lane0(s.v.lo), exponent_of(s.t) - h);
    return tiny_code(y);
}

template <Quality Q>
int erf_scalar(double x, double& y) {
    if (std::isnan(x)) y = x + x;
    else if (std::isinf(x)) y = std::copysign(1.0, x);
    else y = lane0(erf_double<Q>(SD::set1(x)));
    return QOR_VM_STATUS_OK;
}

template <Quality Q>
int erfc_scalar(double x, double& y) {
    if (std::isnan(x) || x == std::numeric_limits<double>::infinity()) {
        y = x == x ? 0.0 : x + x;
        return QOR_VM_STATUS_OK;
    }
    if (x > 26.0) return erfc_tail_scalar<Q>(x, 0.0, 0, y);
    y = x < -26.0 ? 2.0 : lane0(erfc_double<Q>(SD::set1(x)));
    return QOR_VM_STATUS_OK;
}

template <Quality Q>
int cdfnorm_scalar(double x, double& y) {
    if (std::isnan(x)) {
        y = x + x;
        return QOR_VM_STATUS_OK;
    }
    if (x == -std::numeric_limits<double>::infinity()) {
        y = 0.0;
        return QOR_VM_STATUS_OK;
    }
    if (x < -36.0) {
        const Pair z = minus_x_over_sqrt2<Q>(SD::set1(x));
        constexpr bool tail = Q == Quality::High || Q == Quality::Fast;
        return erfc_tail_scalar<Q, tail>(lane0(z.hi), lane0(z.lo), 1, y);
    }
    y = x > 36.0 ? 1.0 : lane0(cdfnorm_double<Q>(SD::set1(x)));
    return QOR_VM_STATUS_OK;
}

inline constexpr double kErfcxOverflowBelow = -26.628735713751489;

template <Quality Q>
int erfcx_scalar(double x, double& y) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    if (std::isnan(x)) {
        y = x + x;
        return QOR_VM_STATUS_OK;
    }
    if (std::isinf(x)) {
        y = x > 0 ? 0.0 : inf;
        return QOR_VM_STATUS_OK;
    }
    if (x < kErfcxOverflowBelow) {
        y = inf;
        return QOR_VM_STATUS_OVERFLOW;
    }
    if (x > 0x1p1000) {  // A(1/x^2) = A(0) to far below an ulp
        y = tab::kAsymHigh[0] / x;
        return tiny_code(y);
    }
    y = lane0(erfcx_double<Q>(SD::set1(x)));
    return y == inf ? QOR_VM_STATUS_OVERFLOW : QOR_VM_STATUS_OK;
}

// Status of a single result computed in double from a finite argument.
inline int single_code(float x, float r) {
    if (!std::isfinite(x)) return QOR_VM_STATUS_OK;
    if (std::isinf(r)) return QOR_VM_STATUS_OVERFLOW;
    return std::fabs(r) < FLT_MIN ? QOR_VM_STATUS_UNDERFLOW : QOR_VM_STATUS_OK;
}

// ---- Ops -------------------------------------------------------------------------------
enum class Fn { Erf, Erfc, Erfcx, CdfNorm };

// Lanes for the scalar routine of each function (double).
template <Fn F>
QOR_KERNEL_INLINE vd double_special(vd x) {
    if constexpr (F == Fn::Erf) return SD::isnonfinite(x);
    else if constexpr (F == Fn::Erfc) return lanes::upper_word_above(x, 0x403A0000);    // |x| > 26
    else if constexpr (F == Fn::CdfNorm) return lanes::upper_word_above(x, 0x40420000);  // |x| > 36
    else {
        const vd low = Bits<double>::int_greater(SD::neg(x), SD::set1(26.5));  // x < -26.5, -inf, NaN
        const vd high = Bits<double>::int_greater(x, SD::set1(0x1p1000));       // x > 2^1000, +inf, NaN
        return SD::bit_or(low, high);
    }
}

template <Fn F, Quality Q>
QOR_KERNEL_INLINE vd double_value(vd x) {
    if constexpr (F == Fn::Erf) return erf_double<Q>(x);
    else if constexpr (F == Fn::Erfc) return erfc_double<Q>(x);
    else if constexpr (F == Fn::CdfNorm) return cdfnorm_double<Q>(x);
    else return erfcx_double<Q>(x);
}

template <Fn F, Quality Q>
int double_scalar(double x, double& y) {
    if constexpr (F == Fn::Erf) return erf_scalar<Q>(x, y);
    else if constexpr (F == Fn::Erfc) return erfc_scalar<Q>(x, y);
    else if constexpr (F == Fn::CdfNorm) return cdfnorm_scalar<Q>(x, y);
    else return erfcx_scalar<Q>(x, y);
}

template <Fn F, Variant Var>
struct DoubleErf {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return double_special<F>(x); }
    vd operator()(vd x) const { return double_value<F, double_quality<Var>()>(x); }
    int fix(double x, double& y) const { return double_scalar<F, double_quality<Var>()>(x, y); }
};

// Single precision: the screens at the thresholds of float results.
template <Fn F>
QOR_KERNEL_INLINE vf single_special(vf x) {
    if constexpr (F == Fn::Erf) return SF::isnonfinite(x);
    else if constexpr (F == Fn::Erfc) return lanes::magnitude_above(x, 0x41100000u);    // |x| > 9
    else if constexpr (F == Fn::CdfNorm) return lanes::magnitude_above(x, 0x414C0000u);  // |x| > 12.75
    else {
        const vf low = Bits<float>::int_greater(SF::neg(x), SF::set1(9.25f));  // x < -9.25, -inf, NaN
        const vf high = Bits<float>::int_greater(x, SF::set1(0x1p120f));       // x > 2^120, +inf, NaN
        return SF::bit_or(low, high);
    }
}

template <Fn F, Variant Var>
struct SingleErf {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return single_special<F>(x); }
    vf operator()(vf x) const {
        constexpr Quality Q = single_quality<Var>();
        return lanes::narrow(double_value<F, Q>(lanes::low_half(x)), double_value<F, Q>(lanes::high_half(x)));
    }
    int fix(float x, float& r) const {
        double y;
        const int code = double_scalar<F, Quality::High>(double(flush_subnormal(x)), y);
        r = float(y);
        return code == QOR_VM_STATUS_OK ? single_code(x, r) : code;
    }
};

}  // namespace qor::vm::erf
