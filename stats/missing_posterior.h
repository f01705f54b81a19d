// The P-step of data augmentation: a draw of the mean and covariance of
// normal data from their normal-inverse-Wishart posterior given a completed
// data set.
//
// Prior (tau, nu, mu0, Lambda^-1): S ~ W^-1(nu, Lambda), that is
// S^-1 ~ Wishart(nu, Lambda), and m | S ~ N(mu0, S / tau); tau = 0,
// nu = -1, Lambda^-1 = 0 is the non-informative limit.  With the completed
// data's mean ybar and centred cross-products nS over n observations the
// posterior has
//   tau' = tau + n,  nu' = nu + n,  mu0' = (n ybar + tau mu0) / tau',
//   Lambda'^-1 = Lambda^-1 + nS + (tau n / tau') (ybar - mu0)(ybar - mu0)'.
// Bartlett's decomposition draws it: with Lambda'^-1 = L L' (Cholesky) and
// A lower triangular, A_ii^2 ~ chi-square(nu' - i) (i from 0), A_ik ~ N(0, 1)
// below the diagonal, S^-1 = L^-T A A' L^-1 is Wishart(nu', Lambda'), so
// S = F F' with F = L A^-T, and m = mu0' + F z / sqrt(tau').
#pragma once

#include <cstdint>

#include "qor/qor_rng.h"

namespace qor::ss {

struct NormalWishartPrior {
    double tau = 0, nu = -1;
    const double* mu0 = nullptr;         // p values; null for the non-informative prior
    const double* lambda_inv = nullptr;  // p x p, full, column-major; null with mu0
};

// mean (p) and cov (p x p, full, column-major) receive the draw; ybar and
// ns as above (ns full).  The caller ensures nu + n > p - 1.  Returns 0,
// SS_ERR_NOT_POSITIVE_DEFINITE when Lambda'^-1 cannot be factored,
// SS_ERR_NO_MEMORY, or the generator's status.
int32_t draw_posterior(qor_rng_stream* stream, int64_t p, int64_t n, const double* ybar, const double* ns,
                       const NormalWishartPrior& prior, double* mean, double* cov);

}  // namespace qor::ss
