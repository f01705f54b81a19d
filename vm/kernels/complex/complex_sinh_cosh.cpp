// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in complex_sinh_cosh_ops.h.
#include "../../frame/kernel_decls.h"
#include "complex_sinh_cosh_ops.h"

namespace ops = qor::vm::complex;
using ops::Hyper;

QOR_VM_PLANAR_KERNEL_PAIR(c, Cosh, unary, HA, (ops::HyperOp<float, Hyper::cosh>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Cosh, unary, HA, (ops::HyperOp<double, Hyper::cosh>{}))
QOR_VM_PLANAR_KERNEL_PAIR(c, Sinh, unary, HA, (ops::HyperOp<float, Hyper::sinh>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Sinh, unary, HA, (ops::HyperOp<double, Hyper::sinh>{}))
QOR_VM_PLANAR_KERNEL_PAIR(c, Cos, unary, HA, (ops::HyperOp<float, Hyper::cos>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Cos, unary, HA, (ops::HyperOp<double, Hyper::cos>{}))
QOR_VM_PLANAR_KERNEL_PAIR(c, Sin, unary, HA, (ops::HyperOp<float, Hyper::sin>{}))
QOR_VM_PLANAR_KERNEL_PAIR(z, Sin, unary, HA, (ops::HyperOp<double, Hyper::sin>{}))
