// Pow2o3, real: x^(2/3) = cbrt(x)^2, defined for every x (the real cube
// root of a negative x), even in x; one kernel for all slots.
//   double: the HA cube root as t + corr (cbrt_core.h), squared as
//     t^2 + corr (2t + corr) with t^2 exact, rounded once (about 0.5 ulp);
//   single: in double, the Newton-refined root squared, rounded once.
// Zeros give +0, infinities +inf, NaN NaN; subnormals are scaled by 2^54
// (single 2^24) in the scalar routine.  Nothing is ever reported.
#pragma once

#include "cbrt_core.h"
#include "../driver.h"

namespace qor::vm::cbrt_core {

QOR_KERNEL_INLINE vd pow2o3_positive(vd ax) {
    const Reduced a = reduce(ax);
    const Split s = cbrt_split(a);
    const vd y = SD::add(SD::mul(s.t, s.t), SD::mul(s.corr, SD::add(SD::add(s.t, s.t), s.corr)));
    return scale_up(scale_up(y, a.shift), a.shift);
}

QOR_KERNEL_INLINE vd pow2o3_positive_single(vd ax) {
    const Reduced a = reduce(ax);
    const vd g = newton_inverse(a);
    const vd c = SD::mul(SD::mul(a.v, g), g);
    return scale_up(scale_up(SD::mul(c, c), a.shift), a.shift);
}

template <class Real>
struct Pow2o3Op {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    [[gnu::always_inline]] static V positive(V ax) {
        if constexpr (sizeof(T) == 8) return pow2o3_positive(ax);
        else return lanes::narrow(pow2o3_positive_single(lanes::low_half(ax)), pow2o3_positive_single(lanes::high_half(ax)));
    }
    [[gnu::always_inline]] V operator()(V x) const { return positive(S::abs(x)); }
    [[gnu::always_inline]] V special(V x, V) const { return lanes::not_positive_normal(S::abs(x)); }
    int fix(T x, T& r) const {
        x = flush_subnormal(x);
        const T ax = std::fabs(x);
        if (ax == T(0) || !std::isfinite(ax)) {
            r = ax + ax;
            return QOR_VM_STATUS_OK;
        }
        constexpr T up = sizeof(T) == 8 ? T(0x1p54) : T(0x1p24), down = sizeof(T) == 8 ? T(0x1p-36) : T(0x1p-16);
        r = ax < std::numeric_limits<T>::min() ? on_lane(ax * up, positive) * down : on_lane(ax, positive);
        return QOR_VM_STATUS_OK;
    }
};

}  // namespace qor::vm::cbrt_core
