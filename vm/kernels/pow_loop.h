// The element loops of the power kernels.  Their vector path decides which
// lanes it cannot finish (the range screen needs y ln x, a value of the
// computation), so an Op returns the mark with the result:
//
//   struct Op {                             // Pow, Powr
//       using T = float or double;
//       static constexpr bool reads_mode;
//       V operator()(V x, V y, V& mark) const;
//       int fix(T x, T y, T& r) const;      // scalar routine: result, code
//   };
//   struct Op {                             // Powx: the exponent is a member
//       ...
//       T exponent() const;
//       V operator()(V x, V& mark) const;
//       int fix(T x, T& r) const;
//   };
//
// Blocks of four vectors share one test of the marks; marked elements go,
// in increasing index order and with their arguments as loaded, to the
// scalar routine and, with a non-zero code, to the reporter.  A Powx report
// names the exponent as its second argument.
#pragma once

#include "driver.h"

namespace qor::vm {

template <class Op, class A, class B, class R>
void run_marked_binary(const Op& op, int n, A a, B b, R r, const char* name) {
    using T = typename Op::T;
    using S = simd::Simd<T>;
    using V = typename S::V;
    constexpr int L = S::lanes;
    FpEnvironment env(kernel_mxcsr<Op>());
    ptrdiff_t i = 0;
    for (; i + 4 * L <= n; i += 4 * L) {
        V x[4], z[4], m[4];
        for (int v = 0; v < 4; ++v) {
            x[v] = a.load(i + v * L);
            z[v] = b.load(i + v * L);
            r.store(i + v * L, op(x[v], z[v], m[v]));
        }
        if (S::movemask(S::bit_or(S::bit_or(m[0], m[1]), S::bit_or(m[2], m[3])))) {
            unsigned bits = 0;
            alignas(16) T xs[4 * L], zs[4 * L];
            for (int v = 0; v < 4; ++v) {
                bits |= unsigned(S::movemask(m[v])) << (v * L);
                S::store(xs + v * L, x[v]);
                S::store(zs + v * L, z[v]);
            }
            fix_binary(op, i, bits, xs, zs, a, b, r, name);
        }
    }
    for (; i < n; i += L) {
        const int count = n - i < L ? int(n - i) : L;
        V x = count == L ? a.load(i) : load_partial<T>(a, i, count);
        V z = count == L ? b.load(i) : load_partial<T>(b, i, count);
        V m;
        V y = op(x, z, m);
        if (count == L) r.store(i, y); else store_partial<T>(r, i, count, y);
        if (unsigned bits = unsigned(S::movemask(m)) & ((1u << count) - 1)) {
            alignas(16) T xs[L], zs[L];
            S::store(xs, x);
            S::store(zs, z);
            fix_binary(op, i, bits, xs, zs, a, b, r, name);
        }
    }
}

template <class Op, class A, class R>
void fix_with_exponent(const Op& op, ptrdiff_t i, unsigned bits, const typename Op::T* xs, A a, R r,
                       const char* name) {
    using T = typename Op::T;
    const T b = op.exponent();
    for (; bits; bits &= bits - 1) {
        const int k = __builtin_ctz(bits);
        const ptrdiff_t j = i + k;
        T res = r.at(j);
        const int code = op.fix(xs[k], res);
        r.at(j) = res;
        if (code) report_strided<T>(code, int(j), a.p, int(a.inc), &b, 0, r.p, int(r.inc), r.p, int(r.inc), name);
    }
}

template <class Op, class A, class R>
void run_marked_unary(const Op& op, int n, A a, R r, const char* name) {
    using T = typename Op::T;
    using S = simd::Simd<T>;
    using V = typename S::V;
    constexpr int L = S::lanes;
    FpEnvironment env(kernel_mxcsr<Op>());
    ptrdiff_t i = 0;
    for (; i + 4 * L <= n; i += 4 * L) {
        V x[4], m[4];
        for (int v = 0; v < 4; ++v) {
            x[v] = a.load(i + v * L);
            r.store(i + v * L, op(x[v], m[v]));
        }
        if (S::movemask(S::bit_or(S::bit_or(m[0], m[1]), S::bit_or(m[2], m[3])))) {
            unsigned bits = 0;
            alignas(16) T xs[4 * L];
            for (int v = 0; v < 4; ++v) {
                bits |= unsigned(S::movemask(m[v])) << (v * L);
                S::store(xs + v * L, x[v]);
            }
            fix_with_exponent(op, i, bits, xs, a, r, name);
        }
    }
    for (; i < n; i += L) {
        const int count = n - i < L ? int(n - i) : L;
        V x = count == L ? a.load(i) : load_partial<T>(a, i, count);
        V m;
        V y = op(x, m);
        if (count == L) r.store(i, y); else store_partial<T>(r, i, count, y);
        if (unsigned bits = unsigned(S::movemask(m)) & ((1u << count) - 1)) {
            alignas(16) T xs[L];
            S::store(xs, x);
            fix_with_exponent(op, i, bits, xs, a, r, name);
        }
    }
}

}  // namespace qor::vm

// The contiguous and strided kernels of Pow or Powr for one slot.
#define QOR_VM_POW_KERNELS(p, Fn, slot, T, op) \
    QOR_VM_BINARY_FORMS(qor::vm::run_marked_binary, op, qor::vm::Contig, qor::vm::Strided, p, Fn, slot, T)

// The contiguous and strided kernels of Powx for one slot; `run` is a
// function template run<A, R>(n, a, b, r, name) that picks the method for
// the exponent b and runs the loop.
#define QOR_VM_POWX_KERNELS(p, slot, T, run)                                                               \
    QOR_EXTERN_C void qor_vmk_##p##Powx_##slot(int n, const T* a, T b, T* r) {                              \
        run(n, qor::vm::Contig<T>(a), b, qor::vm::Contig<T>(r), "v" #p "Powx");                             \
    }                                                                                                       \
    QOR_EXTERN_C void qor_vmk_##p##PowxI_##slot(int n, const T* a, int inca, T b, T* r, int incr) {         \
        if (inca == 1 && incr == 1)                                                                         \
            run(n, qor::vm::Contig<T>(a), b, qor::vm::Contig<T>(r), "v" #p "PowxI");                        \
        else                                                                                                \
            run(n, qor::vm::Strided<T>(a, inca), b, qor::vm::Strided<T>(r, incr), "v" #p "PowxI");          \
    }
