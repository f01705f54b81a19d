// J0, J1, Y0, Y1 of a positive argument in double lanes, as an unrounded
// pair hi + lo (relative error about 2^-57 away from the zeros beyond 64),
// by three methods:
//   x < 0.25:       series in v = x^2: J0 = 1 + v p(v), J1 = x/2 + x v p(v),
//                   Y0 = (2/pi) ln x J0 + R0(v),
//                   Y1 = (2/pi)(ln x J1 - 1/x) + x R1(v), the leading terms
//                   ((2/pi) ln x, (2/pi)/x) as exact pairs;
//   0.25 <= x < 64: pieces of a 32nd of a binade (bessel_table.h),
//                   f = A + t g(u) with t = x - z measured from the nearest
//                   zero z (a pair) where that difference is exact, so that
//                   the value keeps its relative accuracy at the zeros; the
//                   products t g and g1 u exact (Dekker);
//   x >= 64:        the Hankel form sqrt(2/(pi x)) (P cos chi - Q sin chi)
//                   (and its companions), chi = x - pi/4 (J1, Y1: x - 3pi/4),
//                   P - 1 and xQ polynomials in 1/x^2; x reduced exactly
//                   by pi/2 (trig_reduce.h; the scalar routine's huge
//                   arguments by the bits of 2/pi), then by pi/4, the sine
//                   and cosine as pairs, the amplitude as a pair.  Near the
//                   zeros there the terms P cos and Q sin cancel: the error
//                   is absolute, about 2^-56 sqrt(2/(pi x))/x.
#pragma once

#include <cfloat>

#include "../explog/log_core.h"
#include "../lane_bits.h"
#include "../lanes.h"
#include "../trig/trig_core.h"
#include "bessel_table.h"

namespace qor::vm::bessel {

namespace tab = bessel_table;
using trig::Pair;

enum class Kind { J0, J1, Y0, Y1 };

inline constexpr double kTwoOverPiHi = dbl(0x3FE45F306DC9C883ull);
inline constexpr double kTwoOverPiLo = dbl(0xBC86B01EC5417056ull);
inline constexpr double kPiOver4Hi = dbl(0x3FE921FB54442D18ull);
inline constexpr double kPiOver4Lo = dbl(0x3C81A62633145C07ull);
inline constexpr double kSmallLimit = 0.25;
inline constexpr double kHankelLimit = 64.0;
// |x| at or above 2^19 leaves the vector path (the reduction's limit).
inline constexpr uint32_t kVectorLimitUpper = 0x411FFFFF;
inline constexpr uint32_t kVectorLimitSingle = 0x48FFFFFFu;

using pair::fast_two_sum;
using pair::two_sum;

QOR_KERNEL_INLINE Pair two_prod(vd a, vd b) {
    Pair p;
    trig::two_prod(a, b, p.hi, p.lo);
    return p;
}

// Column k of the table rows of the pieces the two lanes fall in.  Piece
// numbers come from the upper words (bits >> 47), clamped so that lanes of
// the other methods read a valid row.
class PieceColumns {
public:
    template <class Rows>
    QOR_KERNEL_INLINE PieceColumns(vd x, const Rows& rows) {
        vi piece = simd::vsrl_vi2_vi2_i(simd::vshuffle_vi2_vi2<0x0D>(simd::vcast_vi_vd(x)), 15);
        piece = simd::vsub_vi2_vi2_vi2(piece, simd::vset1_vi2_i(tab::kFirstPattern));
        piece = simd::vmin_vi2_vi2_vi2(simd::vmax_vi2_vi2_vi2(piece, simd::vzero_vi()), simd::vset1_vi2_i(tab::kPieces - 1));
        r0_ = rows[simd::vget_i_vi2<0>(piece)];
        r1_ = rows[simd::vget_i_vi2<1>(piece)];
    }
    QOR_KERNEL_INLINE vd operator()(int k) const { return simd::vload_vd_p_p(r0_ + k, r1_ + k); }

private:
    const double* r0_;
    const double* r1_;
};

template <Kind K>
constexpr const auto& piece_rows() {
    if constexpr (K == Kind::J0) return tab::kJ0Pieces;
    else if constexpr (K == Kind::J1) return tab::kJ1Pieces;
    else if constexpr (K == Kind::Y0) return tab::kY0Pieces;
    else return tab::kY1Pieces;
}

// ---- 0.25 <= x < 64 ---------------------------------------------------------------
// Row: m, z_hi, z_lo, A_hi, A_lo, g0_hi, g0_lo, g1_hi, g1_lo, g2 ... gD.
template <Kind K>
QOR_KERNEL_INLINE Pair pieces(vd x) {
    const auto& rows = piece_rows<K>();
    constexpr int kLast = int(sizeof(rows[0]) / sizeof(double)) - 1;
    const PieceColumns col(x, rows);
    const vd u = SD::sub(x, col(0));     // exact: x and m lie in one binade
    const vd t_hi = SD::sub(x, col(1));  // exact: z within a factor 2 of x, or z = m
    vd p = col(kLast);
    for (int k = kLast - 1; k >= 9; --k) p = SD::add(SD::mul(p, u), col(k));
    // g = g0 + g1 u + u^2 p with g0 + g1_hi u exact.
    const Pair g1u = two_prod(u, col(7));
    const Pair s = two_sum(col(5), g1u.hi);
    const vd rest = SD::add(SD::add(s.lo, col(6)),
                            SD::add(g1u.lo, SD::add(SD::mul(u, col(8)), SD::mul(SD::mul(u, u), p))));
    const Pair g = fast_two_sum(s.hi, rest);
    // A + t g, t = t_hi - z_lo.
    const Pair tg = two_prod(t_hi, g.hi);
    const Pair sum = two_sum(col(3), tg.hi);
    const vd lo = SD::add(SD::add(sum.lo, col(4)),
                          SD::add(tg.lo, SD::sub(SD::mul(t_hi, g.lo), SD::mul(col(2), g.hi))));
    return {sum.hi, lo};
}

// ---- x < 0.25 ----------------------------------------------------------------------
// (2/pi) c as a pair for c = hi + lo (|lo| <= ulp(hi)).
QOR_KERNEL_INLINE Pair times_two_over_pi(vd hi, vd lo) {
    const Pair p = two_prod(hi, SD::set1(kTwoOverPiHi));
    return {p.hi, SD::add(p.lo, SD::add(SD::mul(hi, SD::set1(kTwoOverPiLo)), SD::mul(lo, SD::set1(kTwoOverPiHi))))};
}

// (2/pi)/x as a pair, for normal x whose quotient is finite, from ix = 1/x
// rounded: q = (2/pi) ix lies within two ulps of the quotient, so that
// 2/pi - q x is exact, and the residual divided by x is the low part.
QOR_KERNEL_INLINE Pair two_over_pi_x(vd x, vd ix) {
    const vd q = SD::mul(SD::set1(kTwoOverPiHi), ix);
    const Pair qx = two_prod(q, x);
    const vd r = SD::add(SD::sub(SD::sub(SD::set1(kTwoOverPiHi), qx.hi), qx.lo), SD::set1(kTwoOverPiLo));
    return {q, SD::mul(r, ix)};
}
QOR_KERNEL_INLINE Pair two_over_pi_x(vd x) { return two_over_pi_x(x, SD::div(SD::set1(1.0), x)); }

// x < 0.25 (positive normal for Y0 and Y1, whose logarithm is `ln`).
template <Kind K>
QOR_KERNEL_INLINE Pair small(vd x, const log_core::Pieces& ln) {
    const vd v = SD::mul(x, x);
    if constexpr (K == Kind::J0) {
        return fast_two_sum(SD::set1(1.0), SD::mul(v, lanes::horner<SD>(v, tab::kJ0Small)));
    } else if constexpr (K == Kind::J1) {
        return fast_two_sum(SD::mul(x, SD::set1(0.5)), SD::mul(SD::mul(x, v), lanes::horner<SD>(v, tab::kJ1Small)));
    } else if constexpr (K == Kind::Y0) {
        // (2/pi) ln x + [(2/pi) ln x (J0 - 1) + R0]: the bracket is below a
        // tenth of the whole, of one sign with it.
        const vd big = log_core::big_part(ln), rest = log_core::small_part(ln);
        const Pair m = times_two_over_pi(big, rest);
        const vd j0m1 = SD::mul(v, lanes::horner<SD>(v, tab::kJ0Small));
        const vd bracket = SD::add(SD::mul(SD::mul(SD::set1(kTwoOverPiHi), SD::add(big, rest)), j0m1),
                                   lanes::horner<SD>(v, tab::kY0Small));
        return fast_two_sum(m.hi, SD::add(m.lo, bracket));
    } else {
        // -(2/pi)/x + [(2/pi) ln x J1 + x R1]: the bracket is below a tenth.
        const Pair q = two_over_pi_x(x);
        const vd j1 = SD::add(SD::mul(x, SD::set1(0.5)), SD::mul(SD::mul(x, v), lanes::horner<SD>(v, tab::kJ1Small)));
        const vd lnx = log_core::ln_sum(ln);
        const vd bracket = SD::add(SD::mul(SD::mul(SD::set1(kTwoOverPiHi), lnx), j1),
                                   SD::mul(x, lanes::horner<SD>(v, tab::kY1Small)));
        return fast_two_sum(SD::neg(q.hi), SD::sub(bracket, q.lo));
    }
}

template <Kind K>
QOR_KERNEL_INLINE Pair small(vd x) {
    if constexpr (K == Kind::J0 || K == Kind::J1) {
        return small<K>(x, log_core::Pieces{});
    } else {
        // Lanes of other methods, and marked lanes (+0), take a harmless
        // argument for the logarithm.
        const vd safe = SD::max(x, SD::set1(DBL_MIN));
        return small<K>(safe, log_core::pieces<log_core::Accuracy::High>(safe, SD::set1(0.0)));
    }
}

// ---- x >= 64 -----------------------------------------------------------------------
// x = k pi/2 + rh + rl (|r| <= pi/4 and a little): the value of the Hankel
// form.  The amplitude is computed from x `down` (a power of two) and
// multiplied by `up` = down^-1/2, so that 2/(pi x) stays normal for the
// largest x.
template <Kind K>
QOR_KERNEL_INLINE Pair hankel(vd x, vd rh, vd rl, vi k, double down = 1, double up = 1) {
    // chi = x - pi/4 = k' pi/2 + r', r' = r -+ pi/4 with |r'| <= pi/4.
    const vd negative = SD::lt(rh, SD::set1(0.0));
    const vd sign = SD::bit_and(negative, SD::set1(-0.0));
    const Pair c = two_sum(rh, SD::bit_xor(SD::set1(-kPiOver4Hi), sign));
    const vd lo = SD::add(c.lo, SD::add(rl, SD::bit_xor(SD::set1(-kPiOver4Lo), sign)));
    const Pair r = fast_two_sum(c.hi, lo);
    k = simd::vadd_vl_vl_vl(k, simd::vcast_vi_vd(negative));  // all ones: -1
    const vd z = SD::mul(r.hi, r.hi);
    // Normalised: the low parts come up to 2^-7 of the high ones.
    const Pair s0 = trig::sin_precise(r.hi, r.lo, z);
    const Pair c0 = trig::cos_precise(r.hi, r.lo, z);
    const Pair sr = fast_two_sum(s0.hi, s0.lo), cr = fast_two_sum(c0.hi, c0.lo);
    // sin chi = place(k', sin r', cos r'), cos chi = place(k' + 1, ...).
    auto place = [&](vi q) {
        const vd odd = trig::odd_quadrant(q), flip = trig::half_turn_sign(q);
        return Pair{SD::bit_xor(SD::select(odd, cr.hi, sr.hi), flip), SD::bit_xor(SD::select(odd, cr.lo, sr.lo), flip)};
    };
    const Pair s = place(k);
    const Pair co = place(trig::next_quadrant(k));
    // T = P a + Q b: J0 (cos, -sin), Y0 (sin, cos), J1 (sin, cos), Y1 (-cos, sin).
    Pair a, b;
    if constexpr (K == Kind::J0) a = co, b = {SD::neg(s.hi), SD::neg(s.lo)};
    else if constexpr (K == Kind::Y1) a = {SD::neg(co.hi), SD::neg(co.lo)}, b = s;
    else a = s, b = co;
    // Near the zeros P a and Q b cancel: Q b is formed as a pair (Q from
    // xQ = c0 + w R(w), c0 exact, divided by x with its residual).
    const vd xd = SD::mul(x, SD::set1(down));
    const vd ixd = SD::div(SD::set1(1.0), xd);  // normal even for the largest x
    const vd ix = SD::mul(ixd, SD::set1(down));
    const vd w = SD::mul(ix, ix);
    constexpr bool order0 = K == Kind::J0 || K == Kind::Y0;
    const auto& pc = order0 ? tab::kP0 : tab::kP1;
    const auto& qc = order0 ? tab::kQ0 : tab::kQ1;
    constexpr int kQLast = int(sizeof(qc) / sizeof(double)) - 1;
    const vd pm1 = lanes::horner<SD>(w, pc);
    vd qr = SD::set1(qc[0]);
    for (int j = 1; j < kQLast; ++j) qr = SD::add(SD::mul(qr, w), SD::set1(qc[j]));
    const Pair xq = fast_two_sum(SD::set1(qc[kQLast]), SD::mul(qr, w));
    const vd qh = SD::mul(xq.hi, ix);
    const Pair qx = two_prod(qh, x);
    const vd ql = SD::mul(SD::add(SD::sub(SD::sub(xq.hi, qx.hi), qx.lo), xq.lo), ix);
    const Pair qb = two_prod(qh, b.hi);
    const Pair t = two_sum(a.hi, qb.hi);
    const vd tl = SD::add(SD::add(t.lo, a.lo),
                          SD::add(SD::add(qb.lo, SD::mul(pm1, a.hi)), SD::add(SD::mul(qh, b.lo), SD::mul(ql, b.hi))));
    // sqrt(2/(pi x)) = sh + sl.
    const Pair g = two_over_pi_x(xd, ixd);
    const vd sh = SD::sqrt(g.hi);
    const Pair sq = two_prod(sh, sh);
    // 1/(2 sh) = sh/(2 g) = sh x (pi/4), to the relative 2^-52 a low part needs.
    const vd sl = SD::mul(SD::add(SD::sub(SD::sub(g.hi, sq.hi), sq.lo), g.lo),
                          SD::mul(SD::mul(sh, xd), SD::set1(kPiOver4Hi)));
    const Pair v = two_prod(sh, t.hi);
    const vd scale = SD::set1(up);
    return {SD::mul(v.hi, scale), SD::mul(SD::add(v.lo, SD::add(SD::mul(sh, tl), SD::mul(sl, t.hi))), scale)};
}

template <Kind K>
QOR_KERNEL_INLINE Pair hankel(vd x) {
    // Lanes of the other methods take 64, within the reduction's range.
    const vd xs = SD::max(x, SD::set1(kHankelLimit));
    const trig::Reduced rd = trig::reduce<trig::Reduction::exact>(xs);
    return hankel<K>(xs, rd.hi, rd.lo, rd.k);
}

// ---- all methods -------------------------------------------------------------------
// 0 <= x < 2^19 (x = 0 only for J0, J1 and the marked lanes).
template <Kind K>
QOR_KERNEL_INLINE Pair value(vd x) {
    const vd low = SD::lt(x, SD::set1(kSmallLimit));
    const vd high = SD::ge(x, SD::set1(kHankelLimit));
    const int lows = SD::movemask(low), highs = SD::movemask(high);
    const int mids = 3 & ~(lows | highs);
    auto merge = [](vd m, Pair a, Pair b) { return Pair{SD::select(m, a.hi, b.hi), SD::select(m, a.lo, b.lo)}; };
    Pair r{};
    if (mids) r = pieces<K>(x);
    if (lows) r = mids ? merge(low, small<K>(x), r) : small<K>(x);
    if (highs) r = (mids | lows) ? merge(high, hankel<K>(x), r) : hankel<K>(x);
    return r;
}

// ---- plain doubles, for float results ------------------------------------------------
// The same three methods with every step rounded to double (relative error
// about 2^-37, absolute near the zeros beyond 64): the pieces of degree 8,
// the plain reduction and sine and cosine, no pairs.
template <Kind K>
constexpr const auto& single_rows() {
    if constexpr (K == Kind::J0) return tab::kJ0SinglePieces;
    else if constexpr (K == Kind::J1) return tab::kJ1SinglePieces;
    else if constexpr (K == Kind::Y0) return tab::kY0SinglePieces;
    else return tab::kY1SinglePieces;
}

// Row: m, z_hi, z_lo, A, g0, g1, ... gD.
template <Kind K>
QOR_KERNEL_INLINE vd pieces_plain(vd x) {
    const auto& rows = single_rows<K>();
    constexpr int kLast = int(sizeof(rows[0]) / sizeof(double)) - 1;
    const PieceColumns col(x, rows);
    const vd u = SD::sub(x, col(0));
    const vd t = SD::sub(SD::sub(x, col(1)), col(2));
    vd p = col(kLast);
    for (int k = kLast - 1; k >= 4; --k) p = SD::add(SD::mul(p, u), col(k));
    return SD::add(col(3), SD::mul(t, p));
}

template <Kind K>
QOR_KERNEL_INLINE vd small_plain(vd x) {
    const vd v = SD::mul(x, x);
    const vd c = SD::set1(kTwoOverPiHi);
    if constexpr (K == Kind::J0) return SD::add(SD::set1(1.0), SD::mul(v, lanes::horner<SD>(v, tab::kJ0Small)));
    const vd j1 = SD::mul(x, SD::add(SD::set1(0.5), SD::mul(v, lanes::horner<SD>(v, tab::kJ1Small))));
    if constexpr (K == Kind::J1) return j1;
    const vd safe = SD::max(x, SD::set1(DBL_MIN));
    const vd lnx = log_core::ln_sum(log_core::pieces<log_core::Accuracy::Medium>(safe, SD::set1(0.0)));
    if constexpr (K == Kind::Y0) {
        const vd j0 = SD::add(SD::set1(1.0), SD::mul(v, lanes::horner<SD>(v, tab::kJ0Small)));
        return SD::add(SD::mul(SD::mul(c, lnx), j0), lanes::horner<SD>(v, tab::kY0Small));
    } else {
        const vd recip = SD::div(SD::set1(1.0), safe);
        return SD::add(SD::mul(c, SD::sub(SD::mul(lnx, j1), recip)), SD::mul(x, lanes::horner<SD>(v, tab::kY1Small)));
    }
}

template <Kind K>
QOR_KERNEL_INLINE vd hankel_plain(vd x) {
    const vd xs = SD::max(x, SD::set1(kHankelLimit));
    const trig::Reduced rd = trig::reduce<trig::Reduction::three>(xs);
    const vd negative = SD::lt(rd.hi, SD::set1(0.0));
    const vd r = SD::add(rd.hi, SD::bit_xor(SD::set1(-kPiOver4Hi), SD::bit_and(negative, SD::set1(-0.0))));
    const vi k = simd::vadd_vl_vl_vl(rd.k, simd::vcast_vi_vd(negative));
    const vd z = SD::mul(r, r);
    const vd zero = SD::set1(0.0);
    const vd sr = trig::sin_plain(r, zero, z, trig::kSin3M), cr = trig::cos_plain(r, zero, z, trig::kCos2M);
    const vd s = trig::place(k, sr, cr), co = trig::place(trig::next_quadrant(k), sr, cr);
    vd a, b;
    if constexpr (K == Kind::J0) a = co, b = SD::neg(s);
    else if constexpr (K == Kind::Y1) a = SD::neg(co), b = s;
    else a = s, b = co;
    const vd ix = SD::div(SD::set1(1.0), xs);
    const vd w = SD::mul(ix, ix);
    constexpr bool order0 = K == Kind::J0 || K == Kind::Y0;
    const vd pm1 = lanes::horner<SD>(w, order0 ? tab::kP0 : tab::kP1);
    const vd q = SD::mul(lanes::horner<SD>(w, order0 ? tab::kQ0 : tab::kQ1), ix);
    const vd t = SD::add(a, SD::add(SD::mul(pm1, a), SD::mul(q, b)));
    return SD::mul(SD::sqrt(SD::mul(SD::set1(kTwoOverPiHi), ix)), t);
}

// 0 <= x < 2^19.
template <Kind K>
QOR_KERNEL_INLINE vd value_plain(vd x) {
    const vd low = SD::lt(x, SD::set1(kSmallLimit));
    const vd high = SD::ge(x, SD::set1(kHankelLimit));
    const int lows = SD::movemask(low), highs = SD::movemask(high);
    const int mids = 3 & ~(lows | highs);
    vd r = SD::set1(0.0);
    if (mids) r = pieces_plain<K>(x);
    if (lows) r = mids ? SD::select(low, small_plain<K>(x), r) : small_plain<K>(x);
    if (highs) r = (mids | lows) ? SD::select(high, hankel_plain<K>(x), r) : hankel_plain<K>(x);
    return r;
}

// The scalar value for 2^19 <= x < inf, reduced by the bits of 2/pi.
template <Kind K>
inline Pair huge_pair(double x) {
    double rh, rl;
    int k;
    trig::reduce_huge(x, rh, rl, k);
    const bool top = x > 0x1p1000;
    return hankel<K>(SD::set1(x), SD::set1(rh), SD::set1(rl), simd::vset1_vl_l(k), top ? 0x1p-64 : 1, top ? 0x1p-32 : 1);
}

template <Kind K>
inline double huge(double x) {
    const Pair p = huge_pair<K>(x);
    return simd::vget0_d_vd(SD::add(p.hi, p.lo));
}

}  // namespace qor::vm::bessel
