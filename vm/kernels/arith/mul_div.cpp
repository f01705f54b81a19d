// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in mul_div_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "mul_div_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_BINARY_KERNELS(s, Mul, HA, float, (ops::MulOp<float>{}))
QOR_VM_BINARY_KERNELS(d, Mul, HA, double, (ops::MulOp<double>{}))
QOR_VM_BINARY_KERNELS(s, Div, HA, float, (ops::DivOp<float>{}))
QOR_VM_BINARY_KERNELS(d, Div, HA, double, (ops::DivOp<double>{}))
QOR_VM_UNARY_KERNELS(s, Inv, HA, float, (ops::InvOp<float>{}))
QOR_VM_UNARY_KERNELS(d, Inv, HA, double, (ops::InvOp<double>{}))
QOR_VM_UNARY_KERNELS(s, Sqr, HA, float, (ops::SqrOp<float>{}))
QOR_VM_UNARY_KERNELS(d, Sqr, HA, double, (ops::SqrOp<double>{}))
