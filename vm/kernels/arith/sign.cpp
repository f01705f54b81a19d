// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in sign_ops.h.
#include "../../frame/kernel_decls.h"
#include "../quiet_op.h"
#include "sign_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_QUIET_UNARY_KERNELS_FLUSH_AWARE(s, Abs, float, ops::AbsFn)
QOR_VM_QUIET_UNARY_KERNELS_FLUSH_AWARE(d, Abs, double, ops::AbsFn)
QOR_VM_QUIET_BINARY_KERNELS_FLUSH_AWARE(s, CopySign, float, ops::CopySignFn)
QOR_VM_QUIET_BINARY_KERNELS_FLUSH_AWARE(d, CopySign, double, ops::CopySignFn)
