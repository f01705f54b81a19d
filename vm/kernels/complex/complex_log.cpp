// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in complex_log_ops.h.
#include "../../frame/kernel_decls.h"
#include "complex_log_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_PLANAR_KERNEL_PAIR(c, Ln, unary, HA, (ops::LogOp<float, false>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Ln, unary, HA, (ops::LogOp<double, false>{}))
QOR_VM_PLANAR_KERNEL_PAIR(c, Log10, unary, HA, (ops::LogOp<float, true>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Log10, unary, HA, (ops::LogOp<double, true>{}))
