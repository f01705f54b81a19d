// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in complex_conj_ops.h.
#include "../../frame/kernel_decls.h"
#include "../complex_driver.h"
#include "complex_conj_ops.h"

namespace ops = qor::vm::complex;

QOR_VM_COMPLEX_UNARY_KERNELS(c, Conj, HA, qor_complex8, ops::ConjOp<qor_complex8>{})
QOR_VM_COMPLEX_UNARY_KERNELS(z, Conj, HA, qor_complex16, ops::ConjOp<qor_complex16>{})
