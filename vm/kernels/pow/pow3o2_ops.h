// Pow3o2, real: x^(3/2) = x sqrt(x); one kernel for all slots.
//   double: s = sqrt(x) correctly rounded, the exact residual x - s^2 and
//     Dekker's product x s, summed as x s + (err + (x - s^2) s/2) and
//     rounded once (about 0.5 ulp), for x in [2^-600, 2^600];
//   single: x sqrt(x) in double, rounded once.
// The scalar routine takes the rest: a negative finite x is a domain error
// (code 1); -0 and -inf give +0 and +inf as pow(x, 1.5) does; overflow (x
// above about 2^682.7, single 2^85.3) reports 3 and a result below the
// smallest normal 4, computed by the HA method of Pow.
#pragma once

#include "../driver.h"
#include "pow_core.h"

namespace qor::vm::pow_core {

QOR_KERNEL_INLINE vd pow3o2_double(vd x) {
    const vd s = SD::sqrt(x);
    const vd sh = head26(s), sl = SD::sub(s, sh);
    const vd residual = SD::sub(SD::sub(SD::sub(x, SD::mul(sh, sh)), SD::mul(SD::add(sh, sh), sl)), SD::mul(sl, sl));
    const vd xh = head26(x), xl = SD::sub(x, xh);
    const vd p = SD::mul(x, s);
    const vd pe = SD::add(SD::add(SD::add(SD::sub(SD::mul(xh, sh), p), SD::mul(xh, sl)), SD::mul(xl, sh)), SD::mul(xl, sl));
    return SD::add(p, SD::add(pe, SD::mul(SD::mul(residual, s), SD::set1(0.5))));
}

QOR_KERNEL_INLINE vd pow3o2_single(vd x) { return SD::mul(x, SD::sqrt(x)); }

template <class Real>
struct Pow3o2Op {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    using B = Bits<T>;
    static constexpr bool reads_mode = true;
    // The vector path's range: its results are normal and no split leaves
    // the normal range.  Negative lanes and NaN fall outside as integers.
    static constexpr T lo = sizeof(T) == 8 ? T(0x1p-600) : T(0x1p-84);
    static constexpr T hi = sizeof(T) == 8 ? T(0x1p600) : T(0x1p85);
    [[gnu::always_inline]] V operator()(V x) const {
        if constexpr (sizeof(T) == 8) return pow3o2_double(x);
        else return lanes::narrow(pow3o2_single(lanes::low_half(x)), pow3o2_single(lanes::high_half(x)));
    }
    [[gnu::always_inline]] V special(V x, V) const {
        return S::bit_or(B::int_greater(S::set1(lo), x), B::int_greater(x, S::set1(hi)));
    }
    int fix(T x, T& r) const {
        x = flush_subnormal(x);
        if (std::isnan(x)) {
            r = x + x;
            return QOR_VM_STATUS_OK;
        }
        if (x == T(0) || std::isinf(x)) {
            r = std::fabs(x);
            return QOR_VM_STATUS_OK;
        }
        if (x < T(0)) {
            r = std::numeric_limits<T>::quiet_NaN();
            return QOR_VM_STATUS_DOMAIN;
        }
        int code;
        r = pow_abs(x, T(1.5), code);
        return code;
    }
};

}  // namespace qor::vm::pow_core
