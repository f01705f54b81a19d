// The kernels of every row and accuracy slot of Tan; the operations, their
// methods and error bounds are in trig_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "trig_ops.h"

namespace ops = qor::vm::trig;
using qor::vm::Variant;

QOR_VM_KERNEL_PAIR(d, Tan, unary, HA, (ops::DoubleTrig<ops::Fn::tan, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Tan, unary, LA, (ops::DoubleTrig<ops::Fn::tan, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, Tan, unary, EP, (ops::DoubleTrig<ops::Fn::tan, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, Tan, unary, HA, (ops::SingleTrig<ops::Fn::tan, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Tan, unary, LA, (ops::SingleTrig<ops::Fn::tan, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, Tan, unary, EP, (ops::SingleTrig<ops::Fn::tan, Variant::EP>{}))
