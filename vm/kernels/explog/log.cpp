// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in log_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "log_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_KERNEL_PAIR(d, Ln, unary, HA, (ops::DoubleLn<qor::vm::Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Ln, unary, LA, (ops::DoubleLn<qor::vm::Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, Ln, unary, EP, (ops::DoubleLn<qor::vm::Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, Ln, unary, HA, (ops::SingleLn<qor::vm::Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Ln, unary, LA, (ops::SingleLn<qor::vm::Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, Ln, unary, EP, (ops::SingleLn<qor::vm::Variant::EP>{}))
