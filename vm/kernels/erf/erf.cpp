// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in erf_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "erf_ops.h"

using qor::vm::Variant;
using qor::vm::erf::DoubleErf;
using qor::vm::erf::Fn;
using qor::vm::erf::SingleErf;

QOR_VM_KERNEL_PAIR(d, Erf, unary, HA, (DoubleErf<Fn::Erf, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Erf, unary, LA, (DoubleErf<Fn::Erf, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, Erf, unary, EP, (DoubleErf<Fn::Erf, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, Erf, unary, HA, (SingleErf<Fn::Erf, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Erf, unary, LA, (SingleErf<Fn::Erf, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, Erf, unary, EP, (SingleErf<Fn::Erf, Variant::EP>{}))
