// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in complex_add_sub_ops.h.
#include "../../frame/kernel_decls.h"
#include "../complex_driver.h"
#include "complex_add_sub_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_COMPLEX_BINARY_KERNELS(c, Add, HA, qor_complex8, (ops::ComplexAddOp<qor_complex8, false, true>{}))
QOR_VM_COMPLEX_BINARY_KERNELS(c, Add, EP, qor_complex8, (ops::ComplexAddOp<qor_complex8, false, false>{}))
QOR_VM_COMPLEX_BINARY_KERNELS(z, Add, HA, qor_complex16, (ops::ComplexAddOp<qor_complex16, false, true>{}))
QOR_VM_COMPLEX_BINARY_KERNELS(z, Add, EP, qor_complex16, (ops::ComplexAddOp<qor_complex16, false, false>{}))
QOR_VM_COMPLEX_BINARY_KERNELS(c, Sub, HA, qor_complex8, (ops::ComplexAddOp<qor_complex8, true, true>{}))
QOR_VM_COMPLEX_BINARY_KERNELS(c, Sub, EP, qor_complex8, (ops::ComplexAddOp<qor_complex8, true, false>{}))
QOR_VM_COMPLEX_BINARY_KERNELS(z, Sub, HA, qor_complex16, (ops::ComplexAddOp<qor_complex16, true, true>{}))
QOR_VM_COMPLEX_BINARY_KERNELS(z, Sub, EP, qor_complex16, (ops::ComplexAddOp<qor_complex16, true, false>{}))
