// The vector paths of Pow and Powr (and the general path of Powx) in both
// precisions and the three accuracies.
//
//   double HA: double-double ln|x|, exact product, exponential of the
//     double-double (about 0.52 ulp);
//   double LA: the same with a shorter logarithm polynomial, a rounded
//     square and a degree-5 exponential (within about 2.5 ulp: the rounded
//     square costs most next to x = 1 with a large y);
//   double EP: plain double logarithm and exponential (about 2^-34);
//   single HA, LA: in double, plain logarithm and exponential with shorter
//     polynomials for LA, rounded once to single (0.5 ulp plus about 2^-20
//     and 2^-11);
//   single EP: single-precision arithmetic, log2 by a polynomial on
//     [sqrt(1/2), sqrt(2)) and 2^z by one of degree 4 (about 2^-14).
//
// A lane goes to the scalar routine when |x| is zero, subnormal, infinite or
// NaN, when x < 0 and y is not an integer (Pow) or x < 0 at all (Powr), and
// when y ln x (y log2 x for single EP) is out of the range where the result
// is a normal number: this catches y infinite or NaN, overflow and
// underflow.  A negative base with an odd integer exponent flips the sign
// of the result.
#pragma once

#include "pow_core.h"

namespace qor::vm::pow_core {

// |y ln x| below which every result is normal (double, single through
// double) and |y log2 x| for single-precision arithmetic.
inline constexpr double kZLimitDouble = 708.0;
inline constexpr double kZLimitSingle = 87.3;
inline constexpr uint32_t kZLimitSingleEp = 0x42FA0000u;  // 125.0f

// log2(1 + r)/r on [sqrt(1/2) - 1, sqrt(2) - 1], highest degree first
// (absolute error 2^-21.6), and 2^f on [-1/2, 1/2] (2^-18.5).
inline constexpr float kLog2F7[8] = {flt(0xBE122F9Cu), flt(0x3E6E3C7Au), flt(0xBE7F411Du), flt(0x3E931787u),
                                     flt(0xBEB86F6Fu), flt(0x3EF63AB7u), flt(0xBF38AA96u), flt(0x3FB8AA3Bu)};
inline constexpr float kExp2F4[5] = {flt(0x3C1E5FB0u), flt(0x3D650E71u), flt(0x3E75FD26u), flt(0x3F317061u),
                                     flt(0x3F800000u)};

// |x|^y for positive normal |x|; mark gets the lanes whose y ln x is out of
// the normal range.
template <Acc A>
QOR_KERNEL_INLINE vd pow_positive(vd ax, vd y, vd& mark) {
    if constexpr (A == Acc::EP) {
        vd z = SD::mul(y, log_plain(ax, kLogQ3));
        mark = magnitude_at_least(z, kZLimitDouble);
        return exp_plain(z, exp_core::kQ1);
    } else {
        DD z = mul_dd(y, log_dd<A>(ax, SD::set1(1023.0)));
        mark = magnitude_at_least(z.hi, kZLimitDouble);
        return exp_dd<A>(z);
    }
}

// |x|^y for positive normal float |x| in double.
template <Acc A>
QOR_KERNEL_INLINE vd pow_positive_single(vd ax, vd y, vd& mark) {
    vd z = SD::mul(y, A == Acc::HA ? log_plain(ax, kLogQ3) : log_plain(ax, kLogQ2));
    mark = magnitude_at_least(z, kZLimitSingle);
    return A == Acc::HA ? exp_plain(z, exp_core::kQ3) : exp_plain(z, exp_core::kQ1);
}

// |x|^y for positive normal float |x| in single precision.
QOR_KERNEL_INLINE vf pow_positive_single_ep(vf ax, vf y, vf& mark) {
    const vi bits = SF::to_bits(ax);
    const vi k = simd::vsra_vi2_vi2_i(simd::vsub_vi2_vi2_vi2(bits, simd::vset1_vi2_i(0x3F3504F3)), 23);
    const vf r = SF::sub(SF::from_bits(simd::vsub_vi2_vi2_vi2(bits, simd::vsll_vi2_vi2_i(k, 23))), SF::set1(1.0f));
    const vf l2 = SF::add(simd::vcvt_vf_vi2(k), SF::mul(r, lanes::horner<SF>(r, kLog2F7)));
    const vf z = SF::mul(y, l2);
    mark = lanes::magnitude_above(z, kZLimitSingleEp - 1);
    const vf shifter = SF::set1(flt(0x4B400000u));  // 1.5 * 2^23
    const vf t = SF::add(z, shifter);
    const vf f = SF::sub(z, SF::sub(t, shifter));
    return lanes::add_exponent(lanes::horner<SF>(f, kExp2F4), SF::to_bits(t));
}

template <Kind K, class T, class V = typename simd::Simd<T>::V>
QOR_KERNEL_INLINE V finish_sign(V x, V y, V res, V bad, V& mark) {
    using S = simd::Simd<T>;
    const V neg = sign_lanes(x);
    if constexpr (K == Kind::Powr) {
        mark = S::bit_or(S::bit_or(mark, bad), neg);
        return res;
    } else {
        mark = S::bit_or(S::bit_or(mark, bad), S::bit_andnot(integer_lanes(y), neg));
        const V flip = S::bit_and(S::bit_and(neg, odd_lanes(y)), S::set1(-0.0));
        return S::bit_xor(res, flip);
    }
}

template <Kind K, Acc A>
struct DoublePow {
    using T = double;
    static constexpr bool reads_mode = true;
    [[gnu::always_inline]] vd operator()(vd x, vd y, vd& mark) const {
        const vd ax = SD::abs(x);
        const vd res = pow_positive<A>(ax, y, mark);
        return finish_sign<K, double>(x, y, res, lanes::not_positive_normal(ax), mark);
    }
    int fix(double x, double y, double& r) const { return pow_special<K>(x, y, r); }
};

// Zeros, infinities and NaN (float subnormals are normal in double).
QOR_KERNEL_INLINE vf zero_or_nonfinite(vf ax) {
    const vi b = SF::to_bits(ax);
    return SF::from_bits(simd::vor_vi_vi_vi(simd::veq_vi2_vi2_vi2(b, simd::vzero_vi()),
                                            simd::vgt_vi2_vi2_vi2(b, simd::vset1_vi2_i(0x7F7FFFFF))));
}

template <Kind K, Acc A>
struct SinglePow {
    using T = float;
    static constexpr bool reads_mode = true;
    [[gnu::always_inline]] vf operator()(vf x, vf y, vf& mark) const {
        const vf ax = SF::abs(x);
        // Subnormal bases go to the scalar routine also when the work is done
        // in double: under the flush-to-zero mode the conversion flushes them.
        const vf bad = lanes::not_positive_normal(ax);
        vf res;
        if constexpr (A == Acc::EP) {
            res = pow_positive_single_ep(ax, y, mark);
        } else {
            vd m0, m1;
            res = lanes::narrow(pow_positive_single<A>(lanes::low_half(ax), lanes::low_half(y), m0),
                                pow_positive_single<A>(lanes::high_half(ax), lanes::high_half(y), m1));
            mark = simd::vnarrowmask_vf_vd_vd(m0, m1);
        }
        return finish_sign<K, float>(x, y, res, bad, mark);
    }
    int fix(float x, float y, float& r) const { return pow_special<K>(x, y, r); }
};

}  // namespace qor::vm::pow_core
