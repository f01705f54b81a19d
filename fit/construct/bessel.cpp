// Workers of the Bessel cubic kind: the derivative at an inner breakpoint
// is that of the parabola through it and its two neighbours,
//   d[i] = (h[i] m[i-1] + h[i-1] m[i]) / (h[i-1] + h[i]);
// the ends follow the boundary condition (periodic: the same parabola
// across the joined ends).
#include "fit/construct/local_cubic.h"

namespace qor::kp {
namespace {

template <class T, bool Uniform>
struct ThreePoint {
    static T derivative(const spline::Job<T, Uniform>&, int64_t, int64_t, const T* m, const T* h) {
        return (h[0] * m[-1] + h[-1] * m[0]) / (h[-1] + h[0]);
    }
};

template <class T, bool Uniform>
using Bessel = spline::LocalCubic<T, Uniform, ThreePoint<T, Uniform>>;

}  // namespace

const ConstructionWorker kBesselWorkersS[4] = QOR_SPLINE_WORKER_ROW(float, Bessel);
const ConstructionWorker kBesselWorkersD[4] = QOR_SPLINE_WORKER_ROW(double, Bessel);

}  // namespace qor::kp
