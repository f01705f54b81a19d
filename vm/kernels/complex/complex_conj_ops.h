// Complex Conj: the imaginary part's sign bit flipped, every other bit kept
// (NaN payloads included).  Nothing can go wrong, so nothing is reported;
// one kernel serves all three accuracy slots.
#pragma once

#include "../complex_driver.h"

namespace qor::vm::complex {

template <class Complex>
struct ConjOp {
    using C = Complex;
    using S = simd::CSimd<C>;
    using V = typename S::V;
    static constexpr bool reads_mode = false;
    static constexpr bool screens = false;
    V operator()(V a) const { return S::bit_xor(a, S::im_sign()); }
};

}  // namespace qor::vm::complex
