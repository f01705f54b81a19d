// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in expm1_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "expm1_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_KERNEL_PAIR(d, Expm1, unary, HA, (ops::DoubleExpm1{}))
QOR_VM_KERNEL_PAIR(s, Expm1, unary, HA, (ops::SingleExpm1{}))
