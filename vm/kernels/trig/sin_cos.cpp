// The kernels of every row and accuracy slot of Sin, Cos and SinCos; the
// operations, their methods and error bounds are in trig_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "trig_ops.h"

namespace ops = qor::vm::trig;
using qor::vm::Variant;

QOR_VM_KERNEL_PAIR(d, Sin, unary, HA, (ops::DoubleTrig<ops::Fn::sin, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Sin, unary, LA, (ops::DoubleTrig<ops::Fn::sin, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, Sin, unary, EP, (ops::DoubleTrig<ops::Fn::sin, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, Sin, unary, HA, (ops::SingleTrig<ops::Fn::sin, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Sin, unary, LA, (ops::SingleTrig<ops::Fn::sin, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, Sin, unary, EP, (ops::SingleTrig<ops::Fn::sin, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(d, Cos, unary, HA, (ops::DoubleTrig<ops::Fn::cos, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Cos, unary, LA, (ops::DoubleTrig<ops::Fn::cos, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, Cos, unary, EP, (ops::DoubleTrig<ops::Fn::cos, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, Cos, unary, HA, (ops::SingleTrig<ops::Fn::cos, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Cos, unary, LA, (ops::SingleTrig<ops::Fn::cos, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, Cos, unary, EP, (ops::SingleTrig<ops::Fn::cos, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(d, SinCos, two_out, HA, (ops::DoubleSinCos<Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, SinCos, two_out, LA, (ops::DoubleSinCos<Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, SinCos, two_out, EP, (ops::DoubleSinCos<Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, SinCos, two_out, HA, (ops::SingleSinCos<Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, SinCos, two_out, LA, (ops::SingleSinCos<Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, SinCos, two_out, EP, (ops::SingleSinCos<Variant::EP>{}))
