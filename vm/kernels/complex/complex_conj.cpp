// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in complex_conj_ops.h.
#include "../../frame/kernel_decls.h"
#include "../complex_driver.h"
#include "complex_conj_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_KERNEL_PAIR(c, Conj, unary, HA, ops::ConjOp<qor_complex8>{})
QOR_VM_KERNEL_PAIR(z, Conj, unary, HA, ops::ConjOp<qor_complex16>{})
