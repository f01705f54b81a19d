// Shared steps of the inverse complex functions (Asin, Acos, Asinh, Acosh,
// Atan, Atanh) on planar lanes: the kernel Op over split parts, the range
// screen of their vector paths, and the two-double steps that keep the
// double results within an ulp: sums, products, quotients and roots of
// pairs, and log1p and the arctangent of an argument given as a pair.
//
// A pair hi + lo carries about 100 bits; the low parts only feed
// corrections, so their own rounding errors (and products of two low
// parts) are negligible and dropped.
#pragma once

#include <cmath>
#include <cstdint>
#include <type_traits>

#include "../explog/log1p_ops.h"
#include "../hyper/hyper_core.h"
#include "../invtrig/atan2_ops.h"
#include "complex_planar.h"

namespace qor::vm::complex {

// ---- the Op ---------------------------------------------------------------------------
// F provides
//   template <Eval E> static ZD lanes(ZD z, vd& mark);  // vector path
//   static int scalar(double x, double y, double& u, double& v);  // one element
// pairs: the two-double evaluation of the double HA kernels; plain: plain
// double, for the double LA/EP kernels; single: plain double with the
// coarse arctangent, for the single kernels (one rounding to single at the
// end hides their errors).
enum class Eval { pairs, plain, single };

template <class Real, class F, Eval E = std::is_same_v<Real, double> ? Eval::pairs : Eval::single>
struct InverseOp {
    using C = PlanarOf<Real>;
    using Mask = Real;
    static constexpr bool reads_mode = true;
    CV<Real> operator()(CV<Real> a, RV<Real>& m) const {
        return map_cc<Real>(a, m, [](ZD z, vd& mark) { return F::template lanes<E>(z, mark); });
    }
    int fix(const C& a, C& r) const { return fix_cc(a, r, F::scalar); }
};

// ---- range -----------------------------------------------------------------------------
// Magnitudes that are not zero and lie outside [2^-500, 2^500] (infinities
// and NaN included): there squares and products of the formulas could
// overflow or underflow.  An integer compare, no flag.
QOR_KERNEL_INLINE vd outside_moderate(vd m) {
    constexpr uint64_t lo = 0x20B0000000000000ull, hi = 0x5F30000000000000ull;  // 2^-500, 2^500
    const vi shifted = simd::vadd_vl_vl_vl(SD::to_bits(m), simd::vset1_vl_l(int64_t(0x8000000000000000ull - lo)));
    const vi out = simd::vgt_vl_vl_vl(shifted, simd::vset1_vl_l(int64_t(hi - lo + 0x8000000000000000ull)));
    return SD::bit_andnot(SD::eq(m, SD::set1(0.0)), SD::from_bits(out));
}

// |x|, |y| with the lanes outside the range (marked) replaced by 1/2, so
// that they raise no flag on the way.
QOR_KERNEL_INLINE vd moderate_parts(vd& x, vd& y) {
    x = SD::abs(x);
    y = SD::abs(y);
    const vd mark = SD::bit_or(outside_moderate(x), outside_moderate(y));
    x = SD::select(mark, SD::set1(0.5), x);
    y = SD::select(mark, SD::set1(0.5), y);
    return mark;
}

// ---- pairs -------------------------------------------------------------------------------
QOR_KERNEL_INLINE Pair add(Pair a, Pair b) {
    const Pair s = pair::two_sum(a.hi, b.hi);
    return pair::fast_two_sum(s.hi, SD::add(s.lo, SD::add(a.lo, b.lo)));
}
QOR_KERNEL_INLINE Pair add(Pair a, vd b) {
    const Pair s = pair::two_sum(a.hi, b);
    return pair::fast_two_sum(s.hi, SD::add(s.lo, a.lo));
}
QOR_KERNEL_INLINE Pair mul(Pair a, Pair b) {
    const Pair p = pair::two_prod(a.hi, b.hi);
    return pair::fast_two_sum(p.hi, SD::add(p.lo, SD::add(SD::mul(a.hi, b.lo), SD::mul(a.lo, b.hi))));
}
QOR_KERNEL_INLINE Pair square(Pair a) {
    const Pair p = pair::two_prod(a.hi, a.hi);
    return pair::fast_two_sum(p.hi, SD::add(p.lo, SD::mul(SD::add(a.hi, a.hi), a.lo)));
}
// n/d for d > 0: the rounded quotient corrected by its exact residual (the
// low part is not normalised; it is below an ulp of the high part).  The
// rounded quotient keeps results below the normal range, where the low
// part is lost, within half an ulp.
QOR_KERNEL_INLINE Pair div(Pair n, Pair d) {
    const vd q = SD::div(n.hi, d.hi);
    const Pair qd = pair::two_prod(q, d.hi);
    const vd rest = SD::sub(SD::add(SD::sub(SD::sub(n.hi, qd.hi), qd.lo), n.lo), SD::mul(q, d.lo));
    return {q, SD::div(rest, d.hi)};
}
QOR_KERNEL_INLINE Pair half(Pair a) { return {SD::mul(a.hi, SD::set1(0.5)), SD::mul(a.lo, SD::set1(0.5))}; }
using hyper_core::sqrt_pair;

// ---- log1p and the arctangent of pairs ----------------------------------------------------
// ln(1 + u) for a pair u >= 0 (u.hi normal or zero): Log1p's method with
// the low part joining the terms that are added before the last rounding,
// as u.lo/(1 + u) (about 0.51 ulp).
QOR_KERNEL_INLINE vd log1p_pair(Pair u) {
    const vd large = lanes::upper_word_above(u.hi, explog::kLog1pSmallUpper);
    const int which = SD::movemask(large);
    auto small = [&] {
        const vd x = u.hi;
        const vd tail = SD::add(SD::mul(SD::mul(x, x), lanes::horner<SD>(x, log_core::kP4)), SD::mul(u.lo, SD::sub(SD::set1(1.0), x)));
        return SD::add(x, tail);
    };
    auto big = [&] {
        vd e;
        const vd s = explog::one_plus(u.hi, e);
        return log_core::ln_sum(log_core::pieces<log_core::Accuracy::High>(s, SD::set1(0.0)), SD::div(SD::add(e, u.lo), s));
    };
    return which == 0 ? small() : which == 3 ? big() : SD::select(large, big(), small());
}

// atan2(a, b) for a pair a >= 0 and a pair b of either sign, within the
// range of Atan2's vector path (not both zero): the angle of the high parts in two parts
// and the first-order term of the low parts, (b a.lo - a b.lo)/(a^2 + b^2),
// added before the one rounding.
QOR_KERNEL_INLINE vd atan2_pair(Pair a, Pair b) {
    const vd flip = sign_of<double>(b.hi);
    const Pair t = invtrig::atan_exact(a.hi, SD::abs(b.hi), flip, invtrig::negative_rows(b.hi), invtrig::kAtanP6);
    // in units of the larger high part, so that no square overflows
    const vd k = inverse_binade(SD::max(a.hi, SD::abs(b.hi)));
    const vd ah = SD::mul(a.hi, k), bh = SD::mul(b.hi, k);
    const vd r2 = SD::add(SD::mul(ah, ah), SD::mul(bh, bh));
    const vd corr = SD::div(SD::sub(SD::mul(bh, SD::mul(a.lo, k)), SD::mul(ah, SD::mul(b.lo, k))), r2);
    return SD::add(t.hi, SD::add(t.lo, corr));
}

// atan2(a, b) of the plain evaluations: Atan2's HA method (about 0.51
// ulp), or its method for single results (0.5 ulp of a float plus 2^-9).
template <Eval E>
QOR_KERNEL_INLINE vd atan2_plain(vd a, vd b) { return invtrig::atan2_lanes<false, Variant::HA, E == Eval::single>(a, b); }

// ---- one element per register --------------------------------------------------------------
// The Op of a complex function computed in double on (x, y) lanes of one
// double or two single elements per register (interleaved), for kernels
// not yet on planar lanes (Tan, Tanh).  F provides
//   static void lanes(vd x, vd y, vd& re, vd& im, vd& mark);
//   static int scalar(double x, double y, double& re, double& im);
template <class C> struct ElementParts;

template <> struct ElementParts<qor_complex16> {
    using V = vd;
    static void split(V a, vd& x, vd& y) {
        x = _mm_unpacklo_pd(a, a);
        y = _mm_unpackhi_pd(a, a);
    }
    static V join(vd re, vd im) { return _mm_unpacklo_pd(re, im); }
    static V mask(vd m) { return m; }
};

template <> struct ElementParts<qor_complex8> {
    using V = vf;
    static void split(V a, vd& x, vd& y) {
        x = _mm_cvtps_pd(_mm_shuffle_ps(a, a, _MM_SHUFFLE(2, 0, 2, 0)));
        y = _mm_cvtps_pd(_mm_shuffle_ps(a, a, _MM_SHUFFLE(3, 1, 3, 1)));
    }
    static V join(vd re, vd im) { return _mm_unpacklo_ps(_mm_cvtpd_ps(re), _mm_cvtpd_ps(im)); }
    static V mask(vd m) { return _mm_castpd_ps(m); }  // both halves of a lane's element
};

// x with the sign of s flipped into it (x xor the sign bit of s).
QOR_KERNEL_INLINE vd times_sign(vd x, vd s) { return SD::bit_xor(x, SD::bit_and(s, SD::set1(-0.0))); }

template <class C, class F>
struct ComplexInDouble {
    using P = ElementParts<C>;
    using V = typename P::V;
    using Real = decltype(C::re);
    static constexpr bool reads_mode = true;

    [[gnu::always_inline]] V operator()(V a, V& mark) const {
        vd x, y, re, im, m;
        P::split(a, x, y);
        F::lanes(x, y, re, im, m);
        mark = P::mask(m);
        return P::join(re, im);
    }

    int fix(C a, C& r) const {
        double re, im;
        const int code = F::scalar(double(a.re), double(a.im), re, im);
        r.re = Real(re);
        r.im = Real(im);
        return code;
    }
};

}  // namespace qor::vm::complex
