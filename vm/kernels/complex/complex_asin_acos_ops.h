// Complex Asin, Acos, Asinh, Acosh (one kernel for every slot).
//
// Hull, Fairgrieve and Tang's method on x = |Re z|, y = |Im z|:
//   R = |z + 1|, S = |z - 1|, A = (R + S)/2 >= 1,
//   asin z = atan2(x, D) + i ln(1 + Am1 + sqrt(Am1 (A + 1))),
//   acos z = atan2(D, Re z) - i (the same logarithm),
// with D = sqrt(A^2 - x^2) and Am1 = A - 1.  Both differences come from
// the positive terms r = R - (1 + x) = y^2/(R + 1 + x) and
// s = S - |1 - x| = y^2/(S + |1 - x|) with t = (r + s)/2:
//   A - 1 = t + max(x - 1, 0),   A - x = t + max(1 - x, 0),
// so that nothing cancels, at the branch points z = +-1 included.  The
// signs follow the odd and conjugate symmetries; asinh z = -i asin(iz),
// acosh z = (|Im acos z|, Re acos z with the sign of Im z).
//
// Double: every step in pairs (about 100 bits: 1 + x and 1 - x exact, the
// squares exact, roots and quotients corrected by their residuals), then
// log1p and the arctangent of the real kernels on the pairs (about 0.51
// ulp each): within 0.51 ulp per part against MPC.  Double LA and EP (one
// kernel): the same formulas in plain double, Atan2's HA method and Log1p
// (at most 1 ulp measured, 2 claimed).  Single: the plain double
// formulas with the arctangent for single results, rounded once at the
// end (0.51 ulp).
//
// The vector path takes parts that are zero or in [2^-500, 2^500].  The
// scalar routine takes the rest: the same formulas in extended precision,
// whose range holds every square and product of double parts, and the
// special values (NaN, infinities) of C's complex functions.  Nothing is
// an error: nothing is reported.
#pragma once

#include <cmath>
#include <limits>

#include "complex_inverse_lanes.h"

namespace qor::vm::complex {

// D and u = Am1 + sqrt(Am1 (A + 1)) (so that Im asin = log1p(u)) for
// x, y >= 0 in the vector path's range, in plain double.
QOR_KERNEL_INLINE void arcsine_plain(vd x, vd y, vd& d, vd& u) {
    const vd one = SD::set1(1.0), tiny = SD::set1(0x1p-1000);
    const vd yy = SD::mul(y, y);
    const vd xp = SD::add(one, x), xm = SD::abs(SD::sub(one, x));
    const vd r = SD::sqrt(SD::add(SD::mul(xp, xp), yy)), s = SD::sqrt(SD::add(SD::mul(xm, xm), yy));
    // S + |1 - x| is 0 only at z = 1, where y^2 is 0 too: 0/tiny.
    const vd t = SD::mul(SD::set1(0.5), SD::add(SD::div(yy, SD::add(r, xp)), SD::div(yy, SD::max(SD::add(s, xm), tiny))));
    const vd below = SD::lt(x, one);
    const vd am1 = SD::add(t, SD::bit_andnot(below, xm)), amx = SD::add(t, SD::bit_and(below, xm));
    d = SD::sqrt(SD::mul(amx, SD::add(am1, xp)));
    u = SD::add(am1, SD::sqrt(SD::mul(am1, SD::add(am1, SD::set1(2.0)))));
}

// The same in pairs.
QOR_KERNEL_INLINE void arcsine_pairs(vd x, vd y, Pair& d, Pair& u) {
    const vd one = SD::set1(1.0);
    const Pair yy = pair::two_prod(y, y);
    const Pair xp = pair::two_sum(one, x);
    Pair xm = pair::two_sum(one, SD::neg(x));
    const vd flip = sign_of<double>(xm.hi);
    xm = {SD::bit_xor(xm.hi, flip), SD::bit_xor(xm.lo, flip)};  // |1 - x|
    const Pair r = sqrt_pair(add(square(xp), yy)), s = sqrt_pair(add(square(xm), yy));
    Pair s_den = add(s, xm);
    s_den.hi = SD::max(s_den.hi, SD::set1(0x1p-1000));  // 0 only at z = 1, where y^2 is 0 too
    const Pair t = half(add(div(yy, add(r, xp)), div(yy, s_den)));
    const vd below = SD::lt(x, one);
    const Pair xm_above{SD::bit_andnot(below, xm.hi), SD::bit_andnot(below, xm.lo)};
    const Pair xm_below{SD::bit_and(below, xm.hi), SD::bit_and(below, xm.lo)};
    const Pair am1 = add(t, xm_above), amx = add(t, xm_below);
    d = sqrt_pair(mul(amx, add(am1, xp)));
    u = add(am1, sqrt_pair(mul(am1, add(am1, SD::set1(2.0)))));
}

// The lanes of asin(x + iy) for x, y >= 0: Re = atan2(x, D), Im = log1p(u);
// or of acos with `acos`: Re = atan2(D, x) with the signed x.
template <Eval E, bool Acos>
QOR_KERNEL_INLINE ZD arcsine_parts(vd ax, vd ay, vd x) {
    if constexpr (E != Eval::pairs) {
        vd d, u;
        arcsine_plain(ax, ay, d, u);
        return {Acos ? atan2_plain<E>(d, x) : atan2_plain<E>(ax, d), explog::log1p_double(u)};
    } else {
        Pair d, u;
        arcsine_pairs(ax, ay, d, u);
        const vd zero = SD::set1(0.0);
        return {Acos ? atan2_pair(d, {x, zero}) : atan2_pair({ax, zero}, d), log1p_pair(u)};
    }
}

inline constexpr double kArcsineCross = 0.6417;  // x/A above it: D from S, not from A - x
inline constexpr double kArcsineLogCross = 1.5;  // A above it: Am1 = A - 1 directly

// HFT's formulas for one element in extended precision: any finite x, y >= 0.
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
    template <Eval E>
    static ZD lanes(ZD z, vd& mark) {
        vd ax = z.re, ay = z.im;
        mark = moderate_parts(ax, ay);
        const ZD w = arcsine_parts<E, false>(ax, ay, ax);
        return {SD::copysign(w.re, z.re), SD::copysign(w.im, z.im)};
    }
    static int scalar(double x, double y, double& re, double& im) {
        asinh_scalar(-y, x, im, re);  // asin z = -i asinh(iz)
        im = -im;
        return QOR_VM_STATUS_OK;
    }
};

struct Asinh {
    template <Eval E>
    static ZD lanes(ZD z, vd& mark) {
        vd ax = z.im, ay = z.re;  // asin(|y| + i|x|)
        mark = moderate_parts(ax, ay);
        const ZD w = arcsine_parts<E, false>(ax, ay, ax);
        return {SD::copysign(w.im, z.re), SD::copysign(w.re, z.im)};
    }
    static int scalar(double x, double y, double& re, double& im) {
        asinh_scalar(x, y, re, im);
        return QOR_VM_STATUS_OK;
    }
};

struct Acos {
    template <Eval E>
    static ZD lanes(ZD z, vd& mark) {
        vd ax = z.re, ay = z.im;
        mark = moderate_parts(ax, ay);
        const ZD w = arcsine_parts<E, true>(ax, ay, SD::select(mark, SD::set1(0.5), z.re));
        return {w.re, SD::copysign(w.im, SD::neg(z.im))};
    }
    static int scalar(double x, double y, double& re, double& im) {
        acos_scalar(x, y, re, im);
        return QOR_VM_STATUS_OK;
    }
};

struct Acosh {
    template <Eval E>
    static ZD lanes(ZD z, vd& mark) {
        vd ax = z.re, ay = z.im;
        mark = moderate_parts(ax, ay);
        const ZD w = arcsine_parts<E, true>(ax, ay, SD::select(mark, SD::set1(0.5), z.re));
        return {w.im, SD::copysign(w.re, z.im)};
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
