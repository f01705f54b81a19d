// The kernels of every row; the methods and error bounds are in
// complex_tan_ops.h.
#include "../../frame/kernel_decls.h"
#include "complex_tan_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_KERNEL_PAIR(c, Tan, unary, HA, (ops::ComplexInDouble<qor_complex8, ops::Tan>{}))
QOR_VM_KERNEL_PAIR(z, Tan, unary, HA, (ops::ComplexInDouble<qor_complex16, ops::Tan>{}))
QOR_VM_KERNEL_PAIR(c, Tanh, unary, HA, (ops::ComplexInDouble<qor_complex8, ops::Tanh>{}))
QOR_VM_KERNEL_PAIR(z, Tanh, unary, HA, (ops::ComplexInDouble<qor_complex16, ops::Tanh>{}))
