// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in inv_sqrt_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "inv_sqrt_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_KERNEL_PAIR(s, InvSqrt, unary, HA, (ops::InvSqrtOp<ops::HaSingle>{}))
QOR_VM_KERNEL_PAIR(s, InvSqrt, unary, EP, (ops::InvSqrtOp<ops::EpSingle>{}))
QOR_VM_KERNEL_PAIR(d, InvSqrt, unary, HA, (ops::InvSqrtOp<ops::HaDouble>{}))
QOR_VM_KERNEL_PAIR(d, InvSqrt, unary, EP, (ops::InvSqrtOp<ops::EpDouble>{}))
