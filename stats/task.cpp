// Creation and deletion of statistics tasks.
#include <algorithm>
#include <cstring>

#include "qor/qor_serv.h"
#include "stats/task_internal.h"

namespace qor::ss {
namespace {

// Checks in the order callers rely on: dimension; then, only when there are
// observations, the storage pointer, the storage code and the count.
int32_t check_new_task(bool wide, const void* dim, const void* obs_count, const void* obs_storage,
                       const void* obs) {
    int64_t p = 0;
    if (!read_int(wide, dim, p) || p < 1) return SS_ERR_DIM;
    if (!obs) return SS_OK;
    int64_t storage = 0;
    if (!read_int(wide, obs_storage, storage)) return SS_ERR_STORAGE;
    if (!is_obs_layout(storage)) return SS_ERR_OBS_STORAGE;
    int64_t n = 0;
    if (!read_int(wide, obs_count, n) || n < 1) return SS_ERR_OBS_COUNT;
    return SS_OK;
}

int32_t new_task(SSTask** task, int32_t precision, const void* dim, const void* obs_count, const void* obs_storage,
                 const void* obs, const void* weights, const void* indices, uint32_t wide_ints) {
    if (!task) return SS_ERR_TASK;
    *task = nullptr;
    if (const int32_t status = check_new_task(wide_ints != 0, dim, obs_count, obs_storage, obs); status != SS_OK)
        return status;
    auto* t = static_cast<SSTask*>(qor_serv_allocate(sizeof(SSTask), kTaskAlignment));
    if (!t) return SS_ERR_NO_MEMORY;
    std::memset(t, 0, sizeof(SSTask));
    t->wide_ints = wide_ints;
    t->task_kind = SS_TASK_KIND;
    t->precision = precision;
    t->dim = dim;
    t->obs_count = obs_count;
    t->obs = const_cast<void*>(obs);
    t->obs_storage = obs_storage;
    t->weights = const_cast<void*>(weights);
    t->indices = indices;
    *task = t;
    return SS_OK;
}

}  // namespace
}  // namespace qor::ss

using namespace qor::ss;

QOR_EXTERN_C {

QOR_SS_API int32_t __rixdSSNewTask(SSTask** task, const void* dim, const void* obs_count, const void* obs_storage,
                                   const double* obs, const double* weights, const void* indices, uint32_t wide_ints) {
    return new_task(task, 1, dim, obs_count, obs_storage, obs, weights, indices, wide_ints);
}

QOR_SS_API int32_t __rixsSSNewTask(SSTask** task, const void* dim, const void* obs_count, const void* obs_storage,
                                   const float* obs, const float* weights, const void* indices, uint32_t wide_ints) {
    return new_task(task, 0, dim, obs_count, obs_storage, obs, weights, indices, wide_ints);
}

// The task's buffer goes first, so a clean-up routine sees `work` null;
// a null record is nothing to delete.
QOR_SS_API int32_t __rixSSDeleteTask(SSTask** task) {
    if (!task) return SS_ERR_TASK;
    SSTask* t = *task;
    if (!t) return SS_OK;
    qor_serv_deallocate(t->work);
    t->work = nullptr;
    const int64_t routines = std::clamp<int64_t>(t->cleanup_count, 0, SS_CLEANUP_ROOM);
    for (int64_t i = 0; i < routines; ++i)
        if (t->cleanup[i]) t->cleanup[i](t);
    qor_serv_deallocate(t);
    *task = nullptr;
    return SS_OK;
}

}  // extern "C"
