// Powr, real: x^y = e^(y ln x), defined for x >= 0 only (IEEE 754 powr).
// A negative base (also -inf), 0^0, inf^0 and 1^+-inf are domain errors
// (code 1), and a NaN argument gives NaN also when the other is 0 or the
// base 1; a zero base with a negative finite exponent is a pole (2), and
// overflow and underflow report 3 and 4 as in Pow.  Three kernels per
// precision over the methods of Pow (see pow_ops.h).
#include "../../frame/kernel_decls.h"
#include "../pow_loop.h"
#include "pow_ops.h"

using qor::vm::pow_core::Acc;
using qor::vm::pow_core::DoublePow;
using qor::vm::pow_core::Kind;
using qor::vm::pow_core::SinglePow;

QOR_VM_KERNEL_PAIR(d, Powr, binary, HA, (DoublePow<Kind::Powr, Acc::HA>{}))
QOR_VM_KERNEL_PAIR(d, Powr, binary, LA, (DoublePow<Kind::Powr, Acc::LA>{}))
QOR_VM_KERNEL_PAIR(d, Powr, binary, EP, (DoublePow<Kind::Powr, Acc::EP>{}))
QOR_VM_KERNEL_PAIR(s, Powr, binary, HA, (SinglePow<Kind::Powr, Acc::HA>{}))
QOR_VM_KERNEL_PAIR(s, Powr, binary, LA, (SinglePow<Kind::Powr, Acc::LA>{}))
QOR_VM_KERNEL_PAIR(s, Powr, binary, EP, (SinglePow<Kind::Powr, Acc::EP>{}))
