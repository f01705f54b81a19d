// The kernels of every row (one kernel serves all three slots); the
// operations, their methods and error bounds are in gamma_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "gamma_ops.h"

namespace ops = qor::vm::gamma;

QOR_VM_KERNEL_PAIR(d, TGamma, unary, HA, (ops::DoubleTGamma{}))
QOR_VM_KERNEL_PAIR(d, LGamma, unary, HA, (ops::DoubleLGamma{}))
QOR_VM_KERNEL_PAIR(s, TGamma, unary, HA, (ops::SingleGamma<ops::tgamma_plain, ops::tgamma_scalar>{0x420C0000u}))
QOR_VM_KERNEL_PAIR(s, LGamma, unary, HA, (ops::SingleGamma<ops::lgamma_plain, ops::lgamma_scalar>{0x71800000u}))
