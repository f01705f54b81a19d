// Shared steps of the transcendental complex kernels.
//
// Every kernel computes in double lanes on split parts (Parts<vd>): a double
// complex register pack is used as it is, a single complex pack of four
// elements is widened into two halves and narrowed once at the end, so one
// source serves c and z, and the single kernels round a result that is
// already far more accurate than a float.  The helpers here map a kernel's
// lane function over its packs, turn a scalar routine in double into the
// fix of either element type with the error code of its result, and hold the
// pieces several kernels share: e^x and sin/cos as unrounded pairs, and
// products of pairs rounded once.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "../complex_driver.h"
#include "../explog/exp_core.h"
#include "../pair.h"
#include "../trig/trig_core.h"
#include "qor/qor_vm.h"

// Registers in Parts<V>, as in complex_driver.h: the may_alias attribute of
// the vector types is not needed in template arguments.  (The complex
// kernel sources include this header last.)
#pragma GCC diagnostic ignored "-Wignored-attributes"

namespace qor::vm::complex {

using pair::Pair;
using ZD = Parts<vd>;

template <class Real>
using RV = typename simd::Simd<Real>::V;
template <class Real>
using CV = Parts<RV<Real>>;
template <class Real>
using PlanarOf = std::conditional_t<std::is_same_v<Real, float>, PlanarC, PlanarZ>;

// ---- packs to double lanes --------------------------------------------------------
// Two double masks into the float mask of the same four elements.
inline vf narrow_mask(vd lo, vd hi) {
    return _mm_shuffle_ps(_mm_castpd_ps(lo), _mm_castpd_ps(hi), _MM_SHUFFLE(2, 0, 2, 0));
}

inline ZD low_parts(CV<float> a) { return {lanes::low_half(a.re), lanes::low_half(a.im)}; }
inline ZD high_parts(CV<float> a) { return {lanes::high_half(a.re), lanes::high_half(a.im)}; }
inline CV<float> narrow(ZD lo, ZD hi) { return {lanes::narrow(lo.re, hi.re), lanes::narrow(lo.im, hi.im)}; }

// A float result that is not finite goes to the scalar routine as well: a
// finite double may overflow the float, which is reported there.
inline vf float_mark(vd m0, vd m1, CV<float> r) {
    return SF::bit_or(narrow_mask(m0, m1), SF::bit_or(SF::isnonfinite(r.re), SF::isnonfinite(r.im)));
}

// f(ZD a, vd& mark) -> ZD
template <class Real, class F>
QOR_KERNEL_INLINE CV<Real> map_cc(CV<Real> a, RV<Real>& m, F f) {
    if constexpr (std::is_same_v<Real, double>) {
        return f(a, m);
    } else {
        vd m0, m1;
        const ZD r0 = f(low_parts(a), m0), r1 = f(high_parts(a), m1);
        const CV<float> r = narrow(r0, r1);
        m = float_mark(m0, m1, r);
        return r;
    }
}

// f(ZD a, ZD b, vd& mark) -> ZD
template <class Real, class F>
QOR_KERNEL_INLINE CV<Real> map_ccc(CV<Real> a, CV<Real> b, RV<Real>& m, F f) {
    if constexpr (std::is_same_v<Real, double>) {
        return f(a, b, m);
    } else {
        vd m0, m1;
        const ZD r0 = f(low_parts(a), low_parts(b), m0), r1 = f(high_parts(a), high_parts(b), m1);
        const CV<float> r = narrow(r0, r1);
        m = float_mark(m0, m1, r);
        return r;
    }
}

// f(ZD a, vd& mark) -> vd
template <class Real, class F>
QOR_KERNEL_INLINE RV<Real> map_cr(CV<Real> a, RV<Real>& m, F f) {
    if constexpr (std::is_same_v<Real, double>) {
        return f(a, m);
    } else {
        vd m0, m1;
        const vd r0 = f(low_parts(a), m0), r1 = f(high_parts(a), m1);
        const vf r = lanes::narrow(r0, r1);
        m = SF::bit_or(narrow_mask(m0, m1), SF::isnonfinite(r));
        return r;
    }
}

// f(vd x, vd& mark) -> ZD
template <class Real, class F>
QOR_KERNEL_INLINE CV<Real> map_rc(RV<Real> x, RV<Real>& m, F f) {
    if constexpr (std::is_same_v<Real, double>) {
        return f(x, m);
    } else {
        vd m0, m1;
        const ZD r0 = f(lanes::low_half(x), m0), r1 = f(lanes::high_half(x), m1);
        const CV<float> r = narrow(r0, r1);
        m = float_mark(m0, m1, r);
        return r;
    }
}

// ---- scalar routines ---------------------------------------------------------------
// The code of a result: the routine's own (singularity), else overflow when
// finite arguments gave an infinite part, else domain when arguments
// without NaN gave a NaN part (an invalid operation, such as an infinite
// angle).
template <class Real>
int result_code(int own, bool finite_args, bool nan_args, Real re, Real im) {
    if (own) return own;
    if (finite_args && (std::isinf(re) || std::isinf(im))) return QOR_VM_STATUS_OVERFLOW;
    if (!nan_args && (std::isnan(re) || std::isnan(im))) return QOR_VM_STATUS_DOMAIN;
    return QOR_VM_STATUS_OK;
}

inline bool finite2(double x, double y) { return std::isfinite(x) && std::isfinite(y); }
inline bool nan2(double x, double y) { return std::isnan(x) || std::isnan(y); }

// A complex scalar routine in double, int f(x, y, u, v) setting u + iv,
// as the fix of a complex element of either type.
template <class C, class F>
int fix_cc(const C& a, C& r, F f) {
    using Real = decltype(r.re);
    double u, v;
    const int own = f(double(a.re), double(a.im), u, v);
    r.re = Real(u);
    r.im = Real(v);
    return result_code(own, finite2(a.re, a.im), nan2(a.re, a.im), r.re, r.im);
}

template <class C, class F>
int fix_ccc(const C& a, const C& b, C& r, F f) {
    using Real = decltype(r.re);
    double u, v;
    const int own = f(double(a.re), double(a.im), double(b.re), double(b.im), u, v);
    r.re = Real(u);
    r.im = Real(v);
    return result_code(own, finite2(a.re, a.im) && finite2(b.re, b.im), nan2(a.re, a.im) || nan2(b.re, b.im),
                       r.re, r.im);
}

// One lane of a vector routine, for the scalar routines.
inline double lane0(vd x) { return simd::vget0_d_vd(x); }
inline vd splat(double x) { return SD::set1(x); }

// ---- underflow -------------------------------------------------------------------
// Lanes of a result part below the normal range (subnormal or zero).
template <class Real>
QOR_KERNEL_INLINE RV<Real> below_normal(RV<Real> v) {
    using S = simd::Simd<Real>;
    return S::lt(S::abs(v), S::set1(std::numeric_limits<Real>::min()));
}

// The code of a result computed by a scalar routine, turned into underflow
// when the arguments are finite and a part whose exact value is not zero
// (re_nonzero, im_nonzero) came out below the normal range.
template <class Real>
int with_underflow(int code, bool finite_args, bool re_nonzero, bool im_nonzero, Real re, Real im) {
    const Real tiny = std::numeric_limits<Real>::min();
    if (code != QOR_VM_STATUS_OK || !finite_args) return code;
    return (re_nonzero && std::fabs(re) < tiny) || (im_nonzero && std::fabs(im) < tiny) ? QOR_VM_STATUS_UNDERFLOW
                                                                                          : code;
}

// ---- pair arithmetic -----------------------------------------------------------------
// a * b for pairs, rounded once, with the sign of a.hi * b.hi (so zeros get
// the sign the product of the parts gives them).  The low parts may be up
// to about 2^-6 of the high ones (the sine and cosine pairs are not
// normalised), so their product is kept.
QOR_KERNEL_INLINE vd mul_round(Pair a, Pair b) {
    const Pair p = pair::two_prod(a.hi, b.hi);
    const vd cross = SD::add(SD::add(SD::mul(a.hi, b.lo), SD::mul(a.lo, b.hi)), SD::mul(a.lo, b.lo));
    const vd v = SD::add(p.hi, SD::add(p.lo, cross));
    return SD::bit_or(SD::abs(v), sign_of<double>(SD::bit_xor(a.hi, b.hi)));
}

// hi + lo = a + b for pairs, lo not normalised.
QOR_KERNEL_INLINE Pair add_pairs(Pair a, Pair b) {
    const Pair s = pair::two_sum(a.hi, b.hi);
    return {s.hi, SD::add(s.lo, SD::add(a.lo, b.lo))};
}

// a * b for pairs whose low parts are small beside the high ones (within
// about 2^-50), as a pair within about 2^-100 relative; lo not normalised.
QOR_KERNEL_INLINE Pair mul_pairs(Pair a, Pair b) {
    const Pair p = pair::two_prod(a.hi, b.hi);
    return {p.hi, SD::add(p.lo, SD::add(SD::mul(a.hi, b.lo), SD::mul(a.lo, b.hi)))};
}

// n/d for pairs, d positive, given inv = 1/d.hi rounded: the quotient
// n.hi inv corrected by its exact residual (the residual is small, so its
// product with inv is accurate far beyond the last bit of the result).
QOR_KERNEL_INLINE vd divide_pairs(Pair n, Pair d, vd inv) {
    const vd q = SD::mul(n.hi, inv);
    const Pair qd = pair::two_prod(q, d.hi);
    const vd rest = SD::sub(SD::add(SD::sub(SD::sub(n.hi, qd.hi), qd.lo), n.lo), SD::mul(q, d.lo));
    return SD::add(q, SD::mul(rest, inv));
}

// The pair with its low part brought below half an ulp of the high one.
QOR_KERNEL_INLINE Pair normalised(Pair a) { return pair::fast_two_sum(a.hi, a.lo); }

// hi + lo rounded.
QOR_KERNEL_INLINE vd sum(Pair a) { return SD::add(a.hi, a.lo); }

// Lanes whose magnitude is outside [2^lo, 2^hi] (zero, infinities and NaN
// included); no flag raised.
QOR_KERNEL_INLINE vd outside_binades(vd x, int lo, int hi) {
    const int64_t lo_bits = int64_t(lo + 1023) << 52, hi_bits = int64_t(hi + 1023) << 52;
    const vi b = simd::vand_vi_vi_vi(SD::to_bits(x), simd::vset1_vl_l(0x7FFFFFFFFFFFFFFFll));
    const vi below = simd::vgt_vl_vl_vl(simd::vset1_vl_l(lo_bits), b);
    const vi above = simd::vgt_vl_vl_vl(b, simd::vset1_vl_l(hi_bits));
    return SD::from_bits(simd::vor_vi_vi_vi(below, above));
}

// 2^-e with e the exponent of x (x normal, e in [-1021, 1022]), and 2^e.
QOR_KERNEL_INLINE vd inverse_binade(vd x) {
    const vi e = simd::vand_vi_vi_vi(SD::to_bits(x), simd::vset1_vl_l(0x7FF0000000000000ll));
    return SD::from_bits(simd::vsub_vl_vl_vl(simd::vset1_vl_l(0x7FE0000000000000ll), e));
}
QOR_KERNEL_INLINE vd binade(vd x) {
    return SD::from_bits(simd::vand_vi_vi_vi(SD::to_bits(x), simd::vset1_vl_l(0x7FF0000000000000ll)));
}

// ---- e^x and sin/cos as pairs ---------------------------------------------------------
// e^x = 2^M (e.hi + e.lo) by the table method of Exp, the last product and
// the scale left undone; M = N div 64 with N in the low bits of t.
struct ExpParts {
    Pair e;
    vi t;
};

QOR_KERNEL_INLINE ExpParts exp_parts(vd x, vd x_lo = SD::set1(0.0)) {
    exp_core::Reduced a = exp_core::reduce_e(x);
    vd hi, lo;
    exp_core::table_rows(a.t, hi, lo);
    const vd p = exp_core::poly_ha(SD::add(a.r, x_lo), lo);
    return {{hi, SD::mul(hi, p)}, a.t};
}

// 2^M, for |M| <= 1022.
QOR_KERNEL_INLINE vd exp_scale(vi t) { return exp_core::scale(SD::set1(1.0), t); }

// M of lane 0, for the scalar routines.
inline int exp_m(vi t) {
    const int64_t n = int64_t(uint64_t(simd::vget_l_vl<0>(t)) << 13) >> 13;
    return int(n >> 6);
}

// sin y and cos y as pairs from the reduction of |y| (r and quadrant k);
// the sine takes the sign bit of `sign_y`.
struct SinCos {
    Pair s, c;
};

QOR_KERNEL_INLINE SinCos sincos_pairs(const trig::Reduced& a, vd sign_y) {
    const vd z = SD::mul(a.hi, a.hi);
    const Pair s = trig::sin_precise(a.hi, a.lo, z), c = trig::cos_precise(a.hi, a.lo, z);
    const vd odd = trig::odd_quadrant(a.k);
    const vd ss = SD::bit_xor(trig::half_turn_sign(a.k), sign_of<double>(sign_y));
    const vd cs = trig::half_turn_sign(trig::next_quadrant(a.k));
    return {{SD::bit_xor(SD::select(odd, c.hi, s.hi), ss), SD::bit_xor(SD::select(odd, c.lo, s.lo), ss)},
            {SD::bit_xor(SD::select(odd, s.hi, c.hi), cs), SD::bit_xor(SD::select(odd, s.lo, c.lo), cs)}};
}

// |y| < 2^19 on the vector path; y_lo (if any) is the low part of a pair y.
QOR_KERNEL_INLINE SinCos sincos_lanes(vd y, vd y_lo = SD::set1(0.0)) {
    trig::Reduced a = trig::reduce<trig::Reduction::exact>(SD::abs(y));
    a.lo = SD::add(a.lo, SD::bit_xor(y_lo, sign_of<double>(y)));
    return sincos_pairs(a, y);
}

// Any finite y, one lane, for the scalar routines.
inline SinCos sincos_any(double y, double y_lo = 0) {
    if (std::fabs(y) < 0x1p19) return sincos_lanes(splat(y), splat(y_lo));
    double hi, lo;
    int k;
    trig::reduce_huge(std::fabs(y), hi, lo, k);
    const trig::Reduced a{splat(hi), splat(lo + std::copysign(y_lo, y)), simd::vset1_vl_l(k)};
    return sincos_pairs(a, splat(y));
}

// Lanes where |y| >= 2^19, infinities and NaN included.
QOR_KERNEL_INLINE vd trig_outside(vd y) { return lanes::upper_word_above(y, trig::kVectorLimitUpper); }

// (e * c) 2^M for the scalar routines: one rounding, then the scale; a
// result below the normal range is rounded twice.
inline double scaled_product(Pair e, Pair c, int m) { return std::ldexp(lane0(mul_round(e, c)), m); }

}  // namespace qor::vm::complex
