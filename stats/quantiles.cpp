// _rixdSSQuantiles and _rixsSSQuantiles: quantiles of each selected variable
// at the task's orders, and its order statistics.
//
// Every check comes before the one allocation, and the allocation before
// any write.  Each worker copies one variable at a time into its own slice
// of the buffer.  With order statistics requested the copy is sorted
// (written out, then read by the quantile rule); otherwise only the places
// the rule reads are selected, all orders of a variable at once: the places
// k and k1 of every order, ascending and without repeats, computed once
// for the call.
#include <algorithm>

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
struct QuantileJob {
    const T* obs;
    int64_t p, n;
    bool variables_in_rows;
    const int64_t* vars;
    int64_t q;
    int workers;
    const QuantilePlace* at;  // m places of the orders, found before any result is written
    int64_t m;
    T* quantiles;
    const int64_t* places;  // for selection: ascending distinct places
    int64_t place_count;
    T* order_stats;      // null without order statistics
    bool stats_in_rows;
    char* buffer;
    size_t slice;        // bytes per worker

    // Copies variable v into `to`, as values or as keys.
    template <class Out, class Map>
    void gather(int64_t v, Out* to, Map map) const {
        if (variables_in_rows) {
            const T* x = obs + v * n;
            for (int64_t i = 0; i < n; ++i) to[i] = map(x[i]);
        } else {
            const T* x = obs + v;
            for (int64_t i = 0; i < n; ++i) to[i] = map(x[i * p]);
        }
    }

    template <class Read>
    void write_quantiles(int64_t v, Read read) const {
        for (int64_t j = 0; j < m; ++j) quantiles[v * m + j] = static_cast<T>(quantile_value(read(at[j].k), read(at[j].k1), at[j].f));
    }

    void sorted(int64_t v, T* own) const {
        T* x = stats_in_rows ? order_stats + v * n : own;
        T* scratch = stats_in_rows ? own : own + n;
        gather(v, x, [](T value) { return value; });
        sort_values(x, scratch, n);
        if (!stats_in_rows)
            for (int64_t i = 0; i < n; ++i) order_stats[i * p + v] = x[i];
        write_quantiles(v, [x](int64_t i) { return static_cast<double>(x[i]); });
    }

    void selected(int64_t v, T* own) const {
        auto* keys = as_keys(own);
        gather(v, keys, [](T value) { return KeyCell<Key<T>>{to_key(value)}; });
        select_places(keys, n, places, place_count);
        write_quantiles(v, [keys](int64_t i) { return static_cast<double>(from_key<T>(keys[i].v)); });
    }

    void operator()(int w) const {
        T* own = reinterpret_cast<T*>(buffer + slice * w);
        for (int64_t k = w; k < q; k += workers) {
            if (order_stats) sorted(vars[k], own);
            else selected(vars[k], own);
        }
    }
};

template <class T>
int32_t quantiles(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading) {
    Shape shape;
    if (const int32_t status = read_shape_by_bits(task, shape); status != SS_OK) return status;
    const int64_t p = shape.p, n = shape.n;
    const bool want_quantiles = estimates & SS_EST_QUANTILES, want_stats = estimates & SS_EST_ORDER_STATS;
    int64_t m = 0;
    const T* orders = static_cast<const T*>(task->quant_orders);
    if (want_quantiles) {
        if (!task->quantiles) return SS_ERR_QUANTILES;
        if (!orders) return SS_ERR_QUANT_ORDERS;
        if (!read_int(*task, task->quant_order_count, m) || m < 0) return SS_ERR_QUANT_ORDER_COUNT;
        for (int64_t j = 0; j < m; ++j)
            if (!(orders[j] >= 0 && orders[j] <= 1)) return SS_ERR_QUANT_ORDER_COUNT;
    }
    int64_t stats_storage = 0;
    if (want_stats) {
        if (!task->order_stats) return SS_ERR_ORDER_STATS;
        if (!read_int(*task, task->order_stats_storage, stats_storage)) return SS_ERR_STORAGE;
        if (!(stats_storage & (SS_OBS_VARIABLES_IN_ROWS | SS_OBS_OBSERVATIONS_IN_ROWS))) return SS_ERR_OBS_STORAGE;
    }
    if (!(method & SS_METHOD_OBS_1)) return SS_ERR_METHOD;
    if (!want_stats && m == 0) return SS_OK;
    if (!task->obs) return SS_ERR_OBS;

    // The buffer: the variable list, the orders' places (read once, so that
    // results written over the orders cannot move them), the distinct places
    // to select, then one slice per worker.
    const int64_t place_room = want_stats ? 0 : 2 * m;
    const int workers = static_cast<int>(std::min<int64_t>(thread_limit(threading), p));
    const int64_t per_worker = want_stats && !(stats_storage & SS_OBS_VARIABLES_IN_ROWS) ? 2 * n : n;
    size_t head, at_bytes, places_bytes, slice, total;
    if (!aligned_bytes(p, sizeof(int64_t), head) || !aligned_bytes(m, sizeof(QuantilePlace), at_bytes) ||
        !aligned_bytes(place_room, sizeof(int64_t), places_bytes) || !aligned_bytes(per_worker, sizeof(T), slice) ||
        __builtin_mul_overflow(slice, size_t(workers), &total) ||
        __builtin_add_overflow(total, head + at_bytes + places_bytes, &total))
        return SS_ERR_NO_MEMORY;
    char* buffer = static_cast<char*>(qor_serv_allocate(total, kTaskAlignment));
    if (!buffer) return SS_ERR_NO_MEMORY;
    auto* vars = reinterpret_cast<int64_t*>(buffer);
    const int64_t q = list_selected(*task, p, vars);
    auto* at = reinterpret_cast<QuantilePlace*>(buffer + head);
    for (int64_t j = 0; j < m; ++j) at[j] = quantile_place(static_cast<double>(orders[j]), n);
    auto* places = reinterpret_cast<int64_t*>(buffer + head + at_bytes);
    int64_t place_count = 0;
    if (!want_stats) {
        for (int64_t j = 0; j < m; ++j) {
            places[place_count++] = at[j].k;
            places[place_count++] = at[j].k1;
        }
        std::sort(places, places + place_count);
        place_count = std::unique(places, places + place_count) - places;
    }
    QuantileJob<T> job{static_cast<const T*>(task->obs), p, n, shape.variables_in_rows, vars, q,
                       static_cast<int>(std::min<int64_t>(workers, q)), at, m,
                       static_cast<T*>(task->quantiles), places, place_count,
                       want_stats ? static_cast<T*>(task->order_stats) : nullptr,
                       (stats_storage & SS_OBS_VARIABLES_IN_ROWS) != 0, buffer + head + at_bytes + places_bytes, slice};
    run_workers(threading, job.workers, job);
    qor_serv_deallocate(buffer);
    return SS_OK;
}

}  // namespace
}  // namespace qor::ss

QOR_SS_COMPUTE_EXPORTS(SSQuantiles, qor::ss::quantiles)
