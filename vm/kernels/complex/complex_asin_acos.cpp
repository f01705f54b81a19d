// The kernels of every row; the methods and error bounds are in
// complex_asin_acos_ops.h.
#include "../../frame/kernel_decls.h"
#include "complex_asin_acos_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_PLANAR_KERNEL_PAIR(c, Asin, unary, HA, (ops::InverseOp<float, ops::Asin>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Asin, unary, HA, (ops::InverseOp<double, ops::Asin>{}))
QOR_VM_PLANAR_KERNEL_PAIR(c, Acos, unary, HA, (ops::InverseOp<float, ops::Acos>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Acos, unary, HA, (ops::InverseOp<double, ops::Acos>{}))
QOR_VM_PLANAR_KERNEL_PAIR(c, Asinh, unary, HA, (ops::InverseOp<float, ops::Asinh>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Asinh, unary, HA, (ops::InverseOp<double, ops::Asinh>{}))
QOR_VM_PLANAR_KERNEL_PAIR(c, Acosh, unary, HA, (ops::InverseOp<float, ops::Acosh>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Acosh, unary, HA, (ops::InverseOp<double, ops::Acosh>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Asin, unary, LA, (ops::InverseOp<double, ops::Asin, ops::Eval::plain>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Acos, unary, LA, (ops::InverseOp<double, ops::Acos, ops::Eval::plain>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Asinh, unary, LA, (ops::InverseOp<double, ops::Asinh, ops::Eval::plain>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Acosh, unary, LA, (ops::InverseOp<double, ops::Acosh, ops::Eval::plain>{}))
