// What the data-fitting sources share about a task: its precision, the data
// of function j, the per-function pointer tables and the search table.  For
// the data-fitting sources only; nothing here is exported.
#pragma once

#include <cstddef>
#include <cstdint>

#include "qor/qor_kp.h"

namespace qor::kp {

// Records and tables the data-fitting family allocates are aligned this way.
constexpr int kTaskAlignment = 128;

// The value NewTask1D stores in `kind`; the edits and queries act only on it.
constexpr uint32_t kTaskKind = 1;

// Bytes per element of the task's breakpoints, values and coefficients.
inline size_t element_size(uint32_t precision) { return precision ? sizeof(double) : sizeof(float); }

// Runs f(T{}) with T the task's element type.
template <class F>
decltype(auto) with_precision(const FitTask& task, F&& f) {
    return task.precision ? f(double{}) : f(float{});
}

// Breakpoints, values of function j and coefficients of function j, typed.
template <class T>
const T* breakpoints(const FitTask& task) { return static_cast<const T*>(task.x); }
template <class T>
const T* values_of(const FitTask& task, int64_t j) { return static_cast<const T*>(task.yTable[j]); }
template <class T>
T* coefficients_of(const FitTask& task, int64_t j) { return static_cast<T*>(task.coeffTable[j]); }

// The search table's binScale in the task's precision.
template <class T>
T bin_scale(const FitTask& task) {
    if constexpr (sizeof(T) == sizeof(double)) return task.binScale.d;
    else return task.binScale.s;
}

// Pair k of the search table: the breakpoint indexes that bracket the cells
// of the sites in bin k.
inline int64_t bin_lo(const FitTask& task, int64_t k) { return task.binTable[2 * k]; }
inline int64_t bin_hi(const FitTask& task, int64_t k) { return task.binTable[2 * k + 1]; }

// Whether a values or coefficient hint is one of 0, 16, 32, 128.
inline bool is_values_hint(int64_t hint) {
    return hint == hintValuesDefault || hint == hintValuesByFunction || hint == hintValuesWhole ||
           hint == hintValuesPerFunction;
}

// ---- Per-function pointer tables (value_tables.cpp) --------------------------
// A table holds `capacity` entries and one spare slot after them, all null
// until set; its capacity is kept in front of it, so that an index beyond
// the table (ny may grow after it was built) is refused rather than written.

// A zeroed table of `capacity` entries; null when the allocation fails.
void** allocate_pointer_table(int64_t capacity);
void free_pointer_table(void* table);
// Entries the table was built with (entry `capacity` is the spare slot).
int64_t pointer_table_capacity(const void* table);

// Frees task.yTable and builds it for values y: ny entries y + j*nx
// (elements of `element` bytes) for hints 0 and 16, the single entry y for
// hint 32, ny entries with only entry 0 set for hint 128.  statusNoMemory
// leaves yTable null.
int32_t rebuild_value_table(FitTask& task, const void* y, int64_t nx, int64_t ny, int64_t yhint, size_t element);

// Frees task.coeffTable and builds it with ny entries for coefficients c:
// only entry 0 when bit 7 of the hint is set, else c + j*stride with stride
// order*nx - order (order*nx for type 1).  statusNoMemory leaves it null.
int32_t rebuild_coefficient_table(FitTask& task, void* c, int64_t order, int64_t type, int64_t hint);

// ---- Search table (search_table.cpp) ------------------------------------------

// Frees task.binTable and builds it over the task's breakpoints in the
// task's precision, with binCount and binScale.  statusNoMemory leaves
// binTable null and binCount 0.
int32_t rebuild_search_table(FitTask& task);

}  // namespace qor::kp
