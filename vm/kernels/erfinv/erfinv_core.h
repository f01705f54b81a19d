// Building blocks of the inverse error function kernels.
//
// Central range, |x| <= 1/2: erfinv x = x + x h(x^2), h a polynomial of
// degree 14 (fit 2^-61.6) whose value lies in [-0.114, -0.046], so the
// rounding errors of x h weigh at most 0.13 in the result and the last
// addition rounds once.  The normal quantile's form sqrt 2 x (1 + h) takes
// x sqrt2_hi as an exact pair.
//
// Tails: erfinv(1 - q) = erfcinv(q), q < 1/2.  1 - |x| is exact for
// |x| >= 1/2, and erfcinv takes small q as given, so nothing cancels.
//   q >= 2^-53: no logarithm.  On each quarter binade of q (208 rows) a
//     polynomial of degree 13 (fits 2^-62.6) in z = m - mid, the mantissa
//     of q less the middle of its quarter (exact), with the value at mid
//     stored as a pair; z p(z) is at most 7% of the result.
//   q < 2^-53 (ErfcInv and CdfNormInv only): Y(L) with L = -ln q from the
//     reduction of Ln as a pair (about 2^-60 relative), a polynomial of
//     degree 12 on each quarter binade of L (43 rows, fits 2^-60.1) in
//     z = (L_hi - m) + L_lo, the value at the middle m as a pair.  The
//     relative error of L weighs about 1/2 in Y, which grows like sqrt L.
//
// Short forms (double EP, and the single-precision kernels through double):
// erfinv x = x P(x^2) for |x| <= 3/4 (11 terms, 2^-29), else erfcinv(q) by
// a polynomial of degree 7 on each half binade of q down to 2^-149 (fits
// 2^-30.2) in the mantissa of q less the middle of its half.  No division,
// no square root, no logarithm.
//
// Polynomials are evaluated by Estrin's scheme: the kernels are bound by the
// latency of their chains of dependent steps more than by their operations.
#pragma once

#include <bit>
#include <cstdint>
#include <limits>

#include "../pair.h"
#include "../explog/log_core.h"
#include "../lanes.h"
#include "erfinv_coefficients.h"

namespace qor::vm::erfinv_core {

using lanes::bits_outside;
using lanes::pick;
using lanes::upper_word_outside;
using pair::fast_two_sum;
using pair::Pair;
using pair::two_prod;
using pair::two_sum;

namespace co = erfinv_coefficients;

// f on the two halves of a float vector, in double, rounded once.
template <class F>
QOR_KERNEL_INLINE vf through_double(vf x, F f) {
    return lanes::narrow(f(lanes::low_half(x)), f(lanes::high_half(x)));
}

// Estrin's scheme: sum of v[i] x^i for the N terms v (lowest degree first),
// pairs joined with x, then pairs of pairs with x^2, and so on.  Its chain
// of dependent steps is about log2 N multiplications long where Horner's is
// N: the short kernels are bound by that latency, not by their operations.
template <class V, class S, std::size_t N>
QOR_KERNEL_INLINE V estrin(V x, const V (&v)[N]) {
    if constexpr (N == 1) {
        return v[0];
    } else {
        V w[(N + 1) / 2];
#pragma GCC unroll 16
        for (std::size_t i = 0; i < N / 2; ++i) w[i] = S::add(v[2 * i], S::mul(v[2 * i + 1], x));
        if constexpr (N % 2 == 1) w[N / 2] = v[N - 1];
        return estrin<V, S, (N + 1) / 2>(S::mul(x, x), w);
    }
}

// The same for constant coefficients given highest degree first.
template <class S, std::size_t N>
QOR_KERNEL_INLINE typename S::V estrin(typename S::V x, const typename S::T (&c)[N]) {
    typename S::V v[N];
#pragma GCC unroll 16
    for (std::size_t i = 0; i < N; ++i) v[i] = S::set1(c[N - 1 - i]);
    return estrin<typename S::V, S, N>(x, v);
}

// ---- high accuracy ----------------------------------------------------------------
inline constexpr double kSqrt2Hi = dbl(0x3FF6A09E667F3BCDull);
inline constexpr double kSqrt2Lo = dbl(0xBC9BDD3413B26456ull);
inline constexpr double kHalfSqrtPi = dbl(0x3FEC5BF891B4EF6Bull);  // erfinv x / x at 0
inline constexpr double kSmallestQ = dbl(0x0010000000000000ull);    // keeps marked lanes in range

// erfinv x for |x| < 1/2; with `Scaled`, sqrt 2 erfinv x.
template <bool Scaled>
QOR_KERNEL_INLINE vd central(vd x) {
    const vd t = SD::mul(x, x);
    const vd h = estrin<SD>(t, co::kCentral);
    if constexpr (Scaled) {
        const Pair p = two_prod(x, SD::set1(kSqrt2Hi));
        const vd rest = SD::mul(x, SD::add(SD::set1(kSqrt2Lo), SD::mul(h, SD::set1(kSqrt2Hi))));
        return SD::add(p.hi, SD::add(p.lo, rest));
    } else {
        return SD::add(x, SD::mul(x, h));
    }
}

// -ln q = hi + lo for positive normal q, less `k_adjust` ln 2 (60 after a
// prescale by 2^60); q <= 1/2, so the exact big part of the logarithm
// dominates its small rest.
QOR_KERNEL_INLINE Pair minus_ln(vd q, vd k_adjust) {
    const log_core::Pieces p = log_core::pieces<log_core::Accuracy::High>(q, k_adjust);
    const vd big = log_core::big_part(p), small = log_core::small_part(p);
    const vd s = SD::add(big, small);
    return {SD::neg(s), SD::neg(SD::add(SD::sub(big, s), small))};
}

// Row of the quarter-binade tables for L >= 0.625: exponent and two leading
// mantissa bits of L, clamped so that every lane reads inside the table.
inline int tail_row(int32_t upper) {
    const int r = (upper >> 18) - 4089;  // 0.625 = 0x3FE40000...
    return r < 0 ? 0 : (r >= co::kTailRows ? co::kTailRows - 1 : r);
}

// erfcinv q (sqrt 2 erfcinv q with `Scaled`) for q in (0, 1/2], positive
// normal; `k_adjust` as in minus_ln.
template <bool Scaled>
QOR_KERNEL_INLINE vd tail(vd q, vd k_adjust = SD::set1(0.0)) {
    const Pair L = minus_ln(q, k_adjust);
    const vi bits = simd::vcast_vi_vd(L.hi);
    const auto& table = Scaled ? co::kTailSqrt2 : co::kTail;
    const double* r0 = table[tail_row(simd::vget_i_vi2<1>(bits))];
    const double* r1 = table[tail_row(simd::vget_i_vi2<3>(bits))];
    auto column = [&](int k) { return simd::vload_vd_p_p(r0 + k, r1 + k); };
    const vd z = SD::add(SD::sub(L.hi, column(0)), L.lo);
    vd c[co::kTailTerms - 1];  // c1 ... c12, two per load
#pragma GCC unroll 8
    for (int k = 0; k < co::kTailTerms - 1; k += 2) {
        const vd a = simd::vload_vd_p(r0 + 3 + k), b = simd::vload_vd_p(r1 + 3 + k);
        c[k] = simd::vunpacklo_vd_vd_vd(a, b);
        c[k + 1] = simd::vunpackhi_vd_vd_vd(a, b);
    }
    const vd p = estrin<vd, SD, co::kTailTerms - 1>(z, c);
    return SD::add(column(1), SD::add(column(2), SD::mul(z, p)));
}

// erfcinv q (sqrt 2 erfcinv q with `Scaled`) for q in [2^-53, 1/2), without
// a logarithm: the quarter-binade rows of q, in the mantissa of q less the
// middle of its quarter (exact); the value there as a pair.  With `Scaled`
// the product with sqrt 2 keeps the pair's head exact.
template <bool Scaled>
QOR_KERNEL_INLINE vd tail_q(vd q) {
    auto row = [](int32_t upper) {
        const int r = (upper >> 18) - 4 * (1023 - 53);
        return co::kTailQ[r < 0 ? 0 : (r > 207 ? 207 : r)];
    };
    const vi bits = simd::vcast_vi_vd(q);
    const double* r0 = row(simd::vget_i_vi2<1>(bits));
    const double* r1 = row(simd::vget_i_vi2<3>(bits));
    const vd m = SD::bit_or(SD::bit_and(q, lanes::from_bits(0x000FFFFFFFFFFFFFull)), SD::set1(1.0));
    const vd mid = SD::bit_or(SD::bit_and(m, lanes::from_bits(0xFFFC000000000000ull)),
                              lanes::from_bits(0x0002000000000000ull));
    const vd z = SD::sub(m, mid);
    vd c[16];  // c0 (pair), c1 ... c13, two per aligned load
#pragma GCC unroll 8
    for (int k = 0; k < 16; k += 2) {
        const vd a = simd::vloada_vd_p(r0 + k), b = simd::vloada_vd_p(r1 + k);
        c[k] = simd::vunpacklo_vd_vd_vd(a, b);
        c[k + 1] = simd::vunpackhi_vd_vd_vd(a, b);
    }
    vd p[13];
#pragma GCC unroll 13
    for (int k = 0; k < 13; ++k) p[k] = c[k + 2];
    const vd rest = SD::add(c[1], SD::mul(z, estrin<vd, SD, 13>(z, p)));
    if constexpr (Scaled) {
        const Pair h = two_prod(c[0], SD::set1(kSqrt2Hi));
        const vd low = SD::add(SD::mul(c[0], SD::set1(kSqrt2Lo)), SD::mul(rest, SD::set1(kSqrt2Hi)));
        return SD::add(h.hi, SD::add(h.lo, low));
    } else {
        return SD::add(c[0], rest);
    }
}

// The tail for one positive q, normal or subnormal, in lane 0.
template <bool Scaled>
inline double tail_scalar(double q) {
    if ((std::bit_cast<uint64_t>(q) >> 52) == 0)
        return simd::vget0_d_vd(tail<Scaled>(SD::set1(q * log_core::kPrescale), SD::set1(60.0)));
    return simd::vget0_d_vd(tail<Scaled>(SD::set1(q)));
}

// erfinv x for |x| < 1 (ErfInv; `Scaled`: the normal quantile's sqrt 2 erfinv).
template <bool Scaled>
QOR_KERNEL_INLINE vd erfinv_double(vd x) {
    const vd a = SD::abs(x);
    return pick(
        SD::le(a, SD::set1(0.5)), [&] { return central<Scaled>(x); },
        [&] { return SD::copysign(tail_q<Scaled>(SD::sub(SD::set1(1.0), a)), x); });
}

// erfcinv q for 0 < q < 2 (q normal): the central form in 1 - q (exact for
// q >= 1/2) between 1/2 and 3/2, the tail in q or in 2 - q (exact for q >= 1)
// outside, negative above 1.  `Quantile`: the normal quantile of p = q/2,
// sqrt 2 erfinv(q - 1), the same steps with the sign turned and sqrt 2
// folded in.
template <bool Quantile>
QOR_KERNEL_INLINE vd erfcinv_double(vd q) {
    const vd one = SD::set1(1.0);
    const vd v = Quantile ? SD::sub(q, one) : SD::sub(one, q);
    // Judged on q: below 1/2, 1 - q may round to 1/2.
    const vd use_central = SD::bit_and(SD::ge(q, SD::set1(0.5)), SD::le(q, SD::set1(1.5)));
    return pick(
        use_central, [&] { return central<Quantile>(v); },
        [&] {
            const vd qq = SD::max(SD::min(q, SD::sub(SD::set1(2.0), q)), SD::set1(kSmallestQ));
            const vd y = pick(
                SD::ge(qq, SD::set1(0x1p-53)), [&] { return tail_q<Quantile>(qq); },
                [&] { return tail<Quantile>(qq); });
            return SD::copysign(y, v);
        });
}

// ---- enhanced performance ---------------------------------------------------------
// Row of kTailEP for q in [2^-149, 2^-2): exponent and leading mantissa bit,
// clamped so that every lane reads inside the table.
inline const double* tail_ep_row(int32_t upper) {
    constexpr int rows = int(sizeof co::kTailEP / sizeof co::kTailEP[0]);
    const int r = (upper >> 19) - 2 * (1023 - 149);
    return co::kTailEP[r < 0 ? 0 : (r >= rows ? rows - 1 : r)];
}

// erfcinv q for q in [2^-149, 1/4] (about 2^-30 relative).
QOR_KERNEL_INLINE vd tail_fast(vd q) {
    const vi bits = simd::vcast_vi_vd(q);
    const double* r0 = tail_ep_row(simd::vget_i_vi2<1>(bits));
    const double* r1 = tail_ep_row(simd::vget_i_vi2<3>(bits));
    // z = m - mid: the mantissa with the exponent of 1, less 1.25 or 1.75
    // (the mantissa's leading bit kept, the next one set).
    const vd m = SD::bit_or(SD::bit_and(q, lanes::from_bits(0x000FFFFFFFFFFFFFull)), SD::set1(1.0));
    const vd mid = SD::bit_or(SD::bit_and(m, lanes::from_bits(0xFFF8000000000000ull)),
                              lanes::from_bits(0x0004000000000000ull));
    const vd z = SD::sub(m, mid);
    vd c[8];  // rows of 64 bytes: two coefficients per aligned load
#pragma GCC unroll 4
    for (int k = 0; k < 8; k += 2) {
        const vd a = simd::vloada_vd_p(r0 + k), b = simd::vloada_vd_p(r1 + k);
        c[k] = simd::vunpacklo_vd_vd_vd(a, b);
        c[k + 1] = simd::vunpackhi_vd_vd_vd(a, b);
    }
    return estrin<vd, SD, 8>(z, c);
}

// erfinv x for |x| <= 3/4 (about 2^-29 relative).
QOR_KERNEL_INLINE vd central_fast(vd x) { return SD::mul(x, estrin<SD>(SD::mul(x, x), co::kCentralEP)); }

// erfinv x for |x| < 1 - 2^-54.
QOR_KERNEL_INLINE vd erfinv_fast(vd x) {
    const vd a = SD::abs(x);
    return pick(
        SD::le(a, SD::set1(0.75)), [&] { return central_fast(x); },
        [&] { return SD::copysign(tail_fast(SD::sub(SD::set1(1.0), a)), x); });
}

// erfcinv q for q in [2^-149, 2 - 2^-149] (`Quantile`: sqrt 2 erfinv(q - 1)),
// for single-precision results: the steps of erfcinv_double with the short
// forms.
template <bool Quantile>
QOR_KERNEL_INLINE vd erfcinv_fast(vd q) {
    const vd one = SD::set1(1.0);
    const vd v = Quantile ? SD::sub(q, one) : SD::sub(one, q);
    const vd y = pick(
        SD::le(SD::abs(v), SD::set1(0.75)), [&] { return central_fast(v); },
        [&] { return SD::copysign(tail_fast(SD::min(q, SD::sub(SD::set1(2.0), q))), v); });
    return Quantile ? SD::mul(y, SD::set1(kSqrt2Hi)) : y;
}

// ---- single precision, enhanced performance -----------------------------------------
// erfinv x = x P(x^2) for |x| < 3/4 (6 terms, 2^-16.7); else L = -ln(1 - |x|)
// by the short single-precision logarithm (2^-14.3 relative, which weighs
// 1/2 in the result) and a polynomial of degree 7 in w = sqrt L (2^-16).
template <class LnParts>
QOR_KERNEL_INLINE vf erfinv_single_fast(vf x, LnParts ln_parts) {
    const vf a = SF::abs(x);
    const vf central = SF::mul(x, estrin<SF>(SF::mul(x, x), co::kCentralSingle));
    const vf use_central = SF::lt(a, SF::set1(0.75f));
    if (SF::movemask(use_central) == 15) return central;
    const vf q = SF::max(SF::sub(SF::set1(1.0f), a), SF::set1(0x1p-30f));
    vf k, lnm;
    ln_parts(q, k, lnm);
    const vf L = SF::neg(SF::add(SF::mul(k, SF::set1(0.693147180559945f)), lnm));
    const vf w = SF::sqrt(L);
    const vf tail = SF::copysign(estrin<SF>(w, co::kTailSingle), x);
    return SF::select(use_central, central, tail);
}

}  // namespace qor::vm::erfinv_core
