// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in cbrt_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "cbrt_ops.h"

using qor::vm::cbrt_core::Acc;
using qor::vm::cbrt_core::CbrtOp;

QOR_VM_KERNEL_PAIR(d, Cbrt, unary, HA, (CbrtOp<double, Acc::HA>{}))
QOR_VM_KERNEL_PAIR(d, Cbrt, unary, LA, (CbrtOp<double, Acc::LA>{}))
QOR_VM_KERNEL_PAIR(d, Cbrt, unary, EP, (CbrtOp<double, Acc::EP>{}))
QOR_VM_KERNEL_PAIR(s, Cbrt, unary, HA, (CbrtOp<float, Acc::HA>{}))
QOR_VM_KERNEL_PAIR(s, Cbrt, unary, LA, (CbrtOp<float, Acc::LA>{}))
QOR_VM_KERNEL_PAIR(s, Cbrt, unary, EP, (CbrtOp<float, Acc::EP>{}))
