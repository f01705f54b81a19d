// Fmax, Fmin, MaxMag, MinMag and Fdim, real, like C fmax, fmin and fdim.
// A NaN argument is ignored when the other is a number; fmax(-0, +0) = +0 and
// fmin(-0, +0) = -0.  MaxMag/MinMag return the argument of larger/smaller
// magnitude and settle ties and NaNs as Fmax/Fmin.  Fdim(x, y) = x - y when
// x > y, +0 when x <= y, NaN for a NaN argument; it reports an overflow of
// finite arguments.  The comparisons and min/max instructions see subnormals
// as zeros under the flush-to-zero mode and return them flushed.
#pragma once

#include "../driver.h"
#include "../ieee_screen.h"
#include "../lane_bits.h"
#include "../quiet_op.h"

namespace qor::vm::arith {

// maxps/maxpd(x, y) return y when either is NaN or both are zero, and raise
// invalid for any NaN.  A NaN argument is first replaced by the other one, so
// that a quiet NaN meets no comparison unless both are NaN; with both orders
// at hand, AND of the two picks +0 among signed zeros and OR picks -0.
template <class T, bool Max>
typename simd::Simd<T>::V ieee_max_min(typename simd::Simd<T>::V a, typename simd::Simd<T>::V b) {
    using S = simd::Simd<T>;
    typename S::V a1 = S::select(S::isnan(a), b, a);
    typename S::V b1 = S::select(S::isnan(b), a1, b);
    typename S::V ab = Max ? S::max(a1, b1) : S::min(a1, b1);
    typename S::V ba = Max ? S::max(b1, a1) : S::min(b1, a1);
    return Max ? S::bit_and(ab, ba) : S::bit_or(ab, ba);
}

template <class T>
struct FmaxFn {
    using S = simd::Simd<T>;
    static typename S::V apply(typename S::V a, typename S::V b) { return ieee_max_min<T, true>(a, b); }
};

template <class T>
struct FminFn {
    using S = simd::Simd<T>;
    static typename S::V apply(typename S::V a, typename S::V b) { return ieee_max_min<T, false>(a, b); }
};

// With A = |a| and B = |b|: the strictly larger (smaller) magnitude wins;
// equal magnitudes mean a = b or a = -b, where AND (OR) of the two gives
// fmax (fmin), signed zeros included; a NaN loses to a number.  The lanes
// taken straight from a or b are normal numbers under DAZ (the comparisons
// see subnormals as zeros), the others are flushed by a final x * 1.
template <class T, bool Max>
struct MagnitudeFn {
    using S = simd::Simd<T>;
    using V = typename S::V;
    static V apply(V a, V b) {
        V aa = S::abs(a), ab = S::abs(b);
        V r = Max ? S::bit_and(a, b) : S::bit_or(a, b);
        r = S::select(Max ? S::lt(aa, ab) : S::gt(aa, ab), b, r);
        r = S::select(Max ? S::nge(ab, aa) : S::nge(aa, ab), a, r);  // a wins, or a NaN is involved
        return flush_subnormal<T>(S::select(S::isnan(a), b, r));
    }
};

template <class Real>
struct FdimOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    static constexpr uint32_t flag_screen = kFlagOverflow;  // the only reported case
    V operator()(V a, V b) const { return S::bit_andnot(S::le(a, b), S::sub(a, b)); }
    V special(V, V, V r) const { return S::isnonfinite(r); }
    int fix(T a, T b, T& r) const { return ieee_code(a, b, r); }
};

}  // namespace qor::vm::arith
