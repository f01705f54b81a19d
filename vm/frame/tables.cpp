// The kernel table (_ttab) and cost table (_ctab) of every row that is on.
// Each table is defined under a local name that the entry points address
// directly, and exported under its public name as an alias.
#include "kernel_decls.h"
#include "qor/qor_vm.h"

#define QOR_VM_TABLES(p, Fn, share, la, ha, ep)                                                        \
    extern "C" {                                                                                        \
    QOR_HIDDEN extern const qor_vm_kernel qor_vm_ttab_##p##Fn[3];                                       \
    const qor_vm_kernel qor_vm_ttab_##p##Fn[3] = {QOR_VM_TABLE_CASTS(QOR_VMK_SLOTS_##share(p, Fn))}; \
    QOR_EXPORT extern const qor_vm_kernel qor_lum_kernel_##p##Fn##_ttab[3]                              \
        __attribute__((alias("qor_vm_ttab_" #p #Fn)));                                                  \
    const float qor_lum_kernel_##p##Fn##_ctab[3] = {la, ha, ep};                                        \
    }

#define QOR_VM_TABLE_CASTS(...) QOR_VM_TABLE_CASTS_(__VA_ARGS__)
#define QOR_VM_TABLE_CASTS_(k0, k1, k2) \
    reinterpret_cast<qor_vm_kernel>(k0), reinterpret_cast<qor_vm_kernel>(k1), reinterpret_cast<qor_vm_kernel>(k2)

#define QOR_VM_ROW(p, Fn, kind, share, on, la, ha, ep) QOR_VM_IF_ON(on, QOR_VM_TABLES(p, Fn, share, la, ha, ep))
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
