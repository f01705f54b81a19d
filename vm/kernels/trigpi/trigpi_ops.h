// Sind, Cosd, Tand (degrees), Sinpi, Cospi, Tanpi (argument times pi) and
// SinCospi, real.  Methods in trigpi_core.h.
//   double:
//     HA (every slot of Sind, Cosd, Tand, Tanpi, SinCospi; Sinpi and Cospi
//         HA): the reduced argument in radians as a double-double and the
//         sine and cosine as pairs; about 0.5 ulp (tangent: a quotient
//         corrected by its exact residual, about 0.55 ulp).
//     LA = EP (Sinpi, Cospi): t = r * pi rounded once, plain series
//         (within about 1 ulp).
//   single:
//     HA: computed in double with the plain series and rounded once
//         (0.5 ulp and 2^-20 more).
//     LA = EP (Sinpi, Cospi): single-precision arithmetic (about 1.5 ulp).
// Exact values come out exact: sin(k 30 degrees), sinpi(1/6), cospi(1/3),
// tanpi(1/4) = 1.  Signed zeros: sine and tangent are odd, a zero sine of a
// whole number of half turns has the sign of x, a zero cosine is +0, a zero
// tangent is the quotient of those two.
// Marked lanes go to the scalar routine: NaN gives NaN quietly, +-inf NaN
// with code 1 (domain), a pole of the tangent (an odd number of quarter
// turns) an infinity of the sign sine/cosine gives there with code 2
// (singularity), and degree arguments of 2^52 or more are taken mod 360
// exactly and computed like any other.
#pragma once

#include <cmath>
#include <limits>

#include "../arith/exact_fmod.h"
#include "../driver.h"
#include "trigpi_core.h"

namespace qor::vm::trigpi {

enum class Fn { sin, cos, tan };
enum class Unit { pi, degrees };
// pairs: double HA; plain: double LA; through: single HA in double.
enum class Method { pairs, plain, through };

template <Unit U>
struct UnitOf;
template <>
struct UnitOf<Unit::pi> {
    static constexpr double kQuarter = 0.5;
    static constexpr uint32_t kMarkAbove = 0x7FEFFFFF;  // upper word: infinities and NaN
};
template <>
struct UnitOf<Unit::degrees> {
    static constexpr double kQuarter = 90;
    static constexpr uint32_t kMarkAbove = 0x432FFFFF;  // |x| >= 2^52 as well
};

// Lanes whose bits equal the pattern's sign bit as a full mask.
inline vd full_mask(vd sign_only) {
    return simd::vcast_vd_vi(simd::veq_vl_vl_vl(simd::vcast_vi_vd(sign_only), simd::vcast_vi_vd(simd::vsignmask_vd())));
}

// The double vector path; `marked` gets the lanes for the scalar routine.
template <Fn F, Unit U, Method M>
QOR_KERNEL_INLINE vd trig(vd x, vd& marked) {
    marked = lanes::upper_word_above(x, UnitOf<U>::kMarkAbove);
    const vd sign = sign_of<double>(x);
    vd a = SD::bit_andnot(marked, SD::abs(x));
    // Sine and tangent of the pairs would round twice into the subnormal
    // range (hi, then hi + lo): tiny arguments are scaled up, the result
    // back down with one rounding.  Nothing tiny has another quadrant.
    constexpr bool kScales = M == Method::pairs && F != Fn::cos;
    vd tiny;
    if constexpr (kScales) {
        tiny = SD::lt(a, SD::set1(0x1p-900));
        a = SD::mul(a, SD::select(tiny, SD::set1(0x1p110), SD::set1(1.0)));
    }
    const Quarter<double> q = U == Unit::degrees ? reduce_degrees(a) : reduce_pi_units<double>(a);
    vd y;
    if constexpr (M == Method::pairs) {
        const Pair t = U == Unit::degrees ? times_constant<kPiBy180Hi, kPiBy180Lo>(q.r) : times_constant<kPiHi, kPiLo>(q.r);
        const SinCosPairs sc = sin_cos_pairs(t);
        if constexpr (F == Fn::tan) {
            y = signed_tangent_zero<double>(q, tangent_of_quadrant(q, sc));
        } else {
            const vd s = SD::add(sc.s.hi, sc.s.lo), c = SD::add(sc.c.hi, sc.c.lo);
            y = F == Fn::sin ? sine_of_quadrant<double>(q, s, c) : cosine_of_quadrant<double>(q, s, c);
        }
    } else {
        const vd t = SD::mul(q.r, SD::set1(U == Unit::degrees ? kPiBy180Hi : kPiHi));
        vd s, c;
        if constexpr (M == Method::plain) sin_cos_plain<SD>(t, kSinMid, kCosLong, s, c);
        else sin_cos_plain<SD>(t, kSinShort, kCosShort, s, c);
        if constexpr (F == Fn::tan) {
            const vd odd = index_bit<double, 0>(q.index);
            y = signed_tangent_zero<double>(q, SD::div(SD::bit_xor(SD::select(odd, c, s), odd), SD::select(odd, s, c)));
        } else {
            y = F == Fn::sin ? sine_of_quadrant<double>(q, s, c) : cosine_of_quadrant<double>(q, s, c);
        }
    }
    if constexpr (kScales) y = SD::mul(y, SD::select(tiny, SD::set1(0x1p-110), SD::set1(1.0)));
    if constexpr (F == Fn::tan) marked = SD::bit_or(marked, full_mask(tangent_pole<double>(q)));
    return F == Fn::cos ? y : SD::bit_xor(y, sign);
}

// The single-precision LA path of Sinpi and Cospi, in single arithmetic.
template <Fn F>
QOR_KERNEL_INLINE vf trig_single(vf x, vf& marked) {
    marked = lanes::magnitude_above(x, 0x7F7FFFFFu);
    const vf sign = sign_of<float>(x);
    const vf a = SF::bit_andnot(marked, SF::abs(x));
    const Quarter<float> q = reduce_pi_units<float>(a);
    vf s, c;
    sin_cos_plain<SF>(SF::mul(q.r, SF::set1(float(kPiHi))), kSinSingle, kCosSingle, s, c);
    if constexpr (F == Fn::sin) return SF::bit_xor(sine_of_quadrant<float>(q, s, c), sign);
    else return cosine_of_quadrant<float>(q, s, c);
}

// The scalar routine of a marked double lane.
template <Fn F, Unit U, Method M>
int trig_fix(double x, double& y) {
    if (x != x) {
        y = x + x;
        return QOR_VM_STATUS_OK;
    }
    if (std::isinf(x)) {
        y = std::numeric_limits<double>::quiet_NaN();
        return QOR_VM_STATUS_DOMAIN;
    }
    constexpr double kTurn = 4 * UnitOf<U>::kQuarter;
    const double reduced = U == Unit::degrees ? std::copysign(fmod_magnitude(x, kTurn), x) : x;
    vd marked;
    y = simd::vget0_d_vd(trig<F, U, M>(SD::set1(reduced), marked));
    if (!(SD::movemask(marked) & 1)) return QOR_VM_STATUS_OK;
    // A pole: +inf after one quarter turn, -inf after three, odd in x.
    const double inf = fmod_magnitude(reduced, kTurn) == UnitOf<U>::kQuarter ? HUGE_VAL : -HUGE_VAL;
    y = std::signbit(x) ? -inf : inf;
    return QOR_VM_STATUS_SING;
}

template <Fn F, Unit U, Method M>
struct DoubleTrig {
    using T = double;
    static constexpr bool reads_mode = true;
    vd operator()(vd x, vd& marked) const { return trig<F, U, M>(x, marked); }
    int fix(double x, double& y) const { return trig_fix<F, U, M>(x, y); }
};

template <Fn F, Unit U>
struct SingleTrig {
    using T = float;
    static constexpr bool reads_mode = true;
    vf operator()(vf x, vf& marked) const {
        vd m0, m1;
        const vd y0 = trig<F, U, Method::through>(lanes::low_half(x), m0);
        const vd y1 = trig<F, U, Method::through>(lanes::high_half(x), m1);
        marked = simd::vnarrowmask_vf_vd_vd(m0, m1);
        return lanes::narrow(y0, y1);
    }
    int fix(float x, float& y) const {
        double r;
        const int code = trig_fix<F, U, Method::through>(double(x), r);
        y = float(r);
        return code;
    }
};

template <Fn F>
struct SingleTrigPlain {
    using T = float;
    static constexpr bool reads_mode = true;
    vf operator()(vf x, vf& marked) const { return trig_single<F>(x, marked); }
    int fix(float x, float& y) const { return SingleTrig<F, Unit::pi>{}.fix(x, y); }
};

// Sine and cosine of pi x at once, each the same bits as Sinpi and Cospi
// HA give; only NaN and infinities are marked.
template <class Real>
struct SinCosPi {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    void operator()(V x, V& s, V& c) const {
        V m;
        if constexpr (sizeof(T) == 8) {
            s = trig<Fn::sin, Unit::pi, Method::pairs>(x, m);
            c = trig<Fn::cos, Unit::pi, Method::pairs>(x, m);
        } else {
            s = SingleTrig<Fn::sin, Unit::pi>{}(x, m);
            c = SingleTrig<Fn::cos, Unit::pi>{}(x, m);
        }
    }
    V special(V x, V, V) const { return S::isnonfinite(x); }
    int fix(T x, T& s, T& c) const {
        if (x != x) {
            s = c = x + x;
            return QOR_VM_STATUS_OK;
        }
        s = c = std::numeric_limits<T>::quiet_NaN();
        return QOR_VM_STATUS_DOMAIN;
    }
};

}  // namespace qor::vm::trigpi
