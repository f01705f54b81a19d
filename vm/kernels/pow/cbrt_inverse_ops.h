// InvCbrt, real: x^(-1/3), odd in x; InvCbrt(+-0) = +-inf is a pole (code 2),
// InvCbrt(+-inf) = +-0.
//   double HA: the 16-bit root t, e = 1 - v t^3 from an exact product and
//     a series of order 4 (cbrt_core.h), rounded once (0.5 ulp plus ~2^-9);
//   double LA (also the EP slot): the series of order 3 on the polynomial's
//     value with a rounded residual (about 1 ulp);
//   single HA: one Newton step in double, rounded once (0.5 ulp + 2^-9);
//   single LA (also the EP slot of the strided form): one Newton step in
//     single (about 1.5 ulp);
//   single EP: the polynomial of degree 4 alone (about 2^-14).
// Zeros, subnormals, infinities and NaN go to the scalar routine.
#pragma once

#include "cbrt_core.h"
#include "../driver.h"

namespace qor::vm::cbrt_core {

template <Acc A>
QOR_KERNEL_INLINE vd inv_cbrt_positive(vd ax) {
    const Reduced a = reduce(ax);
    return scale_down(A == Acc::HA ? inverse_ha(a) : inverse_la(a), a.shift);
}

QOR_KERNEL_INLINE vd inv_cbrt_positive_single_ha(vd ax) {
    const Reduced a = reduce(ax);
    return scale_down(newton_inverse(a), a.shift);
}

template <Acc A>
QOR_KERNEL_INLINE vf inv_cbrt_positive_single(vf ax) {
    if constexpr (A == Acc::HA) {
        return lanes::narrow(inv_cbrt_positive_single_ha(lanes::low_half(ax)),
                             inv_cbrt_positive_single_ha(lanes::high_half(ax)));
    } else if constexpr (A == Acc::LA) {
        const ReducedF a = reduce(ax, kInvCbrt5f);
        const vf e = SF::sub(SF::set1(1.0f), SF::mul(SF::mul(a.v, a.g), SF::mul(a.g, a.g)));
        return scale_down(SF::add(a.g, SF::mul(a.g, SF::mul(e, SF::set1(float(kThird))))), a.shift);
    } else {
        const ReducedF a = reduce(ax, kInvCbrt4f);
        return scale_down(a.g, a.shift);
    }
}

template <class Real, Acc A>
struct InvCbrtOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    [[gnu::always_inline]] static V positive(V ax) {
        if constexpr (sizeof(T) == 8) return inv_cbrt_positive<A>(ax);
        else return inv_cbrt_positive_single<A>(ax);
    }
    [[gnu::always_inline]] V operator()(V x) const { return S::bit_or(positive(S::abs(x)), sign_of<T>(x)); }
    [[gnu::always_inline]] V special(V x, V) const { return lanes::not_positive_normal(S::abs(x)); }
    int fix(T x, T& r) const {
        x = flush_subnormal(x);
        if (std::isnan(x)) {
            r = x + x;
            return QOR_VM_STATUS_OK;
        }
        if (x == T(0)) {
            r = std::copysign(std::numeric_limits<T>::infinity(), x);
            return QOR_VM_STATUS_SING;
        }
        if (std::isinf(x)) {
            r = std::copysign(T(0), x);
            return QOR_VM_STATUS_OK;
        }
        constexpr T up = sizeof(T) == 8 ? T(0x1p54) : T(0x1p24), back = sizeof(T) == 8 ? T(0x1p18) : T(0x1p8);
        const T ax = std::fabs(x);
        const T m = ax < std::numeric_limits<T>::min() ? on_lane(ax * up, positive) * back : on_lane(ax, positive);
        r = std::copysign(m, x);
        return QOR_VM_STATUS_OK;
    }
};

}  // namespace qor::vm::cbrt_core
