// Exp10, real: 10^x.  One kernel per precision.
//   double: the table method of Exp with N = nearest integer of
//     x * 64 log2(10) and r = (x - N log10(2)/64) ln 10, the product with
//     the first part of log10(2)/64 being exact (about 0.51 ulp).
//   single: computed in double as 2^(x log2 10) and rounded once (about
//     0.502 ulp).
// Overflow is code 3; a subnormal or zero result of a finite argument
// code 4.
#pragma once

#include <cfloat>

#include "exp_core.h"

namespace qor::vm::explog {

using namespace exp_core;

// |x| >= 307: results that may leave the normal range.
inline constexpr uint32_t kExp10ScreenUpper = 0x40732FFF;
// |x| > 37.5 (single).
inline constexpr uint32_t kExp10ScreenSingle = 0x42160000u;
inline constexpr double kLog2Of10 = dbl(0x400A934F0979A371ull);

struct DoubleExp10 {
    using T = double;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return lanes::upper_word_above(x, kExp10ScreenUpper); }
    vd operator()(vd x) const { return table_exp_ha<reduce_10>(x); }
    int fix(double x, double& y) const { return table_exp_scalar(x, y, 10); }
};

struct SingleExp10 {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return lanes::magnitude_above(x, kExp10ScreenSingle); }
    vf operator()(vf x) const {
        return through_double(x, [](vd v) { return exp2_via_split(SD::mul(v, SD::set1(kLog2Of10))); });
    }
    int fix(float x, float& r) const {
        double y;
        table_exp_scalar(double(x), y, 10);
        r = float(y);
        return single_result_code(x, r, FLT_MIN);
    }
};

}  // namespace qor::vm::explog
