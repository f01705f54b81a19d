// Building blocks of the exponential kernels.
//
// Double precision, table method: x is written as (N/64) * ln 2 + r with N
// the nearest integer of x * 64/ln 2 (base 2 and 10 scale x accordingly),
// j = N mod 64 and M = N div 64, and
//     e^x = 2^M * hi_j * (1 + lo_j) * e^r,   |r| <= ln 2 / 128,
// with e^r - 1 from a short polynomial.  The shifter 1.5 * 2^52 rounds the
// scaled argument to an integer whose two's complement sits in the low bits
// of the sum, so N, j and M come from integer operations on its pattern.
//
// Plain method (single LA and EP): x = k * ln 2 + r with k the
// nearest integer of x/ln 2, e^r from a polynomial on |r| <= ln 2 / 2.
//
// Single precision through double: 2^y = 2^k * 2^r with y - k exact in
// double; the polynomial's error (about 2^-32) leaves the rounding to single
// within 0.502 ulp.
//
// Single precision, table method in float (e^x and 2^x, HA): N, j and M as
// in double, hi_j + lo_j = 2^(j/64) as two floats, and
//     result = 2^M * (hi_j + (hi_j * p + lo_j)),   p = e^r - 1,
// |r| <= ln 2/128.  Everything but the last sum is small against hi_j, so
// only that sum's rounding counts in full; the rest (r's rounding, 2^-30.6
// for e^x and nothing for 2^x, whose r = x - N/64 is exact; the cubic, 2^-34;
// the inner products and lo_j) adds about 0.02 ulp: within 0.52 ulp.
#pragma once

#include <bit>
#include <cstdint>
#include <limits>

#include "../exp_log_loop.h"
#include "../lanes.h"
#include "exp_table.h"

namespace qor::vm::exp_core {

// ---- constants of the table method --------------------------------------------
inline constexpr double kInvLn2x64 = dbl(0x40571547652B82FEull);  // 64/ln 2
inline constexpr double kShifter = dbl(0x4338000000000000ull);    // 1.5 * 2^52
inline constexpr double kLn2By64Hi = dbl(0x3F862E42FEFA0000ull);  // ln 2/64, trailing bits zero
inline constexpr double kLn2By64Lo = dbl(0x3D1CF79ABC9E3B3Aull);
// e^r - 1 = r + r^2 * (0.5 + c2 r + c3 r^2 + c4 r^3 + c5 r^4) on |r| <= ln 2/128.
inline constexpr double kC2 = dbl(0x3FC55555555548F8ull);
inline constexpr double kC3 = dbl(0x3FA5555555558FCCull);
inline constexpr double kC4 = dbl(0x3F8111123AAF20D3ull);
inline constexpr double kC5 = dbl(0x3F56C16A1C2A3FFDull);
// Shorter fits of (e^r - 1 - r)/r^2 on the same interval, highest degree
// first: relative error 2^-41.6 (four terms) and 2^-19.6 (two terms).
inline constexpr double kQ3[4] = {dbl(0x3F8111115401A756ull), dbl(0x3FA55556B51A1AACull),
                                  dbl(0x3FC5555555555E72ull), dbl(0x3FDFFFFFFFFFF561ull)};
inline constexpr double kQ1[2] = {dbl(0x3FC55555AD46792Dull), dbl(0x3FE0000149C86E20ull)};

// Base 2: N = nearest integer of 64 x; r = (x - N/64) * ln 2, the
// difference being exact.
inline constexpr double kLn2 = dbl(0x3FE62E42FEFA39EFull);
// Base 10: N = nearest integer of x * 64 log2(10); r = (x - N * C) * ln 10
// with C = log10(2)/64 in two parts, the first of 36 bits so that N * C1
// is exact for |N| < 2^17.
inline constexpr double kLog2Of10x64 = dbl(0x406A934F0979A371ull);
inline constexpr double kLog10Of2By64Hi = dbl(0x3F73441350A00000ull);
inline constexpr double kLog10Of2By64Lo = dbl(0xBD20C0219DC1DA99ull);
inline constexpr double kLn10 = dbl(0x40026BB1BBB55516ull);

// ---- vector table method ------------------------------------------------------
struct Reduced {
    vd r;  // reduced argument
    vi t;  // pattern of the shifted sum: N in its low bits
};

inline Reduced reduce_e(vd x) {
    const vd shifter = SD::set1(kShifter);
    vd t = SD::add(SD::mul(x, SD::set1(kInvLn2x64)), shifter);
    vd k = SD::sub(t, shifter);
    vd r = SD::sub(SD::sub(x, SD::mul(k, SD::set1(kLn2By64Hi))), SD::mul(k, SD::set1(kLn2By64Lo)));
    return {r, simd::vcast_vi_vd(t)};
}

inline Reduced reduce_2(vd x) {
    const vd shifter = SD::set1(kShifter);
    vd t = SD::add(SD::mul(x, SD::set1(64.0)), shifter);
    vd k = SD::sub(t, shifter);
    vd r = SD::mul(SD::sub(x, SD::mul(k, SD::set1(1.0 / 64))), SD::set1(kLn2));
    return {r, simd::vcast_vi_vd(t)};
}

inline Reduced reduce_10(vd x) {
    const vd shifter = SD::set1(kShifter);
    vd t = SD::add(SD::mul(x, SD::set1(kLog2Of10x64)), shifter);
    vd k = SD::sub(t, shifter);
    vd r0 = SD::sub(SD::sub(x, SD::mul(k, SD::set1(kLog10Of2By64Hi))), SD::mul(k, SD::set1(kLog10Of2By64Lo)));
    return {SD::mul(r0, SD::set1(kLn10)), simd::vcast_vi_vd(t)};
}

// hi_j and lo_j of both lanes.
inline void table_rows(vi t, vd& hi, vd& lo) {
    const int64_t j0 = simd::vget_l_vl<0>(t) & 63, j1 = simd::vget_l_vl<1>(t) & 63;
    lanes::pair_rows(exp_table::kTable.v, j0, j1, hi, lo);
}

// p = e^r - 1 + lo: (((((c5 r + c4) r + c3) r + c2) r + 0.5) r r + r) + lo.
inline vd poly_ha(vd r, vd lo) {
    vd q = SD::add(SD::mul(SD::set1(kC5), r), SD::set1(kC4));
    q = SD::add(SD::mul(q, r), SD::set1(kC3));
    q = SD::add(SD::mul(q, r), SD::set1(kC2));
    q = SD::add(SD::mul(q, r), SD::set1(0.5));
    return SD::add(SD::add(SD::mul(SD::mul(q, r), r), r), lo);
}

// p = e^r - 1 from one of the shorter fits.
template <std::size_t N>
inline vd poly_short(vd r, const double (&q)[N]) {
    return SD::add(SD::mul(SD::mul(r, r), lanes::horner<SD>(r, q)), r);
}

// y * 2^M with M = N div 64: the low 12 bits of M land in the exponent
// field.  Valid while the result is normal.
inline vd scale(vd y, vi t) { return lanes::add_exponent(y, simd::vsrl_vl_vl_i(t, 6)); }

// e^x, 2^x or 10^x by the table method with the full polynomial.
template <Reduced (*Reduce)(vd)>
inline vd table_exp_ha(vd x) {
    Reduced a = Reduce(x);
    vd hi, lo;
    table_rows(a.t, hi, lo);
    vd p = poly_ha(a.r, lo);
    return scale(SD::add(hi, SD::mul(hi, p)), a.t);
}

// ---- scalar table method (the scalar routines) --------------------------------
struct ScalarReduced {
    double r;
    int64_t n;
};

inline ScalarReduced scalar_reduce(double x, int base) {
    vd v = SD::set1(x);
    Reduced a = base == 2 ? reduce_2(v) : base == 10 ? reduce_10(v) : reduce_e(v);
    int64_t n = int64_t(uint64_t(simd::vget_l_vl<0>(a.t)) - std::bit_cast<uint64_t>(kShifter));
    return {simd::vget0_d_vd(a.r), n};
}

inline double scalar_poly_ha(double r, double lo) { return simd::vget0_d_vd(poly_ha(SD::set1(r), SD::set1(lo))); }

inline double pow2i(int m) { return std::bit_cast<double>(uint64_t(int64_t(m) + 1023) << 52); }

// (hi + hi*p) * 2^M for a normal result; M = 1024 is reached just below the
// overflow threshold, where 2^M itself is out of range: scale by 2^1023 and
// double.
inline double scalar_scale(double hi, double p, int64_t n) {
    const int m = int(n >> 6);
    const double y = hi + hi * p;
    if (m == 1024) return y * dbl(0x7FE0000000000000ull) * 2.0;
    return y * pow2i(m);
}

// (a + b) * 2^m for a result below 2^-1021 (subnormal, or in the lowest
// normal binade, whose ulp is the same 2^-1074), rounded once; |a| >= |b|
// and m >= -1080.  Everything is computed 2^60 higher, where the sum s of a
// and b and its exact error e are normal; s is then split at the result's
// grid (2^-1074 scaled up, reached with the shifter 1.5 * 2^-962), so that
// high * 2^-60 is exact and the one rounding happens when the tail is
// scaled down.
inline double scale_sum_tiny(double a, double b, int m) {
    const double scale = pow2i(m + 60);
    a *= scale;
    b *= scale;
    const double s = a + b;
    const double e = (a - s) + b;
    const double grid_shifter = dbl(0x03D8000000000000ull);  // 1.5 * 2^-962
    const double high = (s + grid_shifter) - grid_shifter;
    const double tail = (s - high) + e;
    const double down = dbl(0x3C30000000000000ull);  // 2^-60
    return high * down + tail * down;
}

// (hi + hi*p) * 2^M for a subnormal result, rounded once.
inline double scalar_scale_tiny(double hi, double p, int64_t n) { return scale_sum_tiny(hi, hi * p, int(n >> 6)); }

// Thresholds of one base: results above `overflow_above` are infinite,
// below `zero_below` zero, below `subnormal_below` subnormal (or zero after
// rounding).
struct ScalarLimits {
    double overflow_above;
    double zero_below;
    double subnormal_below;
};

inline constexpr ScalarLimits kLimitsE = {dbl(0x40862E42FEFA39EFull),   // 709.782712893384
                                          dbl(0xC0874910D52D3051ull),   // -745.1332191019411
                                          dbl(0xC086232BDD7ABCD2ull)};  // -708.3964185322641
inline constexpr ScalarLimits kLimits2 = {dbl(0x408FFFFFFFFFFFFFull),   // below 1024
                                          -1075.0, -1022.0};
inline constexpr ScalarLimits kLimits10 = {dbl(0x40734413509F79FEull),  // 308.2547155599167
                                           -324.0,                       // the tiny path rounds the rest
                                           dbl(0xC0733A7146F72A41ull)};  // -307.6526555685887

// The scalar routine of the table method for base e, 2 or 10: the result
// of x and its status code.
inline int table_exp_scalar(double x, double& y, int base) {
    const ScalarLimits& lim = base == 2 ? kLimits2 : base == 10 ? kLimits10 : kLimitsE;
    const uint64_t u = std::bit_cast<uint64_t>(x);
    const int biased = int(u >> 52) & 0x7FF;
    if (biased == 0x7FF) {  // -inf gives +0; +inf and NaN give x*x (+inf, quiet NaN)
        y = x == -std::numeric_limits<double>::infinity() ? 0.0 : x * x;
        return QOR_VM_STATUS_OK;
    }
    if (base != 2 && base != 10 && biased < 971) {  // |x| < 2^-52
        y = 1.0 + x;
        return QOR_VM_STATUS_OK;
    }
    if (x > lim.overflow_above) {
        y = std::numeric_limits<double>::infinity();
        return QOR_VM_STATUS_OVERFLOW;
    }
    if (x < lim.zero_below) {
        y = 0.0;
        return QOR_VM_STATUS_UNDERFLOW;
    }
    const ScalarReduced a = scalar_reduce(x, base);
    const double hi = exp_table::kTable.v[a.n & 63][0], lo = exp_table::kTable.v[a.n & 63][1];
    const double p = scalar_poly_ha(a.r, lo);
    if (x >= lim.subnormal_below) {
        y = scalar_scale(hi, p, a.n);
        return QOR_VM_STATUS_OK;
    }
    y = scalar_scale_tiny(hi, p, a.n);
    return QOR_VM_STATUS_UNDERFLOW;
}

// ---- plain method over float or double ----------------------------------------
template <class T>
struct PlainConstants;

template <>
struct PlainConstants<float> {
    static constexpr float log2e = flt(0x3FB8AA3Bu);
    static constexpr float shifter = flt(0x4B400000u);  // 1.5 * 2^23
    static constexpr float ln2_hi = flt(0x3F318000u);   // 9 bits: k * ln2_hi exact
    static constexpr float ln2_lo = flt(0xB95E8083u);
};

template <>
struct PlainConstants<double> {
    static constexpr double log2e = dbl(0x3FF71547652B82FEull);
    static constexpr double shifter = dbl(0x4338000000000000ull);
    static constexpr double ln2_hi = dbl(0x3FE62E42FEE00000ull);  // 32 bits
    static constexpr double ln2_lo = dbl(0x3DEA39EF35793C76ull);
};

// e^x = 2^k (1 + r + r^2 Q(r)); valid while 2^k times a value in
// [0.7, 1.42] is normal, that is |x| up to about 86.9 (float) or 707 (double).
template <class T, std::size_t N>
inline typename simd::Simd<T>::V exp_plain(typename simd::Simd<T>::V x, const T (&q)[N]) {
    using S = simd::Simd<T>;
    using C = PlainConstants<T>;
    using V = typename S::V;
    V t = S::add(S::mul(x, S::set1(C::log2e)), S::set1(C::shifter));
    V k = S::sub(t, S::set1(C::shifter));
    V r = S::sub(S::sub(x, S::mul(k, S::set1(C::ln2_hi))), S::mul(k, S::set1(C::ln2_lo)));
    V y = S::add(S::set1(T(1)), S::add(r, S::mul(S::mul(r, r), lanes::horner<S>(r, q))));
    return lanes::add_exponent(y, S::to_bits(t));
}

// ---- single precision through double -----------------------------------------
// 2^r = 1 + r * P(r) on |r| <= 1/2, highest degree first; relative error of
// P 2^-32.
inline constexpr double kExp2P6[7] = {
    dbl(0x3EEFFCBDE8AEBAD9ull), dbl(0x3F2443F61F99D618ull), dbl(0x3F55D88BDB068E26ull), dbl(0x3F83B2A1C367024Dull),
    dbl(0x3FAC6B08CB168C84ull), dbl(0x3FCEBFBE0453004Aull), dbl(0x3FE62E42FEFD32C0ull)};

// Float constants of the table method: 64/ln 2; ln 2/64 in two parts, the
// first of 9 bits so that N times it is exact for |N| < 2^15; the cubics
// e^r - 1 = r + r^2 (1/2 + r/6) and 2^r - 1 = r (c1 + r (c2 + r c3)).
inline constexpr float kInvLn2x64f = flt(0x42B8AA3Bu);
inline constexpr float kShifterF = flt(0x4B400000u);  // 1.5 * 2^23
inline constexpr float kLn2By64HiF = flt(0x3C318000u);
inline constexpr float kLn2By64LoF = flt(0xB65E8083u);
inline constexpr float kExpCubicF[2] = {flt(0x3E2AAAABu), 0.5f};
inline constexpr float kExp2CubicF[3] = {flt(0x3D635847u), flt(0x3E75FDF0u), flt(0x3F317218u)};

// e^x (Base2 false) or 2^x (true) for |x| <= 87.3 (e^x) or 125.5 (2^x),
// where every result is normal.
template <bool Base2>
inline vf table_exp_single(vf x) {
    const vf shifter = SF::set1(kShifterF);
    const vf t = SF::add(SF::mul(x, SF::set1(Base2 ? 64.0f : kInvLn2x64f)), shifter);
    const vf n = SF::sub(t, shifter);
    vf p;
    if constexpr (Base2) {
        const vf r = SF::sub(x, SF::mul(n, SF::set1(1.0f / 64)));
        p = SF::mul(r, lanes::horner<SF>(r, kExp2CubicF));
    } else {
        const vf r = SF::sub(SF::sub(x, SF::mul(n, SF::set1(kLn2By64HiF))), SF::mul(n, SF::set1(kLn2By64LoF)));
        p = SF::add(r, SF::mul(SF::mul(r, r), lanes::horner<SF>(r, kExpCubicF)));
    }
    const vi bits = SF::to_bits(t);  // 0x4B400000 + N, and 0x4B400000 is a multiple of 64
    vf hi, lo;
    lanes::quad_rows(exp_table::kTableF.v, simd::vand_vi_vi_vi(bits, simd::vset1_vi2_i(63)), hi, lo);
    return lanes::add_exponent(SF::add(hi, SF::add(SF::mul(hi, p), lo)), simd::vsrl_vi2_vi2_i(bits, 6));
}

struct Exp2Split {
    vd p;  // 2^r - 1
    vi t;  // pattern of y + shifter: k in its low bits
};

// y = k + r with k the nearest integer; valid for |y| < 2^51.
inline Exp2Split exp2_split(vd y) {
    const vd shifter = SD::set1(kShifter);
    vd t = SD::add(y, shifter);
    vd r = SD::sub(y, SD::sub(t, shifter));
    return {SD::mul(r, lanes::horner<SD>(r, kExp2P6)), simd::vcast_vi_vd(t)};
}

// 2^y for |y| <= 1000 with a normal result.
inline vd exp2_via_split(vd y) {
    Exp2Split s = exp2_split(y);
    return lanes::add_exponent(SD::add(SD::set1(1.0), s.p), s.t);
}

// f applied to the two halves of a float vector in double, rounded once.
template <class F>
inline vf through_double(vf x, F f) {
    return lanes::narrow(f(lanes::low_half(x)), f(lanes::high_half(x)));
}

// Status of a single-precision exponential-type result computed in double:
// overflow when a finite argument gives infinity, underflow when it gives a
// result below the smallest normal float (subnormal or zero).
inline int single_result_code(float x, float r, float tiny_below) {
    if (!(x == x) || x == std::numeric_limits<float>::infinity() || x == -std::numeric_limits<float>::infinity())
        return 0;
    if (r == std::numeric_limits<float>::infinity()) return QOR_VM_STATUS_OVERFLOW;
    if (r < tiny_below && r > -tiny_below) return QOR_VM_STATUS_UNDERFLOW;
    return 0;
}

}  // namespace qor::vm::exp_core
