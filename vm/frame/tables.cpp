// The kernel table (_ttab) and cost table (_ctab) of every row that is on.
// Each table is defined and exported under its public name; the entry
// points address it through a hidden alias.  The alias binds locally, which
// a shared object needs for the entries' direct %rip-relative jumps, and the
// exported definition itself keeps its data type, which a DLL needs so that
// importers reach the table and not a code thunk.
//
// A row's costs are its frozen triple from the row list, or the measured
// one from vm_costs.inc, which only this file reads: re-measuring rebuilds
// this one object.
#include <string_view>

#include "kernel_decls.h"
#include "qor/qor_vm.h"

namespace {

struct MeasuredCosts {
    std::string_view row;
    float slot[3];
};

constexpr MeasuredCosts kMeasured[] = {
#define QOR_VM_COST(p, Fn, la, ha, ep) {#p #Fn, {la, ha, ep}},
#include "vm_costs.inc"
#undef QOR_VM_COST
};

// The measured costs of a row; zeros for a row not measured yet.
constexpr MeasuredCosts measured(std::string_view row) {
    for (const MeasuredCosts& m : kMeasured)
        if (m.row == row) return m;
    return {row, {0.0f, 0.0f, 0.0f}};
}

}  // namespace

#define QOR_VM_MEASURED_CTAB(p, Fn) \
    {measured(#p #Fn).slot[0], measured(#p #Fn).slot[1], measured(#p #Fn).slot[2]}

#define QOR_VM_TABLES(p, Fn, share, cost)                                                              \
    extern "C" {                                                                                        \
    const qor_vm_kernel qor_lum_kernel_##p##Fn##_ttab[3] = {                                            \
        QOR_VM_TABLE_CASTS(QOR_VMK_SLOTS_##share(p, Fn))};                                              \
    QOR_HIDDEN extern const qor_vm_kernel qor_vm_ttab_##p##Fn[3]                                        \
        __attribute__((alias("qor_lum_kernel_" #p #Fn "_ttab")));                                       \
    constinit const float qor_lum_kernel_##p##Fn##_ctab[3] =                                            \
        QOR_VM_FROZEN_OR(cost, QOR_VM_MEASURED_CTAB(p, Fn));                                            \
    }

#define QOR_VM_TABLE_CASTS(...) QOR_VM_TABLE_CASTS_(__VA_ARGS__)
#define QOR_VM_TABLE_CASTS_(k0, k1, k2) \
    reinterpret_cast<qor_vm_kernel>(k0), reinterpret_cast<qor_vm_kernel>(k1), reinterpret_cast<qor_vm_kernel>(k2)

#define QOR_VM_ROW(p, Fn, kind, share, on, cost, ...) QOR_VM_IF_ON(on, QOR_VM_TABLES(p, Fn, share, cost))
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
