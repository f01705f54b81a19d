// Building blocks of the error function kernels, in double precision.
//
// Every function of the family is assembled from three parts:
//   small |x| < 1/2:  erf(x) = x + x Q(x^2), and erfc(x) = (1 - x) - x Q(x^2)
//                     with 1 - x formed exactly as a pair;
//   a >= 1/2:         erfc(a) = e^(-a^2) R(a), R = erfcx on one of the 96
//                     pieces of [0.5, 32) (erf_table.h), the square split
//                     exactly into head and tail so that e^(-a^2) keeps its
//                     full relative accuracy however large a^2 grows;
//   a >= 32:          erfcx(a) = A(1/a^2)/a, no exponential at all;
//   erf on [0.5, 6):  a polynomial of erf itself on one of 56 pieces, where
//                     erf > 1/2 needs only an absolute accuracy.
// The High quality carries R and e^(-a^2) as pairs (a head and a small
// tail) and multiplies the heads exactly (Dekker's product, as there is no
// fused multiply-add), so that the one rounding that counts is the last;
// Mid and Low evaluate the shorter fits in plain double arithmetic.
//
// The argument of R and of the square may carry a tail of its own (CdfNorm
// passes -x/sqrt 2 as a pair): it shifts t = a - c and adds 2 a tail to the
// square's tail.
#pragma once

#include <cstdint>

#include "../pair.h"
#include "../explog/exp_core.h"
#include "../lanes.h"
#include "erf_table.h"

namespace qor::vm::erf_core {

using lanes::bits_outside;
using lanes::pick;
using lanes::upper_word_outside;
using pair::fast_two_sum;
using pair::Pair;
using pair::two_prod;
using pair::two_sum;

namespace tab = erf_table;

// High: the long fits with pairs; Fast: the long fits in plain arithmetic;
// Mid and Low: the shorter fits.
enum class Quality { High, Fast, Mid, Low };

inline constexpr bool long_fit(Quality q) { return q == Quality::High || q == Quality::Fast; }

template <Quality Q>
constexpr const auto& small_fit() {
    if constexpr (long_fit(Q)) return tab::kSmallHigh;
    else if constexpr (Q == Quality::Mid) return tab::kSmallMid;
    else return tab::kSmallLow;
}

template <Quality Q>
constexpr const auto& pieces() {
    if constexpr (long_fit(Q)) return tab::kHigh.v;
    else if constexpr (Q == Quality::Mid) return tab::kMid.v;
    else return tab::kLow.v;
}

// ---- |x| < 1/2 ---------------------------------------------------------------------
// x Q(x^2): erf(x) - x.
template <Quality Q>
QOR_KERNEL_INLINE vd erf_small_rest(vd x) {
    return SD::mul(x, lanes::horner<SD>(SD::mul(x, x), small_fit<Q>()));
}

template <Quality Q>
QOR_KERNEL_INLINE vd erf_small(vd x) {
    return SD::add(x, erf_small_rest<Q>(x));
}

// erfc(x + xl) = 1 - x - xl - (x + xl) Q: 1 - x as an exact pair.
template <Quality Q, bool WithTail = false>
QOR_KERNEL_INLINE Pair erfc_small(vd x, vd xl = SD::set1(0.0)) {
    const Pair s = fast_two_sum(SD::set1(1.0), SD::neg(x));
    vd rest = erf_small_rest<Q>(x);
    if constexpr (WithTail) rest = SD::add(rest, xl);
    return {s.hi, SD::sub(s.lo, rest)};
}

// ---- polynomials on pieces ----------------------------------------------------------
struct Piece {
    int i0, i1;
    vd t;  // a - c
};

// The piece of each lane: the pattern of a shifted right by Shift less
// First, clamped so that lanes outside the table read a valid row.
template <int Shift, int First, int Count>
QOR_KERNEL_INLINE Piece piece_of(vd a, const double* centers) {
    vi piece = simd::vsrl_vi2_vi2_i(simd::vshuffle_vi2_vi2<0x0D>(simd::vcast_vi_vd(a)), Shift - 32);
    piece = simd::vsub_vi2_vi2_vi2(piece, simd::vset1_vi2_i(First));
    piece = simd::vmin_vi2_vi2_vi2(simd::vmax_vi2_vi2_vi2(piece, simd::vzero_vi()), simd::vset1_vi2_i(Count - 1));
    const int i0 = simd::vget_i_vi2<0>(piece), i1 = simd::vget_i_vi2<1>(piece);
    return {i0, i1, SD::sub(a, simd::vload_vd_p_p(&centers[i0], &centers[i1]))};
}

// The polynomial of each lane's row at t: c0 + t (c1 + c2 t + ...), with
// Split rows holding c0 as head and tail; with Pair the result as an exact
// head and tail (c0 + s), else rounded once.
template <bool Split, bool Pairs, int P, int N>
QOR_KERNEL_INLINE Pair piece_poly(const double (&rows)[P][N], int i0, int i1, vd t) {
    constexpr int first = Split ? 2 : 1;  // index of c1
    constexpr int last = N - 1;
    // Two halves of Horner's scheme in parallel: p = lowp + t^h highp.
    constexpr int mid = (first + last + 1) / 2;
    vd hp = simd::vload_vd_p_p(&rows[i0][last], &rows[i1][last]);
    for (int k = last - 1; k >= mid; --k) hp = SD::add(SD::mul(hp, t), simd::vload_vd_p_p(&rows[i0][k], &rows[i1][k]));
    vd lp = simd::vload_vd_p_p(&rows[i0][mid - 1], &rows[i1][mid - 1]);
    for (int k = mid - 2; k >= first; --k) lp = SD::add(SD::mul(lp, t), simd::vload_vd_p_p(&rows[i0][k], &rows[i1][k]));
    vd th = t;
    for (int k = 1; k < mid - first; ++k) th = SD::mul(th, t);
    const vd p = SD::add(lp, SD::mul(th, hp));  // c1 + c2 t + ...
    const vd c0 = simd::vload_vd_p_p(&rows[i0][0], &rows[i1][0]);
    vd s = SD::mul(t, p);
    if constexpr (Split) s = SD::add(simd::vload_vd_p_p(&rows[i0][1], &rows[i1][1]), s);
    if constexpr (Pairs) return fast_two_sum(c0, s);
    else return {SD::add(c0, s), SD::set1(0.0)};
}

// R(a + al) = erfcx on [0.5, 32): as a pair (High) or in hi alone.
template <Quality Q, bool WithTail = false>
QOR_KERNEL_INLINE Pair erfcx_pieces(vd a, vd al = SD::set1(0.0)) {
    Piece pc = piece_of<48, tab::kFirstPattern, tab::kPieces>(a, tab::kCenter);
    vd t = pc.t;
    if constexpr (WithTail) t = SD::add(t, al);
    return piece_poly<long_fit(Q), Q == Quality::High>(pieces<Q>(), pc.i0, pc.i1, t);
}

template <Quality Q>
constexpr const auto& erf_pieces() {
    if constexpr (long_fit(Q)) return tab::kErfHigh.v;
    else if constexpr (Q == Quality::Mid) return tab::kErfMid.v;
    else return tab::kErfLow.v;
}

// erf(a) for 0.5 <= a <= 6 straight from its pieces, no exponential.
template <Quality Q>
QOR_KERNEL_INLINE vd erf_direct(vd a) {
    Piece pc = piece_of<48, tab::kErfFirstPattern, tab::kErfPieces>(a, tab::kErfCenter);
    return piece_poly<long_fit(Q), false>(erf_pieces<Q>(), pc.i0, pc.i1, pc.t).hi;
}

// ---- e^(+-a^2) -------------------------------------------------------------------
struct Scaled {
    Pair v;  // the value times 2^-M
    vi t;    // pattern carrying M for exp_core::scale
};

// e^(s a^2) for s = +1 or -1, a^2 = sq + sql exactly (plus 2 a al).
template <Quality Q, bool Negative, bool WithTail = false>
QOR_KERNEL_INLINE Scaled exp_square(vd a, vd al = SD::set1(0.0)) {
    const Pair sq = two_prod(a, a);
    vd sql = sq.lo;
    if constexpr (WithTail) sql = SD::add(sql, SD::mul(SD::add(a, a), al));
    exp_core::Reduced red = exp_core::reduce_e(Negative ? SD::neg(sq.hi) : sq.hi);
    const vd r = Negative ? SD::sub(red.r, sql) : SD::add(red.r, sql);
    vd hi, lo;
    exp_core::table_rows(red.t, hi, lo);
    if constexpr (Q == Quality::High) {
        const vd hp = SD::mul(hi, exp_core::poly_ha(r, lo));
        return {fast_two_sum(hi, hp), red.t};
    } else {
        // Mid and Low: the two-term fit's error, 2^-19.6 of the quadratic
        // term, is 2^-34.6 of e^r at most.
        const vd p = Q == Quality::Fast ? exp_core::poly_short(r, exp_core::kQ3) : exp_core::poly_short(r, exp_core::kQ1);
        return {{SD::add(hi, SD::mul(hi, p)), SD::set1(0.0)}, red.t};
    }
}

// 2^M of the pattern t, for M in [-1022, 1023].
QOR_KERNEL_INLINE vd power_of_two(vi t) { return exp_core::scale(SD::set1(1.0), t); }

// (x.hi + x.lo)(y.hi + y.lo) as a pair, the heads multiplied exactly.
QOR_KERNEL_INLINE Pair mul_pairs(const Pair& x, const Pair& y) {
    const Pair p = two_prod(x.hi, y.hi);
    return fast_two_sum(p.hi, SD::add(p.lo, SD::add(SD::mul(x.hi, y.lo), SD::mul(x.lo, y.hi))));
}

// erfc(a + al) = e^(-a^2) R(a) for 0.5 <= a < 32, unscaled by 2^M: High
// as a pair, the others in v.hi.
template <Quality Q, bool WithTail = false>
QOR_KERNEL_INLINE Scaled erfc_large(vd a, vd al = SD::set1(0.0)) {
    const Pair r = erfcx_pieces<Q, WithTail>(a, al);
    const Scaled e = exp_square<Q, true, WithTail>(a, al);
    if constexpr (Q == Quality::High) return {mul_pairs(e.v, r), e.t};
    else return {{SD::mul(e.v.hi, r.hi), SD::set1(0.0)}, e.t};
}

// erfc(a) for 0.5 <= a <= 26 (the result normal), as a pair.
template <Quality Q, bool WithTail = false>
QOR_KERNEL_INLINE Pair erfc_large_scaled(vd a, vd al = SD::set1(0.0)) {
    const Scaled s = erfc_large<Q, WithTail>(a, al);
    if constexpr (Q == Quality::High) {
        const vd f = power_of_two(s.t);
        return {SD::mul(s.v.hi, f), SD::mul(s.v.lo, f)};
    } else {
        return {exp_core::scale(s.v.hi, s.t), SD::set1(0.0)};
    }
}

// ---- a >= 32: erfcx(a) = A(1/a^2)/a ---------------------------------------------------
template <Quality Q>
constexpr const auto& asymptotic_fit() {
    if constexpr (long_fit(Q)) return tab::kAsymHigh;
    else return tab::kAsymMid;
}

template <Quality Q>
QOR_KERNEL_INLINE vd erfcx_asymptotic(vd a) {
    const auto& c = asymptotic_fit<Q>();
    constexpr int n = int(sizeof(c) / sizeof(double));
    const vd y = SD::div(SD::set1(1.0), a);
    const vd u = SD::mul(y, y);
    vd b = SD::set1(c[n - 1]);
    for (int k = n - 2; k >= 2; --k) b = SD::add(SD::mul(b, u), SD::set1(c[k]));
    const vd tail = SD::add(SD::set1(c[1]), SD::mul(u, b));  // A = c0 + tail
    if constexpr (Q == Quality::High) {
        // 1/a = y + y e with e = 1 - a y formed exactly.
        const Pair ay = two_prod(a, y);
        const vd e = SD::sub(SD::sub(SD::set1(1.0), ay.hi), ay.lo);
        const Pair h = two_prod(y, SD::set1(c[0]));
        const vd rest = SD::add(SD::mul(y, tail), SD::mul(SD::mul(y, e), SD::set1(c[0])));
        return SD::add(h.hi, SD::add(h.lo, rest));
    } else {
        return SD::mul(y, SD::add(SD::set1(c[0]), tail));
    }
}

}  // namespace qor::vm::erf_core
