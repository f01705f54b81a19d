// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in sign_ops.h.
#include "../../frame/kernel_decls.h"
#include "../quiet_op.h"
#include "sign_ops.h"

namespace ops = qor::vm::arith;

// Bit operations see no DAZ, so under the flush-to-zero mode these kernels
// flush subnormals themselves (Fn<T, true>); otherwise they take the plain
// variant (Fn<T, false>), an operation per vector cheaper.
namespace {

template <template <class, bool> class Fn, class T, template <class, class> class Quiet>
struct ByFlushMode {
    template <class Go>
    void operator()(Go&& go) const {
        if (qor::vm::flush_mode()) go(Quiet<T, Fn<T, true>>{});
        else go(Quiet<T, Fn<T, false>>{});
    }
};

}  // namespace

QOR_VM_KERNEL_PAIR(s, Abs, unary, HA, (ByFlushMode<ops::AbsFn, float, qor::vm::QuietUnaryOp>{}))
QOR_VM_KERNEL_PAIR(d, Abs, unary, HA, (ByFlushMode<ops::AbsFn, double, qor::vm::QuietUnaryOp>{}))
QOR_VM_KERNEL_PAIR(s, CopySign, binary, HA, (ByFlushMode<ops::CopySignFn, float, qor::vm::QuietBinaryOp>{}))
QOR_VM_KERNEL_PAIR(d, CopySign, binary, HA, (ByFlushMode<ops::CopySignFn, double, qor::vm::QuietBinaryOp>{}))
