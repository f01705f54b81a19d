// The kernels of Jn and Yn (one per precision, in all three slots); the
// methods per order and their error bounds are in bessel_n_ops.h.
#include "../../frame/kernel_decls.h"
#include "bessel_n_ops.h"

namespace ops = qor::vm::bessel;

QOR_VM_KERNEL_PAIR(d, Jn, scalar, HA, (ops::OrderMethod<double, true>{}))
QOR_VM_KERNEL_PAIR(d, Yn, scalar, HA, (ops::OrderMethod<double, false>{}))
QOR_VM_KERNEL_PAIR(s, Jn, scalar, HA, (ops::OrderMethod<float, true>{}))
QOR_VM_KERNEL_PAIR(s, Yn, scalar, HA, (ops::OrderMethod<float, false>{}))
