// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in sinh_cosh_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "sinh_cosh_ops.h"

namespace ops = qor::vm::hyper;
using qor::vm::Variant;

QOR_VM_KERNEL_PAIR(d, Sinh, unary, HA, (ops::DoubleSinhCosh<Variant::HA, true>{}))
QOR_VM_KERNEL_PAIR(d, Sinh, unary, LA, (ops::DoubleSinhCosh<Variant::LA, true>{}))
QOR_VM_KERNEL_PAIR(d, Sinh, unary, EP, (ops::DoubleSinhCosh<Variant::EP, true>{}))
QOR_VM_KERNEL_PAIR(s, Sinh, unary, HA, (ops::SingleSinhCosh<Variant::HA, true>{}))
QOR_VM_KERNEL_PAIR(s, Sinh, unary, LA, (ops::SingleSinhCosh<Variant::LA, true>{}))
QOR_VM_KERNEL_PAIR(s, Sinh, unary, EP, (ops::SingleSinhCosh<Variant::EP, true>{}))
QOR_VM_KERNEL_PAIR(d, Cosh, unary, HA, (ops::DoubleSinhCosh<Variant::HA, false>{}))
QOR_VM_KERNEL_PAIR(d, Cosh, unary, LA, (ops::DoubleSinhCosh<Variant::LA, false>{}))
QOR_VM_KERNEL_PAIR(d, Cosh, unary, EP, (ops::DoubleSinhCosh<Variant::EP, false>{}))
QOR_VM_KERNEL_PAIR(s, Cosh, unary, HA, (ops::SingleSinhCosh<Variant::HA, false>{}))
QOR_VM_KERNEL_PAIR(s, Cosh, unary, LA, (ops::SingleSinhCosh<Variant::LA, false>{}))
QOR_VM_KERNEL_PAIR(s, Cosh, unary, EP, (ops::SingleSinhCosh<Variant::EP, false>{}))
