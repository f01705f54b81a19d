// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in erf_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "erf_ops.h"

using qor::vm::Variant;
using qor::vm::erf::DoubleErf;
using qor::vm::erf::Fn;
using qor::vm::erf::SingleErf;

QOR_VM_KERNEL_PAIR(d, Erfc, unary, HA, (DoubleErf<Fn::Erfc, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Erfc, unary, LA, (DoubleErf<Fn::Erfc, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, Erfc, unary, EP, (DoubleErf<Fn::Erfc, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, Erfc, unary, HA, (SingleErf<Fn::Erfc, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Erfc, unary, LA, (SingleErf<Fn::Erfc, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, Erfc, unary, EP, (SingleErf<Fn::Erfc, Variant::EP>{}))
