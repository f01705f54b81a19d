// Sqrt, real: the IEEE square root, correctly rounded; sqrt(-0) = -0.  A NaN
// result from a number (a negative argument) is a domain error; it raises
// the invalid flag, which screens contiguous runs.
#pragma once

#include <cmath>

#include "../driver.h"

namespace qor::vm::arith {

template <class Real>
struct SqrtOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    static constexpr uint32_t flag_screen = kFlagInvalid;
    V operator()(V a) const { return S::sqrt(a); }
    V special(V, V r) const { return S::isnan(r); }
    int fix(T a, T&) const { return std::isnan(a) ? QOR_VM_STATUS_OK : QOR_VM_STATUS_DOMAIN; }
};

}  // namespace qor::vm::arith
