// The kernels of every row and accuracy slot; the operations, their methods
// and error bounds are in asin_acos_ops.h.
#include "../../frame/kernel_decls.h"
#include "asin_acos_ops.h"

using qor::vm::Variant;
using qor::vm::invtrig::Arc;
using qor::vm::invtrig::DoubleArcsine;
using qor::vm::invtrig::SingleArcsine;

QOR_VM_KERNEL_PAIR(d, Asin, unary, HA, (DoubleArcsine<Arc::Sine, false, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Asin, unary, LA, (DoubleArcsine<Arc::Sine, false, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, Asin, unary, EP, (DoubleArcsine<Arc::Sine, false, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(d, Acos, unary, HA, (DoubleArcsine<Arc::Cosine, false, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Acos, unary, LA, (DoubleArcsine<Arc::Cosine, false, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(d, Acos, unary, EP, (DoubleArcsine<Arc::Cosine, false, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(d, Asinpi, unary, HA, (DoubleArcsine<Arc::Sine, true, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(d, Acospi, unary, HA, (DoubleArcsine<Arc::Cosine, true, Variant::HA>{}))

QOR_VM_KERNEL_PAIR(s, Asin, unary, HA, (SingleArcsine<Arc::Sine, false, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Asin, unary, LA, (SingleArcsine<Arc::Sine, false, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, Asin, unary, EP, (SingleArcsine<Arc::Sine, false, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, Acos, unary, HA, (SingleArcsine<Arc::Cosine, false, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Acos, unary, LA, (SingleArcsine<Arc::Cosine, false, Variant::LA>{}))
QOR_VM_KERNEL_PAIR(s, Acos, unary, EP, (SingleArcsine<Arc::Cosine, false, Variant::EP>{}))
QOR_VM_KERNEL_PAIR(s, Asinpi, unary, HA, (SingleArcsine<Arc::Sine, true, Variant::HA>{}))
QOR_VM_KERNEL_PAIR(s, Acospi, unary, HA, (SingleArcsine<Arc::Cosine, true, Variant::HA>{}))
