// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in minmax_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "../quiet_op.h"
#include "minmax_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_KERNEL_PAIR(s, Fmax, binary, HA, (qor::vm::QuietBinaryOp<float, ops::FmaxFn<float>>{}))
QOR_VM_KERNEL_PAIR(d, Fmax, binary, HA, (qor::vm::QuietBinaryOp<double, ops::FmaxFn<double>>{}))
QOR_VM_KERNEL_PAIR(s, Fmin, binary, HA, (qor::vm::QuietBinaryOp<float, ops::FminFn<float>>{}))
QOR_VM_KERNEL_PAIR(d, Fmin, binary, HA, (qor::vm::QuietBinaryOp<double, ops::FminFn<double>>{}))
QOR_VM_KERNEL_PAIR(s, MaxMag, binary, HA, (qor::vm::QuietBinaryOp<float, ops::MagnitudeFn<float, true>>{}))
QOR_VM_KERNEL_PAIR(d, MaxMag, binary, HA, (qor::vm::QuietBinaryOp<double, ops::MagnitudeFn<double, true>>{}))
QOR_VM_KERNEL_PAIR(s, MinMag, binary, HA, (qor::vm::QuietBinaryOp<float, ops::MagnitudeFn<float, false>>{}))
QOR_VM_KERNEL_PAIR(d, MinMag, binary, HA, (qor::vm::QuietBinaryOp<double, ops::MagnitudeFn<double, false>>{}))
QOR_VM_KERNEL_PAIR(s, Fdim, binary, HA, (ops::FdimOp<float>{}))
QOR_VM_KERNEL_PAIR(d, Fdim, binary, HA, (ops::FdimOp<double>{}))
