// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in atan_ops.h.
#include "../../frame/kernel_decls.h"
#include "atan_ops.h"

using qor::vm::Variant;
using qor::vm::invtrig::DoubleArctan;
using qor::vm::invtrig::SingleArctan;

QOR_VM_KERNEL_PAIR(d, Atan, unary, HA, (DoubleArctan<false, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Atan, unary, LA, (DoubleArctan<false, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, Atan, unary, EP, (DoubleArctan<false, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(d, Atanpi, unary, HA, (DoubleArctan<true, Variant::HA>{}))

QOR_VM_KERNEL_PAIR(s, Atan, unary, HA, (SingleArctan<false, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Atan, unary, LA, (SingleArctan<false, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, Atan, unary, EP, (SingleArctan<false, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, Atanpi, unary, HA, (SingleArctan<true, Variant::HA>{}))
