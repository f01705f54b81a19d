// The public vector-math functions, generated from the row list: each one
// picks a kernel from its row's table by accuracy slot and calls it with the
// caller's arguments.
#include "loader.h"
#include "qor/qor.h"
#include "vm_dispatch.h"

using qor::core::KernelSet;
using qor::core::ScopedMode;
using qor::core::thread_slot;
using qor::core::usable_kernels;

#define QOR_VM_PUBLIC_DEFS(p, Fn, kind)                                                             \
    QOR_EXPORT void qor_v##p##Fn QOR_VM_PARAMS(kind, p) {                                           \
        using Kernel = void(*) QOR_VM_PARAMS(kind, p);                                              \
        const KernelSet* k = usable_kernels();                                                      \
        if (!k) return;                                                                             \
        reinterpret_cast<Kernel>(k->tables.p##Fn[thread_slot(k->services)]) QOR_VM_ARGS(kind);      \
    }                                                                                               \
    QOR_EXPORT void qor_vm##p##Fn QOR_VM_WITH_MODE(QOR_VM_PARAMS(kind, p)) {                        \
        using Kernel = void(*) QOR_VM_PARAMS(kind, p);                                              \
        const KernelSet* k = usable_kernels();                                                      \
        if (!k) return;                                                                             \
        ScopedMode scope(k->services, mode);                                                        \
        reinterpret_cast<Kernel>(k->tables.p##Fn[scope.slot()]) QOR_VM_ARGS(kind);                  \
    }

QOR_EXTERN_C {
#define QOR_VM_ROW(p, Fn, kind, share, on, ...) QOR_VM_IF_ON(on, QOR_VM_PUBLIC_DEFS(p, Fn, kind))
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
}
