// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in log2_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "log2_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_SCREENED_KERNELS(d, Log2, HA, double, (ops::DoubleLog2{}))
QOR_VM_SCREENED_KERNELS(s, Log2, HA, float, (ops::SingleLog2{}))
