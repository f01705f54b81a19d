// The search entry's batch workers: one per strategy, in a table indexed by
// the strategy's number.  For the data-fitting sources only.
#pragma once

#include "fit/search_plan.h"

namespace qor::kp {

// A batch worker: the cells of nsite (32 or more) sites by the plan, written
// in the integer width `width` names (0: 32-bit, else 64-bit).
template <class T>
using SearchBatchWorker = int32_t (*)(const SearchPlan<T>& plan, int64_t nsite, const T* site, uint32_t width,
                                      void* cell);

extern const SearchBatchWorker<float> kSearchBatchWorkersS[kStrategyCount];
extern const SearchBatchWorker<double> kSearchBatchWorkersD[kStrategyCount];

}  // namespace qor::kp
