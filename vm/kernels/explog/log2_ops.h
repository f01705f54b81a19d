// Log2, real.  One kernel per precision.
//   double: the reduction of Ln (x = 2^k m, m in [0.75, 1.5), tabulated
//     -ln(rcp) and the split mantissa), then log2 x = k + S/ln 2 with the
//     head of S times the head of 1/ln 2 exact and summed exactly with k
//     before the small terms (about 0.51 ulp).
//   single: the reduction of Ln in double, k + S/ln 2 rounded once.
// Zeros give -inf (code 2), negative arguments and -inf NaN (code 1).
#pragma once

#include "log_core.h"

namespace qor::vm::explog {

using namespace log_core;

inline int log2_scalar(double x, double& y) { return log_base_scalar(x, y, kBase2); }

struct DoubleLog2 {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return lanes::not_positive_normal(x); }
    vd operator()(vd x) const { return log_base(pieces<Accuracy::High>(x, SD::set1(0.0)), kBase2); }
    int fix(double x, double& y) const { return log2_scalar(x, y); }
};

inline vd single_log2(const SinglePieces& q) {
    return SD::add(q.k, SD::mul(SD::add(q.hi, SD::add(q.lo, q.w)), SD::set1(kBase2.inv)));
}

struct SingleLog2 {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return lanes::not_positive_normal(x); }
    vf operator()(vf x) const {
        SinglePieces lo, hi;
        single_pieces(x, lo, hi);
        return lanes::narrow(single_log2(lo), single_log2(hi));
    }
    int fix(float x, float& r) const { return single_from_double(x, r, log2_scalar); }
};

}  // namespace qor::vm::explog
