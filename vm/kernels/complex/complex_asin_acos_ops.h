// Complex Asin, Acos, Asinh, Acosh (one kernel for every slot).
//
// Hull, Fairgrieve and Tang's method on x = |Re z|, y = |Im z|:
//   R = |z + 1|, S = |z - 1|, A = (R + S)/2 >= 1,
//   asin z = atan2(x, D) + i ln(1 + Am1 + sqrt(Am1 (A + 1))),
//   acos z = atan2(D, Re z) - i (the same logarithm),
// with D = sqrt(A^2 - x^2) and Am1 = A - 1 each formed without
// cancellation:
//   D   = sqrt((A - x)(A + x))                          where x <= 0.6417 A
//       = sqrt((A + x)/2 (y^2/(R + x + 1) + S + 1 - x))  else, x <= 1
//       = y sqrt((A + x)/2 (1/(R + x + 1) + 1/(S + x - 1)))  else,
//   Am1 = (y^2/(R + x + 1) + y^2/(S + 1 - x))/2          where x < 1
//       = (y^2/(R + x + 1) + S + x - 1)/2                where x >= 1
//       = A - 1                                          where A > 1.5.
// Near the branch points z = +-1 both D and Am1 come from S and y^2 with
// no difference of close values, so the results keep their relative
// accuracy there.  The signs follow the odd and conjugate symmetries.
// asinh z = -i asin(iz), acosh z = (|Im acos z|, Re acos z with the sign
// of Im z).
//
// The vector path (double lanes: single elements are widened, so their
// results are rounded once more) takes parts that are zero or in
// [2^-500, 2^500]; the arctangent and log1p of the real kernels (about
// 0.51 ulp each) finish.  The scalar routine takes the rest: the same
// formulas in extended precision, whose range holds every square and
// product of double parts, and the special values (NaN, infinities) of C's
// complex functions.  Nothing is an error: nothing is reported.
#pragma once

#include <cmath>
#include <limits>

#include "../explog/log1p_ops.h"
#include "../invtrig/atan2_ops.h"
#include "complex_inverse_lanes.h"

namespace qor::vm::complex {

inline constexpr double kArcsineCross = 0.6417;  // x/A above it: D from S, not from A - x
inline constexpr double kArcsineLogCross = 1.5;  // A above it: Am1 = A - 1 directly

// D and ln(1 + Am1 + sqrt(Am1 (A + 1))) for x, y >= 0 in the vector path's range.
QOR_KERNEL_INLINE void arcsine_lanes(vd x, vd y, vd& d, vd& im) {
    const vd one = SD::set1(1.0), half = SD::set1(0.5);
    const vd xp1 = SD::add(x, one), xm1 = SD::sub(x, one), omx = SD::sub(one, x);
    const vd yy = SD::mul(y, y);
    const vd r = SD::sqrt(SD::add(SD::mul(xp1, xp1), yy));
    const vd s = SD::sqrt(SD::add(SD::mul(xm1, xm1), yy));
    const vd a = SD::mul(half, SD::add(r, s));
    const vd below = SD::lt(x, one), above = SD::gt(x, one);
    const vd rp = SD::add(r, xp1);
    const vd s_below = SD::add(s, omx), s_above = SD::add(s, xm1);
    // Denominators of the branch not taken set to 1: no flag from them.
    const vd s_below_safe = SD::select(below, s_below, one), s_above_safe = SD::select(above, s_above, one);
    const vd yy_r = SD::div(yy, rp);
    vd am1 = SD::mul(half, SD::add(yy_r, SD::select(below, SD::div(yy, s_below_safe), s_above)));
    am1 = SD::select(SD::gt(a, SD::set1(kArcsineLogCross)), SD::sub(a, one), am1);
    im = explog::log1p_double(SD::add(am1, SD::sqrt(SD::mul(am1, SD::add(a, one)))));

    const vd apx = SD::add(a, x);
    const vd d_small = SD::sqrt(SD::mul(SD::sub(a, x), apx));
    const vd d_below = SD::sqrt(SD::mul(SD::mul(half, apx), SD::add(yy_r, s_below)));
    const vd d_above = SD::mul(y, SD::sqrt(SD::mul(half, SD::add(SD::div(apx, rp), SD::div(apx, s_above_safe)))));
    d = SD::select(SD::le(x, SD::mul(SD::set1(kArcsineCross), a)), d_small, SD::select(above, d_above, d_below));
}

// The same for one element in extended precision: any finite x, y >= 0.
inline void arcsine_scalar(long double x, long double y, long double& d, long double& im) {
    const long double r = std::hypot(x + 1, y), s = std::hypot(x - 1, y), a = (r + s) / 2;
    const long double yy = y * y, rp = r + (x + 1), yy_r = yy / rp;
    long double am1 = x < 1 ? (yy_r + yy / (s + (1 - x))) / 2 : (yy_r + (s + (x - 1))) / 2;
    if (a > kArcsineLogCross) am1 = a - 1;
    im = std::log1p(am1 + std::sqrt(am1 * (a + 1)));
    const long double apx = a + x;
    if (x <= kArcsineCross * a) d = std::sqrt((a - x) * apx);
    else if (x <= 1) d = std::sqrt(apx / 2 * (yy_r + (s + (1 - x))));
    else d = y * std::sqrt(apx / 2 * (1 / rp + 1 / (s + (x - 1))));
}

// Lanes to the scalar routine: a part outside the vector path's range.
// They enter the arithmetic as 1/2, so that they raise no flag.
QOR_KERNEL_INLINE vd arcsine_marked(vd& x, vd& y) {
    const vd mark = SD::bit_or(outside_moderate(x), outside_moderate(y));
    x = SD::select(mark, SD::set1(0.5), x);
    y = SD::select(mark, SD::set1(0.5), y);
    return mark;
}

inline constexpr double kPi = 3.141592653589793116, kHalfPi = 1.570796326794896558;
inline constexpr double kQuarterPi = 0.7853981633974483096, kThreeQuarterPi = 2.356194490192344929;

// Special values of asinh(x + iy) where a part is NaN or infinite, for
// x, y >= 0 (the caller restores the signs).
inline void asinh_special(double x, double y, double& re, double& im) {
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    if (std::isinf(y)) {
        re = inf;
        im = std::isnan(x) ? nan : std::isinf(x) ? kQuarterPi : kHalfPi;
    } else if (std::isinf(x)) {
        re = inf;
        im = std::isnan(y) ? nan : 0.0;
    } else if (std::isnan(x) && y == 0) {
        re = nan;
        im = 0.0;
    } else {
        re = im = nan;
    }
}

// asinh(x + iy) for any parts.
inline void asinh_scalar(double x, double y, double& re, double& im) {
    const double ax = std::fabs(x), ay = std::fabs(y);
    if (std::isfinite(x) && std::isfinite(y)) {
        long double d, l;
        arcsine_scalar(ay, ax, d, l);  // asin(|y| + i|x|)
        re = double(l);
        im = double(std::atan2((long double)ay, d));
    } else {
        asinh_special(ax, ay, re, im);
    }
    re = std::copysign(re, x);
    im = std::copysign(im, y);
}

// acos(x + iy) for any parts.
inline void acos_scalar(double x, double y, double& re, double& im) {
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    if (std::isfinite(x) && std::isfinite(y)) {
        long double d, l;
        arcsine_scalar(std::fabs(x), std::fabs(y), d, l);
        re = double(std::atan2(d, (long double)x));
        im = -double(l);
    } else if (std::isnan(y)) {
        if (std::isinf(x)) re = nan, im = inf;
        else if (x == 0) re = kHalfPi, im = nan;
        else re = im = nan;
    } else if (std::isinf(y)) {
        im = -inf;
        re = std::isnan(x) ? nan : !std::isinf(x) ? kHalfPi : x < 0 ? kThreeQuarterPi : kQuarterPi;
    } else {  // x infinite or NaN, y finite
        im = std::isnan(x) ? nan : -inf;
        re = std::isnan(x) ? nan : x < 0 ? kPi : 0.0;
    }
    if (std::signbit(y)) im = -im;
}

struct Asin {
    static void lanes(vd x, vd y, vd& re, vd& im, vd& mark) {
        vd ax = SD::abs(x), ay = SD::abs(y), d;
        mark = arcsine_marked(ax, ay);
        arcsine_lanes(ax, ay, d, im);
        re = SD::copysign(invtrig::atan2_lanes<false, Variant::HA>(ax, d), x);
        im = SD::copysign(im, y);
    }
    static int scalar(double x, double y, double& re, double& im) {
        asinh_scalar(-y, x, im, re);  // asin z = -i asinh(iz)
        im = -im;
        return QOR_VM_STATUS_OK;
    }
};

struct Asinh {
    static void lanes(vd x, vd y, vd& re, vd& im, vd& mark) {
        vd ax = SD::abs(y), ay = SD::abs(x), d;  // asin(|y| + i|x|)
        mark = arcsine_marked(ax, ay);
        arcsine_lanes(ax, ay, d, re);
        re = SD::copysign(re, x);
        im = SD::copysign(invtrig::atan2_lanes<false, Variant::HA>(ax, d), y);
    }
    static int scalar(double x, double y, double& re, double& im) {
        asinh_scalar(x, y, re, im);
        return QOR_VM_STATUS_OK;
    }
};

struct Acos {
    static void lanes(vd x, vd y, vd& re, vd& im, vd& mark) {
        vd ax = SD::abs(x), ay = SD::abs(y), d;
        mark = arcsine_marked(ax, ay);
        arcsine_lanes(ax, ay, d, im);
        re = invtrig::atan2_lanes<false, Variant::HA>(d, SD::select(mark, SD::set1(0.5), x));
        im = SD::copysign(im, SD::neg(y));
    }
    static int scalar(double x, double y, double& re, double& im) {
        acos_scalar(x, y, re, im);
        return QOR_VM_STATUS_OK;
    }
};

struct Acosh {
    static void lanes(vd x, vd y, vd& re, vd& im, vd& mark) {
        vd ax = SD::abs(x), ay = SD::abs(y), d;
        mark = arcsine_marked(ax, ay);
        arcsine_lanes(ax, ay, d, re);
        im = SD::copysign(invtrig::atan2_lanes<false, Variant::HA>(d, SD::select(mark, SD::set1(0.5), x)), y);
    }
    static int scalar(double x, double y, double& re, double& im) {
        if (x == 0 && std::isnan(y)) {  // acos gives pi/2 there; acosh gives NaN in both parts
            re = im = std::numeric_limits<double>::quiet_NaN();
            return QOR_VM_STATUS_OK;
        }
        double u, v;
        acos_scalar(x, y, u, v);
        re = std::fabs(v);
        im = std::copysign(u, y);
        return QOR_VM_STATUS_OK;
    }
};

}  // namespace qor::vm::complex
