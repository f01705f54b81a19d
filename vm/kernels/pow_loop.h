// Kernel definitions of the power functions.  Their vector path decides
// which lanes it cannot finish (the range screen needs y ln x, a value of the
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
// The element loop (loop.h) sends marked elements to the scalar routine and
// the reporter; a Powx report names the exponent as its second argument.
#pragma once

#include "driver.h"

// The contiguous and strided kernels of Pow or Powr for one slot.
#define QOR_VM_POW_KERNELS(p, Fn, slot, T, op) QOR_VM_BINARY_FORMS(p, Fn, slot, T, T, op)

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
