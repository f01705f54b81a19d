// _rixdSSRobustCovariance and _rixsSSRobustCovariance: robust mean and
// covariance of the selected variables (SS_EST_ROBUST_COV) by FAST-MCD
// (SS_METHOD_FAST_MCD) or by the translated-biweight S-estimate started
// from the reweighted FAST-MCD fit (SS_METHOD_TBS), with the parameters of
// rcov_params (SS_RCOV_ in qor_ss.h).  Everything is computed in double;
// the results are written only once the fit has succeeded, together with
// the robust distances the task keeps (robust_state.h).
#include <cmath>

#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/matrix_storage.h"
#include "stats/robust_entry.h"
#include "stats/robust_fits.h"
#include "stats/robust_state.h"

namespace qor::ss {
namespace {

struct Settings {
    McdSettings mcd;
    TbsSettings tbs;
    bool given_start;  // the S-estimate starts from robust_mean and robust_cov
};

// The parameters in their order, defaults first; SS_ERR_RCOV_PARAMS for a
// value out of range.
template <class T>
int32_t read_settings(const SSTask& task, Settings& s) {
    double v[SS_RCOV_PARAM_ROOM] = {0.5, 0.001, 1e-6, 100, 500, 1, 1, 0};
    if (const int32_t status = read_parameters<T>(task, task.rcov_param_count, task.rcov_params, SS_RCOV_PARAM_ROOM,
                                                  v, SS_ERR_RCOV_PARAM_COUNT, SS_ERR_RCOV_PARAMS))
        return status;
    const double breakdown = v[SS_RCOV_BREAKDOWN], rejection = v[SS_RCOV_REJECTION], accuracy = v[SS_RCOV_ACCURACY];
    const double steps = v[SS_RCOV_MAX_ITERATIONS], subsets = v[SS_RCOV_SUBSETS], seed = v[SS_RCOV_SEED];
    if (!(breakdown > 0 && breakdown <= 0.5) || !(rejection > 0 && rejection < 1) || !(accuracy > 0) ||
        !(steps >= 1 && steps <= 1e9) || !(subsets >= 1 && subsets <= 1e9) || !(seed >= 0 && seed <= 4294967295.0) ||
        std::isnan(v[SS_RCOV_REWEIGHT]) || (v[SS_RCOV_START] != 0 && v[SS_RCOV_START] != 1))
        return SS_ERR_RCOV_PARAMS;
    s.mcd = {breakdown, static_cast<int64_t>(subsets), static_cast<int64_t>(steps), v[SS_RCOV_REWEIGHT] != 0,
             static_cast<uint32_t>(seed)};
    s.tbs = {breakdown, rejection, accuracy, static_cast<int64_t>(steps)};
    s.given_start = v[SS_RCOV_START] != 0;
    return SS_OK;
}

template <class T>
int32_t robust_covariance(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading) {
    Shape shape;
    if (const int32_t status = read_shape(task, shape); status != SS_OK) return status;
    if (!(estimates & SS_EST_ROBUST_COV)) return SS_OK;
    if (!task->obs) return SS_ERR_OBS;
    if (!task->robust_cov) return SS_ERR_ROBUST_COV;
    if (!task->robust_mean) return SS_ERR_ROBUST_MEAN;
    int64_t code = 0;
    if (!read_int(*task, task->robust_cov_storage, code)) return SS_ERR_STORAGE;
    if (!matrix_storage_valid(code)) return SS_ERR_OBS_STORAGE;
    Settings settings;
    if (const int32_t status = read_settings<T>(*task, settings)) return status;
    const int32_t kind = method & (SS_METHOD_FAST_MCD | SS_METHOD_TBS);
    if (kind != SS_METHOD_FAST_MCD && kind != SS_METHOD_TBS) return SS_ERR_METHOD;

    Prepared data;
    if (const int32_t status = data.load<T>(*task, shape, threading)) return status;
    const Sample& s = data.sample;
    const int64_t q = s.q;
    if (q == 0) return SS_OK;
    size_t bytes = 0;
    if (!aligned_bytes(q + q * q + s.n, sizeof(double), bytes)) return SS_ERR_NO_MEMORY;
    auto* fit = static_cast<double*>(qor_serv_allocate(bytes, kTaskAlignment));
    if (!fit) return SS_ERR_NO_MEMORY;
    double *mean = fit, *cov = fit + q, *d2 = cov + q * q, log_det = 0;
    int32_t status = SS_OK;
    if (kind == SS_METHOD_TBS && settings.given_start) {
        const T* given_mean = static_cast<const T*>(task->robust_mean);
        const T* given_cov = static_cast<const T*>(task->robust_cov);
        for (int64_t a = 0; a < q; ++a) {
            mean[a] = static_cast<double>(given_mean[data.vars[a]]);
            for (int64_t b = 0; b < q; ++b)
                cov[a + b * q] = static_cast<double>(given_cov[matrix_offset(code, shape.p, data.vars[a], data.vars[b])]);
        }
    } else {
        status = fast_mcd(s, settings.mcd, mean, cov);
    }
    if (status == SS_OK && kind == SS_METHOD_TBS) status = tbs_refine(s, settings.tbs, mean, cov);
    if (status == SS_OK) status = squared_distances(s, mean, cov, d2, log_det);
    T* distances = status == SS_OK ? robust_distances<T>(*task, s.n) : nullptr;
    if (status == SS_OK && !distances) status = SS_ERR_NO_MEMORY;
    if (status == SS_OK) {
        for (int64_t j = 0; j < s.n; ++j) distances[j] = static_cast<T>(std::sqrt(d2[j]));
        auto* robust_mean = static_cast<T*>(task->robust_mean);
        for (int64_t a = 0; a < q; ++a) {
            robust_mean[data.vars[a]] = static_cast<T>(mean[a]);
            for (int64_t b = 0; b <= a; ++b)
                put_symmetric(static_cast<T*>(task->robust_cov), code, shape.p, data.vars[b], data.vars[a],
                              cov[a + b * q]);
        }
    }
    qor_serv_deallocate(fit);
    return status;
}

}  // namespace
}  // namespace qor::ss

QOR_SS_COMPUTE_EXPORTS(SSRobustCovariance, qor::ss::robust_covariance)
