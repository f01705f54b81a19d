// Ops for functions whose every element, special values included, is
// finished by the vector path: the screen marks nothing and the scalar
// routine is never reached (these functions report no errors).  Fn supplies
// `static V apply(V a)` or `static V apply(V a, V b)` over Simd<T>.
#pragma once

#include <type_traits>

#include "driver.h"

namespace qor::vm {

template <class Real, class Fn>
struct QuietUnaryOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    V operator()(V a) const { return Fn::apply(a); }
    V special(V, V) const { return S::set1(T(0)); }
    int fix(T, T&) const { return QOR_VM_STATUS_OK; }
};

template <class Real, class Fn>
struct QuietBinaryOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    V operator()(V a, V b) const { return Fn::apply(a, b); }
    V special(V, V, V) const { return S::set1(T(0)); }
    int fix(T, T, T&) const { return QOR_VM_STATUS_OK; }
};

}  // namespace qor::vm

// Kernels made of bit operations see no DAZ: under the flush-to-zero mode
// they flush subnormals themselves (Fn<T, true>), which costs an operation
// per vector, so the method reads the mode once, picks the plain variant
// (Fn<T, false>) otherwise, and hands the loop the control it computed.
namespace qor::vm {

template <template <class, bool> class Fn, class T, template <class, class> class Quiet>
struct ByFlushMode {
    template <class Go>
    void operator()(Go&& go) const {
        uint32_t mode = cached_mode();
        if (!mode) [[unlikely]] mode = current_mode();
        const uint32_t wanted = wanted_mxcsr(mode);
        if (wanted == kMxcsrFlushToZero) go(Quiet<T, Fn<T, true>>{}, wanted);
        else go(Quiet<T, Fn<T, false>>{}, wanted);
    }
};

}  // namespace qor::vm
