// _rixdSSWMedian and _rixsSSWMedian: the weighted median of each selected
// variable, exact, by a weighted quickselect.
//
// With the observations of positive weight sorted ascending and W the sum
// of their weights, the result is the smallest x(k) whose cumulative weight
// c(k) = w(0) + ... + w(k) reaches W/2; when c(k) equals W/2 exactly the
// weight is split evenly between x(k) and the next larger value, and the
// result is their mean.  Unit weights thus give the median of the quantile
// rule, the mean of the two middle values for an even count.
//
// The selection works on (key, weight) pairs, keys being the integer images
// of the values (sort.h), so NaNs count as the largest values.  Each round
// splits the part that still holds the answer three ways around a pivot
// key (smaller, equal, larger) and keeps the side whose weight brings the
// cumulative weight to W/2; the pairs beyond the part are all larger than
// the ones in it, which is where the next larger value is looked for.
#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/sort.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

constexpr int64_t kSortBelow = 24;

template <class K>
struct Weighted {
    K key;
    double w;
};

template <class K>
K median_of_three(const Weighted<K>* a, int64_t lo, int64_t hi) {
    K x = a[lo].key, y = a[lo + (hi - lo) / 2].key, z = a[hi - 1].key;
    if (y < x) std::swap(x, y);
    if (z < y) y = z;
    return std::max(x, y);
}

// The smallest key at or after `from`: every pair there is larger than the
// ones before.
template <class K>
K smallest_from(const Weighted<K>* a, int64_t from, int64_t m) {
    K least = a[from].key;
    for (int64_t i = from + 1; i < m; ++i) least = std::min(least, a[i].key);
    return least;
}

// The weighted median of the m pairs of `a` (reordered), as a value.
template <class T>
double weighted_median(Weighted<Key<T>>* a, int64_t m, double total) {
    using K = Key<T>;
    const double half = total / 2;
    // The answer: key at the end of a run of equal keys whose cumulative
    // weight reaches `half`, the pairs from `rest` on being larger.
    auto answer = [&](K key, double cumulative, int64_t rest) {
        const double x = static_cast<double>(from_key<T>(key));
        if (cumulative != half || rest >= m) return x;
        return (x + static_cast<double>(from_key<T>(smallest_from(a, rest, m)))) / 2;
    };
    int64_t lo = 0, hi = m;
    double below = 0;  // weight of the pairs known to be smaller than the part
    while (hi - lo > kSortBelow) {
        const K pivot = median_of_three(a, lo, hi);
        // a[lo, lt) < pivot, a[lt, i) == pivot, a(gt, hi) > pivot.
        int64_t lt = lo, i = lo, gt = hi;
        double w_less = 0, w_equal = 0;
        while (i < gt) {
            if (a[i].key < pivot) {
                w_less += a[i].w;
                std::swap(a[i++], a[lt++]);
            } else if (pivot < a[i].key) {
                std::swap(a[i], a[--gt]);
            } else {
                w_equal += a[i++].w;
            }
        }
        if (below + w_less >= half) {
            hi = lt;
        } else if (below + w_less + w_equal >= half) {
            return answer(pivot, below + w_less + w_equal, gt);
        } else {
            below += w_less + w_equal;
            lo = gt;
        }
    }
    std::sort(a + lo, a + hi, [](const Weighted<K>& x, const Weighted<K>& y) { return x.key < y.key; });
    for (int64_t i = lo; i < hi;) {
        int64_t end = i;
        while (end < hi && a[end].key == a[i].key) below += a[end++].w;
        if (below >= half) return answer(a[i].key, below, end);
        i = end;
    }
    // Only rounding can leave the sum of the part short of `half`.
    return static_cast<double>(from_key<T>(a[hi - 1].key));
}

template <class T>
struct WeightedMedianJob {
    const T* obs;
    const T* weights;
    int64_t p, n;
    bool variables_in_rows;
    const int64_t* vars;
    int64_t q;
    int workers;
    T* out;
    char* buffer;
    size_t slice;

    void one(int64_t v, Weighted<Key<T>>* pairs) const {
        int64_t m = 0;
        double total = 0;
        for (int64_t i = 0; i < n; ++i) {
            const double w = weights ? static_cast<double>(weights[i]) : 1.0;
            if (!(w > 0)) continue;
            pairs[m++] = {to_key(variables_in_rows ? obs[v * n + i] : obs[i * p + v]), w};
            total += w;
        }
        out[v] = m == 0 ? std::numeric_limits<T>::quiet_NaN() : static_cast<T>(weighted_median<T>(pairs, m, total));
    }

    void operator()(int w) const {
        auto* pairs = reinterpret_cast<Weighted<Key<T>>*>(buffer + slice * w);
        for (int64_t k = w; k < q; k += workers) one(vars[k], pairs);
    }
};

template <class T>
int32_t wmedian(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading) {
    Shape shape;
    if (const int32_t status = read_shape(task, shape); status != SS_OK) return status;
    if (!(estimates & SS_EST_WEIGHTED_MEDIAN)) return SS_OK;
    if (!task->quantiles) return SS_ERR_QUANTILES;
    if (!(method & SS_METHOD_OBS_1)) return SS_ERR_METHOD;
    if (!task->obs) return SS_ERR_OBS;
    const int64_t p = shape.p, n = shape.n;

    const int workers = static_cast<int>(std::min<int64_t>(thread_limit(threading), p));
    size_t head, slice, total;
    if (!aligned_bytes(p, sizeof(int64_t), head) || !aligned_bytes(n, sizeof(Weighted<Key<T>>), slice) ||
        __builtin_mul_overflow(slice, size_t(workers), &total) || __builtin_add_overflow(total, head, &total))
        return SS_ERR_NO_MEMORY;
    char* buffer = static_cast<char*>(qor_serv_allocate(total, kTaskAlignment));
    if (!buffer) return SS_ERR_NO_MEMORY;
    auto* vars = reinterpret_cast<int64_t*>(buffer);
    const int64_t q = list_selected(*task, p, vars);
    WeightedMedianJob<T> job{static_cast<const T*>(task->obs), static_cast<const T*>(task->weights), p, n,
                             shape.variables_in_rows, vars, q, static_cast<int>(std::min<int64_t>(workers, q)),
                             static_cast<T*>(task->quantiles), buffer + head, slice};
    run_workers(threading, job.workers, job);
    qor_serv_deallocate(buffer);
    return SS_OK;
}

}  // namespace
}  // namespace qor::ss

QOR_SS_COMPUTE_EXPORTS(SSWMedian, qor::ss::wmedian)
