// Asin, Acos, Asinpi, Acospi, real (methods in invtrig_core.h).
//   double:
//     HA: the exact method, a polynomial of 13 terms on v^2 <= 1/4 (about
//         0.65 ulp); the pi-scaled forms, one kernel for every slot, with the
//         series' leading term exact as well, times 1/pi in two parts
//         (about 0.6 ulp).
//     LA: no correction of the root, 12 terms (about 2.6 ulp).
//     EP: 6 terms (about 2^-30 relative).
//   single:
//     HA: computed in double with 7 terms and rounded once (0.5 ulp plus
//         2^-30); the pi-scaled forms likewise.
//     LA, EP: single-precision arithmetic with 5 terms (about 2.6 ulp) and
//         2 terms (about 2^-12 relative).
// |x| > 1 (infinities included) is a domain error (code 1) with a NaN
// result; NaN gives a quiet NaN without a report; asin(-0) = -0.  The
// double asinpi of |x| < 2^-900, whose result may be subnormal, is
// rounded once by the scalar routine.
#pragma once

#include "../driver.h"
#include "../variant.h"
#include "invtrig_core.h"

namespace qor::vm::invtrig {

enum class Arc { Sine, Cosine };

template <class T, Arc F, bool PiScaled>
struct ArcsineBase {
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    static constexpr bool screens_tiny = sizeof(T) == 8 && PiScaled && F == Arc::Sine;

    // |x| above 1 and NaN; for the double asinpi also 0 < |x| < 2^-900.
    [[gnu::always_inline]] V special(V x) const {
        const V a = S::abs(x);
        V m = Bits<T>::int_greater(a, S::set1(T(1)));
        if constexpr (screens_tiny)
            m = S::bit_or(m, S::bit_and(Bits<T>::int_greater(S::set1(T(0x1p-900)), a), Bits<T>::int_greater(a, S::set1(T(0)))));
        return m;
    }
};

// The scalar routine: NaN quietly, |x| > 1 a domain error, tiny asinpi
// rounded once; any other marked argument through the vector path.
template <class Op, class T>
int arcsine_fix(const Op& op, T x, T& r) {
    x = flush_subnormal(x);
    if (std::isnan(x)) {
        r = x + x;
        return QOR_VM_STATUS_OK;
    }
    if (std::fabs(x) > T(1)) {
        r = std::numeric_limits<T>::quiet_NaN();
        return QOR_VM_STATUS_DOMAIN;
    }
    if constexpr (Op::screens_tiny) {
        if (std::fabs(x) < 0x1p-900) {
            r = T(tiny_over_pi(double(x)));
            return QOR_VM_STATUS_OK;
        }
    }
    alignas(16) T out[16 / sizeof(T)];
    simd::Simd<T>::store(out, op(simd::Simd<T>::set1(x)));
    r = out[0];
    return QOR_VM_STATUS_OK;
}

// Double precision: Exact with 13 terms (HA and the pi-scaled forms),
// Plain with 12 (LA) or 6 (EP).
template <Arc F, bool PiScaled, Variant Var>
struct DoubleArcsine : ArcsineBase<double, F, PiScaled> {
    using T = double;
    static constexpr bool exact = PiScaled || Var == Variant::HA;
    [[gnu::always_inline]] vd operator()(vd x) const {
        vd hi, lo;
        if constexpr (PiScaled) parts<Method::Finer>(x, kAsinP13, hi, lo);
        else if constexpr (exact) parts<Method::Exact>(x, kAsinP13, hi, lo);
        else if constexpr (Var == Variant::LA) parts<Method::Plain>(x, kAsinP12, hi, lo);
        else parts<Method::Plain>(x, kAsinP6, hi, lo);
        vd r = PiScaled ? times_inv_pi({hi, lo}) : SD::add(hi, lo);
        if constexpr (F == Arc::Sine) r = SD::bit_xor(r, sign_of<double>(x));
        return r;
    }
    int fix(double x, double& r) const { return arcsine_fix(*this, x, r); }

private:
    template <Method M, std::size_t N>
    QOR_KERNEL_INLINE static void parts(vd x, const double (&p)[N], vd& hi, vd& lo) {
        if constexpr (F == Arc::Sine) asin_parts<double, M>(SD::abs(x), p, hi, lo);
        else acos_parts<double, M>(x, p, hi, lo);
    }
};

// Single precision: HA (and the pi-scaled forms) in double, LA and EP in
// single-precision arithmetic.
template <Arc F, bool PiScaled, Variant Var>
struct SingleArcsine : ArcsineBase<float, F, PiScaled> {
    using T = float;
    static constexpr bool in_double = PiScaled || Var == Variant::HA;
    [[gnu::always_inline]] vf operator()(vf x) const {
        if constexpr (in_double) {
            return lanes::narrow(in_double_half(lanes::low_half(x)), in_double_half(lanes::high_half(x)));
        } else {
            vf hi, lo;
            if constexpr (Var == Variant::LA) single_parts(x, kAsinP5f, hi, lo);
            else single_parts(x, kAsinP2f, hi, lo);
            vf r = SF::add(hi, lo);
            if constexpr (F == Arc::Sine) r = SF::bit_xor(r, sign_of<float>(x));
            return r;
        }
    }
    int fix(float x, float& r) const { return arcsine_fix(*this, x, r); }

private:
    template <std::size_t N>
    QOR_KERNEL_INLINE static void single_parts(vf x, const float (&p)[N], vf& hi, vf& lo) {
        if constexpr (F == Arc::Sine) asin_parts<float, Method::Plain>(SF::abs(x), p, hi, lo);
        else acos_parts<float, Method::Plain>(x, p, hi, lo);
    }
    QOR_KERNEL_INLINE static vd in_double_half(vd x) {
        vd hi, lo;
        if constexpr (F == Arc::Sine) asin_parts<double, Method::Plain>(SD::abs(x), kAsinP7, hi, lo);
        else acos_parts<double, Method::Plain>(x, kAsinP7, hi, lo);
        vd r = SD::add(hi, lo);
        if constexpr (PiScaled) r = SD::mul(r, SD::set1(kInvPiHi));
        if constexpr (F == Arc::Sine) r = SD::bit_xor(r, sign_of<double>(x));
        return r;
    }
};

}  // namespace qor::vm::invtrig
