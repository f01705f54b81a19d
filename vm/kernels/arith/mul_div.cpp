// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in mul_div_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "mul_div_ops.h"

namespace ops = qor::vm::arith;

QOR_VM_KERNEL_PAIR(s, Mul, binary, HA, (ops::MulOp<float>{}))
QOR_VM_KERNEL_PAIR(d, Mul, binary, HA, (ops::MulOp<double>{}))
QOR_VM_KERNEL_PAIR(s, Div, binary, HA, (ops::DivOp<float>{}))
QOR_VM_KERNEL_PAIR(d, Div, binary, HA, (ops::DivOp<double>{}))
QOR_VM_KERNEL_PAIR(s, Inv, unary, HA, (ops::InvOp<float>{}))
QOR_VM_KERNEL_PAIR(d, Inv, unary, HA, (ops::InvOp<double>{}))
QOR_VM_KERNEL_PAIR(s, Sqr, unary, HA, (ops::SqrOp<float>{}))
QOR_VM_KERNEL_PAIR(d, Sqr, unary, HA, (ops::SqrOp<double>{}))
