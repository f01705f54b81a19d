// Workers of the natural and default cubic kinds: the interpolating cubic
// spline with continuous second derivative under the task's boundary
// condition (both kinds build the same spline).
#include "fit/construct/c2_cubic.h"

namespace qor::kp {
namespace {

template <class T, bool Uniform>
using Unfiltered = spline::C2Cubic<T, Uniform, spline::NoFilter>;

}  // namespace

const ConstructionWorker kC2CubicWorkersS[4] = QOR_SPLINE_WORKER_ROW(float, Unfiltered);
const ConstructionWorker kC2CubicWorkersD[4] = QOR_SPLINE_WORKER_ROW(double, Unfiltered);

}  // namespace qor::kp
