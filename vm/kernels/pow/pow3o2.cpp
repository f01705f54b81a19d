// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in pow3o2_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "pow3o2_ops.h"

QOR_VM_UNARY_KERNELS(d, Pow3o2, HA, double, (qor::vm::pow_core::Pow3o2Op<double>{}))
QOR_VM_UNARY_KERNELS(s, Pow3o2, HA, float, (qor::vm::pow_core::Pow3o2Op<float>{}))
