// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in cbrt_inverse_ops.h.
#include "../../frame/kernel_decls.h"
#include "../driver.h"
#include "cbrt_inverse_ops.h"

using qor::vm::cbrt_core::Acc;
using qor::vm::cbrt_core::InvCbrtOp;

QOR_VM_UNARY_KERNELS(d, InvCbrt, HA, double, (InvCbrtOp<double, Acc::HA>{}))
QOR_VM_UNARY_KERNELS(d, InvCbrt, LA, double, (InvCbrtOp<double, Acc::LA>{}))
QOR_VM_UNARY_KERNELS(s, InvCbrt, HA, float, (InvCbrtOp<float, Acc::HA>{}))
QOR_VM_UNARY_KERNELS(s, InvCbrt, LA, float, (InvCbrtOp<float, Acc::LA>{}))
// The EP slot of the contiguous single row has a kernel of its own; the
// strided row shares LA's.
QOR_EXTERN_C void qor_vmk_sInvCbrt_EP(int n, const float* a, float* r) {
    qor::vm::run_unary(InvCbrtOp<float, Acc::EP>{}, n, qor::vm::Contig<float>(a), qor::vm::Contig<float>(r),
                       "vsInvCbrt");
}
