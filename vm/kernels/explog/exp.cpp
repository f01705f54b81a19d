// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in exp_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "exp_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_SCREENED_KERNELS(d, Exp, HA, double, (ops::DoubleExp<qor::vm::Variant::HA>{}))
QOR_VM_SCREENED_KERNELS(d, Exp, LA, double, (ops::DoubleExp<qor::vm::Variant::LA>{}))
QOR_VM_SCREENED_KERNELS(d, Exp, EP, double, (ops::DoubleExp<qor::vm::Variant::EP>{}))
QOR_VM_SCREENED_KERNELS(s, Exp, HA, float, (ops::SingleExp<qor::vm::Variant::HA>{}))
QOR_VM_SCREENED_KERNELS(s, Exp, LA, float, (ops::SingleExp<qor::vm::Variant::LA>{}))
QOR_VM_SCREENED_KERNELS(s, Exp, EP, float, (ops::SingleExp<qor::vm::Variant::EP>{}))
