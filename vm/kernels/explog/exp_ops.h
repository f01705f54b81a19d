// Exp, real: e^x.
//   double, three kernels over the table method of 64 entries:
//     HA: the polynomial of degree 6 and the low parts of the table
//         (about 0.51 ulp); blocks of 16, screened on the upper words.
//     LA: degree 5, no low parts (within about 1 ulp).
//     EP: degree 3, no low parts (about 35 correct bits).
//   single:
//     HA: the table method in float, 64 entries as float pairs (about
//         0.52 ulp).
//     LA, EP: single-precision arithmetic, x = k ln 2 + r with a polynomial
//         of degree 6 (LA, about 1 ulp) or 4 (EP, about 16 bits).
// Arguments whose result overflows or is subnormal, infinities and NaN go
// to the scalar routine: overflow is code 3, a subnormal or zero result of
// a finite argument code 4; exp(-inf) = +0 and exp(NaN) = NaN are quiet.
#pragma once

#include <cfloat>

#include "exp_core.h"
#include "../variant.h"

namespace qor::vm::explog {

using namespace exp_core;

// |x| above about 708.3955: every lane whose M could leave the normal range.
inline constexpr uint32_t kExpScreenUpper = 0x4086232A;

template <Variant Var>
struct DoubleExp {
    using T = double;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return lanes::upper_word_above(x, kExpScreenUpper); }
    vd operator()(vd x) const {
        Reduced a = reduce_e(x);
        vd hi, lo;
        table_rows(a.t, hi, lo);
        vd p;
        if constexpr (Var == Variant::HA) p = poly_ha(a.r, lo);
        else if constexpr (Var == Variant::LA) p = poly_short(a.r, kQ3);
        else p = poly_short(a.r, kQ1);
        return scale(SD::add(hi, SD::mul(hi, p)), a.t);
    }
    int fix(double x, double& y) const { return table_exp_scalar(x, y, 0); }
};

// (e^r - 1 - r)/r^2 on |r| <= ln 2/2, highest degree first: relative error
// 2^-22.9 (five terms) and 2^-12.5 (three terms).
inline constexpr float kQ4f[5] = {flt(0x3AB635CCu), flt(0x3C09080Au), flt(0x3D2AAADFu), flt(0x3E2AAA6Cu),
                                  flt(0x3F000000u)};
inline constexpr float kQ2f[3] = {flt(0x3D2AD731u), flt(0x3E2B7382u), flt(0x3F000057u)};

// Lanes past 87.3 (results near the subnormal range or overflowing) and,
// for the single-precision arithmetic, past 86.9, where 2^k would leave the
// normal range.
inline constexpr uint32_t kExpScreenHa = 0x42AE999Au;     // 87.3f
inline constexpr uint32_t kExpScreenPlain = 0x42ADCCCDu;  // 86.9f

inline int exp_single_fix(float x, float& r) {
    double y;
    table_exp_scalar(double(x), y, 0);
    r = float(y);
    return single_result_code(x, r, FLT_MIN);
}

template <Variant Var>
struct SingleExp {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return lanes::magnitude_above(x, Var == Variant::HA ? kExpScreenHa : kExpScreenPlain); }
    vf operator()(vf x) const {
        if constexpr (Var == Variant::HA)
            return table_exp_single<false>(x);
        else if constexpr (Var == Variant::LA)
            return exp_plain<float>(x, kQ4f);
        else
            return exp_plain<float>(x, kQ2f);
    }
    int fix(float x, float& r) const { return exp_single_fix(x, r); }
};

}  // namespace qor::vm::explog
