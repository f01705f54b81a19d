// Linear spline workers: on interval i of function j the coefficients are
// the value y_j[i] and the slope (y_j[i+1] - y_j[i]) / (x[i+1] - x[i]),
// stored as the pair c_j[2i], c_j[2i+1].
//
// One worker per storage class of the values and partition form.  Class 1
// reads function j at yTable[j], a run of nx values; class 0 reads all
// functions from the one array at yTable[0], breakpoint by breakpoint
// (value i of function j at i*ny + j).  A uniform partition holds its two
// ends only and the slope multiplies by the reciprocal step, computed once.
//
// Small problems (at most 127 values) run serially.  Larger ones are cut
// into blocks of 4 functions by 1024 intervals (class 0: every function by
// 1024 intervals), run through the threading services when there are more
// than 4 blocks.  Coefficients that overlap the values or breakpoints are
// written by the scalar loop, serially and in ascending order, which reads
// both values of an interval before writing its pair: values placed in the
// last nx elements of their function's coefficients are transformed in
// place.
#include <emmintrin.h>

#include <algorithm>
#include <cstdint>

#include "fit/construct/frame.h"

namespace qor::kp {
namespace {

using spline::kBlockFunctions;
using spline::kBlockIntervals;
using spline::kBlocksBeforeThreads;
using spline::kSerialLimit;
using spline::table_complete;

// Intervals per vector step and the vector operations of each precision.
template <class T>
struct Vec;
template <>
struct Vec<double> {
    using V = __m128d;
    static constexpr int64_t kWidth = 2;
    static V load(const double* p) { return _mm_loadu_pd(p); }
    static V gather(const double* p, int64_t s) { return _mm_set_pd(p[s], p[0]); }
    static V splat(double v) { return _mm_set1_pd(v); }
    static V sub(V a, V b) { return _mm_sub_pd(a, b); }
    static V mul(V a, V b) { return _mm_mul_pd(a, b); }
    static V div(V a, V b) { return _mm_div_pd(a, b); }
    // (y0 s0 y1 s1 ...) from (y0 y1 ...) and (s0 s1 ...).
    static void store_pairs(double* c, V y, V s) {
        _mm_storeu_pd(c, _mm_unpacklo_pd(y, s));
        _mm_storeu_pd(c + 2, _mm_unpackhi_pd(y, s));
    }
};
template <>
struct Vec<float> {
    using V = __m128;
    static constexpr int64_t kWidth = 4;
    static V load(const float* p) { return _mm_loadu_ps(p); }
    static V gather(const float* p, int64_t s) { return _mm_set_ps(p[3 * s], p[2 * s], p[s], p[0]); }
    static V splat(float v) { return _mm_set1_ps(v); }
    static V sub(V a, V b) { return _mm_sub_ps(a, b); }
    static V mul(V a, V b) { return _mm_mul_ps(a, b); }
    static V div(V a, V b) { return _mm_div_ps(a, b); }
    static void store_pairs(float* c, V y, V s) {
        _mm_storeu_ps(c, _mm_unpacklo_ps(y, s));
        _mm_storeu_ps(c + 4, _mm_unpackhi_ps(y, s));
    }
};

template <class T>
struct Job {
    const T* x;
    T reciprocal_step;   // uniform partition only
    int64_t nx, functions;
    int64_t block_functions, interval_blocks;
    bool overlap;
    FitTask* task;
    int32_t status;      // shared by the blocks of a threaded run; a linear block cannot fail
};

// Function j's first value and the distance between its consecutive values.
template <class T, int Class>
const T* values(const FitTask& task, int64_t j) {
    return Class == 0 ? values_of<T>(task, 0) + j : values_of<T>(task, j);
}
template <int Class>
int64_t value_stride(int64_t functions) { return Class == 0 ? functions : 1; }

template <class T, bool Uniform>
T slope(const Job<T>& job, T a, T b, int64_t i) {
    if constexpr (Uniform) return (b - a) * job.reciprocal_step;
    else return (b - a) / (job.x[i + 1] - job.x[i]);
}

// Intervals [i0, i1) of one function, one at a time.
template <class T, bool Uniform>
void scalar_intervals(const Job<T>& job, const T* v, int64_t s, T* c, int64_t i0, int64_t i1) {
    for (int64_t i = i0; i < i1; ++i) {
        const T a = v[i * s], b = v[(i + 1) * s];
        c[2 * i] = a;
        c[2 * i + 1] = slope<T, Uniform>(job, a, b, i);
    }
}

// The same, a vector of intervals per step; the inputs do not overlap c.
template <class T, bool Uniform, bool Strided>
void vector_intervals(const Job<T>& job, const T* v, int64_t s, T* c, int64_t i0, int64_t i1) {
    using W = Vec<T>;
    const auto r = W::splat(job.reciprocal_step);
    int64_t i = i0;
    for (; i + W::kWidth <= i1; i += W::kWidth) {
        const auto a = Strided ? W::gather(v + i * s, s) : W::load(v + i);
        const auto b = Strided ? W::gather(v + (i + 1) * s, s) : W::load(v + i + 1);
        const auto dy = W::sub(b, a);
        const auto k = Uniform ? W::mul(dy, r) : W::div(dy, W::sub(W::load(job.x + i + 1), W::load(job.x + i)));
        W::store_pairs(c + 2 * i, a, k);
    }
    scalar_intervals<T, Uniform>(job, v, s, c, i, i1);
}

template <class T, int Class, bool Uniform>
void run_block(const Job<T>& job, int64_t block) {
    const int64_t f0 = block / job.interval_blocks * job.block_functions;
    const int64_t f1 = std::min(job.functions, f0 + job.block_functions);
    const int64_t i0 = block % job.interval_blocks * kBlockIntervals;
    const int64_t i1 = std::min(job.nx - 1, i0 + kBlockIntervals);
    const int64_t s = value_stride<Class>(job.functions);
    for (int64_t j = f0; j < f1; ++j) {
        const T* v = values<T, Class>(*job.task, j);
        T* c = coefficients_of<T>(*job.task, j);
        if (job.overlap) scalar_intervals<T, Uniform>(job, v, s, c, i0, i1);
        else vector_intervals<T, Uniform, Class == 0>(job, v, s, c, i0, i1);
    }
}

template <class T, int Class, bool Uniform>
void run_thread_block(int block, int, void* context) {
    run_block<T, Class, Uniform>(*static_cast<const Job<T>*>(context), block);
}

// Address range [lo, hi) of some arrays, in bytes.
struct Span {
    uintptr_t lo = UINTPTR_MAX, hi = 0;
    void add(const void* p, int64_t elements, size_t size) {
        const auto a = reinterpret_cast<uintptr_t>(p);
        lo = std::min(lo, a);
        hi = std::max(hi, a + static_cast<uintptr_t>(elements) * size);
    }
    bool meets(const Span& o) const { return lo < o.hi && o.lo < hi; }
};

template <class T, int Class, bool Uniform>
int32_t linear_worker(FitTask& task, const qor_threading* threading) {
    const int64_t nx = task.nx, m = std::max<int64_t>(task.ny, 1);
    const int64_t s = value_stride<Class>(m);
    if (!table_complete(task.yTable, Class == 0 ? 1 : m)) return statusBadFunctionValues;
    // A periodic condition needs equal ends in every function (NaN fails),
    // checked before anything is written.
    if (task.bcType == kBcPeriodic) {
        for (int64_t j = 0; j < m; ++j) {
            const T* v = values<T, Class>(task, j);
            if (!(v[0] == v[(nx - 1) * s])) return statusBadPeriodicValues;
        }
    }
    if (!table_complete(task.coeffTable, m)) return statusBadCoefficients;

    Job<T> job{};
    job.x = breakpoints<T>(task);
    if (Uniform) job.reciprocal_step = static_cast<T>(nx - 1) / (job.x[1] - job.x[0]);
    job.nx = nx;
    job.functions = m;
    job.block_functions = Class == 0 ? m : kBlockFunctions;
    job.interval_blocks = (nx - 1 + kBlockIntervals - 1) / kBlockIntervals;
    job.task = &task;
    // The breakpoints, the values and the coefficients each by the range
    // that holds all of their arrays.
    Span breaks, inputs, outputs;
    breaks.add(job.x, Uniform ? 2 : nx, sizeof(T));
    for (int64_t j = 0; j < (Class == 0 ? 1 : m); ++j)
        inputs.add(values_of<T>(task, j), Class == 0 ? nx * m : nx, sizeof(T));
    for (int64_t j = 0; j < m; ++j) outputs.add(coefficients_of<T>(task, j), 2 * (nx - 1), sizeof(T));
    job.overlap = outputs.meets(inputs) || outputs.meets(breaks);

    if (m <= kSerialLimit / nx) {
        for (int64_t j = 0; j < m; ++j)
            scalar_intervals<T, Uniform>(job, values<T, Class>(task, j), s, coefficients_of<T>(task, j), 0, nx - 1);
        return 0;
    }
    const int64_t blocks = (m + job.block_functions - 1) / job.block_functions * job.interval_blocks;
    int limit = 1;
    if (blocks > kBlocksBeforeThreads && !job.overlap && threading && threading->parallel_for &&
        threading->get_num_threads_limit)
        limit = std::max(1, threading->get_num_threads_limit());
    if (limit > 1 && blocks <= INT32_MAX) {
        job.status = 0;
        threading->parallel_for(static_cast<int>(blocks), static_cast<int>(std::min<int64_t>(limit, blocks)), &job,
                                run_thread_block<T, Class, Uniform>);
        return job.status;
    }
    for (int64_t b = 0; b < blocks; ++b) run_block<T, Class, Uniform>(job, b);
    return 0;
}

}  // namespace

const ConstructionWorker kLinearWorkersS[4] = {linear_worker<float, 0, false>, linear_worker<float, 0, true>,
                                               linear_worker<float, 1, false>, linear_worker<float, 1, true>};
const ConstructionWorker kLinearWorkersD[4] = {linear_worker<double, 0, false>, linear_worker<double, 0, true>,
                                               linear_worker<double, 1, false>, linear_worker<double, 1, true>};

}  // namespace qor::kp
