// Hypot, real: sqrt(x^2 + y^2) without undue overflow or underflow, as C's
// hypot: hypot(+-inf, y) = +inf even for a NaN y; an infinite result of
// finite arguments is an overflow (code 3).
//   double HA: exact squares (Dekker), their sum as a double-double, the
//     root r and the correction (s - r^2 + e)/(2r) with r^2 exact, rounded
//     once (about 0.5 ulp);
//   single HA: the squares and their sum in double (exact squares, one
//     rounding), the root rounded to single (0.5 ulp + 2^-28);
//   LA and EP: sqrt(x^2 + y^2) in the working precision (about 1.2 ulp).
// The vector path takes pairs whose larger magnitude lies in [2^-450,
// 2^450] (single LA/EP: [2^-60, 2^60]); the scalar routine scales the
// others by a power of two.  Single HA screens only infinities, NaN and
// an overflowing result.
#pragma once

#include <cfloat>

#include "../driver.h"
#include "pow_core.h"

namespace qor::vm::pow_core {

enum class Method { Exact, Plain };

// The larger and smaller magnitude, ordered by their patterns (NaN above
// infinity), without a flag.
template <class T>
QOR_KERNEL_INLINE void order(typename simd::Simd<T>::V x, typename simd::Simd<T>::V y, typename simd::Simd<T>::V& big,
                  typename simd::Simd<T>::V& small) {
    using S = simd::Simd<T>;
    const auto a = S::abs(x), b = S::abs(y);
    const auto gt = Bits<T>::int_greater(a, b);
    big = S::select(gt, a, b);
    small = S::select(gt, b, a);
}

// For big in [2^-450, 2^450] and small <= big: the root r of the rounded sum
// of squares and the correction to add to it.
struct RootAndCorrection {
    vd r, c;
};

QOR_KERNEL_INLINE RootAndCorrection hypot_exact_parts(vd big, vd small) {
    const vd ah = head26(big), al = SD::sub(big, ah);
    const vd bh = head26(small), bl = SD::sub(small, bh);
    const vd a2 = SD::mul(big, big), b2 = SD::mul(small, small);
    const vd a2e = SD::add(SD::add(SD::sub(SD::mul(ah, ah), a2), SD::mul(SD::add(ah, ah), al)), SD::mul(al, al));
    const vd b2e = SD::add(SD::add(SD::sub(SD::mul(bh, bh), b2), SD::mul(SD::add(bh, bh), bl)), SD::mul(bl, bl));
    const vd s = SD::add(a2, b2);
    const vd e = SD::add(SD::add(SD::sub(a2, s), b2), SD::add(a2e, b2e));  // a2 >= b2: Fast2Sum
    const vd r = SD::sqrt(s);
    const vd rh = head26(r), rl = SD::sub(r, rh);
    const vd rr = SD::mul(r, r);
    const vd rre = SD::add(SD::add(SD::sub(SD::mul(rh, rh), rr), SD::mul(SD::add(rh, rh), rl)), SD::mul(rl, rl));
    const vd d = SD::add(SD::sub(SD::sub(s, rr), rre), e);  // s - rr is exact
    return {r, SD::div(d, SD::add(r, r))};
}

QOR_KERNEL_INLINE vd hypot_exact(vd big, vd small) {
    const RootAndCorrection p = hypot_exact_parts(big, small);
    return SD::add(p.r, p.c);
}

// (r + c) 2^e for a result that may be subnormal, rounded once: r is split
// at the subnormal grid scaled by 2^-e, the high part scales exactly and
// only the tail is rounded by the scaling.
inline double scale_rounded_once(double r, double c, int e) {
    if (e >= DBL_MIN_EXP - 1) return std::scalbn(r + c, e);
    const double shifter = std::scalbn(1.5, DBL_MANT_DIG - 1 + (DBL_MIN_EXP - DBL_MANT_DIG) - e);
    const double high = (r + shifter) - shifter;
    const double tail = (r - high) + c;
    return std::scalbn(high, e) + std::scalbn(tail, e);
}

template <class T>
QOR_KERNEL_INLINE typename simd::Simd<T>::V hypot_plain(typename simd::Simd<T>::V big, typename simd::Simd<T>::V small) {
    using S = simd::Simd<T>;
    return S::sqrt(S::add(S::mul(big, big), S::mul(small, small)));
}

QOR_KERNEL_INLINE vd hypot_single_in_double(vd a, vd b) { return SD::sqrt(SD::add(SD::mul(a, a), SD::mul(b, b))); }

template <class Real, Method M>
struct HypotOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    static constexpr bool in_double = sizeof(T) == 4 && M == Method::Exact;
    static constexpr T lo = sizeof(T) == 8 ? T(0x1p-450) : T(0x1p-60);
    static constexpr T hi = sizeof(T) == 8 ? T(0x1p450) : T(0x1p60);

    [[gnu::always_inline]] static V core(V big, V small) {
        if constexpr (sizeof(T) == 8 && M == Method::Exact) return hypot_exact(big, small);
        else return hypot_plain<T>(big, small);
    }
    [[gnu::always_inline]] V operator()(V x, V y) const {
        if constexpr (in_double) {
            return lanes::narrow(hypot_single_in_double(lanes::low_half(x), lanes::low_half(y)),
                                 hypot_single_in_double(lanes::high_half(x), lanes::high_half(y)));
        } else {
            V big, small;
            order<T>(x, y, big, small);
            return core(big, small);
        }
    }
    [[gnu::always_inline]] V special(V x, V y, V r) const {
        if constexpr (in_double) {
            return S::bit_or(S::bit_or(S::isnonfinite(x), S::isnonfinite(y)), S::isnonfinite(r));
        } else {
            V big, small;
            order<T>(x, y, big, small);
            return S::bit_or(Bits<T>::int_greater(S::set1(lo), big), Bits<T>::int_greater(big, S::set1(hi)));
        }
    }
    int fix(T x, T y, T& r) const {
        x = flush_subnormal(x);
        y = flush_subnormal(y);
        if (std::isinf(x) || std::isinf(y)) {
            r = std::numeric_limits<T>::infinity();
            return QOR_VM_STATUS_OK;
        }
        if (std::isnan(x) || std::isnan(y)) {
            r = x + y;
            return QOR_VM_STATUS_OK;
        }
        T a = std::fabs(x), b = std::fabs(y);
        if (a < b) std::swap(a, b);
        if (a == T(0)) {
            r = T(0);
            return QOR_VM_STATUS_OK;
        }
        if constexpr (in_double) {
            r = T(std::sqrt(double(a) * double(a) + double(b) * double(b)));
        } else {
            // Scale the larger into [1, 2); a smaller one that underflows in
            // the scaling is below 2^-1000 of it and does not count.
            const int e = std::ilogb(a);
            const T sa = std::scalbn(a, -e), sb = std::scalbn(b, -e);
            if constexpr (sizeof(T) == 8 && M == Method::Exact) {
                const RootAndCorrection p = hypot_exact_parts(S::set1(sa), S::set1(sb));
                r = scale_rounded_once(simd::vget0_d_vd(p.r), simd::vget0_d_vd(p.c), e);
            } else {
                alignas(16) T out[S::lanes];
                S::store(out, core(S::set1(sa), S::set1(sb)));
                r = std::scalbn(out[0], e);
            }
        }
        return std::isinf(r) ? QOR_VM_STATUS_OVERFLOW : QOR_VM_STATUS_OK;
    }
};

}  // namespace qor::vm::pow_core
