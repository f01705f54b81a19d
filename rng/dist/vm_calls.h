// How distributions use the vector-math kernels: whole-array calls to a
// kernel table's slot with the flush-to-zero-off mode around each call, an
// error scope that routes the kernels' errors to a distribution's callback,
// and a scope that masks every floating-point exception for the call.
#pragma once

#include <xmmintrin.h>

#include <cstdint>
#include <type_traits>

#include "qor/qor_vm.h"

namespace qor::rng::dist {

enum Slot { kLA = 0, kHA = 1, kEP = 2 };

// Puts the thread's stored mode word back exactly as it was, whatever the
// body merged into it.
class ModeScope {
public:
    explicit ModeScope(uint32_t merged) : saved_(qor_lum_kernel_RestoreMode(qor_lum_kernel_GetMode())) {
        qor_lum_kernel_SetMode(merged);
    }
    ~ModeScope() { qor_lum_kernel_RestoreMode(saved_); }
    ModeScope(const ModeScope&) = delete;
    ModeScope& operator=(const ModeScope&) = delete;

private:
    uint32_t saved_;
};

// Errors reported by callback only, to `callback`; the previous callback
// and mode word come back on leaving (the callback first, since installing
// one also edits the mode).
class ErrorScope {
public:
    explicit ErrorScope(qor_vm_error_callback callback)
        : saved_mode_(qor_lum_kernel_RestoreMode(qor_lum_kernel_GetMode())),
          saved_callback_(qor_lum_kernel_GetErrorCallBack()) {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_CALLBACK);
        qor_lum_kernel_SetErrorCallBack(callback);
    }
    ~ErrorScope() {
        qor_lum_kernel_SetErrorCallBack(saved_callback_);
        qor_lum_kernel_RestoreMode(saved_mode_);
    }
    ErrorScope(const ErrorScope&) = delete;
    ErrorScope& operator=(const ErrorScope&) = delete;

private:
    uint32_t saved_mode_;
    qor_vm_error_callback saved_callback_;
};

// Every floating-point exception masked: the x87 control word with its six
// mask bits (OR 0x3F) and MXCSR with its six (OR 0x1F80), each loaded only
// if that changes it; both come back on leaving.
class MaskedExceptions {
public:
    MaskedExceptions() {
        asm volatile("fnstcw %0" : "=m"(x87_));
        mxcsr_ = _mm_getcsr();
        const uint16_t x87_masked = x87_ | 0x3F;
        if (x87_masked != x87_) asm volatile("fldcw %0" : : "m"(x87_masked) : "memory");
        if ((mxcsr_ | 0x1F80) != mxcsr_) _mm_setcsr(mxcsr_ | 0x1F80);
    }
    ~MaskedExceptions() {
        uint16_t x87_now;
        asm volatile("fnstcw %0" : "=m"(x87_now));
        if (x87_now != x87_) asm volatile("fldcw %0" : : "m"(x87_) : "memory");
        // The flags raised meanwhile stay raised; the control bits come back.
        const uint32_t now = _mm_getcsr();
        if ((now & ~0x3Fu) != (mxcsr_ & ~0x3Fu)) _mm_setcsr((mxcsr_ & ~0x3Fu) | (now & 0x3F));
    }
    MaskedExceptions(const MaskedExceptions&) = delete;
    MaskedExceptions& operator=(const MaskedExceptions&) = delete;

private:
    uint16_t x87_;
    uint32_t mxcsr_;
};

// The dispatch around a distribution whose kernels may fail: exceptions
// masked, errors to the callback.
struct GuardedCalls {
    explicit GuardedCalls(qor_vm_error_callback callback) : errors(callback) {}
    MaskedExceptions masked;
    ErrorScope errors;
};

// Whole-array kernel calls from a row's table, in place allowed, each run
// with flush-to-zero and denormals-are-zero off.
template <class T>
using UnaryKernel = void (*)(int, const T*, T*);
template <class T>
using ScalarKernel = void (*)(int, const T*, T, T*);
template <class T>
using TwoOutKernel = void (*)(int, const T*, T*, T*);

template <class K, class... Args>
void call_plain(qor_vm_kernel k, Args... args) {
    const ModeScope plain(QOR_VM_FTZDAZ_OFF);
    reinterpret_cast<K>(k)(args...);
}

#define QOR_RNG_DIST_VM_UNARY(name, Fn)                                                                   \
    template <class T>                                                                                    \
    void name(int32_t n, const T* a, T* r, Slot slot = kEP) {                                             \
        static_assert(std::is_same_v<T, double> || std::is_same_v<T, float>);                            \
        if constexpr (std::is_same_v<T, double>)                                                          \
            call_plain<UnaryKernel<T>>(qor_lum_kernel_d##Fn##_ttab[slot], int{n}, a, r);                  \
        else                                                                                              \
            call_plain<UnaryKernel<T>>(qor_lum_kernel_s##Fn##_ttab[slot], int{n}, a, r);                  \
    }
QOR_RNG_DIST_VM_UNARY(vm_ln, Ln)
QOR_RNG_DIST_VM_UNARY(vm_exp, Exp)
QOR_RNG_DIST_VM_UNARY(vm_expm1, Expm1)
QOR_RNG_DIST_VM_UNARY(vm_sqrt, Sqrt)
QOR_RNG_DIST_VM_UNARY(vm_sin, Sin)
QOR_RNG_DIST_VM_UNARY(vm_tan, Tan)
QOR_RNG_DIST_VM_UNARY(vm_erfinv, ErfInv)
#undef QOR_RNG_DIST_VM_UNARY

template <class T>
void vm_sincos(int32_t n, const T* a, T* sin, T* cos, Slot slot = kEP) {
    if constexpr (std::is_same_v<T, double>)
        call_plain<TwoOutKernel<T>>(qor_lum_kernel_dSinCos_ttab[slot], int{n}, a, sin, cos);
    else
        call_plain<TwoOutKernel<T>>(qor_lum_kernel_sSinCos_ttab[slot], int{n}, a, sin, cos);
}

template <class T>
void vm_powx(int32_t n, const T* a, T b, T* r, Slot slot = kEP) {
    if constexpr (std::is_same_v<T, double>)
        call_plain<ScalarKernel<T>>(qor_lum_kernel_dPowx_ttab[slot], int{n}, a, b, r);
    else
        call_plain<ScalarKernel<T>>(qor_lum_kernel_sPowx_ttab[slot], int{n}, a, b, r);
}

}  // namespace qor::rng::dist
