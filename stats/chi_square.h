// The chi-square distribution the robust estimators calibrate their cut-offs
// and consistency factors with: the regularized lower incomplete gamma
// function P(a, x), the chi-square distribution function and its quantile.
#pragma once

namespace qor::ss {

// P(a, x) = gamma(a, x) / Gamma(a) for a > 0, x >= 0: the power series below
// x = a + 1, the continued fraction of the upper part above, each to a
// relative 1e-15.
double gamma_p(double a, double x);

// Pr(X <= x) for X chi-square with k degrees of freedom.
inline double chi_square_cdf(double x, double k) { return x <= 0 ? 0.0 : gamma_p(0.5 * k, 0.5 * x); }

// The x with chi_square_cdf(x, k) = prob, for prob in (0, 1), by bisection
// to the last bits.
double chi_square_quantile(double prob, double k);

// The factor that makes the covariance of the observations within the
// prob-quantile of the distances consistent at the normal model:
// prob / Pr(chi-square(k + 2) <= chi-square(k) quantile of prob).
double truncation_consistency(double prob, double k);

}  // namespace qor::ss
