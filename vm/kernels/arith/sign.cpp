// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in sign_ops.h.
#include "../../frame/kernel_decls.h"
#include "../quiet_op.h"
#include "sign_ops.h"

namespace ops = qor::vm::arith;

using qor::vm::ByFlushMode;

QOR_VM_KERNEL_PAIR(s, Abs, unary, HA, (ByFlushMode<ops::AbsFn, float, qor::vm::QuietUnaryOp>{}))
QOR_VM_KERNEL_PAIR(d, Abs, unary, HA, (ByFlushMode<ops::AbsFn, double, qor::vm::QuietUnaryOp>{}))
QOR_VM_KERNEL_PAIR(s, CopySign, binary, HA, (ByFlushMode<ops::CopySignFn, float, qor::vm::QuietBinaryOp>{}))
QOR_VM_KERNEL_PAIR(d, CopySign, binary, HA, (ByFlushMode<ops::CopySignFn, double, qor::vm::QuietBinaryOp>{}))
