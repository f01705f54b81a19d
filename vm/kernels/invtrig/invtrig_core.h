// Building blocks of the inverse trigonometric kernels.
//
// Arctangent (Atan, Atan2 and their pi-scaled forms): for magnitudes a, b
// the angle atan(a/b) is A_j + atan(t) with A_j and t from the breakpoint
// table of invtrig_constants.h; a negative denominator takes the rows of
// pi - A_j and -t.  The row is found by comparing a with b times the
// breakpoints, so no quotient is formed and nothing overflows for b up to
// 2^1000.  The exact method carries t in two parts: the numerator and
// denominator exactly in two parts (the breakpoints have 20 bits), one
// division for 1/den, and the residual num - t den from an exact product
// (Dekker's split; there is no fused multiply-add), so that
// A_hi + t_hi + (A_lo + t_lo + t^3 P(t^2)) is rounded once at the end.
//
// Arcsine and arccosine: v = |x| for |x| <= 1/2, otherwise
// v = sqrt((1 - |x|)/2), where 1 - |x| and the halving are exact, and
// asin(v) = v + v^3 P(v^2) with v^2 = (1 - |x|)/2 exact.  The result is
// K + m asin(v) with K one of 0, pi/2, pi (in two parts) and m one of
// +-1, +-2.  The exact method adds the rounding error of the root,
// (w - s^2)/(2 s) with s^2 exact in two parts.
//
// Pi-scaled forms multiply the two-part angle by 1/pi in two parts.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "../lanes.h"
#include "../pair.h"
#include "invtrig_constants.h"

namespace qor::vm::invtrig {

// Plain: working precision.  Exact: the result in two parts.  Finer (the
// arcsine for the pi-scaled forms, whose ulp is up to four times finer):
// also the leading term v^3 c0 of the series exact in two parts.
enum class Method { Exact, Plain, Finer };

using pair::head;
using pair::Pair;
using pair::two_prod;

// (hi + lo)/pi, rounded once up to about 2^-100 relative.
QOR_KERNEL_INLINE vd times_inv_pi(Pair v) {
    const Pair p = two_prod(v.hi, SD::set1(kInvPiHi));
    const vd tail = SD::add(SD::mul(v.hi, SD::set1(kInvPiLo)), SD::mul(v.lo, SD::set1(kInvPiHi)));
    return SD::add(p.hi, SD::add(p.lo, tail));
}

// (hi + lo) 2^-k rounded once, for a value below 2^-900 computed 2^k
// higher (k <= 1100).  Below 2^-1022 the grid of the result is 2^-1074:
// hi is split on that grid (scaled by 2^k), the part on the grid scales
// exactly, and only the tail is rounded by the scaling.
inline double scale_down_once(double hi, double lo, int k) {
    if (std::fabs(hi) >= std::ldexp(1.0, k - 1022)) return std::ldexp(hi + lo, -k);
    const double shifter = std::copysign(std::ldexp(1.0, k - 1022), hi);  // hi + shifter keeps its binade
    const double grid = (hi + shifter) - shifter;
    const double tail = (hi - grid) + lo;
    return std::ldexp(grid, -k) + std::ldexp(tail, -k);
}

// x/pi for |x| < 2^-900, rounded once (atan(x), asin(x) and x agree far
// beyond the last bit there).
inline double tiny_over_pi(double x) {
    if (x == 0) return x;  // a subnormal flushed to a signed zero
    const double xs = std::ldexp(x, 1100);
    const Pair p = two_prod(SD::set1(xs), SD::set1(kInvPiHi));
    const double hi = simd::vget0_d_vd(p.hi), lo = simd::vget0_d_vd(p.lo) + xs * kInvPiLo;
    return scale_down_once(hi, lo, 1100);
}

// The first M coefficients of c (highest degree first) as a polynomial in
// z, evaluated as two interleaved halves in z^2 (even and odd powers): two
// chains of half the length.
template <class S, std::size_t M, std::size_t N>
QOR_KERNEL_INLINE typename S::V split_horner(typename S::V z, const typename S::T (&c)[N]) {
    static_assert(M <= N && M >= 2);
    const auto z2 = S::mul(z, z);
    // c[k] multiplies z^(M-1-k): the even powers have k = M - 1 mod 2
    typename S::V even = S::set1(c[(M - 1) % 2]), odd = S::set1(c[M % 2]);
    #pragma GCC unroll 16
    for (std::size_t k = (M - 1) % 2 + 2; k < M; k += 2) even = S::add(S::mul(even, z2), S::set1(c[k]));
    #pragma GCC unroll 16
    for (std::size_t k = M % 2 + 2; k < M; k += 2) odd = S::add(S::mul(odd, z2), S::set1(c[k]));
    return S::add(S::mul(odd, z), even);
}

// ---- arctangent ---------------------------------------------------------------------
// Row index of each lane: the count of breakpoints below a/b (0 ... 8),
// or twice the count of coarse breakpoints, plus `base` (the negative-
// denominator rows where given).
template <bool Coarse = false>
QOR_KERNEL_INLINE vi atan_index(vd a, vd b, vi base) {
    vi j = simd::vzero_vi();
    if constexpr (Coarse) {
        #pragma GCC unroll 4
        for (double brk : kAtanCoarseBreaks) j = simd::vsub_vl_vl_vl(j, SD::to_bits(SD::gt(a, SD::mul(b, SD::set1(brk)))));
        j = simd::vadd_vl_vl_vl(j, j);
    } else {
        #pragma GCC unroll 8
        for (double brk : kAtanBreaks) j = simd::vsub_vl_vl_vl(j, SD::to_bits(SD::gt(a, SD::mul(b, SD::set1(brk)))));
    }
    return simd::vadd_vl_vl_vl(j, base);
}

struct AtanRowLanes {
    vd u, c, hi, lo;
};

QOR_KERNEL_INLINE AtanRowLanes atan_rows(vi j) {
    const auto* pairs = reinterpret_cast<const double(*)[2]>(&kAtanRows[0].u);
    const int64_t j0 = simd::vget_l_vl<0>(j), j1 = simd::vget_l_vl<1>(j);
    AtanRowLanes r;
    lanes::pair_rows(pairs, 2 * j0, 2 * j1, r.u, r.c);
    lanes::pair_rows(pairs, 2 * j0 + 1, 2 * j1 + 1, r.hi, r.lo);
    return r;
}

// atan(a/b) for a, b >= 0 (not both zero, b <= 2^1000), or pi - atan(a/b)
// where `flip` has the sign bit set (with `base` at the negative rows), in
// two parts.
template <std::size_t N>
QOR_KERNEL_INLINE Pair atan_exact(vd a, vd b, vd flip, vi base, const double (&p)[N]) {
    const AtanRowLanes row = atan_rows(atan_index(a, b, base));
    const vd bc = SD::mul(b, row.c), ac = SD::mul(a, row.c);
    const vd bh = head(b), ah = head(a);
    const vd bc_e = SD::add(SD::sub(SD::mul(bh, row.c), bc), SD::mul(SD::sub(b, bh), row.c));
    const vd ac_e = SD::add(SD::sub(SD::mul(ah, row.c), ac), SD::mul(SD::sub(a, ah), row.c));
    // numerator n1 - n2 (a - b c cancels exactly), with the sign of flip
    const vd n1 = SD::bit_xor(SD::sub(SD::mul(a, row.u), bc), flip);
    const vd n2 = SD::bit_xor(bc_e, flip);
    // denominator dh + de: b u + a c summed with its error
    const vd bu = SD::mul(b, row.u);
    const vd dh = SD::add(bu, ac);
    const vd bb = SD::sub(dh, bu);
    const vd de = SD::add(SD::add(SD::sub(bu, SD::sub(dh, bb)), SD::sub(ac, bb)), ac_e);
    const vd inv = SD::div(SD::set1(1.0), dh);
    const vd th = SD::mul(SD::sub(n1, n2), inv);
    const Pair q = two_prod(th, dh);
    const vd residual = SD::sub(SD::sub(SD::sub(SD::sub(n1, q.hi), q.lo), n2), SD::mul(th, de));
    const vd tl = SD::mul(residual, inv);
    const vd z = SD::mul(th, th);
    const vd corr = SD::mul(SD::mul(th, z), split_horner<SD, N>(z, p));
    const vd s = SD::add(row.hi, th);
    const vd e = SD::add(SD::sub(row.hi, s), th);
    return {s, SD::add(e, SD::add(row.lo, SD::add(tl, corr)))};
}

// The same in plain double arithmetic: the fine rows with their low parts
// (about 3 ulp), or the coarse rows without (as the polynomial allows).
enum class Rows { Fine, Coarse };

template <Rows R, std::size_t N>
QOR_KERNEL_INLINE vd atan_plain(vd a, vd b, vd flip, vi base, const double (&p)[N]) {
    constexpr bool WithLow = R == Rows::Fine;
    const AtanRowLanes row = atan_rows(atan_index<R == Rows::Coarse>(a, b, base));
    const vd num = SD::sub(SD::mul(a, row.u), SD::mul(b, row.c));
    const vd den = SD::add(SD::mul(b, row.u), SD::mul(a, row.c));
    const vd t = SD::bit_xor(SD::div(num, den), flip);
    const vd z = SD::mul(t, t);
    vd corr = SD::mul(SD::mul(t, z), split_horner<SD, N>(z, p));
    if constexpr (WithLow) corr = SD::add(corr, row.lo);
    return SD::add(row.hi, SD::add(t, corr));
}

// atan(t) for 0 <= t <= 1 in single precision.
template <std::size_t N>
QOR_KERNEL_INLINE vf atan_unit(vf t, const float (&p)[N]) {
    const vf z = SF::mul(t, t);
    return SF::add(t, SF::mul(SF::mul(t, z), split_horner<SF, N>(z, p)));
}

// ---- arcsine and arccosine --------------------------------------------------------------
template <class T>
struct Series {
    using V = typename simd::Simd<T>::V;
    V big;   // lanes with |x| > 1/2
    V v;     // |x|, or sqrt((1 - |x|)/2)
    V lead;  // Finer: the rounded leading term of the series, else 0
    V tail;  // asin(v) - v - lead: v^3 P(v^2), plus the root's rounding error
};

template <class T, Method M, std::size_t N>
QOR_KERNEL_INLINE Series<T> arcsine_series(typename simd::Simd<T>::V a, const T (&p)[N]) {
    using S = simd::Simd<T>;
    using V = typename S::V;
    const V big = S::gt(a, S::set1(T(0.5)));
    const V w = S::mul(S::sub(S::set1(T(1)), a), S::set1(T(0.5)));
    const V s = S::sqrt(w);
    const V v = S::select(big, s, a);
    const V z = S::select(big, w, S::mul(a, a));
    V lead = S::set1(T(0)), tail;
    if constexpr (M == Method::Finer) {
        // v z P(z) = v z c0 + v z (z Q(z)), with v z and v z c0 exact in two parts
        const vd q = split_horner<SD, N - 1>(z, p);
        const Pair vz = two_prod(v, z);
        const Pair first = two_prod(vz.hi, SD::set1(p[N - 1]));
        lead = first.hi;
        tail = SD::add(SD::add(first.lo, SD::mul(vz.lo, SD::set1(p[N - 1]))), SD::mul(vz.hi, SD::mul(z, q)));
    } else {
        tail = S::mul(S::mul(v, z), split_horner<S, N>(z, p));
    }
    if constexpr (M != Method::Plain) {
        static_assert(sizeof(T) == 8);
        // (w - s^2)/(2 s); w = 0 gives 0 through the tiny addend
        const Pair sq = two_prod(s, s);
        const vd root_err = SD::div(SD::sub(SD::sub(w, sq.hi), sq.lo), SD::add(SD::add(s, s), SD::set1(0x1p-1000)));
        tail = SD::add(tail, SD::bit_and(big, root_err));
    }
    return {big, v, lead, tail};
}

// K + m (v + lead + tail), K = (k_hi, k_lo) and m a power of two times
// +-1 with |m v| <= |K| where K is not zero: in two parts for the exact
// methods, in one (lo = 0, k_lo unused) otherwise.
template <class T, Method M>
QOR_KERNEL_INLINE void assemble(const Series<T>& sr, typename simd::Simd<T>::V k_hi, typename simd::Simd<T>::V k_lo,
                                typename simd::Simd<T>::V m, typename simd::Simd<T>::V& hi,
                                typename simd::Simd<T>::V& lo) {
    using S = simd::Simd<T>;
    if constexpr (M != Method::Plain) {
        const auto mv = S::mul(m, sr.v);
        hi = S::add(k_hi, mv);
        auto e = S::add(S::sub(k_hi, hi), mv);
        if constexpr (M == Method::Finer) {  // |hi| >= |m lead| in every case
            const auto ml = S::mul(m, sr.lead);
            const auto h2 = S::add(hi, ml);
            e = S::add(e, S::add(S::sub(hi, h2), ml));
            hi = h2;
        }
        lo = S::add(e, S::add(k_lo, S::mul(m, sr.tail)));
    } else {
        hi = S::add(k_hi, S::mul(m, S::add(sr.v, sr.tail)));
        lo = S::set1(T(0));
    }
}

template <class T> struct PiParts;
template <> struct PiParts<double> {
    static constexpr double half_hi = kHalfPiHi, half_lo = kHalfPiLo, pi_hi = kPiHi, pi_lo = kPiLo;
};
template <> struct PiParts<float> {
    static constexpr float half_hi = flt(0x3FC90FDBu), half_lo = flt(0xB33BBD2Eu);
    static constexpr float pi_hi = flt(0x40490FDBu), pi_lo = flt(0xB3BBBD2Eu);
};

// asin(|x|) in two parts (the sign is the caller's).
template <class T, Method M, std::size_t N>
QOR_KERNEL_INLINE void asin_parts(typename simd::Simd<T>::V a, const T (&p)[N], typename simd::Simd<T>::V& hi,
                                  typename simd::Simd<T>::V& lo) {
    using S = simd::Simd<T>;
    const Series<T> sr = arcsine_series<T, M>(a, p);
    const auto k_hi = S::bit_and(sr.big, S::set1(PiParts<T>::half_hi));
    const auto k_lo = S::bit_and(sr.big, S::set1(PiParts<T>::half_lo));
    const auto m = S::select(sr.big, S::set1(T(-2)), S::set1(T(1)));
    assemble<T, M>(sr, k_hi, k_lo, m, hi, lo);
}

// acos(x) in two parts.
template <class T, Method M, std::size_t N>
QOR_KERNEL_INLINE void acos_parts(typename simd::Simd<T>::V x, const T (&p)[N], typename simd::Simd<T>::V& hi,
                                  typename simd::Simd<T>::V& lo) {
    using S = simd::Simd<T>;
    const auto neg = S::lt(x, S::set1(T(0)));
    const Series<T> sr = arcsine_series<T, M>(S::abs(x), p);
    // |x| <= 1/2: pi/2 - x;  x > 1/2: 2 asin(v);  x < -1/2: pi - 2 asin(v)
    const auto k_hi = S::select(sr.big, S::bit_and(neg, S::set1(PiParts<T>::pi_hi)), S::set1(PiParts<T>::half_hi));
    const auto k_lo = S::select(sr.big, S::bit_and(neg, S::set1(PiParts<T>::pi_lo)), S::set1(PiParts<T>::half_lo));
    const auto m = S::select(sr.big, S::select(neg, S::set1(T(-2)), S::set1(T(2))),
                             S::select(neg, S::set1(T(1)), S::set1(T(-1))));
    assemble<T, M>(sr, k_hi, k_lo, m, hi, lo);
}

// ---- special arguments of the two-argument arctangent ------------------------------------
// The angles of the axes and diagonals in the unit of the result (radians,
// or half turns for the pi-scaled forms).
struct AxisAngles {
    double quarter, half, three_quarters, whole;  // pi/4, pi/2, 3pi/4, pi
};
inline constexpr AxisAngles kRadians = {kQuarterPi, kHalfPiHi, kThreeQuarterPi, kPiHi};
inline constexpr AxisAngles kHalfTurns = {0.25, 0.5, 0.75, 1.0};

// atan2(y, x) where an argument is NaN, infinite or zero, as C's atan2:
// signed zeros and infinities give the angle of their axis or diagonal.
// Returns false for finite non-zero y and x.
template <class T>
bool atan2_axes(T y, T x, const AxisAngles& u, T& r) {
    if (std::isnan(x) || std::isnan(y)) {
        r = x + y;
        return true;
    }
    double angle;
    if (std::isinf(y)) angle = std::isinf(x) ? (x > 0 ? u.quarter : u.three_quarters) : u.half;
    else if (std::isinf(x)) angle = x > 0 ? 0.0 : u.whole;
    else if (y == 0) angle = std::signbit(x) ? u.whole : 0.0;
    else if (x == 0) angle = u.half;
    else return false;
    r = std::copysign(T(angle), y);
    return true;
}

}  // namespace qor::vm::invtrig
