// The kernel table (_ttab) and cost table (_ctab) of every row that is on.
// Each table is defined and exported under its public name; the entry
// points address it through a hidden alias.  The alias binds locally, which
// a shared object needs for the entries' direct %rip-relative jumps, and the
// exported definition itself keeps its data type, which a DLL needs so that
// importers reach the table and not a code thunk.
#include "kernel_decls.h"
#include "qor/qor_vm.h"

#define QOR_VM_TABLES(p, Fn, share, la, ha, ep)                                                        \
    extern "C" {                                                                                        \
    const qor_vm_kernel qor_lum_kernel_##p##Fn##_ttab[3] = {                                            \
        QOR_VM_TABLE_CASTS(QOR_VMK_SLOTS_##share(p, Fn))};                                              \
    QOR_HIDDEN extern const qor_vm_kernel qor_vm_ttab_##p##Fn[3]                                        \
        __attribute__((alias("qor_lum_kernel_" #p #Fn "_ttab")));                                       \
    const float qor_lum_kernel_##p##Fn##_ctab[3] = {la, ha, ep};                                        \
    }

#define QOR_VM_TABLE_CASTS(...) QOR_VM_TABLE_CASTS_(__VA_ARGS__)
#define QOR_VM_TABLE_CASTS_(k0, k1, k2) \
    reinterpret_cast<qor_vm_kernel>(k0), reinterpret_cast<qor_vm_kernel>(k1), reinterpret_cast<qor_vm_kernel>(k2)

#define QOR_VM_ROW(p, Fn, kind, share, on, la, ha, ep) QOR_VM_IF_ON(on, QOR_VM_TABLES(p, Fn, share, la, ha, ep))
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
