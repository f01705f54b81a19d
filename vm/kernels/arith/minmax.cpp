// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in minmax_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "../quiet_op.h"
#include "minmax_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_BINARY_KERNELS(s, Fmax, HA, float, (qor::vm::QuietBinaryOp<float, ops::FmaxFn<float>>{}))
QOR_VM_BINARY_KERNELS(d, Fmax, HA, double, (qor::vm::QuietBinaryOp<double, ops::FmaxFn<double>>{}))
QOR_VM_BINARY_KERNELS(s, Fmin, HA, float, (qor::vm::QuietBinaryOp<float, ops::FminFn<float>>{}))
QOR_VM_BINARY_KERNELS(d, Fmin, HA, double, (qor::vm::QuietBinaryOp<double, ops::FminFn<double>>{}))
QOR_VM_BINARY_KERNELS(s, MaxMag, HA, float, (qor::vm::QuietBinaryOp<float, ops::MagnitudeFn<float, true>>{}))
QOR_VM_BINARY_KERNELS(d, MaxMag, HA, double, (qor::vm::QuietBinaryOp<double, ops::MagnitudeFn<double, true>>{}))
QOR_VM_BINARY_KERNELS(s, MinMag, HA, float, (qor::vm::QuietBinaryOp<float, ops::MagnitudeFn<float, false>>{}))
QOR_VM_BINARY_KERNELS(d, MinMag, HA, double, (qor::vm::QuietBinaryOp<double, ops::MagnitudeFn<double, false>>{}))
QOR_VM_BINARY_KERNELS(s, Fdim, HA, float, (ops::FdimOp<float>{}))
QOR_VM_BINARY_KERNELS(d, Fdim, HA, double, (ops::FdimOp<double>{}))
