// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in pow2o3_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "pow2o3_ops.h"

QOR_VM_UNARY_KERNELS(d, Pow2o3, HA, double, (qor::vm::cbrt_core::Pow2o3Op<double>{}))
QOR_VM_UNARY_KERNELS(s, Pow2o3, HA, float, (qor::vm::cbrt_core::Pow2o3Op<float>{}))
