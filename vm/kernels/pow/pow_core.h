// The logarithm and exponential behind Pow, Powr and Powx.
//
// x^y = e^(y ln x).  Near the overflow threshold y ln x is about 709, so an
// error of d in y ln x is a relative error of d in the result: for a result
// within about 0.52 ulp the product must be known to about 2^-58 absolute,
// that is ln x to about 2^-68 relative.  Hence, in double precision:
//
//   ln x as a double-double hi + lo.  x = 2^k m, m in [1, 2); with the row j
//   of pow_log_table.h nearest to m, r = m * rcp_j - 1 is exact (|r| < 2^-8.4)
//   and computed without fused multiply-add by splitting m into a 44-bit head
//   and a 9-bit tail.  Then
//       ln x = (k ln2_hi + hi_j) + r - r^2/2 + r^3 P(r) + (k ln2_lo + lo_j)
//   where the first sum is exact, r^2/2 is split into an exact square of the
//   26-bit head of r and a small remainder, and P has degree 5 (HA; about
//   2^-70 relative overall) or 4 with a rounded square (LA, about 2^-62).
//
//   y ln x = zh + zl by Dekker's exact product of 26-bit heads.
//
//   e^(zh + zl) by the 64-entry table of the exponential kernels:
//   zh = N ln2/64 + r', r' reduced with ln2/64 in two parts and zl added, and
//   the result 2^(N/64) (1 + p) with p = e^r' - 1 + lo_j.
//
// The enhanced-performance double and the single-precision kernels need
// much less: a plain double logarithm from the same table (about 2^-47
// relative next to 1), a plain product, and the exponential without the
// low parts of its table.
#pragma once

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>

#include "../explog/exp_core.h"
#include "../lane_bits.h"
#include "../variant.h"
#include "pow_log_table.h"

namespace qor::vm::pow_core {

using Acc = Variant;

inline constexpr double kLn2Hi = dbl(pow_log_table::kLn2HiBits);
inline constexpr double kLn2Lo = dbl(pow_log_table::kLn2LoBits);

// (ln(1 + r) - r + r^2/2) / r^3 on |r| <= 2^-8.4, highest degree first:
// absolute error 2^-58.7 (degree 5) and 2^-49.1 (degree 4).
inline constexpr double kLogP5[6] = {dbl(0xBFC0000AC62DAA18ull), dbl(0x3FC249308AED8B5Dull),
                                     dbl(0xBFC55555555310EDull), dbl(0x3FC99999999714B4ull),
                                     dbl(0xBFD0000000000000ull), dbl(0x3FD5555555555555ull)};
inline constexpr double kLogP4[5] = {dbl(0x3FC2492E8C26E7AAull), dbl(0xBFC555608E6EB380ull),
                                     dbl(0x3FC9999999983353ull), dbl(0xBFCFFFFFFFFE6CF1ull),
                                     dbl(0x3FD5555555555555ull)};
// (ln(1 + r) - r) / r^2 on the same interval: absolute error 2^-39.2
// (degree 3) and 2^-29.6 (degree 2).
inline constexpr double kLogQ3[4] = {dbl(0x3FC999A3DC6E46F1ull), dbl(0xBFD00005FC515038ull),
                                     dbl(0x3FD555555554F935ull), dbl(0xBFDFFFFFFFFF9485ull)};
inline constexpr double kLogQ2[3] = {dbl(0xBFD000047D3CBFB4ull), dbl(0x3FD5555AB86AF373ull),
                                     dbl(0xBFE0000000000000ull)};

struct DD {
    vd hi, lo;
};

// The head of 26 significant bits of each lane; x - head is exact and has
// at most 27.
QOR_KERNEL_INLINE vd head26(vd x) { return SD::bit_and(x, Bits<double>::pattern(Bits<double>::kSplitHead)); }

// Rows of the logarithm table for the mantissas of ax (any bit pattern
// gives an index in 0 ... 256).
QOR_KERNEL_INLINE void log_rows(vd ax, vd& rcp, vd& hi, vd& lo) {
    const vi mant = simd::vset1_vl_l(0x000FFFFFFFFFFFFFll);
    vi j = simd::vsrl_vl_vl_i(
        simd::vadd_vl_vl_vl(simd::vand_vi_vi_vi(SD::to_bits(ax), mant), simd::vset1_vl_l(1ll << 43)), 44);
    const pow_log_table::Row* t = pow_log_table::kTable.v;
    const int64_t j0 = simd::vget_l_vl<0>(j), j1 = simd::vget_l_vl<1>(j);
    vd a0 = simd::vloada_vd_p(&t[j0].rcp), a1 = simd::vloada_vd_p(&t[j1].rcp);
    rcp = simd::vunpacklo_vd_vd_vd(a0, a1);
    hi = simd::vunpackhi_vd_vd_vd(a0, a1);
    lo = simd::vload_vd_p_p(&t[j0].lo, &t[j1].lo);
}

// The parts of ln ax shared by every variant: k ln2_hi + hi_j (exact), the
// small k ln2_lo + lo_j, and the reduced argument r.  `bias` is the
// exponent bias (1023, or 1083 for an argument scaled up by 2^60).  With
// Exact, r = m rcp - 1 is exact for any double mantissa (the head of m has
// 44 bits, so both partial products are exact); without it the product is
// rounded, which costs nothing for a mantissa of a float (24 + 9 bits) and
// 2^-53 absolute otherwise.
struct LogParts {
    vd a, b, r;
};

template <bool Exact>
QOR_KERNEL_INLINE LogParts log_parts(vd ax, vd bias) {
    vd rcp, hi, lo;
    log_rows(ax, rcp, hi, lo);
    vd k = SD::sub(lanes::exponent_field(ax), bias);
    vd m = lanes::mantissa_one_two(ax);
    vd r;
    if constexpr (Exact) {
        vd mh = SD::bit_and(m, simd::vset1_vd_u64(0xFFFFFFFFFFFFFE00ull));
        vd ml = SD::sub(m, mh);
        r = SD::add(SD::sub(SD::mul(mh, rcp), SD::set1(1.0)), SD::mul(ml, rcp));
    } else {
        r = SD::sub(SD::mul(m, rcp), SD::set1(1.0));
    }
    vd a = SD::add(SD::mul(k, SD::set1(kLn2Hi)), hi);
    vd b = SD::add(SD::mul(k, SD::set1(kLn2Lo)), lo);
    return {a, b, r};
}

// ln ax for positive normal ax as a double-double, LA or HA.
template <Acc A>
QOR_KERNEL_INLINE DD log_dd(vd ax, vd bias) {
    const LogParts q = log_parts<true>(ax, bias);
    const vd r = q.r;
    // |a| >= |r| whenever a is not zero, so these sums are Fast2Sum.
    vd s1 = SD::add(q.a, r);
    vd e1 = SD::add(SD::sub(q.a, s1), r);
    vd h2, corr, p;
    if constexpr (A == Acc::HA) {
        vd rh = head26(r), rl = SD::sub(r, rh);
        h2 = SD::mul(SD::mul(rh, rh), SD::set1(0.5));                     // exact
        corr = SD::mul(rl, SD::add(rh, SD::mul(SD::set1(0.5), rl)));     // r^2/2 - h2
        p = lanes::horner<SD>(r, kLogP5);
    } else {
        h2 = SD::mul(SD::mul(r, r), SD::set1(0.5));
        corr = SD::set1(0.0);
        p = lanes::horner<SD>(r, kLogP4);
    }
    vd t = SD::sub(s1, h2);
    vd e2 = SD::sub(SD::sub(s1, t), h2);
    vd tail = SD::mul(SD::mul(SD::mul(r, r), r), p);
    vd small = SD::add(SD::add(SD::add(e1, e2), SD::sub(q.b, corr)), tail);
    vd hi = SD::add(t, small);
    return {hi, SD::add(SD::sub(t, hi), small)};
}

// ln ax in plain double: (k ln2_hi + hi_j) + (r + (r^2 Q(r) + k ln2_lo + lo_j)).
template <std::size_t N>
QOR_KERNEL_INLINE vd log_plain(vd ax, const double (&q)[N]) {
    const LogParts s = log_parts<false>(ax, SD::set1(1023.0));
    vd r2q = SD::mul(SD::mul(s.r, s.r), lanes::horner<SD>(s.r, q));
    return SD::add(s.a, SD::add(s.r, SD::add(r2q, s.b)));
}

// y * (hi + lo) as a double-double (Dekker's product on 26-bit heads).
QOR_KERNEL_INLINE DD mul_dd(vd y, DD l) {
    vd yh = head26(y), yl = SD::sub(y, yh);
    vd lh = head26(l.hi), ll = SD::sub(l.hi, lh);
    vd p = SD::mul(y, l.hi);
    vd e = SD::add(SD::add(SD::add(SD::sub(SD::mul(yh, lh), p), SD::mul(yh, ll)), SD::mul(yl, lh)), SD::mul(yl, ll));
    return {p, SD::add(e, SD::mul(y, l.lo))};
}

// The reduction of the exponential: zh = N ln2/64 + (r - zl).
struct ExpReduced {
    vd r;
    vi t;  // N in the low bits
};

QOR_KERNEL_INLINE ExpReduced exp_reduce(vd zh, vd zl) {
    const vd shifter = SD::set1(exp_core::kShifter);
    vd t = SD::add(SD::mul(zh, SD::set1(exp_core::kInvLn2x64)), shifter);
    vd k = SD::sub(t, shifter);
    vd r = SD::sub(SD::sub(zh, SD::mul(k, SD::set1(exp_core::kLn2By64Hi))), SD::mul(k, SD::set1(exp_core::kLn2By64Lo)));
    return {SD::add(r, zl), SD::to_bits(t)};
}

// e^(zh + zl) for |zh| < 708 (a normal result): HA with the degree-6
// polynomial of the exponential kernels, LA with a degree-5 one; both fold
// in the low parts of the table.
template <Acc A>
QOR_KERNEL_INLINE vd exp_dd(DD z) {
    ExpReduced e = exp_reduce(z.hi, z.lo);
    vd hi, lo;
    exp_core::table_rows(e.t, hi, lo);
    vd p = A == Acc::HA ? exp_core::poly_ha(e.r, lo) : SD::add(exp_core::poly_short(e.r, exp_core::kQ3), lo);
    return exp_core::scale(SD::add(hi, SD::mul(hi, p)), e.t);
}

// e^z for |z| < 708 without the low parts of the table.
template <std::size_t N>
QOR_KERNEL_INLINE vd exp_plain(vd z, const double (&q)[N]) {
    ExpReduced e = exp_reduce(z, SD::set1(0.0));
    vd hi, lo;
    exp_core::table_rows(e.t, hi, lo);
    vd p = exp_core::poly_short(e.r, q);
    return exp_core::scale(SD::add(hi, SD::mul(hi, p)), e.t);
}

// ---- lane classification ----------------------------------------------------
// Lanes whose sign bit is set (also -0 and negative NaN); no flag raised.
QOR_KERNEL_INLINE vd sign_lanes(vd x) {
    return SD::from_bits(simd::vshuffle_vi2_vi2<0xF5>(simd::vsra_vi2_vi2_i(SD::to_bits(x), 31)));
}
QOR_KERNEL_INLINE vf sign_lanes(vf x) { return SF::from_bits(simd::vsra_vi2_vi2_i(SF::to_bits(x), 31)); }

// Lanes holding an integer, and an odd integer (quiet compares: no flag).
QOR_KERNEL_INLINE vd integer_lanes(vd y) { return SD::eq(simd::vrne_vd_vd(y), y); }
QOR_KERNEL_INLINE vf integer_lanes(vf y) { return SF::eq(simd::vrne_vf_vf(y), y); }
QOR_KERNEL_INLINE vd odd_lanes(vd y) {
    vd h = SD::mul(y, SD::set1(0.5));
    return SD::bit_and(integer_lanes(y), SD::neq(simd::vrne_vd_vd(h), h));
}
QOR_KERNEL_INLINE vf odd_lanes(vf y) {
    vf h = SF::mul(y, SF::set1(0.5f));
    return SF::bit_and(integer_lanes(y), SF::neq(simd::vrne_vf_vf(h), h));
}

// Lanes with |z| at or above the limit, infinite or NaN; integer compare.
QOR_KERNEL_INLINE vd magnitude_at_least(vd z, double limit) {
    return Bits<double>::int_greater(SD::abs(z), SD::from_bits(simd::vset1_vl_l(std::bit_cast<int64_t>(limit) - 1)));
}

// ---- scalar routines -----------------------------------------------------------
// |x|^y for a positive finite ax (subnormal allowed) and a finite y, with
// the code of the result: 3 when it overflows, 4 when it is below the
// smallest normal.  Computed by the HA method over the whole range; the
// final scaling rounds once also into the subnormal range.
inline double pow_abs(double ax, double y, int& code) {
    double bias = 1023.0;
    if (ax < DBL_MIN) {
        ax *= 0x1p60;
        bias = 1083.0;
    }
    const DD l = log_dd<Acc::HA>(SD::set1(ax), SD::set1(bias));
    const DD z = mul_dd(SD::set1(y), l);
    const double zh = simd::vget0_d_vd(z.hi);
    code = QOR_VM_STATUS_OK;
    if (zh > 710.0) {
        code = QOR_VM_STATUS_OVERFLOW;
        return std::numeric_limits<double>::infinity();
    }
    if (zh < -746.0) {
        code = QOR_VM_STATUS_UNDERFLOW;
        return 0.0;
    }
    const ExpReduced e = exp_reduce(z.hi, z.lo);
    const int64_t n = simd::vget_l_vl<0>(e.t) - std::bit_cast<int64_t>(exp_core::kShifter);
    const double hi = exp_table::kTable.v[n & 63][0], lo = exp_table::kTable.v[n & 63][1];
    const double p = exp_core::scalar_poly_ha(simd::vget0_d_vd(e.r), lo);
    if ((n >> 6) > -1022) {
        const double r = exp_core::scalar_scale(hi, p, n);
        if (r == std::numeric_limits<double>::infinity()) code = QOR_VM_STATUS_OVERFLOW;
        return r;
    }
    const double r = exp_core::scalar_scale_tiny(hi, p, n);
    if (r < DBL_MIN) code = QOR_VM_STATUS_UNDERFLOW;
    return r;
}

// The same for single precision, computed in double and rounded once more.
inline float pow_abs(float ax, float y, int& code) {
    int ignored;
    const float r = float(pow_abs(double(ax), double(y), ignored));
    code = r == std::numeric_limits<float>::infinity() ? QOR_VM_STATUS_OVERFLOW
           : r < FLT_MIN                               ? QOR_VM_STATUS_UNDERFLOW
                                                       : QOR_VM_STATUS_OK;
    return r;
}

template <class T>
bool is_integer(T y) { return std::trunc(y) == y; }
template <class T>
bool is_odd_integer(T y) {
    const T h = y * T(0.5);
    return std::trunc(y) == y && std::trunc(h) != h;
}

enum class Kind { Pow, Powr };

// The scalar routine of Pow and Powr: every special case, the status code
// and the result.  pow follows C99/IEEE 754: pow(x, +-0) = 1 and pow(1, y)
// = 1 even for NaN, pow(-1, +-inf) = 1, pow(+-0, y < 0) a pole (but
// pow(+-0, -inf) = +inf quietly), a negative finite base with a finite
// non-integer exponent a domain error.  powr is exp(y ln x): defined for
// x >= 0 only, and 0^0, inf^0 and 1^inf are domain errors.  Under the
// flush-to-zero mode subnormal arguments count as zeros.
template <Kind K, class T>
int pow_special(T x, T y, T& r) {
    constexpr T inf = std::numeric_limits<T>::infinity();
    constexpr T nan = std::numeric_limits<T>::quiet_NaN();
    x = flush_subnormal(x);
    y = flush_subnormal(y);
    if constexpr (K == Kind::Pow) {
        if (y == T(0) || x == T(1)) {
            r = T(1);
            return QOR_VM_STATUS_OK;
        }
        if (std::isnan(x) || std::isnan(y)) {
            r = x + y;
            return QOR_VM_STATUS_OK;
        }
    } else {
        if (std::isnan(x)) {
            r = x + y;
            return QOR_VM_STATUS_OK;
        }
        if (x < T(0)) {
            r = nan;
            return QOR_VM_STATUS_DOMAIN;
        }
        if (std::isnan(y)) {
            r = x + y;
            return QOR_VM_STATUS_OK;
        }
        if (y == T(0) || x == T(1)) {
            const bool undefined = y == T(0) ? (x == T(0) || x == inf) : std::isinf(y);
            r = undefined ? nan : T(1);
            return undefined ? QOR_VM_STATUS_DOMAIN : QOR_VM_STATUS_OK;
        }
    }
    const T ax = std::fabs(x);
    if (std::isinf(y)) {
        r = ax == T(1) ? T(1) : ((ax < T(1)) == (y < T(0)) ? inf : T(0));
        return QOR_VM_STATUS_OK;
    }
    const bool negate = K == Kind::Pow && std::signbit(x) && is_odd_integer(y);
    if (x == T(0)) {
        r = y < T(0) ? (negate ? -inf : inf) : (negate ? -T(0) : T(0));
        return y < T(0) ? QOR_VM_STATUS_SING : QOR_VM_STATUS_OK;
    }
    if (std::isinf(x)) {
        r = y < T(0) ? (negate ? -T(0) : T(0)) : (negate ? -inf : inf);
        return QOR_VM_STATUS_OK;
    }
    if (x < T(0) && !is_integer(y)) {
        r = nan;
        return QOR_VM_STATUS_DOMAIN;
    }
    int code;
    const T m = pow_abs(ax, y, code);
    r = negate ? -m : m;
    return code;
}

}  // namespace qor::vm::pow_core
