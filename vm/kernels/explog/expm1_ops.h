// Expm1, real: e^x - 1.  One kernel per precision.
//   double:
//     |x| < 1/4: x + x^2/2 + x^3 R(x), R of degree 9 (relative error of R
//       2^-59), so the leading term carries the result.
//     otherwise: the table method of Exp, e^x = 2^M hi (1 + p); the
//       difference 2^M hi - 1 is formed exactly as a sum of two doubles and
//       the small product 2^M hi p added to its tail before the last
//       rounding.
//   single: computed in double, e^x - 1 = 2^k (2^r - 1) + (2^k - 1) with
//     y = x log2 e = k + r, which is 2^r - 1 itself when k = 0; rounded once.
// Overflow is code 3; expm1(-inf) = -1.
#pragma once

#include <cmath>
#include <limits>

#include "exp_core.h"

namespace qor::vm::explog {

using namespace exp_core;

// (expm1(x) - x - x^2/2)/x^3 on |x| <= 1/4, highest degree first.
inline constexpr double kR9[10] = {
    dbl(0x3E21F0D18EE18E4Aull), dbl(0x3E5AED2BA1198AD0ull), dbl(0x3E927E4FD702BF1Full), dbl(0x3EC71DE2E42D32DEull),
    dbl(0x3EFA01A019F0DEF5ull), dbl(0x3F2A01A01A12DE16ull), dbl(0x3F56C16C16C16DA1ull), dbl(0x3F81111111111087ull),
    dbl(0x3FA5555555555555ull), dbl(0x3FC5555555555555ull)};

inline constexpr uint32_t kExpm1ScreenUpper = 0x4085DFFF;  // |x| >= 700
inline constexpr uint32_t kExpm1SmallUpper = 0x3FCFFFFF;   // |x| >= 1/4 takes the table method
inline constexpr double kOverflow = dbl(0x40862E42FEFA39EFull);  // 709.782712893384

inline vd expm1_small(vd x) {
    vd x2 = SD::mul(x, x);
    vd tail = SD::add(SD::mul(x2, SD::set1(0.5)), SD::mul(SD::mul(x2, x), lanes::horner<SD>(x, kR9)));
    return SD::add(x, tail);
}

// Valid for 1/4 <= |x| < 700.
inline vd expm1_table(vd x) {
    Reduced a = reduce_e(x);
    vd hi, lo;
    table_rows(a.t, hi, lo);
    vd p = poly_ha(a.r, lo);
    vd sc = scale(hi, a.t);  // 2^M hi, exact
    const vd minus_one = SD::set1(-1.0);
    vd s = SD::add(sc, minus_one);  // two-sum: s + err = sc - 1 exactly
    vd bb = SD::sub(s, sc);
    vd err = SD::add(SD::sub(sc, SD::sub(s, bb)), SD::sub(minus_one, bb));
    return SD::add(s, SD::add(err, SD::mul(sc, p)));
}

// e^x - 1 has the sign of x; setting it keeps expm1(-0) = -0.
inline vd expm1_double(vd x) {
    const vd big = lanes::upper_word_above(x, kExpm1SmallUpper);
    const int which = SD::movemask(big);
    vd y = which == 0 ? expm1_small(x) : which == 3 ? expm1_table(x) : SD::select(big, expm1_table(x), expm1_small(x));
    return SD::copysign(y, x);
}

inline int expm1_scalar(double x, double& y) {
    if (std::isnan(x) || std::isinf(x)) {
        y = x == -std::numeric_limits<double>::infinity() ? -1.0 : x * x;
        return QOR_VM_STATUS_OK;
    }
    if (x > kOverflow) {
        y = std::numeric_limits<double>::infinity();
        return QOR_VM_STATUS_OVERFLOW;
    }
    if (x > 700.0) return table_exp_scalar(x, y, 0);  // e^x - 1 rounds as e^x
    if (x < -40.0) {  // e^x below half an ulp of 1
        y = -1.0;
        return QOR_VM_STATUS_OK;
    }
    y = simd::vget0_d_vd(expm1_double(SD::set1(x)));
    return QOR_VM_STATUS_OK;
}

struct DoubleExpm1 {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return lanes::upper_word_above(x, kExpm1ScreenUpper); }
    vd operator()(vd x) const { return expm1_double(x); }
    int fix(double x, double& y) const { return expm1_scalar(x, y); }
};

inline vd expm1_via_split(vd x) {
    Exp2Split s = exp2_split(SD::mul(x, SD::set1(PlainConstants<double>::log2e)));
    vd two_k = lanes::add_exponent(SD::set1(1.0), s.t);
    return SD::copysign(SD::add(SD::mul(two_k, s.p), SD::sub(two_k, SD::set1(1.0))), x);
}

struct SingleExpm1 {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return lanes::magnitude_above(x, 0x42B00000u); }  // |x| > 88
    vf operator()(vf x) const { return through_double(x, expm1_via_split); }
    int fix(float x, float& r) const {
        double y;
        expm1_scalar(double(x), y);
        r = float(y);
        return std::isinf(r) && !std::isinf(x) ? QOR_VM_STATUS_OVERFLOW : QOR_VM_STATUS_OK;
    }
};

}  // namespace qor::vm::explog
