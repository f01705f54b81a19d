// The element-wise loop shared by the real kernels.  A kernel is an Op:
//
//   struct Op {
//       using T = float or double;
//       static constexpr bool reads_mode;    // false: never flush to zero
//       V operator()(V a[, V b]) const;      // vector path, every element
//       V special(V a, [V b,] V r) const;    // lanes for the scalar routine
//       int fix(T a, [T b,] T& r) const;     // scalar routine: result, code
//   };
//
// An Op whose only exceptional results come from IEEE exceptions may also
// declare `static constexpr uint32_t flag_screen` (MXCSR flag bits).  Then,
// for contiguous arrays that do not overlap, the loop skips the per-block
// screen and judges each chunk by the flags it raised, rescanning only a
// chunk that raised one.
//
// The loop applies the floating-point protocol, runs blocks of four vectors
// with one screen per block, and sends each marked element, in increasing
// index order, to the scalar routine and, when it returns a non-zero code,
// to the reporter.  Arrays are reached through Contig or Strided views so
// that one loop serves both forms.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "../frame/error_report.h"
#include "../frame/fp_env.h"
#include "../frame/thread_state.h"
#include "simd.h"

namespace qor::vm {

using std::ptrdiff_t;

template <class T>
struct Contig {
    using S = simd::Simd<T>;
    T* p;
    explicit Contig(const T* q) : p(const_cast<T*>(q)) {}
    static constexpr ptrdiff_t inc = 1;
    T& at(ptrdiff_t i) const { return p[i]; }
    typename S::V load(ptrdiff_t i) const { return S::load(p + i); }
    void store(ptrdiff_t i, typename S::V x) const { S::store(p + i, x); }
};

template <class T>
struct Strided {
    using S = simd::Simd<T>;
    T* p;
    ptrdiff_t inc;
    Strided(const T* q, int step) : p(const_cast<T*>(q)), inc(step) {}
    T& at(ptrdiff_t i) const { return p[i * inc]; }
    typename S::V load(ptrdiff_t i) const { return S::gather(p + i * inc, inc); }
    void store(ptrdiff_t i, typename S::V x) const { S::scatter(p + i * inc, inc, x); }
};

template <class T> struct IsContig : std::false_type {};
template <class T> struct IsContig<Contig<T>> : std::true_type {};

template <class Op>
concept FlagScreened = requires { Op::flag_screen; };

constexpr ptrdiff_t kFlagChunk = 512;

template <class T>
bool disjoint(const T* x, const T* y, ptrdiff_t n) {
    auto px = reinterpret_cast<uintptr_t>(x), py = reinterpret_cast<uintptr_t>(y);
    auto bytes = uintptr_t(n) * sizeof(T);
    return px + bytes <= py || py + bytes <= px;
}

template <class Op>
uint32_t kernel_mxcsr() {
    return Op::reads_mode ? wanted_mxcsr(current_mode()) : kMxcsrPlain;
}

// Copies the last count < lanes elements into a full vector, padding with
// the first of them so that padding raises no flag of its own.
template <class T, class View>
typename simd::Simd<T>::V load_partial(View v, ptrdiff_t i, int count) {
    alignas(16) T t[simd::Simd<T>::lanes];
    for (int k = 0; k < simd::Simd<T>::lanes; ++k) t[k] = v.at(i + (k < count ? k : 0));
    return simd::Simd<T>::load(t);
}

template <class T, class View>
void store_partial(View v, ptrdiff_t i, int count, typename simd::Simd<T>::V x) {
    alignas(16) T t[simd::Simd<T>::lanes];
    simd::Simd<T>::store(t, x);
    for (int k = 0; k < count; ++k) v.at(i + k) = t[k];
}

// ---- one argument, one result ---------------------------------------------
// The scalar routine takes each argument from xs (xs[k] is the argument of
// element i + k, saved before the results were stored), so that a call whose
// output overwrites its input still sees the argument.
template <class Op, class A, class R>
void fix_unary(const Op& op, ptrdiff_t i, unsigned bits, const typename Op::T* xs, A a, R r, const char* name) {
    using T = typename Op::T;
    for (; bits; bits &= bits - 1) {
        int k = __builtin_ctz(bits);
        ptrdiff_t j = i + k;
        T res = r.at(j);
        int code = op.fix(xs[k], res);
        r.at(j) = res;
        if (code) report_strided<T>(code, int(j), a.p, int(a.inc), a.p, int(a.inc), r.p, int(r.inc), r.p, int(r.inc), name);
    }
}

template <class Op, class A, class R>
void run_unary(const Op& op, int n, A a, R r, const char* name) {
    using T = typename Op::T;
    using S = simd::Simd<T>;
    using V = typename S::V;
    constexpr int L = S::lanes;
    FpEnvironment env(kernel_mxcsr<Op>());
    ptrdiff_t i = 0;
    if constexpr (FlagScreened<Op> && IsContig<A>::value && IsContig<R>::value) {
        if (disjoint(a.p, r.p, n)) {
            const ptrdiff_t whole = n - n % (4 * L);
            env.clear_flags(Op::flag_screen);
            for (; i < whole; i += kFlagChunk) {
                const ptrdiff_t end = i + kFlagChunk < whole ? i + kFlagChunk : whole;
                for (ptrdiff_t j = i; j < end; j += 4 * L) {
                    r.store(j, op(a.load(j)));
                    r.store(j + L, op(a.load(j + L)));
                    r.store(j + 2 * L, op(a.load(j + 2 * L)));
                    r.store(j + 3 * L, op(a.load(j + 3 * L)));
                }
                if (env.flags() & Op::flag_screen) {
                    for (ptrdiff_t j = i; j < end; j += L) {
                        V x = a.load(j);
                        if (unsigned bits = S::movemask(op.special(x, r.load(j)))) {
                            alignas(16) T xs[L];
                            S::store(xs, x);
                            fix_unary(op, j, bits, xs, a, r, name);
                        }
                    }
                    env.clear_flags(Op::flag_screen);
                }
            }
            i = whole;
        }
    }
    for (; i + 4 * L <= n; i += 4 * L) {
        V x0 = a.load(i), x1 = a.load(i + L), x2 = a.load(i + 2 * L), x3 = a.load(i + 3 * L);
        V y0 = op(x0), y1 = op(x1), y2 = op(x2), y3 = op(x3);
        r.store(i, y0);
        r.store(i + L, y1);
        r.store(i + 2 * L, y2);
        r.store(i + 3 * L, y3);
        V m = S::bit_or(S::bit_or(op.special(x0, y0), op.special(x1, y1)),
                        S::bit_or(op.special(x2, y2), op.special(x3, y3)));
        if (S::movemask(m)) {
            unsigned bits = S::movemask(op.special(x0, y0)) | S::movemask(op.special(x1, y1)) << L |
                            S::movemask(op.special(x2, y2)) << 2 * L | S::movemask(op.special(x3, y3)) << 3 * L;
            alignas(16) T xs[4 * L];
            S::store(xs, x0);
            S::store(xs + L, x1);
            S::store(xs + 2 * L, x2);
            S::store(xs + 3 * L, x3);
            fix_unary(op, i, bits, xs, a, r, name);
        }
    }
    for (; i < n; i += L) {
        int count = n - i < L ? int(n - i) : L;
        V x = count == L ? a.load(i) : load_partial<T>(a, i, count);
        V y = op(x);
        if (count == L) r.store(i, y); else store_partial<T>(r, i, count, y);
        if (unsigned bits = S::movemask(op.special(x, y)) & ((1u << count) - 1)) {
            alignas(16) T xs[L];
            S::store(xs, x);
            fix_unary(op, i, bits, xs, a, r, name);
        }
    }
}

// ---- two arguments, one result --------------------------------------------
template <class Op, class A, class B, class R>
void fix_binary(const Op& op, ptrdiff_t i, unsigned bits, const typename Op::T* xs, const typename Op::T* zs, A a,
                B b, R r, const char* name) {
    using T = typename Op::T;
    for (; bits; bits &= bits - 1) {
        int k = __builtin_ctz(bits);
        ptrdiff_t j = i + k;
        T res = r.at(j);
        int code = op.fix(xs[k], zs[k], res);
        r.at(j) = res;
        if (code) report_strided<T>(code, int(j), a.p, int(a.inc), b.p, int(b.inc), r.p, int(r.inc), r.p, int(r.inc), name);
    }
}

template <class Op, class A, class B, class R>
void run_binary(const Op& op, int n, A a, B b, R r, const char* name) {
    using T = typename Op::T;
    using S = simd::Simd<T>;
    using V = typename S::V;
    constexpr int L = S::lanes;
    FpEnvironment env(kernel_mxcsr<Op>());
    ptrdiff_t i = 0;
    if constexpr (FlagScreened<Op> && IsContig<A>::value && IsContig<B>::value && IsContig<R>::value) {
        if (disjoint(a.p, r.p, n) && disjoint(b.p, r.p, n)) {
            const ptrdiff_t whole = n - n % (4 * L);
            env.clear_flags(Op::flag_screen);
            for (; i < whole; i += kFlagChunk) {
                const ptrdiff_t end = i + kFlagChunk < whole ? i + kFlagChunk : whole;
                for (ptrdiff_t j = i; j < end; j += 4 * L) {
                    r.store(j, op(a.load(j), b.load(j)));
                    r.store(j + L, op(a.load(j + L), b.load(j + L)));
                    r.store(j + 2 * L, op(a.load(j + 2 * L), b.load(j + 2 * L)));
                    r.store(j + 3 * L, op(a.load(j + 3 * L), b.load(j + 3 * L)));
                }
                if (env.flags() & Op::flag_screen) {
                    for (ptrdiff_t j = i; j < end; j += L) {
                        V x = a.load(j), z = b.load(j);
                        if (unsigned bits = S::movemask(op.special(x, z, r.load(j)))) {
                            alignas(16) T xs[L], zs[L];
                            S::store(xs, x);
                            S::store(zs, z);
                            fix_binary(op, j, bits, xs, zs, a, b, r, name);
                        }
                    }
                    env.clear_flags(Op::flag_screen);
                }
            }
            i = whole;
        }
    }
    for (; i + 4 * L <= n; i += 4 * L) {
        V x0 = a.load(i), x1 = a.load(i + L), x2 = a.load(i + 2 * L), x3 = a.load(i + 3 * L);
        V z0 = b.load(i), z1 = b.load(i + L), z2 = b.load(i + 2 * L), z3 = b.load(i + 3 * L);
        V y0 = op(x0, z0), y1 = op(x1, z1), y2 = op(x2, z2), y3 = op(x3, z3);
        r.store(i, y0);
        r.store(i + L, y1);
        r.store(i + 2 * L, y2);
        r.store(i + 3 * L, y3);
        V m0 = op.special(x0, z0, y0), m1 = op.special(x1, z1, y1);
        V m2 = op.special(x2, z2, y2), m3 = op.special(x3, z3, y3);
        if (S::movemask(S::bit_or(S::bit_or(m0, m1), S::bit_or(m2, m3)))) {
            unsigned bits = S::movemask(m0) | S::movemask(m1) << L | S::movemask(m2) << 2 * L |
                            S::movemask(m3) << 3 * L;
            alignas(16) T xs[4 * L], zs[4 * L];
            S::store(xs, x0);
            S::store(xs + L, x1);
            S::store(xs + 2 * L, x2);
            S::store(xs + 3 * L, x3);
            S::store(zs, z0);
            S::store(zs + L, z1);
            S::store(zs + 2 * L, z2);
            S::store(zs + 3 * L, z3);
            fix_binary(op, i, bits, xs, zs, a, b, r, name);
        }
    }
    for (; i < n; i += L) {
        int count = n - i < L ? int(n - i) : L;
        V x = count == L ? a.load(i) : load_partial<T>(a, i, count);
        V z = count == L ? b.load(i) : load_partial<T>(b, i, count);
        V y = op(x, z);
        if (count == L) r.store(i, y); else store_partial<T>(r, i, count, y);
        if (unsigned bits = S::movemask(op.special(x, z, y)) & ((1u << count) - 1)) {
            alignas(16) T xs[L], zs[L];
            S::store(xs, x);
            S::store(zs, z);
            fix_binary(op, i, bits, xs, zs, a, b, r, name);
        }
    }
}

// ---- one argument, two results --------------------------------------------
template <class Op, class A, class R1, class R2>
void run_unary2(const Op& op, int n, A a, R1 r1, R2 r2, const char* name) {
    using T = typename Op::T;
    using S = simd::Simd<T>;
    using V = typename S::V;
    constexpr int L = S::lanes;
    FpEnvironment env(kernel_mxcsr<Op>());
    for (ptrdiff_t i = 0; i < n; i += L) {
        int count = n - i < L ? int(n - i) : L;
        V x = count == L ? a.load(i) : load_partial<T>(a, i, count);
        V y1, y2;
        op(x, y1, y2);
        if (count == L) {
            r1.store(i, y1);
            r2.store(i, y2);
        } else {
            store_partial<T>(r1, i, count, y1);
            store_partial<T>(r2, i, count, y2);
        }
        unsigned bits = S::movemask(op.special(x, y1, y2)) & ((1u << count) - 1);
        if (!bits) continue;
        alignas(16) T xs[L];
        S::store(xs, x);
        for (; bits; bits &= bits - 1) {
            int k = __builtin_ctz(bits);
            ptrdiff_t j = i + k;
            T res1 = r1.at(j), res2 = r2.at(j);
            int code = op.fix(xs[k], res1, res2);
            r1.at(j) = res1;
            r2.at(j) = res2;
            if (code)
                report_strided<T>(code, int(j), a.p, int(a.inc), a.p, int(a.inc), r1.p, int(r1.inc), r2.p,
                                  int(r2.inc), name);
        }
    }
}

}  // namespace qor::vm

// Kernel definitions for the rows of one function slot: the contiguous
// kernel and the strided one, which takes the contiguous views when every
// increment is 1.  `loop(op, n, views..., name)` is the element loop, and
// Contig/Strided the view templates it takes; the family macros below and
// those of the other loops are these forms with their own loop.
#define QOR_VM_UNARY_FORMS(loop, op, Contig, Strided, p, Fn, slot, T)                                    \
    QOR_EXTERN_C void qor_vmk_##p##Fn##_##slot(int n, const T* a, T* r) {                               \
        loop(op, n, Contig<T>(a), Contig<T>(r), "v" #p #Fn);                                            \
    }                                                                                                   \
    QOR_EXTERN_C void qor_vmk_##p##Fn##I_##slot(int n, const T* a, int inca, T* r, int incr) {          \
        if (inca == 1 && incr == 1)                                                                     \
            loop(op, n, Contig<T>(a), Contig<T>(r), "v" #p #Fn "I");                                    \
        else                                                                                            \
            loop(op, n, Strided<T>(a, inca), Strided<T>(r, incr), "v" #p #Fn "I");                      \
    }

#define QOR_VM_BINARY_FORMS(loop, op, Contig, Strided, p, Fn, slot, T)                                   \
    QOR_EXTERN_C void qor_vmk_##p##Fn##_##slot(int n, const T* a, const T* b, T* r) {                   \
        loop(op, n, Contig<T>(a), Contig<T>(b), Contig<T>(r), "v" #p #Fn);                              \
    }                                                                                                   \
    QOR_EXTERN_C void qor_vmk_##p##Fn##I_##slot(int n, const T* a, int inca, const T* b, int incb, T* r, \
                                                int incr) {                                             \
        if (inca == 1 && incb == 1 && incr == 1)                                                        \
            loop(op, n, Contig<T>(a), Contig<T>(b), Contig<T>(r), "v" #p #Fn "I");                      \
        else                                                                                            \
            loop(op, n, Strided<T>(a, inca), Strided<T>(b, incb), Strided<T>(r, incr), "v" #p #Fn "I"); \
    }

#define QOR_VM_UNARY_KERNELS(p, Fn, slot, T, op) \
    QOR_VM_UNARY_FORMS(qor::vm::run_unary, op, qor::vm::Contig, qor::vm::Strided, p, Fn, slot, T)

#define QOR_VM_BINARY_KERNELS(p, Fn, slot, T, op) \
    QOR_VM_BINARY_FORMS(qor::vm::run_binary, op, qor::vm::Contig, qor::vm::Strided, p, Fn, slot, T)

#define QOR_VM_UNARY2_KERNELS(p, Fn, slot, T, op)                                                       \
    QOR_EXTERN_C void qor_vmk_##p##Fn##_##slot(int n, const T* a, T* r1, T* r2) {                       \
        qor::vm::run_unary2(op, n, qor::vm::Contig<T>(a), qor::vm::Contig<T>(r1), qor::vm::Contig<T>(r2), \
                            "v" #p #Fn);                                                                \
    }                                                                                                   \
    QOR_EXTERN_C void qor_vmk_##p##Fn##I_##slot(int n, const T* a, int inca, T* r1, int incr1, T* r2,    \
                                                int incr2) {                                            \
        if (inca == 1 && incr1 == 1 && incr2 == 1)                                                      \
            qor::vm::run_unary2(op, n, qor::vm::Contig<T>(a), qor::vm::Contig<T>(r1),                   \
                                qor::vm::Contig<T>(r2), "v" #p #Fn "I");                                \
        else                                                                                            \
            qor::vm::run_unary2(op, n, qor::vm::Strided<T>(a, inca), qor::vm::Strided<T>(r1, incr1),    \
                                qor::vm::Strided<T>(r2, incr2), "v" #p #Fn "I");                        \
    }
