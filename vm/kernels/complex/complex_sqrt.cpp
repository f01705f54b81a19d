// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in complex_sqrt_ops.h.
#include "../../frame/kernel_decls.h"
#include "complex_sqrt_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_PLANAR_KERNEL_PAIR(c, Sqrt, unary, HA, ops::SqrtOp<float>{})
QOR_VM_PLANAR_KERNEL_PAIR(z, Sqrt, unary, HA, ops::SqrtOp<double>{})
