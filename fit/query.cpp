// Reading a task's integer attributes and array pointers.
#include <cstring>

#include "fit/task_internal.h"
#include "fit/value_attributes.h"

namespace qor::kp {
namespace {

// Entry `index` of a pointer table; null without a table, and beyond the
// spare slot that follows its last entry.
const void* entry_of(const void* const* table, int64_t index) {
    if (!table || index > pointer_table_capacity(table)) return nullptr;
    return table[index];
}

int32_t query_pointer(const FitTask* task, int64_t attribute, const void** out) {
    if (!task) return statusNullTask;
    if (!out) return statusNullOutput;
    if (task->kind != kTaskKind) return 0;
    switch (attribute) {
    case attrBreakpoints: *out = task->x; return 0;
    case attrFunctionValues: *out = entry_of(task->yTable, 0); return 0;
    case attrInternalCondValues: *out = task->ic; return 0;
    case attrBoundaryCondValues: *out = task->bc; return 0;
    case attrCoefficients: *out = entry_of(task->coeffTable, 0); return 0;
    default: return statusBadAttribute;
    }
}

// index == ny is let through and reads the slot after the last entry.
int32_t query_index_pointer(const FitTask* task, int64_t attribute, int64_t index, const void** out) {
    if (!task) return statusNullTask;
    if (!out) return statusNullOutput;
    if (index < 0 || index > task->ny) return statusBadIndex;
    if (task->kind != kTaskKind) return 0;
    if (attribute == attrCoefficients) {
        *out = entry_of(task->coeffTable, index);
        return 0;
    }
    if (attribute == attrFunctionValues) {
        if (task->yhint == hintValuesWhole) return statusBadValuesHint;
        *out = entry_of(task->yTable, index);
        return 0;
    }
    return statusBadAttribute;
}

// The untyped queries write through a pointer of their own; the caller's
// keeps its value when nothing is written.
template <class T, class Query>
int32_t typed(const T** out, Query query) {
    const void* pointer = out ? *out : nullptr;
    const int32_t status = query(out ? &pointer : nullptr);
    if (out) *out = static_cast<const T*>(pointer);
    return status;
}

}  // namespace
}  // namespace qor::kp

using namespace qor::kp;

QOR_EXTERN_C {

// Writes 8 bytes for a task with 64-bit integers, else the low 4.
QOR_KP_API int32_t qor_kp_kernel_iQueryVal(const FitTask* task, int64_t attribute, void* out) {
    if (!task) return statusNullTask;
    if (!out) return statusNullOutput;
    if (task->kind != kTaskKind) return 0;
    const ValueAttribute* row = find_value_attribute(attribute);
    if (!row) return statusBadAttribute;
    const int64_t value = read_value_attribute(*task, *row);
    if (task->indexWidth) {
        std::memcpy(out, &value, sizeof value);
    } else {
        const auto low = static_cast<int32_t>(value);
        std::memcpy(out, &low, sizeof low);
    }
    return 0;
}

QOR_KP_API int32_t qor_kp_kernel_sQueryPtr(const FitTask* task, int64_t attribute, const float** out) {
    return typed(out, [&](const void** p) { return query_pointer(task, attribute, p); });
}

QOR_KP_API int32_t qor_kp_kernel_dQueryPtr(const FitTask* task, int64_t attribute, const double** out) {
    return typed(out, [&](const void** p) { return query_pointer(task, attribute, p); });
}

QOR_KP_API int32_t qor_kp_kernel_sQueryIdxPtr(const FitTask* task, int64_t attribute, int64_t index,
                                              const float** out) {
    return typed(out, [&](const void** p) { return query_index_pointer(task, attribute, index, p); });
}

QOR_KP_API int32_t qor_kp_kernel_dQueryIdxPtr(const FitTask* task, int64_t attribute, int64_t index,
                                              const double** out) {
    return typed(out, [&](const void** p) { return query_index_pointer(task, attribute, index, p); });
}

}  // extern "C"
