// Sin, Cos, SinCos and Tan, real, made kernels by driver.h.
//
// Every kernel reduces |x| = k pi/2 + r (trig_reduce.h), evaluates sin r and
// cos r (trig_core.h), picks and signs them by k mod 4, and gives the sine
// and tangent the sign of x (so sin(-0) = -0).  SinCos runs the same steps
// as Sin and Cos and so gives their bits exactly.
//   double:
//     HA: exact reduction; the cube term of the sine and the square term of
//         the cosine formed without error, the rest by polynomials of
//         relative error 2^-54 or better, one rounding at the end
//         (about 0.51 ulp).  The tangent divides the two unrounded pairs
//         and corrects the quotient by its exact residual (about 0.51 ulp).
//     LA: exact reduction, plain polynomials (within about 1 ulp; the
//         tangent, a plain quotient, within about 2.5).
//     EP: three-step reduction, polynomials of relative error 2^-30
//         (about 30 correct bits).
//   single, computed in double and rounded once:
//     HA: three-step reduction, polynomials of 2^-40 (0.5 ulp and 2^-15).
//     LA: the same with polynomials of 2^-30 (0.5 ulp and 2^-5).
//     EP: two-step reduction, polynomials of 2^-21 (about 20 bits).
// |x| >= 2^19, infinities and NaN go to the scalar routine, which reduces
// by the bits of 2/pi and evaluates as HA: an infinity gives NaN and the
// domain code, a NaN a quiet NaN without a code.
#pragma once

#include <cmath>
#include <limits>

#include "../variant.h"
#include "qor/qor_vm.h"
#include "trig_core.h"

namespace qor::vm::trig {

enum class Fn { sin, cos, tan };

// sin, cos or tan of k pi/2 + r from the values of sin r and cos r.
template <Fn F, class S>
QOR_KERNEL_INLINE vd finish(vi k, S s, S c) {
    if constexpr (F == Fn::sin) return place(k, s, c);
    else if constexpr (F == Fn::cos) return place(next_quadrant(k), s, c);
    else return tan_place(k, s, c);
}

// Both sin r and cos r of a reduced argument, double kernels.
template <Variant Var>
struct DoubleParts {
    static constexpr Reduction reduction = Var == Variant::EP ? Reduction::three : Reduction::exact;
    QOR_KERNEL_INLINE static auto eval(const Reduced& a) {
        const vd z = SD::mul(a.hi, a.hi);
        if constexpr (Var == Variant::HA) {
            struct {
                Pair s, c;
            } out{sin_precise(a.hi, a.lo, z), cos_precise(a.hi, a.lo, z)};
            return out;
        } else if constexpr (Var == Variant::LA) {
            struct {
                vd s, c;
            } out{sin_plain(a.hi, a.lo, z, kSin3L), cos_plain(a.hi, a.lo, z, kCos2L)};
            return out;
        } else {
            const vd s = SD::add(a.hi, SD::mul(SD::mul(a.hi, z), lanes::horner<SD>(z, kSin3S)));
            const vd c = SD::add(SD::set1(1.0), SD::mul(z, lanes::horner<SD>(z, kCos2S)));
            struct {
                vd s, c;
            } out{s, c};
            return out;
        }
    }
};

// The same, for the single-precision kernels (arguments below 2^19).
template <Variant Var>
struct SingleParts {
    static constexpr Reduction reduction = Var == Variant::EP ? Reduction::two : Reduction::three;
    QOR_KERNEL_INLINE static auto eval(const Reduced& a) {
        const vd z = SD::mul(a.hi, a.hi);
        const vd rz = SD::mul(a.hi, z);
        struct {
            vd s, c;
        } out;
        if constexpr (Var == Variant::HA) {
            out.s = SD::add(a.hi, SD::mul(rz, lanes::horner<SD>(z, kSin3M)));
            out.c = SD::add(SD::set1(1.0), SD::mul(z, lanes::horner<SD>(z, kCos2M)));
        } else if constexpr (Var == Variant::LA) {
            out.s = SD::add(a.hi, SD::mul(rz, lanes::horner<SD>(z, kSin3S)));
            out.c = SD::add(SD::set1(1.0), SD::mul(z, lanes::horner<SD>(z, kCos2S)));
        } else {
            out.s = SD::add(a.hi, SD::mul(rz, lanes::horner<SD>(z, kSin3T)));
            out.c = SD::add(SD::set1(1.0), SD::mul(z, lanes::horner<SD>(z, kCos2T)));
        }
        return out;
    }
};

// f(|x|) for |x| < 2^19, without the sign of x.
template <class Parts, Fn F>
QOR_KERNEL_INLINE vd unsigned_value(vd ax) {
    const Reduced a = reduce<Parts::reduction>(ax);
    const auto p = Parts::eval(a);
    return finish<F>(a.k, p.s, p.c);
}

// The scalar routine: sin, cos or tan of any double as HA does it, and the
// code of the argument.
template <Fn F>
inline int double_fix(double x, double& y) {
    if (x != x) {
        y = x + x;
        return QOR_VM_STATUS_OK;
    }
    if (std::fabs(x) == std::numeric_limits<double>::infinity()) {
        y = std::numeric_limits<double>::quiet_NaN();
        return QOR_VM_STATUS_DOMAIN;
    }
    const double ax = std::fabs(x);
    double hi, lo;
    int k;
    reduce_huge(ax, hi, lo, k);
    const Reduced a{SD::set1(hi), SD::set1(lo), simd::vset1_vl_l(k)};
    const auto p = DoubleParts<Variant::HA>::eval(a);
    const double v = simd::vget0_d_vd(finish<F>(a.k, p.s, p.c));
    y = F == Fn::cos ? v : std::copysign(1.0, x) * v;
    return QOR_VM_STATUS_OK;
}

template <Fn F>
inline int single_fix(float x, float& y) {
    double r;
    const int code = double_fix<F>(double(x), r);
    y = float(r);
    return code;
}

template <Fn F, Variant Var>
struct DoubleTrig {
    using T = double;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vd special(vd x) const { return lanes::upper_word_above(x, kVectorLimitUpper); }
    QOR_KERNEL_INLINE vd operator()(vd x) const {
        const vd v = unsigned_value<DoubleParts<Var>, F>(SD::abs(x));
        return F == Fn::cos ? v : SD::bit_xor(v, sign_of<double>(x));
    }
    int fix(double x, double& y) const { return double_fix<F>(x, y); }
};

template <Fn F, Variant Var>
struct SingleTrig {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return lanes::magnitude_above(x, kVectorLimitSingle); }
    QOR_KERNEL_INLINE vf operator()(vf x) const {
        const vf ax = SF::abs(x);
        const vf v = lanes::narrow(unsigned_value<SingleParts<Var>, F>(lanes::low_half(ax)),
                                   unsigned_value<SingleParts<Var>, F>(lanes::high_half(ax)));
        return F == Fn::cos ? v : SF::bit_xor(v, sign_of<float>(x));
    }
    int fix(float x, float& y) const { return single_fix<F>(x, y); }
};

// Sine and cosine together: the steps of Sin and Cos on one reduction.
// Marked lanes are cleared to +0 before the vector path, as the screened
// one-result kernels do.
template <Variant Var>
struct DoubleSinCos {
    using T = double;
    static constexpr bool reads_mode = true;
    QOR_KERNEL_INLINE void operator()(vd x, vd& s, vd& c) const {
        const vd ax = SD::bit_andnot(special(x, x, x), SD::abs(x));
        const Reduced a = reduce<DoubleParts<Var>::reduction>(ax);
        const auto p = DoubleParts<Var>::eval(a);
        s = SD::bit_xor(finish<Fn::sin>(a.k, p.s, p.c), sign_of<double>(x));
        c = finish<Fn::cos>(a.k, p.s, p.c);
    }
    vd special(vd x, vd, vd) const { return lanes::upper_word_above(x, kVectorLimitUpper); }
    int fix(double x, double& s, double& c) const {
        double_fix<Fn::cos>(x, c);
        return double_fix<Fn::sin>(x, s);
    }
};

template <Variant Var>
struct SingleSinCos {
    using T = float;
    static constexpr bool reads_mode = true;
    QOR_KERNEL_INLINE void operator()(vf x, vf& s, vf& c) const {
        const vf ax = SF::bit_andnot(special(x, x, x), SF::abs(x));
        vd sh[2], ch[2];
        const vd half[2] = {lanes::low_half(ax), lanes::high_half(ax)};
        for (int j = 0; j < 2; ++j) {
            const Reduced a = reduce<SingleParts<Var>::reduction>(half[j]);
            const auto p = SingleParts<Var>::eval(a);
            sh[j] = finish<Fn::sin>(a.k, p.s, p.c);
            ch[j] = finish<Fn::cos>(a.k, p.s, p.c);
        }
        s = SF::bit_xor(lanes::narrow(sh[0], sh[1]), sign_of<float>(x));
        c = lanes::narrow(ch[0], ch[1]);
    }
    vf special(vf x, vf, vf) const { return lanes::magnitude_above(x, kVectorLimitSingle); }
    int fix(float x, float& s, float& c) const {
        single_fix<Fn::cos>(x, c);
        return single_fix<Fn::sin>(x, s);
    }
};

}  // namespace qor::vm::trig
