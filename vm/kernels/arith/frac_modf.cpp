// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in frac_modf_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "../quiet_op.h"
#include "frac_modf_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_KERNEL_PAIR(s, Frac, unary, HA, (qor::vm::QuietUnaryOp<float, ops::FracFn<float>>{}))
QOR_VM_KERNEL_PAIR(d, Frac, unary, HA, (qor::vm::QuietUnaryOp<double, ops::FracFn<double>>{}))
QOR_VM_KERNEL_PAIR(s, Modf, two_out, HA, (ops::ModfOp<float>{}))
QOR_VM_KERNEL_PAIR(d, Modf, two_out, HA, (ops::ModfOp<double>{}))
