// Exp2, real: 2^x.  One kernel per precision.
//   double: the table method of Exp with N = nearest integer of 64 x and
//     r = (x - N/64) ln 2 (the difference is exact), the full polynomial and
//     the low parts of the table (about 0.51 ulp).
//   single: the table method in float, 64 entries as float pairs (about
//     0.51 ulp).
// Overflow (x >= 1024 or 128) is code 3; a subnormal or zero result of a
// finite argument code 4.
#pragma once

#include <cfloat>

#include "exp_core.h"

namespace qor::vm::explog {

using namespace exp_core;

// |x| >= 1021: results that may leave the normal range.
inline constexpr uint32_t kExp2ScreenUpper = 0x408FE7FF;
// |x| > 125.5 (single).
inline constexpr uint32_t kExp2ScreenSingle = 0x42FB0000u;

struct DoubleExp2 {
    using T = double;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return lanes::upper_word_above(x, kExp2ScreenUpper); }
    vd operator()(vd x) const { return table_exp_ha<reduce_2>(x); }
    int fix(double x, double& y) const { return table_exp_scalar(x, y, 2); }
};

struct SingleExp2 {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return lanes::magnitude_above(x, kExp2ScreenSingle); }
    vf operator()(vf x) const { return table_exp_single<true>(x); }
    int fix(float x, float& r) const {
        double y;
        table_exp_scalar(double(x), y, 2);
        r = float(y);
        return single_result_code(x, r, FLT_MIN);
    }
};

}  // namespace qor::vm::explog
