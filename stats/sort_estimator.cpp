// _rixdSSSort and _rixsSSSort: the observations of each selected variable
// sorted ascending (sort.h) into the task's `sorted` array, laid out as its
// storage code says: p rows of n with bit 16 set, else n rows of p.  The
// array may be the observation matrix itself; then both codes must agree in
// bit 16 and every variable must take part.
//
// The variables are split among min(T, p, max(1, ⌊T·2^30 / (b·n·s)⌋))
// workers, T the thread limit, b the bytes of a value and s the values of
// work per observation: 1 when a variable is sorted in its output row, 2
// when it is sorted in the buffer and then spread over an output column.
#include <algorithm>

#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/sort.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

constexpr int64_t kBytesPerThread = int64_t{1} << 30;
constexpr int64_t kLayoutBits = SS_OBS_VARIABLES_IN_ROWS | SS_OBS_OBSERVATIONS_IN_ROWS;

template <class T>
struct SortJob {
    const T* obs;
    T* sorted;
    int64_t p, n;
    bool obs_in_rows, out_in_rows;
    const int64_t* vars;
    int64_t q;
    int workers;
    T* buffer;
    int64_t slice;  // values per worker

    void sort_variable(int64_t v, T* own) const {
        if (out_in_rows) {
            T* row = sorted + v * n;
            if (row != obs + v * n) {
                for (int64_t i = 0; i < n; ++i) row[i] = obs_in_rows ? obs[v * n + i] : obs[i * p + v];
            }
            sort_values(row, own, n);
            return;
        }
        for (int64_t i = 0; i < n; ++i) own[i] = obs_in_rows ? obs[v * n + i] : obs[i * p + v];
        sort_values(own, own + n, n);
        for (int64_t i = 0; i < n; ++i) sorted[i * p + v] = own[i];
    }

    void operator()(int w) const {
        for (int64_t k = w; k < q; k += workers) sort_variable(vars[k], buffer + slice * w);
    }
};

template <class T>
int32_t sort_estimate(SSTask* task, uint64_t, int32_t method, const qor_threading* threading) {
    Shape shape;
    int64_t obs_storage = 0, out_storage = 0;
    if (const int32_t status = detail::read_dims(task, shape, obs_storage); status != SS_OK) return status;
    if (!task->sorted) return SS_ERR_SORTED;
    if (!read_int(*task, task->sorted_storage, out_storage)) return SS_ERR_STORAGE;
    if (task->sorted == task->obs) {
        if ((obs_storage & SS_OBS_VARIABLES_IN_ROWS) != (out_storage & SS_OBS_VARIABLES_IN_ROWS)) return SS_ERR_STORAGE;
        if (task->indices) return SS_ERR_INPLACE_INDICES;
    }
    if (!(obs_storage & kLayoutBits) || !(out_storage & kLayoutBits)) return SS_ERR_OBS_STORAGE;
    if (!(method & SS_METHOD_SORT)) return SS_ERR_METHOD;
    if (!task->obs) return SS_ERR_OBS;

    const int64_t p = shape.p, n = shape.n;
    const bool out_in_rows = out_storage & SS_OBS_VARIABLES_IN_ROWS;
    const int64_t s = out_in_rows ? 1 : 2;
    const int64_t limit = thread_limit(threading);
    const int64_t fit = n > kBytesPerThread ? 0 : limit * kBytesPerThread / (int64_t(sizeof(T)) * n * s);
    const int workers = static_cast<int>(std::min({limit, p, std::max<int64_t>(1, fit)}));
    size_t head, slice_bytes, total;
    if (n > INT64_MAX / 2 || !aligned_bytes(p, sizeof(int64_t), head) || !aligned_bytes(n * s, sizeof(T), slice_bytes) ||
        __builtin_mul_overflow(slice_bytes, size_t(workers), &total) ||
        __builtin_add_overflow(total, head, &total))
        return SS_ERR_NO_MEMORY;
    char* buffer = static_cast<char*>(qor_serv_allocate(total, kTaskAlignment));
    if (!buffer) return SS_ERR_NO_MEMORY;
    auto* vars = reinterpret_cast<int64_t*>(buffer);
    const int64_t q = list_selected(*task, p, vars);
    SortJob<T> job{static_cast<const T*>(task->obs), static_cast<T*>(task->sorted), p, n,
                   (obs_storage & SS_OBS_VARIABLES_IN_ROWS) != 0, out_in_rows, vars, q,
                   static_cast<int>(std::min<int64_t>(workers, q)), reinterpret_cast<T*>(buffer + head),
                   static_cast<int64_t>(slice_bytes / sizeof(T))};
    run_workers(threading, job.workers, job);
    qor_serv_deallocate(buffer);
    return SS_OK;
}

}  // namespace
}  // namespace qor::ss

QOR_SS_COMPUTE_EXPORTS(SSSort, qor::ss::sort_estimate)
