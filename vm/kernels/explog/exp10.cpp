// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in exp10_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "exp10_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_KERNEL_PAIR(d, Exp10, unary, HA, (ops::DoubleExp10{}))
QOR_VM_KERNEL_PAIR(s, Exp10, unary, HA, (ops::SingleExp10{}))
