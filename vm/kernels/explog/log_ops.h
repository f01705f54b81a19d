// Ln, real: the natural logarithm.
//   double, blocks of 8 screened for arguments that are not positive,
//   normal and finite:
//     HA and LA: x = 2^k m, the reciprocal estimate of m rounded to i/512,
//       -ln(i/512) in two parts, the mantissa split so that the big part of
//       the sum is exact, and a polynomial of degree 6 (about 0.51 ulp).
//       LA is the same computation: nothing cheaper keeps 4 ulp next to 1.
//     EP: the same reduction without the split and the low parts, degree 3
//       (about 30 correct bits).
//   single:
//     HA: the same reduction computed in double and rounded once (about
//       0.502 ulp).
//     LA: single-precision arithmetic, ln m = 2 atanh(s) with s = (m-1)/(m+1)
//       and a polynomial in s^2 (within 2 ulp).
//     EP: ln m = f W(f) with f = m - 1 and W of degree 4 (about 14 bits).
// The scalar routine handles zeros (-inf, code 2), negative arguments and
// -inf (NaN, code 1), subnormals (scaled by 2^60), +inf and NaN (themselves).
#pragma once

#include "log_core.h"
#include "log_single.h"
#include "../variant.h"

namespace qor::vm::explog {

using namespace log_core;

template <Variant Var>
struct DoubleLn {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return lanes::not_positive_normal(x); }
    vd operator()(vd x) const {
        if constexpr (Var == Variant::EP) {
            Pieces q = pieces<Accuracy::Enhanced>(x, SD::set1(0.0));
            return SD::add(SD::add(SD::mul(q.k, SD::set1(kLn2Hi)), q.hi), SD::add(q.u, q.rrp));
        } else {
            return ln_sum(pieces<Accuracy::High>(x, SD::set1(0.0)));
        }
    }
    int fix(double x, double& y) const { return ln_scalar(x, y); }
};

template <Variant Var>
struct SingleLn {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return lanes::not_positive_normal(x); }
    vf operator()(vf x) const {
        if constexpr (Var == Variant::HA) {
            SinglePieces lo, hi;
            single_pieces(x, lo, hi);
            return lanes::narrow(single_ln(lo), single_ln(hi));
        } else if constexpr (Var == Variant::LA) {
            return log_single::ln<log_single::Variant::LA>(x);
        } else {
            return log_single::ln<log_single::Variant::EP>(x);
        }
    }
    int fix(float x, float& r) const { return single_from_double(x, r, ln_scalar); }
};

}  // namespace qor::vm::explog
