// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in powx_ops.h.
#include "../../frame/kernel_decls.h"
#include "../pow_loop.h"
#include "powx_ops.h"

#define QOR_POWX_RUN(A, kind) qor::vm::pow_core::powx_##kind<qor::vm::pow_core::Acc::A>
QOR_VM_POWX_KERNELS(d, HA, double, QOR_POWX_RUN(HA, double))
QOR_VM_POWX_KERNELS(d, LA, double, QOR_POWX_RUN(LA, double))
QOR_VM_POWX_KERNELS(d, EP, double, QOR_POWX_RUN(EP, double))
QOR_VM_POWX_KERNELS(s, HA, float, QOR_POWX_RUN(HA, single))
QOR_VM_POWX_KERNELS(s, LA, float, QOR_POWX_RUN(LA, single))
QOR_VM_POWX_KERNELS(s, EP, float, QOR_POWX_RUN(EP, single))
