// Observations with missing values (NaN), grouped by the set of variables
// they lack, and the pass over them that EM's E-step and data
// augmentation's I-step share.
//
// The pass takes the current mean m and covariance S.  For each pattern,
// with O the observed and M the missing variables, it regresses the
// missing on the observed coordinates:
//   B' = S_OO^-1 S_OM  (Cholesky factor and inverse of S_OO, then a
//                        symmetric product, core LAPACK/BLAS),
//   C  = S_MM - S_MO B'  (the conditional covariance),
// and completes every observation of the pattern, centred at m, as
//   y_O = x_O - m_O,  y_M = B y_O           (E-step: the expected values)
//   y_M = B y_O + chol(C) z, z ~ N(0, I)     (I-step: a draw).
// It returns s1 = sum y, S2 = sum y y' (upper triangle, by rank-k updates
// of blocks of completed observations) and, for the E-step, K = sum over
// the observations of C placed on their missing rows and columns, so that
// E[sum (x - m)(x - m)'] = S2 + K.  Threads take contiguous ranges of the
// grouped observations, each with its own sums.
#pragma once

#include <cstdint>

#include "qor/qor_ss.h"

namespace qor::ss {

// The observation matrix as the missing-value estimators read it.
template <class T>
struct MissingData {
    const T* obs;
    int64_t p, n;
    bool variables_in_rows;
    T at(int64_t j, int64_t i) const { return variables_in_rows ? obs[i * n + j] : obs[j * p + i]; }
    T& at(T* set, int64_t j, int64_t i) const { return variables_in_rows ? set[i * n + j] : set[j * p + i]; }
    // Asks for the cache lines of observation j in `set`, ahead of writing.
    // Inlined always: as a call, a function whose only effects are
    // prefetches counts as having none and is dropped.
    __attribute__((always_inline)) void prefetch(const T* set, int64_t j) const {
        if (variables_in_rows) {
            for (int64_t i = 0; i < p; ++i) __builtin_prefetch(set + i * n + j, 1);
            return;
        }
        for (int64_t i = 0; i < p; i += 64 / sizeof(T)) __builtin_prefetch(set + j * p + i, 1);
        __builtin_prefetch(set + j * p + p - 1, 1);
    }
};

// The observations grouped by pattern: runs of `order`, and a copy of the
// observations in that order (n rows of p values of the data's type), so
// that every pass reads memory in sequence.
struct Patterns {
    int64_t runs = 0;
    int64_t* order = nullptr;         // n observation numbers, run after run
    void* grouped = nullptr;          // observation order[a] at a*p
    int64_t* start = nullptr;         // runs + 1 offsets into order
    int64_t* missing = nullptr;       // values missing per observation of each run
    int64_t* normal_start = nullptr;  // runs + 1: missing values before each run
    int64_t complete_run = -1;        // the run without missing values, if any
    void* buffer = nullptr;
    int64_t total_missing() const { return normal_start[runs]; }
};

// Groups the observations; SS_ERR_NO_MEMORY when the buffers cannot be had.
template <class T>
int32_t group_patterns(const MissingData<T>& data, Patterns& patterns);
void release_patterns(Patterns& patterns);

// One pass.  mean (p) and cov (p x p, full, column-major) are the current
// estimates; normals (total_missing standard normal values, the run's in
// order, each observation's in the order of its missing variables) make it
// an I-step, null an E-step.  `imputed`, when given, receives the completed
// observations in the layout of the data, observed values copied as they
// are.  s1 (p), s2 (p x p, upper triangle) and k (p x p, full; E-step only)
// are overwritten.  SS_ERR_NOT_POSITIVE_DEFINITE when a block S_OO or, for
// a draw, C cannot be factored; SS_ERR_NO_MEMORY.
struct SweepSums {
    double* s1;
    double* s2;
    double* k;
};
template <class T>
int32_t sweep_patterns(const MissingData<T>& data, const Patterns& patterns, const double* mean, const double* cov,
                       const double* normals, T* imputed, const qor_threading* threading, const SweepSums& out);

}  // namespace qor::ss
