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
// The vector path (double lanes; single elements are widened and their
// results rounded once more) takes parts that are zero or in
// [2^-500, 2^500]; log1p and the arctangent of the real kernels (about
// 0.51 ulp each) finish.  The scalar routine takes the rest: the same
// formulas in extended precision, and C's special values.  The poles
// atanh(+-1 + i0) = +-inf + i0 and atan(+-i) report a singularity.
#pragma once

#include <cmath>
#include <limits>

#include "../explog/log1p_ops.h"
#include "../invtrig/atan2_ops.h"
#include "../pair.h"
#include "complex_inverse_lanes.h"

namespace qor::vm::complex {

// atanh(x + iy) for x, y >= 0 in the vector path's range, not the pole.
QOR_KERNEL_INLINE void arctanh_lanes(vd x, vd y, vd& re, vd& im) {
    const vd one = SD::set1(1.0);
    const vd omx = SD::sub(one, x);
    const vd q = SD::add(SD::mul(omx, omx), SD::mul(y, y));
    re = SD::mul(SD::set1(0.25), explog::log1p_double(SD::div(SD::mul(SD::set1(4.0), x), q)));
    // 1 - x^2 - y^2 from the exact squares
    const pair::Pair xx = pair::two_prod(x, x), yy = pair::two_prod(y, y);
    const pair::Pair s = pair::two_sum(one, SD::neg(xx.hi));
    const pair::Pair t = pair::two_sum(s.hi, SD::neg(yy.hi));
    const vd den = SD::add(t.hi, SD::sub(SD::sub(SD::add(s.lo, t.lo), xx.lo), yy.lo));
    im = SD::mul(SD::set1(0.5), invtrig::atan2_lanes<false, Variant::HA>(SD::add(y, y), den));
}

// Lanes to the scalar routine: a part outside the vector path's range, the
// pole, or a denominator too small for the arctangent's exact products.
QOR_KERNEL_INLINE vd arctanh_marked(vd& x, vd& y) {
    vd mark = SD::bit_or(outside_moderate(x), outside_moderate(y));
    mark = SD::bit_or(mark, SD::bit_and(SD::eq(x, SD::set1(1.0)), SD::eq(y, SD::set1(0.0))));
    x = SD::select(mark, SD::set1(0.5), x);
    y = SD::select(mark, SD::set1(0.5), y);
    return mark;
}

QOR_KERNEL_INLINE vd tiny_denominator(vd x, vd y) {
    // |1 - x^2 - y^2| below 2^-900 needs |x^2 + y^2 - 1| that small: only
    // where x^2 + y^2 is within 2^-52 of 1 could the sum be that close.
    const vd r2 = SD::add(SD::mul(x, x), SD::mul(y, y));
    return SD::lt(SD::abs(SD::sub(r2, SD::set1(1.0))), SD::set1(0x1p-52));
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
    static void lanes(vd x, vd y, vd& re, vd& im, vd& mark) {
        vd ax = SD::abs(x), ay = SD::abs(y);
        mark = arctanh_marked(ax, ay);
        mark = SD::bit_or(mark, tiny_denominator(ax, ay));
        arctanh_lanes(ax, ay, re, im);
        re = SD::copysign(re, x);
        im = SD::copysign(im, y);
    }
    static int scalar(double x, double y, double& re, double& im) { return atanh_scalar(x, y, re, im); }
};

struct Atan {
    static void lanes(vd x, vd y, vd& re, vd& im, vd& mark) {
        vd ax = SD::abs(y), ay = SD::abs(x);  // atanh(|y| + i|x|)
        mark = arctanh_marked(ax, ay);
        mark = SD::bit_or(mark, tiny_denominator(ax, ay));
        vd u, v;
        arctanh_lanes(ax, ay, u, v);
        re = SD::copysign(v, x);
        im = SD::copysign(u, y);
    }
    static int scalar(double x, double y, double& re, double& im) {
        const int code = atanh_scalar(-y, x, im, re);  // atan z = -i atanh(iz)
        im = -im;
        return code;
    }
};

}  // namespace qor::vm::complex
