// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in cbrt_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "cbrt_ops.h"

using qor::vm::cbrt_core::Acc;
using qor::vm::cbrt_core::CbrtOp;

QOR_VM_UNARY_KERNELS(d, Cbrt, HA, double, (CbrtOp<double, Acc::HA>{}))
QOR_VM_UNARY_KERNELS(d, Cbrt, LA, double, (CbrtOp<double, Acc::LA>{}))
QOR_VM_UNARY_KERNELS(d, Cbrt, EP, double, (CbrtOp<double, Acc::EP>{}))
QOR_VM_UNARY_KERNELS(s, Cbrt, HA, float, (CbrtOp<float, Acc::HA>{}))
QOR_VM_UNARY_KERNELS(s, Cbrt, LA, float, (CbrtOp<float, Acc::LA>{}))
QOR_VM_UNARY_KERNELS(s, Cbrt, EP, float, (CbrtOp<float, Acc::EP>{}))
