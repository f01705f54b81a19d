// What the construction entries and their workers share: the worker
// signature, how a task's hints pick a worker, and the linear workers.
#pragma once

#include <cstdint>

#include "fit/task_internal.h"

namespace qor::kp {

// The periodic boundary condition: first and last values equal.
constexpr int64_t kBcPeriodic = 64;

// A construction worker: builds the coefficients of every function of a
// task that the entry checks have passed.
using ConstructionWorker = int32_t (*)(FitTask& task, const qor_threading* threading);

// Storage class of the values: 0 for hintValuesWhole (all functions in one
// array, breakpoint by breakpoint), 1 for the hints with a run per function.
inline int storage_class(const FitTask& task) { return task.yhint == hintValuesWhole ? 0 : 1; }

// 1 when the partition is given by its two ends (bit 2 of the hint).
inline int uniform_bit(const FitTask& task) { return (task.xhint & hintPartitionUniform) ? 1 : 0; }

// Index in a kind's table of four workers: 2*class + u.
inline int worker_index(const FitTask& task) { return 2 * storage_class(task) + uniform_bit(task); }

// The linear workers of each precision, by worker_index.
extern const ConstructionWorker kLinearWorkersS[4];
extern const ConstructionWorker kLinearWorkersD[4];

}  // namespace qor::kp
