// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in sqrt_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "sqrt_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_KERNEL_PAIR(s, Sqrt, unary, HA, (ops::SqrtOp<float>{}))
QOR_VM_KERNEL_PAIR(d, Sqrt, unary, HA, (ops::SqrtOp<double>{}))
