// Complex Abs and Arg: |x + iy| and the angle atan2(y, x).
//
// Abs is the exact-square method of Hypot: both squares and their sum held
// as pairs, the root corrected by its residual (about 0.5 ulp); the vector
// path takes pairs whose larger part lies in [2^-450, 2^450], the scalar
// routine scales the rest by a power of two and rounds a subnormal result
// once.  An infinite part gives +inf even beside a NaN; finite parts with an
// infinite result report overflow.  Single precision is the plain formula
// in double (exact squares), rounded once.
//
// EP (its own kernel; LA shares HA): in double the plain root of the sum of
// squares on the same range, about 1 ulp; in single the HA kernel's
// formula.
//
// Arg is the HA method of Atan2 (about 0.51 ulp), with its scalar routine
// for zeros, infinities, NaN and far-apart magnitudes (C's table of signed
// zeros and infinities), and in single precision Atan2's single method in
// double (arg_lanes_single); it reports nothing, and one kernel serves every
// accuracy slot.
#pragma once

#include "../invtrig/atan2_ops.h"
#include "../pow/hypot_ops.h"
#include "complex_planar.h"

namespace qor::vm::complex {

QOR_KERNEL_INLINE vd abs_lanes(ZD z, vd& mark) {
    const vd ax = SD::abs(z.re), ay = SD::abs(z.im);
    const vd big = SD::max(ax, ay), small = SD::min(ax, ay);
    mark = SD::bit_or(outside_binades(big, -450, 450), _mm_cmpunord_pd(ax, ay));
    const vd one = SD::set1(1.0);
    return pow_core::hypot_exact(SD::select(mark, one, big), SD::bit_andnot(mark, small));
}

inline int abs_scalar(double x, double y, double& r) {
    const double ax = std::fabs(x), ay = std::fabs(y);
    if (std::isinf(ax) || std::isinf(ay)) {
        r = std::numeric_limits<double>::infinity();
        return QOR_VM_STATUS_OK;
    }
    if (std::isnan(ax) || std::isnan(ay)) {
        r = ax + ay;
        return QOR_VM_STATUS_OK;
    }
    const double big = std::fmax(ax, ay), small = std::fmin(ax, ay);
    if (big == 0) {
        r = 0;
        return QOR_VM_STATUS_OK;
    }
    const int e = std::ilogb(big);
    const pow_core::RootAndCorrection p = pow_core::hypot_exact_parts(splat(std::ldexp(big, -e)), splat(std::ldexp(small, -e)));
    r = pow_core::scale_rounded_once(lane0(p.r), lane0(p.c), e);
    return std::isinf(r) ? QOR_VM_STATUS_OVERFLOW : QOR_VM_STATUS_OK;
}

// Single precision: the squares of floats are exact in double and cannot
// overflow or underflow there, so sqrt(x^2 + y^2) in double is within
// 2^-53 before the rounding to float; only infinities and NaN are marked.
QOR_KERNEL_INLINE vd abs_lanes_single(ZD z, vd& mark) {
    mark = SD::bit_or(SD::isnonfinite(z.re), SD::isnonfinite(z.im));
    return SD::sqrt(SD::add(SD::mul(z.re, z.re), SD::mul(z.im, z.im)));
}

// EP, double: the plain formula on the same range (about 1 ulp).
QOR_KERNEL_INLINE vd abs_lanes_plain(ZD z, vd& mark) {
    const vd ax = SD::abs(z.re), ay = SD::abs(z.im);
    mark = SD::bit_or(outside_binades(SD::max(ax, ay), -450, 450), _mm_cmpunord_pd(ax, ay));
    return SD::sqrt(SD::add(SD::mul(ax, ax), SD::mul(ay, ay)));
}

template <class Real, bool Plain = false>
struct AbsOp {
    using C = PlanarOf<Real>;
    using Mask = Real;
    static constexpr bool reads_mode = true;
    RV<Real> operator()(CV<Real> a, RV<Real>& m) const {
        if constexpr (std::is_same_v<Real, float>) return map_cr<Real>(a, m, abs_lanes_single);
        else if constexpr (Plain) return map_cr<Real>(a, m, abs_lanes_plain);
        else return map_cr<Real>(a, m, abs_lanes);
    }
    int fix(const C& a, Real& r) const {
        double d;
        const int code = abs_scalar(a.re, a.im, d);
        r = Real(d);
        return code == QOR_VM_STATUS_OK && std::isinf(r) && std::isfinite(a.re) && std::isfinite(a.im)
                   ? QOR_VM_STATUS_OVERFLOW
                   : code;
    }
};

using Atan2HA = invtrig::DoubleArctan2<false, Variant::HA>;

QOR_KERNEL_INLINE vd arg_lanes(ZD z, vd& mark) { return Atan2HA{}(z.im, z.re, mark); }

// Single precision: Atan2's single method in double (coarse rows, 0.5 ulp
// plus 2^-9); the parts of floats are far from its limits, so only zeros,
// infinities and NaN are marked.
QOR_KERNEL_INLINE vd arg_lanes_single(ZD z, vd& mark) {
    mark = SD::bit_or(SD::bit_or(SD::isnonfinite(z.re), SD::isnonfinite(z.im)),
                      SD::eq(SD::bit_or(SD::abs(z.re), SD::abs(z.im)), SD::set1(0.0)));
    const vd one = SD::set1(1.0);
    return invtrig::atan2_lanes<false, Variant::HA, true>(SD::select(mark, one, z.im), SD::select(mark, one, z.re));
}

template <class Real>
struct ArgOp {
    using C = PlanarOf<Real>;
    using Mask = Real;
    static constexpr bool reads_mode = true;
    QOR_KERNEL_INLINE RV<Real> operator()(CV<Real> a, RV<Real>& m) const {
        if constexpr (std::is_same_v<Real, float>) return map_cr<Real>(a, m, arg_lanes_single);
        else return map_cr<Real>(a, m, arg_lanes);
    }
    int fix(const C& a, Real& r) const {
        double d;
        Atan2HA{}.fix(a.im, a.re, d);
        r = Real(d);
        return QOR_VM_STATUS_OK;
    }
};

}  // namespace qor::vm::complex
