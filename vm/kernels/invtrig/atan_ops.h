// Atan, Atanpi, real (methods in invtrig_core.h).
//   double:
//     HA: the exact breakpoint method with 6 terms (about 0.51 ulp); the
//         pi-scaled form, one kernel for every slot, the same times 1/pi in
//         two parts.
//     LA: the plain breakpoint method with the low parts of the table and
//         5 terms (about 2.5 ulp).
//     EP: the plain method on the coarse rows (angles j pi/8) with 4 terms
//         (about 2^-33 relative).
//   single:
//     HA: the plain method on the coarse rows in double, rounded once (0.5
//         ulp plus 2^-9); the pi-scaled form likewise.
//     LA, EP: t = min(|x|, 1)/max(|x|, 1) (a true division), atan(t) from
//         8 terms (about 2.4 ulp) or 4 terms (about 2^-12) on [0, 1], and
//         pi/2 - atan(t) for |x| > 1.
// atan(+-inf) = +-pi/2 and NaN come from the scalar routine without a
// report; so does the double atanpi of 0 < |x| < 2^-900 (rounded once).
#pragma once

#include "../driver.h"
#include "../variant.h"
#include "invtrig_core.h"

namespace qor::vm::invtrig {

template <class T, bool PiScaled>
struct ArctanBase {
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    static constexpr bool screens_tiny = sizeof(T) == 8 && PiScaled;

    [[gnu::always_inline]] V special(V x) const {
        V m = S::isnonfinite(x);
        if constexpr (screens_tiny) {
            const V a = S::abs(x);
            m = S::bit_or(m, S::bit_and(Bits<T>::int_greater(S::set1(T(0x1p-900)), a), Bits<T>::int_greater(a, S::set1(T(0)))));
        }
        return m;
    }
};

template <class Op, class T>
int arctan_fix(const Op& op, T x, T& r, bool pi_scaled) {
    x = flush_subnormal(x);
    if (std::isnan(x)) {
        r = x + x;
    } else if (std::isinf(x)) {
        r = std::copysign(T(pi_scaled ? 0.5 : kHalfPiHi), x);
    } else if (Op::screens_tiny && std::fabs(x) < 0x1p-900) {
        r = T(tiny_over_pi(double(x)));
    } else {
        alignas(16) T out[16 / sizeof(T)];
        simd::Simd<T>::store(out, op(simd::Simd<T>::set1(x)));
        r = out[0];
    }
    return QOR_VM_STATUS_OK;
}

template <bool PiScaled, Variant Var>
struct DoubleArctan : ArctanBase<double, PiScaled> {
    using T = double;
    [[gnu::always_inline]] vd operator()(vd x) const {
        const vd a = SD::abs(x), one = SD::set1(1.0), none = SD::set1(0.0);
        const vi base = simd::vzero_vi();
        vd r;
        if constexpr (PiScaled || Var == Variant::HA) {
            const Pair p = atan_exact(a, one, none, base, kAtanP6);
            r = PiScaled ? times_inv_pi(p) : SD::add(p.hi, p.lo);
        } else if constexpr (Var == Variant::LA) {
            r = atan_plain<Rows::Fine>(a, one, none, base, kAtanP5);
        } else {
            r = atan_plain<Rows::Coarse>(a, one, none, base, kAtanCoarseP4);
        }
        return SD::bit_xor(r, sign_of<double>(x));
    }
    int fix(double x, double& r) const { return arctan_fix(*this, x, r, PiScaled); }
};

template <bool PiScaled, Variant Var>
struct SingleArctan : ArctanBase<float, PiScaled> {
    using T = float;
    [[gnu::always_inline]] vf operator()(vf x) const {
        if constexpr (PiScaled || Var == Variant::HA) {
            return lanes::narrow(in_double_half(lanes::low_half(x)), in_double_half(lanes::high_half(x)));
        } else {
            const vf a = SF::abs(x), one = SF::set1(1.0f);
            const vf big = SF::gt(a, one);
            const vf t = SF::div(SF::min(a, one), SF::max(a, one));
            vf p;
            if constexpr (Var == Variant::LA) p = atan_unit(t, kAtanUnitP8);
            else p = atan_unit(t, kAtanUnitP4);
            const vf far = SF::add(SF::sub(SF::set1(PiParts<float>::half_hi), p), SF::set1(PiParts<float>::half_lo));
            return SF::bit_xor(SF::select(big, far, p), sign_of<float>(x));
        }
    }
    int fix(float x, float& r) const { return arctan_fix(*this, x, r, PiScaled); }

private:
    QOR_KERNEL_INLINE static vd in_double_half(vd x) {
        vd r = atan_plain<Rows::Coarse>(SD::abs(x), SD::set1(1.0), SD::set1(0.0), simd::vzero_vi(), kAtanCoarseP4);
        if constexpr (PiScaled) r = SD::mul(r, SD::set1(kInvPiHi));
        return SD::bit_xor(r, sign_of<double>(x));
    }
};

}  // namespace qor::vm::invtrig
