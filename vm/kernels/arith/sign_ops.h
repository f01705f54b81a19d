// Abs and CopySign, real: bit operations on the sign like C fabs and
// copysign.  Under the flush-to-zero mode a subnormal magnitude is flushed
// first, as the arithmetic kernels flush their inputs.  No error reports.
#pragma once

#include "../lane_bits.h"
#include "../quiet_op.h"

namespace qor::vm::arith {

template <class T, bool Flush>
typename simd::Simd<T>::V magnitude_of(typename simd::Simd<T>::V a) {
    return simd::Simd<T>::abs(Flush ? flush_subnormal<T>(a) : a);
}

template <class T, bool Flush>
struct AbsFn {
    using S = simd::Simd<T>;
    static typename S::V apply(typename S::V a) { return magnitude_of<T, Flush>(a); }
};

template <class T, bool Flush>
struct CopySignFn {
    using S = simd::Simd<T>;
    static typename S::V apply(typename S::V a, typename S::V b) {
        return S::bit_or(magnitude_of<T, Flush>(a), sign_of<T>(b));
    }
};

}  // namespace qor::vm::arith
