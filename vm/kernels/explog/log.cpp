// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in log_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "log_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_SCREENED_KERNELS(d, Ln, HA, double, (ops::DoubleLn<qor::vm::Variant::HA>{}))
QOR_VM_SCREENED_KERNELS(d, Ln, LA, double, (ops::DoubleLn<qor::vm::Variant::LA>{}))
QOR_VM_SCREENED_KERNELS(d, Ln, EP, double, (ops::DoubleLn<qor::vm::Variant::EP>{}))
QOR_VM_SCREENED_KERNELS(s, Ln, HA, float, (ops::SingleLn<qor::vm::Variant::HA>{}))
QOR_VM_SCREENED_KERNELS(s, Ln, LA, float, (ops::SingleLn<qor::vm::Variant::LA>{}))
QOR_VM_SCREENED_KERNELS(s, Ln, EP, float, (ops::SingleLn<qor::vm::Variant::EP>{}))
