// _rixdSSMahDistance and _rixsSSMahDistance: the Mahalanobis distance
// d_j = sqrt((x_j - m)' S^-1 (x_j - m)) of each observation to a mean m
// under a covariance S.
//
// With the Cholesky factor S = L L' (core LAPACK), d_j = |L^-1 (x_j - m)|:
// L is inverted once, then each thread takes a range of observations,
// gathers up to kBlock centred observations as the columns of a p x b
// block, multiplies it by L^-1 (a triangular product of the core's BLAS)
// and writes the column norms.  Everything is computed in double.
//
// The inputs are the words of mahal_inputs (SS_MAHAL_ in qor_ss.h), so
// that another estimator can point them at its own arrays; a word left 0
// takes the task's own field.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "qor/qor_linalg.h"
#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/matrix_storage.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

constexpr int64_t kBlock = 256;
constexpr int64_t kObservationsPerThread = 2048;

template <class P>
P* word_or(const SSTask& task, int word, P* own) {
    const uint64_t w = task.mahal_inputs[word];
    return w ? reinterpret_cast<P*>(static_cast<uintptr_t>(w)) : own;
}

template <class T>
struct DistanceJob {
    const T* obs;
    int64_t p, n;
    bool variables_in_rows;
    const double* mean;
    const double* inverse;  // L^-1, p x p lower, column-major
    T* out;
    int threads;
    double* blocks;  // threads x p x kBlock

    void operator()(int t) const {
        double* block = blocks + static_cast<int64_t>(t) * p * kBlock;
        const int pi = static_cast<int>(p);
        const double one = 1.0;
        for (int64_t lo = n * t / threads, hi = n * (t + 1) / threads; lo < hi;) {
            const int64_t end = std::min(hi, lo + kBlock);
            for (int64_t j = lo; j < end; ++j) {
                double* col = block + (j - lo) * p;
                for (int64_t i = 0; i < p; ++i)
                    col[i] = static_cast<double>(variables_in_rows ? obs[i * n + j] : obs[j * p + i]) - mean[i];
            }
            const int cols = static_cast<int>(end - lo);
            qor_dtrmm("L", "L", "N", "N", &pi, &cols, &one, inverse, &pi, block, &pi);
            for (int64_t j = lo; j < end; ++j) {
                const double* col = block + (j - lo) * p;
                double sum = 0;
                for (int64_t i = 0; i < p; ++i) sum += col[i] * col[i];
                out[j] = static_cast<T>(std::sqrt(sum));
            }
            lo = end;
        }
    }
};

template <class T>
int32_t distances(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading) {
    if (!task) return SS_ERR_TASK;
    int64_t p = 0, n = 0, storage = 0, room = 0, cov_code = SS_MATRIX_STORAGE_FULL;
    if (!read_int(*task, word_or(*task, SS_MAHAL_DIM, task->dim), p) || p < 1) return SS_ERR_DIM;
    if (!read_int(*task, word_or(*task, SS_MAHAL_OBS_COUNT, task->obs_count), n) || n < 1) return SS_ERR_OBS_COUNT;
    if (!read_int(*task, word_or(*task, SS_MAHAL_OBS_STORAGE, task->obs_storage), storage)) return SS_ERR_STORAGE;
    if (!is_obs_layout(storage)) return SS_ERR_OBS_STORAGE;
    if (!(estimates & SS_EST_MAHALANOBIS)) return SS_OK;
    T* out = word_or<T>(*task, SS_MAHAL_DISTANCES, nullptr);
    const void* room_ptr = word_or<const void>(*task, SS_MAHAL_DISTANCE_COUNT, nullptr);
    if (!out || !room_ptr) return SS_ERR_MAHAL_DISTANCES;
    if (!read_int(*task, room_ptr, room) || room < n) return SS_ERR_OBS_COUNT;
    const T* obs = word_or(*task, SS_MAHAL_OBS, static_cast<const T*>(task->obs));
    if (!obs) return SS_ERR_OBS;
    const T* mean = word_or(*task, SS_MAHAL_MEAN, static_cast<const T*>(task->mean));
    if (!mean) return SS_ERR_MEAN;
    const T* cov = word_or<const T>(*task, SS_MAHAL_COV, nullptr);
    if (!cov) {
        if (!(cov = static_cast<const T*>(task->cov))) return SS_ERR_COV;
        if (!read_int(*task, task->cov_storage, cov_code)) return SS_ERR_STORAGE;
        if (!matrix_storage_valid(cov_code)) return SS_ERR_OBS_STORAGE;
    }
    if (!(method & SS_METHOD_OBS_1)) return SS_ERR_METHOD;

    const int threads = static_cast<int>(std::clamp<int64_t>(n / kObservationsPerThread, 1, thread_limit(threading)));
    size_t b_inverse, b_mean, b_blocks;
    if (!aligned_bytes(p * p, sizeof(double), b_inverse) || !aligned_bytes(p, sizeof(double), b_mean) ||
        !aligned_bytes(p * kBlock * threads, sizeof(double), b_blocks))
        return SS_ERR_NO_MEMORY;
    char* buffer = static_cast<char*>(qor_serv_allocate(b_inverse + b_mean + b_blocks, kTaskAlignment));
    if (!buffer) return SS_ERR_NO_MEMORY;
    auto* inverse = reinterpret_cast<double*>(buffer);
    auto* centre = reinterpret_cast<double*>(buffer + b_inverse);
    // The lower triangle of S, read by its lower half (i >= j).
    for (int64_t j = 0; j < p; ++j) {
        centre[j] = static_cast<double>(mean[j]);
        for (int64_t i = j; i < p; ++i) inverse[i + j * p] = static_cast<double>(cov[matrix_offset(cov_code, p, i, j)]);
    }
    const int pi = static_cast<int>(p);
    int info = 0;
    qor_dpotrf("L", &pi, inverse, &pi, &info);
    if (info == 0) qor_dtrtri("L", "N", &pi, inverse, &pi, &info);
    if (info != 0) {
        qor_serv_deallocate(buffer);
        return SS_ERR_NOT_POSITIVE_DEFINITE;
    }
    DistanceJob<T> job{obs, p, n, storage == SS_OBS_VARIABLES_IN_ROWS, centre, inverse, out, threads,
                       reinterpret_cast<double*>(buffer + b_inverse + b_mean)};
    run_workers(threading, threads, job);
    qor_serv_deallocate(buffer);
    return SS_OK;
}

}  // namespace
}  // namespace qor::ss

QOR_SS_COMPUTE_EXPORTS(SSMahDistance, qor::ss::distances)
