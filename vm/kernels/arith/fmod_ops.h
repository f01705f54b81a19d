// Fmod and Remainder, real, exact like C fmod and remainder.
//
// Vector path, over double lanes (single arguments are widened): with the
// rounded quotient t = x/y, q = trunc(t) (Fmod) or the nearest integer
// (Remainder), and r = x - q*y evaluated exactly:
//   double: p = q*y rounded, pe = q*y - p from the split y = yh + yl (q has at
//     most 26 bits, so q*yh and q*yl are exact), r = (x - p) - pe, where
//     x - p is exact because p lies within a factor of two of x;
//   single: q < 2^29 and y has 24 bits, so q*y is exact in double.
// The rounding of t can make q one too large in magnitude (Fmod) or off by
// one near a half-integer (Remainder); the exact r shows it (wrong sign, or
// |r| > |y|/2, or |r| = |y|/2 with q odd) and one addition of +-|y|, exact
// because the result is representable, mends it.  Lanes with a quotient of
// 2^26 (2^29 in single) or more, a divisor under 2^-970 (where the products
// could leave the normal range) or any special argument carry a NaN and go to
// the scalar routine: the exact integer reduction of exact_fmod.h.
// y = 0 or an infinite x is a domain error with a NaN result; fmod(x, inf) and
// remainder(x, inf) are x; NaN arguments give NaN without a report.
#pragma once

#include <cmath>
#include <limits>

#include "../driver.h"
#include "exact_fmod.h"
#include "../lane_bits.h"

namespace qor::vm::arith {

template <bool Remainder, bool SplitProduct>
vd reduce(vd x, vd y) {
    constexpr double kQuotientBound = SplitProduct ? 0x1p26 : 0x1p29;
    const vd sx = sign_of<double>(x), ay = SD::abs(y);
    vd t = SD::div(x, y);
    vd q = Remainder ? simd::vrne_vd_vd(t) : SD::trunc(t);
    vd ok = SD::lt(SD::abs(t), SD::set1(kQuotientBound));
    vd p = SD::mul(q, y);
    vd r;
    if (SplitProduct) {
        ok = SD::bit_and(ok, SD::ge(ay, SD::set1(0x1p-970)));
        vd yh = SD::bit_and(y, Bits<double>::pattern(Bits<double>::kSplitHead));
        vd pe = SD::add(SD::sub(SD::mul(q, yh), p), SD::mul(q, SD::sub(y, yh)));
        r = SD::sub(SD::sub(x, p), pe);
    } else {
        r = SD::sub(x, p);
    }
    if (!Remainder) {
        vd wrong = SD::lt(SD::bit_xor(r, sx), SD::set1(0.0));  // sign of r differs from that of x
        r = SD::add(r, SD::bit_and(wrong, SD::bit_or(ay, sx)));
        r = SD::bit_or(SD::abs(r), sx);
    } else {
        vd twice = SD::add(SD::abs(r), SD::abs(r));
        vd half_q = SD::mul(q, SD::set1(0.5));
        vd odd = SD::neq(half_q, SD::trunc(half_q));
        vd adjust = SD::bit_or(SD::gt(twice, ay), SD::bit_and(SD::eq(twice, ay), odd));
        r = SD::sub(r, SD::bit_and(adjust, SD::bit_or(ay, sign_of<double>(r))));
        r = SD::select(SD::eq(r, SD::set1(0.0)), sx, r);
    }
    return SD::select(ok, r, SD::set1(std::numeric_limits<double>::quiet_NaN()));
}

template <bool Remainder>
vd reduce_lanes(vd x, vd y) {
    return reduce<Remainder, true>(x, y);
}

template <bool Remainder>
vf reduce_lanes(vf x, vf y) {
    vd lo = reduce<Remainder, false>(simd::vcast_vd_vf_lo(x), simd::vcast_vd_vf_lo(y));
    vd hi = reduce<Remainder, false>(simd::vcast_vd_vf_hi(x), simd::vcast_vd_vf_hi(y));
    return simd::vcast_vf_vd_vd(lo, hi);
}

template <class Real, bool Remainder>
struct ReduceOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    V operator()(V a, V b) const { return reduce_lanes<Remainder>(a, b); }
    V special(V, V, V r) const { return S::isnan(r); }
    int fix(T x, T y, T& r) const {
        if (std::isnan(x) || std::isnan(y)) {
            r = x + y;
            return QOR_VM_STATUS_OK;
        }
        if (std::isinf(x) || y == T(0)) {  // y == 0 also holds for a subnormal under DAZ
            r = std::numeric_limits<T>::quiet_NaN();
            return QOR_VM_STATUS_DOMAIN;
        }
        // Widening flushes a single subnormal under DAZ; flushing the double
        // does it for a double subnormal.
        double xd = flush_subnormal<double>(double(x)), yd = flush_subnormal<double>(double(y));
        double rd;
        if (std::isinf(yd))
            rd = xd;
        else if (Remainder)
            rd = remainder_exact(xd, yd);
        else
            rd = std::copysign(fmod_magnitude(xd, yd), xd);
        r = T(flush_subnormal<double>(rd));
        return QOR_VM_STATUS_OK;
    }
};

}  // namespace qor::vm::arith
