// Complex Exp and CIS.
//
// e^(x + iy) = e^x cos y + i e^x sin y.  e^x comes from the table method of
// Exp as an unrounded pair 2^M (hi + hi p), sin y and cos y from the exact
// reduction of the real kernels as pairs (about 2^-60 relative); each part
// is their product rounded once, then scaled by 2^M: about 0.5 ulp plus
// 2^-58 relative, in double and, through double, in single precision.
// CIS(y) = cos y + i sin y is the real SinCos kernel's steps (about 0.6
// ulp in double, 0.5 in single precision).
//
// The vector path takes |x| <= 600 (the scale stays normal whatever the
// product) and |y| < 2^19; the scalar routine takes the rest: the scale
// applied last by ldexp (results near the overflow threshold stay finite,
// results below the normal range are rounded twice), huge |y| reduced by the
// bits of 2/pi, and the special values of C's cexp (signed zeros, infinities
// and NaN).  Finite arguments with an infinite part report overflow, with a
// part below the normal range (subnormal or zero; the imaginary part of a
// real argument is an exact zero) underflow, as the real exponential does;
// an infinite y with finite x (NaN parts) reports a domain error, as the
// real sine does.  Single precision: one kernel for every slot; double: LA
// shares the HA kernel, EP rounds e^x, cos y and sin y before the products
// (exp_lanes_plain).
#pragma once

#include "../trig/trig_ops.h"
#include "complex_planar.h"

namespace qor::vm::complex {

// e^x cis y on lanes the screen let through.
QOR_KERNEL_INLINE ZD exp_lanes(vd x, vd y, vd& mark) {
    mark = SD::bit_or(Bits<double>::int_greater(SD::abs(x), SD::set1(600.0)), trig_outside(y));
    x = SD::bit_andnot(mark, x);
    y = SD::bit_andnot(mark, y);
    const ExpParts e = exp_parts(x);
    const SinCos t = sincos_lanes(y);
    const vd s = exp_scale(e.t);
    return {SD::mul(mul_round(e.e, t.c), s), SD::mul(mul_round(e.e, t.s), s)};
}

// e^x cis y for finite x and y.
inline void exp_finite(double x, double y, double& u, double& v) {
    x = std::fmin(std::fmax(x, -2000.0), 2000.0);  // beyond: 0 or infinity whatever the angle
    const ExpParts e = exp_parts(splat(x));
    const SinCos t = sincos_any(y);
    const int m = exp_m(e.t);
    u = scaled_product(e.e, t.c, m);
    v = scaled_product(e.e, t.s, m);
}

// C's cexp, every argument.
inline int exp_scalar(double x, double y, double& u, double& v) {
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    if (std::isfinite(x) && std::isfinite(y)) {
        exp_finite(x, y, u, v);
    } else if (std::isnan(x)) {
        u = nan;
        v = y == 0 ? y : nan;  // NaN + i0 keeps the zero
    } else if (std::isfinite(x)) {  // y infinite or NaN
        u = v = nan;
    } else if (x < 0) {  // -inf: +0 cis y, zeros for an infinite or NaN y
        if (std::isfinite(y)) {
            const SinCos t = sincos_any(y);
            u = 0.0 * lane0(sum(t.c));
            v = 0.0 * lane0(sum(t.s));
        } else {
            u = 0.0;
            v = std::copysign(0.0, y);
        }
    } else if (y == 0) {  // +inf + i0
        u = inf;
        v = y;
    } else if (std::isfinite(y)) {  // +inf cis y
        const SinCos t = sincos_any(y);
        u = inf * lane0(sum(t.c));
        v = inf * lane0(sum(t.s));
    } else {  // +inf with infinite or NaN y
        u = inf;
        v = nan;
    }
    return QOR_VM_STATUS_OK;
}

// EP: the same steps with e^x and the sine and cosine each rounded before
// their product (about 2 ulp).
QOR_KERNEL_INLINE ZD exp_lanes_plain(vd x, vd y, vd& mark) {
    mark = SD::bit_or(Bits<double>::int_greater(SD::abs(x), SD::set1(600.0)), trig_outside(y));
    x = SD::bit_andnot(mark, x);
    y = SD::bit_andnot(mark, y);
    const ExpParts e = exp_parts(x);
    const SinCos t = sincos_lanes(y);
    const vd m = SD::mul(sum(e.e), exp_scale(e.t));
    return {SD::mul(m, sum(t.c)), SD::mul(m, sum(t.s))};
}

template <class Real, bool Plain = false>
struct ExpOp {
    using C = PlanarOf<Real>;
    using Mask = Real;
    static constexpr bool reads_mode = true;
    QOR_KERNEL_INLINE CV<Real> operator()(CV<Real> a, RV<Real>& m) const {
        using S = simd::Simd<Real>;
        const CV<Real> r = map_cc<Real>(a, m, [](ZD z, vd& mark) __attribute__((always_inline)) {
            if constexpr (Plain) return exp_lanes_plain(z.re, z.im, mark);
            else return exp_lanes(z.re, z.im, mark);
        });
        // Parts below the normal range go to the scalar routine, which reports them.
        const RV<Real> im_tiny = S::bit_andnot(S::eq(a.im, S::set1(Real(0))), below_normal<Real>(r.im));
        m = S::bit_or(m, S::bit_or(below_normal<Real>(r.re), im_tiny));
        return r;
    }
    // cos y and sin y are not zero for any y but sin 0: a part below the
    // normal range from finite arguments is an underflow.
    int fix(const C& a, C& r) const {
        const int code = fix_cc(a, r, exp_scalar);
        return with_underflow(code, finite2(a.re, a.im), true, a.im != 0, r.re, r.im);
    }
};

// cos y + i sin y; an infinite y gives NaN parts and a domain error.
inline int cis_scalar(double y, double& u, double& v) {
    if (!std::isfinite(y)) {
        u = v = std::numeric_limits<double>::quiet_NaN();
        return std::isinf(y) ? QOR_VM_STATUS_DOMAIN : QOR_VM_STATUS_OK;
    }
    const SinCos t = sincos_any(y);
    u = lane0(sum(t.c));
    v = lane0(sum(t.s));
    return QOR_VM_STATUS_OK;
}

template <class Real>
struct CisOp {
    using C = PlanarOf<Real>;
    using Mask = Real;
    static constexpr bool reads_mode = true;
    QOR_KERNEL_INLINE CV<Real> operator()(RV<Real> y, RV<Real>& m) const {
        // The steps of the real SinCos kernel (single precision in double,
        // rounded once).
        std::conditional_t<std::is_same_v<Real, float>, trig::SingleSinCos<Variant::HA>, trig::DoubleSinCos<Variant::HA>>
            sincos;
        RV<Real> s, c;
        sincos(y, s, c);
        m = sincos.special(y, s, c);
        return {c, s};
    }
    int fix(Real y, C& r) const {
        double u, v;
        const int code = cis_scalar(y, u, v);
        r.re = Real(u);
        r.im = Real(v);
        return code;
    }
};

}  // namespace qor::vm::complex
