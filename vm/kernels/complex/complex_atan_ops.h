// Complex Atan, Atanh (one kernel for every slot).
//
// Kahan's form on x = |Re z|, y = |Im z|:
//   atanh z = ln(1 + 4x/((1 - x)^2 + y^2))/4 + i atan2(2y, 1 - x^2 - y^2)/2,
// the signs following the odd and conjugate symmetries, and
// atan z = -i atanh(iz).  1 - x is exact near the pole x = 1, so the real
// part keeps its accuracy there; 1 - x^2 - y^2 is summed from the exact
// squares in two parts, so that the angle stays accurate where |z| is
// near 1.
//
// Double: 1 - x, the squares, the sum and the quotient 4x/q in pairs, then
// log1p and the arctangent of the real kernels on the pairs (about 0.51
// ulp each): within 0.51 ulp per part against MPC.  Double LA and EP (one
// kernel): 4x/q in plain double, the angle's denominator rounded once (at
// most 1 ulp measured, 2 claimed).  Single: the same as LA with the
// arctangent for single results, rounded once at the end (0.51 ulp).
//
// The vector path takes parts that are zero or in [2^-500, 2^500]; the
// scalar routine takes the rest: the same formulas in extended precision,
// and C's special values.  The poles atanh(+-1 + i0) = +-inf + i0 and
// atan(+-i) report a singularity.
#pragma once

#include <cmath>
#include <limits>

#include "complex_inverse_lanes.h"

namespace qor::vm::complex {

// 1 - x^2 - y^2 from the exact squares, as a pair.
QOR_KERNEL_INLINE Pair one_less_squares(vd x, vd y) {
    const Pair xx = pair::two_prod(x, x), yy = pair::two_prod(y, y);
    const Pair s = pair::two_sum(SD::set1(1.0), SD::neg(xx.hi));
    const Pair t = pair::two_sum(s.hi, SD::neg(yy.hi));
    return pair::fast_two_sum(t.hi, SD::sub(SD::sub(SD::add(s.lo, t.lo), xx.lo), yy.lo));
}

// atanh(x + iy) for x, y >= 0 in the vector path's range, not the pole;
// `tiny` marks real parts below the normal range, which the scalar routine
// rounds once.
template <Eval E>
QOR_KERNEL_INLINE ZD arctanh_parts(vd x, vd y, vd& tiny) {
    const vd one = SD::set1(1.0), four = SD::set1(4.0);
    const Pair den = one_less_squares(x, y);
    vd l, angle;
    if constexpr (E != Eval::pairs) {
        const vd omx = SD::sub(one, x);
        const vd w = SD::div(SD::mul(four, x), SD::add(SD::mul(omx, omx), SD::mul(y, y)));
        tiny = SD::bit_and(SD::lt(w, SD::set1(0x1p-1018)), SD::gt(w, SD::set1(0.0)));
        l = explog::log1p_double(w);
        angle = atan2_plain<E>(SD::add(y, y), SD::add(den.hi, den.lo));
    } else {
        const Pair q = add(square(pair::two_sum(one, SD::neg(x))), pair::two_prod(y, y));
        const Pair w = div({SD::mul(four, x), SD::set1(0.0)}, q);
        tiny = SD::bit_and(SD::lt(w.hi, SD::set1(0x1p-1018)), SD::gt(w.hi, SD::set1(0.0)));
        l = log1p_pair(w);
        angle = atan2_pair({SD::add(y, y), SD::set1(0.0)}, den);
    }
    return {SD::mul(SD::set1(0.25), l), SD::mul(SD::set1(0.5), angle)};
}

QOR_KERNEL_INLINE vd tiny_denominator(vd x, vd y) {
    // |1 - x^2 - y^2| below 2^-900 needs |x^2 + y^2 - 1| that small: only
    // where x^2 + y^2 is within 2^-52 of 1 could the sum be that close.
    const vd r2 = SD::add(SD::mul(x, x), SD::mul(y, y));
    return SD::lt(SD::abs(SD::sub(r2, SD::set1(1.0))), SD::set1(0x1p-52));
}

// Lanes to the scalar routine: a part outside the vector path's range, the
// pole, or a denominator too small for the arctangent's exact products;
// x, y become |x|, |y| (1/2 where marked).
QOR_KERNEL_INLINE vd arctanh_marked(vd& x, vd& y) {
    const vd pole = SD::bit_and(SD::eq(SD::abs(x), SD::set1(1.0)), SD::eq(y, SD::set1(0.0)));
    vd mark = SD::bit_or(moderate_parts(x, y), pole);
    mark = SD::bit_or(mark, tiny_denominator(x, y));
    x = SD::select(mark, SD::set1(0.5), x);
    y = SD::select(mark, SD::set1(0.5), y);
    return mark;
}

// atanh(x + iy) for any parts; returns the status code.
inline int atanh_scalar(double x, double y, double& re, double& im) {
    const double ax = std::fabs(x), ay = std::fabs(y);
    const double nan = std::numeric_limits<double>::quiet_NaN(), half_pi = 1.570796326794896558;
    int code = QOR_VM_STATUS_OK;
    if (std::isinf(ay)) {
        re = 0, im = half_pi;
    } else if (std::isinf(ax)) {
        re = 0, im = std::isnan(ay) ? nan : half_pi;
    } else if (std::isnan(ax) || std::isnan(ay)) {
        re = ax == 0 ? 0.0 : nan, im = nan;
    } else if (ax == 1 && ay == 0) {
        re = std::numeric_limits<double>::infinity(), im = 0;
        code = QOR_VM_STATUS_SING;
    } else {
        const long double lx = ax, ly = ay, omx = 1 - lx;
        re = double(std::log1p(4 * lx / (omx * omx + ly * ly)) / 4);
        im = double(std::atan2(2 * ly, omx * (1 + lx) - ly * ly) / 2);
    }
    re = std::copysign(re, x);
    im = std::copysign(im, y);
    return code;
}

struct Atanh {
    template <Eval E>
    static ZD lanes(ZD z, vd& mark) {
        vd ax = z.re, ay = z.im;
        mark = arctanh_marked(ax, ay);
        vd tiny;
        const ZD w = arctanh_parts<E>(ax, ay, tiny);
        mark = SD::bit_or(mark, tiny);
        return {SD::copysign(w.re, z.re), SD::copysign(w.im, z.im)};
    }
    static int scalar(double x, double y, double& re, double& im) { return atanh_scalar(x, y, re, im); }
};

struct Atan {
    template <Eval E>
    static ZD lanes(ZD z, vd& mark) {
        vd ax = z.im, ay = z.re;  // atanh(|y| + i|x|)
        mark = arctanh_marked(ax, ay);
        vd tiny;
        const ZD w = arctanh_parts<E>(ax, ay, tiny);
        mark = SD::bit_or(mark, tiny);
        return {SD::copysign(w.im, z.re), SD::copysign(w.re, z.im)};
    }
    static int scalar(double x, double y, double& re, double& im) {
        const int code = atanh_scalar(-y, x, im, re);  // atan z = -i atanh(iz)
        im = -im;
        return code;
    }
};

}  // namespace qor::vm::complex
