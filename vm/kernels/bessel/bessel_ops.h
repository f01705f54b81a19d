// J0, J1, Y0, Y1, real: one kernel per precision (all three slots).
//   double: the pair of bessel_core.h rounded once: about 0.51 ulp (the
//     pair's relative error is near 2^-57), except near the zeros beyond
//     64, where the error is absolute (about 2^-64 sqrt(2/(pi x)) there).
//   single: the same methods in plain doubles (relative error about
//     2^-37), rounded once to float: about 0.5 ulp.
// J0 is even, J1 odd; J0(+-inf) = J1(+-inf) = +0, J0(0) = 1,
// J1(+-0) = +-0 and J1 of an argument below 2 FLT_MIN / 2 DBL_MIN, whose
// value is subnormal, has code 4.  Y0 and Y1 of a negative argument (and
// -inf) are NaN with code 1, of +-0 -inf with code 2, Y(+inf) = +0; Y1 of
// a subnormal whose value passes the largest finite gives -inf, code 3.
// NaN gives quiet NaN without a code.  Arguments of 2^19 and more go to the
// scalar routine, which reduces them by the bits of 2/pi.
#pragma once

#include <cfloat>
#include <cmath>
#include <limits>

#include "../exp_log_loop.h"
#include "bessel_core.h"

namespace qor::vm::bessel {

inline constexpr bool is_j(Kind k) { return k == Kind::J0 || k == Kind::J1; }

// The scalar routine of one double argument.
template <Kind K>
int scalar(double x, double& y) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    x = flush_subnormal(x);
    if (std::isnan(x)) {
        y = x + x;
        return QOR_VM_STATUS_OK;
    }
    const double ax = std::fabs(x);
    if constexpr (is_j(K)) {
        const double sign = K == Kind::J1 ? std::copysign(1.0, x) : 1.0;
        if (ax == inf) {
            y = 0.0;
            return QOR_VM_STATUS_OK;
        }
        if (K == Kind::J1 && ax < 0x1p-1000) {  // x/2 (1 - x^2/8): x/2 rounded
            y = x * 0.5;
            return y != 0.0 && std::fabs(y) < DBL_MIN ? QOR_VM_STATUS_UNDERFLOW : QOR_VM_STATUS_OK;
        }
        y = sign * (ax < 0x1p19 ? simd::vget0_d_vd([&] {
                        const Pair p = value<K>(SD::set1(ax));
                        return SD::add(p.hi, p.lo);
                    }())
                                 : huge<K>(ax));
        return QOR_VM_STATUS_OK;
    } else {
        if (x < 0.0) {
            y = std::numeric_limits<double>::quiet_NaN();
            return QOR_VM_STATUS_DOMAIN;
        }
        if (x == 0.0) {
            y = -inf;
            return QOR_VM_STATUS_SING;
        }
        if (x == inf) {
            y = 0.0;
            return QOR_VM_STATUS_OK;
        }
        if (x >= 0x1p19) {
            y = huge<K>(x);
            return QOR_VM_STATUS_OK;
        }
        if (x >= DBL_MIN) {
            const Pair p = value<K>(SD::set1(x));
            y = simd::vget0_d_vd(SD::add(p.hi, p.lo));
            return QOR_VM_STATUS_OK;
        }
        if constexpr (K == Kind::Y0) {
            const Pair p = small<K>(SD::set1(x), log_core::scalar_pieces<log_core::Accuracy::High>(x));
            y = simd::vget0_d_vd(SD::add(p.hi, p.lo));
            return QOR_VM_STATUS_OK;
        } else {
            // -(2/pi)/x, the rest below 2^-900 of it: from x 2^60, scaled back.
            const Pair q = two_over_pi_x(SD::set1(x * 0x1p60));
            y = -simd::vget0_d_vd(SD::add(q.hi, q.lo)) * 0x1p60;
            return std::isinf(y) ? QOR_VM_STATUS_OVERFLOW : QOR_VM_STATUS_OK;
        }
    }
}

template <Kind K>
struct DoubleBessel {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const {
        const vd big = lanes::upper_word_above(x, kVectorLimitUpper);
        if constexpr (K == Kind::J0) return big;
        else if constexpr (K == Kind::J1)
            return SD::bit_or(big, Bits<double>::int_greater(SD::set1(0x1p-1000), SD::abs(x)));
        else return SD::bit_or(big, lanes::not_positive_normal(x));
    }
    vd operator()(vd x) const {
        const vd ax = SD::abs(x);
        const Pair p = value<K>(ax);
        const vd y = SD::add(p.hi, p.lo);
        if constexpr (K == Kind::J1) return SD::bit_xor(y, sign_of<double>(x));
        else return y;
    }
    int fix(double x, double& y) const { return scalar<K>(x, y); }
};

template <Kind K>
struct SingleBessel {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const {
        const vf big = lanes::magnitude_above(x, kVectorLimitSingle);
        if constexpr (K == Kind::J0) return big;
        else if constexpr (K == Kind::J1)
            return SF::bit_or(big, Bits<float>::int_greater(SF::set1(0x1p-125f), SF::abs(x)));
        else return SF::bit_or(big, lanes::not_positive_normal(x));
    }
    vf operator()(vf x) const {
        auto half = [](vd h) {
            const vd y = value_plain<K>(SD::abs(h));
            if constexpr (K == Kind::J1) return SD::bit_xor(y, sign_of<double>(h));
            else return y;
        };
        return lanes::narrow(half(lanes::low_half(x)), half(lanes::high_half(x)));
    }
    int fix(float x, float& r) const {
        double y;
        const int code = scalar<K>(double(flush_subnormal(x)), y);
        r = float(y);
        if (code != QOR_VM_STATUS_OK) return code;
        if (std::isinf(r) && std::isfinite(x)) return QOR_VM_STATUS_OVERFLOW;
        if (r != 0.0f && std::fabs(r) < FLT_MIN) return QOR_VM_STATUS_UNDERFLOW;
        return QOR_VM_STATUS_OK;
    }
};

}  // namespace qor::vm::bessel
