// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in erfinv_ops.h.
#include "../../frame/kernel_decls.h"
#include "../exp_log_loop.h"
#include "erfinv_ops.h"

namespace ops = qor::vm::erfinv;
using qor::vm::Variant;

QOR_VM_KERNEL_PAIR(d, ErfInv, unary, HA, (ops::DoubleErfInv<Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, ErfInv, unary, LA, (ops::DoubleErfInv<Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, ErfInv, unary, EP, (ops::DoubleErfInv<Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, ErfInv, unary, HA, (ops::SingleErfInv<Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, ErfInv, unary, LA, (ops::SingleErfInv<Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, ErfInv, unary, EP, (ops::SingleErfInv<Variant::EP>{}))
QOR_VM_KERNEL_PAIR(d, ErfcInv, unary, HA, (ops::DoubleErfcInv{}))
QOR_VM_KERNEL_PAIR(s, ErfcInv, unary, HA, (ops::SingleErfcInv{}))
QOR_VM_KERNEL_PAIR(d, CdfNormInv, unary, HA, (ops::DoubleCdfNormInv{}))
QOR_VM_KERNEL_PAIR(s, CdfNormInv, unary, HA, (ops::SingleCdfNormInv{}))
