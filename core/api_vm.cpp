// The public vector-math functions, generated from the row list: each one
// checks the count and the arrays, picks a kernel from its row's table by
// accuracy slot and hands it the caller's arguments, split where they exceed
// the kernel's 32-bit counts.  A refused call reports through the error path
// under the mode that the call runs with, and no kernel runs.
#include "loader.h"
#include "qor/qor.h"
#include "vm_call.h"
#include "vm_dispatch.h"

using qor::core::ArgumentCheck;
using qor::core::check_arguments;
using qor::core::Forward;
using qor::core::kernels_for_call;
using qor::core::KernelSet;
using qor::core::report_bad_arguments;
using qor::core::ScopedMode;
using qor::core::thread_slot;

#define QOR_CORE_WITH_MODE(params) QOR_CORE_WITH_MODE_ params
#define QOR_CORE_WITH_MODE_(...) (__VA_ARGS__, uint32_t mode)

#define QOR_CORE_VM_DEFS(p, Fn, kind)                                                                        \
    namespace {                                                                                              \
    using Kernel_##p##Fn = void(*) QOR_VM_PARAMS(kind, p);                                                   \
    }                                                                                                        \
    QOR_EXTERN_C QOR_EXPORT void qor_v##p##Fn QOR_CORE_PUBLIC_PARAMS(Kernel_##p##Fn, QOR_VM_ARGS(kind)) {     \
        const KernelSet* k = kernels_for_call();                                                             \
        if (!k) [[unlikely]] return;                                                                         \
        if (const ArgumentCheck bad = check_arguments QOR_VM_ARGS(kind); bad.status != 0) [[unlikely]] {     \
            return report_bad_arguments(k->services, bad.status, bad.position, "v" #p #Fn);                  \
        }                                                                                                    \
        const qor_vm_kernel kernel = k->tables.p##Fn[thread_slot(k->services)];                              \
        Forward<Kernel_##p##Fn>{reinterpret_cast<Kernel_##p##Fn>(kernel)} QOR_VM_ARGS(kind);                 \
    }                                                                                                        \
    QOR_EXTERN_C QOR_EXPORT void qor_vm##p##Fn QOR_CORE_WITH_MODE(                                         \
        QOR_CORE_PUBLIC_PARAMS(Kernel_##p##Fn, QOR_VM_ARGS(kind))) {                                         \
        const KernelSet* k = kernels_for_call();                                                             \
        if (!k) [[unlikely]] return;                                                                         \
        ScopedMode scope(k->services, mode);                                                                 \
        if (const ArgumentCheck bad = check_arguments QOR_VM_ARGS(kind); bad.status != 0) [[unlikely]] {     \
            return report_bad_arguments(k->services, bad.status, bad.position, "vm" #p #Fn);                 \
        }                                                                                                    \
        const qor_vm_kernel kernel = k->tables.p##Fn[scope.slot()];                                          \
        Forward<Kernel_##p##Fn>{reinterpret_cast<Kernel_##p##Fn>(kernel)} QOR_VM_ARGS(kind);                 \
    }

#define QOR_VM_ROW(p, Fn, kind, share, on, ...) QOR_VM_IF_ON(on, QOR_CORE_VM_DEFS(p, Fn, kind))
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
