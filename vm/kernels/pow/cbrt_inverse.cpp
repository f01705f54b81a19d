// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in cbrt_inverse_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "cbrt_inverse_ops.h"

using qor::vm::cbrt_core::Acc;
using qor::vm::cbrt_core::InvCbrtOp;

QOR_VM_KERNEL_PAIR(d, InvCbrt, unary, HA, (InvCbrtOp<double, Acc::HA>{}))
QOR_VM_KERNEL_PAIR(d, InvCbrt, unary, LA, (InvCbrtOp<double, Acc::LA>{}))
QOR_VM_KERNEL_PAIR(s, InvCbrt, unary, HA, (InvCbrtOp<float, Acc::HA>{}))
QOR_VM_KERNEL_PAIR(s, InvCbrt, unary, LA, (InvCbrtOp<float, Acc::LA>{}))
// The EP slot of the contiguous single row has a kernel of its own; the
// strided row shares LA's.
QOR_VM_KERNEL(s, InvCbrt, unary, EP, (InvCbrtOp<float, Acc::EP>{}))
