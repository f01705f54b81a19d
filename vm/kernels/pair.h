// Two-double arithmetic on vector lanes: a value carried as the unevaluated
// sum hi + lo, and the error-free sums and products that form such pairs
// (Knuth's and Dekker's; this target has no fused multiply-add).
#pragma once

#include "lanes.h"

namespace qor::vm::pair {

struct Pair {
    vd hi, lo;
};

// hi + lo = a + b exactly, for |a| >= |b| or a = 0.
QOR_KERNEL_INLINE Pair fast_two_sum(vd a, vd b) {
    const vd s = SD::add(a, b);
    return {s, SD::sub(b, SD::sub(s, a))};
}

// hi + lo = a + b exactly, in either order.
QOR_KERNEL_INLINE Pair two_sum(vd a, vd b) {
    const vd s = SD::add(a, b);
    const vd bb = SD::sub(s, a);
    return {s, SD::add(SD::sub(a, SD::sub(s, bb)), SD::sub(b, bb))};
}

// The head of x: its top 26 significant bits; x - head(x) is exact.
QOR_KERNEL_INLINE vd head(vd x) { return SD::bit_and(x, lanes::from_bits(Bits<double>::kSplitHead)); }

// hi + lo = a * b within 2^-105 relative, far from overflow and underflow:
// heads of 26 bits, whose products are exact.
QOR_KERNEL_INLINE Pair two_prod(vd a, vd b) {
    const vd ah = head(a), al = SD::sub(a, ah);
    const vd bh = head(b), bl = SD::sub(b, bh);
    const vd p = SD::mul(a, b);
    vd e = SD::sub(SD::mul(ah, bh), p);
    e = SD::add(SD::add(e, SD::mul(ah, bl)), SD::mul(al, bh));
    return {p, SD::add(e, SD::mul(al, bl))};
}

}  // namespace qor::vm::pair
