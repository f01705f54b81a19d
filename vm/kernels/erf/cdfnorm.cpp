// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in erf_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "erf_ops.h"

using qor::vm::Variant;
using qor::vm::erf::DoubleErf;
using qor::vm::erf::Fn;
using qor::vm::erf::SingleErf;

QOR_VM_KERNEL_PAIR(d, CdfNorm, unary, HA, (DoubleErf<Fn::CdfNorm, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, CdfNorm, unary, LA, (DoubleErf<Fn::CdfNorm, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, CdfNorm, unary, EP, (DoubleErf<Fn::CdfNorm, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, CdfNorm, unary, HA, (SingleErf<Fn::CdfNorm, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, CdfNorm, unary, LA, (SingleErf<Fn::CdfNorm, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, CdfNorm, unary, EP, (SingleErf<Fn::CdfNorm, Variant::EP>{}))
