// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in log10_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "log10_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_KERNEL_PAIR(d, Log10, unary, HA, (ops::DoubleLog10<true>{}))
QOR_VM_KERNEL_PAIR(d, Log10, unary, LA, (ops::DoubleLog10<false>{}))
QOR_VM_KERNEL_PAIR(s, Log10, unary, HA, (ops::SingleLog10<qor::vm::log_single::Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Log10, unary, LA, (ops::SingleLog10<qor::vm::log_single::Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, Log10, unary, EP, (ops::SingleLog10<qor::vm::log_single::Variant::EP>{}))
