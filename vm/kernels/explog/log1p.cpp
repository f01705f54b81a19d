// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in log1p_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "log1p_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_KERNEL_PAIR(d, Log1p, unary, HA, (ops::DoubleLog1p{}))
QOR_VM_KERNEL_PAIR(s, Log1p, unary, HA, (ops::SingleLog1p<qor::vm::log_single::Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Log1p, unary, LA, (ops::SingleLog1p<qor::vm::log_single::Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, Log1p, unary, EP, (ops::SingleLog1p<qor::vm::log_single::Variant::EP>{}))
