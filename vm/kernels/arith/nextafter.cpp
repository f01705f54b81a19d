// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in nextafter_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "../quiet_op.h"
#include "nextafter_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_KERNEL_PAIR(s, NextAfter, binary, HA, (qor::vm::QuietBinaryOp<float, ops::NextAfterFn<float>>{}))
QOR_VM_KERNEL_PAIR(d, NextAfter, binary, HA, (qor::vm::QuietBinaryOp<double, ops::NextAfterFn<double>>{}))
