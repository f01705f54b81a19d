// Kernel definitions over the element loop (loop.h).  A real kernel is an
// Op:
//
//   struct Op {
//       using T = float or double;
//       static constexpr bool reads_mode;    // false: never flush to zero
//       V operator()(V a[, V b]) const;      // vector path, every element
//       V special(V a, [V b,] V r) const;    // lanes for the scalar routine
//       int fix(T a, [T b,] T& r) const;     // scalar routine: result, code
//   };
//
// or, with two results, `void operator()(V a, V& r1, V& r2)`,
// `V special(V a, V r1, V r2)` and `int fix(T a, T& r1, T& r2)`.  An Op
// whose only exceptional results come from IEEE exceptions may also declare
// `static constexpr uint32_t flag_screen` (MXCSR flag bits); see loop.h.
#pragma once

#include "loop.h"

// The kernels of one function slot: the contiguous kernel and the strided
// one, which takes the contiguous views when every increment is 1.  A and R
// are the element types of the arguments and of the results.
#define QOR_VM_UNARY_FORMS(p, Fn, slot, A, R, op)                                                        \
    QOR_EXTERN_C void qor_vmk_##p##Fn##_##slot(int n, const A* a, R* r) {                               \
        qor::vm::run(op, n, "v" #p #Fn, qor::vm::Contig<A>(a), qor::vm::Contig<R>(r));                  \
    }                                                                                                   \
    QOR_EXTERN_C void qor_vmk_##p##Fn##I_##slot(int n, const A* a, int inca, R* r, int incr) {          \
        if (inca == 1 && incr == 1)                                                                     \
            qor::vm::run(op, n, "v" #p #Fn "I", qor::vm::Contig<A>(a), qor::vm::Contig<R>(r));           \
        else                                                                                            \
            qor::vm::run(op, n, "v" #p #Fn "I", qor::vm::Strided<A>(a, inca), qor::vm::Strided<R>(r, incr)); \
    }

#define QOR_VM_BINARY_FORMS(p, Fn, slot, A, R, op)                                                       \
    QOR_EXTERN_C void qor_vmk_##p##Fn##_##slot(int n, const A* a, const A* b, R* r) {                   \
        qor::vm::run(op, n, "v" #p #Fn, qor::vm::Contig<A>(a), qor::vm::Contig<A>(b), qor::vm::Contig<R>(r)); \
    }                                                                                                   \
    QOR_EXTERN_C void qor_vmk_##p##Fn##I_##slot(int n, const A* a, int inca, const A* b, int incb, R* r, \
                                                int incr) {                                             \
        if (inca == 1 && incb == 1 && incr == 1)                                                        \
            qor::vm::run(op, n, "v" #p #Fn "I", qor::vm::Contig<A>(a), qor::vm::Contig<A>(b),            \
                         qor::vm::Contig<R>(r));                                                        \
        else                                                                                            \
            qor::vm::run(op, n, "v" #p #Fn "I", qor::vm::Strided<A>(a, inca), qor::vm::Strided<A>(b, incb), \
                         qor::vm::Strided<R>(r, incr));                                                 \
    }

#define QOR_VM_UNARY2_FORMS(p, Fn, slot, A, R, op)                                                       \
    QOR_EXTERN_C void qor_vmk_##p##Fn##_##slot(int n, const A* a, R* r1, R* r2) {                       \
        qor::vm::run(op, n, "v" #p #Fn, qor::vm::Contig<A>(a), qor::vm::Contig<R>(r1), qor::vm::Contig<R>(r2)); \
    }                                                                                                   \
    QOR_EXTERN_C void qor_vmk_##p##Fn##I_##slot(int n, const A* a, int inca, R* r1, int incr1, R* r2,    \
                                                int incr2) {                                            \
        if (inca == 1 && incr1 == 1 && incr2 == 1)                                                      \
            qor::vm::run(op, n, "v" #p #Fn "I", qor::vm::Contig<A>(a), qor::vm::Contig<R>(r1),           \
                         qor::vm::Contig<R>(r2));                                                       \
        else                                                                                            \
            qor::vm::run(op, n, "v" #p #Fn "I", qor::vm::Strided<A>(a, inca), qor::vm::Strided<R>(r1, incr1), \
                         qor::vm::Strided<R>(r2, incr2));                                               \
    }

#define QOR_VM_UNARY_KERNELS(p, Fn, slot, T, op) QOR_VM_UNARY_FORMS(p, Fn, slot, T, T, op)
#define QOR_VM_BINARY_KERNELS(p, Fn, slot, T, op) QOR_VM_BINARY_FORMS(p, Fn, slot, T, T, op)
#define QOR_VM_UNARY2_KERNELS(p, Fn, slot, T, op) QOR_VM_UNARY2_FORMS(p, Fn, slot, T, T, op)
