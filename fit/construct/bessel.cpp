// Workers of the Bessel cubic kind: the derivative at an inner breakpoint
// is that of the parabola through it and its two neighbours,
//   d[i] = (h[i] m[i-1] + h[i-1] m[i]) / (h[i-1] + h[i]);
// the ends follow the boundary condition (periodic: the same parabola
// across the joined ends).
#include "fit/construct/local_cubic.h"

namespace qor::kp {
namespace {

struct ThreePoint {
    static constexpr bool kFormula = true;
    template <class U>
    static U formula(U, U m1, U m0, U, U h1, U h0) {  // m[i-1], m[i], h[i-1], h[i]
        return (h0 * m1 + h1 * m0) / (h1 + h0);
    }
};

template <class T, bool Uniform>
using Bessel = spline::LocalCubic<T, Uniform, ThreePoint>;

}  // namespace

const ConstructionWorker kBesselWorkersS[4] = QOR_SPLINE_WORKER_ROW(float, Bessel);
const ConstructionWorker kBesselWorkersD[4] = QOR_SPLINE_WORKER_ROW(double, Bessel);

}  // namespace qor::kp
