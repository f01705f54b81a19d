// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in trigpi_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "trigpi_ops.h"

namespace ops = qor::vm::trigpi;
using ops::Fn;
using ops::Method;
using ops::Unit;

QOR_VM_KERNEL_PAIR(d, Sind, unary, HA, (ops::DoubleTrig<Fn::sin, Unit::degrees, Method::pairs>{}))
QOR_VM_KERNEL_PAIR(d, Cosd, unary, HA, (ops::DoubleTrig<Fn::cos, Unit::degrees, Method::pairs>{}))
QOR_VM_KERNEL_PAIR(d, Tand, unary, HA, (ops::DoubleTrig<Fn::tan, Unit::degrees, Method::pairs>{}))
QOR_VM_KERNEL_PAIR(d, Sinpi, unary, HA, (ops::DoubleTrig<Fn::sin, Unit::pi, Method::pairs>{}))
QOR_VM_KERNEL_PAIR(d, Sinpi, unary, LA, (ops::DoubleTrig<Fn::sin, Unit::pi, Method::plain>{}))
QOR_VM_KERNEL_PAIR(d, Cospi, unary, HA, (ops::DoubleTrig<Fn::cos, Unit::pi, Method::pairs>{}))
QOR_VM_KERNEL_PAIR(d, Cospi, unary, LA, (ops::DoubleTrig<Fn::cos, Unit::pi, Method::plain>{}))
QOR_VM_KERNEL_PAIR(d, Tanpi, unary, HA, (ops::DoubleTrig<Fn::tan, Unit::pi, Method::pairs>{}))
QOR_VM_KERNEL_PAIR(d, SinCospi, two_out, HA, (ops::SinCosPi<double>{}))

QOR_VM_KERNEL_PAIR(s, Sind, unary, HA, (ops::SingleTrig<Fn::sin, Unit::degrees>{}))
QOR_VM_KERNEL_PAIR(s, Cosd, unary, HA, (ops::SingleTrig<Fn::cos, Unit::degrees>{}))
QOR_VM_KERNEL_PAIR(s, Tand, unary, HA, (ops::SingleTrig<Fn::tan, Unit::degrees>{}))
QOR_VM_KERNEL_PAIR(s, Sinpi, unary, HA, (ops::SingleTrig<Fn::sin, Unit::pi>{}))
QOR_VM_KERNEL_PAIR(s, Sinpi, unary, LA, (ops::SingleTrigPlain<Fn::sin>{}))
QOR_VM_KERNEL_PAIR(s, Cospi, unary, HA, (ops::SingleTrig<Fn::cos, Unit::pi>{}))
QOR_VM_KERNEL_PAIR(s, Cospi, unary, LA, (ops::SingleTrigPlain<Fn::cos>{}))
QOR_VM_KERNEL_PAIR(s, Tanpi, unary, HA, (ops::SingleTrig<Fn::tan, Unit::pi>{}))
QOR_VM_KERNEL_PAIR(s, SinCospi, two_out, HA, (ops::SinCosPi<float>{}))
