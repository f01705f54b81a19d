// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in hypot_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "hypot_ops.h"

using qor::vm::pow_core::HypotOp;
using qor::vm::pow_core::Method;

QOR_VM_BINARY_KERNELS(d, Hypot, HA, double, (HypotOp<double, Method::Exact>{}))
QOR_VM_BINARY_KERNELS(d, Hypot, LA, double, (HypotOp<double, Method::Plain>{}))
QOR_VM_BINARY_KERNELS(d, Hypot, EP, double, (HypotOp<double, Method::Plain>{}))
QOR_VM_BINARY_KERNELS(s, Hypot, HA, float, (HypotOp<float, Method::Exact>{}))
QOR_VM_BINARY_KERNELS(s, Hypot, LA, float, (HypotOp<float, Method::Plain>{}))
QOR_VM_BINARY_KERNELS(s, Hypot, EP, float, (HypotOp<float, Method::Plain>{}))
