// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in logb_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "logb_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_KERNEL_PAIR(d, Logb, unary, HA, (ops::DoubleLogb{}))
QOR_VM_KERNEL_PAIR(s, Logb, unary, HA, (ops::SingleLogb{}))
