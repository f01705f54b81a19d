// Sin, Cos, SinCos and Tan, real, made kernels by driver.h.
//
// Every kernel reduces |x| = k pi/2 + r (trig_reduce.h), evaluates sin r and
// cos r (trig_core.h), picks and signs them by k mod 4, and gives the sine
// and tangent the sign of x (so sin(-0) = -0).  SinCos runs the same steps
// as Sin and Cos and so gives their bits exactly.
//   double:
//     HA: exact reduction.  Sin, Cos and SinCos: one merged evaluation per
//         result, each lane taking the sine or the cosine form by its
//         quadrant; the cube term of the sine and the square term of the
//         cosine formed without error, the rest by polynomials of relative
//         error 2^-54 or better, one rounding at the end (0.55 and 0.56 ulp
//         measured).  Tan: sine and cosine as unrounded pairs (the
//         cosine's r^4/24 term exact as well), the quotient corrected by
//         its exact residual (0.55 ulp measured).
//     LA: exact reduction, plain polynomials (1.3 ulp measured; the
//         tangent, a plain quotient, 2.6).
//     EP: three-step reduction; Sin, Cos and SinCos by half turns and one
//         sine polynomial of relative error 2^-35.2 (2.4e5 ulp, about 35
//         correct bits, measured), Tan by quarter turns and polynomials of
//         2^-30 (2.3e6 ulp, about 32 bits).
//   single, computed in double and rounded once:
//     HA: three-step reduction, polynomials of 2^-40 (0.5 ulp and 2^-15).
//     LA: the same with polynomials of 2^-30 (0.5 ulp and 2^-5).
//     EP: in float arithmetic for |x| < 2^10 (sine and cosine by a
//         polynomial of 2^-18.9, 35 ulp measured; the tangent 4 ulp); the
//         scalar routine takes larger arguments.
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

// sin or cos of k pi/2 + r by one merged evaluation (HA double).
template <Fn F>
QOR_KERNEL_INLINE vd merged_value(const Reduced& a) {
    const vi k = F == Fn::cos ? next_quadrant(a.k) : a.k;
    const vd z = SD::mul(a.hi, a.hi);
    return SD::bit_xor(sin_or_cos_precise(a.hi, a.lo, z, odd_quadrant(k)), half_turn_sign(k));
}

// Double-precision EP sine and cosine alone reduce by half turns, as the
// single-precision EP kernels do: |x| = j pi/2 + r, j even for the sine and
// odd for the cosine, |r| <= pi/2, by the three-step reduction (j < 2^20
// keeps j C1 and j C2 exact), and the sine polynomial (sin r - r)/r^3 of
// relative error 2^-35.2 on [-pi/2, pi/2] (fitted so that cos 0 comes out
// as 1 exactly):
// sin |x| = (-1)^(j/2) sin r, cos x = (-1)^((j-1)/2) sin(-r).
inline constexpr double kOneOverPiD = dbl(0x3FD45F306DC9C883ull);
inline constexpr double kSinHalfTurnD[5] = {dbl(0xBE59A15454AF4FB4ull), dbl(0x3EC716CDD61F5D59ull), dbl(0xBF2A017BDC95F1C7ull),
                                            dbl(0x3F811110BF69BE96ull), dbl(0xBFC5555554635461ull)};

template <Fn F>
QOR_KERNEL_INLINE vd double_half_turn(vd ax) {
    const vd shift = SD::set1(kRoundingShift);
    const vd t = SD::mul(ax, SD::set1(kOneOverPiD));
    const vd big = SD::add(F == Fn::sin ? t : SD::sub(t, SD::set1(0.5)), shift);
    const vd m = SD::sub(big, shift);
    // h = j/2 against the doubled pieces (j C = h 2C); the cosine takes
    // -r = j pi/2 - |x|, which spares its sign flip.
    const vd h = F == Fn::sin ? m : SD::add(m, SD::set1(0.5));
    const vd p1 = SD::mul(h, SD::set1(2 * kC1)), p2 = SD::mul(h, SD::set1(2 * kC2)), p3 = SD::mul(h, SD::set1(2 * kC3Plain));
    const vd r = F == Fn::sin ? SD::sub(SD::sub(SD::sub(ax, p1), p2), p3) : SD::add(SD::add(SD::sub(p1, ax), p2), p3);
    const vd z = SD::mul(r, r);
    const vd v = SD::add(r, SD::mul(SD::mul(r, z), lanes::horner<SD>(z, kSinHalfTurnD)));
    const vi sign = simd::vsll_vl_vl_i(simd::vand_vi_vi_vi(simd::vcast_vi_vd(big), simd::vset1_vl_l(1)), 63);
    return SD::bit_xor(v, simd::vcast_vd_vi(sign));
}

// Both sin r and cos r of a reduced argument, double kernels; `merged`:
// the sine and cosine rows take merged_value instead.
template <Variant Var>
struct DoubleParts {
    static constexpr Reduction reduction = Var == Variant::EP ? Reduction::three : Reduction::exact;
    static constexpr bool merged = Var == Variant::HA;
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

// The same, for the single-precision HA and LA kernels (arguments below
// 2^19).
template <Variant Var>
struct SingleParts {
    static constexpr Reduction reduction = Reduction::three;
    static constexpr bool merged = false;
    QOR_KERNEL_INLINE static auto eval(const Reduced& a) {
        const vd z = SD::mul(a.hi, a.hi);
        const vd rz = SD::mul(a.hi, z);
        struct {
            vd s, c;
        } out;
        if constexpr (Var == Variant::HA) {
            out.s = SD::add(a.hi, SD::mul(rz, lanes::horner<SD>(z, kSin3M)));
            out.c = SD::add(SD::set1(1.0), SD::mul(z, lanes::horner<SD>(z, kCos2M)));
        } else {
            out.s = SD::add(a.hi, SD::mul(rz, lanes::horner<SD>(z, kSin3S)));
            out.c = SD::add(SD::set1(1.0), SD::mul(z, lanes::horner<SD>(z, kCos2S)));
        }
        return out;
    }
};

// Single-precision EP in float lanes for |x| below 2^10 (k < 2^10; larger
// arguments, infinities and NaN go to the scalar routine): pi/2 in pieces
// of 12, 13 and 24 bits, so that k C1 and k C2 are exact.  The tangent
// reduces by quarter turns and divides polynomials of relative error 2^-23
// and 2^-21.
inline constexpr uint32_t kFloatPathLimit = 0x447FFFFFu;  // below 2^10
inline constexpr float kTwoOverPiF = flt(0x3F22F983u);
inline constexpr float kC1f = flt(0x3FC91000u), kC2f = flt(0xB6957800u), kC3f = flt(0x2E85A309u);
inline constexpr float kSinF[3] = {flt(0xB94D64D8u), flt(0x3C088614u), flt(0xBE2AAAA9u)};
inline constexpr float kCosF[3] = {flt(0xBAB30F45u), flt(0x3D2AA528u), flt(0xBEFFFFFAu)};

struct FloatParts {
    vf s, c;
    vi k;
};

QOR_KERNEL_INLINE FloatParts float_parts(vf ax) {
    const vf shift = SF::set1(flt(0x4B400000u));  // 1.5 * 2^23
    const vf big = SF::add(SF::mul(ax, SF::set1(kTwoOverPiF)), shift);
    const vf k = SF::sub(big, shift);
    const vf r = SF::sub(SF::sub(SF::sub(ax, SF::mul(k, SF::set1(kC1f))), SF::mul(k, SF::set1(kC2f))),
                         SF::mul(k, SF::set1(kC3f)));
    const vf z = SF::mul(r, r);
    return {SF::add(r, SF::mul(SF::mul(r, z), lanes::horner<SF>(z, kSinF))),
            SF::add(SF::set1(1.0f), SF::mul(z, lanes::horner<SF>(z, kCosF))), simd::vcast_vi_vf(big)};
}

// Sine and cosine alone reduce by half turns, x = j pi/2 + r with j even
// for the sine and odd for the cosine (|r| <= pi/2), and need only the sine
// polynomial, of relative error 2^-18.9 on [-pi/2, pi/2] (fitted so that
// cos 0 comes out as 1 exactly):
// sin |x| = (-1)^(j/2) sin r, cos x = (-1)^((j-1)/2) sin(-r).
inline constexpr float kOneOverPiF = flt(0x3EA2F983u);
inline constexpr float kSinHalfTurnF[3] = {flt(0xB9426DE8u), flt(0x3C08389Bu), flt(0xBE2AA876u)};

template <Fn F>
QOR_KERNEL_INLINE vf float_half_turn(vf ax) {
    const vf shift = SF::set1(flt(0x4B400000u));
    const vf t = SF::mul(ax, SF::set1(kOneOverPiF));
    const vf big = SF::add(F == Fn::sin ? t : SF::sub(t, SF::set1(0.5f)), shift);
    const vf m = SF::sub(big, shift);
    // h = j/2 against the doubled pieces (j C = h 2C, exact as before); the
    // cosine takes -r = j pi/2 - |x|, which spares its sign flip.
    const vf h = F == Fn::sin ? m : SF::add(m, SF::set1(0.5f));
    const vf p1 = SF::mul(h, SF::set1(2 * kC1f)), p2 = SF::mul(h, SF::set1(2 * kC2f)), p3 = SF::mul(h, SF::set1(2 * kC3f));
    const vf r = F == Fn::sin ? SF::sub(SF::sub(SF::sub(ax, p1), p2), p3) : SF::add(SF::add(SF::sub(p1, ax), p2), p3);
    const vf z = SF::mul(r, r);
    const vf v = SF::add(r, SF::mul(SF::mul(r, z), lanes::horner<SF>(z, kSinHalfTurnF)));
    return SF::bit_xor(v, simd::vcast_vf_vi(simd::vsll_vi2_vi2_i(simd::vcast_vi_vf(big), 31)));
}

// tan(k pi/2 + r) = s/c for k even, -c/s for k odd.
QOR_KERNEL_INLINE vf float_tan(const FloatParts& p) {
    const vi one = simd::vset1_vi2_i(1);
    const vf odd = simd::vcast_vf_vi(simd::veq_vi2_vi2_vi2(simd::vand_vi_vi_vi(p.k, one), one));
    const vf q = SF::div(SF::select(odd, p.c, p.s), SF::select(odd, p.s, p.c));
    return SF::bit_xor(q, SF::bit_and(odd, SF::set1(-0.0f)));
}

// The lanes a single-precision kernel leaves to the scalar routine: EP's
// float path screens at 2^10, the others at the vector limit.
template <Variant Var>
QOR_KERNEL_INLINE vf single_special(vf x) {
    return lanes::magnitude_above(x, Var == Variant::EP ? kFloatPathLimit : kVectorLimitSingle);
}

// f(|x|) for |x| < 2^19, without the sign of x.
template <class Parts, Fn F>
QOR_KERNEL_INLINE vd unsigned_value(vd ax) {
    const Reduced a = reduce<Parts::reduction>(ax);
    if constexpr (Parts::merged && F != Fn::tan) {
        return merged_value<F>(a);
    } else {
        const auto p = Parts::eval(a);
        return finish<F>(a.k, p.s, p.c);
    }
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
    double v;
    if constexpr (F == Fn::tan) {
        const auto p = DoubleParts<Variant::HA>::eval(a);
        v = simd::vget0_d_vd(finish<F>(a.k, p.s, p.c));
    } else {
        v = simd::vget0_d_vd(merged_value<F>(a));
    }
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
        vd v;
        if constexpr (Var == Variant::EP && F != Fn::tan) v = double_half_turn<F>(SD::abs(x));
        else v = unsigned_value<DoubleParts<Var>, F>(SD::abs(x));
        return F == Fn::cos ? v : SD::bit_xor(v, sign_of<double>(x));
    }
    int fix(double x, double& y) const { return double_fix<F>(x, y); }
};

template <Fn F, Variant Var>
struct SingleTrig {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const { return single_special<Var>(x); }
    QOR_KERNEL_INLINE vf operator()(vf x) const {
        const vf ax = SF::abs(x);
        if constexpr (Var == Variant::EP) {
            if constexpr (F == Fn::sin) return SF::bit_xor(float_half_turn<F>(ax), sign_of<float>(x));
            else if constexpr (F == Fn::cos) return float_half_turn<F>(ax);
            else return SF::bit_xor(float_tan(float_parts(ax)), sign_of<float>(x));
        } else {
            const vf v = lanes::narrow(unsigned_value<SingleParts<Var>, F>(lanes::low_half(ax)),
                                       unsigned_value<SingleParts<Var>, F>(lanes::high_half(ax)));
            return F == Fn::cos ? v : SF::bit_xor(v, sign_of<float>(x));
        }
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
        if constexpr (Var == Variant::EP) {
            s = SD::bit_xor(double_half_turn<Fn::sin>(ax), sign_of<double>(x));
            c = double_half_turn<Fn::cos>(ax);
        } else if constexpr (DoubleParts<Var>::merged) {
            // Both forms once, then each lane's pick: the bits of merged_value.
            const Reduced a = reduce<DoubleParts<Var>::reduction>(ax);
            const vd z = SD::mul(a.hi, a.hi);
            const vd sf = sine_form(a.hi, a.lo, z), cf = cosine_form(a.hi, a.lo, z);
            s = SD::bit_xor(place(a.k, sf, cf), sign_of<double>(x));
            c = place(next_quadrant(a.k), sf, cf);
        } else {
            const Reduced a = reduce<DoubleParts<Var>::reduction>(ax);
            const auto p = DoubleParts<Var>::eval(a);
            s = SD::bit_xor(finish<Fn::sin>(a.k, p.s, p.c), sign_of<double>(x));
            c = finish<Fn::cos>(a.k, p.s, p.c);
        }
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
        if constexpr (Var == Variant::EP) {
            s = SF::bit_xor(float_half_turn<Fn::sin>(ax), sign_of<float>(x));
            c = float_half_turn<Fn::cos>(ax);
        } else {
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
    }
    vf special(vf x, vf, vf) const { return single_special<Var>(x); }
    int fix(float x, float& s, float& c) const {
        single_fix<Fn::cos>(x, c);
        return single_fix<Fn::sin>(x, s);
    }
};

}  // namespace qor::vm::trig
