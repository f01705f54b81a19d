// Two-double arithmetic on vectors of doubles: a value as an unevaluated
// sum hi + lo with |lo| <= ulp(hi)/2, about 106 significant bits.  Without
// a fused multiply-add, exact products come from Dekker's split: a head of
// 26 significant bits (a mask) and a tail of at most 27, so that every
// partial product but tail * tail is exact; that last one is 2^-52 below the
// product and its rounding is far below the accuracy any kernel here needs.
#pragma once

#include "../lane_bits.h"
#include "../lanes.h"

namespace qor::vm::gamma {

struct DD {
    vd hi, lo;
};

QOR_KERNEL_INLINE vd split_head(vd a) { return SD::bit_and(a, Bits<double>::pattern(Bits<double>::kSplitHead)); }

// s + e = a + b exactly.
QOR_KERNEL_INLINE DD two_sum(vd a, vd b) {
    const vd s = SD::add(a, b);
    const vd bb = SD::sub(s, a);
    return {s, SD::add(SD::sub(a, SD::sub(s, bb)), SD::sub(b, bb))};
}

// The same for |a| >= |b| (or a = 0).
QOR_KERNEL_INLINE DD fast_two_sum(vd a, vd b) {
    const vd s = SD::add(a, b);
    return {s, SD::sub(b, SD::sub(s, a))};
}

// p + e = a * b.
QOR_KERNEL_INLINE DD two_prod(vd a, vd b) {
    const vd p = SD::mul(a, b);
    const vd ah = split_head(a), al = SD::sub(a, ah);
    const vd bh = split_head(b), bl = SD::sub(b, bh);
    vd e = SD::add(SD::add(SD::sub(SD::mul(ah, bh), p), SD::mul(ah, bl)), SD::mul(al, bh));
    return {p, SD::add(e, SD::mul(al, bl))};
}

QOR_KERNEL_INLINE DD dd_mul(DD a, DD b) {
    DD p = two_prod(a.hi, b.hi);
    p.lo = SD::add(p.lo, SD::add(SD::mul(a.hi, b.lo), SD::mul(a.lo, b.hi)));
    return fast_two_sum(p.hi, p.lo);
}

QOR_KERNEL_INLINE DD dd_mul(DD a, vd b) {
    DD p = two_prod(a.hi, b);
    p.lo = SD::add(p.lo, SD::mul(a.lo, b));
    return fast_two_sum(p.hi, p.lo);
}

// a * x + c, one step of Horner's scheme with a two-double accumulator.
QOR_KERNEL_INLINE DD dd_horner_step(DD a, vd x, const double (&c)[2]) {
    const DD p = two_prod(a.hi, x);
    const DD s = two_sum(p.hi, SD::set1(c[0]));
    const vd lo = SD::add(SD::add(s.lo, SD::add(p.lo, SD::mul(a.lo, x))), SD::set1(c[1]));
    return fast_two_sum(s.hi, lo);
}

// a / b: the quotient of the heads, corrected by the exact remainder.
QOR_KERNEL_INLINE DD dd_div(DD a, DD b) {
    const vd q = SD::div(a.hi, b.hi);
    const DD p = two_prod(q, b.hi);
    const vd r = SD::add(SD::sub(SD::sub(SD::sub(a.hi, p.hi), p.lo), SD::mul(q, b.lo)), a.lo);
    return fast_two_sum(q, SD::div(r, b.hi));
}

QOR_KERNEL_INLINE DD dd_const(const double (&c)[2]) { return {SD::set1(c[0]), SD::set1(c[1])}; }
QOR_KERNEL_INLINE DD dd_select(vd m, DD a, DD b) { return {SD::select(m, a.hi, b.hi), SD::select(m, a.lo, b.lo)}; }
QOR_KERNEL_INLINE DD dd_neg(DD a) { return {SD::neg(a.hi), SD::neg(a.lo)}; }

}  // namespace qor::vm::gamma
