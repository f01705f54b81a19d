// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in hypot_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "hypot_ops.h"

using qor::vm::pow_core::HypotOp;
using qor::vm::pow_core::Method;

QOR_VM_KERNEL_PAIR(d, Hypot, binary, HA, (HypotOp<double, Method::Exact>{}))
QOR_VM_KERNEL_PAIR(d, Hypot, binary, LA, (HypotOp<double, Method::Plain>{}))
QOR_VM_KERNEL_PAIR(d, Hypot, binary, EP, (HypotOp<double, Method::Plain>{}))
QOR_VM_KERNEL_PAIR(s, Hypot, binary, HA, (HypotOp<float, Method::Exact>{}))
QOR_VM_KERNEL_PAIR(s, Hypot, binary, LA, (HypotOp<float, Method::Plain>{}))
QOR_VM_KERNEL_PAIR(s, Hypot, binary, EP, (HypotOp<float, Method::Plain>{}))
