// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in complex_add_sub_ops.h.
#include "../../frame/kernel_decls.h"
#include "../complex_driver.h"
#include "complex_add_sub_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_KERNEL_PAIR(c, Add, binary, HA, (ops::ComplexAddOp<qor_complex8, false, true>{}))
QOR_VM_KERNEL_PAIR(c, Add, binary, EP, (ops::ComplexAddOp<qor_complex8, false, false>{}))
QOR_VM_KERNEL_PAIR(z, Add, binary, HA, (ops::ComplexAddOp<qor_complex16, false, true>{}))
QOR_VM_KERNEL_PAIR(z, Add, binary, EP, (ops::ComplexAddOp<qor_complex16, false, false>{}))
QOR_VM_KERNEL_PAIR(c, Sub, binary, HA, (ops::ComplexAddOp<qor_complex8, true, true>{}))
QOR_VM_KERNEL_PAIR(c, Sub, binary, EP, (ops::ComplexAddOp<qor_complex8, true, false>{}))
QOR_VM_KERNEL_PAIR(z, Sub, binary, HA, (ops::ComplexAddOp<qor_complex16, true, true>{}))
QOR_VM_KERNEL_PAIR(z, Sub, binary, EP, (ops::ComplexAddOp<qor_complex16, true, false>{}))
