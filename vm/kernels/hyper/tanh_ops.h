// Tanh, real: tanh x = E/(E + 2) with E = e^(2a) - 1, a = |x| clamped to 20
// (from 19.07 on the result rounds to 1), the sign of x set last.
//   double:
//     HA and LA, a < 1/16: x + x^3 P(x^2), P the Taylor series up to the
//       term of x^12 (the tail stays below 2^-60 of the result): there E is
//       small enough that the fit's absolute error of about 2^-62 would show.
//     HA: E as a pair whose leading terms are exact (hyper_core.h; Exp's
//       degree-6 fit and the table's low parts), E + 2 as a pair, the
//       quotient through one reciprocal, corrected by its exactly formed
//       residual (about 0.53 ulp).
//     LA: E and E + 2 rounded, one division (about 2 ulp; the shorter fit
//       would leave 2^-50 of results near 2^-9).
//     EP: the same with the degree-3 fit (about 2^-29).
//   The table's low parts are kept in every variant: without them 2^M hi_j
//   - 1 would carry an error of 2^-53 against results as small as 2^-7.
//   single: HA in double through Exp's single-precision split, rounded
//     once; LA and EP in single-precision arithmetic (hyper_single.h).
// Only infinities (+-1) and NaN go to the scalar routine; no codes.
#pragma once

#include <cmath>

#include "hyper_core.h"
#include "hyper_single.h"

namespace qor::vm::hyper {

using namespace hyper_core;

// -929569/638512875, ..., 2/15, -1/3: the Taylor coefficients of
// (tanh x - x)/x^3 in x^2.
inline constexpr double kTanhTaylor7[7] = {dbl(0xBF57DA36452B75E3ull), dbl(0x3F6D6D3D0E157DE0ull),
                                           dbl(0xBF8226E355E6C23Dull), dbl(0x3F9664F4882C10FAull),
                                           dbl(0xBFABA1BA1BA1BA1Cull), dbl(0x3FC1111111111111ull),
                                           dbl(0xBFD5555555555555ull)};

template <Variant Var>
QOR_KERNEL_INLINE vd tanh_from_exp(vd x) {
    const vd a = SD::min(SD::abs(x), SD::set1(20.0));
    constexpr Fit F = Var == Variant::EP ? Fit::Low : Fit::High;
    const Pair e = expm1_pair<F, Var == Variant::HA>(SD::add(a, a));
    vd y;
    if constexpr (Var == Variant::HA) {
        Pair d = two_sum(e.hi, SD::set1(2.0));
        d.lo = SD::add(d.lo, e.lo);
        const vd inv = SD::div(SD::set1(1.0), d.hi);
        const vd q = SD::mul(e.hi, inv);  // within 1.5 ulp: the residual corrects it
        const Pair qd = two_prod(q, d.hi);
        const vd res = SD::sub(SD::add(SD::sub(SD::sub(e.hi, qd.hi), qd.lo), e.lo), SD::mul(q, d.lo));
        y = SD::add(q, SD::mul(res, inv));
    } else {
        const vd em1 = SD::add(e.hi, e.lo);
        y = SD::div(em1, SD::add(em1, SD::set1(2.0)));
    }
    return SD::copysign(y, x);
}

template <Variant Var>
QOR_KERNEL_INLINE vd tanh_double(vd x) {
    if constexpr (Var == Variant::EP) {
        return tanh_from_exp<Var>(x);
    } else {
        auto small = [&] { return SD::copysign(odd_series(x, kTanhTaylor7), x); };  // tanh(-0) = -0
        return pick(SD::lt(SD::abs(x), SD::set1(0.0625)), small, [&] { return tanh_from_exp<Var>(x); });
    }
}

// Single HA in double: E = 2^k (2^r - 1) + (2^k - 1) from Exp's
// single-precision split of 2a log2 e (relative error 2^-32 also for small
// a, where k = 0), one path for every a; rounded to single within about
// 0.504 ulp.
QOR_KERNEL_INLINE vd tanh_for_single(vd x) {
    const vd a = SD::min(SD::abs(x), SD::set1(10.0));
    const vd y = SD::mul(SD::add(a, a), SD::set1(exp_core::PlainConstants<double>::log2e));
    const exp_core::Exp2Split s = exp_core::exp2_split(y);
    const vd two_k = lanes::add_exponent(SD::set1(1.0), s.t);
    const vd e = SD::add(SD::mul(two_k, s.p), SD::sub(two_k, SD::set1(1.0)));
    return SD::copysign(SD::div(e, SD::add(e, SD::set1(2.0))), x);
}

template <class T>
inline int tanh_special(T x, T& y) {
    y = x != x ? x + x : std::copysign(T(1), x);
    return QOR_VM_STATUS_OK;
}

template <Variant Var>
struct DoubleTanh {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return SD::isnonfinite(x); }
    vd operator()(vd x) const { return tanh_double<Var>(x); }
    int fix(double x, double& y) const { return tanh_special(x, y); }
};

template <Variant Var>
struct SingleTanh {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return SF::isnonfinite(x); }
    vf operator()(vf x) const {
        if constexpr (Var == Variant::HA) return through_double(x, tanh_for_single);
        else return hyper_single::tanh<Var == Variant::LA>(x);
    }
    int fix(float x, float& y) const { return tanh_special(x, y); }
};

}  // namespace qor::vm::hyper
