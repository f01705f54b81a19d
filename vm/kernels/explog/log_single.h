// The single-precision arithmetic logarithms of the LA and EP kernels:
// x = 2^k m with m in [0.75, 1.5) and f = m - 1 (exact), then
//   LA: ln m = 2 atanh(s) = 2s + s^3 Q(s^2) with s = f/(m + 1), Q of degree
//       2 (relative error of Q 2^-20.4; results within about 2 ulp);
//   EP: ln m = f W(f), W of degree 4 (relative error 2^-14.3).
// Valid for positive normal floats.
#pragma once

#include <bit>
#include <cstdint>

#include "../exp_log_loop.h"
#include "../lanes.h"
#include "../variant.h"

namespace qor::vm::log_single {

using vm::Variant;

inline constexpr float kQ2f[3] = {flt(0x3E9960CEu), flt(0x3ECCB13Eu), flt(0x3F2AAAB3u)};
inline constexpr float kW4f[5] = {flt(0x3E0D6979u), flt(0xBE840F0Au), flt(0x3EAD4EF1u), flt(0xBEFFFD7Cu),
                                  flt(0x3F7FFCA4u)};
inline constexpr float kLn2HiF = flt(0x3F318000u);  // 9 bits: k * hi exact
inline constexpr float kLn2LoF = flt(0xB95E8083u);
inline constexpr float kLog10Of2HiF = flt(0x3E9A2100u);  // 16 bits: k * hi exact
inline constexpr float kLog10Of2LoF = flt(0xB64AF608u);
inline constexpr float kLog10eF = flt(0x3EDE5BD9u);

inline void split(vf x, vf& k, vf& m) {
    const vi tmp = simd::vsub_vi2_vi2_vi2(SF::to_bits(x), simd::vset1_vi2_i(0x3F400000));  // less 0.75f
    const vi ki = simd::vsra_vi2_vi2_i(tmp, 23);
    m = simd::vcast_vf_vi(simd::vsub_vi2_vi2_vi2(SF::to_bits(x), simd::vsll_vi2_vi2_i(ki, 23)));
    k = simd::vcvt_vf_vi2(ki);
}

// ln x = k ln 2 + lnm.
template <Variant V>
inline void ln_parts(vf x, vf& k, vf& lnm) {
    vf m;
    split(x, k, m);
    const vf f = SF::sub(m, SF::set1(1.0f));
    if constexpr (V == Variant::LA) {
        const vf s = SF::div(f, SF::add(m, SF::set1(1.0f)));
        const vf z = SF::mul(s, s);
        lnm = SF::add(SF::add(s, s), SF::mul(SF::mul(s, z), lanes::horner<SF>(z, kQ2f)));
    } else {
        lnm = SF::mul(f, lanes::horner<SF>(f, kW4f));
    }
}

template <Variant V>
inline vf ln(vf x) {
    vf k, lnm;
    ln_parts<V>(x, k, lnm);
    return SF::add(SF::mul(k, SF::set1(kLn2HiF)), SF::add(SF::mul(k, SF::set1(kLn2LoF)), lnm));
}

}  // namespace qor::vm::log_single
