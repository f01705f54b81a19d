// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in exp_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "exp_ops.h"

namespace ops = qor::vm::explog;

QOR_VM_KERNEL_PAIR(d, Exp, unary, HA, (ops::DoubleExp<qor::vm::Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Exp, unary, LA, (ops::DoubleExp<qor::vm::Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, Exp, unary, EP, (ops::DoubleExp<qor::vm::Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, Exp, unary, HA, (ops::SingleExp<qor::vm::Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Exp, unary, LA, (ops::SingleExp<qor::vm::Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, Exp, unary, EP, (ops::SingleExp<qor::vm::Variant::EP>{}))
