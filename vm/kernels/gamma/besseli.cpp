// The kernels of every row (one kernel serves all three slots); the
// operations, their methods and error bounds are in besseli_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "besseli_ops.h"

namespace ops = qor::vm::besseli;

QOR_VM_KERNEL_PAIR(d, I0, unary, HA, (ops::DoubleBesselI<0>{}))
QOR_VM_KERNEL_PAIR(d, I1, unary, HA, (ops::DoubleBesselI<1>{}))
QOR_VM_KERNEL_PAIR(s, I0, unary, HA, (ops::SingleBesselI<0>{}))
QOR_VM_KERNEL_PAIR(s, I1, unary, HA, (ops::SingleBesselI<1>{}))
