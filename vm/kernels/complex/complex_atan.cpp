// The kernels of every row; the methods and error bounds are in
// complex_atan_ops.h.
#include "../../frame/kernel_decls.h"
#include "complex_atan_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_PLANAR_KERNEL_PAIR(c, Atan, unary, HA, (ops::InverseOp<float, ops::Atan>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Atan, unary, HA, (ops::InverseOp<double, ops::Atan>{}))
QOR_VM_PLANAR_KERNEL_PAIR(c, Atanh, unary, HA, (ops::InverseOp<float, ops::Atanh>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Atanh, unary, HA, (ops::InverseOp<double, ops::Atanh>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Atan, unary, LA, (ops::InverseOp<double, ops::Atan, ops::Eval::plain>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Atanh, unary, LA, (ops::InverseOp<double, ops::Atanh, ops::Eval::plain>{}))
