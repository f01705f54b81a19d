// Workers of the Akima cubic kind (Akima 1970): the derivative at a
// breakpoint weighs the slopes on its two sides by how much the slopes
// change on the far sides,
//   d[i] = (w1 m[i-1] + w2 m[i]) / (w1 + w2),  w1 = |m[i+1] - m[i]|, w2 = |m[i-1] - m[i-2]|,
// and is the mean of m[i-1] and m[i] when both weights are 0.  Past the
// ends the slopes continue linearly; with boundary-condition code 0 the
// ends take the rule too (Akima's own end treatment), with the periodic
// condition the slopes wrap around, and the other conditions set the end
// derivatives.
#include <cmath>

#include "fit/construct/local_cubic.h"

namespace qor::kp {
namespace {

template <class T, bool Uniform>
struct AkimaWeights {
    static T derivative(const spline::Job<T, Uniform>&, int64_t, int64_t, const T* m, const T*) {
        const T w1 = std::fabs(m[1] - m[0]), w2 = std::fabs(m[-1] - m[-2]), w = w1 + w2;
        return w == T(0) ? (m[-1] + m[0]) / T(2) : (w1 * m[-1] + w2 * m[0]) / w;
    }
};

template <class T, bool Uniform>
using Akima = spline::LocalCubic<T, Uniform, AkimaWeights<T, Uniform>>;

}  // namespace

const ConstructionWorker kAkimaWorkersS[4] = QOR_SPLINE_WORKER_ROW(float, Akima);
const ConstructionWorker kAkimaWorkersD[4] = QOR_SPLINE_WORKER_ROW(double, Akima);

}  // namespace qor::kp
