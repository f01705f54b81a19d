// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in fmod_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "fmod_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_KERNEL_PAIR(s, Fmod, binary, HA, (ops::ReduceOp<float, false>{}))
QOR_VM_KERNEL_PAIR(d, Fmod, binary, HA, (ops::ReduceOp<double, false>{}))
QOR_VM_KERNEL_PAIR(s, Remainder, binary, HA, (ops::ReduceOp<float, true>{}))
QOR_VM_KERNEL_PAIR(d, Remainder, binary, HA, (ops::ReduceOp<double, true>{}))
