// The element-wise loop shared by the complex kernels.  A kernel is an Op:
//
//   struct Op {
//       using C = qor_complex8 or qor_complex16;
//       static constexpr bool reads_mode;   // false: never flush to zero
//       static constexpr bool screens;      // false: no screen, no reports
//       V operator()(V a[, V b]) const;     // vector path, every element
//       V special(V a, [V b,] V r) const;   // lanes whose element needs fixing
//       int fix(C a, [C b,] C& r) const;    // scalar routine: result, code
//   };                                      // (special and fix only if screens)
//
// The loop applies the floating-point protocol and runs blocks of four
// registers (four double or eight single complex elements) with one screen
// per block.  Each marked element goes, in increasing index order, to the
// scalar routine with the arguments the vector path saw (so an in-place call
// is fixed from its true arguments) and, when that returns a non-zero code,
// to the complex reporter with real and imaginary parts.
#pragma once

#include <cstddef>

#include "../frame/error_report.h"
#include "../frame/fp_env.h"
#include "../frame/thread_state.h"
#include "complex_simd.h"
#include "driver.h"

namespace qor::vm {

template <class C>
struct ComplexContig {
    using S = simd::CSimd<C>;
    C* p;
    static constexpr std::ptrdiff_t inc = 1;
    explicit ComplexContig(const C* q) : p(const_cast<C*>(q)) {}
    C& at(std::ptrdiff_t i) const { return p[i]; }
    typename S::V load(std::ptrdiff_t i) const { return S::load(p + i); }
    void store(std::ptrdiff_t i, typename S::V x) const { S::store(p + i, x); }
    typename S::V load_one(std::ptrdiff_t i) const { return S::load_one(p + i); }
    void store_one(std::ptrdiff_t i, typename S::V x) const { S::store_one(p + i, x); }
};

// Element i at p[i * inc]; increments count elements.
template <class C>
struct ComplexStrided {
    using S = simd::CSimd<C>;
    C* p;
    std::ptrdiff_t inc;
    ComplexStrided(const C* q, int step) : p(const_cast<C*>(q)), inc(step) {}
    C& at(std::ptrdiff_t i) const { return p[i * inc]; }
    typename S::V load(std::ptrdiff_t i) const { return S::gather(p + i * inc, inc); }
    void store(std::ptrdiff_t i, typename S::V x) const { S::scatter(p + i * inc, inc, x); }
    typename S::V load_one(std::ptrdiff_t i) const { return S::load_one(p + i * inc); }
    void store_one(std::ptrdiff_t i, typename S::V x) const { S::store_one(p + i * inc, x); }
};

template <class Op>
uint32_t complex_kernel_mxcsr() {
    return Op::reads_mode ? wanted_mxcsr(current_mode()) : kMxcsrPlain;
}

// ---- one argument, one result ---------------------------------------------
template <class Op, class A, class R>
void fix_complex_unary(const Op& op, std::ptrdiff_t i, unsigned bits, const typename Op::C* args, A a, R r,
                       const char* name) {
    using C = typename Op::C;
    for (; bits; bits &= bits - 1) {
        int k = __builtin_ctz(bits);
        std::ptrdiff_t j = i + k;
        C res = r.at(j);
        int code = op.fix(args[k], res);
        r.at(j) = res;
        if (code) report_strided<C>(code, int(j), a.p, int(a.inc), a.p, int(a.inc), r.p, int(r.inc), r.p, int(r.inc), name);
    }
}

template <class Op, class A, class R>
void run_complex_unary(const Op& op, int n, A a, R r, const char* name) {
    using C = typename Op::C;
    using S = simd::CSimd<C>;
    using V = typename S::V;
    constexpr int E = S::per_vector;
    FpEnvironment env(complex_kernel_mxcsr<Op>());
    std::ptrdiff_t i = 0;
    for (; i + 4 * E <= n; i += 4 * E) {
        V x0 = a.load(i), x1 = a.load(i + E), x2 = a.load(i + 2 * E), x3 = a.load(i + 3 * E);
        V y0 = op(x0), y1 = op(x1), y2 = op(x2), y3 = op(x3);
        r.store(i, y0);
        r.store(i + E, y1);
        r.store(i + 2 * E, y2);
        r.store(i + 3 * E, y3);
        if constexpr (Op::screens) {
            V m0 = op.special(x0, y0), m1 = op.special(x1, y1), m2 = op.special(x2, y2), m3 = op.special(x3, y3);
            if (S::any(S::bit_or(S::bit_or(m0, m1), S::bit_or(m2, m3)))) {
                unsigned bits = S::element_bits(m0) | S::element_bits(m1) << E | S::element_bits(m2) << 2 * E |
                                S::element_bits(m3) << 3 * E;
                C args[4 * E];
                S::store(args, x0);
                S::store(args + E, x1);
                S::store(args + 2 * E, x2);
                S::store(args + 3 * E, x3);
                fix_complex_unary(op, i, bits, args, a, r, name);
            }
        }
    }
    for (; i + E <= n; i += E) {
        V x = a.load(i), y = op(x);
        r.store(i, y);
        if constexpr (Op::screens) {
            if (unsigned bits = S::element_bits(op.special(x, y))) {
                C args[E];
                S::store(args, x);
                fix_complex_unary(op, i, bits, args, a, r, name);
            }
        }
    }
    if (i < n) {  // a lone single complex element
        V x = a.load_one(i), y = op(x);
        r.store_one(i, y);
        if constexpr (Op::screens) {
            if (unsigned bits = S::element_bits(op.special(x, y)) & 1u) {
                C args[E];
                S::store(args, x);
                fix_complex_unary(op, i, bits, args, a, r, name);
            }
        }
    }
}

// ---- two arguments, one result --------------------------------------------
template <class Op, class A, class B, class R>
void fix_complex_binary(const Op& op, std::ptrdiff_t i, unsigned bits, const typename Op::C* xa,
                        const typename Op::C* xb, A a, B b, R r, const char* name) {
    using C = typename Op::C;
    for (; bits; bits &= bits - 1) {
        int k = __builtin_ctz(bits);
        std::ptrdiff_t j = i + k;
        C res = r.at(j);
        int code = op.fix(xa[k], xb[k], res);
        r.at(j) = res;
        if (code) report_strided<C>(code, int(j), a.p, int(a.inc), b.p, int(b.inc), r.p, int(r.inc), r.p, int(r.inc), name);
    }
}

template <class Op, class A, class B, class R>
void run_complex_binary(const Op& op, int n, A a, B b, R r, const char* name) {
    using C = typename Op::C;
    using S = simd::CSimd<C>;
    using V = typename S::V;
    constexpr int E = S::per_vector;
    FpEnvironment env(complex_kernel_mxcsr<Op>());
    std::ptrdiff_t i = 0;
    for (; i + 4 * E <= n; i += 4 * E) {
        V x0 = a.load(i), x1 = a.load(i + E), x2 = a.load(i + 2 * E), x3 = a.load(i + 3 * E);
        V z0 = b.load(i), z1 = b.load(i + E), z2 = b.load(i + 2 * E), z3 = b.load(i + 3 * E);
        V y0 = op(x0, z0), y1 = op(x1, z1), y2 = op(x2, z2), y3 = op(x3, z3);
        r.store(i, y0);
        r.store(i + E, y1);
        r.store(i + 2 * E, y2);
        r.store(i + 3 * E, y3);
        if constexpr (Op::screens) {
            V m0 = op.special(x0, z0, y0), m1 = op.special(x1, z1, y1);
            V m2 = op.special(x2, z2, y2), m3 = op.special(x3, z3, y3);
            if (S::any(S::bit_or(S::bit_or(m0, m1), S::bit_or(m2, m3)))) {
                unsigned bits = S::element_bits(m0) | S::element_bits(m1) << E | S::element_bits(m2) << 2 * E |
                                S::element_bits(m3) << 3 * E;
                C xa[4 * E], xb[4 * E];
                S::store(xa, x0);
                S::store(xa + E, x1);
                S::store(xa + 2 * E, x2);
                S::store(xa + 3 * E, x3);
                S::store(xb, z0);
                S::store(xb + E, z1);
                S::store(xb + 2 * E, z2);
                S::store(xb + 3 * E, z3);
                fix_complex_binary(op, i, bits, xa, xb, a, b, r, name);
            }
        }
    }
    for (; i + E <= n; i += E) {
        V x = a.load(i), z = b.load(i), y = op(x, z);
        r.store(i, y);
        if constexpr (Op::screens) {
            if (unsigned bits = S::element_bits(op.special(x, z, y))) {
                C xa[E], xb[E];
                S::store(xa, x);
                S::store(xb, z);
                fix_complex_binary(op, i, bits, xa, xb, a, b, r, name);
            }
        }
    }
    if (i < n) {  // a lone single complex element
        V x = a.load_one(i), z = b.load_one(i), y = op(x, z);
        r.store_one(i, y);
        if constexpr (Op::screens) {
            if (unsigned bits = S::element_bits(op.special(x, z, y)) & 1u) {
                C xa[E], xb[E];
                S::store(xa, x);
                S::store(xb, z);
                fix_complex_binary(op, i, bits, xa, xb, a, b, r, name);
            }
        }
    }
}

}  // namespace qor::vm

// Kernel definitions for the rows of one complex function: the forms of
// driver.h over the complex loops and views.
#define QOR_VM_COMPLEX_UNARY_KERNELS(p, Fn, slot, C, op)                                                 \
    QOR_VM_UNARY_FORMS(qor::vm::run_complex_unary, op, qor::vm::ComplexContig, qor::vm::ComplexStrided, \
                       p, Fn, slot, C)

#define QOR_VM_COMPLEX_BINARY_KERNELS(p, Fn, slot, C, op)                                                 \
    QOR_VM_BINARY_FORMS(qor::vm::run_complex_binary, op, qor::vm::ComplexContig, qor::vm::ComplexStrided, \
                        p, Fn, slot, C)
