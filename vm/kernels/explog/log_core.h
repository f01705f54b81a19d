// Building blocks of the logarithm kernels.
//
// Vector path (double): x = 2^k m with m in [0.75, 1.5), so that arguments
// near 1 have k = 0 and nothing cancels.  512/m in single precision (an
// exactly rounded quotient, so the same bits on every processor), rounded
// to an integer, gives rcp = i/512 with |m rcp - 1| <= 1.5 * 2^-10 + 2^-22,
// and
//     ln x = k ln 2 - ln(rcp) + ln(1 + r),   r = m rcp - 1,
// with -ln(rcp) = hi + lo from a table of 257 rows and ln(1 + r) = r +
// r^2 P(r).  m is split at 2^-31 into m_hi + m_lo so that u = m_hi rcp - 1
// is exact and a multiple of 2^-40; with hi and k ln2_hi multiples of 2^-42
// the big part u + (k ln2_hi + hi) is exact, and only the small terms carry
// rounding errors.  Just below 1, k = -1 and rcp = 1/2 cancel exactly.
//
// Single precision through double: the same with m exact in 24 bits, so
// u = m rcp - 1 is exact without a split, and a shorter polynomial.
//
// Scalar routine (double): the 65-row table indexed by the mantissa rounded
// to a multiple of 1/64, a polynomial of degree 8 and a band near 1 without
// the table; subnormal arguments are first scaled by 2^60.
#pragma once

#include <bit>
#include <cstdint>
#include <limits>

#include "../exp_log_loop.h"
#include "../lanes.h"
#include "log_table.h"

namespace qor::vm::log_core {

inline constexpr double kLn2Hi = dbl(0x3FE62E42FEFA3800ull);  // trailing bits zero
inline constexpr double kLn2Lo = dbl(0x3D2EF35793C76730ull);
inline constexpr double kIndexShifter = dbl(0x42D0000000000040ull);  // 2^46 + 1
inline constexpr double kSplitShifter = dbl(0x4140000000000000ull);  // 2^21
inline constexpr double kPrescale = dbl(0x43B0000000000000ull);      // 2^60
inline constexpr double kNearOne = dbl(0x3F84000000000000ull);       // 0.009765625, about 2^-7
// ln(1 + r) - r = r^2 P(r) for the scalar routine, evaluated from the first
// coefficient down to -0.5.
inline constexpr double kScalarP[7] = {dbl(0xBFC000B405A2836Dull), dbl(0x3FC249C02481059Dull),
                                       dbl(0xBFC555555228B38Full), dbl(0x3FC9999997B36C81ull),
                                       dbl(0xBFD0000000000262ull), dbl(0x3FD5555555555613ull), -0.5};
// The same on |r| <= 0.0024 for the vector paths, highest degree first:
// relative error of P 2^-49.3 (five terms), 2^-19.4 (two) and 2^-29.4
// (three, for single precision).
inline constexpr double kP4[5] = {dbl(0xBFC5555D9A68EC95ull), dbl(0x3FC999A23A7358BCull),
                                  dbl(0xBFCFFFFFFFFF03FFull), dbl(0x3FD555555554ED1Bull), -0.5};
inline constexpr double kP1[2] = {dbl(0x3FD5555826E3D126ull), dbl(0xBFE00001828C48B4ull)};
inline constexpr double kP2[3] = {dbl(0xBFD000036C2D342Full), dbl(0x3FD55558F50CA06Bull),
                                  dbl(0xBFDFFFFFFFFFEC8Bull)};

// High: the split mantissa and the degree-6 polynomial.  Medium: no split
// (u carries the product's rounding, 2^-53 absolute) and degree 4, enough
// for single-precision results.  Enhanced: no split, degree 3.
enum class Accuracy { High, Medium, Enhanced };

// ln x = k ln 2 + hi + lo + u + v + rrp, the terms of the vector path.
struct Pieces {
    vd k;    // exponent
    vd hi;   // -ln(rcp), high part
    vd lo;   // -ln(rcp), low part
    vd u;    // m_hi rcp - 1 (exact; all of r in the EP path)
    vd v;    // m_lo rcp
    vd rrp;  // r^2 P(r)
};

// Rows of kRcp for the indices i, clamped so that lanes bound for the
// scalar routine (whose m may lie outside [0.75, 1.5)) stay in the table.
inline vi rcp_rows(vi i) {
    const vi row = simd::vsub_vi2_vi2_vi2(i, simd::vset1_vi2_i(log_table::kRcpFirst));
    return simd::vmin_vi2_vi2_vi2(simd::vmax_vi2_vi2_vi2(row, simd::vzero_vi()),
                                  simd::vset1_vi2_i(log_table::kRcpRows - 1));
}

// i = 512/m rounded to an integer.  The quotient, not the processor's
// reciprocal estimate: the estimate's bits differ between processor makers.
inline vi rcp_index(vf m) { return simd::vrint_vi2_vf(SF::div(SF::set1(512.0f), m)); }

// rcp = i/512 from m; rows of kRcp.
inline vd reciprocal(vd m, int64_t& row0, int64_t& row1) {
    vf mf = simd::vcvt_vf_vd(m);
    mf = simd::vmovelh_vf_vf_vf(mf, mf);  // no zero lanes: their quotient would raise divide-by-zero
    vi i = rcp_index(mf);
    const vi rows = rcp_rows(i);
    row0 = simd::vget_i_vi2<0>(rows);
    row1 = simd::vget_i_vi2<1>(rows);
    return SD::mul(simd::vcvt_vd_vi2_lo(i), SD::set1(1.0 / 512));
}

// x = 2^k m with m in [0.75, 1.5), for positive normal x: the pattern less
// that of 0.75 has k in its top 12 bits (two's complement), which the upper
// word's arithmetic shift extracts.
inline void split_three_quarters(vd x, vd& k, vd& m) {
    const vi tmp = simd::vsub_vl_vl_vl(simd::vcast_vi_vd(x), simd::vset1_vl_l(0x3FE8000000000000ll));
    const vi kbits = simd::vand_vi_vi_vi(tmp, simd::vset1_vl_l(int64_t(0xFFF0000000000000ull)));
    m = simd::vcast_vd_vi(simd::vsub_vl_vl_vl(simd::vcast_vi_vd(x), kbits));
    k = simd::vcvt_vd_vi2_lo(simd::vshuffle_vi2_vi2<0x0D>(simd::vsra_vi2_vi2_i(tmp, 20)));  // upper words to lanes 0, 1
}

// Valid for positive normal finite x; `k_adjust` is subtracted from the
// exponent (60 after a prescale by 2^60, else 0).
template <Accuracy A>
inline Pieces pieces(vd x, vd k_adjust) {
    Pieces q;
    vd m;
    split_three_quarters(x, q.k, m);
    q.k = SD::sub(q.k, k_adjust);
    int64_t row0, row1;
    const vd rcp = reciprocal(m, row0, row1);
    lanes::pair_rows(log_table::kRcp.v, row0, row1, q.hi, q.lo);
    const vd one = SD::set1(1.0);
    vd r;
    if constexpr (A == Accuracy::High) {
        const vd shifter = SD::set1(kSplitShifter);
        const vd m_hi = SD::sub(SD::add(m, shifter), shifter);
        q.u = SD::sub(SD::mul(m_hi, rcp), one);
        q.v = SD::mul(SD::sub(m, m_hi), rcp);
        r = SD::add(q.u, q.v);
        q.rrp = SD::mul(SD::mul(r, r), lanes::horner<SD>(r, kP4));
    } else {
        q.u = SD::sub(SD::mul(m, rcp), one);
        q.v = SD::set1(0.0);
        r = q.u;
        if constexpr (A == Accuracy::Medium) q.rrp = SD::mul(SD::mul(r, r), lanes::horner<SD>(r, kP2));
        else q.rrp = SD::mul(SD::mul(r, r), lanes::horner<SD>(r, kP1));
    }
    return q;
}

// The exact big part u + (k ln2_hi + hi) and the small rest, to which
// `extra` is added before the last rounding.
inline vd big_part(const Pieces& q) { return SD::add(q.u, SD::add(SD::mul(q.k, SD::set1(kLn2Hi)), q.hi)); }
inline vd small_part(const Pieces& q) {
    return SD::add(SD::add(q.v, SD::add(SD::mul(q.k, SD::set1(kLn2Lo)), q.lo)), q.rrp);
}

inline vd ln_sum(const Pieces& q, vd extra = SD::set1(0.0)) {
    return SD::add(SD::add(small_part(q), extra), big_part(q));
}

// log_b x = k log_b 2 + S / ln b, where S = -ln(rcp) + ln(1 + r) has the
// exact part S_big = hi + u (|S_big| < 0.41); with lo + v it forms t + tl
// exactly, and r^2 P(r) joins tl.  L1 (log_b 2 with trailing bits zero, so that k L1 is exact)
// plus L2 gives log_b 2, I1 (26 bits) plus I2 gives 1/ln b.  t is split
// into a 26-bit head and a tail, the head's product with I1 is exact, and
// the sum with k L1 is formed exactly before the small terms join.
struct BaseConstants {
    double l1, l2, i1, i2, inv;
};

inline vd log_base(const Pieces& q, const BaseConstants& c) {
    const vd s_big = SD::add(q.hi, q.u);
    const vd s_mid = SD::add(q.lo, q.v);
    const vd t = SD::add(s_big, s_mid);  // |s_big| >= |s_mid| unless s_big = 0
    const vd tl = SD::add(SD::add(SD::sub(s_big, t), s_mid), q.rrp);
    const vd head_mask = lanes::from_bits(0xFFFFFFFFF8000000ull);
    const vd t1 = SD::bit_and(t, head_mask), t2 = SD::sub(t, t1);
    const vd a = SD::mul(q.k, SD::set1(c.l1));
    const vd b = SD::mul(t1, SD::set1(c.i1));
    const vd s = SD::add(a, b);  // two-sum: s + e = a + b
    const vd bb = SD::sub(s, a);
    const vd e = SD::add(SD::sub(a, SD::sub(s, bb)), SD::sub(b, bb));
    vd tail = SD::add(SD::mul(t1, SD::set1(c.i2)), SD::mul(SD::add(t2, tl), SD::set1(c.inv)));
    tail = SD::add(tail, SD::mul(q.k, SD::set1(c.l2)));
    return SD::add(s, SD::add(e, tail));
}

inline constexpr BaseConstants kBase2 = {1.0, 0.0, dbl(0x3FF7154760000000ull), dbl(0x3E54AE0BF85DDF44ull),
                                         dbl(0x3FF71547652B82FEull)};
inline constexpr BaseConstants kBase10 = {dbl(0x3FD34413509F7800ull), dbl(0x3D1FEF311F12B358ull),
                                          dbl(0x3FDBCB7B10000000ull), dbl(0x3E349B9438CA9AAEull),
                                          dbl(0x3FDBCB7B1526E50Eull)};

// ---- single precision through double ------------------------------------------
// ln x = k ln 2 + hi + lo + w for positive normal floats, in double: m in
// [0.75, 1.5) is exact in 24 bits, u = m rcp - 1 is exact, and w = u + u^2
// P(u) has a relative error near 2^-50.
struct SinglePieces {
    vd k;
    vd hi;
    vd lo;
    vd w;
};

inline void single_pieces(vf x, SinglePieces& low, SinglePieces& high) {
    const vi tmp = simd::vsub_vi2_vi2_vi2(SF::to_bits(x), simd::vset1_vi2_i(0x3F400000));  // less 0.75f
    const vi k = simd::vsra_vi2_vi2_i(tmp, 23);
    const vf m = simd::vcast_vf_vi(simd::vsub_vi2_vi2_vi2(SF::to_bits(x), simd::vsll_vi2_vi2_i(k, 23)));
    const vi i = rcp_index(m);
    const vf rcp = SF::mul(simd::vcvt_vf_vi2(i), SF::set1(1.0f / 512));
    alignas(16) int32_t rows[4];
    simd::vstorea_p_vi(rows, rcp_rows(i));
    auto half = [&](vd md, vd rd, int r0, int r1, vd kd, SinglePieces& out) {
        lanes::pair_rows(log_table::kRcp.v, r0, r1, out.hi, out.lo);
        const vd u = SD::sub(SD::mul(md, rd), SD::set1(1.0));
        out.k = kd;
        out.w = SD::add(u, SD::mul(SD::mul(u, u), lanes::horner<SD>(u, kP2)));
    };
    half(lanes::low_half(m), lanes::low_half(rcp), rows[0], rows[1], simd::vcvt_vd_vi2_lo(k), low);
    half(lanes::high_half(m), lanes::high_half(rcp), rows[2], rows[3],
         simd::vcvt_vd_vi2_lo(simd::vunpackhi_vl_vl_vl(k, k)), high);
}

// ln x from the pieces: the parts of k ln 2 and -ln(rcp) meet first.
inline vd single_ln(const SinglePieces& q) {
    return SD::add(SD::add(SD::mul(q.k, SD::set1(kLn2Hi)), q.hi),
                   SD::add(SD::add(SD::mul(q.k, SD::set1(kLn2Lo)), q.lo), q.w));
}

// ---- scalar routine --------------------------------------------------------------
// ln x as an exact big part and a small rest, for positive finite x (normal
// or subnormal).
struct ScalarParts {
    double big;
    double small;
};

inline ScalarParts scalar_parts(double x) {
    int adjust = 0;
    if ((std::bit_cast<uint64_t>(x) >> 52) == 0) {  // subnormal
        x *= kPrescale;
        adjust = 60;
    }
    if (x - 1.0 <= kNearOne && 1.0 - x <= kNearOne) {
        const double r = x - 1.0;
        double p = kScalarP[0];
        for (int c = 1; c < 7; ++c) p = p * r + kScalarP[c];
        return {r, r * r * p};
    }
    const uint64_t u = std::bit_cast<uint64_t>(x);
    const double k = double(int(u >> 52) - 1023 - adjust);
    const double m = std::bit_cast<double>((u & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull);
    const int j = int(std::bit_cast<uint64_t>(m + kIndexShifter) & 0x7F);
    const double rcp = log_table::kScalar.v[j][0], hi = log_table::kScalar.v[j][1], lo = log_table::kScalar.v[j][2];
    const double m_hi = (m + kSplitShifter) - kSplitShifter;
    const double m_lo = m - m_hi;
    const double uu = m_hi * rcp - 1.0;
    const double v = m_lo * rcp;
    const double r = uu + v;
    double p = kScalarP[0];
    for (int c = 1; c < 7; ++c) p = p * r + kScalarP[c];
    return {uu + (k * kLn2Hi + hi), v + (k * kLn2Lo + lo) + r * r * p};
}

// The scalar routine of the double natural logarithm: result and code.
inline int ln_scalar(double x, double& y) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    if (x != x || x == inf) {  // NaN and +inf give themselves (x*x quiets)
        y = x * x;
        return QOR_VM_STATUS_OK;
    }
    if (x == -inf) {
        y = std::numeric_limits<double>::quiet_NaN();
        return QOR_VM_STATUS_DOMAIN;
    }
    const double scaled = (std::bit_cast<uint64_t>(x) & 0x7FF0000000000000ull) == 0 ? x * kPrescale : x;
    if (!(scaled > 0.0)) {
        if (scaled == 0.0) {  // +-0, or a subnormal flushed by the mode
            y = -inf;
            return QOR_VM_STATUS_SING;
        }
        y = std::numeric_limits<double>::quiet_NaN();
        return QOR_VM_STATUS_DOMAIN;
    }
    const ScalarParts p = scalar_parts(x);
    y = p.small + p.big;
    return QOR_VM_STATUS_OK;
}

// The status of a logarithm-type argument: 0 for a positive normal or
// subnormal argument, +inf or NaN; otherwise the special result and code.
inline bool log_special(double x, double& y, int& code) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    code = QOR_VM_STATUS_OK;
    if (x != x || x == inf) {
        y = x * x;
        return true;
    }
    const double scaled = (std::bit_cast<uint64_t>(x) & 0x7FF0000000000000ull) == 0 ? x * kPrescale : x;
    if (scaled == 0.0) {
        y = -inf;
        code = QOR_VM_STATUS_SING;
        return true;
    }
    if (scaled < 0.0) {
        y = std::numeric_limits<double>::quiet_NaN();
        code = QOR_VM_STATUS_DOMAIN;
        return true;
    }
    return false;
}

// Pieces of a positive finite x, normal or subnormal, in lane 0.
template <Accuracy A>
inline Pieces scalar_pieces(double x) {
    if ((std::bit_cast<uint64_t>(x) >> 52) == 0) return pieces<A>(SD::set1(x * kPrescale), SD::set1(60.0));
    return pieces<A>(SD::set1(x), SD::set1(0.0));
}

// The scalar routine of a double logarithm to the base of `c`.
inline int log_base_scalar(double x, double& y, const BaseConstants& c) {
    int code;
    if (log_special(x, y, code)) return code;
    y = simd::vget0_d_vd(log_base(scalar_pieces<Accuracy::High>(x), c));
    return QOR_VM_STATUS_OK;
}

// The scalar routine of a single-precision logarithm from the double one:
// the argument flushed as the mode says, the result rounded once.
template <class DoubleScalar>
inline int single_from_double(float x, float& r, DoubleScalar scalar) {
    double y;
    const int code = scalar(double(flush_subnormal(x)), y);
    r = float(y);
    return code;
}

}  // namespace qor::vm::log_core
