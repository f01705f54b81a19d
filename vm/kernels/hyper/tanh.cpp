// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in tanh_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "tanh_ops.h"

namespace ops = qor::vm::hyper;
using qor::vm::Variant;

QOR_VM_KERNEL_PAIR(d, Tanh, unary, HA, (ops::DoubleTanh<Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Tanh, unary, LA, (ops::DoubleTanh<Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, Tanh, unary, EP, (ops::DoubleTanh<Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, Tanh, unary, HA, (ops::SingleTanh<Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Tanh, unary, LA, (ops::SingleTanh<Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, Tanh, unary, EP, (ops::SingleTanh<Variant::EP>{}))
