// The robust location and scatter fits behind the robust-covariance and
// outlier-detection entries, on a sample of doubles (robust_passes.h).
// Each writes a mean (q) and a scatter (q x q, column-major, full) and
// returns SS_OK, SS_ERR_NOT_POSITIVE_DEFINITE when the data admit no
// regular fit, or SS_ERR_NO_MEMORY.
#pragma once

#include <cstdint>

#include "stats/robust_passes.h"

namespace qor::ss {

struct McdSettings {
    double breakdown = 0.5;   // in (0, 0.5]: h = mcd_coverage(n, q, breakdown)
    int64_t subsets = 500;    // random (q+1)-subsets the search starts from
    int64_t max_steps = 100;  // C-steps of the final refinement
    bool reweight = true;
    uint32_t seed = 1;
};

// h, the number of observations whose covariance determinant the MCD
// minimises: with n2 = floor((n + q + 1)/2),
// floor(2 n2 - n + 2 (1 - breakdown)(n - n2)), n2 itself at breakdown 0.5,
// at most n.
int64_t mcd_coverage(int64_t n, int64_t q, double breakdown);

// FAST-MCD (Rousseeuw and Van Driessen, 1999).  Random (q+1)-subsets,
// grown while singular, each improved by two C-steps (the h observations
// nearest under the current fit give the next fit, which never increases
// the determinant); the ten best are iterated to convergence and the one
// of least determinant kept.  Above 600 observations the starts run on up
// to five disjoint parts of 300 of a random selection of at most 1500, the
// parts' ten best each are refined on the whole selection, and its best
// carries on to the whole data (its ten best when n <= 1500).  The raw fit
// is the mean and the covariance of its h observations (divisor h - 1),
// times truncation_consistency(h/n, q).  No small-sample correction is
// applied.  Reweighting then takes the
// observations whose squared distance under the raw fit is within the
// 0.975-quantile of chi-square(q): their mean, and their covariance times
// truncation_consistency(0.975, q).
int32_t fast_mcd(const Sample& data, const McdSettings& settings, double* mean, double* cov);

struct TbsSettings {
    double breakdown = 0.5;     // in (0, 0.5]
    double rejection = 0.001;   // asymptotic rejection probability, in (0, 1)
    double accuracy = 1e-6;     // stop when the scale's log determinant moves less per variable
    int64_t max_iterations = 100;
};

// Rocke's translated-biweight S-estimate from the start in (mean, cov),
// overwritten with the result.  The weight of distance d is 1 below M,
// (1 - ((d - M)/c)^2)^2 on [M, M + c] and 0 beyond; rho(d) is the integral
// of s w(s) from 0 to d.  M + c is the square root of the (1 - rejection)
// quantile of chi-square(q), and c solves E rho(d) = breakdown * rho(inf)
// for d^2 chi-square(q), so the fit is consistent at the normal model with
// the given breakdown point.  Each step rescales the scatter so that the
// mean of rho(d_j) is breakdown * rho(inf), then takes the weights
// u_j = w(d_j): mean = sum u_j x_j / sum u_j and
// cov = q sum u_j (x_j - mean)(x_j - mean)' / sum u_j d_j^2.
int32_t tbs_refine(const Sample& data, const TbsSettings& settings, double* mean, double* cov);

}  // namespace qor::ss
