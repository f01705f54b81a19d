// Workers of the Hyman cubic kind: the derivatives of the cubic spline with
// continuous second derivative (under the task's boundary condition), each
// passed through Hyman's (1983) monotonicity filter before the pieces are
// built.  With the slopes ml, mr of the intervals left and right of a
// breakpoint:
//   - same sign s: d is clipped to s*[0, 3*min(|ml|, |mr|)];
//   - a sign change or a zero slope (a local extremum): d = 0;
//   - at an end (not periodic), the one slope m: d clipped to s*[0, 3|m|],
//     0 when m is 0.
// Each piece then has end derivatives of its slope's sign and at most three
// times it, which keeps it monotone: data monotone over a stretch stay
// monotone there.  The filter may move the derivative at an end away from
// the one the boundary condition asked for.
#include <algorithm>
#include <cmath>

#include "fit/construct/c2_cubic.h"

namespace qor::kp {
namespace {

template <class T>
T clip(T d, T m, T bound) {
    if (m > T(0)) return std::min(std::max(T(0), d), bound);
    return std::max(std::min(T(0), d), -bound);
}

// The filter on the slopes ml, mr left and right of the breakpoint (at an
// end that is not periodic, the end slope twice).
struct HymanFilter {
    static constexpr bool kIdentity = false;
    template <class T>
    static T apply(T d, T ml, T mr) {
        if (!(ml * mr > T(0))) return T(0);
        return clip(d, mr, T(3) * std::min(std::fabs(ml), std::fabs(mr)));
    }
};

template <class T, bool Uniform>
using Filtered = spline::C2Cubic<T, Uniform, HymanFilter>;

}  // namespace

const ConstructionWorker kHymanWorkersS[4] = QOR_SPLINE_WORKER_ROW(float, Filtered);
const ConstructionWorker kHymanWorkersD[4] = QOR_SPLINE_WORKER_ROW(double, Filtered);

}  // namespace qor::kp
