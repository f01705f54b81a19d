// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in pow3o2_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "pow3o2_ops.h"

QOR_VM_KERNEL_PAIR(d, Pow3o2, unary, HA, (qor::vm::pow_core::Pow3o2Op<double>{}))
QOR_VM_KERNEL_PAIR(s, Pow3o2, unary, HA, (qor::vm::pow_core::Pow3o2Op<float>{}))
