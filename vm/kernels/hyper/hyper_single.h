// Single-precision arithmetic for the LA and EP kernels of Sinh, Cosh and
// Tanh, four lanes at a time.  With a = |x|:
//   e^a by the plain method of exp_core.h (x = k ln 2 + r, |r| <= ln 2/2)
//     with the Taylor series of (e^r - 1 - r)/r^2 to r^5 (LA; the tail
//     stays below 2^-26 of e^r) or a fit of degree 2 (EP, 2^-14.8);
//   e^a - 1 for EP the same way, as (2^k - 1) + 2^k p(r) with p(r) = e^r - 1,
//     which keeps its relative accuracy near zero;
//   sinh, LA: a < 1: x + x^3 P(x^2), P the Taylor series to x^8; else (e^a - 1/e^a)/2,
//     whose cancellation is at most 1.3 from a = 1 on; EP: with E = e^a - 1,
//     (E + E/(E + 1))/2, two positive terms, one path for every a;
//   cosh: (e^a + 1/e^a)/2;
//   tanh: E/(E + 2) with E = e^(2a) - 1 and a clamped to 10, where the
//     result has rounded to 1; LA forms E as e^(2a) - 1 (exact: e^(2a) > 2)
//     and takes x + x^3 P(x^2) (P the Taylor series to x^10) below a = 0.4; EP forms E
//     as above on one path and gives exactly 1 from a = 9 on.
// EP divides through the reciprocal estimate refined by one Newton step.
// Each stays within about 2 ulp (LA) or 2^-14 (EP) of the result, for
// |x| up to 86.9 (where e^a stays normal); larger arguments take the
// scalar routine.
#pragma once

#include "hyper_core.h"

namespace qor::vm::hyper_single {

inline constexpr float kExpTaylor6[6] = {flt(0x39500D01u), flt(0x3AB60B61u), flt(0x3C088889u),
                                         flt(0x3D2AAAABu), flt(0x3E2AAAABu), flt(0x3F000000u)};
// A fit of degree 2 to (e^r - 1 - r)/r^2 on |r| <= ln 2/2 (Chebyshev
// interpolation): e^r - 1 within 2^-14.8 relative.
inline constexpr float kExpFit3[3] = {flt(0x3D2B2E13u), flt(0x3E2B6FE2u), flt(0x3F000000u)};
// 1/11!, 1/9!, ..., 1/3!
inline constexpr float kSinhTaylor5[5] = {flt(0x32D7322Bu), flt(0x3638EF1Du), flt(0x39500D01u), flt(0x3C088889u),
                                          flt(0x3E2AAAABu)};
// 21844/6081075, -1382/155925, ..., -1/3: (tanh x - x)/x^3 in x^2.
inline constexpr float kTanhTaylor6[6] = {flt(0x3B6B69E8u), flt(0xBC11371Bu), flt(0x3CB327A4u),
                                          flt(0xBD5D0DD1u), flt(0x3E088889u), flt(0xBEAAAAABu)};

inline constexpr uint32_t kScreen = 0x42ADCCCDu;  // 86.9f

template <bool LA>
QOR_KERNEL_INLINE vf exp_single(vf a) {
    if constexpr (LA) return exp_core::exp_plain<float>(a, kExpTaylor6);
    else return exp_core::exp_plain<float>(a, kExpFit3);
}

// e^y - 1 for |y| <= 86.9 with the EP fit.
QOR_KERNEL_INLINE vf expm1_single(vf y) {
    using C = exp_core::PlainConstants<float>;
    const vf t = SF::add(SF::mul(y, SF::set1(C::log2e)), SF::set1(C::shifter));
    const vf k = SF::sub(t, SF::set1(C::shifter));
    const vf r = SF::sub(SF::sub(y, SF::mul(k, SF::set1(C::ln2_hi))), SF::mul(k, SF::set1(C::ln2_lo)));
    const vf p = SF::add(r, SF::mul(SF::mul(r, r), lanes::horner<SF>(r, kExpFit3)));
    const vf two_k = lanes::add_exponent(SF::set1(1.0f), SF::to_bits(t));
    return SF::add(SF::sub(two_k, SF::set1(1.0f)), SF::mul(two_k, p));
}

// 1/d for 1 <= d < 2^126: the hardware estimate and one Newton step, about
// 2^-22 relative.  EP only: the estimate's bits differ between processors.
QOR_KERNEL_INLINE vf reciprocal_ep(vf d) {
    const vf r = simd::vrcp_vf_vf(d);
    return SF::mul(r, SF::sub(SF::set1(2.0f), SF::mul(d, r)));
}

// 1/d, exact to the rounding for LA, through the estimate for EP.
template <bool LA>
QOR_KERNEL_INLINE vf reciprocal(vf d) {
    if constexpr (LA) return SF::div(SF::set1(1.0f), d);
    else return reciprocal_ep(d);
}

template <std::size_t N>
QOR_KERNEL_INLINE vf odd_series(vf x, const float (&p)[N]) {
    const vf x2 = SF::mul(x, x);
    return SF::add(x, SF::mul(SF::mul(x, x2), lanes::horner<SF>(x2, p)));
}

template <class Small, class Large>
QOR_KERNEL_INLINE vf pick(vf use_small, Small small, Large large) {
    const int which = SF::movemask(use_small);
    if (which == 15) return small();
    if (which == 0) return large();
    return SF::select(use_small, small(), large());
}

template <bool LA, bool Odd>
QOR_KERNEL_INLINE vf sinh_cosh(vf x) {
    const vf a = SF::abs(x);
    auto large = [&] {
        const vf e = exp_single<LA>(a);
        const vf inv = reciprocal<LA>(e);
        const vf y = SF::mul(Odd ? SF::sub(e, inv) : SF::add(e, inv), SF::set1(0.5f));
        return Odd ? SF::copysign(y, x) : y;
    };
    if constexpr (!Odd) {
        return large();
    } else if constexpr (!LA) {
        const vf e = expm1_single(a);
        const vf y = SF::add(e, SF::mul(e, reciprocal_ep(SF::add(e, SF::set1(1.0f)))));
        return SF::copysign(SF::mul(y, SF::set1(0.5f)), x);
    } else {
        auto small = [&] { return odd_series(x, kSinhTaylor5); };
        return pick(SF::lt(a, SF::set1(1.0f)), small, large);
    }
}

template <bool LA>
QOR_KERNEL_INLINE vf tanh(vf x) {
    if constexpr (!LA) {
        // from a = 9 on the result is 1 (the quotient through the estimate
        // would miss it by an ulp or two)
        const vf a = SF::min(SF::abs(x), SF::set1(10.0f));
        const vf e = expm1_single(SF::add(a, a));
        const vf y = SF::mul(e, reciprocal_ep(SF::add(e, SF::set1(2.0f))));
        return SF::copysign(SF::select(SF::ge(a, SF::set1(9.0f)), SF::set1(1.0f), y), x);
    }
    auto large = [&] {
        const vf a = SF::min(SF::abs(x), SF::set1(10.0f));
        const vf em1 = SF::sub(exp_single<LA>(SF::add(a, a)), SF::set1(1.0f));
        return SF::copysign(SF::div(em1, SF::add(em1, SF::set1(2.0f))), x);
    };
    auto small = [&] {  // the sign of x, also for -0
        return SF::copysign(odd_series(x, kTanhTaylor6), x);
    };
    return pick(SF::lt(SF::abs(x), SF::set1(0.4f)), small, large);
}

}  // namespace qor::vm::hyper_single
