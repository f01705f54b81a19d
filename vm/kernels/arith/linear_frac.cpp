// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in linear_frac_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "linear_frac_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_KERNEL_PAIR(s, LinearFrac, linfrac, HA, (qor::vm::MadeFrom<ops::LinearFracOp<float>>{}))
QOR_VM_KERNEL_PAIR(d, LinearFrac, linfrac, HA, (qor::vm::MadeFrom<ops::LinearFracOp<double>>{}))
