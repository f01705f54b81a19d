// Building blocks of the degree and pi-scaled trigonometric kernels.
//
// Reduction, exact for every finite argument.  The kernels work on a = |x|
// (the sign of x is put back at the end: sine and tangent are odd, cosine
// even) and write a = (4k + q) Q + r with Q the quarter turn (90 degrees,
// or 1/2 in units of pi), j = 4k + q the nearest integer of a/Q and
// |r| <= Q/2 (a hair more for degrees, where j comes from a * (1/90)):
//   pi units: j = rint(2a) and r = a - j/2, both exact; a is clamped to
//     2^53, from where every double is an even integer (2^24 for floats);
//   degrees:  j = rint(a * (1/90)) and r = a - 90 j, exact for a < 2^52
//     (90 j and a are multiples of ulp(a), and |r| < a); larger arguments
//     are first taken mod 360 exactly by the scalar routine.
// q sits in the low two bits of the pattern of j + 2^52 (j + 2^23 in
// single precision), so the quadrant's signs come from shifts.
//
// Then t = r * K (K = pi or pi/180) in radians, |t| <= pi/4, and
//   sin t = t + t^3 P(t^2),   cos t = 1 - t^2/2 + t^4 Q(t^2),
// P and Q fits within 2^-54 relative (double HA and LA).  Single results (through double, or in single
// arithmetic) take fits in r^2 directly, r in half turns (degrees are
// scaled by 1/180 first, a rounding that single precision never sees).
// The double HA path carries t as a double-double (K in two parts, the
// product by Dekker's split, no FMA) and returns sine and cosine each as an
// unevaluated pair: the head exact, so that the error is the final
// addition's and that of the tail, itself a tenth of the result at most.
#pragma once

#include <bit>
#include <cstdint>

#include "../lane_bits.h"
#include "../lanes.h"
#include "../pair.h"

namespace qor::vm::trigpi {

using simd::vd;
using simd::vf;
using simd::vi;

// ---- constants ------------------------------------------------------------------
inline constexpr double kPiHi = dbl(0x400921FB54442D18ull);
inline constexpr double kPiLo = dbl(0x3CA1A62633145C07ull);
inline constexpr double kPiBy180Hi = dbl(0x3F91DF46A2529D39ull);
inline constexpr double kPiBy180Lo = dbl(0x3C15C1D8BECDD291ull);
inline constexpr double kSplitter = 134217729.0;  // 2^27 + 1, Dekker's split

// Fits, highest degree first, on t^2 <= 0.81^2 (t a hair past pi/4, as
// j = rint(a * (1/90)) may round the other way): sin t = t + t^3 P(t^2)
// and cos t = 1 - t^2/2 + t^4 Q(t^2), P and Q each within 2^-54 relative.
inline constexpr double kSinTail[7] = {dbl(0xBD6AAE09B3E59826ull), dbl(0x3DE61211E62D2A36ull), dbl(0xBE5AE645394E2FCAull),
                                       dbl(0x3EC71DE3A5415C08ull), dbl(0xBF2A01A01A0196BCull), dbl(0x3F81111111111110ull),
                                       dbl(0xBFC5555555555555ull)};
inline constexpr double kCosTail[6] = {dbl(0xBDA904B576D7E75Aull), dbl(0x3E21EEB20E0EC369ull), dbl(0xBE927E4F9D081BC2ull),
                                       dbl(0x3EFA01A019F15E29ull), dbl(0xBF56C16C16C1686Full), dbl(0x3FA5555555555555ull)};

// Fits in w = r^2 on |r| <= 0.26 (r in half turns), highest degree first:
// sin(pi r) = r P(w) and cos(pi r) = Q(w), relative error 2^-37 and
// 2^-33.2 (double, for single results); on |r| <= 1/4, 2^-28.1 and 2^-24.6
// (single).
inline constexpr double kSinPiW[5] = {dbl(0x3FB4B67226FCB6EFull), dbl(0xBFE32C93B3EA82E4ull), dbl(0x400466BB7B20D91Aull),
                                      dbl(0xC014ABBCE5263E17ull), dbl(0x400921FB54437C3Full)};
inline constexpr double kCosPiW[5] = {dbl(0x3FCD9191A5DAB915ull), dbl(0xBFF55C30E69A82BCull), dbl(0x40103C1D6B1FF0D8ull),
                                      dbl(0xC013BD3CC64162B6ull), dbl(0x3FEFFFFFFFF657F0ull)};
inline constexpr float kSinPiWf[4] = {flt(0xBF16CDA0u), flt(0x40232F62u), flt(0xC0A55DDDu), flt(0x40490FDBu)};
inline constexpr float kCosPiWf[5] = {flt(0x3E6CE174u), flt(0xBFAAE2BDu), flt(0x4081E0EEu), flt(0xC09DE9E6u), flt(0x3F800000u)};

// ---- quarter-turn reduction ------------------------------------------------------
template <class T>
struct Quarter {
    using V = typename simd::Simd<T>::V;
    V r;      // a - j Q, exact
    V index;  // j + 2^52 (2^23): q in the low two bits of the pattern
};

// Sign bit of every lane set where bit `b` of the index pattern is.
template <class T, int b>
typename simd::Simd<T>::V index_bit(typename simd::Simd<T>::V index) {
    using S = simd::Simd<T>;
    if constexpr (sizeof(T) == 8)
        return S::bit_and(simd::vcast_vd_vi(simd::vsll_vl_vl_i(simd::vcast_vi_vd(index), 63 - b)), simd::vsignmask_vd());
    else
        return S::bit_and(simd::vcast_vf_vi(simd::vsll_vi2_vi2_i(simd::vcast_vi_vf(index), 31 - b)), simd::vsignmask_vf());
}

// a >= 0 finite, in units of pi (a quarter turn is 1/2).
template <class T>
Quarter<T> reduce_pi_units(typename simd::Simd<T>::V a) {
    using S = simd::Simd<T>;
    constexpr T kEven = sizeof(T) == 8 ? T(0x1p53) : T(0x1p24);
    constexpr T kShift = sizeof(T) == 8 ? T(0x1p52) : T(0x1p23);
    a = S::min(a, S::set1(kEven));
    typename S::V j = S::nearbyint(S::add(a, a));  // ties to even; no flag
    typename S::V r = S::sub(a, S::mul(S::set1(T(0.5)), j));
    typename S::V q = S::sub(j, S::mul(S::set1(T(4)), S::floor(S::mul(S::set1(T(0.25)), j))));
    return {r, S::add(q, S::set1(kShift))};
}

// 0 <= a < 2^52, in degrees.
inline Quarter<double> reduce_degrees(vd a) {
    vd j = simd::vrne_vd_vd(SD::mul(a, SD::set1(1 / 90.0)));
    vd r = SD::sub(a, SD::mul(SD::set1(90.0), j));
    return {r, SD::add(j, SD::set1(0x1p52))};
}

// ---- double-double helpers ---------------------------------------------------------
using pair::fast_two_sum;
using pair::Pair;

struct SplitConstant {
    double head, tail;  // head of 26 significant bits, tail exact
};

constexpr SplitConstant split_constant(double c) {
    const double head = dbl(std::bit_cast<uint64_t>(c) & Bits<double>::kSplitHead);
    return {head, c - head};
}

inline void split(vd x, vd& head, vd& tail) {
    vd c = SD::mul(x, SD::set1(kSplitter));
    head = SD::sub(c, SD::sub(c, x));
    tail = SD::sub(x, head);
}

// A constant hi + lo, hi also split for exact products with it.
struct PairConstant {
    double hi, lo;
    SplitConstant split;
};
constexpr PairConstant pair_constant(double hi, double lo) { return {hi, lo, split_constant(hi)}; }
inline constexpr PairConstant kPi = pair_constant(kPiHi, kPiLo);
inline constexpr PairConstant kPiBy180 = pair_constant(kPiBy180Hi, kPiBy180Lo);

// x * (hi + lo) with the product x * hi exact (Dekker) and x * lo added.
template <const PairConstant& K>
Pair times_constant(vd x) {
    constexpr SplitConstant c = K.split;
    vd xh, xt;
    split(x, xh, xt);
    vd p = SD::mul(x, SD::set1(K.hi));
    vd e = SD::sub(SD::mul(xh, SD::set1(c.head)), p);
    e = SD::add(e, SD::add(SD::mul(xh, SD::set1(c.tail)), SD::mul(xt, SD::set1(c.head))));
    e = SD::add(e, SD::mul(xt, SD::set1(c.tail)));
    return {p, SD::add(e, SD::mul(x, SD::set1(K.lo)))};
}

// The exact product x * y as p + e.
inline Pair two_product(vd x, vd y) {
    vd xh, xt, yh, yt;
    split(x, xh, xt);
    split(y, yh, yt);
    vd p = SD::mul(x, y);
    vd e = SD::add(SD::sub(SD::mul(xh, yh), p), SD::add(SD::mul(xh, yt), SD::mul(xt, yh)));
    return {p, SD::add(e, SD::mul(xt, yt))};
}

// ---- sine and cosine of the reduced argument ---------------------------------------
// Double HA: t = t.hi + t.lo, |t| <= pi/4 (and a hair).
//   sin t = t.hi + [t.lo (1 - t.hi^2/2) + t.hi^3 P]  (t.hi^2 = z + z' exactly,
//           and z' enters t^3/6)
//   cos t = (1 - h) + [((1 - w) - h) - h' - t.hi t.lo + t.hi^4 Q]
// with h + h' = t.hi^2/2 exactly and w = 1 - h rounded.
struct SinCosPairs {
    Pair s, c;
};

inline SinCosPairs sin_cos_pairs(Pair t) {
    const Pair sq = two_product(t.hi, t.hi);
    const vd z = sq.hi;
    vd s_tail = SD::mul(t.hi, SD::mul(z, lanes::horner<SD>(z, kSinTail)));
    // t.lo (1 - z/2), and -t.hi sq.lo / 6 for the rounding of z in t^3/6.
    const vd s_low = SD::add(t.lo, SD::mul(t.hi, SD::mul(sq.lo, SD::set1(-1 / 6.0))));
    s_tail = SD::add(SD::sub(s_low, SD::mul(t.lo, SD::mul(SD::set1(0.5), z))), s_tail);
    const vd h = SD::mul(SD::set1(0.5), z);
    const vd w = SD::sub(SD::set1(1.0), h);
    vd c_tail = SD::sub(SD::sub(SD::set1(1.0), w), h);
    c_tail = SD::sub(c_tail, SD::add(SD::mul(SD::set1(0.5), sq.lo), SD::mul(t.hi, t.lo)));
    c_tail = SD::add(c_tail, SD::mul(SD::mul(z, z), lanes::horner<SD>(z, kCosTail)));
    return {{t.hi, s_tail}, {w, c_tail}};
}

// Plain sine and cosine of t, z = t^2, over the given series.
template <class S, std::size_t NS, std::size_t NC>
void sin_cos_plain(typename S::V t, const typename S::T (&ps)[NS], const typename S::T (&qc)[NC],
                   typename S::V& s, typename S::V& c) {
    using T = typename S::T;
    typename S::V z = S::mul(t, t);
    s = S::add(t, S::mul(t, S::mul(z, lanes::horner<S>(z, ps))));
    typename S::V h = S::mul(S::set1(T(0.5)), z);
    typename S::V w = S::sub(S::set1(T(1)), h);
    c = S::add(w, S::add(S::sub(S::sub(S::set1(T(1)), w), h), S::mul(S::mul(z, z), lanes::horner<S>(z, qc))));
}

// ---- the quadrant ----------------------------------------------------------------
// With s = sin t, c = cos t and q the quadrant of a:
//   sin: q = 0 s, 1 c, 2 -s, 3 -c     cos: q = 0 c, 1 -s, 2 -c, 3 s
//   tan: s/c for even q, -c/s for odd q.
// A zero result (t = 0) is +0 for sine and cosine; the caller then gives
// the sine the sign of x.
template <class T>
typename simd::Simd<T>::V sine_of_quadrant(const Quarter<T>& a, typename simd::Simd<T>::V s, typename simd::Simd<T>::V c) {
    using S = simd::Simd<T>;
    typename S::V odd = index_bit<T, 0>(a.index), flip = index_bit<T, 1>(a.index);
    return S::add(S::bit_xor(S::select(odd, c, s), flip), S::set1(T(0)));
}

template <class T>
typename simd::Simd<T>::V cosine_of_quadrant(const Quarter<T>& a, typename simd::Simd<T>::V s, typename simd::Simd<T>::V c) {
    using S = simd::Simd<T>;
    typename S::V odd = index_bit<T, 0>(a.index);
    typename S::V flip = S::bit_xor(odd, index_bit<T, 1>(a.index));
    return S::add(S::bit_xor(S::select(odd, s, c), flip), S::set1(T(0)));
}

// Tangent zeros (r = 0, even q): +0 for q = 0 and -0 for q = 2, the sign
// the sine and the cosine of the quadrant give.
template <class T>
typename simd::Simd<T>::V signed_tangent_zero(const Quarter<T>& a, typename simd::Simd<T>::V y) {
    using S = simd::Simd<T>;
    return S::bit_or(y, S::bit_and(S::eq(a.r, S::set1(T(0))), index_bit<T, 1>(a.index)));
}

// Lanes of a pole: r = 0 in an odd quadrant (sign bit set).
template <class T>
typename simd::Simd<T>::V tangent_pole(const Quarter<T>& a) {
    using S = simd::Simd<T>;
    return S::bit_and(S::eq(a.r, S::set1(T(0))), index_bit<T, 0>(a.index));
}

// Tangent from the pairs: n/d with n = s or -c and d = c or s, both
// renormalised; the quotient q0 = n1 / d1 is corrected by the exact
// residual n - q0 d, so that the last rounding dominates the error.
inline vd tangent_of_quadrant(const Quarter<double>& a, const SinCosPairs& sc) {
    const vd odd = index_bit<double, 0>(a.index);
    Pair n = fast_two_sum(SD::select(odd, sc.c.hi, sc.s.hi), SD::select(odd, sc.c.lo, sc.s.lo));
    const Pair d = fast_two_sum(SD::select(odd, sc.s.hi, sc.c.hi), SD::select(odd, sc.s.lo, sc.c.lo));
    n.hi = SD::bit_xor(n.hi, odd);
    n.lo = SD::bit_xor(n.lo, odd);
    const vd inv = SD::div(SD::set1(1.0), d.hi);
    const vd q0 = SD::mul(n.hi, inv);
    const Pair p = two_product(q0, d.hi);
    vd e = SD::sub(SD::sub(n.hi, p.hi), p.lo);
    e = SD::add(e, SD::sub(n.lo, SD::mul(q0, d.lo)));
    return SD::add(q0, SD::mul(e, inv));
}

}  // namespace qor::vm::trigpi
