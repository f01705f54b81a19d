// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in expint1_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "expint1_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_SCREENED_KERNELS(d, ExpInt1, HA, double, (ops::DoubleExpInt1<ops::Quality::High>{}))
QOR_VM_SCREENED_KERNELS(d, ExpInt1, EP, double, (ops::DoubleExpInt1<ops::Quality::Mid>{}))
QOR_VM_SCREENED_KERNELS(s, ExpInt1, HA, float, (ops::SingleExpInt1<ops::Quality::Mid>{}))
QOR_VM_SCREENED_KERNELS(s, ExpInt1, EP, float, (ops::SingleExpInt1<ops::Quality::Low>{}))
