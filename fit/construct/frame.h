// What the quadratic and cubic workers share: the boundary conditions read
// from the task, the view of one function's data, the checks made before
// anything is written, and the driver that cuts the work into blocks and
// runs them serially or through the threading services.
//
// Blocks: 4 functions each.  Kinds whose coefficients depend on a few
// neighbouring values only (local kinds) also cut the intervals into
// blocks of 1024; kinds that solve a system per function (one O(n) pass
// down and up the partition) take every interval of a function in one
// block.  At most 127 values run serially; more than 4 blocks run through
// the threading services.
#pragma once

#include <algorithm>
#include <cstdint>

#include "fit/construct/workers.h"

namespace qor::kp::spline {

constexpr int64_t kSerialLimit = 127;       // values (nx * functions) built serially
constexpr int64_t kBlockFunctions = 4;
constexpr int64_t kBlockIntervals = 1024;
constexpr int64_t kBlocksBeforeThreads = 4;  // threads only for more blocks than this

// The condition at one end of the partition.
enum class End {
    FirstDerivative,   // s' = value
    SecondDerivative,  // s'' = value (free end: value 0)
    NotAKnot,          // s''' continuous at the second (second-to-last) breakpoint
    Periodic,          // s' and s'' equal at both ends
    Extrapolated       // Akima's own rule: the slopes continued linearly past the end
};

template <class T>
struct Ends {
    End left, right;
    T left_value, right_value;  // Periodic: the common end derivative where one is given
};

// The ends a cubic boundary-condition code (or Akima's code 0) sets, with
// the values of bc that the code reads (two for a condition at each end,
// at most one, the common end derivative, for the periodic condition).
// The codes have passed the entry checks.
template <class T>
Ends<T> ends_of(const FitTask& task) {
    const T* bc = static_cast<const T*>(task.bc);
    auto with_values = [bc](End left, End right) { return Ends<T>{left, right, bc[0], bc[1]}; };
    switch (task.bcType) {
        case kBcFreeEnd: return {End::SecondDerivative, End::SecondDerivative, T(0), T(0)};
        case kBcNotAKnot: return {End::NotAKnot, End::NotAKnot, T(0), T(0)};
        case kBcFirstLeft + kBcFirstRight: return with_values(End::FirstDerivative, End::FirstDerivative);
        case kBcFirstLeft + kBcSecondRight: return with_values(End::FirstDerivative, End::SecondDerivative);
        case kBcSecondLeft + kBcFirstRight: return with_values(End::SecondDerivative, End::FirstDerivative);
        case kBcSecondLeft + kBcSecondRight: return with_values(End::SecondDerivative, End::SecondDerivative);
        case kBcPeriodic: {
            const T v = bc ? bc[0] : T(0);
            return {End::Periodic, End::Periodic, v, v};
        }
        default: return {End::Extrapolated, End::Extrapolated, T(0), T(0)};
    }
}

// One function's data: breakpoint i, value i, the width and slope of
// interval i.  A uniform partition computes breakpoints from its two ends
// and multiplies by the reciprocal step instead of dividing.
template <class T, bool Uniform>
struct Curve {
    const T* x;
    T x0, step, reciprocal_step;  // uniform partition only
    const T* y;
    int64_t stride;  // between consecutive values of the function
    int64_t n;       // breakpoints

    T at(int64_t i) const { return y[i * stride]; }
    T xi(int64_t i) const {
        if constexpr (Uniform) return i == n - 1 ? x[1] : x0 + T(i) * step;
        else return x[i];
    }
    T h(int64_t i) const {
        if constexpr (Uniform) return step;
        else return x[i + 1] - x[i];
    }
    T inverse_h(int64_t i) const {
        if constexpr (Uniform) return reciprocal_step;
        else return T(1) / (x[i + 1] - x[i]);
    }
    T slope(int64_t i) const {
        if constexpr (Uniform) return (at(i + 1) - at(i)) * reciprocal_step;
        else return (at(i + 1) - at(i)) / (x[i + 1] - x[i]);
    }
};

// What a worker's blocks share.
template <class T, bool Uniform>
struct Job {
    FitTask* task;
    int storage_class;
    int64_t n, functions;
    Ends<T> ends;
    int64_t block_functions, interval_blocks, block_intervals;
    int32_t status;  // shared by the blocks of a threaded run; no block fails

    Curve<T, Uniform> curve(int64_t j) const {
        Curve<T, Uniform> f{};
        f.x = breakpoints<T>(*task);
        if constexpr (Uniform) {
            f.x0 = f.x[0];
            f.step = (f.x[1] - f.x[0]) / T(n - 1);
            f.reciprocal_step = T(n - 1) / (f.x[1] - f.x[0]);
        }
        f.y = storage_class == 0 ? values_of<T>(*task, 0) + j : values_of<T>(*task, j);
        f.stride = storage_class == 0 ? functions : 1;
        f.n = n;
        return f;
    }
    T* coefficients(int64_t j) const { return coefficients_of<T>(*task, j); }
};

// Whether a pointer table holds a non-null entry for each of `entries`.
inline bool table_complete(const void* const* table, int64_t entries) {
    if (!table || pointer_table_capacity(table) < entries) return false;
    return std::all_of(table, table + entries, [](const void* p) { return p != nullptr; });
}

// The checks before anything is written: the value and coefficient tables
// complete, and under a periodic condition first == last value in every
// function (a NaN fails).
template <class T>
int32_t check_tables(const FitTask& task, int64_t functions) {
    const int storage = storage_class(task);
    if (!table_complete(task.yTable, storage == 0 ? 1 : functions)) return statusBadFunctionValues;
    if (task.bcType == kBcPeriodic) {
        for (int64_t j = 0; j < functions; ++j) {
            const T* v = storage == 0 ? values_of<T>(task, 0) + j : values_of<T>(task, j);
            const int64_t s = storage == 0 ? functions : 1;
            if (!(v[0] == v[(task.nx - 1) * s])) return statusBadPeriodicValues;
        }
    }
    return table_complete(task.coeffTable, functions) ? 0 : statusBadCoefficients;
}

// A builder, Builder<T, Uniform>, writes the coefficients of function j on
// intervals [i0, i1):
//   static void build(const Job<T, Uniform>&, int64_t j, int64_t i0, int64_t i1);
// A local builder is called per block of intervals, a global one with the
// whole partition.
template <class T, bool Uniform, template <class, bool> class Builder>
void run_block(const Job<T, Uniform>& job, int64_t block) {
    const int64_t f0 = block / job.interval_blocks * job.block_functions;
    const int64_t f1 = std::min(job.functions, f0 + job.block_functions);
    const int64_t i0 = block % job.interval_blocks * job.block_intervals;
    const int64_t i1 = std::min(job.n - 1, i0 + job.block_intervals);
    for (int64_t j = f0; j < f1; ++j) Builder<T, Uniform>::build(job, j, i0, i1);
}

template <class T, bool Uniform, template <class, bool> class Builder>
void run_thread_block(int block, int, void* context) {
    run_block<T, Uniform, Builder>(*static_cast<const Job<T, Uniform>*>(context), block);
}

// The worker frame: checks, then every function in blocks.
template <class T, int Class, bool Uniform, template <class, bool> class Builder>
int32_t run(FitTask& task, const qor_threading* threading) {
    const int64_t n = task.nx, m = std::max<int64_t>(task.ny, 1);
    if (const int32_t status = check_tables<T>(task, m); status != 0) return status;
    Job<T, Uniform> job{};
    job.task = &task;
    job.storage_class = Class;
    job.n = n;
    job.functions = m;
    job.ends = ends_of<T>(task);
    job.block_functions = kBlockFunctions;
    job.block_intervals = Builder<T, Uniform>::kLocal ? kBlockIntervals : n - 1;
    job.interval_blocks = (n - 1 + job.block_intervals - 1) / job.block_intervals;
    if (m <= kSerialLimit / n) {
        for (int64_t j = 0; j < m; ++j) Builder<T, Uniform>::build(job, j, 0, n - 1);
        return 0;
    }
    const int64_t blocks = (m + kBlockFunctions - 1) / kBlockFunctions * job.interval_blocks;
    int limit = 1;
    if (blocks > kBlocksBeforeThreads && threading && threading->parallel_for && threading->get_num_threads_limit)
        limit = std::max(1, threading->get_num_threads_limit());
    if (limit > 1 && blocks <= INT32_MAX) {
        job.status = 0;
        threading->parallel_for(static_cast<int>(blocks), static_cast<int>(std::min<int64_t>(limit, blocks)), &job,
                                run_thread_block<T, Uniform, Builder>);
        return job.status;
    }
    for (int64_t b = 0; b < blocks; ++b) run_block<T, Uniform, Builder>(job, b);
    return 0;
}

}  // namespace qor::kp::spline

// A kind's four workers by worker_index (2*class + u), as an initializer.
#define QOR_SPLINE_WORKER_ROW(T, Builder)                                                  \
    {                                                                                      \
        ::qor::kp::spline::run<T, 0, false, Builder>, ::qor::kp::spline::run<T, 0, true, Builder>, \
            ::qor::kp::spline::run<T, 1, false, Builder>, ::qor::kp::spline::run<T, 1, true, Builder> \
    }
