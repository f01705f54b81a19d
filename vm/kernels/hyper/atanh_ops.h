// Atanh, real: atanh x = ln((1 + a)/(1 - a))/2 with a = |x| < 1, the sign of
// x set last.
//   double (HA, and LA serving EP too: the same computation, since the
//   quotient without its residual would lose about 2 ulp next to 1/8):
//     a < 1/8: x + x^3 P(x^2), P the Taylor series 1/3 + x^2/5 + ... up to
//       the term of x^16 (the tail stays below 2^-59 of the result).
//     otherwise 1 + a and 1 - a as exact pairs, their quotient rounded and
//       corrected by the exactly formed residual, ln of the pair by the
//       reduction of Ln (about 0.52 ulp).
//   single: 1 + a and 1 - a are exact in double, one division, the short
//     logarithm (about 2^-30), and P to x^8 below 1/8; rounded once.
// atanh(+-1) is +-inf, code 2 (singularity); |x| > 1 (infinities included)
// gives NaN, code 1 (domain); NaN gives NaN without a code.
#pragma once

#include <cmath>
#include <limits>

#include "hyper_core.h"

namespace qor::vm::hyper {

using namespace hyper_core;

// 1/19, 1/17, ..., 1/3: the Taylor coefficients of (atanh x - x)/x^3 in x^2.
inline constexpr double kAtanhTaylor9[9] = {dbl(0x3FAAF286BCA1AF28ull), dbl(0x3FAE1E1E1E1E1E1Eull),
                                            dbl(0x3FB1111111111111ull), dbl(0x3FB3B13B13B13B14ull),
                                            dbl(0x3FB745D1745D1746ull), dbl(0x3FBC71C71C71C71Cull),
                                            dbl(0x3FC2492492492492ull), dbl(0x3FC999999999999Aull),
                                            dbl(0x3FD5555555555555ull)};
inline constexpr double kAtanhTaylor5[5] = {kAtanhTaylor9[4], kAtanhTaylor9[5], kAtanhTaylor9[6], kAtanhTaylor9[7],
                                            kAtanhTaylor9[8]};

// Valid for |x| < 1 (lanes at or above 1 give garbage).
template <bool Single>
QOR_KERNEL_INLINE vd atanh_double(vd x) {
    const vd a = SD::abs(x);
    auto large = [&] {
        const vd one = SD::set1(1.0), zero = SD::set1(0.0);
        vd ln;
        if constexpr (Single) {
            ln = ln_pair_short(SD::div(SD::add(one, a), SD::sub(one, a)), zero, zero);
        } else {
            const Pair n = two_sum(one, a);
            const Pair d = two_sum(one, SD::neg(a));
            const vd q = SD::div(n.hi, d.hi);
            const Pair qd = two_prod(q, d.hi);
            const vd res = SD::sub(SD::add(SD::sub(SD::sub(n.hi, qd.hi), qd.lo), n.lo), SD::mul(q, d.lo));
            ln = ln_scaled(q, SD::div(res, n.hi), zero);  // (q + res/d) / q = 1 + res/n to 2^-52 of res/n
        }
        return SD::copysign(SD::mul(ln, SD::set1(0.5)), x);
    };
    auto small = [&] {
        if constexpr (Single) return odd_series(x, kAtanhTaylor5);
        else return odd_series(x, kAtanhTaylor9);
    };
    return pick(SD::lt(a, SD::set1(0.125)), small, large);
}

// The scalar routine of the arguments with |x| >= 1 and NaN.
template <class T>
inline int atanh_special(T x, T& y) {
    if (x != x) {
        y = x + x;
        return QOR_VM_STATUS_OK;
    }
    if (x == T(1) || x == T(-1)) {
        y = std::copysign(std::numeric_limits<T>::infinity(), x);
        return QOR_VM_STATUS_SING;
    }
    y = std::numeric_limits<T>::quiet_NaN();
    return QOR_VM_STATUS_DOMAIN;
}

struct DoubleAtanh {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return lanes::upper_word_above(x, 0x3FEFFFFF); }  // |x| >= 1, inf, NaN
    vd operator()(vd x) const { return atanh_double<false>(x); }
    int fix(double x, double& y) const { return atanh_special(x, y); }
};

struct SingleAtanh {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return lanes::magnitude_above(x, 0x3F7FFFFFu); }
    vf operator()(vf x) const { return through_double(x, atanh_double<true>); }
    int fix(float x, float& y) const { return atanh_special(x, y); }
};

}  // namespace qor::vm::hyper
