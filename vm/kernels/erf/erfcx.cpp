// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in erf_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "erf_ops.h"

using qor::vm::Variant;
using qor::vm::erf::DoubleErf;
using qor::vm::erf::Fn;
using qor::vm::erf::SingleErf;

QOR_VM_KERNEL_PAIR(d, Erfcx, unary, HA, (DoubleErf<Fn::Erfcx, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Erfcx, unary, HA, (SingleErf<Fn::Erfcx, Variant::HA>{}))
