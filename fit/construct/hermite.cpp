// Workers of the Hermite cubic kind: the derivatives at the inner
// breakpoints are given, nx-2 per function in the internal-condition
// values (function j's at ic + j*(nx-2), whatever the values' storage);
// the ends follow the boundary condition, and the periodic condition takes
// the common end derivative from bc[0].
#include "fit/construct/local_cubic.h"

namespace qor::kp {
namespace {

template <class T, bool Uniform>
struct GivenDerivatives {
    static constexpr bool kFormula = false;
    static T derivative(const spline::Job<T, Uniform>& job, int64_t j, int64_t i) {
        const int64_t n = job.n;
        if (i == 0 || i == n - 1) return job.ends.left_value;  // periodic only
        return static_cast<const T*>(job.task->ic)[j * (n - 2) + i - 1];
    }
};

template <class T, bool Uniform>
using Hermite = spline::LocalCubic<T, Uniform, GivenDerivatives<T, Uniform>>;

}  // namespace

const ConstructionWorker kHermiteWorkersS[4] = QOR_SPLINE_WORKER_ROW(float, Hermite);
const ConstructionWorker kHermiteWorkersD[4] = QOR_SPLINE_WORKER_ROW(double, Hermite);

}  // namespace qor::kp
