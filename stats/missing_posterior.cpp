#include "stats/missing_posterior.h"

#include <algorithm>
#include <cmath>

#include "qor/qor_linalg.h"
#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/task_internal.h"

namespace qor::ss {

int32_t draw_posterior(qor_rng_stream* stream, int64_t p, int64_t n, const double* ybar, const double* ns,
                       const NormalWishartPrior& prior, double* mean, double* cov) {
    const int64_t pp = p * p;
    auto* work =
        static_cast<double*>(qor_serv_allocate(sizeof(double) * static_cast<size_t>(3 * pp + 2 * p), kTaskAlignment));
    if (!work) return SS_ERR_NO_MEMORY;
    double *l = work, *a = l + pp, *f = a + pp, *z = f + pp, *chi = z + p;
    const double nd = static_cast<double>(n), tau = prior.tau + nd, nu = prior.nu + nd;

    // Lambda'^-1 and mu0'.
    std::copy(ns, ns + pp, l);
    for (int64_t i = 0; i < p; ++i) mean[i] = ybar[i];
    if (prior.mu0) {
        const double shrink = prior.tau * nd / tau;
        for (int64_t k = 0; k < p; ++k)
            for (int64_t i = 0; i < p; ++i)
                l[i + k * p] +=
                    prior.lambda_inv[i + k * p] + shrink * (ybar[i] - prior.mu0[i]) * (ybar[k] - prior.mu0[k]);
        for (int64_t i = 0; i < p; ++i) mean[i] = (nd * ybar[i] + prior.tau * prior.mu0[i]) / tau;
    }
    const int pi = static_cast<int>(p);
    int info = 0;
    qor_dpotrf("L", &pi, l, &pi, &info);
    if (info != 0) {
        qor_serv_deallocate(work);
        return SS_ERR_NOT_POSITIVE_DEFINITE;
    }

    // A: chi-square diagonal (as gamma of shape df/2 and scale 2), normal
    // entries below it, then p more normals for the mean.
    int32_t status = 0;
    for (int64_t i = 0; i < p && status >= 0; ++i)
        status = _rixdRngGamma(0, stream, 1, chi + i, 0.5 * (nu - double(i)), 0.0, 2.0);
    const int32_t below = static_cast<int32_t>(p * (p - 1) / 2);
    if (status >= 0 && below > 0) status = _rixdRngGaussian(0, stream, below, f, 0.0, 1.0);
    if (status >= 0) status = _rixdRngGaussian(0, stream, static_cast<int32_t>(p), z, 0.0, 1.0);
    if (status < 0) {
        qor_serv_deallocate(work);
        return status;
    }
    std::fill(a, a + pp, 0.0);
    for (int64_t k = 0, at = 0; k < p; ++k) {
        a[k + k * p] = std::sqrt(chi[k]);
        for (int64_t i = k + 1; i < p; ++i) a[i + k * p] = f[at++];
    }
    qor_dtrtri("L", "N", &pi, a, &pi, &info);
    if (info != 0) {  // a zero chi-square draw
        qor_serv_deallocate(work);
        return SS_ERR_NOT_POSITIVE_DEFINITE;
    }

    // F = L A^-T, S = F F', m = mu0' + F z / sqrt(tau').
    for (int64_t k = 0; k < p; ++k)
        for (int64_t i = 0; i < p; ++i) f[i + k * p] = i >= k ? l[i + k * p] : 0.0;
    const double one = 1.0, zero = 0.0, scale = 1.0 / std::sqrt(tau);
    const int inc = 1;
    qor_dtrmm("R", "L", "T", "N", &pi, &pi, &one, a, &pi, f, &pi);
    qor_dsyrk("L", "N", &pi, &pi, &one, f, &pi, &zero, cov, &pi);
    for (int64_t k = 0; k < p; ++k)
        for (int64_t i = 0; i < k; ++i) cov[i + k * p] = cov[k + i * p];
    qor_dgemv("N", &pi, &pi, &scale, f, &pi, z, &inc, &one, mean, &inc);
    qor_serv_deallocate(work);
    return SS_OK;
}

}  // namespace qor::ss
