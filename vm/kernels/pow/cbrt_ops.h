// Cbrt, real: the real cube root, odd in x (cbrt(-8) = -2, cbrt(-0) = -0).
//   double HA, LA: the 17-bit root t with its exact residual and a series
//     correction (cbrt_core.h), rounded once: within 0.5 ulp plus about
//     2^-9; the lower-accuracy slot has no cheaper method worth its own
//     error and uses the same one;
//   double EP: one Newton step on the inverse root, v g^2 (about 2^-32);
//   single HA: that Newton step in double, rounded once (0.5 ulp + 2^-8);
//   single LA: single arithmetic, one division-based Newton step (~1 ulp);
//   single EP: the polynomial of degree 4 alone (about 2^-13).
// Zeros, subnormals, infinities and NaN go to the scalar routine, which
// scales subnormals up by 2^54 (single: 2^24); nothing is ever reported.
#pragma once

#include "cbrt_core.h"
#include "../driver.h"

namespace qor::vm::cbrt_core {

template <Acc A>
QOR_KERNEL_INLINE vd cbrt_positive(vd ax) {
    const Reduced a = reduce(ax);
    vd y;
    if constexpr (A == Acc::EP) {
        const vd g = newton_inverse(a);
        y = SD::mul(SD::mul(a.v, g), g);
    } else {
        const Split s = cbrt_split(a);
        y = SD::add(s.t, s.corr);
    }
    return scale_up(y, a.shift);
}

// Single through double: the Newton step on the inverse root.
QOR_KERNEL_INLINE vd cbrt_positive_single_ha(vd ax) {
    const Reduced a = reduce(ax);
    const vd g = newton_inverse(a);
    return scale_up(SD::mul(SD::mul(a.v, g), g), a.shift);
}

template <Acc A>
QOR_KERNEL_INLINE vf cbrt_positive_single(vf ax) {
    if constexpr (A == Acc::HA) {
        return lanes::narrow(cbrt_positive_single_ha(lanes::low_half(ax)), cbrt_positive_single_ha(lanes::high_half(ax)));
    } else if constexpr (A == Acc::LA) {
        const ReducedF a = reduce(ax, kInvCbrt5f);
        const vf y0 = SF::mul(SF::mul(a.v, a.g), a.g);
        const vf q = SF::div(a.v, SF::mul(y0, y0));
        const vf y1 = SF::sub(y0, SF::mul(SF::sub(y0, q), SF::set1(float(kThird))));
        return scale_up(y1, a.shift);
    } else {
        const ReducedF a = reduce(ax, kInvCbrt4f);
        return scale_up(SF::mul(SF::mul(a.v, a.g), a.g), a.shift);
    }
}

template <class Real, Acc A>
struct CbrtOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    [[gnu::always_inline]] static V positive(V ax) {
        if constexpr (sizeof(T) == 8) return cbrt_positive<A>(ax);
        else return cbrt_positive_single<A>(ax);
    }
    [[gnu::always_inline]] V operator()(V x) const { return S::bit_or(positive(S::abs(x)), sign_of<T>(x)); }
    // Zeros, subnormals (also for single HA, which works in double: under
    // the flush-to-zero mode the conversion would flush them), infinities
    // and NaN.
    [[gnu::always_inline]] V special(V x, V) const { return lanes::not_positive_normal(S::abs(x)); }
    int fix(T x, T& r) const {
        x = flush_subnormal(x);
        if (x == T(0) || !std::isfinite(x)) {
            r = x + x;
            return QOR_VM_STATUS_OK;
        }
        // Subnormal: scale by 2^54 (2^24), whose cube root is exact.
        constexpr T up = sizeof(T) == 8 ? T(0x1p54) : T(0x1p24), down = sizeof(T) == 8 ? T(0x1p-18) : T(0x1p-8);
        const T ax = std::fabs(x);
        const T m = ax < std::numeric_limits<T>::min() ? on_lane(ax * up, positive) * down : on_lane(ax, positive);
        r = std::copysign(m, x);
        return QOR_VM_STATUS_OK;
    }
};

}  // namespace qor::vm::cbrt_core
