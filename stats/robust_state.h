// What the robust-covariance and outlier-detection entries leave in a task
// between calls: the robust distances of the observations of their last
// call, in a buffer the task owns, named by the Mahalanobis-distance words
// mahal_inputs[SS_MAHAL_DISTANCES] and [SS_MAHAL_DISTANCE_COUNT] (the
// count is the buffer's first word, read as the task's integers).  The
// buffer is reused while large enough and released by a clean-up routine
// registered with its first allocation.
#pragma once

#include <cstdint>

#include "qor/qor_ss.h"

namespace qor::ss {

// The task's distance buffer for n values of T, grown when needed; null
// when the allocation or the clean-up registration fails.
template <class T>
T* robust_distances(SSTask& task, int64_t n);

}  // namespace qor::ss
