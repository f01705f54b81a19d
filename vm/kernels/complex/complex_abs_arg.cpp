// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in complex_abs_arg_ops.h.
#include "../../frame/kernel_decls.h"
#include "complex_abs_arg_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_PLANAR_KERNEL_PAIR(c, Abs, c2r, HA, ops::AbsOp<float>{})
QOR_VM_PLANAR_KERNEL_PAIR(z, Abs, c2r, HA, ops::AbsOp<double>{})
QOR_VM_PLANAR_KERNEL_PAIR(c, Arg, c2r, HA, ops::ArgOp<float>{})
QOR_VM_PLANAR_KERNEL_PAIR(z, Arg, c2r, HA, ops::ArgOp<double>{})
QOR_VM_PLANAR_KERNEL_PAIR(c, Abs, c2r, EP, ops::AbsOp<float>{})
QOR_VM_PLANAR_KERNEL_PAIR(z, Abs, c2r, EP, (ops::AbsOp<double, true>{}))
