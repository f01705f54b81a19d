// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in complex_exp_ops.h.
#include "../../frame/kernel_decls.h"
#include "complex_exp_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_PLANAR_KERNEL_PAIR(c, Exp, unary, HA, ops::ExpOp<float>{})
QOR_VM_PLANAR_KERNEL_PAIR(z, Exp, unary, HA, ops::ExpOp<double>{})
QOR_VM_PLANAR_KERNEL_PAIR(c, CIS, r2c, HA, ops::CisOp<float>{})
QOR_VM_PLANAR_KERNEL_PAIR(z, CIS, r2c, HA, ops::CisOp<double>{})
QOR_VM_PLANAR_KERNEL_PAIR(z, Exp, unary, EP, (ops::ExpOp<double, true>{}))
