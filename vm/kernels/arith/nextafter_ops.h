// NextAfter, real, like C nextafter: the neighbour of x in the direction of
// y; y itself when x == y (so the sign of a zero y is kept); the smallest
// subnormal with the sign of y when x is zero; NaN when either is NaN.  The
// step is an integer step of one on the bit pattern: up in magnitude when
// (x < y) differs from (x < 0), down otherwise.  Under the flush-to-zero mode
// subnormal inputs and results are flushed.  No error reports: the overflow
// of nextafter(max, inf) and the subnormal results are not flagged.
#pragma once

#include "../lane_bits.h"
#include "../quiet_op.h"

namespace qor::vm::arith {

template <class T>
struct NextAfterFn {
    using S = simd::Simd<T>;
    using B = Bits<T>;
    using V = typename S::V;
    static V apply(V a, V b) {
        V x = flush_subnormal<T>(a), y = flush_subnormal<T>(b);
        const V zero = S::set1(T(0)), one_ulp = B::pattern(B::kSmallestSubnormal);
        V up = S::bit_xor(S::lt(x, y), S::lt(x, zero));
        V r = B::int_sub(x, S::bit_or(up, one_ulp));  // all ones (-1) steps up, 1 down
        r = S::select(S::eq(x, zero), S::bit_or(sign_of<T>(y), one_ulp), r);
        r = S::select(S::eq(x, y), y, r);
        r = S::select(S::bit_or(S::isnan(x), S::isnan(y)), S::add(x, y), r);
        return flush_subnormal<T>(r);
    }
};

}  // namespace qor::vm::arith
