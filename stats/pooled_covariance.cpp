// _rixdSSPooledCovariance and _rixsSSPooledCovariance: the mean and
// covariance of each group of observations and their pooled forms.
//
// With the per-group sums of group_sums.h and N_g = W1_g - W2_g/W1_g:
// group covariance C_g / N_g, pooled covariance sum C_g / sum N_g, pooled
// mean sum W1_g m_g / sum W1_g.  A group of one observation (N_g = 0) has
// covariance 0, as the basic covariance; an empty group gets NaNs.
#include <algorithm>
#include <limits>

#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/group_sums.h"
#include "stats/matrix_storage.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

int64_t read_entry(const SSTask& task, const void* array, int64_t j) {
    return task.wide_ints ? static_cast<const int64_t*>(array)[j] : static_cast<const int32_t*>(array)[j];
}

// Writes the upper column-major q x q matrix c / divisor over the selected
// variables into `out` in form `code`: 0 for a divisor of 0, NaN for a
// negative one (no observations).
template <class T>
void put_matrix(T* out, int64_t code, int64_t p, const int64_t* vars, int64_t q, const double* c, double divisor) {
    for (int64_t b = 0; b < q; ++b)
        for (int64_t a = 0; a <= b; ++a)
            put_symmetric(out, code, p, vars[a], vars[b], divisor > 0 ? c[a + b * q] / divisor : divisor == 0 ? 0.0 : kNaN);
}

template <class T>
int32_t pooled(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading) {
    Shape shape;
    if (const int32_t status = read_shape(task, shape); status != SS_OK) return status;
    const bool want_pooled = estimates & SS_EST_POOLED_COV, want_groups = estimates & SS_EST_GROUP_COV;
    if (!want_pooled && !want_groups) return SS_OK;
    if (!task->group_indices) return SS_ERR_GROUP_INDICES;
    int64_t pooled_code = 0, group_code = 0;
    if (want_pooled) {
        if (!task->pooled_mean) return SS_ERR_POOLED_MEAN;
        if (!task->pooled_cov) return SS_ERR_POOLED_COV;
        if (!read_int(*task, task->pooled_cov_storage, pooled_code)) return SS_ERR_STORAGE;
        if (!matrix_storage_valid(pooled_code)) return SS_ERR_OBS_STORAGE;
    }
    if (want_groups) {
        if (!task->requested_groups) return SS_ERR_GROUP_INDICES;
        if (!task->group_means) return SS_ERR_GROUP_MEANS;
        if (!task->group_covs) return SS_ERR_GROUP_COVS;
        if (!read_int(*task, task->group_cov_storage, group_code)) return SS_ERR_STORAGE;
        if (!matrix_storage_valid(group_code)) return SS_ERR_OBS_STORAGE;
    }
    if (!(method & SS_METHOD_OBS_1)) return SS_ERR_METHOD;
    if (!task->obs) return SS_ERR_OBS;
    const int64_t p = shape.p, n = shape.n;

    size_t b_vars, b_group;
    if (!aligned_bytes(p, sizeof(int64_t), b_vars) || !aligned_bytes(n, sizeof(int64_t), b_group))
        return SS_ERR_NO_MEMORY;
    char* buffer = static_cast<char*>(qor_serv_allocate(b_vars + b_group, kTaskAlignment));
    if (!buffer) return SS_ERR_NO_MEMORY;
    auto* vars = reinterpret_cast<int64_t*>(buffer);
    auto* group_of = reinterpret_cast<int64_t*>(buffer + b_vars);
    const int64_t q = list_selected(*task, p, vars);
    int64_t groups = 0;
    for (int64_t j = 0; j < n; ++j) {
        group_of[j] = std::max<int64_t>(-1, read_entry(*task, task->group_indices, j));
        groups = std::max(groups, group_of[j] + 1);
    }
    // At least one group, so that the pooled sums have their place even
    // when no observation belongs to any.
    GroupSums sums;
    if (const int32_t status = group_sums(static_cast<const T*>(task->obs), static_cast<const T*>(task->weights), p, n,
                                          shape.variables_in_rows, vars, q, group_of, std::max<int64_t>(groups, 1),
                                          threading, sums);
        status != SS_OK) {
        qor_serv_deallocate(buffer);
        return status;
    }

    if (want_groups) {
        const int64_t size = group_code == SS_MATRIX_STORAGE_FULL ? p * p : p * (p + 1) / 2;
        T* means = static_cast<T*>(task->group_means);
        T* covs = static_cast<T*>(task->group_covs);
        for (int64_t g = 0, r = 0; g < groups; ++g) {
            if (!read_entry(*task, task->requested_groups, g)) continue;
            for (int64_t a = 0; a < q; ++a) means[r * p + vars[a]] = static_cast<T>(sums.of(g)[2 + a]);
            put_matrix(covs + r * size, group_code, p, vars, q, sums.cp_of(g), sums.divisor(g));
            ++r;
        }
    }
    if (want_pooled) {
        // Group 0's sums receive the others': the weighted sum of the means and the C's.
        double w1 = 0, dof = 0, *mean_sum = sums.head + 2, *c = sums.cp;
        for (int64_t a = 0; a < q; ++a) mean_sum[a] = sums.head[0] > 0 ? sums.head[0] * mean_sum[a] : 0.0;
        for (int64_t g = 0; g < groups; ++g) {
            const double* s = sums.of(g);
            if (!(s[0] > 0)) continue;
            w1 += s[0], dof += sums.divisor(g);
            for (int64_t a = 0; g > 0 && a < q; ++a) mean_sum[a] += s[0] * s[2 + a];
            for (int64_t i = 0; g > 0 && i < q * q; ++i) c[i] += sums.cp_of(g)[i];
        }
        T* mean = static_cast<T*>(task->pooled_mean);
        for (int64_t a = 0; a < q; ++a) mean[vars[a]] = static_cast<T>(w1 > 0 ? mean_sum[a] / w1 : kNaN);
        put_matrix(static_cast<T*>(task->pooled_cov), pooled_code, p, vars, q, c, w1 > 0 ? dof : -1.0);
    }
    release_group_sums(sums);
    qor_serv_deallocate(buffer);
    return SS_OK;
}

}  // namespace
}  // namespace qor::ss

QOR_SS_COMPUTE_EXPORTS(SSPooledCovariance, qor::ss::pooled)
