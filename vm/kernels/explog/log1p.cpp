// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in log1p_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "log1p_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_SCREENED_KERNELS(d, Log1p, HA, double, (ops::DoubleLog1p{}))
QOR_VM_SCREENED_KERNELS(s, Log1p, HA, float, (ops::SingleLog1p<qor::vm::log_single::Variant::HA>{}))
QOR_VM_SCREENED_KERNELS(s, Log1p, LA, float, (ops::SingleLog1p<qor::vm::log_single::Variant::LA>{}))
QOR_VM_SCREENED_KERNELS(s, Log1p, EP, float, (ops::SingleLog1p<qor::vm::log_single::Variant::EP>{}))
