// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in nextafter_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "../quiet_op.h"
#include "nextafter_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_BINARY_KERNELS(s, NextAfter, HA, float, (qor::vm::QuietBinaryOp<float, ops::NextAfterFn<float>>{}))
QOR_VM_BINARY_KERNELS(d, NextAfter, HA, double, (qor::vm::QuietBinaryOp<double, ops::NextAfterFn<double>>{}))
