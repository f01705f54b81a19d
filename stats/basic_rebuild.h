// Between the result arrays and the running sums of the basic statistics:
// the estimates written from the sums, and the sums rebuilt from the
// estimates when a call continues an accumulation whose exact sums the task
// does not hold.
//
// With W1 = Σ w, W2 = Σ w² and the normaliser N = W1 − W2/W1 (n − 1
// without weights):
//   mean m                          raw moment k   R_k / W1
//   central moment 2   S2 / N       central moments 3, 4   S_k / W1
//   covariance         C / N        correlation    C_ij / √(C_ii·C_jj)
//   cross-product      C            sum, raw sums R_k, central sums S_k
//   skewness   (S3/W1) / (S2/W1)^1.5     kurtosis   (S4/W1) / (S2/W1)² − 3
//   variation  √(S2/N) / m
// A covariance or variance over weight with N = 0 (a single observation)
// is written as 0; its sums stay exact in the task.
#pragma once

#include "stats/basic_results.h"
#include "stats/moments.h"

namespace qor::ss {

// The parts of the running sums that the arrays in `needed` rely on.
Tracked tracked_for(QuantitySet needed);

// Fills the parts of `m` that `want` has and `have` lacks from the arrays
// in `needed` (m.w1(), m.w2() already set, above 0).  Fails with
// SS_ERR_COV when a correlation has to be continued and no array holds the
// variances that scaled it.
template <class T>
int32_t rebuild_sums(const Results<T>& r, QuantitySet needed, const Tracked& have, const Tracked& want,
                     const Moments& m);

// Writes every array of `needed` from `m`; the mean is left alone when it
// was supplied.  Nothing is written when no observation carried weight.
template <class T>
void write_estimates(const Results<T>& r, QuantitySet needed, bool mean_supplied, const Moments& m);

}  // namespace qor::ss
