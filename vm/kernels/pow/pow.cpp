// Pow, real: x^y with the special cases of C99 and IEEE 754 (see
// pow_core.h), three kernels per precision (see pow_ops.h for the methods).
// Codes: 1 for a negative finite base with a finite non-integer exponent,
// 2 for a zero base with a negative finite exponent, 3 for an overflow of
// finite arguments, 4 for a result below the smallest normal number.
#include "../../frame/kernel_decls.h"
#include "../pow_loop.h"
#include "pow_ops.h"

using qor::vm::pow_core::Acc;
using qor::vm::pow_core::DoublePow;
using qor::vm::pow_core::Kind;
using qor::vm::pow_core::SinglePow;

QOR_VM_KERNEL_PAIR(d, Pow, binary, HA, (DoublePow<Kind::Pow, Acc::HA>{}))
QOR_VM_KERNEL_PAIR(d, Pow, binary, LA, (DoublePow<Kind::Pow, Acc::LA>{}))
QOR_VM_KERNEL_PAIR(d, Pow, binary, EP, (DoublePow<Kind::Pow, Acc::EP>{}))
QOR_VM_KERNEL_PAIR(s, Pow, binary, HA, (SinglePow<Kind::Pow, Acc::HA>{}))
QOR_VM_KERNEL_PAIR(s, Pow, binary, LA, (SinglePow<Kind::Pow, Acc::LA>{}))
QOR_VM_KERNEL_PAIR(s, Pow, binary, EP, (SinglePow<Kind::Pow, Acc::EP>{}))
