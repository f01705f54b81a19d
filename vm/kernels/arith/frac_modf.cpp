// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in frac_modf_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "../quiet_op.h"
#include "frac_modf_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_UNARY_KERNELS(s, Frac, HA, float, (qor::vm::QuietUnaryOp<float, ops::FracFn<float>>{}))
QOR_VM_UNARY_KERNELS(d, Frac, HA, double, (qor::vm::QuietUnaryOp<double, ops::FracFn<double>>{}))
QOR_VM_UNARY2_KERNELS(s, Modf, HA, float, (ops::ModfOp<float>{}))
QOR_VM_UNARY2_KERNELS(d, Modf, HA, double, (ops::ModfOp<double>{}))
