// What the robust-covariance and outlier-detection entries share: reading
// their parameter arrays, and the selected variables of the observations
// copied as doubles for the fits of robust_fits.h.
#pragma once

#include <cstdint>

#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/robust_passes.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {

// Reads the parameter count (count_status when its pointer is missing or
// the count is outside [0, room]) and that many parameters of T over the
// first entries of `values`, which hold the defaults (params_status when
// the array is missing while the count is positive).
template <class T>
int32_t read_parameters(const SSTask& task, const void* count_ptr, const void* params, int64_t room, double* values,
                        int32_t count_status, int32_t params_status) {
    int64_t count = 0;
    if (!read_int(task, count_ptr, count) || count < 0 || count > room) return count_status;
    if (count > 0 && !params) return params_status;
    for (int64_t k = 0; k < count; ++k) values[k] = static_cast<double>(static_cast<const T*>(params)[k]);
    return SS_OK;
}

// The selected variables (vars, q of them) of the task's n observations as
// doubles, observation-major.
class Prepared {
public:
    Prepared() = default;
    ~Prepared() { qor_serv_deallocate(buffer_); }
    Prepared(const Prepared&) = delete;
    Prepared& operator=(const Prepared&) = delete;

    template <class T>
    int32_t load(const SSTask& task, const Shape& shape, const qor_threading* threading) {
        size_t b_vars = 0, b_x = 0;
        if (!aligned_bytes(shape.p, sizeof(int64_t), b_vars) || !aligned_bytes(shape.n * shape.p, sizeof(double), b_x))
            return SS_ERR_NO_MEMORY;
        buffer_ = qor_serv_allocate(b_vars + b_x, kTaskAlignment);
        if (!buffer_) return SS_ERR_NO_MEMORY;
        vars = static_cast<int64_t*>(buffer_);
        const int64_t q = list_selected(task, shape.p, vars);
        auto* x = reinterpret_cast<double*>(static_cast<char*>(buffer_) + b_vars);
        copy_selected(static_cast<const T*>(task.obs), shape.p, shape.n, shape.variables_in_rows, vars, q, x);
        sample = Sample{x, shape.n, q, threading};
        return SS_OK;
    }

    int64_t* vars = nullptr;
    Sample sample;

private:
    void* buffer_ = nullptr;
};

}  // namespace qor::ss
