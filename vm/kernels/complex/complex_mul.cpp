// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in complex_mul_ops.h.
#include "../../frame/kernel_decls.h"
#include "../complex_driver.h"
#include "complex_mul_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_COMPLEX_BINARY_KERNELS(c, Mul, HA, qor_complex8, (ops::ComplexMulOp<qor_complex8, false, true>{}))
QOR_VM_COMPLEX_BINARY_KERNELS(c, Mul, EP, qor_complex8, (ops::ComplexMulOp<qor_complex8, false, false>{}))
QOR_VM_COMPLEX_BINARY_KERNELS(z, Mul, HA, qor_complex16, (ops::ComplexMulOp<qor_complex16, false, true>{}))
QOR_VM_COMPLEX_BINARY_KERNELS(z, Mul, EP, qor_complex16, (ops::ComplexMulOp<qor_complex16, false, false>{}))
QOR_VM_COMPLEX_BINARY_KERNELS(c, MulByConj, HA, qor_complex8, (ops::ComplexMulOp<qor_complex8, true, true>{}))
QOR_VM_COMPLEX_BINARY_KERNELS(c, MulByConj, EP, qor_complex8, (ops::ComplexMulOp<qor_complex8, true, false>{}))
QOR_VM_COMPLEX_BINARY_KERNELS(z, MulByConj, HA, qor_complex16, (ops::ComplexMulOp<qor_complex16, true, true>{}))
QOR_VM_COMPLEX_BINARY_KERNELS(z, MulByConj, EP, qor_complex16, (ops::ComplexMulOp<qor_complex16, true, false>{}))
