// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in pow2o3_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "pow2o3_ops.h"

QOR_VM_KERNEL_PAIR(d, Pow2o3, unary, HA, (qor::vm::cbrt_core::Pow2o3Op<double>{}))
QOR_VM_KERNEL_PAIR(s, Pow2o3, unary, HA, (qor::vm::cbrt_core::Pow2o3Op<float>{}))
