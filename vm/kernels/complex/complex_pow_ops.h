// Complex Pow and Powx: z^w = e^(w ln z) on the principal branch of ln.
//
// ln z is the pair of Ln: ln|z| to about 2^-70 relative and arg z to about
// 2^-60; w ln z is formed with Dekker's exact products and kept as a pair
// t = tr + i ti; the result is e^tr cis ti by the steps of Exp, both pairs
// entering the reductions (e^tr from the table method with the low part of
// tr added to the reduced argument, ti reduced exactly and its low part
// added to the remainder), one rounding per part, then the scale.  The
// error is about 0.5 ulp plus |t| 2^-60 relative: within 1 ulp while |w ln
// z| stays below about 2^6 (larger exponents are ill conditioned: the
// result's phase moves by |t| times the error of the arguments).
//
// The vector path takes z whose larger part lies in [2^-450, 2^450] (with
// the angles Atan2's vector path takes), finite w, |tr| <= 600 and |ti| <
// 2^19.  The scalar routine scales z by a power of two, applies the final
// scale last and takes the special cases: z^0 = 1 for every z; 0^w = +0 for
// re w > 0, an infinity with a singularity reported for real w < 0, NaN
// otherwise; infinities and NaN through Ln, C's product rule and Exp.
// Finite arguments with an infinite part report overflow.  Single precision
// is the same in double, rounded once; one kernel per row serves every
// accuracy slot.  Powx is Pow with the same w for every element.
#pragma once

#include "complex_exp_ops.h"
#include "complex_log_ops.h"
#include "complex_mul_ops.h"

namespace qor::vm::complex {

QOR_KERNEL_INLINE Pair times(vd y, Pair l) {
    const pow_core::DD p = pow_core::mul_dd(y, {l.hi, l.lo});
    return {p.hi, p.lo};
}

QOR_KERNEL_INLINE Pair add_normalised(Pair a, Pair b) {
    const Pair s = pair::two_sum(a.hi, b.hi);
    return pair::fast_two_sum(s.hi, SD::add(s.lo, SD::add(a.lo, b.lo)));
}

// t = w (lr + i li)
QOR_KERNEL_INLINE void exponent_pairs(vd wr, vd wi, Pair lr, Pair li, Pair& tr, Pair& ti) {
    const Pair b = times(wi, li);
    tr = add_normalised(times(wr, lr), {SD::neg(b.hi), SD::neg(b.lo)});
    ti = add_normalised(times(wr, li), times(wi, lr));
}

QOR_KERNEL_INLINE ZD pow_lanes(ZD z, ZD w, vd& mark) {
    vd x = z.re, y = z.im;
    const vd one = SD::set1(1.0), zero = SD::set1(0.0);
    const vd far = SD::bit_or(ln_outside(x, y), SD::bit_or(SD::isnonfinite(w.re), SD::isnonfinite(w.im)));
    x = SD::select(far, one, x);
    y = SD::select(far, one, y);
    const Pair lr = ln_abs(x, y), li = arg_pair(x, y);
    Pair tr, ti;
    exponent_pairs(SD::bit_andnot(far, w.re), SD::bit_andnot(far, w.im), lr, li, tr, ti);
    mark = SD::bit_or(SD::bit_or(far, arg_outside(x, y, li.hi)),
                      SD::bit_or(Bits<double>::int_greater(SD::abs(tr.hi), SD::set1(600.0)), trig_outside(ti.hi)));
    const ExpParts e = exp_parts(SD::select(mark, zero, tr.hi), SD::select(mark, zero, tr.lo));
    const SinCos t = sincos_lanes(SD::select(mark, zero, ti.hi), SD::select(mark, zero, ti.lo));
    const vd s = exp_scale(e.t);
    return {SD::mul(mul_round(e.e, t.c), s), SD::mul(mul_round(e.e, t.s), s)};
}

inline int pow_scalar(double x, double y, double wr, double wi, double& u, double& v) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    if (wr == 0 && wi == 0) {
        u = 1.0;
        v = 0.0;
        return QOR_VM_STATUS_OK;
    }
    const bool finite = finite2(x, y) && finite2(wr, wi);
    if (finite && x == 0 && y == 0) {
        if (wr > 0) {
            u = v = 0.0;
            return QOR_VM_STATUS_OK;
        }
        u = wi == 0 ? inf : nan;
        v = wi == 0 ? 0.0 : nan;
        return wi == 0 ? QOR_VM_STATUS_SING : QOR_VM_STATUS_DOMAIN;
    }
    if (!finite) {
        double lr, li, tr, ti;
        log_scalar<false>(x, y, lr, li);
        multiply_recovering(wr, wi, lr, li, tr, ti);
        return exp_scalar(tr, ti, u, v);
    }
    const int e = std::ilogb(std::fmax(std::fabs(x), std::fabs(y)));
    const vd xs = splat(std::ldexp(x, -e)), ys = splat(std::ldexp(y, -e));
    const Pair lr = ln_abs(xs, ys, splat(double(e)));
    Pair li = arg_pair(xs, ys);
    if (lane0(arg_outside(xs, ys, li.hi)) != 0) {
        double a;
        Atan2HA{}.fix(y, x, a);
        li = {splat(a), splat(0.0)};
    }
    Pair tr, ti;
    exponent_pairs(splat(wr), splat(wi), lr, li, tr, ti);
    double th = lane0(tr.hi), tl = lane0(tr.lo);
    if (std::fabs(th) > 2000) th = std::copysign(2000.0, th), tl = 0;  // 0 or infinity whatever the angle
    if (!std::isfinite(lane0(ti.hi))) {
        u = v = nan;
        return QOR_VM_STATUS_OK;
    }
    const ExpParts ep = exp_parts(splat(th), splat(tl));
    const SinCos t = sincos_any(lane0(ti.hi), lane0(ti.lo));
    const int m = exp_m(ep.t);
    u = scaled_product(ep.e, t.c, m);
    v = scaled_product(ep.e, t.s, m);
    return QOR_VM_STATUS_OK;
}

template <class Real>
struct PowOp {
    using C = PlanarOf<Real>;
    using Mask = Real;
    static constexpr bool reads_mode = true;
    QOR_KERNEL_INLINE CV<Real> operator()(CV<Real> a, CV<Real> b, RV<Real>& m) const { return map_ccc<Real>(a, b, m, pow_lanes); }
    int fix(const C& a, const C& b, C& r) const { return fix_ccc(a, b, r, pow_scalar); }
};

// The same w for every element.
template <class Real>
struct PowxOp {
    using C = PlanarOf<Real>;
    using Mask = Real;
    static constexpr bool reads_mode = true;
    C w;
    CV<Real> wv;
    explicit PowxOp(decltype(C::re) re, decltype(C::re) im) {
        w.re = re;
        w.im = im;
        wv = {simd::Simd<Real>::set1(re), simd::Simd<Real>::set1(im)};
    }
    template <class B>
    explicit PowxOp(B b) : PowxOp(b.re, b.im) {}
    C exponent() const { return w; }
    QOR_KERNEL_INLINE CV<Real> operator()(CV<Real> a, RV<Real>& m) const { return map_ccc<Real>(a, wv, m, pow_lanes); }
    int fix(const C& a, C& r) const { return fix_ccc(a, w, r, pow_scalar); }
};

}  // namespace qor::vm::complex
