// ErfInv, ErfcInv and CdfNormInv, real (methods in erfinv_core.h).
//   ErfInv, double:
//     HA and LA: the central polynomial up to 1/2, the quarter-binade tail
//       in q = 1 - |x| above (about 0.9 ulp).
//     EP: the short central polynomial up to 3/4, the half-binade tail in
//       1 - |x| above, no logarithm (about 2^-28 relative).
//   ErfInv, single:
//     HA and LA: the double EP computation rounded once (about 0.52 ulp).
//     EP: single-precision arithmetic, 6 central terms, the short
//       logarithm and 8 terms in sqrt L (about 2^-14).
//   ErfcInv and CdfNormInv (one kernel in all three slots):
//     double: erfcinv q from 1 - q (exact) in the central form for
//       1/2 <= q <= 3/2, from the tail in q or 2 - q (exact) outside, in
//       L = -ln q below 2^-53; the
//       quantile p as sqrt 2 erfcinv(2p) negated, with 2p - 1 and 2 - 2p
//       exact and sqrt 2 folded into the central pair and the scaled tail
//       table (about 0.8 ulp).
//     single: the same steps with the short central form up to 3/4 and the
//       half-binade tail (down to 2^-149) in double, rounded once.
// Poles: erfinv(+-1) = +-inf, erfcinv(0) = +inf, erfcinv(2) = -inf,
// cdfnorminv(0) = -inf, cdfnorminv(1) = +inf, code 2 (singularity);
// arguments outside the domain (infinities included) give NaN, code 1
// (domain); NaN gives NaN without a code.  Subnormal arguments and
// (ErfInv HA/LA) arguments below 2^-1000 go to the scalar routine; under
// the flush-to-zero mode subnormals count as zeros.
#pragma once

#include <cmath>
#include <limits>

#include "../explog/log_single.h"
#include "../variant.h"
#include "erfinv_core.h"

namespace qor::vm::erfinv {

using namespace erfinv_core;

// ---- scalar routines --------------------------------------------------------------
template <class T>
constexpr T kInf = std::numeric_limits<T>::infinity();
template <class T>
constexpr T kNaN = std::numeric_limits<T>::quiet_NaN();

// Sets y and the code for NaN, the poles and arguments outside [lo, hi];
// false for arguments inside.
template <class T>
inline bool pole_or_domain(T x, T lo, T hi, T at_lo, T at_hi, T& y, int& code) {
    code = QOR_VM_STATUS_OK;
    if (x != x) {
        y = x + x;
        return true;
    }
    if (x == lo || x == hi) {
        y = x == lo ? at_lo : at_hi;
        code = QOR_VM_STATUS_SING;
        return true;
    }
    if (x < lo || x > hi) {
        y = kNaN<T>;
        code = QOR_VM_STATUS_DOMAIN;
        return true;
    }
    return false;
}

// ErfInv for |x| < 2^-1000 (zeros and subnormals included) and the rest:
// x sqrt(pi)/2 scaled into the normal range, so that the result rounds once
// into the subnormals.
inline int erfinv_fix(double x, double& y) {
    int code;
    x = flush_subnormal(x);
    if (pole_or_domain(x, -1.0, 1.0, -kInf<double>, kInf<double>, y, code)) return code;
    if (std::fabs(x) < 0x1p-1000) y = (x * 0x1p600 * kHalfSqrtPi) * 0x1p-600;
    else y = simd::vget0_d_vd(erfinv_double<false>(SD::set1(x)));
    return QOR_VM_STATUS_OK;
}

inline int erfcinv_fix(double q, double& y) {
    int code;
    q = flush_subnormal(q);
    if (pole_or_domain(q, 0.0, 2.0, kInf<double>, -kInf<double>, y, code)) return code;
    if (q < 0.5) y = tail_scalar<false>(q);  // subnormal
    else y = simd::vget0_d_vd(erfcinv_double<false>(SD::set1(q)));
    return QOR_VM_STATUS_OK;
}

inline int cdfnorminv_fix(double p, double& y) {
    int code;
    p = flush_subnormal(p);
    if (pole_or_domain(p, 0.0, 1.0, -kInf<double>, kInf<double>, y, code)) return code;
    if (p < 0.25) y = -tail_scalar<true>(p + p);  // subnormal
    else y = simd::vget0_d_vd(erfcinv_double<true>(SD::set1(p + p)));
    return QOR_VM_STATUS_OK;
}

// Single precision: the argument flushed as the mode says, the double
// routine, one rounding.
template <int (*Fix)(double, double&)>
inline int single_fix(float x, float& y) {
    double r;
    const int code = Fix(double(flush_subnormal(x)), r);
    y = float(r);
    return code;
}

// ---- ErfInv -----------------------------------------------------------------------
template <Variant Var>
struct DoubleErfInv {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const {
        // |x| >= 1, NaN; below 2^-1000 too except for EP.
        return upper_word_outside(SD::abs(x), Var == Variant::EP ? 0 : 0x01700000, 0x3FEFFFFF);
    }
    vd operator()(vd x) const {
        if constexpr (Var == Variant::EP) return erfinv_fast(x);
        else return erfinv_double<false>(x);
    }
    int fix(double x, double& y) const { return erfinv_fix(x, y); }
};

template <Variant Var>
struct SingleErfInv {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const {  // |x| >= 1, NaN; subnormals and zeros outside EP
        return bits_outside(SF::abs(x), Var == Variant::EP ? 0 : 0x00800000, 0x3F7FFFFF);
    }
    vf operator()(vf x) const {
        if constexpr (Var == Variant::EP) return erfinv_single_fast(x, log_single::ln_parts<log_single::Variant::EP>);
        else return through_double(x, erfinv_fast);
    }
    int fix(float x, float& y) const { return single_fix<erfinv_fix>(x, y); }
};

// ---- ErfcInv and CdfNormInv -------------------------------------------------------------
struct DoubleErfcInv {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd q) const { return upper_word_outside(q, 0x00100000, 0x3FFFFFFF); }  // not in [min normal, 2)
    vd operator()(vd q) const { return erfcinv_double<false>(q); }
    int fix(double q, double& y) const { return erfcinv_fix(q, y); }
};

struct SingleErfcInv {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf q) const { return bits_outside(q, 0x00800000, 0x3FFFFFFF); }
    vf operator()(vf q) const { return through_double(q, erfcinv_fast<false>); }
    int fix(float q, float& y) const { return single_fix<erfcinv_fix>(q, y); }
};

QOR_KERNEL_INLINE vd cdfnorminv_double(vd p) { return erfcinv_double<true>(SD::add(p, p)); }

struct DoubleCdfNormInv {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd p) const { return upper_word_outside(p, 0x00100000, 0x3FEFFFFF); }  // not in [min normal, 1)
    vd operator()(vd p) const { return cdfnorminv_double(p); }
    int fix(double p, double& y) const { return cdfnorminv_fix(p, y); }
};

struct SingleCdfNormInv {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf p) const { return bits_outside(p, 0x00800000, 0x3F7FFFFF); }
    vf operator()(vf p) const {
        return through_double(p, [](vd pd) { return erfcinv_fast<true>(SD::add(pd, pd)); });
    }
    int fix(float p, float& y) const { return single_fix<cdfnorminv_fix>(p, y); }
};

}  // namespace qor::vm::erfinv
