// _rixdSSMinmax and _rixsSSMinmax: the smallest and largest observation of
// each selected variable.
//
// Order of work: the checks (shape, observations, outputs, method), one
// buffer for the call, the observations on T threads, the merge, and the
// writes; a call that fails leaves min and max as they were.
//
// Each thread takes n/T consecutive observations (the last one the rest).
// Variables in rows: each selected variable's run of values goes through
// four pairs of vector accumulators, and the last full group of vectors is
// read again ending at the run's end (a value seen twice changes no
// extreme).  Observations in rows: the vectors run across the variables of
// the observations, into one row of running extremes per thread (every
// variable is carried, only the selected ones are written), in chunks of
// rows that stay in cache while tiles of variables go through them.
//
// NaN: a variable with a NaN among its values gets NaN for both extremes.
// The vector min/max instructions drop a NaN operand in one of their two
// places, so NaNs are found apart, by unordered compares: a run that meets
// one ends as NaN; a tile of rows that holds or meets one is done again
// with a NaN flag per variable.  -0.0 and +0.0 compare equal; either may
// come out.
//
// Accumulation: when the task's accumulated weights are registered and W1 is
// above 0, the call continues the extremes already in min and max (earlier
// portions of the data); otherwise it starts afresh.
#include <smmintrin.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/task_internal.h"

namespace qor::ss {
namespace {

// A thread is worth starting for this many values or more.
constexpr int64_t kLeastValuesPerThread = 32768;
constexpr int64_t kAlignBytes = 128;
// Rows of observations taken at once when they run across the variables.
constexpr int64_t kChunkBytes = 4096;
constexpr int64_t kLeastChunkRows = 8;

// The tiles' loops over their vectors are unrolled, so that the running
// extremes stay in registers.
#define QOR_UNROLL _Pragma("GCC unroll 4")

template <class T>
struct Lanes;

template <>
struct Lanes<double> {
    using V = __m128d;
    static constexpr int64_t kWidth = 2;
    static V load(const double* x) { return _mm_loadu_pd(x); }
    static void store(double* x, V v) { _mm_storeu_pd(x, v); }
    static V lesser(V a, V b) { return _mm_min_pd(a, b); }
    static V greater(V a, V b) { return _mm_max_pd(a, b); }
    static V unordered(V a, V b) { return _mm_cmpunord_pd(a, b); }
    static V either(V a, V b) { return _mm_or_pd(a, b); }
    static V blend(V a, V b, V mask) { return _mm_blendv_pd(a, b, mask); }
    static V fill(double x) { return _mm_set1_pd(x); }
    static bool any(V mask) { return _mm_movemask_pd(mask) != 0; }
};

template <>
struct Lanes<float> {
    using V = __m128;
    static constexpr int64_t kWidth = 4;
    static V load(const float* x) { return _mm_loadu_ps(x); }
    static void store(float* x, V v) { _mm_storeu_ps(x, v); }
    static V lesser(V a, V b) { return _mm_min_ps(a, b); }
    static V greater(V a, V b) { return _mm_max_ps(a, b); }
    static V unordered(V a, V b) { return _mm_cmpunord_ps(a, b); }
    static V either(V a, V b) { return _mm_or_ps(a, b); }
    static V blend(V a, V b, V mask) { return _mm_blendv_ps(a, b, mask); }
    static V fill(float x) { return _mm_set1_ps(x); }
    static bool any(V mask) { return _mm_movemask_ps(mask) != 0; }
};

// Scalar extremes that let a NaN in either place through.
template <class T>
T lesser(T a, T b) { return b < a || b != b ? b : a; }
template <class T>
T greater(T a, T b) { return b > a || b != b ? b : a; }

template <class T>
struct Extremes {
    T lo, hi;
};

template <class T>
Extremes<T> scalar_run(const T* x, int64_t count) {
    Extremes<T> e{x[0], x[0]};
    for (int64_t j = 1; j < count; ++j) e.lo = lesser(e.lo, x[j]), e.hi = greater(e.hi, x[j]);
    return e;
}

template <class T>
T lane_lesser(typename Lanes<T>::V v) {
    alignas(16) T lane[Lanes<T>::kWidth];
    Lanes<T>::store(lane, v);
    T r = lane[0];
    for (int64_t i = 1; i < Lanes<T>::kWidth; ++i) r = std::min(r, lane[i]);
    return r;
}

template <class T>
T lane_greater(typename Lanes<T>::V v) {
    alignas(16) T lane[Lanes<T>::kWidth];
    Lanes<T>::store(lane, v);
    T r = lane[0];
    for (int64_t i = 1; i < Lanes<T>::kWidth; ++i) r = std::max(r, lane[i]);
    return r;
}

// The extremes of count consecutive values.
template <class T>
Extremes<T> run_extremes(const T* x, int64_t count) {
    using L = Lanes<T>;
    constexpr int64_t k = L::kWidth, group = 4 * k;
    if (count < group) return scalar_run(x, count);
    auto a0 = L::load(x), a1 = L::load(x + k), a2 = L::load(x + 2 * k), a3 = L::load(x + 3 * k);
    auto lo0 = a0, lo1 = a1, lo2 = a2, lo3 = a3, hi0 = a0, hi1 = a1, hi2 = a2, hi3 = a3;
    auto nan = L::either(L::unordered(a0, a1), L::unordered(a2, a3));
    for (int64_t j = group;; j += group) {
        const T* at = j + group <= count ? x + j : x + count - group;
        a0 = L::load(at), a1 = L::load(at + k), a2 = L::load(at + 2 * k), a3 = L::load(at + 3 * k);
        lo0 = L::lesser(lo0, a0), lo1 = L::lesser(lo1, a1), lo2 = L::lesser(lo2, a2), lo3 = L::lesser(lo3, a3);
        hi0 = L::greater(hi0, a0), hi1 = L::greater(hi1, a1), hi2 = L::greater(hi2, a2), hi3 = L::greater(hi3, a3);
        nan = L::either(nan, L::either(L::unordered(a0, a1), L::unordered(a2, a3)));
        if (j + group >= count) break;
    }
    if (L::any(nan)) return {std::numeric_limits<T>::quiet_NaN(), std::numeric_limits<T>::quiet_NaN()};
    return {lane_lesser<T>(L::lesser(L::lesser(lo0, lo1), L::lesser(lo2, lo3))),
            lane_greater<T>(L::greater(L::greater(hi0, hi1), L::greater(hi2, hi3)))};
}

// Running extremes of a tile of kVectors vectors of variables over `rows`
// rows from x, continuing those in lo and hi; a NaN held or met makes the
// variable's extremes NaN.
template <class T, int kVectors, bool kLo, bool kHi>
void rows_tile_with_nans(const T* x, int64_t p, int64_t rows, T* lo, T* hi) {
    using L = Lanes<T>;
    using V = typename L::V;
    constexpr int64_t k = L::kWidth;
    V l[kVectors], h[kVectors], nan[kVectors];
    QOR_UNROLL for (int v = 0; v < kVectors; ++v) {
        if constexpr (kLo) l[v] = L::load(lo + v * k);
        if constexpr (kHi) h[v] = L::load(hi + v * k);
        if constexpr (kLo) nan[v] = L::unordered(l[v], l[v]);
        else nan[v] = L::unordered(h[v], h[v]);
    }
    for (int64_t r = 0; r < rows; ++r, x += p)
        QOR_UNROLL for (int v = 0; v < kVectors; ++v) {
            const V a = L::load(x + v * k);
            if constexpr (kLo) l[v] = L::lesser(l[v], a);
            if constexpr (kHi) h[v] = L::greater(h[v], a);
            nan[v] = L::either(nan[v], L::unordered(a, a));
        }
    const V quiet = L::fill(std::numeric_limits<T>::quiet_NaN());
    QOR_UNROLL for (int v = 0; v < kVectors; ++v) {
        if constexpr (kLo) L::store(lo + v * k, L::blend(l[v], quiet, nan[v]));
        if constexpr (kHi) L::store(hi + v * k, L::blend(h[v], quiet, nan[v]));
    }
}

// The same without NaNs, which it only detects, pairing the vectors so that
// one compare serves two: false, with nothing stored, when the tile holds or
// meets a NaN (rare; rows_tile_with_nans then redoes it).
template <class T, int kVectors, bool kLo, bool kHi>
bool rows_tile(const T* x, int64_t p, int64_t rows, T* lo, T* hi) {
    using L = Lanes<T>;
    using V = typename L::V;
    constexpr int64_t k = L::kWidth;
    V l[kVectors], h[kVectors], nan;
    QOR_UNROLL for (int v = 0; v < kVectors; ++v) {
        if constexpr (kLo) l[v] = L::load(lo + v * k);
        if constexpr (kHi) h[v] = L::load(hi + v * k);
        const V held = kLo ? l[v] : h[v];
        nan = v == 0 ? L::unordered(held, held) : L::either(nan, L::unordered(held, held));
    }
    if (L::any(nan)) return false;
    for (int64_t r = 0; r < rows; ++r, x += p) {
        V a[kVectors];
        QOR_UNROLL for (int v = 0; v < kVectors; ++v) {
            a[v] = L::load(x + v * k);
            if constexpr (kLo) l[v] = L::lesser(l[v], a[v]);
            if constexpr (kHi) h[v] = L::greater(h[v], a[v]);
        }
        QOR_UNROLL for (int v = 0; v < kVectors; v += 2)
            nan = L::either(nan, L::unordered(a[v], a[v + 1 < kVectors ? v + 1 : v]));
    }
    if (L::any(nan)) return false;
    QOR_UNROLL for (int v = 0; v < kVectors; ++v) {
        if constexpr (kLo) L::store(lo + v * k, l[v]);
        if constexpr (kHi) L::store(hi + v * k, h[v]);
    }
    return true;
}

template <class T, int kVectors, bool kLo, bool kHi>
void run_tile(const T* x, int64_t p, int64_t rows, T* lo, T* hi) {
    if (!rows_tile<T, kVectors, kLo, kHi>(x, p, rows, lo, hi))
        rows_tile_with_nans<T, kVectors, kLo, kHi>(x, p, rows, lo, hi);
}

// Running extremes across the p variables of rows first..last-1 (at least
// one) into lo and hi.  The rows go in chunks of about kChunkBytes, which
// stay in cache while the variables go through them in tiles of four
// vectors held in registers, then single vectors, then one by one.
template <class T, bool kLo, bool kHi>
void rows_extremes(const T* obs, int64_t p, int64_t first, int64_t last, T* lo, T* hi) {
    constexpr int64_t k = Lanes<T>::kWidth;
    const T* row = obs + first * p;
    if constexpr (kLo) std::copy(row, row + p, lo);
    if constexpr (kHi) std::copy(row, row + p, hi);
    const int64_t tiles = p / (4 * k) * (4 * k), vectors = p / k * k;
    const int64_t chunk = std::max<int64_t>(kLeastChunkRows, kChunkBytes / (p * static_cast<int64_t>(sizeof(T))));
    for (int64_t j = first + 1; j < last; j += chunk) {
        const int64_t rows = std::min(chunk, last - j);
        const T* x = obs + j * p;
        for (int64_t i = 0; i < tiles; i += 4 * k)
            run_tile<T, 4, kLo, kHi>(x + i, p, rows, kLo ? lo + i : nullptr, kHi ? hi + i : nullptr);
        for (int64_t i = tiles; i < vectors; i += k)
            run_tile<T, 1, kLo, kHi>(x + i, p, rows, kLo ? lo + i : nullptr, kHi ? hi + i : nullptr);
        for (int64_t r = 0; r < rows; ++r)
            for (int64_t i = vectors; i < p; ++i) {
                if constexpr (kLo) lo[i] = lesser(lo[i], x[r * p + i]);
                if constexpr (kHi) hi[i] = greater(hi[i], x[r * p + i]);
            }
    }
}

template <class T>
struct Job {
    const T* obs;
    int64_t p, n;
    bool variables_in_rows;
    const int64_t* vars;  // the selected variables
    int64_t q;
    int threads;
    int64_t stride;  // values between one thread's rows of extremes
    T* lo;           // per thread: `width` running minima, or null
    T* hi;           // the same for maxima
};

template <class T>
void run_thread(int t, int, void* context) {
    const Job<T>& job = *static_cast<const Job<T>*>(context);
    const int64_t share = job.n / job.threads;
    const int64_t first = t * share, last = t == job.threads - 1 ? job.n : first + share;
    T* lo = job.lo ? job.lo + t * job.stride : nullptr;
    T* hi = job.hi ? job.hi + t * job.stride : nullptr;
    if (!job.variables_in_rows) {
        if (lo && hi) rows_extremes<T, true, true>(job.obs, job.p, first, last, lo, hi);
        else if (lo) rows_extremes<T, true, false>(job.obs, job.p, first, last, lo, hi);
        else rows_extremes<T, false, true>(job.obs, job.p, first, last, lo, hi);
        return;
    }
    for (int64_t k = 0; k < job.q; ++k) {
        const Extremes<T> e = run_extremes(job.obs + job.vars[k] * job.n + first, last - first);
        if (lo) lo[k] = e.lo;
        if (hi) hi[k] = e.hi;
    }
}

int thread_count(const qor_threading* threading, int64_t n, int64_t values) {
    int limit = 1;
    if (threading && threading->parallel_for && threading->get_num_threads_limit)
        limit = std::max(1, threading->get_num_threads_limit());
    const int64_t worth = std::max<int64_t>(1, values / kLeastValuesPerThread);
    return static_cast<int>(std::min({static_cast<int64_t>(limit), worth, n}));
}

template <class T>
int32_t minmax(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading) {
    Shape shape;
    if (const int32_t status = read_shape_by_bits(task, shape); status != SS_OK) return status;
    if (!task->obs) return SS_ERR_OBS;
    const bool want_min = (estimates & SS_EST_MIN) != 0, want_max = (estimates & SS_EST_MAX) != 0;
    if (want_min && !task->min) return SS_ERR_MIN;
    if (want_max && !task->max) return SS_ERR_MAX;
    if (!(method & (SS_METHOD_OBS_1 | SS_METHOD_OBS_2))) return SS_ERR_METHOD;
    if (!want_min && !want_max) return SS_OK;

    const int64_t p = shape.p, n = shape.n;
    const bool variables_in_rows = shape.variables_in_rows || p == 1;  // one variable: the layouts coincide
    int64_t q = 0;
    for (int64_t i = 0; i < p; ++i) q += variable_selected(*task, i);
    if (q == 0) return SS_OK;

    // One buffer: the variable numbers, then per requested result a row of
    // `width` extremes for each thread.
    const int64_t width = variables_in_rows ? q : p;
    const int threads = thread_count(threading, n, n * width);
    const auto round = [](int64_t bytes) { return (bytes + kAlignBytes - 1) / kAlignBytes * kAlignBytes; };
    const int64_t stride = round(width * static_cast<int64_t>(sizeof(T))) / static_cast<int64_t>(sizeof(T));
    const int64_t head = round(q * static_cast<int64_t>(sizeof(int64_t)));
    const int64_t rows_bytes = stride * threads * static_cast<int64_t>(sizeof(T));
    auto* buffer = static_cast<char*>(
        qor_serv_allocate(static_cast<size_t>(head + rows_bytes * (want_min + want_max)), kAlignBytes));
    if (!buffer) return SS_ERR_NO_MEMORY;
    auto* vars = reinterpret_cast<int64_t*>(buffer);
    for (int64_t i = 0, k = 0; i < p; ++i)
        if (variable_selected(*task, i)) vars[k++] = i;
    T* lo = want_min ? reinterpret_cast<T*>(buffer + head) : nullptr;
    T* hi = want_max ? reinterpret_cast<T*>(buffer + head + (want_min ? rows_bytes : 0)) : nullptr;

    const Job<T> job{static_cast<const T*>(task->obs), p, n, variables_in_rows, vars, q, threads, stride, lo, hi};
    if (threads > 1)
        threading->parallel_for(threads, threads, const_cast<Job<T>*>(&job), run_thread<T>);
    else
        run_thread<T>(0, 1, const_cast<Job<T>*>(&job));

    const T* acc = static_cast<const T*>(task->acc_weights);
    const bool continues = acc && acc[0] > 0;
    T* min_out = static_cast<T*>(task->min);
    T* max_out = static_cast<T*>(task->max);
    for (int64_t k = 0; k < q; ++k) {
        const int64_t i = vars[k], at = variables_in_rows ? k : i;
        if (lo) {
            T v = lo[at];
            for (int t = 1; t < threads; ++t) v = lesser(v, lo[t * stride + at]);
            min_out[i] = continues ? lesser(min_out[i], v) : v;
        }
        if (hi) {
            T v = hi[at];
            for (int t = 1; t < threads; ++t) v = greater(v, hi[t * stride + at]);
            max_out[i] = continues ? greater(max_out[i], v) : v;
        }
    }
    qor_serv_deallocate(buffer);
    return SS_OK;
}

}  // namespace
}  // namespace qor::ss

QOR_SS_COMPUTE_EXPORTS(SSMinmax, qor::ss::minmax)
