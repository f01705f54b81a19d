// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in log2_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "log2_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_KERNEL_PAIR(d, Log2, unary, HA, (ops::DoubleLog2{}))
QOR_VM_KERNEL_PAIR(s, Log2, unary, HA, (ops::SingleLog2{}))
