// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in inv_sqrt_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "inv_sqrt_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_UNARY_KERNELS(s, InvSqrt, HA, float, (ops::InvSqrtOp<ops::HaSingle>{}))
QOR_VM_UNARY_KERNELS(s, InvSqrt, EP, float, (ops::InvSqrtOp<ops::EpSingle>{}))
QOR_VM_UNARY_KERNELS(d, InvSqrt, HA, double, (ops::InvSqrtOp<ops::HaDouble>{}))
QOR_VM_UNARY_KERNELS(d, InvSqrt, EP, double, (ops::InvSqrtOp<ops::EpDouble>{}))
