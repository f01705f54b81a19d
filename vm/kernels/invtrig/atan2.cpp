// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in atan2_ops.h.
#include "../../frame/kernel_decls.h"
#include "atan2_ops.h"

using qor::vm::Variant;
using qor::vm::invtrig::DoubleArctan2;
using qor::vm::invtrig::SingleArctan2;

QOR_VM_KERNEL_PAIR(d, Atan2, binary, HA, (DoubleArctan2<false, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Atan2, binary, LA, (DoubleArctan2<false, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, Atan2, binary, EP, (DoubleArctan2<false, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(d, Atan2pi, binary, HA, (DoubleArctan2<true, Variant::HA>{}))

QOR_VM_KERNEL_PAIR(s, Atan2, binary, HA, (SingleArctan2<false, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Atan2, binary, LA, (SingleArctan2<false, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, Atan2, binary, EP, (SingleArctan2<false, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, Atan2pi, binary, HA, (SingleArctan2<true, Variant::HA>{}))
