// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in powx_ops.h.
#include "../../frame/kernel_decls.h"
#include "../pow_loop.h"
#include "powx_ops.h"

using qor::vm::pow_core::Acc;
using qor::vm::pow_core::PowxMethod;

QOR_VM_KERNEL_PAIR(d, Powx, scalar, HA, (PowxMethod<double, Acc::HA>{}))
QOR_VM_KERNEL_PAIR(d, Powx, scalar, LA, (PowxMethod<double, Acc::LA>{}))
QOR_VM_KERNEL_PAIR(d, Powx, scalar, EP, (PowxMethod<double, Acc::EP>{}))
QOR_VM_KERNEL_PAIR(s, Powx, scalar, HA, (PowxMethod<float, Acc::HA>{}))
QOR_VM_KERNEL_PAIR(s, Powx, scalar, LA, (PowxMethod<float, Acc::LA>{}))
QOR_VM_KERNEL_PAIR(s, Powx, scalar, EP, (PowxMethod<float, Acc::EP>{}))
