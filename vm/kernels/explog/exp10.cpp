// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in exp10_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "exp10_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_SCREENED_KERNELS(d, Exp10, HA, double, (ops::DoubleExp10{}))
QOR_VM_SCREENED_KERNELS(s, Exp10, HA, float, (ops::SingleExp10{}))
