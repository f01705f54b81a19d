// Frac and Modf, real.  Frac(x) = x - trunc(x) with the sign of x, so that
// Frac(-3) = -0 and Frac(+-inf) = +-0; Modf(x) gives (trunc(x), Frac(x)) like
// C modf, with (+-inf, +-0) for the infinities and NaN in both for a NaN.
// Neither reports an error.
#pragma once

#include <limits>

#include "../lane_bits.h"
#include "../quiet_op.h"

namespace qor::vm::arith {

// x - trunc(x) is exact: either trunc(x) = 0 or it lies within a factor of
// two of x.  Infinities are masked to zero first (no inf - inf, no invalid
// flag), so they give a zero that takes the sign of x like every result.
template <class T>
typename simd::Simd<T>::V fraction(typename simd::Simd<T>::V x, typename simd::Simd<T>::V whole) {
    using S = simd::Simd<T>;
    typename S::V finite = S::neq(S::abs(x), S::set1(std::numeric_limits<T>::infinity()));
    typename S::V d = S::sub(S::bit_and(x, finite), S::bit_and(whole, finite));
    return S::bit_or(S::abs(d), sign_of<T>(x));
}

template <class T>
struct FracFn {
    using S = simd::Simd<T>;
    static typename S::V apply(typename S::V a) { return fraction<T>(a, S::trunc(a)); }
};

template <class Real>
struct ModfOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    void operator()(V a, V& whole, V& frac) const {
        whole = S::trunc(a);
        frac = fraction<T>(a, whole);
    }
    V special(V, V, V) const { return S::set1(T(0)); }
    int fix(T, T&, T&) const { return QOR_VM_STATUS_OK; }
};

}  // namespace qor::vm::arith
