// Tanh, real: tanh x = E/(E + 2) with E = e^(2a) - 1, a = |x| clamped to 20
// (from 19.07 on the result rounds to 1), the sign of x set last.
//   double:
//     HA: E as an exact-leading pair (hyper_core.h, Exp's degree-6 fit, the table's low
//       parts), E + 2 as a pair, the quotient through one reciprocal, corrected by its
//       exactly formed residual (about 0.51 ulp).  No cancellation: for
//       small a, E is the polynomial in r = 2a itself.
//     LA: E and E + 2 rounded, one division (about 2 ulp; the shorter fit
//       would leave 2^-50 of results near 2^-9).
//     EP: the same with the degree-3 fit (about 2^-29).
//   The table's low parts are kept in every variant: without them 2^M hi_j
//   - 1 would carry an error of 2^-53 against results as small as 2^-7.
//   single: HA is the double LA computation, rounded once; LA and EP use
//     single-precision arithmetic (hyper_single.h).
// Only infinities (+-1) and NaN go to the scalar routine; no codes.
#pragma once

#include <cmath>

#include "hyper_core.h"
#include "hyper_single.h"

namespace qor::vm::hyper {

using namespace hyper_core;

template <Variant Var>
QOR_KERNEL_INLINE vd tanh_double(vd x) {
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
        if constexpr (Var == Variant::HA) return through_double(x, tanh_double<Variant::LA>);
        else return hyper_single::tanh<Var == Variant::LA>(x);
    }
    int fix(float x, float& y) const { return tanh_special(x, y); }
};

}  // namespace qor::vm::hyper
