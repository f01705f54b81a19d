// _rixdSSMAD and _rixsSSMAD: median absolute deviation (the median of
// |x - median|, both medians by the quantile rule at order 0.5) and mean
// absolute deviation (the weighted mean of |x - mean|, each observation of
// weight 1 when the task has no weights; the mean is the weighted mean of
// the observations, or the task's mean array with SS_METHOD_OBS_3).
//
// A median absolute deviation requested without SS_METHOD_OBS_1 is left
// out with the status SS_ERR_METHOD pending; a mean absolute deviation
// requested in the same call returns its own status in its place.
#include <algorithm>
#include <cmath>

#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/quantile_rule.h"
#include "stats/select.h"
#include "stats/sort.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

template <class T>
struct DeviationJob {
    const T* obs;
    const T* weights;
    int64_t p, n;
    bool variables_in_rows;
    const int64_t* vars;
    int64_t q;
    int workers;
    T* median_abs_dev;  // null when not computed
    T* mean_abs_dev;    // null when not requested
    const T* centres;   // the supplied means, or null
    char* buffer;
    size_t slice;

    T at(int64_t v, int64_t i) const { return variables_in_rows ? obs[v * n + i] : obs[i * p + v]; }

    double median(KeyCell<Key<T>>* keys) const {
        const QuantilePlace half = quantile_place(0.5, n);
        const int64_t places[2] = {half.k, half.k1};
        select_places(keys, n, places, half.k1 == half.k ? 1 : 2);
        return quantile_value(from_key<T>(keys[half.k].v), from_key<T>(keys[half.k1].v), half.f);
    }

    void median_deviation(int64_t v, KeyCell<Key<T>>* keys) const {
        for (int64_t i = 0; i < n; ++i) keys[i].v = to_key(at(v, i));
        const double centre = median(keys);
        for (int64_t i = 0; i < n; ++i)
            keys[i].v = to_key(static_cast<T>(std::fabs(static_cast<double>(from_key<T>(keys[i].v)) - centre)));
        median_abs_dev[v] = static_cast<T>(median(keys));
    }

    void mean_deviation(int64_t v) const {
        double w1 = 0, centre = 0, sum = 0;
        for (int64_t i = 0; i < n; ++i) {
            const double w = weights ? static_cast<double>(weights[i]) : 1.0;
            w1 += w;
            centre += w * static_cast<double>(at(v, i));
        }
        centre = centres ? static_cast<double>(centres[v]) : centre / w1;
        for (int64_t i = 0; i < n; ++i)
            sum += (weights ? static_cast<double>(weights[i]) : 1.0) * std::fabs(static_cast<double>(at(v, i)) - centre);
        mean_abs_dev[v] = static_cast<T>(sum / w1);
    }

    void operator()(int w) const {
        auto* keys = as_keys(reinterpret_cast<T*>(buffer + slice * w));
        for (int64_t k = w; k < q; k += workers) {
            if (median_abs_dev) median_deviation(vars[k], keys);
            if (mean_abs_dev) mean_deviation(vars[k]);
        }
    }
};

template <class T>
int32_t deviations(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading) {
    Shape shape;
    if (const int32_t status = read_shape(task, shape); status != SS_OK) return status;
    const int64_t p = shape.p, n = shape.n;
    const bool want_median = estimates & SS_EST_MEDIAN_ABS_DEV, want_mean = estimates & SS_EST_MEAN_ABS_DEV;
    int32_t median_status = SS_OK;
    if (want_median) {
        if (!task->median_abs_dev) return SS_ERR_MEDIAN_ABS_DEV;
        if (!(method & SS_METHOD_OBS_1)) median_status = SS_ERR_METHOD;
    }
    const bool supplied_mean = method & SS_METHOD_OBS_3;
    if (want_mean) {
        if (!task->mean_abs_dev) return SS_ERR_MEAN_ABS_DEV;
        if (!(method & (SS_METHOD_OBS_1 | SS_METHOD_OBS_3))) return SS_ERR_METHOD;
        if (supplied_mean && !task->mean) return SS_ERR_MEAN;
    }
    const bool run_median = want_median && median_status == SS_OK;
    if (!run_median && !want_mean) return median_status;
    if (!task->obs) return SS_ERR_OBS;

    const int workers = static_cast<int>(std::min<int64_t>(thread_limit(threading), p));
    size_t head, slice = 0, total;
    if (!aligned_bytes(p, sizeof(int64_t), head) || (run_median && !aligned_bytes(n, sizeof(T), slice)) ||
        __builtin_mul_overflow(slice, size_t(workers), &total) || __builtin_add_overflow(total, head, &total))
        return SS_ERR_NO_MEMORY;
    char* buffer = static_cast<char*>(qor_serv_allocate(total, kTaskAlignment));
    if (!buffer) return SS_ERR_NO_MEMORY;
    auto* vars = reinterpret_cast<int64_t*>(buffer);
    const int64_t q = list_selected(*task, p, vars);
    DeviationJob<T> job{static_cast<const T*>(task->obs), static_cast<const T*>(task->weights), p, n,
                        shape.variables_in_rows, vars, q, static_cast<int>(std::min<int64_t>(workers, q)),
                        run_median ? static_cast<T*>(task->median_abs_dev) : nullptr,
                        want_mean ? static_cast<T*>(task->mean_abs_dev) : nullptr,
                        supplied_mean ? static_cast<const T*>(task->mean) : nullptr, buffer + head, slice};
    run_workers(threading, job.workers, job);
    qor_serv_deallocate(buffer);
    return want_mean ? SS_OK : median_status;
}

}  // namespace
}  // namespace qor::ss

QOR_SS_COMPUTE_EXPORTS(SSMAD, qor::ss::deviations)
