// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in exp2_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "exp2_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_KERNEL_PAIR(d, Exp2, unary, HA, (ops::DoubleExp2{}))
QOR_VM_KERNEL_PAIR(s, Exp2, unary, HA, (ops::SingleExp2{}))
