// Mul, Div, Inv (1/x) and Sqr (x*x), real: the IEEE operations, correctly
// rounded.  The vector path screens each block for non-finite results; the
// scalar routine names the cause: a NaN from non-NaN arguments (inf * 0,
// 0 / 0, inf / inf) is a domain error, an infinity from finite arguments a
// pole when it comes from a zero divisor and an overflow otherwise.  Each of
// those raises an IEEE flag, so contiguous runs are judged by the flags (see
// driver.h) and skip the per-block screen.  One kernel serves all three
// accuracy slots.
#pragma once

#include <cmath>

#include "../driver.h"
#include "../ieee_screen.h"

namespace qor::vm::arith {

template <class T>
int division_code(T a, T b, T r) {
    if (std::isnan(r)) return (std::isnan(a) || std::isnan(b)) ? QOR_VM_STATUS_OK : QOR_VM_STATUS_DOMAIN;
    if (std::isinf(r) && std::isfinite(a) && std::isfinite(b))
        return b == T(0) ? QOR_VM_STATUS_SING : QOR_VM_STATUS_OVERFLOW;
    return QOR_VM_STATUS_OK;
}

template <class Real>
struct MulOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    static constexpr uint32_t flag_screen = kFlagInvalid | kFlagOverflow;
    V operator()(V a, V b) const { return S::mul(a, b); }
    V special(V, V, V r) const { return S::isnonfinite(r); }
    int fix(T a, T b, T& r) const { return ieee_code(a, b, r); }
};

template <class Real>
struct DivOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    static constexpr uint32_t flag_screen = kFlagInvalid | kFlagDivideByZero | kFlagOverflow;
    V operator()(V a, V b) const { return S::div(a, b); }
    V special(V, V, V r) const { return S::isnonfinite(r); }
    int fix(T a, T b, T& r) const { return division_code(a, b, r); }
};

template <class Real>
struct InvOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    static constexpr uint32_t flag_screen = kFlagDivideByZero | kFlagOverflow;
    V operator()(V a) const { return S::div(S::set1(T(1)), a); }
    V special(V, V r) const { return S::isnonfinite(r); }
    int fix(T a, T& r) const { return division_code(T(1), a, r); }
};

template <class Real>
struct SqrOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    static constexpr uint32_t flag_screen = kFlagOverflow;
    V operator()(V a) const { return S::mul(a, a); }
    V special(V, V r) const { return S::isnonfinite(r); }
    int fix(T a, T& r) const { return ieee_code(a, r); }
};

}  // namespace qor::vm::arith
