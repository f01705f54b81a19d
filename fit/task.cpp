// Creation and deletion of data-fitting tasks.
#include <cstring>

#include "fit/task_internal.h"
#include "qor/qor_serv.h"

namespace qor::kp {
namespace {

constexpr uint8_t kTag = 4;

bool is_partition_hint(int64_t hint) {
    return hint == hintPartitionNone || hint == hintPartitionNonUniform || hint == hintPartitionQuasiUniform ||
           hint == hintPartitionUniform;
}

// The checks in the order callers rely on.
int32_t check_new_task(int64_t nx, const void* x, int64_t xhint, int64_t ny, const void* y, int64_t yhint) {
    if (nx < 2) return statusBadBreakpointCount;
    if (!x) return statusBadBreakpoints;
    if (!is_partition_hint(xhint)) return statusBadPartitionHint;
    if (ny == 0 && y) return statusBadFunctionCount;
    if (ny != 0 && !y) return statusBadFunctionValues;
    if (!is_values_hint(yhint)) return statusBadValuesHint;
    return 0;
}

// The record is in *task before the tables are allocated, so that after a
// failed allocation DeleteTask frees what exists.  The fields are stored in
// this order; those after a failure stay zero.
int32_t new_task(FitTask** task, uint32_t precision, int64_t nx, const void* x, int64_t xhint, int64_t ny,
                 const void* y, int64_t yhint, uint32_t indexWidth) {
    if (!task) return statusNullTask;
    if (const int32_t status = check_new_task(nx, x, xhint, ny, y, yhint); status != 0) return status;
    auto* t = static_cast<FitTask*>(qor_serv_allocate(sizeof(FitTask), kTaskAlignment));
    if (!t) return statusNoMemory;
    std::memset(t, 0, sizeof(FitTask));
    *task = t;
    t->nx = nx;
    t->x = x;
    t->xhint = xhint;
    if (y) {
        if (const int32_t status = rebuild_value_table(*t, y, nx, ny, yhint, element_size(precision)); status != 0)
            return status;
    }
    t->ny = ny;
    t->yhint = yhint;
    t->indexWidth = indexWidth;
    t->tag = kTag;
    t->precision = precision;
    t->kind = kTaskKind;
    t->binTable = nullptr;
    if (xhint == hintPartitionUniform) return 0;
    return rebuild_search_table(*t);
}

}  // namespace
}  // namespace qor::kp

using namespace qor::kp;

QOR_EXTERN_C {

QOR_KP_API int32_t qor_kp_kernel_sNewTask1D(FitTask** task, int64_t nx, const float* x, int64_t xhint, int64_t ny,
                                            const float* y, int64_t yhint, uint32_t indexWidth) {
    return new_task(task, 0, nx, x, xhint, ny, y, yhint, indexWidth);
}

QOR_KP_API int32_t qor_kp_kernel_dNewTask1D(FitTask** task, int64_t nx, const double* x, int64_t xhint, int64_t ny,
                                            const double* y, int64_t yhint, uint32_t indexWidth) {
    return new_task(task, 1, nx, x, xhint, ny, y, yhint, indexWidth);
}

QOR_KP_API int32_t qor_kp_kernel_DeleteTask(FitTask** task) {
    if (!task || !*task) return statusNullTask;
    FitTask* t = *task;
    free_pointer_table(t->yTable);
    free_pointer_table(t->coeffTable);
    qor_serv_deallocate(t->binTable);
    qor_serv_deallocate(t);
    *task = nullptr;
    return 0;
}

}  // extern "C"
