// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in asinh_acosh_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "asinh_acosh_ops.h"

namespace ops = qor::vm::hyper;
using qor::vm::Variant;

QOR_VM_KERNEL_PAIR(d, Asinh, unary, HA, (ops::DoubleAsinh<Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Asinh, unary, LA, (ops::DoubleAsinh<Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, Asinh, unary, EP, (ops::DoubleAsinh<Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, Asinh, unary, HA, (ops::SingleAsinh{}))
QOR_VM_KERNEL_PAIR(s, Asinh, unary, LA, (ops::SingleAsinh{}))
QOR_VM_KERNEL_PAIR(s, Asinh, unary, EP, (ops::SingleAsinh{}))
QOR_VM_KERNEL_PAIR(d, Acosh, unary, HA, (ops::DoubleAcosh<Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Acosh, unary, LA, (ops::DoubleAcosh<Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, Acosh, unary, EP, (ops::DoubleAcosh<Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, Acosh, unary, HA, (ops::SingleAcosh{}))
QOR_VM_KERNEL_PAIR(s, Acosh, unary, LA, (ops::SingleAcosh{}))
QOR_VM_KERNEL_PAIR(s, Acosh, unary, EP, (ops::SingleAcosh{}))
