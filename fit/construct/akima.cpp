// Workers of the Akima cubic kind (Akima 1970): the derivative at a
// breakpoint weighs the slopes on its two sides by how much the slopes
// change on the far sides,
//   d[i] = (w1 m[i-1] + w2 m[i]) / (w1 + w2),  w1 = |m[i+1] - m[i]|, w2 = |m[i-1] - m[i-2]|,
// and is the mean of m[i-1] and m[i] when both weights are 0.  Past the
// ends the slopes continue linearly; with boundary-condition code 0 the
// ends take the rule too (Akima's own end treatment), with the periodic
// condition the slopes wrap around, and the other conditions set the end
// derivatives.
#include "fit/construct/local_cubic.h"

namespace qor::kp {
namespace {

struct AkimaWeights {
    static constexpr bool kFormula = true;
    template <class U>
    static U formula(U m2, U m1, U m0, U p1, U, U) {  // m[i-2], m[i-1], m[i], m[i+1]
        const U w1 = spline::magnitude(p1 - m0), w2 = spline::magnitude(m1 - m2), w = w1 + w2;
        const auto flat = w == 0;
        return spline::choose(flat, (m1 + m0) / 2, (w1 * m1 + w2 * m0) / spline::choose(flat, w + 1, w));
    }
};

template <class T, bool Uniform>
using Akima = spline::LocalCubic<T, Uniform, AkimaWeights>;

}  // namespace

const ConstructionWorker kAkimaWorkersS[4] = QOR_SPLINE_WORKER_ROW(float, Akima);
const ConstructionWorker kAkimaWorkersD[4] = QOR_SPLINE_WORKER_ROW(double, Akima);

}  // namespace qor::kp
