// Complex Sqrt, principal branch (real part >= 0, the cut along the
// negative real axis, the imaginary part taking the sign of y).
//
// With rho = |z|: t = sqrt((|x| + rho)/2) and the other part |y|/(2t); t is
// the real part for x >= 0 (sign bit clear) and the imaginary part
// otherwise.  rho is the exact-square hypotenuse of Hypot as root plus
// correction, |x| + rho a pair (no cancellation: both are positive), t a
// pair from one Newton step on the rounded root, and the quotient is
// corrected by its exact residual: about 0.5 ulp per part, also next to
// the cut and near |z| = 1.
//
// The vector path takes operands whose larger part lies in [2^-450,
// 2^450]; the scalar routine scales the rest by an even power of two (the
// root halves the scale exactly) and gives C's special values: sqrt(+-0 +
// i0) = +0 + i0 with the sign of y, an infinite y gives +inf + iy whatever
// x, -inf + iy gives +0 + i inf and +inf + iy gives +inf + i0 (signs of y),
// NaN elsewhere.  Nothing is reported.  Single precision is the same in
// double, rounded once; one kernel per row serves every accuracy slot.
#pragma once

#include "../hyper/hyper_core.h"
#include "../pow/hypot_ops.h"
#include "complex_div_ops.h"

namespace qor::vm::complex {

// The principal root of operands whose larger part lies in the range.
QOR_KERNEL_INLINE ZD sqrt_core(vd x, vd y) {
    const vd ax = SD::abs(x), ay = SD::abs(y);
    const pow_core::RootAndCorrection rho = pow_core::hypot_exact_parts(SD::max(ax, ay), SD::min(ax, ay));
    const Pair s = pair::two_sum(ax, rho.r);
    const vd half = SD::set1(0.5);
    const Pair t = hyper_core::sqrt_pair({SD::mul(s.hi, half), SD::mul(SD::add(s.lo, rho.c), half)});
    const Pair twice{SD::add(t.hi, t.hi), SD::add(t.lo, t.lo)};
    const vd other = divide_pairs({ay, SD::set1(0.0)}, twice, SD::div(SD::set1(1.0), twice.hi));
    const vd root = sum(t);
    const vd left = sign_of<double>(x);  // x on the left of the imaginary axis
    return {SD::select(left, other, root), SD::copysign(SD::select(left, root, other), y)};
}

QOR_KERNEL_INLINE ZD sqrt_lanes(ZD z, vd& mark) {
    const vd ax = SD::abs(z.re), ay = SD::abs(z.im);
    mark = SD::bit_or(outside_binades(SD::max(ax, ay), -450, 450), _mm_cmpunord_pd(ax, ay));
    const vd one = SD::set1(1.0);
    return sqrt_core(SD::select(mark, one, z.re), SD::select(mark, one, z.im));
}

inline int sqrt_scalar(double x, double y, double& u, double& v) {
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    if (std::isinf(y)) {
        u = inf;
        v = y;
    } else if (std::isnan(x)) {
        u = v = nan;
    } else if (std::isinf(x)) {
        if (x > 0) {
            u = x;
            v = std::isnan(y) ? y : std::copysign(0.0, y);
        } else {
            u = std::isnan(y) ? nan : 0.0;
            v = std::isnan(y) ? inf : std::copysign(inf, y);
        }
    } else if (std::isnan(y)) {
        u = v = nan;
    } else if (x == 0 && y == 0) {
        u = 0.0;
        v = y;
    } else {
        const int e = std::ilogb(std::fmax(std::fabs(x), std::fabs(y)));
        const int even = e >= 0 ? e & ~1 : -((-e + 1) & ~1);
        const ZD r = sqrt_core(splat(std::ldexp(x, -even)), splat(std::ldexp(y, -even)));
        u = std::ldexp(lane0(r.re), even / 2);
        v = std::ldexp(lane0(r.im), even / 2);
    }
    return QOR_VM_STATUS_OK;
}

template <class Real>
struct SqrtOp {
    using C = PlanarOf<Real>;
    using Mask = Real;
    static constexpr bool reads_mode = true;
    QOR_KERNEL_INLINE CV<Real> operator()(CV<Real> a, RV<Real>& m) const { return map_cc<Real>(a, m, sqrt_lanes); }
    int fix(const C& a, C& r) const { return fix_cc(a, r, sqrt_scalar); }
};

}  // namespace qor::vm::complex
