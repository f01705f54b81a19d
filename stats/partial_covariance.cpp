// _rixdSSPartialCovariance and _rixsSSPartialCovariance: the covariance of
// the variables of role 1 in partial_index given those of role -1.
//
// With S the covariance of the variables taking part, split as
//   S = [S_xx S_xz; S_zx S_zz]  (x: role 1, z: role -1),
// the partial covariance is the Schur complement P = S_xx - S_xz S_zz^-1 S_zx
// and the partial correlation R_ij = P_ij / sqrt(P_ii P_jj).  With the
// Cholesky factor S_zz = L L' (core LAPACK) and M = L^-1 S_zx, P = S_xx - M'M:
// a triangular inverse, a triangular product and a rank-k update, all
// through the core's routines, in double for either precision.
//
// S comes from the observations (SS_METHOD_OBS_1: the weighted covariance
// of group_sums.h, normalised by W1 - W2/W1 as the basic covariance) or
// from the task's cov in the form of cov_storage (SS_METHOD_SUMS_1).
#include <algorithm>
#include <cmath>

#include "qor/qor_linalg.h"
#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/group_sums.h"
#include "stats/matrix_storage.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

int64_t role_of(const SSTask& task, int64_t i) {
    return task.wide_ints ? static_cast<const int64_t*>(task.partial_index)[i]
                          : static_cast<const int32_t*>(task.partial_index)[i];
}

// Reads a result's array and storage code: its own status when the array
// is missing, SS_ERR_STORAGE or SS_ERR_OBS_STORAGE for the code.
int32_t read_output(const SSTask& task, const void* array, const void* storage, int32_t missing, int64_t& code) {
    if (!array) return missing;
    if (!read_int(task, storage, code)) return SS_ERR_STORAGE;
    return matrix_storage_valid(code) ? SS_OK : SS_ERR_OBS_STORAGE;
}

template <class T>
int32_t partial(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading) {
    Shape shape;
    if (const int32_t status = read_shape(task, shape); status != SS_OK) return status;
    const bool want_cov = estimates & SS_EST_PARTIAL_COV, want_cor = estimates & SS_EST_PARTIAL_COR;
    if (!want_cov && !want_cor) return SS_OK;
    if (!task->partial_index) return SS_ERR_PARTIAL_INDEX;
    int64_t cov_code = 0, cor_code = 0, in_code = 0;
    if (want_cov)
        if (const int32_t s = read_output(*task, task->partial_cov, task->partial_cov_storage, SS_ERR_PARTIAL_COV, cov_code))
            return s;
    if (want_cor)
        if (const int32_t s = read_output(*task, task->partial_cor, task->partial_cor_storage, SS_ERR_PARTIAL_COR, cor_code))
            return s;
    const bool from_obs = method & SS_METHOD_OBS_1;
    if (from_obs) {
        if (!task->obs) return SS_ERR_OBS;
    } else if (method & SS_METHOD_SUMS_1) {
        if (const int32_t s = read_output(*task, task->cov, task->cov_storage, SS_ERR_COV, in_code)) return s;
    } else {
        return SS_ERR_METHOD;
    }
    const int64_t p = shape.p;

    // The variables of role 1, then those of role -1.
    size_t b_vars;
    if (!aligned_bytes(p, sizeof(int64_t), b_vars)) return SS_ERR_NO_MEMORY;
    const size_t b_matrices = static_cast<size_t>(3 * p * p) * sizeof(double);
    char* buffer = static_cast<char*>(qor_serv_allocate(b_vars + b_matrices, kTaskAlignment));
    if (!buffer) return SS_ERR_NO_MEMORY;
    auto* vars = reinterpret_cast<int64_t*>(buffer);
    int64_t a = 0, r = 0;
    for (int64_t i = 0; i < p; ++i)
        if (role_of(*task, i) == 1) vars[a++] = i;
    r = a;
    for (int64_t i = 0; i < p; ++i)
        if (role_of(*task, i) == -1) vars[r++] = i;
    const int64_t c = r - a;
    if (a == 0) {
        qor_serv_deallocate(buffer);
        return SS_OK;
    }

    // S, r x r column-major, full.
    double* s = reinterpret_cast<double*>(buffer + b_vars);
    double* l = s + p * p;  // L, then L^-1: c x c
    double* m = l + p * p;  // M: c x a
    if (from_obs) {
        GroupSums sums;
        if (const int32_t status = group_sums(static_cast<const T*>(task->obs), static_cast<const T*>(task->weights), p,
                                              shape.n, shape.variables_in_rows, vars, r, nullptr, 1, threading, sums);
            status != SS_OK) {
            qor_serv_deallocate(buffer);
            return status;
        }
        const double divisor = sums.divisor(0);
        for (int64_t j = 0; j < r; ++j)
            for (int64_t i = 0; i <= j; ++i)
                s[i + j * r] = s[j + i * r] = divisor > 0 ? sums.cp_of(0)[i + j * r] / divisor : 0.0;
        release_group_sums(sums);
    } else {
        const T* cov = static_cast<const T*>(task->cov);
        for (int64_t j = 0; j < r; ++j)
            for (int64_t i = 0; i <= j; ++i)
                s[i + j * r] = s[j + i * r] =
                    static_cast<double>(cov[matrix_offset(in_code, p, std::min(vars[i], vars[j]), std::max(vars[i], vars[j]))]);
    }

    if (c > 0) {
        const int ci = static_cast<int>(c), ai = static_cast<int>(a);
        for (int64_t j = 0; j < c; ++j)
            for (int64_t i = 0; i < c; ++i) l[i + j * c] = s[(a + i) + (a + j) * r];
        int info = 0;
        qor_dpotrf("L", &ci, l, &ci, &info);
        if (info == 0) qor_dtrtri("L", "N", &ci, l, &ci, &info);
        if (info != 0) {
            qor_serv_deallocate(buffer);
            return SS_ERR_NOT_POSITIVE_DEFINITE;
        }
        for (int64_t j = 0; j < a; ++j)
            for (int64_t i = 0; i < c; ++i) m[i + j * c] = s[(a + i) + j * r];
        const double one = 1.0, minus_one = -1.0;
        qor_dtrmm("L", "L", "N", "N", &ci, &ai, &one, l, &ci, m, &ci);
        const int ri = static_cast<int>(r);
        qor_dsyrk("U", "T", &ai, &ci, &minus_one, m, &ci, &one, s, &ri);
    }
    for (int64_t j = 0; j < a; ++j)
        for (int64_t i = 0; i <= j; ++i) {
            const double pij = s[i + j * r];
            if (want_cov) put_symmetric(static_cast<T*>(task->partial_cov), cov_code, a, i, j, pij);
            if (want_cor)
                put_symmetric(static_cast<T*>(task->partial_cor), cor_code, a, i, j,
                              pij / std::sqrt(s[i + i * r] * s[j + j * r]));
        }
    qor_serv_deallocate(buffer);
    return SS_OK;
}

}  // namespace
}  // namespace qor::ss

QOR_SS_COMPUTE_EXPORTS(SSPartialCovariance, qor::ss::partial)
