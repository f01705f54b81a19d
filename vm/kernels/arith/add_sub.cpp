// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in add_sub_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "add_sub_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_BINARY_KERNELS(s, Add, HA, float, (ops::AddOp<float, false>{}))
QOR_VM_BINARY_KERNELS(d, Add, HA, double, (ops::AddOp<double, false>{}))
QOR_VM_BINARY_KERNELS(s, Sub, HA, float, (ops::AddOp<float, true>{}))
QOR_VM_BINARY_KERNELS(d, Sub, HA, double, (ops::AddOp<double, true>{}))
