// Complex Div: (a + ib)/(c + id).
//
// Both operands are first scaled by powers of two so that the larger part
// of each lies in [1, 2): no product can overflow or lose its bits below
// the normal range, whatever the magnitudes (the scaling of Smith's and
// Baudin-Smith's methods, done exactly).  Then
//   re = (ac + bd)/(c^2 + d^2),  im = (bc - ad)/(c^2 + d^2)
// with every product exact (Dekker's), the sums and the denominator held as
// pairs and the quotient corrected by its exact residual: about 0.5 ulp per
// part, also where ac + bd cancels.  The scales come back as one factor
// 2^(ea - ec).
//
// The vector path takes operands whose larger parts lie in [2^-1000,
// 2^1000] with |ea - ec| <= 1000; the scalar routine takes the rest,
// applying the scale last, and C's rules for infinities and NaN (a
// non-NaN over zero is an infinity, an infinite numerator over a finite
// denominator an infinity, a finite numerator over an infinite denominator
// a zero).  A finite non-zero numerator over zero reports a singularity;
// finite operands with an infinite part report overflow.  Single precision
// is the plain formula in double (see div_lanes_single), rounded once.  LA
// shares the HA kernel; EP has its own, the plain formula in double on a
// narrower range (div_lanes_plain; single precision as HA).
#pragma once

#include "complex_planar.h"

namespace qor::vm::complex {

// The quotient of operands whose larger parts lie in [1, 2).
QOR_KERNEL_INLINE ZD divide_scaled(ZD a, ZD b) {
    const Pair ac = pair::two_prod(a.re, b.re), bd = pair::two_prod(a.im, b.im);
    const Pair bc = pair::two_prod(a.im, b.re), ad = pair::two_prod(a.re, b.im);
    const Pair cc = pair::two_prod(b.re, b.re), dd = pair::two_prod(b.im, b.im);
    const Pair den = add_pairs(cc, dd);
    const Pair re = add_pairs(ac, bd);
    const Pair im = add_pairs(bc, {SD::neg(ad.hi), SD::neg(ad.lo)});
    const vd inv = SD::div(SD::set1(1.0), den.hi);
    return {divide_pairs(re, den, inv), divide_pairs(im, den, inv)};
}

QOR_KERNEL_INLINE ZD div_lanes(ZD a, ZD b, vd& mark) {
    const vd ma = SD::max(SD::abs(a.re), SD::abs(a.im)), mb = SD::max(SD::abs(b.re), SD::abs(b.im));
    const vd sa = inverse_binade(ma), sb = inverse_binade(mb);
    // scale = 2^(ea - eb), its exponent field from the difference of the two.
    const vi fa = SD::to_bits(binade(ma)), fb = SD::to_bits(binade(mb));
    const vi diff = simd::vsub_vl_vl_vl(fa, fb);
    const vi limit = simd::vset1_vl_l(1000ll << 52);
    const vi far = simd::vor_vi_vi_vi(simd::vgt_vl_vl_vl(diff, limit),
                                      simd::vgt_vl_vl_vl(simd::vsub_vl_vl_vl(simd::vzero_vi(), limit), diff));
    mark = SD::bit_or(SD::bit_or(outside_binades(ma, -1000, 1000), outside_binades(mb, -1000, 1000)),
                      SD::bit_or(SD::from_bits(far), SD::bit_or(_mm_cmpunord_pd(a.re, a.im), _mm_cmpunord_pd(b.re, b.im))));
    const vd one = SD::set1(1.0);
    const ZD as{SD::select(mark, one, SD::mul(a.re, sa)), SD::select(mark, one, SD::mul(a.im, sa))};
    const ZD bs{SD::select(mark, one, SD::mul(b.re, sb)), SD::select(mark, one, SD::mul(b.im, sb))};
    const vd kept = SD::bit_andnot(mark, SD::from_bits(diff));
    const vd scale = SD::from_bits(simd::vadd_vl_vl_vl(SD::to_bits(one), SD::to_bits(kept)));
    const ZD q = divide_scaled(as, bs);
    return {SD::mul(q.re, scale), SD::mul(q.im, scale)};
}

inline double unit_or_zero(double x) { return std::copysign(std::isinf(x) ? 1.0 : 0.0, x); }

// C's division, every operand.
inline int div_scalar(double a, double b, double c, double d, double& u, double& v) {
    const double inf = std::numeric_limits<double>::infinity();
    const bool finite_num = std::isfinite(a) && std::isfinite(b), finite_den = std::isfinite(c) && std::isfinite(d);
    if (finite_num && finite_den && (c != 0 || d != 0)) {
        if (a == 0 && b == 0) {  // zeros with the signs of the formula
            u = a * c + b * d;
            v = b * c - a * d;
            return QOR_VM_STATUS_OK;
        }
        const int ea = std::ilogb(std::fmax(std::fabs(a), std::fabs(b)));
        const int ec = std::ilogb(std::fmax(std::fabs(c), std::fabs(d)));
        const ZD q = divide_scaled({splat(std::ldexp(a, -ea)), splat(std::ldexp(b, -ea))},
                                   {splat(std::ldexp(c, -ec)), splat(std::ldexp(d, -ec))});
        u = std::ldexp(lane0(q.re), ea - ec);
        v = std::ldexp(lane0(q.im), ea - ec);
        return QOR_VM_STATUS_OK;
    }
    // The plain formula, then infinities recovered from its NaN.
    const double den = c * c + d * d;
    u = (a * c + b * d) / den;
    v = (b * c - a * d) / den;
    if (!(std::isnan(u) && std::isnan(v))) return QOR_VM_STATUS_OK;
    if (c == 0 && d == 0 && (!std::isnan(a) || !std::isnan(b))) {
        u = std::copysign(inf, c) * a;
        v = std::copysign(inf, c) * b;
        return finite_num ? QOR_VM_STATUS_SING : QOR_VM_STATUS_OK;
    }
    if ((std::isinf(a) || std::isinf(b)) && finite_den) {
        a = unit_or_zero(a);
        b = unit_or_zero(b);
        u = inf * (a * c + b * d);
        v = inf * (b * c - a * d);
    } else if ((std::isinf(c) || std::isinf(d)) && finite_num) {
        c = unit_or_zero(c);
        d = unit_or_zero(d);
        u = 0.0 * (a * c + b * d);
        v = 0.0 * (b * c - a * d);
    }
    return QOR_VM_STATUS_OK;
}

// Single precision: products of floats are exact in double and no square
// leaves its range, so each of ac + bd, bc - ad and c^2 + d^2 is rounded
// once and the quotient is within 2^-51 before the rounding to float.
// Zero, infinite and NaN operands are marked.
QOR_KERNEL_INLINE ZD div_lanes_single(ZD a, ZD b, vd& mark) {
    const vd den = SD::add(SD::mul(b.re, b.re), SD::mul(b.im, b.im));
    mark = SD::bit_or(SD::bit_or(SD::isnonfinite(a.re), SD::isnonfinite(a.im)),
                      SD::bit_or(SD::isnonfinite(den), SD::eq(den, SD::set1(0.0))));
    const vd d = SD::select(mark, SD::set1(1.0), den);
    return {SD::div(SD::add(SD::mul(a.re, b.re), SD::mul(a.im, b.im)), d),
            SD::div(SD::sub(SD::mul(a.im, b.re), SD::mul(a.re, b.im)), d)};
}

// EP, double: the plain formula on operands whose larger parts lie in
// [2^-450, 2^450] (no product leaves the range): a few ulps of the
// result's magnitude, more of a part that cancels.
QOR_KERNEL_INLINE ZD div_lanes_plain(ZD a, ZD b, vd& mark) {
    const vd ma = SD::max(SD::abs(a.re), SD::abs(a.im)), mb = SD::max(SD::abs(b.re), SD::abs(b.im));
    mark = SD::bit_or(SD::bit_or(outside_binades(ma, -450, 450), outside_binades(mb, -450, 450)),
                      SD::bit_or(_mm_cmpunord_pd(a.re, a.im), _mm_cmpunord_pd(b.re, b.im)));
    const vd one = SD::set1(1.0);
    const ZD bs{SD::select(mark, one, b.re), SD::select(mark, one, b.im)};
    const vd inv = SD::div(one, SD::add(SD::mul(bs.re, bs.re), SD::mul(bs.im, bs.im)));
    return {SD::mul(SD::add(SD::mul(a.re, bs.re), SD::mul(a.im, bs.im)), inv),
            SD::mul(SD::sub(SD::mul(a.im, bs.re), SD::mul(a.re, bs.im)), inv)};
}

template <class Real, bool Plain = false>
struct DivOp {
    using C = PlanarOf<Real>;
    using Mask = Real;
    static constexpr bool reads_mode = true;
    QOR_KERNEL_INLINE CV<Real> operator()(CV<Real> a, CV<Real> b, RV<Real>& m) const {
        if constexpr (std::is_same_v<Real, float>) return map_ccc<Real>(a, b, m, div_lanes_single);
        else if constexpr (Plain) return map_ccc<Real>(a, b, m, div_lanes_plain);
        else return map_ccc<Real>(a, b, m, div_lanes);
    }
    int fix(const C& a, const C& b, C& r) const { return fix_ccc(a, b, r, div_scalar); }
};

}  // namespace qor::vm::complex
