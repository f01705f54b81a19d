// _rixdSSStreamQuantiles and _rixsSSStreamQuantiles: quantiles of a stream
// of observations fed in portions, within a stated rank error eps.
//
// Each variable keeps a sketch: a stack of levels of k keys each (keys are
// the integer images of the values, sort.h, so NaNs count as the largest;
// level 0 holds the values themselves until it is sorted).
// A key on level h stands for 2^h observations.  New observations go to
// level 0; a level that fills up is compacted: sorted, then every other key
// (starting at place 0 or 1, alternately per level) moves up to level h+1
// and the level empties.  The total weight stays the number of
// observations n.
//
// Error bound.  For any value y, a compaction on level h changes the
// weight counted at or below y by 0 or 2^h, upwards when it keeps the even
// places and downwards when it keeps the odd ones, so two successive
// compactions on a level together move it by at most 2^h.  Level h takes
// in at most n/2^h observations' worth of keys and compacts at most
// n/(k 2^h) times, so it contributes at most n/(2k) + 2^h; with H levels
// that compacted, 2^H <= 2n/k.  A result is a key whose estimated rank
// interval (its weight, at most 2^H) holds the target rank q(n - 1), which
// adds up to 2n/k more.  The rank error is thus at most n (H/2 + 4)/k, and
// k = 2 ceil((kLevelBound/2 + 4) / (2 eps)) keeps it within eps n for up to
// kLevelBound levels, that is for streams of up to k 2^kLevelBound
// observations.  While no compaction has happened (fewer than k
// observations) the sketch holds every observation and the result is the
// exact quantile rule.
//
// The sketches live in sq_state, one block with a header, freed with their
// level buffers by the clean-up routine that the first call registers.  A
// call with another p or eps than the state's, or with SS_METHOD_STREAM_2
// alone, starts from empty sketches.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/quantile_rule.h"
#include "stats/sort.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

constexpr int kLevelBound = 40;
// Level h is first reached after k 2^(h-1) observations, k >= 24: 60 levels
// hold any int64_t count.
constexpr int kMaxLevels = 60;
// A larger level capacity than this is refused as too much memory.
constexpr double kLargestCapacity = 0x1p36;

template <class K>
struct Sketch {
    int64_t seen;     // observations fed
    uint64_t parity;  // bit h: level h keeps the odd places next
    int64_t size[kMaxLevels];
    K* level[kMaxLevels];  // k keys each, allocated before they are needed
};

struct StreamHeader {
    int64_t p;
    double eps;
    int64_t k;
    int64_t sketch_offset;  // bytes from the header to the first sketch
};

template <class K>
Sketch<K>* sketches(StreamHeader* h) {
    return reinterpret_cast<Sketch<K>*>(reinterpret_cast<char*>(h) + h->sketch_offset);
}

// The level buffers of either precision are released the same way, so the
// clean-up routine needs not know the key width.
void release_state(SSTask* task) {
    auto* h = static_cast<StreamHeader*>(task->sq_state);
    if (!h) return;
    // Sketch<uint32_t> and Sketch<uint64_t> differ only in the pointee type.
    static_assert(sizeof(Sketch<uint32_t>) == sizeof(Sketch<uint64_t>));
    auto* s = sketches<uint64_t>(h);
    for (int64_t v = 0; v < h->p; ++v)
        for (int l = 0; l < kMaxLevels; ++l) qor_serv_deallocate(s[v].level[l]);
    qor_serv_deallocate(h);
    task->sq_state = nullptr;
}

// Number of levels in use after `seen` observations: level h >= 1 is
// reached after k 2^(h-1).
int levels_for(int64_t seen, int64_t k) {
    int levels = 1;
    while (levels < kMaxLevels && seen / k >= (int64_t{1} << (levels - 1))) ++levels;
    return levels;
}

int64_t capacity_for(double eps) { return 2 * static_cast<int64_t>(std::ceil((kLevelBound / 2.0 + 4) / (2 * eps))); }

// Level 0, which holds the values themselves, is sorted by the family's
// radix sort and its keys taken; a higher level, filled by two compactions
// below, holds two sorted runs of keys, merged into `scratch` (k keys).
template <class T, class K = Key<T>>
void compact(Sketch<K>& s, int64_t k, int h, K* scratch) {
    K* keys = s.level[h];
    K* up = s.level[h + 1] + s.size[h + 1];
    const int64_t first = (s.parity >> h) & 1;
    s.parity ^= uint64_t{1} << h;
    if (h == 0) {
        T* values = reinterpret_cast<T*>(keys);
        sort_values(values, reinterpret_cast<T*>(scratch), k);
        for (int64_t i = first; i < k; i += 2) *up++ = to_key(values[i]);
    } else {
        const K* sorted = std::merge(keys, keys + k / 2, keys + k / 2, keys + k, scratch) - k;
        for (int64_t i = first; i < k; i += 2) *up++ = sorted[i];
    }
    s.size[h] = 0;
    s.size[h + 1] += k / 2;
    if (s.size[h + 1] == k) compact<T>(s, k, h + 1, scratch);
}

template <class T>
struct StreamJob {
    using K = Key<T>;
    const T* obs;
    int64_t p, n;
    bool variables_in_rows;
    const int64_t* vars;
    int64_t q;
    int workers;
    Sketch<K>* sketch;
    int64_t k;
    const T* orders;
    int64_t m;
    T* out;
    char* buffer;  // per worker: (key, weight) pairs of every level, at least k
    size_t slice;

    void feed(Sketch<K>& s, int64_t v, K* scratch) const {
        const T* x = variables_in_rows ? obs + v * n : obs + v;
        const int64_t stride = variables_in_rows ? 1 : p;
        for (int64_t i = 0; i < n;) {
            const int64_t take = std::min(k - s.size[0], n - i);
            T* to = reinterpret_cast<T*>(s.level[0]) + s.size[0];
            for (int64_t j = 0; j < take; ++j) to[j] = x[(i + j) * stride];
            s.size[0] += take;
            i += take;
            if (s.size[0] == k) compact<T>(s, k, 0, scratch);
        }
        s.seen += n;
    }

    struct Item {
        K key;
        int64_t weight;
    };

    void estimate(const Sketch<K>& s, int64_t v, Item* items) const {
        T* result = out + v * m;
        if (s.seen == 0) {
            std::fill(result, result + m, std::numeric_limits<T>::quiet_NaN());
            return;
        }
        int64_t count = 0;
        const T* level0 = reinterpret_cast<const T*>(s.level[0]);
        for (int64_t i = 0; i < s.size[0]; ++i) items[count++] = {to_key(level0[i]), 1};
        for (int h = 1; h < kMaxLevels && s.level[h]; ++h)
            for (int64_t i = 0; i < s.size[h]; ++i) items[count++] = {s.level[h][i], int64_t{1} << h};
        std::sort(items, items + count, [](const Item& a, const Item& b) { return a.key < b.key; });
        const bool exact = s.seen == s.size[0];
        for (int64_t j = 0; j < m; ++j) {
            const double order = static_cast<double>(orders[j]);
            if (!(order >= 0 && order <= 1)) {  // a NaN order passes the entry's range check
                result[j] = std::numeric_limits<T>::quiet_NaN();
            } else if (exact) {
                const QuantilePlace at = quantile_place(order, count);
                result[j] = static_cast<T>(quantile_value(from_key<T>(items[at.k].key), from_key<T>(items[at.k1].key), at.f));
            } else {
                // The first key whose estimated rank interval [below, below + weight) ends after the target.
                const double target = order * static_cast<double>(s.seen - 1);
                int64_t i = 0;
                for (double below = 0; i < count - 1; ++i) {
                    below += static_cast<double>(items[i].weight);
                    if (below > target) break;
                }
                result[j] = from_key<T>(items[i].key);
            }
        }
    }

    void operator()(int w) const {
        auto* items = reinterpret_cast<Item*>(buffer + slice * w);
        for (int64_t i = w; i < q; i += workers) {
            Sketch<K>& s = sketch[vars[i]];
            if (n > 0) feed(s, vars[i], reinterpret_cast<K*>(items));  // the query buffer is free while feeding
            if (m > 0) estimate(s, vars[i], items);
        }
    }
};

// The state for p variables and eps, made anew unless the task holds one
// that fits and the stream continues.
template <class K>
int32_t prepare_state(SSTask& task, int64_t p, double eps, bool continues, StreamHeader*& state) {
    state = static_cast<StreamHeader*>(task.sq_state);
    if (state && continues && state->p == p && state->eps == eps) return SS_OK;
    if (const int32_t status = add_cleanup(task, release_state); status != SS_OK) return status;
    release_state(&task);
    const int64_t offset = (sizeof(StreamHeader) + kTaskAlignment - 1) / kTaskAlignment * kTaskAlignment;
    size_t bytes;
    if (!aligned_bytes(p, sizeof(Sketch<K>), bytes) || __builtin_add_overflow(bytes, size_t(offset), &bytes))
        return SS_ERR_NO_MEMORY;
    state = static_cast<StreamHeader*>(qor_serv_allocate(bytes, kTaskAlignment));
    if (!state) return SS_ERR_NO_MEMORY;
    std::memset(static_cast<void*>(state), 0, bytes);
    *state = {p, eps, capacity_for(eps), offset};
    task.sq_state = state;
    return SS_OK;
}

template <class T>
int32_t stream_quantiles(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading) {
    using K = Key<T>;
    if (!task) return SS_ERR_TASK;
    int64_t p = 0, n = 0, m = 0, param_count = 0, storage = 0;
    if (!read_int(*task, task->dim, p) || p < 1) return SS_ERR_DIM;
    if (!read_int(*task, task->obs_count, n) || n < 0) return SS_ERR_OBS_COUNT;
    if (n > 0) {
        if (!task->obs) return SS_ERR_OBS;
        if (!read_int(*task, task->obs_storage, storage)) return SS_ERR_STORAGE;
        if (!(storage & (SS_OBS_VARIABLES_IN_ROWS | SS_OBS_OBSERVATIONS_IN_ROWS))) return SS_ERR_OBS_STORAGE;
    }
    if (!task->sq_quantiles) return SS_ERR_SQ_QUANTILES;
    const T* orders = static_cast<const T*>(task->sq_orders);
    if (!orders) return SS_ERR_SQ_ORDERS;
    if (!read_int(*task, task->sq_order_count, m) || m < 0) return SS_ERR_SQ_ORDER_COUNT;
    if (!read_int(*task, task->sq_param_count, param_count)) return SS_ERR_SQ_PARAM_COUNT_PTR;
    if (param_count != 1) return SS_ERR_SQ_PARAM_COUNT;
    for (int64_t j = 0; j < m; ++j)
        if (orders[j] > 1 || orders[j] < 0) return SS_ERR_SQ_ORDER_COUNT;
    if (!task->sq_params) return SS_ERR_SQ_PARAMS;
    if (!(method & (SS_METHOD_STREAM_1 | SS_METHOD_STREAM_2))) return SS_ERR_METHOD;
    const bool continues = method & SS_METHOD_STREAM_1;
    if (!(estimates & SS_EST_STREAM_QUANTILES)) return SS_OK;
    const double eps = static_cast<double>(*static_cast<const T*>(task->sq_params));
    if (!(eps > 0 && eps < 1)) return SS_ERR_SQ_PARAMS;
    if ((kLevelBound / 2.0 + 4) / eps > kLargestCapacity) return SS_ERR_NO_MEMORY;

    StreamHeader* state = nullptr;
    if (const int32_t status = prepare_state<K>(*task, p, eps, continues, state); status != SS_OK) return status;
    const int64_t k = state->k;
    Sketch<K>* sk = sketches<K>(state);

    // The variable list and the query buffers; then every level the new
    // observations will reach, so that the workers allocate nothing.
    const int workers = static_cast<int>(std::min<int64_t>(thread_limit(threading), p));
    size_t head, slice = 0, total;
    if (!aligned_bytes(p, sizeof(int64_t), head)) return SS_ERR_NO_MEMORY;
    char* buffer = static_cast<char*>(qor_serv_allocate(head, kTaskAlignment));
    if (!buffer) return SS_ERR_NO_MEMORY;
    auto* vars = reinterpret_cast<int64_t*>(buffer);
    const int64_t q = list_selected(*task, p, vars);
    int most_levels = 1;
    for (int64_t i = 0; i < q; ++i) {
        Sketch<K>& s = sk[vars[i]];
        const int levels = levels_for(s.seen + n, k);
        most_levels = std::max(most_levels, levels);
        for (int h = 0; h < levels; ++h) {
            if (s.level[h]) continue;
            s.level[h] = static_cast<K*>(qor_serv_allocate(static_cast<size_t>(k) * sizeof(K), kTaskAlignment));
            if (!s.level[h]) {
                qor_serv_deallocate(buffer);
                return SS_ERR_NO_MEMORY;
            }
        }
    }
    qor_serv_deallocate(buffer);
    using Item = typename StreamJob<T>::Item;
    if (!aligned_bytes(k * most_levels, sizeof(Item), slice) || __builtin_mul_overflow(slice, size_t(workers), &total) ||
        __builtin_add_overflow(total, head, &total))
        return SS_ERR_NO_MEMORY;
    buffer = static_cast<char*>(qor_serv_allocate(total, kTaskAlignment));
    if (!buffer) return SS_ERR_NO_MEMORY;
    vars = reinterpret_cast<int64_t*>(buffer);
    list_selected(*task, p, vars);

    StreamJob<T> job{static_cast<const T*>(task->obs), p, n, (storage & SS_OBS_VARIABLES_IN_ROWS) != 0, vars, q,
                     static_cast<int>(std::min<int64_t>(workers, q)), sk, k, orders, m,
                     static_cast<T*>(task->sq_quantiles), buffer + head, slice};
    run_workers(threading, job.workers, job);
    qor_serv_deallocate(buffer);
    return SS_OK;
}

}  // namespace
}  // namespace qor::ss

QOR_SS_COMPUTE_EXPORTS(SSStreamQuantiles, qor::ss::stream_quantiles)
