// Logb, real: the binary exponent of x as a floating-point number,
// floor(log2 |x|), exact.  One kernel per precision: the exponent field
// less the bias for normal arguments; the scalar routine handles zeros
// (-inf, code 2), subnormals (scaled up first), infinities (+inf) and NaN.
#pragma once

#include <bit>
#include <cmath>
#include <limits>

#include "../exp_log_loop.h"

namespace qor::vm::explog {

template <class T>
struct Format;
template <>
struct Format<double> {
    using U = uint64_t;
    static constexpr int mantissa = 52, bias = 1023, scale = 60;
    static constexpr U exponent_mask = 0x7FF0000000000000ull;
};
template <>
struct Format<float> {
    using U = uint32_t;
    static constexpr int mantissa = 23, bias = 127, scale = 30;
    static constexpr U exponent_mask = 0x7F800000u;
};

template <class T>
int logb_scalar(T x, T& y) {
    using F = Format<T>;
    x = flush_subnormal(x);
    if (std::isnan(x)) {
        y = x + x;
        return QOR_VM_STATUS_OK;
    }
    if (std::isinf(x)) {
        y = std::numeric_limits<T>::infinity();
        return QOR_VM_STATUS_OK;
    }
    if (x == T(0)) {
        y = -std::numeric_limits<T>::infinity();
        return QOR_VM_STATUS_SING;
    }
    int adjust = 0;
    if ((std::bit_cast<typename F::U>(x) & F::exponent_mask) == 0) {
        x *= std::ldexp(T(1), F::scale);
        adjust = F::scale;
    }
    const int e = int((std::bit_cast<typename F::U>(x) & F::exponent_mask) >> F::mantissa);
    y = T(e - F::bias - adjust);
    return QOR_VM_STATUS_OK;
}

struct DoubleLogb {
    using T = double;
    static constexpr int block = 8;
    static constexpr bool reads_mode = true;
    // Exponent field all zeros or all ones, judged on the upper words.
    vd special(vd x) const {
        vi e = simd::vand_vi_vi_vi(simd::vshuffle_vi2_vi2<0xF5>(simd::vcast_vi_vd(x)), simd::vset1_vi2_i(0x7FF00000));
        return simd::vcast_vd_vi(simd::vor_vi_vi_vi(simd::veq_vi2_vi2_vi2(e, simd::vzero_vi()),
                                                    simd::veq_vi2_vi2_vi2(e, simd::vset1_vi2_i(0x7FF00000))));
    }
    vd operator()(vd x) const {
        vi e =
            simd::vsrl_vl_vl_i(simd::vand_vi_vi_vi(simd::vcast_vi_vd(x), simd::vset1_vl_l(0x7FF0000000000000ll)), 52);
        return SD::sub(simd::vcvt_vd_vi2_lo(simd::vshuffle_vi2_vi2<0x08>(e)), SD::set1(1023.0));
    }
    int fix(double x, double& y) const { return logb_scalar(x, y); }
};

struct SingleLogb {
    using T = float;
    static constexpr int block = 16;
    static constexpr bool reads_mode = true;
    vf special(vf x) const {
        vi e = simd::vand_vi_vi_vi(SF::to_bits(x), simd::vset1_vi2_i(0x7F800000));
        return simd::vcast_vf_vi(simd::vor_vi_vi_vi(simd::veq_vi2_vi2_vi2(e, simd::vzero_vi()),
                                                    simd::veq_vi2_vi2_vi2(e, simd::vset1_vi2_i(0x7F800000))));
    }
    vf operator()(vf x) const {
        vi e = simd::vsrl_vi2_vi2_i(simd::vand_vi_vi_vi(SF::to_bits(x), simd::vset1_vi2_i(0x7F800000)), 23);
        return SF::sub(simd::vcvt_vf_vi2(e), SF::set1(127.0f));
    }
    int fix(float x, float& y) const { return logb_scalar(x, y); }
};

}  // namespace qor::vm::explog
