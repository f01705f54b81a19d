// Rayleigh variates a + beta sqrt(-ln u) over uniforms on [0, 1) (no factor
// 2: beta is sqrt(2) times the usual sigma), the logarithm and the square
// root by the EP kernels over the whole array.  A uniform of 0 gives
// sqrt(744.44...) through the error callback; the accurate variant keeps
// every variate at or above a.
#include "rng/dist/transforms.h"
#include "rng/dist/vm_calls.h"

namespace {

using namespace qor::rng::dist;

template <class T>
int32_t rayleigh(int32_t method, qor_rng_stream* stream, int32_t n, T* r, T a, T beta) {
    const GuardedCalls guard(ln_zero_singularity);
    const int32_t status = uniforms(stream, n, r, T(0), T(1));
    if (status < 0) return status;
    vm_ln(n, r, r);
    for (int32_t i = 0; i < n; ++i) r[i] = -r[i];
    vm_sqrt(n, r, r);
    scale_shift(r, n, beta, a, accurate(method));
    return status;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixdRngRayleigh(int32_t method, qor_rng_stream* stream, int32_t n, double* r, double a,
                                    double beta) {
    return rayleigh(method, stream, n, r, a, beta);
}

QOR_EXPORT int32_t _rixsRngRayleigh(int32_t method, qor_rng_stream* stream, int32_t n, float* r, float a,
                                    float beta) {
    return rayleigh(method, stream, n, r, a, beta);
}

}  // extern "C"
