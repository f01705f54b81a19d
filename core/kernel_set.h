// What the core takes from a loaded kernel library: its service functions,
// the kernel and cost tables of every row this build exports, and its
// random-number, summary-statistics and data-fitting functions.
#pragma once

#include <cstdint>

#include "qor/qor_vm.h"
#include "fit_kernels.h"
#include "rng_kernels.h"
#include "stats_kernels.h"

namespace qor::core {

struct KernelServices {
    int32_t (*cpu_version)(void) = nullptr;
#define QOR_CORE_SERVICE_FIELD(ret, op, params) ret(*op) params = nullptr;
    QOR_VM_SERVICES(QOR_CORE_SERVICE_FIELD)
#undef QOR_CORE_SERVICE_FIELD
};

// One member per row that is on, named after the row (dAdd, sSubI, ...).
struct RowTables {
#define QOR_VM_ROW(p, Fn, kind, share, on, ...) QOR_VM_IF_ON(on, const qor_vm_kernel* p##Fn = nullptr;)
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
};

struct RowCosts {
#define QOR_VM_ROW(p, Fn, kind, share, on, ...) QOR_VM_IF_ON(on, const float* p##Fn = nullptr;)
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
};

struct KernelSet {
    KernelServices services;
    RowTables tables;
    RowCosts costs;
    RngKernels rng;
    StatsKernels stats;
    FitKernels fit;
};

// Name of a row and where its tables go.
struct RowBinding {
    const char* name;  // "dAdd"
    const qor_vm_kernel* RowTables::*table;
    const float* RowCosts::*cost;
};

// The rows that are on, in the order of the row list.
extern const RowBinding kRowBindings[];
extern const int kRowCount;

// Row binding by name, null when the row is not exported.
const RowBinding* find_row(const char* name);

}  // namespace qor::core
