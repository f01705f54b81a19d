// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in atanh_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "atanh_ops.h"

namespace ops = qor::vm::hyper;

QOR_VM_KERNEL_PAIR(d, Atanh, unary, HA, (ops::DoubleAtanh{}))
QOR_VM_KERNEL_PAIR(d, Atanh, unary, LA, (ops::DoubleAtanh{}))
QOR_VM_KERNEL_PAIR(s, Atanh, unary, HA, (ops::SingleAtanh{}))
QOR_VM_KERNEL_PAIR(s, Atanh, unary, LA, (ops::SingleAtanh{}))
