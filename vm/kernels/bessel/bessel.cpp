// The kernels of every row (one per precision, in all three slots); the
// operations, their methods and error bounds are in bessel_ops.h.
#include "../../frame/kernel_decls.h"
#include "bessel_ops.h"

namespace ops = qor::vm::bessel;
using ops::Kind;

QOR_VM_KERNEL_PAIR(d, J0, unary, HA, (ops::DoubleBessel<Kind::J0>{}))
QOR_VM_KERNEL_PAIR(d, J1, unary, HA, (ops::DoubleBessel<Kind::J1>{}))
QOR_VM_KERNEL_PAIR(d, Y0, unary, HA, (ops::DoubleBessel<Kind::Y0>{}))
QOR_VM_KERNEL_PAIR(d, Y1, unary, HA, (ops::DoubleBessel<Kind::Y1>{}))
QOR_VM_KERNEL_PAIR(s, J0, unary, HA, (ops::SingleBessel<Kind::J0>{}))
QOR_VM_KERNEL_PAIR(s, J1, unary, HA, (ops::SingleBessel<Kind::J1>{}))
QOR_VM_KERNEL_PAIR(s, Y0, unary, HA, (ops::SingleBessel<Kind::Y0>{}))
QOR_VM_KERNEL_PAIR(s, Y1, unary, HA, (ops::SingleBessel<Kind::Y1>{}))
