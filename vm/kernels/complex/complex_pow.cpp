// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in complex_pow_ops.h.
#include "../../frame/kernel_decls.h"
#include "complex_pow_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_PLANAR_KERNEL_PAIR(c, Pow, binary, HA, ops::PowOp<float>{})
QOR_VM_PLANAR_KERNEL_PAIR(z, Pow, binary, HA, ops::PowOp<double>{})
QOR_VM_PLANAR_KERNEL_PAIR(c, Powx, scalar, HA, qor::vm::MadeFrom<ops::PowxOp<float>>{})
QOR_VM_PLANAR_KERNEL_PAIR(z, Powx, scalar, HA, qor::vm::MadeFrom<ops::PowxOp<double>>{})
