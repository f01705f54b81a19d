// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in expint1_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "expint1_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_KERNEL_PAIR(d, ExpInt1, unary, HA, (ops::DoubleExpInt1<ops::Quality::High>{}))
QOR_VM_KERNEL_PAIR(d, ExpInt1, unary, EP, (ops::DoubleExpInt1<ops::Quality::Mid>{}))
QOR_VM_KERNEL_PAIR(s, ExpInt1, unary, HA, (ops::SingleExpInt1<ops::Quality::Mid>{}))
QOR_VM_KERNEL_PAIR(s, ExpInt1, unary, EP, (ops::SingleExpInt1<ops::Quality::Low>{}))
