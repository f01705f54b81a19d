// Log10, real.
//   double:
//     HA: the reduction of Ln with the split mantissa, then k log10(2) +
//       S/ln 10 with the heads' product summed exactly with k log10(2)
//       before the small terms (about 0.51 ulp).
//     LA (also EP): the same reduction, S rounded once and scaled
//       (within about 2 ulp).
//   single:
//     HA: the reduction of Ln in double, rounded once.
//     LA, EP: the single-precision Ln of the same variant, scaled by
//       log10(e) (LA within 3.93 ulp over all arguments, the worst just
//       below 0.75 where k log10(2) and the logarithm of m cancel; EP about
//       13 bits).
// Zeros give -inf (code 2), negative arguments and -inf NaN (code 1).
#pragma once

#include "log_core.h"
#include "log_single.h"

namespace qor::vm::explog {

using namespace log_core;

inline int log10_scalar(double x, double& y) { return log_base_scalar(x, y, kBase10); }

template <bool High>
struct DoubleLog10 {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return lanes::not_positive_normal(x); }
    vd operator()(vd x) const {
        Pieces q = pieces<Accuracy::High>(x, SD::set1(0.0));
        if constexpr (High) return log_base(q, kBase10);
        const vd s = SD::add(SD::add(q.hi, q.u), SD::add(SD::add(q.lo, q.v), q.rrp));
        return SD::add(SD::mul(q.k, SD::set1(kBase10.l1)),
                       SD::add(SD::mul(q.k, SD::set1(kBase10.l2)), SD::mul(s, SD::set1(kBase10.inv))));
    }
    int fix(double x, double& y) const { return log10_scalar(x, y); }
};

inline vd single_log10(const SinglePieces& q) {
    return SD::add(SD::mul(q.k, SD::set1(kBase10.l1)),
                   SD::mul(SD::add(q.hi, SD::add(q.lo, q.w)), SD::set1(kBase10.inv)));
}

template <log_single::Variant Var>
struct SingleLog10 {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return lanes::not_positive_normal(x); }
    vf operator()(vf x) const {
        if constexpr (Var == log_single::Variant::HA) {
            SinglePieces lo, hi;
            single_pieces(x, lo, hi);
            return lanes::narrow(single_log10(lo), single_log10(hi));
        } else {
            vf k, lnm;
            log_single::ln_parts<Var>(x, k, lnm);
            return SF::add(SF::mul(k, SF::set1(log_single::kLog10Of2HiF)),
                           SF::add(SF::mul(k, SF::set1(log_single::kLog10Of2LoF)),
                                   SF::mul(lnm, SF::set1(log_single::kLog10eF))));
        }
    }
    int fix(float x, float& r) const { return single_from_double(x, r, log10_scalar); }
};

}  // namespace qor::vm::explog
