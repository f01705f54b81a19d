// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in complex_mul_ops.h.
#include "../../frame/kernel_decls.h"
#include "../complex_driver.h"
#include "complex_mul_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_KERNEL_PAIR(c, Mul, binary, HA, (ops::ComplexMulOp<qor_complex8, false, true>{}))
QOR_VM_KERNEL_PAIR(c, Mul, binary, EP, (ops::ComplexMulOp<qor_complex8, false, false>{}))
QOR_VM_KERNEL_PAIR(z, Mul, binary, HA, (ops::ComplexMulOp<qor_complex16, false, true>{}))
QOR_VM_KERNEL_PAIR(z, Mul, binary, EP, (ops::ComplexMulOp<qor_complex16, false, false>{}))
QOR_VM_KERNEL_PAIR(c, MulByConj, binary, HA, (ops::ComplexMulOp<qor_complex8, true, true>{}))
QOR_VM_KERNEL_PAIR(c, MulByConj, binary, EP, (ops::ComplexMulOp<qor_complex8, true, false>{}))
QOR_VM_KERNEL_PAIR(z, MulByConj, binary, HA, (ops::ComplexMulOp<qor_complex16, true, true>{}))
QOR_VM_KERNEL_PAIR(z, MulByConj, binary, EP, (ops::ComplexMulOp<qor_complex16, true, false>{}))
