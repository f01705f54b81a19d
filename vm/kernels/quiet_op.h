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
// per vector, so these loops read the mode, once, and take the plain
// variant (Fn<T, false>) otherwise.
namespace qor::vm {

template <template <class, bool> class Fn, class T, class... Views>
[[gnu::always_inline]] inline void run_quiet_under(uint32_t mode, int n, const char* name, Views... views) {
    using Plain = std::conditional_t<sizeof...(Views) == 2, QuietUnaryOp<T, Fn<T, false>>, QuietBinaryOp<T, Fn<T, false>>>;
    using Flushing = std::conditional_t<sizeof...(Views) == 2, QuietUnaryOp<T, Fn<T, true>>, QuietBinaryOp<T, Fn<T, true>>>;
    const uint32_t wanted = wanted_mxcsr(mode);
    if (wanted == kMxcsrFlushToZero)
        run_under(Flushing{}, wanted, n, name, views...);
    else
        run_under(Plain{}, wanted, n, name, views...);
}

// A thread whose mode is not set yet, out of line so that the kernel entry
// makes no call that returns to it.
template <template <class, bool> class Fn, class T, class... Views>
[[gnu::noinline, gnu::cold]] void run_quiet_first(int n, const char* name, Views... views) {
    run_quiet_under<Fn, T>(current_mode(), n, name, views...);
}

template <template <class, bool> class Fn, class T, class... Views>
[[gnu::always_inline]] inline void run_quiet(int n, const char* name, Views... views) {
    if (n <= 0) return;
    const uint32_t mode = cached_mode();
    if (mode == 0) [[unlikely]] return run_quiet_first<Fn, T>(n, name, views...);
    run_quiet_under<Fn, T>(mode, n, name, views...);
}

template <template <class, bool> class Fn, class T, class A, class R>
[[gnu::always_inline]] inline void run_quiet_unary(int n, A a, R r, const char* name) {
    run_quiet<Fn, T>(n, name, a, r);
}

template <template <class, bool> class Fn, class T, class A, class B, class R>
[[gnu::always_inline]] inline void run_quiet_binary(int n, A a, B b, R r, const char* name) {
    run_quiet<Fn, T>(n, name, a, b, r);
}

}  // namespace qor::vm

#define QOR_VM_QUIET_UNARY_KERNELS_FLUSH_AWARE(p, Name, T, Fn)                                           \
    QOR_EXTERN_C void qor_vmk_##p##Name##_HA(int n, const T* a, T* r) {                                  \
        qor::vm::run_quiet_unary<Fn, T>(n, qor::vm::Contig<T>(a), qor::vm::Contig<T>(r), "v" #p #Name);   \
    }                                                                                                   \
    QOR_EXTERN_C void qor_vmk_##p##Name##I_HA(int n, const T* a, int inca, T* r, int incr) {             \
        if (inca == 1 && incr == 1)                                                                     \
            qor::vm::run_quiet_unary<Fn, T>(n, qor::vm::Contig<T>(a), qor::vm::Contig<T>(r),              \
                                            "v" #p #Name "I");                                          \
        else                                                                                            \
            qor::vm::run_quiet_unary<Fn, T>(n, qor::vm::Strided<T>(a, inca), qor::vm::Strided<T>(r, incr), \
                                            "v" #p #Name "I");                                          \
    }

#define QOR_VM_QUIET_BINARY_KERNELS_FLUSH_AWARE(p, Name, T, Fn)                                          \
    QOR_EXTERN_C void qor_vmk_##p##Name##_HA(int n, const T* a, const T* b, T* r) {                      \
        qor::vm::run_quiet_binary<Fn, T>(n, qor::vm::Contig<T>(a), qor::vm::Contig<T>(b),                 \
                                         qor::vm::Contig<T>(r), "v" #p #Name);                          \
    }                                                                                                   \
    QOR_EXTERN_C void qor_vmk_##p##Name##I_HA(int n, const T* a, int inca, const T* b, int incb, T* r,    \
                                              int incr) {                                               \
        if (inca == 1 && incb == 1 && incr == 1)                                                        \
            qor::vm::run_quiet_binary<Fn, T>(n, qor::vm::Contig<T>(a), qor::vm::Contig<T>(b),             \
                                             qor::vm::Contig<T>(r), "v" #p #Name "I");                  \
        else                                                                                            \
            qor::vm::run_quiet_binary<Fn, T>(n, qor::vm::Strided<T>(a, inca), qor::vm::Strided<T>(b, incb), \
                                             qor::vm::Strided<T>(r, incr), "v" #p #Name "I");           \
    }
