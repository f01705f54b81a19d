// Editing a task: the spline parameters at once, an array pointer, one
// function's pointer, an integer attribute.
#include "fit/task_internal.h"
#include "fit/value_attributes.h"

namespace qor::kp {
namespace {

constexpr int64_t kPeriodicBoundary = 64;
// Boundary condition types below this one need no values.
constexpr uint64_t kFirstBoundaryWithValues = 3;

int32_t edit_pp_spline(FitTask* task, int64_t order, int64_t type, int64_t bcType, const void* bc, int64_t icType,
                       const void* ic, void* scoeff, int64_t coeffHint) {
    if (!task) return statusNullTask;
    if (order < 0) return statusBadSplineOrder;
    if (type < 0) return statusBadSplineType;
    task->order = order;
    task->type = type;
    if (!bc && static_cast<uint64_t>(bcType) >= kFirstBoundaryWithValues && bcType != kPeriodicBoundary)
        return statusBadBoundaryCondValues;
    task->bcType = bcType;
    task->bc = bc;
    if (icType != 0 && !ic) return statusBadInternalCondValues;
    if (icType == 0 && ic) return statusBadInternalCondType;
    task->icType = icType;
    task->ic = ic;
    if (scoeff) {
        if (task->ny == 0) return statusBadFunctionCount;
        if (const int32_t status = rebuild_coefficient_table(*task, scoeff, order, type, coeffHint); status != 0)
            return status;
    }
    // Stored as given: only EditVal checks a coefficient hint.
    task->coeffHint = coeffHint;
    return 0;
}

int32_t edit_pointer(FitTask* task, int64_t attribute, const void* pointer) {
    if (!task) return statusNullTask;
    if (task->kind != kTaskKind) return 0;
    switch (attribute) {
    case attrBreakpoints:
        // The search table stays as it was built.
        if (!pointer) return statusBadBreakpoints;
        task->x = pointer;
        return 0;
    case attrFunctionValues:
        if (!pointer) return statusBadFunctionValues;
        return rebuild_value_table(*task, pointer, task->nx, task->ny, task->yhint, element_size(task->precision));
    case attrInternalCondValues:
        if (!pointer) return statusBadInternalCondValues;
        task->ic = pointer;
        return 0;
    case attrBoundaryCondValues:
        if (!pointer) return statusBadBoundaryCondValues;
        task->bc = pointer;
        return 0;
    case attrCoefficients:
        if (!pointer) return statusBadCoefficients;
        if (task->ny == 0) return statusBadFunctionCount;
        return rebuild_coefficient_table(*task, const_cast<void*>(pointer), task->order, task->type,
                                         task->coeffHint);
    default:
        return statusBadAttribute;
    }
}

// Sets entry `index` of a pointer table, making the table (ny entries) when
// there is none yet.  An index beyond a table built for a smaller ny is out
// of range.
template <class Entry>
int32_t set_entry(Entry**& table, int64_t ny, int64_t index, const void* pointer) {
    if (!table) {
        void** made = allocate_pointer_table(ny);
        if (!made) return statusNoMemory;
        table = static_cast<Entry**>(static_cast<void*>(made));
    }
    if (index >= pointer_table_capacity(table)) return statusBadIndex;
    table[index] = const_cast<Entry*>(static_cast<const Entry*>(pointer));
    return 0;
}

int32_t edit_index_pointer(FitTask* task, int64_t attribute, int64_t index, const void* pointer) {
    if (!task) return statusNullTask;
    if (task->kind != kTaskKind) return 0;
    const bool in_range = index >= 0 && index < task->ny;
    if (attribute == attrCoefficients) {
        if (!in_range) return statusBadIndex;
        if (!pointer) return statusBadCoefficients;
        return set_entry(task->coeffTable, task->ny, index, pointer);
    }
    if (attribute == attrFunctionValues) {
        if (task->yhint == hintValuesWhole) return statusBadValuesHint;
        if (!in_range) return statusBadIndex;
        if (!pointer) return statusBadFunctionValues;
        return set_entry(task->yTable, task->ny, index, pointer);
    }
    return statusBadAttribute;
}

}  // namespace
}  // namespace qor::kp

using namespace qor::kp;

QOR_EXTERN_C {

QOR_KP_API int32_t qor_kp_kernel_sEditPPSpline1D(FitTask* task, int64_t order, int64_t type, int64_t bcType,
                                                 const float* bc, int64_t icType, const float* ic, float* scoeff,
                                                 int64_t coeffHint) {
    return edit_pp_spline(task, order, type, bcType, bc, icType, ic, scoeff, coeffHint);
}

QOR_KP_API int32_t qor_kp_kernel_dEditPPSpline1D(FitTask* task, int64_t order, int64_t type, int64_t bcType,
                                                 const double* bc, int64_t icType, const double* ic, double* scoeff,
                                                 int64_t coeffHint) {
    return edit_pp_spline(task, order, type, bcType, bc, icType, ic, scoeff, coeffHint);
}

QOR_KP_API int32_t qor_kp_kernel_sEditPtr(FitTask* task, int64_t attribute, const float* pointer) {
    return edit_pointer(task, attribute, pointer);
}

QOR_KP_API int32_t qor_kp_kernel_dEditPtr(FitTask* task, int64_t attribute, const double* pointer) {
    return edit_pointer(task, attribute, pointer);
}

QOR_KP_API int32_t qor_kp_kernel_sEditIdxPtr(FitTask* task, int64_t attribute, int64_t index, const float* pointer) {
    return edit_index_pointer(task, attribute, index, pointer);
}

QOR_KP_API int32_t qor_kp_kernel_dEditIdxPtr(FitTask* task, int64_t attribute, int64_t index,
                                             const double* pointer) {
    return edit_index_pointer(task, attribute, index, pointer);
}

// The value is stored before its side effect runs: a partition hint of 1
// that fails to rebuild the search table stays stored.
QOR_KP_API int32_t qor_kp_kernel_iEditVal(FitTask* task, int64_t attribute, int64_t value) {
    if (!task) return statusNullTask;
    if (task->kind != kTaskKind) return 0;
    const ValueAttribute* row = find_value_attribute(attribute);
    if (!row) return statusBadAttribute;
    if (!row->accepts(value)) return row->refused;
    store_value_attribute(*task, *row, value);
    return row->after_edit ? row->after_edit(*task, value) : 0;
}

}  // extern "C"
