// Add and Sub, real.  Results are the IEEE sums, correctly rounded; an
// infinite sum of finite arguments reports overflow, inf - inf a domain
// error.  One kernel serves all three accuracy slots.
#pragma once

#include "../driver.h"
#include "../ieee_screen.h"

namespace qor::vm::arith {

template <class Real, bool Subtract>
struct AddOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    static constexpr uint32_t flag_screen = kFlagInvalid | kFlagOverflow;
    V operator()(V a, V b) const { return Subtract ? S::sub(a, b) : S::add(a, b); }
    V special(V, V, V r) const { return S::isnonfinite(r); }
    int fix(T a, T b, T& r) const { return ieee_code(a, b, r); }
};

}  // namespace qor::vm::arith
