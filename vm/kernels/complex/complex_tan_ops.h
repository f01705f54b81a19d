// Complex Tan, Tanh (one kernel for every slot).
//
// Kahan's overflow-free form of tanh(x + iy):
//   t = tan y, s = sinh x, b = 1 + t^2, p = sqrt(1 + s^2),
//   tanh z = (b p s + i t)/(1 + b s^2),
// whose denominator is a sum of positive terms, so nothing cancels near
// the poles z = i(k + 1/2) pi.  tan z = -i tanh(iz).
//
// The vector path (double lanes; single elements are widened and their
// results rounded once more) takes |x| <= 20 and |y| < 2^19, with the real
// kernels' tangent (exact reduction, about 0.55 ulp) and hyperbolic sine
// (about 0.54 ulp).  The scalar routine takes the rest: for |x| > 20 the
// real part is +-1 to the last bit and the imaginary part
// 4 sin y cos y e^(-2|x|) (rounded once from extended precision, so that
// it underflows gracefully); other finite arguments by the same form in
// extended precision; and C's special values.  An infinite imaginary part
// with a finite real part (tan: the other way round) has no limit: NaN and
// the domain code.
#pragma once

#include <cmath>
#include <limits>

#include "../hyper/sinh_cosh_ops.h"
#include "../trig/trig_ops.h"
#include "complex_inverse_lanes.h"

namespace qor::vm::complex {

inline constexpr uint32_t kTanhFlatUpper = 0x40340000;  // upper word of 20: beyond it tanh x = +-1

// tanh(x + iy) for |x| <= 20, |y| < 2^19.
QOR_KERNEL_INLINE void tanh_lanes(vd x, vd y, vd& re, vd& im) {
    const vd one = SD::set1(1.0);
    const vd t = times_sign(trig::unsigned_value<trig::DoubleParts<Variant::HA>, trig::Fn::tan>(SD::abs(y)), y);
    const vd s = hyper::sinh_cosh<Variant::HA, true>(x);
    const vd b = SD::add(one, SD::mul(t, t));
    const vd ss = SD::mul(s, s);
    const vd p = SD::sqrt(SD::add(one, ss));
    const vd den = SD::add(one, SD::mul(b, ss));
    re = SD::div(SD::mul(SD::mul(b, p), s), den);
    im = SD::div(t, den);
}

QOR_KERNEL_INLINE vd tanh_marked(vd& x, vd& y) {
    const vd mark = SD::bit_or(lanes::upper_word_above(x, kTanhFlatUpper),
                               lanes::upper_word_above(y, trig::kVectorLimitUpper));
    x = SD::select(mark, SD::set1(0.5), x);
    y = SD::select(mark, SD::set1(0.5), y);
    return mark;
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
    if (std::fabs(x) > 20) {
        re = std::copysign(1.0, x);
        im = double(4 * std::sin(ly) * std::cos(ly) * std::exp(-2 * std::fabs(lx)));
        if (im == 0) im = std::copysign(0.0, double(std::sin(2 * ly)));
        return QOR_VM_STATUS_OK;
    }
    const long double t = std::tan(ly), s = std::sinh(lx), b = 1 + t * t, den = 1 + b * s * s;
    re = double(b * std::sqrt(1 + s * s) * s / den);
    im = double(t / den);
    return QOR_VM_STATUS_OK;
}

struct Tanh {
    static void lanes(vd x, vd y, vd& re, vd& im, vd& mark) {
        mark = tanh_marked(x, y);
        tanh_lanes(x, y, re, im);
    }
    static int scalar(double x, double y, double& re, double& im) { return tanh_scalar(x, y, re, im); }
};

struct Tan {
    static void lanes(vd x, vd y, vd& re, vd& im, vd& mark) {
        vd u = SD::neg(y), v = x, a, b;  // tanh(-y + ix) = a + ib, tan z = b - ia
        mark = tanh_marked(u, v);
        tanh_lanes(u, v, a, b);
        re = b;
        im = SD::neg(a);
    }
    static int scalar(double x, double y, double& re, double& im) {
        const int code = tanh_scalar(-y, x, im, re);
        im = -im;
        return code;
    }
};

}  // namespace qor::vm::complex
