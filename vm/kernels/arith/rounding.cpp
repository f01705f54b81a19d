// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in rounding_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "../quiet_op.h"
#include "rounding_ops.h"

namespace ops = qor::vm::arith;

#define QOR_ROUNDING_KERNELS(Name)                                                                       \
    QOR_VM_KERNEL_PAIR(s, Name, unary, HA, (qor::vm::QuietUnaryOp<float, ops::Name##Fn<float>>{}))     \
    QOR_VM_KERNEL_PAIR(d, Name, unary, HA, (qor::vm::QuietUnaryOp<double, ops::Name##Fn<double>>{}))

QOR_ROUNDING_KERNELS(Ceil)
QOR_ROUNDING_KERNELS(Floor)
QOR_ROUNDING_KERNELS(Trunc)
QOR_ROUNDING_KERNELS(Rint)
QOR_ROUNDING_KERNELS(NearbyInt)
QOR_ROUNDING_KERNELS(Round)
