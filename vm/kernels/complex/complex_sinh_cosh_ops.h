// Complex Cosh, Sinh, Cos and Sin.
//
//   cosh(x + iy) = cosh x cos y + i sinh x sin y
//   sinh(x + iy) = sinh x cos y + i cosh x sin y
//   cos z = cosh(iz),  sin z = -i sinh(iz)   (iz = -y + ix)
//
// cosh x and sinh x are unrounded pairs: from e^|x| and e^-|x| of one
// reduction (the hyperbolic kernels' table method, up - down and up + down
// formed exactly), and for |x| < 1/4 sinh x = x + x^3 P(x^2) with the
// Taylor series to x^13; sin y and cos y are the pairs of Exp.  Each part is
// one product of pairs rounded once: about 0.5 ulp plus 2^-57, in double
// and, through double, in single precision.  Cos and Sin are the
// hyperbolic kernels on iz, so their special values follow C's rule
// ccos(z) = ccosh(iz) and csin(z) = -i csinh(iz) exactly.
//
// The vector path takes |x| <= 600 and |y| < 2^19.  The scalar routine
// takes the rest: for |x| > 40, cosh x and sinh x are e^|x|/2 with the scale
// applied last, huge |y| is reduced by the bits of 2/pi, and the special
// values of C's ccosh and csinh are given by the tables for x and y with
// their sign bits clear and by the symmetries (ccosh even, csinh odd, both
// commute with conjugation).  Finite arguments with an infinite part
// report overflow, non-NaN arguments with a NaN part (an infinite angle) a
// domain error.
#pragma once

#include "../hyper/hyper_core.h"
#include "../hyper/sinh_cosh_ops.h"
#include "complex_planar.h"

namespace qor::vm::complex {

// cosh |x| and sinh |x| as pairs, |x| <= 704.
struct CoshSinh {
    Pair c, s;
};

QOR_KERNEL_INLINE CoshSinh cosh_sinh_pairs(vd ax) {
    const hyper_core::ExpPair e = hyper_core::exp_pair<hyper_core::Fit::High>(ax);
    const vd pu = SD::mul(e.up, e.p_up), pd = SD::mul(e.down, e.p_down);
    const Pair sc = pair::fast_two_sum(e.up, e.down), ss = pair::fast_two_sum(e.up, SD::neg(e.down));
    const vd half = SD::set1(0.5);
    const Pair c{SD::mul(sc.hi, half), SD::mul(SD::add(sc.lo, SD::add(pu, pd)), half)};
    Pair s{SD::mul(ss.hi, half), SD::mul(SD::add(ss.lo, SD::sub(pu, pd)), half)};
    const vd small = SD::lt(ax, SD::set1(0.25));
    if (SD::movemask(small)) {
        const vd x2 = SD::mul(ax, ax);
        const vd tail = SD::mul(SD::mul(ax, x2), lanes::horner<SD>(x2, hyper::kSinhTaylor6));
        s = {SD::select(small, ax, s.hi), SD::select(small, tail, s.lo)};
    }
    return {c, s};
}

// (cosh or sinh)(x + iy) from the pairs; the sinh pair takes the sign of x.
template <bool Odd>
QOR_KERNEL_INLINE ZD hyper_from_pairs(CoshSinh h, vd x, SinCos t) {
    const vd sx = sign_of<double>(x);
    const Pair sh{SD::bit_xor(h.s.hi, sx), SD::bit_xor(h.s.lo, sx)};
    if constexpr (Odd) return {mul_round(sh, t.c), mul_round(h.c, t.s)};
    else return {mul_round(h.c, t.c), mul_round(sh, t.s)};
}

template <bool Odd>
QOR_KERNEL_INLINE ZD hyper_lanes(vd x, vd y, vd& mark) {
    mark = SD::bit_or(Bits<double>::int_greater(SD::abs(x), SD::set1(600.0)), trig_outside(y));
    x = SD::bit_andnot(mark, x);
    y = SD::bit_andnot(mark, y);
    return hyper_from_pairs<Odd>(cosh_sinh_pairs(SD::abs(x)), x, sincos_lanes(y));
}

// Finite x and y.
template <bool Odd>
inline void hyper_finite(double x, double y, double& u, double& v) {
    const SinCos t = sincos_any(y);
    if (std::fabs(x) <= 600) {
        const ZD r = hyper_from_pairs<Odd>(cosh_sinh_pairs(splat(std::fabs(x))), splat(x), t);
        u = lane0(r.re);
        v = lane0(r.im);
        return;
    }
    // e^|x|/2 for both, the scale last.
    const ExpParts e = exp_parts(splat(std::fmin(std::fabs(x), 2000.0)));
    const int m = exp_m(e.t) - 1;
    const double sx = std::copysign(1.0, x);
    const double re = scaled_product(e.e, t.c, m), im = scaled_product(e.e, t.s, m);
    u = Odd ? sx * re : re;
    v = Odd ? im : sx * im;
}

// The tables of C's ccosh and csinh for x and y with their sign bits clear
// (y finite or not), then the symmetries.
template <bool Odd>
inline int hyper_scalar(double x, double y, double& u, double& v) {
    if (std::isfinite(x) && std::isfinite(y)) {
        hyper_finite<Odd>(x, y, u, v);
        return QOR_VM_STATUS_OK;
    }
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    const bool neg_x = std::signbit(x), neg_y = std::signbit(y);
    const double ax = std::fabs(x), ay = std::fabs(y);
    if (std::isnan(ax)) {
        u = nan;
        v = ay == 0 ? 0.0 : nan;  // NaN + i0 keeps its zero
    } else if (ax == 0) {  // y infinite or NaN
        u = Odd ? 0.0 : nan;
        v = Odd ? nan : 0.0;
    } else if (std::isfinite(ax)) {
        u = v = nan;
    } else if (ay == 0) {  // infinite x, zero y
        u = inf;
        v = 0.0;
    } else if (std::isfinite(ay)) {  // +inf cis y
        const SinCos t = sincos_any(ay);
        u = inf * lane0(sum(t.c));
        v = inf * lane0(sum(t.s));
    } else {  // infinite x, infinite or NaN y
        u = inf;
        v = nan;
    }
    // Odd: sinh(-x + iy) = -conj(sinh(x + iy)); even: cosh(-x - iy) = cosh(x + iy).
    if (Odd) {
        if (neg_x) u = -u;
        if (neg_y) v = -v;
    } else if (neg_x != neg_y) {
        v = -v;
    }
    return QOR_VM_STATUS_OK;
}

// Fn: 0 cosh, 1 sinh, 2 cos, 3 sin.
enum class Hyper { cosh, sinh, cos, sin };

template <Hyper F>
inline constexpr bool kOdd = F == Hyper::sinh || F == Hyper::sin;

// f(x + iy) through the hyperbolic function of (x, y) or of i(x + iy).
template <Hyper F, class Lanes>
QOR_KERNEL_INLINE void rotated(vd x, vd y, Lanes f, vd& u, vd& v) {
    if constexpr (F == Hyper::cosh || F == Hyper::sinh) {
        f(x, y, u, v);
    } else {
        vd p, q;
        f(SD::neg(y), x, p, q);
        if constexpr (F == Hyper::cos) u = p, v = q;
        else u = q, v = SD::neg(p);  // -i (p + iq)
    }
}

template <Hyper F>
inline int trig_hyper_scalar(double x, double y, double& u, double& v) {
    if constexpr (F == Hyper::cosh || F == Hyper::sinh) return hyper_scalar<kOdd<F>>(x, y, u, v);
    double p, q;
    const int code = hyper_scalar<kOdd<F>>(-y, x, p, q);
    if constexpr (F == Hyper::cos) u = p, v = q;
    else u = q, v = -p;
    return code;
}

template <class Real, Hyper F>
struct HyperOp {
    using C = PlanarOf<Real>;
    using Mask = Real;
    static constexpr bool reads_mode = true;
    CV<Real> operator()(CV<Real> a, RV<Real>& m) const {
        return map_cc<Real>(a, m, [](ZD z, vd& mark) {
            ZD r;
            rotated<F>(z.re, z.im,
                       [&](vd x, vd y, vd& u, vd& v) {
                           const ZD h = hyper_lanes<kOdd<F>>(x, y, mark);
                           u = h.re;
                           v = h.im;
                       },
                       r.re, r.im);
            return r;
        });
    }
    int fix(const C& a, C& r) const { return fix_cc(a, r, trig_hyper_scalar<F>); }
};

}  // namespace qor::vm::complex
