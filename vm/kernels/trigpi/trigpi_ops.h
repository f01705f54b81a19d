// Sind, Cosd, Tand (degrees), Sinpi, Cospi, Tanpi (argument times pi) and
// SinCospi, real.  Methods in trigpi_core.h.  Error budgets (measured
// worst cases in brackets: 10^7 random arguments of the test domains in
// double, every float in [0.5, 2048) and all 2^32 for Sinpi in single):
//   double:
//     HA (every slot of Sind, Cosd, Tand, Tanpi, SinCospi; Sinpi and Cospi
//         HA): the reduced argument in radians as a double-double, sine
//         and cosine as pairs: the last addition's half ulp plus the
//         roundings of the tail, which is at most t^2/6 ~ 0.1 of the
//         result [0.76 ulp]; the tangent, a quotient of the pairs corrected
//         by its exact residual [0.86 ulp].
//     LA = EP (Sinpi, Cospi): t = r * pi rounded once, the same series
//         [1.83 ulp].
//   single:
//     HA: computed in double from fits within 2^-33 and rounded once
//         [0.5015 ulp].
//     LA = EP (Sinpi, Cospi): single-precision arithmetic [1.72 ulp].
// Exact values come out exact: sind(30) = cosd(60) = 1/2 and their images
// in every quadrant, tand(45) = tanpi(1/4) = 1, and 0 and +-1 at whole
// quarter turns.
// Signed zeros: sine and tangent are odd, a zero sine of a whole number of
// half turns has the sign of x, a zero cosine is +0, a zero tangent is the
// quotient of those two.
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

// The reduced argument with its sine and cosine (as pairs for the HA
// method, in .hi otherwise), before the quadrant is applied.
struct Evaluated {
    Quarter<double> q;
    vd sign, tiny;
    SinCosPairs sc;
};

// The double vector path up to the quadrant; `marked` gets the lanes for
// the scalar routine.  With Scale, tiny arguments are scaled up: the sine
// and tangent of the pairs would otherwise round twice into the subnormal
// range (hi, then hi + lo); their results are scaled back with one
// rounding.  Nothing tiny lies in another quadrant, and the cosine there
// is 1 either way.
template <Unit U, Method M, bool Scale>
QOR_KERNEL_INLINE Evaluated evaluate(vd x, vd& marked) {
    Evaluated e;
    marked = lanes::upper_word_above(x, UnitOf<U>::kMarkAbove);
    e.sign = sign_of<double>(x);
    vd a = SD::bit_andnot(marked, SD::abs(x));
    if constexpr (Scale) {
        e.tiny = SD::lt(a, SD::set1(0x1p-900));
        a = SD::mul(a, SD::select(e.tiny, SD::set1(0x1p110), SD::set1(1.0)));
    }
    e.q = U == Unit::degrees ? reduce_degrees(a) : reduce_pi_units<double>(a);
    if constexpr (M == Method::pairs) {
        const Pair t = U == Unit::degrees ? times_constant<kPiBy180>(e.q.r) : times_constant<kPi>(e.q.r);
        e.sc = sin_cos_pairs(t);
    } else if constexpr (M == Method::plain) {
        const vd t = SD::mul(e.q.r, SD::set1(U == Unit::degrees ? kPiBy180Hi : kPiHi));
        sin_cos_plain<SD>(t, kSinTail, kCosTail, e.sc.s.hi, e.sc.c.hi);
    } else {
        const vd r = U == Unit::degrees ? SD::mul(e.q.r, SD::set1(1 / 180.0)) : e.q.r;
        const vd w = SD::mul(r, r);
        e.sc.s.hi = SD::mul(r, lanes::horner<SD>(w, kSinPiW));
        e.sc.c.hi = lanes::horner<SD>(w, kCosPiW);
    }
    return e;
}

// The function F of the evaluated argument: quadrant, sign, poles.
template <Fn F, Method M, bool Scale>
QOR_KERNEL_INLINE vd finish(const Evaluated& e, vd& marked) {
    vd y;
    if constexpr (M == Method::pairs && F == Fn::tan) {
        y = signed_tangent_zero<double>(e.q, tangent_of_quadrant(e.q, e.sc));
    } else {
        vd s = e.sc.s.hi, c = e.sc.c.hi;
        if constexpr (M == Method::pairs) s = SD::add(s, e.sc.s.lo), c = SD::add(c, e.sc.c.lo);
        if constexpr (F == Fn::tan) {
            const vd odd = index_bit<double, 0>(e.q.index);
            y = signed_tangent_zero<double>(e.q, SD::div(SD::bit_xor(SD::select(odd, c, s), odd), SD::select(odd, s, c)));
        } else {
            y = F == Fn::sin ? sine_of_quadrant<double>(e.q, s, c) : cosine_of_quadrant<double>(e.q, s, c);
        }
    }
    if constexpr (Scale && F != Fn::cos) y = SD::mul(y, SD::select(e.tiny, SD::set1(0x1p-110), SD::set1(1.0)));
    if constexpr (F == Fn::tan) marked = SD::bit_or(marked, full_mask(tangent_pole<double>(e.q)));
    return F == Fn::cos ? y : SD::bit_xor(y, e.sign);
}

template <Fn F, Unit U, Method M>
QOR_KERNEL_INLINE vd trig(vd x, vd& marked) {
    constexpr bool kScale = M == Method::pairs && F != Fn::cos;
    return finish<F, M, kScale>(evaluate<U, M, kScale>(x, marked), marked);
}

// Sine and cosine of pi x from one evaluation, the bits of trig() for each.
template <Method M>
QOR_KERNEL_INLINE void sin_cos_pi(vd x, vd& s, vd& c) {
    constexpr bool kScale = M == Method::pairs;
    vd marked;
    const Evaluated e = evaluate<Unit::pi, M, kScale>(x, marked);
    s = finish<Fn::sin, M, kScale>(e, marked);
    c = finish<Fn::cos, M, kScale>(e, marked);
}

// The single-precision LA path of Sinpi and Cospi, in single arithmetic.
template <Fn F>
QOR_KERNEL_INLINE vf trig_single(vf x, vf& marked) {
    marked = lanes::magnitude_above(x, 0x7F7FFFFFu);
    const vf sign = sign_of<float>(x);
    const vf a = SF::bit_andnot(marked, SF::abs(x));
    const Quarter<float> q = reduce_pi_units<float>(a);
    const vf w = SF::mul(q.r, q.r);
    const vf s = SF::mul(q.r, lanes::horner<SF>(w, kSinPiWf)), c = lanes::horner<SF>(w, kCosPiWf);
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
        if constexpr (sizeof(T) == 8) {
            sin_cos_pi<Method::pairs>(x, s, c);
        } else {
            vd s0, c0, s1, c1;
            sin_cos_pi<Method::through>(lanes::low_half(x), s0, c0);
            sin_cos_pi<Method::through>(lanes::high_half(x), s1, c1);
            s = lanes::narrow(s0, s1);
            c = lanes::narrow(c0, c1);
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
