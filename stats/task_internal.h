// What the statistics estimators read from a task: its integers (32- or
// 64-bit as the task says), the variable selection, the checks every compute
// entry starts with, and the registration of clean-up routines.  For the
// statistics sources only; nothing here is exported.
#pragma once

#include <cstdint>

#include "qor/qor_ss.h"

namespace qor::ss {

// Records and buffers the statistics family allocates are aligned this way.
constexpr int kTaskAlignment = 128;

// Reads the integer at `ptr`, an int64_t when `wide`, else an int32_t.
// False when `ptr` is null.
inline bool read_int(bool wide, const void* ptr, int64_t& out) {
    if (!ptr) return false;
    out = wide ? *static_cast<const int64_t*>(ptr) : *static_cast<const int32_t*>(ptr);
    return true;
}

inline bool read_int(const SSTask& task, const void* ptr, int64_t& out) {
    return read_int(task.wide_ints != 0, ptr, out);
}

// Whether variable i takes part: every variable without `indices`, else the
// ones whose entry is non-zero.  With wide_ints only the low half of each
// 64-bit entry is tested, so an entry of exactly 2^32 leaves its variable out.
inline bool variable_selected(const SSTask& task, int64_t i) {
    if (!task.indices) return true;
    if (task.wide_ints) return static_cast<uint32_t>(static_cast<const int64_t*>(task.indices)[i]) != 0;
    return static_cast<const int32_t*>(task.indices)[i] != 0;
}

// The two observation layouts a storage code may name.
inline bool is_obs_layout(int64_t storage) {
    return storage == SS_OBS_VARIABLES_IN_ROWS || storage == SS_OBS_OBSERVATIONS_IN_ROWS;
}

// The data set a compute entry runs on, read when it starts.
struct Shape {
    int64_t p = 0;                   // variables
    int64_t n = 0;                   // observations
    bool variables_in_rows = false;  // SS_OBS_VARIABLES_IN_ROWS, else observations in rows
};

namespace detail {

// p, n and the storage pointer in the order every entry checks them.
inline int32_t read_dims(const SSTask* task, Shape& shape, int64_t& storage) {
    if (!task) return SS_ERR_TASK;
    if (!read_int(*task, task->dim, shape.p) || shape.p < 1) return SS_ERR_DIM;
    if (!read_int(*task, task->obs_count, shape.n) || shape.n < 1) return SS_ERR_OBS_COUNT;
    if (!read_int(*task, task->obs_storage, storage)) return SS_ERR_STORAGE;
    return SS_OK;
}

}  // namespace detail

// The check a compute entry starts with: task (-4031), p (-4001 when missing
// or below 1), n (-4002), storage pointer (-4044), then the storage code,
// which must be exactly one of the two layouts (-4003).
inline int32_t read_shape(const SSTask* task, Shape& shape) {
    int64_t storage = 0;
    if (const int32_t status = detail::read_dims(task, shape, storage); status != SS_OK) return status;
    if (!is_obs_layout(storage)) return SS_ERR_OBS_STORAGE;
    shape.variables_in_rows = storage == SS_OBS_VARIABLES_IN_ROWS;
    return SS_OK;
}

// The same check for the entries that read the storage code by its bits:
// bit 16 means variables in rows whatever else is set, else bit 17 means
// observations in rows, else -4003.
inline int32_t read_shape_by_bits(const SSTask* task, Shape& shape) {
    int64_t storage = 0;
    if (const int32_t status = detail::read_dims(task, shape, storage); status != SS_OK) return status;
    if (!(storage & (SS_OBS_VARIABLES_IN_ROWS | SS_OBS_OBSERVATIONS_IN_ROWS))) return SS_ERR_OBS_STORAGE;
    shape.variables_in_rows = (storage & SS_OBS_VARIABLES_IN_ROWS) != 0;
    return SS_OK;
}

// Registers a routine that __rixSSDeleteTask runs; a routine already
// registered is not added twice.  SS_ERR_NO_MEMORY when all
// SS_CLEANUP_ROOM places are taken.
inline int32_t add_cleanup(SSTask& task, SSCleanup routine) {
    for (int64_t i = 0; i < task.cleanup_count; ++i)
        if (task.cleanup[i] == routine) return SS_OK;
    if (task.cleanup_count >= SS_CLEANUP_ROOM) return SS_ERR_NO_MEMORY;
    task.cleanup[task.cleanup_count++] = routine;
    return SS_OK;
}

}  // namespace qor::ss

// Defines the exports _rixd<Name> and _rixs<Name> of a compute entry as
// calls of entry<double> and entry<float> with the task, the estimate mask,
// the method flags and the threading services.
#define QOR_SS_COMPUTE_EXPORTS(Name, entry)                                                            \
    QOR_EXTERN_C QOR_SS_API int32_t _rixd##Name(SSTask* task, uint64_t estimates, int32_t method,      \
                                                const qor_threading* threading) {                      \
        return entry<double>(task, estimates, method, threading);                                      \
    }                                                                                                  \
    QOR_EXTERN_C QOR_SS_API int32_t _rixs##Name(SSTask* task, uint64_t estimates, int32_t method,      \
                                                const qor_threading* threading) {                      \
        return entry<float>(task, estimates, method, threading);                                       \
    }
