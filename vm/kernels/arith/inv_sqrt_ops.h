// InvSqrt, real: 1/sqrt(x).  Two kernels per precision:
//   HA (also LA): within one ulp, and correctly rounded on every sweep of the
//     tests (hard cases next to powers of four included).
//     double: y = 1/sqrt(x), then the correction y*(1 + e/2 + 3e^2/8) with
//     the residual e = 1 - x*y^2 computed from exact split products, so that
//     the final sum is rounded once from a value within about 2^-50 ulp.
//     single: 1/sqrt(x) in single (exactly rounded operations, so the same
//     bits on every processor, unlike the hardware estimate), a third-order
//     step in double (error near 2^-60) and one rounding.
//   EP: the hardware estimate plus Newton: one step in single (about 22
//     correct bits); in double a third-order step on the estimate of the
//     argument reduced to [1, 4) (about 35 bits).
// Lanes outside the range of the vector path (zeros, negatives, subnormals,
// infinities, NaN and, for double HA, |log2 x| > 900) go to the scalar
// routine, which scales subnormal and extreme arguments by an even power of
// two.  InvSqrt(+-0) = +-inf is a pole, a negative argument a domain error.
#pragma once

#include <cfloat>
#include <cmath>
#include <limits>

#include "../driver.h"
#include "../lane_bits.h"

namespace qor::vm::arith {

// Valid for x in [2^-900, 2^900], where no split or square leaves the range.
inline vd inv_sqrt_ha_double(vd x) {
    const vd head = Bits<double>::pattern(Bits<double>::kSplitHead);
    const vd one = SD::set1(1.0);
    vd y = SD::div(one, SD::sqrt(x));
    vd yh = SD::bit_and(y, head), yl = SD::sub(y, yh);
    vd p = SD::mul(y, y);  // y^2 = p + pe
    vd pe = SD::add(SD::add(SD::sub(SD::mul(yh, yh), p), SD::mul(SD::add(yh, yh), yl)), SD::mul(yl, yl));
    vd xh = SD::bit_and(x, head), xl = SD::sub(x, xh);
    vd ph = SD::bit_and(p, head), pl = SD::sub(p, ph);
    vd h = SD::mul(x, p);  // x*p = h + he
    vd he = SD::add(SD::add(SD::add(SD::sub(SD::mul(xh, ph), h), SD::mul(xh, pl)), SD::mul(xl, ph)), SD::mul(xl, pl));
    vd e = SD::sub(SD::sub(SD::sub(one, h), he), SD::mul(x, pe));  // 1 - h is exact: h is within 2^-51 of 1
    // y * (1 + e/2 + 3e^2/8): the second-order term matters next to powers
    // of four, where 1/sqrt(x) lies within 2^-54 ulp of a midpoint.
    return SD::add(y, SD::mul(y, SD::mul(e, SD::add(SD::set1(0.5), SD::mul(SD::set1(0.375), e)))));
}

// y + y*(e/2 + 3e^2/8) with e = 1 - x*y^2: the Newton series to third order.
inline vd third_order_step(vd x, vd y) {
    vd e = SD::sub(SD::set1(1.0), SD::mul(x, SD::mul(y, y)));
    return SD::add(y, SD::mul(y, SD::mul(e, SD::add(SD::set1(0.5), SD::mul(SD::set1(0.375), e)))));
}

// One Newton step in single; (x*y)*y stays near 1 for every normal x.
inline vf newton_step_single(vf x, vf y) {
    vf h = SF::mul(SF::mul(x, y), y);
    return SF::mul(y, SF::sub(SF::set1(1.5f), SF::mul(SF::set1(0.5f), h)));
}

// Valid for positive normal x.  y has 24 bits, so y*y is exact in double.
inline vf inv_sqrt_ha_single(vf x) {
    vf y = SF::div(SF::set1(1.0f), SF::sqrt(x));
    vd lo = third_order_step(simd::vcast_vd_vf_lo(x), simd::vcast_vd_vf_lo(y));
    vd hi = third_order_step(simd::vcast_vd_vf_hi(x), simd::vcast_vd_vf_hi(y));
    return simd::vcast_vf_vd_vd(lo, hi);
}

inline vf inv_sqrt_ep_single(vf x) { return newton_step_single(x, simd::vrsqrt_vf_vf(x)); }

// Valid for positive normal x.  x = m * 2^(2k) with m in [1, 4): k2 = k << 53
// is (bits - bits(1.0)) with the low 53 bits cleared (an arithmetic shift
// right by 53, then left); the result is rsqrt(m) * 2^-k, whose exponent
// field is lowered by k << 52 = k2 >> 1 (a 32-bit arithmetic shift of the
// high word, the low word being zero).
inline vd inv_sqrt_ep_double(vd x) {
    const simd::vi bits = simd::vcast_vi_vd(x);
    const simd::vi k2 = simd::vand_vi_vi_vi(simd::vsub_vl_vl_vl(bits, simd::vset1_vl_l(0x3FF0000000000000ll)),
                                            simd::vset1_vl_l(int64_t(0xFFE0000000000000ull)));
    vd m = simd::vcast_vd_vi(simd::vsub_vl_vl_vl(bits, k2));
    vf estimate = simd::vrsqrt_vf_vf(simd::vcvt_vf_vd(m));
    vd y = third_order_step(m, simd::vcast_vd_vf_lo(estimate));
    return simd::vcast_vd_vi(simd::vsub_vl_vl_vl(simd::vcast_vi_vd(y), simd::vsra_vi2_vi2_i(k2, 1)));
}

// Range of a core and the even power of two that brings any other positive
// finite argument into it: x * up^2 -> y * up, x / up^2 -> y / up.
struct HaDouble {
    using T = double;
    static vd core(vd x) { return inv_sqrt_ha_double(x); }
    static constexpr double lo = 0x1p-900, hi = 0x1p900, up = 0x1p500;
};
struct EpDouble {
    using T = double;
    static vd core(vd x) { return inv_sqrt_ep_double(x); }
    static constexpr double lo = DBL_MIN, hi = DBL_MAX, up = 0x1p500;
};
struct HaSingle {
    using T = float;
    static vf core(vf x) { return inv_sqrt_ha_single(x); }
    static constexpr float lo = FLT_MIN, hi = FLT_MAX, up = 0x1p32f;
};
struct EpSingle {
    using T = float;
    static vf core(vf x) { return inv_sqrt_ep_single(x); }
    static constexpr float lo = FLT_MIN, hi = FLT_MAX, up = 0x1p32f;
};

template <class Core>
typename Core::T core_scalar(typename Core::T x) {
    using T = typename Core::T;
    using S = simd::Simd<T>;
    alignas(16) T out[S::lanes];
    S::store(out, Core::core(S::set1(x)));
    return out[0];
}

template <class Core>
struct InvSqrtOp {
    using T = typename Core::T;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    V operator()(V a) const { return Core::core(a); }
    V special(V a, V) const { return S::bit_or(S::nge(a, S::set1(Core::lo)), S::gt(a, S::set1(Core::hi))); }
    int fix(T x, T& r) const {
        if (std::isnan(x)) {
            r = x + x;
            return QOR_VM_STATUS_OK;
        }
        if (x == T(0)) {  // also a subnormal under the flush-to-zero mode
            r = std::copysign(std::numeric_limits<T>::infinity(), x);
            return QOR_VM_STATUS_SING;
        }
        if (x < T(0)) {
            r = std::numeric_limits<T>::quiet_NaN();
            return QOR_VM_STATUS_DOMAIN;
        }
        if (std::isinf(x)) {
            r = T(0);
            return QOR_VM_STATUS_OK;
        }
        const T up = Core::up;
        if (x < Core::lo)
            r = core_scalar<Core>(x * (up * up)) * up;
        else if (x > Core::hi)
            r = core_scalar<Core>(x / (up * up)) / up;
        else
            r = core_scalar<Core>(x);
        return QOR_VM_STATUS_OK;
    }
};

}  // namespace qor::vm::arith
