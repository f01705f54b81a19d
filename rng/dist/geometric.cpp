// Geometric variates, the number of failures before the first success of
// trials that each succeed with probability p, by inversion:
// floor(ln u / ln(1 - p)) for u uniform on (0, 1), one uniform per
// variate.  ln(1 - p) is taken as log1p(-p), exact for tiny p; p = 1 gives
// 0 at once (ln 0 would make 0/-inf a NaN for nothing).  A uniform of 0
// becomes the smallest subnormal double, so ln u stays finite; a variate
// above 2^31 - 1 (p below about 1e-9 makes them common) is clamped to it.
// The logarithms run as one whole-block call of the vector-math LA kernel.
#include <cfloat>
#include <cmath>

#include "qor/qor_rng.h"
#include "rng/dist/vm_calls.h"

namespace {

using namespace qor::rng::dist;

constexpr int32_t kBlock = 1024;
constexpr double kInt32Ceiling = 2147483647.0;

int32_t geometric(qor_rng_stream* stream, int32_t n, int32_t* r, double p) {
    if (p == 1) {
        for (int32_t i = 0; i < n; ++i) r[i] = 0;
        return _rixdRngUniform(0, stream, 0, nullptr, 0.0, 1.0);  // the generator's status, nothing drawn
    }
    const double inverse_log_q = 1 / std::log1p(-p);
    double u[kBlock];
    for (int32_t done = 0; done < n;) {
        const int32_t m = n - done < kBlock ? n - done : kBlock;
        const int32_t status = _rixdRngUniform(0, stream, m, u, 0.0, 1.0);
        if (status < 0) return status;
        for (int32_t i = 0; i < m; ++i) u[i] = u[i] > DBL_TRUE_MIN ? u[i] : DBL_TRUE_MIN;
        vm_ln(m, u, u, kLA);
        for (int32_t i = 0; i < m; ++i) {
            const double x = u[i] * inverse_log_q;
            r[done + i] = x < kInt32Ceiling ? static_cast<int32_t>(x) : INT32_MAX;
        }
        done += m;
    }
    return QOR_RNG_STATUS_OK;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixiRngGeometric(int32_t, qor_rng_stream* stream, int32_t n, int32_t* r, double p) {
    return geometric(stream, n, r, p);
}

}  // extern "C"
