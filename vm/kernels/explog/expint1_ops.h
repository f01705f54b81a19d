// ExpInt1, real: the exponential integral E1(x) = integral from x to inf of
// e^-t / t dt, for x > 0.
//   x < 0.5:  E1(x) = -ln x - gamma + x - x^2 G1(x);
//   x >= 0.5: E1(x) = e^-x h(x), h a polynomial in x - c on one of 44
//             pieces of [0.5, 1024) (see expint1_table.h).
//   double:
//     HA (also LA): ln x by the reduction of Ln as an exact big part and a
//       small rest, the big terms summed exactly; e^-x and h as sums of two
//       doubles multiplied with an exact product of the heads (within about
//       0.7 ulp).
//     EP: the same formulas in plain double arithmetic with the shorter
//       polynomials (about 31 correct bits).
//   single: computed in double, HA with the EP formulas (rounded once,
//     about 0.51 ulp), EP with the shortest polynomials (about 19 bits).
// Arguments above 700 (double) or 80 (single), where the result nears the
// subnormal range, go to the scalar routine: a subnormal or zero result is
// code 4.  E1(+-0) = +inf is code 2, negative arguments and -inf give NaN
// with code 1, E1(+inf) = +0.
#pragma once

#include <bit>
#include <cfloat>
#include <cmath>
#include <limits>

#include "exp_core.h"
#include "expint1_table.h"
#include "log_core.h"

namespace qor::vm::explog {

namespace tab = expint1_table;

inline constexpr double kGammaHi = dbl(0x3FE2788CFC6FB619ull);  // Euler's constant
inline constexpr double kGammaLo = dbl(0xBC56CB90701FBFABull);
inline constexpr uint32_t kHalfUpper = 0x3FDFFFFF;  // x >= 0.5 takes the product form

enum class Quality { High, Mid, Low };

template <Quality Q>
constexpr const auto& pieces_table() {
    if constexpr (Q == Quality::High) return tab::kHa;
    else if constexpr (Q == Quality::Mid) return tab::kMid;
    else return tab::kLow;
}

template <Quality Q>
constexpr const auto& g1_table() {
    if constexpr (Q == Quality::High) return tab::kG1Ha;
    else if constexpr (Q == Quality::Mid) return tab::kG1Mid;
    else return tab::kG1Low;
}

// Two-sum: s + e = a + b exactly.
inline vd two_sum(vd a, vd b, vd& e) {
    const vd s = SD::add(a, b);
    const vd bb = SD::sub(s, a);
    e = SD::add(SD::sub(a, SD::sub(s, bb)), SD::sub(b, bb));
    return s;
}

// ---- x < 0.5 -------------------------------------------------------------------
template <Quality Q>
inline vd small_branch(vd x, const log_core::Pieces& ln) {
    const auto& g = g1_table<Q>().v[0];
    const vd x2g = SD::mul(SD::mul(x, x), lanes::horner<SD>(x, g));
    if constexpr (Q == Quality::High) {
        vd e1, e2;
        const vd s1 = two_sum(SD::neg(log_core::big_part(ln)), SD::set1(-kGammaHi), e1);
        const vd s2 = two_sum(s1, x, e2);
        const vd rest = SD::sub(SD::sub(SD::neg(log_core::small_part(ln)), SD::set1(kGammaLo)), x2g);
        return SD::add(s2, SD::add(SD::add(e1, e2), rest));
    } else {
        const vd lnx = SD::add(SD::add(SD::mul(ln.k, SD::set1(log_core::kLn2Hi)), ln.hi), SD::add(ln.u, ln.rrp));
        return SD::add(SD::sub(SD::sub(x, x2g), SD::set1(kGammaHi)), SD::neg(lnx));
    }
}

template <Quality Q>
inline vd small_branch(vd x) {
    constexpr auto A = Q == Quality::High ? log_core::Accuracy::High : log_core::Accuracy::Enhanced;
    return small_branch<Q>(x, log_core::pieces<A>(x, SD::set1(0.0)));
}

// ---- 0.5 <= x < 1024: e^-x h(x), unscaled by 2^M ------------------------------------
struct Product {
    vd head;  // the value times 2^-M: head + tail
    vd tail;
    vi t;     // pattern carrying M for exp_core::scale
};

template <Quality Q>
inline Product large_branch(vd x) {
    const auto& rows = pieces_table<Q>().v;
    // Piece numbers from the upper words (bits >> 50), clamped so that lanes
    // outside [0.5, 1024) read a valid row.
    vi piece = simd::vsrl_vi2_vi2_i(simd::vshuffle_vi2_vi2<0x0D>(simd::vcast_vi_vd(x)), 18);
    piece = simd::vsub_vi2_vi2_vi2(piece, simd::vset1_vi2_i(tab::kFirstPattern));
    piece =
        simd::vmin_vi2_vi2_vi2(simd::vmax_vi2_vi2_vi2(piece, simd::vzero_vi()), simd::vset1_vi2_i(tab::kPieces - 1));
    const int i0 = simd::vget_i_vi2<0>(piece), i1 = simd::vget_i_vi2<1>(piece);
    const vd t = SD::sub(x, simd::vload_vd_p_p(&tab::kCenter.v[0][i0], &tab::kCenter.v[0][i1]));
    constexpr int first = Q == Quality::High ? 2 : 1;  // index of c1
    constexpr int last = int(sizeof(rows[0]) / sizeof(double)) - 1;
    vd p = simd::vload_vd_p_p(&rows[i0][last], &rows[i1][last]);
    for (int k = last - 1; k >= first; --k) p = SD::add(SD::mul(p, t), simd::vload_vd_p_p(&rows[i0][k], &rows[i1][k]));
    const vd c0 = simd::vload_vd_p_p(&rows[i0][0], &rows[i1][0]);

    const exp_core::Reduced a = exp_core::reduce_e(SD::neg(x));
    vd hi, lo;
    exp_core::table_rows(a.t, hi, lo);
    if constexpr (Q == Quality::High) {
        const vd s = SD::add(simd::vload_vd_p_p(&rows[i0][1], &rows[i1][1]), SD::mul(t, p));
        const vd hh = SD::add(c0, s);  // h = hh + hl
        const vd hl = SD::add(SD::sub(c0, hh), s);
        const vd hp = SD::mul(hi, exp_core::poly_ha(a.r, lo));
        const vd eh = SD::add(hi, hp);  // e^-x 2^-M = eh + el
        const vd el = SD::add(SD::sub(hi, eh), hp);
        const vd mask = lanes::from_bits(0xFFFFFFFFF8000000ull);
        const vd eh1 = SD::bit_and(eh, mask), eh2 = SD::sub(eh, eh1);
        const vd hh1 = SD::bit_and(hh, mask), hh2 = SD::sub(hh, hh1);
        const vd prod = SD::mul(eh, hh);
        vd err = SD::add(SD::add(SD::sub(SD::mul(eh1, hh1), prod), SD::mul(eh1, hh2)), SD::mul(eh2, hh1));
        err = SD::add(err, SD::mul(eh2, hh2));
        const vd tail = SD::add(err, SD::add(SD::mul(eh, hl), SD::mul(el, hh)));
        return {prod, tail, a.t};
    } else {
        const vd h = SD::add(c0, SD::mul(t, p));
        const vd e = SD::add(hi, SD::mul(hi, exp_core::poly_short(a.r, exp_core::kQ1)));
        return {SD::mul(e, h), SD::set1(0.0), a.t};
    }
}

// Valid for 2^-1022 <= x <= 700.
template <Quality Q>
inline vd expint1(vd x) {
    const vd large = lanes::upper_word_above(x, kHalfUpper);
    auto big = [&] {
        Product p = large_branch<Q>(x);
        return exp_core::scale(SD::add(p.head, p.tail), p.t);
    };
    switch (SD::movemask(large)) {
        case 0: return small_branch<Q>(x);
        case 3: return big();
        default: return SD::select(large, big(), small_branch<Q>(x));
    }
}

// The scalar routine: special arguments, subnormals (ln x with the prescale)
// and x > 700, where the result nears or enters the subnormal range.
template <Quality Q>
int expint1_scalar(double x, double& y) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    x = flush_subnormal(x);
    if (std::isnan(x)) {
        y = x * x;
        return QOR_VM_STATUS_OK;
    }
    if (x < 0.0) {
        y = std::numeric_limits<double>::quiet_NaN();
        return QOR_VM_STATUS_DOMAIN;
    }
    if (x == 0.0) {
        y = inf;
        return QOR_VM_STATUS_SING;
    }
    if (x == inf) {
        y = 0.0;
        return QOR_VM_STATUS_OK;
    }
    if (x < DBL_MIN) {
        constexpr auto A = Q == Quality::High ? log_core::Accuracy::High : log_core::Accuracy::Enhanced;
        y = simd::vget0_d_vd(small_branch<Q>(SD::set1(x), log_core::scalar_pieces<A>(x)));
        return QOR_VM_STATUS_OK;
    }
    if (x <= 700.0) {
        y = simd::vget0_d_vd(expint1<Q>(SD::set1(x)));
        return QOR_VM_STATUS_OK;
    }
    if (x > 745.0) {  // below half the smallest subnormal
        y = 0.0;
        return QOR_VM_STATUS_UNDERFLOW;
    }
    const Product p = large_branch<Q>(SD::set1(x));
    const double head = simd::vget0_d_vd(p.head), tail = simd::vget0_d_vd(p.tail);
    const int m = int((simd::vget_l_vl<0>(p.t) - std::bit_cast<int64_t>(exp_core::kShifter)) >> 6);
    if (x <= 701.5) {  // normal, above 2^-1021: the scaling is exact
        y = (head + tail) * exp_core::pow2i(m);
        return QOR_VM_STATUS_OK;
    }
    y = exp_core::scale_sum_tiny(head, tail, m);
    return y < DBL_MIN ? QOR_VM_STATUS_UNDERFLOW : QOR_VM_STATUS_OK;
}

template <Quality Q>
struct DoubleExpInt1 {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const {
        return SD::bit_or(lanes::not_positive_normal(x), lanes::upper_word_above(x, 0x4085DFFF));  // x >= 700
    }
    vd operator()(vd x) const { return expint1<Q>(x); }
    int fix(double x, double& y) const { return expint1_scalar<Q>(x, y); }
};

template <Quality Q>
struct SingleExpInt1 {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const {
        return SF::bit_or(lanes::not_positive_normal(x), lanes::magnitude_above(x, 0x42A00000u));  // x > 80
    }
    vf operator()(vf x) const { return lanes::narrow(expint1<Q>(lanes::low_half(x)), expint1<Q>(lanes::high_half(x))); }
    int fix(float x, float& r) const {
        double y;
        const int code = expint1_scalar<Q>(double(flush_subnormal(x)), y);
        r = float(y);
        if (code == QOR_VM_STATUS_OK && std::isfinite(x) && x > 0.0f && r < FLT_MIN) return QOR_VM_STATUS_UNDERFLOW;
        return code;
    }
};

}  // namespace qor::vm::explog
