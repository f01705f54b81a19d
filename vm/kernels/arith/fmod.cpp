// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in fmod_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "fmod_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_BINARY_KERNELS(s, Fmod, HA, float, (ops::ReduceOp<float, false>{}))
QOR_VM_BINARY_KERNELS(d, Fmod, HA, double, (ops::ReduceOp<double, false>{}))
QOR_VM_BINARY_KERNELS(s, Remainder, HA, float, (ops::ReduceOp<float, true>{}))
QOR_VM_BINARY_KERNELS(d, Remainder, HA, double, (ops::ReduceOp<double, true>{}))
