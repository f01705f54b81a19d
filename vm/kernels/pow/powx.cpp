// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in powx_ops.h.
#include "../../frame/kernel_decls.h"
#include "../pow_loop.h"
#include "powx_ops.h"

using qor::vm::pow_core::Acc;
using qor::vm::pow_core::PowxDouble;
using qor::vm::pow_core::PowxSingle;

QOR_VM_KERNEL_PAIR(d, Powx, scalar, HA, PowxDouble<Acc::HA>{})
QOR_VM_KERNEL_PAIR(d, Powx, scalar, LA, PowxDouble<Acc::LA>{})
QOR_VM_KERNEL_PAIR(d, Powx, scalar, EP, PowxDouble<Acc::EP>{})
QOR_VM_KERNEL_PAIR(s, Powx, scalar, HA, PowxSingle<Acc::HA>{})
QOR_VM_KERNEL_PAIR(s, Powx, scalar, LA, PowxSingle<Acc::LA>{})
QOR_VM_KERNEL_PAIR(s, Powx, scalar, EP, PowxSingle<Acc::EP>{})
