// Complex Tan, Tanh (one kernel for every slot).
//
// Kahan's overflow-free form of tanh(x + iy), multiplied through by cos^2 y:
//   tanh z = (sinh x cosh x + i sin y cos y)/(cos^2 y + sinh^2 x).
// The denominator is a sum of squares, so nothing cancels near the poles
// z = i(k + 1/2)pi, and each part is a product over it, so each keeps its
// relative accuracy near its own zeros.  tan z = -i tanh(iz).
//
// Two-double arithmetic throughout: sin y and cos y as pairs from the
// exact reduction of the real kernels (about 2^-60 relative), sinh x and
// cosh x as pairs from one reduction of the table method of Exp (e^|x| and
// e^-|x| with their sum and difference formed exactly; below |x| = 1/4 the
// Taylor series of sinh), the products exact (Dekker's), the sum of
// squares a pair and each quotient corrected by its exact residual: one
// rounding per part, about 0.5 ulp plus 2^-57 relative, in double and,
// through double, in single precision.
//
// The vector path takes |x| <= 40 with x zero or |x| >= 2^-800, and
// |y| < 2^19.  The scalar routine takes the rest: huge |y| by the same
// pairs after the reduction of huge angles; for |x| > 40 the real part is
// +-1 to the last bit and the imaginary part 4 sin y cos y e^(-2|x|)
// (relative error below 2^-110, rounded once from extended precision, so
// that it underflows gracefully); a tiny non-zero x, whose real part the
// pairs would form below the normal range, by Kahan's form in extended
// precision; and C's special values.  An infinite imaginary part with a
// finite real part (tan: the other way round) has no limit: NaN and the
// domain code.  The part of the angle (tanh: imaginary, tan: real) below the
// normal range from a normal angle reports underflow, as the real
// exponential does.
#pragma once

#include <cmath>
#include <limits>

#include "../hyper/sinh_cosh_ops.h"
#include "complex_planar.h"

namespace qor::vm::complex {

inline constexpr uint32_t kTanhVectorUpper = 0x40440000;  // upper word of 40

struct HyperPairs {
    Pair s, c;  // sinh x, cosh x
};

// sinh x and cosh x as normalised pairs, |x| <= 40.
QOR_KERNEL_INLINE HyperPairs sinh_cosh_pairs(vd x) {
    using namespace hyper_core;
    const vd a = SD::abs(x), half = SD::set1(0.5);
    const ExpPair e = exp_pair<Fit::High>(a);
    const vd pu = SD::mul(e.up, e.p_up), pd = SD::mul(e.down, e.p_down);
    const Pair sum = fast_two_sum(e.up, e.down), diff = fast_two_sum(e.up, SD::neg(e.down));  // up >= down
    const Pair c = fast_two_sum(SD::mul(sum.hi, half), SD::mul(SD::add(sum.lo, SD::add(pu, pd)), half));
    const Pair large = fast_two_sum(SD::mul(diff.hi, half), SD::mul(SD::add(diff.lo, SD::sub(pu, pd)), half));
    const vd a2 = SD::mul(a, a);
    const Pair small = fast_two_sum(a, SD::mul(SD::mul(a, a2), lanes::horner<SD>(a2, hyper::kSinhTaylor6)));
    const vd series = SD::lt(a, SD::set1(0.25)), sign = sign_of<double>(x);
    return {{SD::bit_xor(SD::select(series, small.hi, large.hi), sign),
             SD::bit_xor(SD::select(series, small.lo, large.lo), sign)},
            c};
}

// |v| with the sign bit of s.
QOR_KERNEL_INLINE vd with_sign(vd v, vd s) { return SD::bit_or(SD::abs(v), sign_of<double>(s)); }

// tanh(x + iy) from the pairs of x and of y.
QOR_KERNEL_INLINE ZD tanh_from(const HyperPairs& h, const SinCos& t) {
    const Pair s = normalised(t.s), c = normalised(t.c);
    const Pair den = add_pairs(mul_pairs(c, c), mul_pairs(h.s, h.s));
    const vd inv = SD::div(SD::set1(1.0), den.hi);
    const vd re = divide_pairs(mul_pairs(h.s, h.c), den, inv);
    const vd im = divide_pairs(mul_pairs(s, c), den, inv);
    return {with_sign(re, h.s.hi), with_sign(im, SD::bit_xor(s.hi, c.hi))};
}

QOR_KERNEL_INLINE ZD tanh_lanes(ZD z, vd& mark) {
    const vd ax = SD::abs(z.re);
    const vd tiny = SD::bit_andnot(SD::eq(ax, SD::set1(0.0)), Bits<double>::int_greater(SD::set1(0x1p-800), ax));
    mark = SD::bit_or(SD::bit_or(lanes::upper_word_above(z.re, kTanhVectorUpper), tiny), trig_outside(z.im));
    const vd half = SD::set1(0.5);
    return tanh_from(sinh_cosh_pairs(SD::select(mark, half, z.re)), sincos_lanes(SD::select(mark, half, z.im)));
}

// tan(x + iy) = b - ia with a + ib = tanh(-y + ix).
QOR_KERNEL_INLINE ZD tan_lanes(ZD z, vd& mark) {
    const ZD r = tanh_lanes({SD::neg(z.im), z.re}, mark);
    return {r.im, SD::neg(r.re)};
}

// tanh(x + iy) for any parts; returns the status code.
inline int tanh_scalar(double x, double y, double& re, double& im) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    if (std::isinf(x)) {
        re = std::copysign(1.0, x);
        im = std::copysign(0.0, std::isfinite(y) ? double(std::sin(2 * (long double)y)) : y);
        return QOR_VM_STATUS_OK;
    }
    if (std::isnan(x)) {
        re = nan;
        im = y == 0 ? y : nan;
        return QOR_VM_STATUS_OK;
    }
    if (!std::isfinite(y)) {
        re = im = nan;
        return std::isinf(y) ? QOR_VM_STATUS_DOMAIN : QOR_VM_STATUS_OK;
    }
    const long double lx = x, ly = y;
    if (std::fabs(x) > 40) {
        re = std::copysign(1.0, x);
        im = double(4 * std::sin(ly) * std::cos(ly) * std::exp(-2 * std::fabs(lx)));
        if (im == 0) im = std::copysign(0.0, double(std::sin(2 * ly)));
        return QOR_VM_STATUS_OK;
    }
    if (x != 0 && std::fabs(x) < 0x1p-800) {
        const long double t = std::tan(ly), s = std::sinh(lx), b = 1 + t * t, den = 1 + b * s * s;
        re = double(b * std::sqrt(1 + s * s) * s / den);
        im = double(t / den);
        return QOR_VM_STATUS_OK;
    }
    const ZD r = tanh_from(sinh_cosh_pairs(splat(x)), sincos_any(y));
    re = lane0(r.re);
    im = lane0(r.im);
    return QOR_VM_STATUS_OK;
}

inline int tan_scalar(double x, double y, double& re, double& im) {
    const int code = tanh_scalar(-y, x, im, re);
    im = -im;
    return code;
}

template <class Real, bool Circular>
struct TanhOp {
    using C = PlanarOf<Real>;
    using Mask = Real;
    static constexpr bool reads_mode = true;
    QOR_KERNEL_INLINE CV<Real> operator()(CV<Real> a, RV<Real>& m) const {
        using S = simd::Simd<Real>;
        const CV<Real> r = map_cc<Real>(a, m, [](ZD z, vd& mark) __attribute__((always_inline)) {
            if constexpr (Circular) return tan_lanes(z, mark);
            else return tanh_lanes(z, mark);
        });
        // The part of the angle below the normal range from a normal angle
        // goes to the scalar routine, which reports it.
        const RV<Real> part = Circular ? r.re : r.im, angle = Circular ? a.re : a.im;
        m = S::bit_or(m, S::bit_andnot(below_normal<Real>(angle), below_normal<Real>(part)));
        return r;
    }
    // The part of the angle (tanh: imaginary, tan: real) is not zero for a
    // non-zero angle; below the normal range from a normal angle (and a
    // finite other part) it is an underflow.
    int fix(const C& a, C& r) const {
        const Real tiny = std::numeric_limits<Real>::min();
        const int code = fix_cc(a, r, Circular ? tan_scalar : tanh_scalar);
        return with_underflow(code, finite2(a.re, a.im), Circular && std::fabs(a.re) >= tiny,
                              !Circular && std::fabs(a.im) >= tiny, r.re, r.im);
    }
};

}  // namespace qor::vm::complex
