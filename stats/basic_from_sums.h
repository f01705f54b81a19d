// The from-sums methods of the basic statistics: means, moments and
// matrices from sums accumulated earlier (the sum, raw and central sums and
// the cross-product arrays of the task), without reading observations.
//
// W1 and W2 come from acc_weights, or are both n when the task has neither
// acc_weights nor weights.  The normaliser of the variance and covariance is
// W1 − W2/W1 with the first form (unbiased, as the observation methods
// write them) and W1 with the second (population moments).  An estimate is
// computed where its sums array is among the arrays the request needs;
// kurtosis, skewness and variation are taken from the moment arrays, after
// those were updated by the same call.
#pragma once

#include "stats/basic_plan.h"

namespace qor::ss {

template <class T>
int32_t basic_from_sums(SSTask& task, const BasicPlan& plan);

}  // namespace qor::ss
