// Sinh and Cosh, real.
//   double, |x| below 704 on the vector path:
//     sinh, |x| < 1/4: x + x^3 P(x^2) with P the Taylor series of
//       (sinh x - x)/x^3 up to the term of x^10 (HA), x^8 (LA) or x^4 (EP);
//       the series' tail stays below 2^-60, 2^-56 and 2^-29 of the result.
//     otherwise, with a = |x|: e^a = up (1 + p_up) and e^-a = down (1 +
//       p_down) from one reduction (hyper_core.h); up -/+ down is formed
//       exactly, the products up p_up and down p_down join its tail before
//       the one rounding, and the halving is exact.  HA: Exp's degree-6 fit
//       and the table's low parts (about 0.54 ulp, the cancellation near
//       a = 1/4 included); LA: the degree-5 fit without low parts (within
//       about 1.7 ulp); EP: degree 3 (about 2^-35).
//   single: HA in double (e^a by Exp's single-precision split, no table),
//     rounded once; LA and EP in single-precision arithmetic
//     (hyper_single.h).
// The scalar routine takes |x| >= 704 (float: > 89 for HA, 86.9 for LA and
// EP), infinities and NaN: e^a/2 by the table method with the scale 2^(M-1) applied last, so that
// results up to the largest double stay finite (sinh and cosh of 710.47);
// an infinite result of a finite argument is code 3 (overflow).
#pragma once

#include <cmath>
#include <limits>

#include "hyper_core.h"
#include "hyper_single.h"

namespace qor::vm::hyper {

using namespace hyper_core;

// 1/13!, 1/11!, ..., 1/3!: the Taylor coefficients of (sinh x - x)/x^3 in x^2.
inline constexpr double kSinhTaylor6[6] = {dbl(0x3DE6124613A86D09ull), dbl(0x3E5AE64567F544E4ull),
                                           dbl(0x3EC71DE3A556C734ull), dbl(0x3F2A01A01A01A01Aull),
                                           dbl(0x3F81111111111111ull), dbl(0x3FC5555555555555ull)};
inline constexpr double kSinhTaylor5[5] = {kSinhTaylor6[1], kSinhTaylor6[2], kSinhTaylor6[3], kSinhTaylor6[4],
                                           kSinhTaylor6[5]};
inline constexpr double kSinhTaylor3[3] = {kSinhTaylor6[3], kSinhTaylor6[4], kSinhTaylor6[5]};

// Upper word of 704: lanes with |x| >= 704, infinities and NaN go to the
// scalar routine (e^-a and the scale of up stay normal below it).
inline constexpr uint32_t kSinhCoshScreenUpper = 0x4085FFFF;
inline constexpr uint32_t kSinhCoshScreenSingle = 0x42B20000u;  // 89.0f

template <Variant Var>
inline constexpr Fit kFitOf = Var == Variant::HA ? Fit::High : Var == Variant::LA ? Fit::Medium : Fit::Low;

template <Variant Var, bool Odd>
QOR_KERNEL_INLINE vd sinh_cosh(vd x) {
    const vd a = SD::abs(x);
    auto large = [&] {
        const ExpPair e = exp_pair<kFitOf<Var>>(a);
        const vd pu = SD::mul(e.up, e.p_up), pd = SD::mul(e.down, e.p_down);
        const Pair s = fast_two_sum(e.up, Odd ? SD::neg(e.down) : e.down);  // up >= down
        const vd tail = Odd ? SD::sub(pu, pd) : SD::add(pu, pd);
        const vd y = SD::mul(SD::add(s.hi, SD::add(s.lo, tail)), SD::set1(0.5));
        return Odd ? SD::copysign(y, x) : y;
    };
    if constexpr (!Odd) {
        return large();
    } else {
        auto small = [&] {
            if constexpr (Var == Variant::HA) return odd_series(x, kSinhTaylor6);
            else if constexpr (Var == Variant::LA) return odd_series(x, kSinhTaylor5);
            else return odd_series(x, kSinhTaylor3);
        };
        return pick(SD::lt(a, SD::set1(0.25)), small, large);
    }
}

// Single HA in double: e^a = 2^(a log2 e) by Exp's single-precision split
// (relative error 2^-32), e^-a its reciprocal, and for sinh below a = 1 the
// series of the HA kernel; rounded to single within 0.502 ulp.
template <bool Odd>
QOR_KERNEL_INLINE vd sinh_cosh_for_single(vd x) {
    const vd a = SD::abs(x);
    auto large = [&] {
        const vd e = exp_core::exp2_via_split(SD::mul(a, SD::set1(exp_core::PlainConstants<double>::log2e)));
        const vd inv = SD::div(SD::set1(1.0), e);
        const vd y = SD::mul(Odd ? SD::sub(e, inv) : SD::add(e, inv), SD::set1(0.5));
        return Odd ? SD::copysign(y, x) : y;
    };
    if constexpr (!Odd) return large();
    else return pick(SD::lt(a, SD::set1(1.0)), [&] { return odd_series(x, kSinhTaylor6); }, large);
}

// e^a/2 for 704 <= a <= 711, rounded once: hi_j (1 + p) times 2^(M-2),
// then doubled, so that only a result past the largest double overflows.
inline double half_exp_scalar(double a) {
    const exp_core::ScalarReduced s = exp_core::scalar_reduce(a, 0);
    const double hi = exp_table::kTable.v[s.n & 63][0], lo = exp_table::kTable.v[s.n & 63][1];
    const double p = exp_core::scalar_poly_ha(s.r, lo);
    return (hi + hi * p) * exp_core::pow2i(int(s.n >> 6) - 2) * 2.0;
}

template <Variant Var, bool Odd>
inline int sinh_cosh_scalar(double x, double& y) {
    const double a = std::fabs(x);
    if (x != x) {
        y = x + x;
        return QOR_VM_STATUS_OK;
    }
    if (a < 704.0) {
        y = simd::vget0_d_vd(sinh_cosh<Var, Odd>(SD::set1(x)));
        return QOR_VM_STATUS_OK;
    }
    y = a > 711.0 ? std::numeric_limits<double>::infinity() : half_exp_scalar(a);
    if (Odd) y = std::copysign(y, x);
    return std::isinf(y) && !std::isinf(x) ? QOR_VM_STATUS_OVERFLOW : QOR_VM_STATUS_OK;
}

template <Variant Var, bool Odd>
struct DoubleSinhCosh {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return lanes::upper_word_above(x, kSinhCoshScreenUpper); }
    vd operator()(vd x) const { return sinh_cosh<Var, Odd>(x); }
    int fix(double x, double& y) const { return sinh_cosh_scalar<Var, Odd>(x, y); }
};

template <Variant Var, bool Odd>
struct SingleSinhCosh {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const {
        return lanes::magnitude_above(x, Var == Variant::HA ? kSinhCoshScreenSingle : hyper_single::kScreen);
    }
    vf operator()(vf x) const {
        if constexpr (Var == Variant::HA)
            return through_double(x, sinh_cosh_for_single<Odd>);
        else
            return hyper_single::sinh_cosh<Var == Variant::LA, Odd>(x);
    }
    int fix(float x, float& r) const {
        double y;
        sinh_cosh_scalar<Variant::LA, Odd>(double(x), y);
        r = float(y);
        return std::isinf(r) && !std::isinf(x) ? QOR_VM_STATUS_OVERFLOW : QOR_VM_STATUS_OK;
    }
};

}  // namespace qor::vm::hyper
