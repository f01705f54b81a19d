// What the construction entries and their workers share: the worker
// signature, the boundary-condition codes, how a task's hints pick a
// worker, and each kind's workers.
#pragma once

#include <cstdint>

#include "fit/task_internal.h"

namespace qor::kp {

// Boundary-condition codes.  The cubic kinds take 1, 2, 64 or one
// condition at each end with its value in bc: the sum of 4 (first
// derivative) or 16 (second derivative) at the left end and 8 or 32 at the
// right end.  The default quadratic takes kBcQuadraticValue.
constexpr int64_t kBcFreeEnd = 1;      // second derivative zero at both ends
constexpr int64_t kBcNotAKnot = 2;     // third derivative continuous at x[1] and x[nx-2]
constexpr int64_t kBcFirstLeft = 4;
constexpr int64_t kBcFirstRight = 8;
constexpr int64_t kBcSecondLeft = 16;
constexpr int64_t kBcSecondRight = 32;
constexpr int64_t kBcPeriodic = 64;    // first and last values equal; s', s'' periodic
constexpr int64_t kBcQuadraticValue = 128;

// Internal-condition types: Hermite derivatives at the inner breakpoints,
// and the knots of the quadratic spline of type 1 (bit 3).
constexpr int64_t kIcFirstDerivatives = 1;
constexpr int64_t kIcKnots = 8;

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
