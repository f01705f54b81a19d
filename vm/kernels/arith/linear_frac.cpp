// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in linear_frac_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "linear_frac_ops.h"

namespace ops = qor::vm::arith;

// The loop is inlined whole into each kernel so that the op, a local whose
// address then never leaves the function, keeps its broadcast parameters in
// registers instead of reloading them after every store.
#define QOR_LINEAR_FRAC_FLATTEN __attribute__((flatten))

#define QOR_LINEAR_FRAC_KERNELS(p, T)                                                                          \
    QOR_EXTERN_C QOR_LINEAR_FRAC_FLATTEN void qor_vmk_##p##LinearFrac_HA(                                      \
        int n, const T* a, const T* b, T scalea, T shifta, T scaleb, T shiftb, T* r) {                         \
        qor::vm::run_binary(ops::LinearFracOp<T>(scalea, shifta, scaleb, shiftb), n, qor::vm::Contig<T>(a),    \
                            qor::vm::Contig<T>(b), qor::vm::Contig<T>(r), "v" #p "LinearFrac");                \
    }                                                                                                          \
    QOR_EXTERN_C QOR_LINEAR_FRAC_FLATTEN void qor_vmk_##p##LinearFracI_HA(                                     \
        int n, const T* a, int inca, const T* b, int incb, T scalea, T shifta, T scaleb, T shiftb, T* r,       \
        int incr) {                                                                                            \
        const ops::LinearFracOp<T> op(scalea, shifta, scaleb, shiftb);                                         \
        if (inca == 1 && incb == 1 && incr == 1)                                                               \
            qor::vm::run_binary(op, n, qor::vm::Contig<T>(a), qor::vm::Contig<T>(b), qor::vm::Contig<T>(r),    \
                                "v" #p "LinearFracI");                                                         \
        else                                                                                                   \
            qor::vm::run_binary(op, n, qor::vm::Strided<T>(a, inca), qor::vm::Strided<T>(b, incb),             \
                                qor::vm::Strided<T>(r, incr), "v" #p "LinearFracI");                           \
    }

QOR_LINEAR_FRAC_KERNELS(s, float)
QOR_LINEAR_FRAC_KERNELS(d, double)
