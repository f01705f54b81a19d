// Exponential variates with displacement a and scale beta by inversion:
// a - beta ln u over uniforms on [0, 1), the logarithm by the EP kernel
// over the whole array.  A uniform of 0 gives a + 744.44... beta through the
// error callback; the accurate variant keeps every variate at or above a,
// whatever the logarithm's rounding near u = 1.
#include "rng/dist/transforms.h"
#include "rng/dist/vm_calls.h"

namespace {

using namespace qor::rng::dist;

template <class T>
int32_t exponential(int32_t method, qor_rng_stream* stream, int32_t n, T* r, T a, T beta) {
    const GuardedCalls guard(ln_zero_any_error);
    const int32_t status = uniforms(stream, n, r, T(0), T(1));
    if (status < 0) return status;
    vm_ln(n, r, r);
    if (accurate(method)) {
        for (int32_t i = 0; i < n; ++i) {
            const T v = a - r[i] * beta;
            r[i] = v < a ? a : v;
        }
    } else {
        for (int32_t i = 0; i < n; ++i) r[i] = a - r[i] * beta;
    }
    return status;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixdRngExponential(int32_t method, qor_rng_stream* stream, int32_t n, double* r, double a,
                                       double beta) {
    return exponential(method, stream, n, r, a, beta);
}

QOR_EXPORT int32_t _rixsRngExponential(int32_t method, qor_rng_stream* stream, int32_t n, float* r, float a,
                                       float beta) {
    return exponential(method, stream, n, r, a, beta);
}

}  // extern "C"
