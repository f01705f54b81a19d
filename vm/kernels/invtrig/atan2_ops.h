// Atan2, Atan2pi, real: the angle of the point (x, y), r = atan2(y, x) in
// (-pi, pi], as C's atan2 (methods in invtrig_core.h).  The first array
// holds y, the second x.
//   double, magnitudes a = |y|, b = |x| each 0 or in [2^-900, 2^1000]
//   (EP: up to 2^1020, the smaller 0 or above 2^-990):
//     HA: the exact breakpoint method on a/b with 6 terms, the rows of
//         pi - A for negative x, the sign of y last (about 0.51 ulp); the
//         pi-scaled form, one kernel for every slot, times 1/pi in two
//         parts.
//     LA: the plain method with the low parts of the table, 5 terms (about
//         3 ulp);  EP: the coarse rows and 4 terms (about 2^-33).
//   single:
//     HA: the plain method on the coarse rows in double, rounded once (0.5
//         ulp plus 2^-9); the pi-scaled form likewise.
//     LA, EP: atan(min/max) from 8 or 4 terms on [0, 1] (about 2.5 ulp and
//         2^-12), reflected by quadrant.
// The scalar routine takes NaN, infinities and zeros (C's table of signed
// zeros and infinities: atan2(+-0, -0) = +-pi, atan2(+-0, +0) = +-0,
// atan2(+-inf, -inf) = +-3pi/4, ...), pairs outside the double range above
// (scaled by a power of two, so that far apart magnitudes neither overflow
// nor underflow on the way), and the double HA and pi-scaled results below
// 2^-1000, rounded once.  No argument is an error: nothing is reported.
#pragma once

#include "../driver.h"
#include "../variant.h"
#include "invtrig_core.h"

namespace qor::vm::invtrig {

// The row offset of each lane: 9 where x has its sign bit set, else 0.
QOR_KERNEL_INLINE vi negative_rows(vd x) {
    const vi s = simd::vsrl_vl_vl_i(SD::to_bits(x), 63);
    return simd::vadd_vl_vl_vl(simd::vsll_vl_vl_i(s, 3), s);
}

// The angle of (x, y) in double by the method of the variant, for lanes
// the screen let through.
template <bool PiScaled, Variant Var, bool ForSingle = false>
QOR_KERNEL_INLINE vd atan2_lanes(vd y, vd x) {
    const vd a = SD::abs(y), b = SD::abs(x), flip = sign_of<double>(x);
    const vi base = negative_rows(x);
    vd r;
    if constexpr (ForSingle) {
        r = atan_plain<Rows::Coarse>(a, b, flip, base, kAtanCoarseP4);
        if constexpr (PiScaled) r = SD::mul(r, SD::set1(kInvPiHi));
    } else if constexpr (PiScaled || Var == Variant::HA) {
        const Pair p = atan_exact(a, b, flip, base, kAtanP6);
        r = PiScaled ? times_inv_pi(p) : SD::add(p.hi, p.lo);
    } else if constexpr (Var == Variant::LA) {
        r = atan_plain<Rows::Fine>(a, b, flip, base, kAtanP5);
    } else {
        r = atan_plain<Rows::Coarse>(a, b, flip, base, kAtanCoarseP4);
    }
    return SD::bit_xor(r, sign_of<double>(y));
}

// The scalar routine of the double kernels, for finite non-zero pairs:
// both scaled so that the larger lies in [1, 2), and a result below 2^-1000
// (a/b tiny, x positive) computed again from the quotient, rounded once.
template <bool PiScaled, Variant Var>
double atan2_scaled(double y, double x) {
    const int e = std::max(std::ilogb(y), std::ilogb(x));
    const double r = simd::vget0_d_vd(atan2_lanes<PiScaled, Var>(SD::set1(std::ldexp(y, -e)), SD::set1(std::ldexp(x, -e))));
    if (std::fabs(r) >= 0x1p-1000) return r;
    if constexpr (!PiScaled) {
        return y / x;
    } else {
        // (y/x)/pi computed 2^1100 higher: y/x in two parts, then times 1/pi.
        const int ex = std::ilogb(x);
        const double xs = std::ldexp(x, -ex), ys = std::ldexp(y, 1100 - ex);
        const double q = ys / xs;
        const Pair qx = two_prod(SD::set1(q), SD::set1(xs));
        const double ql = (ys - simd::vget0_d_vd(qx.hi) - simd::vget0_d_vd(qx.lo)) / xs;
        const Pair p = two_prod(SD::set1(q), SD::set1(kInvPiHi));
        const double lo = simd::vget0_d_vd(p.lo) + (q * kInvPiLo + ql * kInvPiHi);
        return scale_down_once(simd::vget0_d_vd(p.hi), lo, 1100);
    }
}

template <bool PiScaled, Variant Var>
struct DoubleArctan2 {
    using T = double;
    static constexpr bool reads_mode = true;
    static constexpr bool screens_tiny = PiScaled || Var == Variant::HA;

    [[gnu::always_inline]] vd operator()(vd y, vd x, vd& mark) const {
        const vd a = SD::abs(y), b = SD::abs(x);
        const vd zero = SD::eq(SD::bit_or(a, b), SD::set1(0.0));
        const vd one = SD::set1(1.0);
        vd r;
        if constexpr (Var == Variant::EP && !PiScaled) {
            // 26 bits need no more than that neither product overflows and
            // that the smaller magnitude, unless zero, lies above 2^-990.
            // Lanes below that give finite values and are marked after.
            const vd top = SD::set1(0x1p1020), m = SD::min(a, b);
            mark = SD::bit_or(SD::bit_or(Bits<double>::int_greater(a, top), Bits<double>::int_greater(b, top)), zero);
            r = atan2_lanes<PiScaled, Var>(SD::select(mark, one, y), SD::select(mark, one, x));
            // m <= 2^-990 as min(m, 2^-990) == m: quiet comparisons only
            const vd lo = SD::set1(0x1p-990);
            mark = SD::bit_or(mark, SD::bit_and(SD::eq(SD::min(m, lo), m), SD::neq(m, SD::set1(0.0))));
        } else {
            mark = SD::bit_or(SD::bit_or(outside(a), outside(b)), zero);
            r = atan2_lanes<PiScaled, Var>(SD::select(mark, one, y), SD::select(mark, one, x));
        }
        if constexpr (screens_tiny) {
            const vd m = SD::abs(r);
            mark = SD::bit_or(mark, SD::bit_and(Bits<double>::int_greater(SD::set1(0x1p-1000), m),
                                                Bits<double>::int_greater(m, SD::set1(0.0))));
        }
        return r;
    }
    // Magnitudes above 2^1000 (infinities and NaN included) or below 2^-900
    // but not zero: there the exact products of the method would overflow
    // or fall below the normal range.  One signed compare of the patterns
    // shifted so that [2^-900, 2^1000] starts at the smallest integer.
    QOR_KERNEL_INLINE static vd outside(vd m) {
        constexpr uint64_t lo = 0x07B0000000000000ull, hi = 0x7E70000000000000ull;  // 2^-900, 2^1000
        const vi shifted = simd::vadd_vl_vl_vl(SD::to_bits(m), simd::vset1_vl_l(int64_t(0x8000000000000000ull - lo)));
        const vi out = simd::vgt_vl_vl_vl(shifted, simd::vset1_vl_l(int64_t(hi - lo + 0x8000000000000000ull)));
        return SD::bit_andnot(SD::eq(m, SD::set1(0.0)), SD::from_bits(out));
    }
    int fix(double y, double x, double& r) const {
        y = flush_subnormal(y);
        x = flush_subnormal(x);
        if (!atan2_axes(y, x, PiScaled ? kHalfTurns : kRadians, r)) r = atan2_scaled<PiScaled, Var>(y, x);
        return QOR_VM_STATUS_OK;
    }
};

template <bool PiScaled, Variant Var>
struct SingleArctan2 {
    using T = float;
    static constexpr bool reads_mode = true;

    [[gnu::always_inline]] vf operator()(vf y, vf x, vf& mark) const {
        const vf a = SF::abs(y), b = SF::abs(x);
        mark = SF::bit_or(SF::bit_or(SF::isnonfinite(y), SF::isnonfinite(x)),
                          Bits<float>::int_greater(SF::set1(flt(1u)), SF::bit_or(a, b)));
        const vf one = SF::set1(1.0f);
        const vf ys = SF::select(mark, one, y), xs = SF::select(mark, one, x);
        if constexpr (PiScaled || Var == Variant::HA) {
            return lanes::narrow(atan2_lanes<PiScaled, Var, true>(lanes::low_half(ys), lanes::low_half(xs)),
                                 atan2_lanes<PiScaled, Var, true>(lanes::high_half(ys), lanes::high_half(xs)));
        } else {
            const vf as = SF::abs(ys), bs = SF::abs(xs);
            const vf q = SF::div(SF::min(as, bs), SF::max(as, bs));
            vf p;
            if constexpr (Var == Variant::LA) p = atan_unit(q, kAtanUnitP8);
            else p = atan_unit(q, kAtanUnitP4);
            const vf steep = SF::gt(as, bs);
            vf t = SF::select(steep, SF::add(SF::sub(SF::set1(PiParts<float>::half_hi), p), SF::set1(PiParts<float>::half_lo)), p);
            const vf back = SF::add(SF::sub(SF::set1(PiParts<float>::pi_hi), t), SF::set1(PiParts<float>::pi_lo));
            t = SF::select(SF::lt(xs, SF::set1(0.0f)), back, t);
            return SF::bit_xor(t, sign_of<float>(ys));
        }
    }
    int fix(float y, float x, float& r) const {
        y = flush_subnormal(y);
        x = flush_subnormal(x);
        if (!atan2_axes(y, x, PiScaled ? kHalfTurns : kRadians, r))
            r = float(simd::vget0_d_vd(atan2_lanes<PiScaled, Variant::HA>(SD::set1(double(y)), SD::set1(double(x)))));
        return QOR_VM_STATUS_OK;
    }
};

}  // namespace qor::vm::invtrig
