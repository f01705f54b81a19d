// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in log10_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "log10_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_SCREENED_KERNELS(d, Log10, HA, double, (ops::DoubleLog10<true>{}))
QOR_VM_SCREENED_KERNELS(d, Log10, LA, double, (ops::DoubleLog10<false>{}))
QOR_VM_SCREENED_KERNELS(s, Log10, HA, float, (ops::SingleLog10<qor::vm::log_single::Variant::HA>{}))
QOR_VM_SCREENED_KERNELS(s, Log10, LA, float, (ops::SingleLog10<qor::vm::log_single::Variant::LA>{}))
QOR_VM_SCREENED_KERNELS(s, Log10, EP, float, (ops::SingleLog10<qor::vm::log_single::Variant::EP>{}))
