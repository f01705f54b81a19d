// _rixdSSOutlierDetection and _rixsSSOutlierDetection: BACON (Billor,
// Hadi and Velleman, 2000), the blocked adaptive computationally efficient
// outlier nominator, in its Mahalanobis-distance form (SS_EST_OUTLIERS,
// SS_METHOD_BACON).
//
// A basic subset of m = min(n, 4q) observations is chosen by the initial
// method: the smallest Mahalanobis distances under the mean and covariance
// of all observations (SS_BACON_INIT_MAHALANOBIS, affine equivariant), or
// the smallest Euclidean distances to the coordinate-wise median
// (SS_BACON_INIT_MEDIAN, robust); it grows by half again, nearest first,
// while its covariance is singular.  Then, with r the subset's size,
// h = floor((n + q + 1)/2), c_np = 1 + (q + 1)/(n - q) + 2/(n - 1 - 3q) and
// c_hr = max(0, (h - r)/(h + r)), the next subset is every observation whose
// distance under the subset's mean and covariance is below
// (c_np + c_hr) times the square root of the (1 - alpha/n) quantile of
// chi-square(q).  The iteration stops when at most accuracy * n
// observations change sides.  Observations outside the final subset are
// the outliers: weight 0, the others 1.
#include <algorithm>
#include <cmath>

#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/chi_square.h"
#include "stats/robust_entry.h"
#include "stats/robust_state.h"

namespace qor::ss {
namespace {

constexpr int64_t kSubsetPerVariable = 4;
constexpr int kMaxRounds = 1000;

struct Settings {
    bool from_median;
    double alpha, accuracy;
};

template <class T>
int32_t read_settings(const SSTask& task, Settings& s) {
    double v[SS_BACON_PARAM_ROOM] = {SS_BACON_INIT_MAHALANOBIS, 0.05, 0.0};
    if (const int32_t status = read_parameters<T>(task, task.outlier_param_count, task.outlier_params,
                                                  SS_BACON_PARAM_ROOM, v, SS_ERR_OUTLIER_PARAM_COUNT,
                                                  SS_ERR_OUTLIER_PARAMS))
        return status;
    const double init = v[SS_BACON_INIT], alpha = v[SS_BACON_ALPHA], accuracy = v[SS_BACON_ACCURACY];
    const bool from_median = init == static_cast<double>(SS_BACON_INIT_MEDIAN);
    if ((!from_median && init != static_cast<double>(SS_BACON_INIT_MAHALANOBIS)) || !(alpha > 0 && alpha < 1) ||
        !(accuracy >= 0 && accuracy < 1))
        return SS_ERR_OUTLIER_PARAMS;
    s = {from_median, alpha, accuracy};
    return SS_OK;
}

// The median of n values (the mean of the middle two for even n); the
// values are reordered.
double median_of(double* v, int64_t n) {
    std::nth_element(v, v + n / 2, v + n);
    const double upper = v[n / 2];
    return n % 2 ? upper : 0.5 * (upper + *std::max_element(v, v + n / 2));
}

// The initial distances: under the classical fit, or to the median.
int32_t initial_distances(const Sample& s, bool from_median, double* mean, double* cov, double* flags, double* d2) {
    const int64_t n = s.n, q = s.q;
    if (from_median) {
        for (int64_t i = 0; i < q; ++i) {
            for (int64_t j = 0; j < n; ++j) d2[j] = s.row(j)[i];
            mean[i] = median_of(d2, n);
        }
        for (int64_t j = 0; j < n; ++j) {
            double sum = 0;
            for (int64_t i = 0; i < q; ++i) sum += (s.row(j)[i] - mean[i]) * (s.row(j)[i] - mean[i]);
            d2[j] = sum;
        }
        return SS_OK;
    }
    double total = 0, log_det = 0;
    std::fill(flags, flags + n, 1.0);
    if (const int32_t status = weighted_scatter(s, flags, nullptr, mean, cov, total)) return status;
    return squared_distances(s, mean, cov, d2, log_det);
}

// The fit of the observations flagged 1 (divisor r - 1).
int32_t subset_fit(const Sample& s, const double* flags, double* mean, double* cov, double& r) {
    if (const int32_t status = weighted_scatter(s, flags, nullptr, mean, cov, r)) return status;
    if (r < 2) return SS_ERR_NOT_POSITIVE_DEFINITE;
    for (int64_t k = 0; k < s.q * s.q; ++k) cov[k] /= r - 1;
    double log_det = 0;
    return squared_distances(s, mean, cov, nullptr, log_det);
}

int32_t bacon(const Sample& s, const Settings& set, double* work, int64_t* order, double* flags) {
    const int64_t n = s.n, q = s.q;
    double *mean = work, *cov = work + q, *d2 = cov + q * q, r = 0;
    if (const int32_t status = initial_distances(s, set.from_median, mean, cov, flags, d2)) return status;
    int32_t status = SS_ERR_NOT_POSITIVE_DEFINITE;
    // Grown by half while singular, so that degenerate data end in a few tries.
    for (int64_t m = std::min(n, kSubsetPerVariable * q);; m = std::min(n, m + std::max<int64_t>(1, m / 2))) {
        mark_smallest(d2, n, m, order, flags);
        status = subset_fit(s, flags, mean, cov, r);
        if (status != SS_ERR_NOT_POSITIVE_DEFINITE || m == n) break;
    }
    if (status != SS_OK) return status;
    const double nd = static_cast<double>(n), qd = static_cast<double>(q);
    const double h = std::floor((nd + qd + 1) / 2), tail = nd - 1 - 3 * qd;
    const double c_np = 1 + (qd + 1) / (nd - qd) + (tail > 0 ? 2 / tail : 0);
    const double cut = chi_square_quantile(1 - set.alpha / nd, qd);
    for (int round = 0; round < kMaxRounds; ++round) {
        double log_det = 0;
        if ((status = squared_distances(s, mean, cov, d2, log_det)) != SS_OK) return status;
        const double factor = c_np + std::max(0.0, (h - r) / (h + r)), bound = factor * factor * cut;
        int64_t changed = 0;
        for (int64_t j = 0; j < n; ++j) {
            const double in = d2[j] < bound ? 1.0 : 0.0;
            changed += in != flags[j];
            flags[j] = in;
        }
        if (static_cast<double>(changed) <= set.accuracy * nd) return SS_OK;
        if ((status = subset_fit(s, flags, mean, cov, r)) != SS_OK) return status;
    }
    return SS_OK;
}

template <class T>
int32_t outlier_detection(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading) {
    Shape shape;
    if (const int32_t status = read_shape(task, shape); status != SS_OK) return status;
    if (!(estimates & SS_EST_OUTLIERS)) return SS_OK;
    if (!task->obs) return SS_ERR_OBS;
    if (!task->outlier_weights) return SS_ERR_OUTLIER_WEIGHTS;
    Settings settings;
    if (const int32_t status = read_settings<T>(*task, settings)) return status;
    if (!(method & SS_METHOD_BACON)) return SS_ERR_METHOD;

    Prepared data;
    if (const int32_t status = data.load<T>(*task, shape, threading)) return status;
    const Sample& s = data.sample;
    const int64_t q = s.q, n = s.n;
    if (q == 0) return SS_OK;
    size_t b_work = 0, b_order = 0;
    if (!aligned_bytes(q + q * q + 2 * n, sizeof(double), b_work) || !aligned_bytes(n, sizeof(int64_t), b_order))
        return SS_ERR_NO_MEMORY;
    auto* work = static_cast<double*>(qor_serv_allocate(b_work + b_order, kTaskAlignment));
    if (!work) return SS_ERR_NO_MEMORY;
    auto* order = reinterpret_cast<int64_t*>(reinterpret_cast<char*>(work) + b_work);
    double* flags = work + q + q * q + n;
    int32_t status = bacon(s, settings, work, order, flags);
    T* distances = status == SS_OK ? robust_distances<T>(*task, n) : nullptr;
    if (status == SS_OK && !distances) status = SS_ERR_NO_MEMORY;
    if (status == SS_OK) {
        const double* d2 = work + q + q * q;
        auto* weights = static_cast<T*>(task->outlier_weights);
        for (int64_t j = 0; j < n; ++j) {
            distances[j] = static_cast<T>(std::sqrt(d2[j]));
            weights[j] = static_cast<T>(flags[j]);
        }
    }
    qor_serv_deallocate(work);
    return status;
}

}  // namespace
}  // namespace qor::ss

QOR_SS_COMPUTE_EXPORTS(SSOutlierDetection, qor::ss::outlier_detection)
