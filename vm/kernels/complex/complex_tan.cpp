// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in complex_tan_ops.h.
#include "../../frame/kernel_decls.h"
#include "complex_tan_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_PLANAR_KERNEL_PAIR(c, Tan, unary, HA, (ops::TanhOp<float, true>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Tan, unary, HA, (ops::TanhOp<double, true>{}))
QOR_VM_PLANAR_KERNEL_PAIR(c, Tanh, unary, HA, (ops::TanhOp<float, false>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Tanh, unary, HA, (ops::TanhOp<double, false>{}))
