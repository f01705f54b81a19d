// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in add_sub_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "add_sub_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_KERNEL_PAIR(s, Add, binary, HA, (ops::AddOp<float, false>{}))
QOR_VM_KERNEL_PAIR(d, Add, binary, HA, (ops::AddOp<double, false>{}))
QOR_VM_KERNEL_PAIR(s, Sub, binary, HA, (ops::AddOp<float, true>{}))
QOR_VM_KERNEL_PAIR(d, Sub, binary, HA, (ops::AddOp<double, true>{}))
