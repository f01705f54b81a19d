// What the construction entries and their workers share: the worker
// signature, the boundary-condition codes, how a task's hints pick a
// worker, and each kind's workers.
#pragma once

#include <cstdint>

#include "fit/task_internal.h"

namespace qor::kp {

// Boundary-condition and internal-condition codes (qor_kp.h).
constexpr int64_t kBcFreeEnd = bcFreeEnd;
constexpr int64_t kBcNotAKnot = bcNotAKnot;
constexpr int64_t kBcFirstLeft = bcFirstLeft;
constexpr int64_t kBcFirstRight = bcFirstRight;
constexpr int64_t kBcSecondLeft = bcSecondLeft;
constexpr int64_t kBcSecondRight = bcSecondRight;
constexpr int64_t kBcPeriodic = bcPeriodic;
constexpr int64_t kBcQuadraticValue = bcQuadraticMiddleValue;
constexpr int64_t kIcFirstDerivatives = icFirstDerivatives;
constexpr int64_t kIcKnots = icKnots;

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

// Each kind's workers of each precision, by worker_index.  The quadratic
// and cubic workers read the boundary condition from the task themselves.
extern const ConstructionWorker kLinearWorkersS[4];
extern const ConstructionWorker kLinearWorkersD[4];
extern const ConstructionWorker kQuadraticWorkersS[2][4];  // by type 0, 1
extern const ConstructionWorker kQuadraticWorkersD[2][4];
extern const ConstructionWorker kC2CubicWorkersS[4];       // natural and default kinds
extern const ConstructionWorker kC2CubicWorkersD[4];
extern const ConstructionWorker kHymanWorkersS[4];
extern const ConstructionWorker kHymanWorkersD[4];
extern const ConstructionWorker kHermiteWorkersS[4];
extern const ConstructionWorker kHermiteWorkersD[4];
extern const ConstructionWorker kBesselWorkersS[4];
extern const ConstructionWorker kBesselWorkersD[4];
extern const ConstructionWorker kAkimaWorkersS[4];
extern const ConstructionWorker kAkimaWorkersD[4];

}  // namespace qor::kp
