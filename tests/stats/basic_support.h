// The basic-statistics tests' pieces: a data set, a two-pass reference in
// long double, and a task that owns every result array.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "qor/qor_ss.h"
#include "qor/qor_threading.h"

namespace ss_test {

// Twenty result arrays, numbered as the estimates' result quantities:
// mean, raw moments 2-4, central moments 2-4, cov, cor, kurtosis, skewness,
// variation, sum, raw sums 2-4, central sums 2-4, cross-product.
constexpr int kResults = 20;
constexpr bool is_matrix(int q) { return q == 7 || q == 8 || q == 19; }
constexpr uint64_t kAllBasic = 0x1FE0033FFull;  // bits 0-9, 12, 13, 25-32

struct Data {
    int64_t p, n;
    std::vector<double> x;  // observation j of variable i at i*n + j
    std::vector<double> w;  // empty: unweighted
    std::vector<int64_t> indices;  // empty: all variables
    bool selected(int64_t i) const { return indices.empty() || indices[i] != 0; }
};

inline Data make_data(int64_t p, int64_t n, bool weighted, double mean, double sd, unsigned seed) {
    std::mt19937_64 g(seed);
    std::normal_distribution<double> normal(0, 1);
    std::uniform_real_distribution<double> uniform(0.25, 2.0);
    Data d{p, n, std::vector<double>(p * n), {}, {}};
    for (int64_t j = 0; j < n; ++j) {
        const double common = normal(g);  // correlates the variables
        for (int64_t i = 0; i < p; ++i)
            d.x[i * n + j] = mean * (i + 1) + sd * (i + 1) * (0.5 * common + std::exp(0.7 * normal(g)));
    }
    if (weighted)
        for (int64_t j = 0; j < n; ++j) d.w.push_back(uniform(g));
    return d;
}

// Every estimate by definition: the mean first, then sums of powers of the
// deviations from it, in long double.  Matrices full, p × p.
inline std::array<std::vector<long double>, kResults> reference(const Data& d) {
    const int64_t p = d.p, n = d.n;
    std::array<std::vector<long double>, kResults> r;
    for (int q = 0; q < kResults; ++q) r[q].assign(is_matrix(q) ? p * p : p, 0);
    auto w = [&](int64_t j) -> long double { return d.w.empty() ? 1 : d.w[j]; };
    long double w1 = 0, w2 = 0;
    for (int64_t j = 0; j < n; ++j) w1 += w(j), w2 += w(j) * w(j);
    const long double norm = w1 - w2 / w1;
    std::vector<long double> mean(p);
    for (int64_t i = 0; i < p; ++i) {
        long double s = 0, raw[5] = {}, c[5] = {};
        for (int64_t j = 0; j < n; ++j) s += w(j) * d.x[i * n + j];
        mean[i] = s / w1;
        for (int64_t j = 0; j < n; ++j) {
            const long double x = d.x[i * n + j], dev = x - mean[i];
            for (int k = 2; k <= 4; ++k) raw[k] += w(j) * std::pow(x, k), c[k] += w(j) * std::pow(dev, k);
        }
        const long double var = c[2] / w1;
        r[0][i] = mean[i];
        for (int k = 2; k <= 4; ++k) r[k - 1][i] = raw[k] / w1, r[11 + k][i] = raw[k], r[14 + k][i] = c[k];
        r[4][i] = c[2] / norm, r[5][i] = c[3] / w1, r[6][i] = c[4] / w1;
        r[9][i] = c[4] / w1 / (var * var) - 3, r[10][i] = c[3] / w1 / std::pow(var, 1.5L);
        r[11][i] = std::sqrt(c[2] / norm) / mean[i], r[12][i] = s;
    }
    for (int64_t a = 0; a < p; ++a)
        for (int64_t b = 0; b < p; ++b) {
            long double c = 0;
            for (int64_t j = 0; j < n; ++j) c += w(j) * (d.x[a * n + j] - mean[a]) * (d.x[b * n + j] - mean[b]);
            r[19][a * p + b] = c, r[7][a * p + b] = c / norm;
        }
    for (int64_t a = 0; a < p; ++a)
        for (int64_t b = 0; b < p; ++b) r[8][a * p + b] = r[19][a * p + b] / std::sqrt(r[19][a * p + a] * r[19][b * p + b]);
    return r;
}

// A task over caller-side arrays, all results registered, integers 64-bit.
template <class T>
struct Task {
    static constexpr bool kDouble = sizeof(T) == 8;
    int64_t p, n, storage, cov_storage = SS_MATRIX_STORAGE_FULL, cor_storage = SS_MATRIX_STORAGE_FULL,
                           cp_storage = SS_MATRIX_STORAGE_FULL;
    std::vector<T> obs, weights;
    std::vector<int64_t> indices;
    std::array<std::vector<T>, kResults> out;
    T acc[2] = {0, 0};
    SSTask* task = nullptr;

    Task(const Data& d, bool variables_in_rows) : p(d.p), n(d.n), indices(d.indices) {
        storage = variables_in_rows ? SS_OBS_VARIABLES_IN_ROWS : SS_OBS_OBSERVATIONS_IN_ROWS;
        set_observations(d, 0, d.n);
        for (int q = 0; q < kResults; ++q) out[q].assign(is_matrix(q) ? p * p : p, T(-7));
        const T* w = weights.empty() ? nullptr : weights.data();
        const int64_t* idx = indices.empty() ? nullptr : indices.data();
        EXPECT_EQ(new_task(&task, &p, &n, &storage, obs.data(), w, idx, 1), SS_OK);
        static const int kCodes[kResults] = {7, 8, 9, 10, 11, 12, 13, 19, 21, 14, 15, 18, 67, 68, 69, 70, 71, 72, 73, 74};
        for (int q = 0; q < kResults; ++q) EXPECT_EQ(edit(task, kCodes[q], out[q].data()), SS_OK);
        EXPECT_EQ(edit(task, SS_PARAM_ACC_WEIGHTS, acc), SS_OK);
        EXPECT_EQ(__rixdSSEditCovCor(task, nullptr, nullptr, &cov_storage, nullptr, &cor_storage), SS_OK);
        EXPECT_EQ(__rixiSSEditTask(task, SS_PARAM_CP_STORAGE, &cp_storage), SS_OK);
    }
    ~Task() { __rixSSDeleteTask(&task); }

    // Points the task at observations [first, first + count) of d: late
    // binding, the task reads n and the arrays when a compute entry runs.
    void set_observations(const Data& d, int64_t first, int64_t count) {
        n = count;
        obs.resize(p * count);
        for (int64_t i = 0; i < p; ++i)
            for (int64_t j = 0; j < count; ++j)
                obs[storage == SS_OBS_VARIABLES_IN_ROWS ? i * count + j : j * p + i] = T(d.x[i * d.n + first + j]);
        weights.clear();
        for (int64_t j = 0; j < (int64_t)d.w.size() && j < count; ++j) weights.push_back(T(d.w[first + j]));
        if (task) {
            task->obs = obs.data();
            task->weights = weights.empty() ? nullptr : weights.data();
        }
    }

    int32_t basic(uint64_t estimates, int method, const qor_threading* threading) {
        return kDouble ? _rixdSSBasic(task, estimates, method, threading) : _rixsSSBasic(task, estimates, method, threading);
    }

    static int32_t new_task(SSTask** t, const int64_t* p, const int64_t* n, const int64_t* s, const T* x, const T* w,
                            const int64_t* idx, uint32_t wide) {
        if constexpr (kDouble) return __rixdSSNewTask(t, p, n, s, x, w, idx, wide);
        else return __rixsSSNewTask(t, p, n, s, x, w, idx, wide);
    }
    static int32_t edit(SSTask* t, int code, T* a) {
        if constexpr (kDouble) return __rixdSSEditTask(t, code, a);
        else return __rixsSSEditTask(t, code, a);
    }

    // Bytes of every array the caller owns, to show that a failed call
    // wrote nothing.
    std::vector<unsigned char> snapshot() const {
        std::vector<unsigned char> bytes(reinterpret_cast<const unsigned char*>(acc),
                                         reinterpret_cast<const unsigned char*>(acc + 2));
        for (const auto& a : out)
            bytes.insert(bytes.end(), reinterpret_cast<const unsigned char*>(a.data()),
                         reinterpret_cast<const unsigned char*>(a.data() + a.size()));
        return bytes;
    }
};

// Threading records: the core's pool with its own limit, and with the
// limits 1 and 4.
inline int limit_one() { return 1; }
inline int limit_four() { return 4; }
inline const qor_threading kPool{qor_rix_serv_threader_for, qor_rix_serv_threader_get_num_threads_limit};
inline const qor_threading kOneThread{qor_rix_serv_threader_for, limit_one};
inline const qor_threading kFourThreads{qor_rix_serv_threader_for, limit_four};

}  // namespace ss_test
