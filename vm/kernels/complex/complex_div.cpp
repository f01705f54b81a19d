// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in complex_div_ops.h.
#include "../../frame/kernel_decls.h"
#include "complex_div_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_PLANAR_KERNEL_PAIR(c, Div, binary, HA, ops::DivOp<float>{})
QOR_VM_PLANAR_KERNEL_PAIR(z, Div, binary, HA, ops::DivOp<double>{})
QOR_VM_PLANAR_KERNEL_PAIR(c, Div, binary, EP, ops::DivOp<float>{})
QOR_VM_PLANAR_KERNEL_PAIR(z, Div, binary, EP, (ops::DivOp<double, true>{}))
