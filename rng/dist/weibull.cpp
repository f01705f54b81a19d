// Weibull variates a + beta (-ln u)^(1/alpha) over uniforms on [0, 1), the
// logarithm and the power by the EP kernels over the whole array; a shape
// of exactly 1 (the exponential law) makes no power call.  A uniform of 0
// gives a logarithm of -744.44... through the error callback; the accurate
// variant keeps every variate at or above a.
#include "rng/dist/transforms.h"
#include "rng/dist/vm_calls.h"

namespace {

using namespace qor::rng::dist;

template <class T>
int32_t weibull(int32_t method, qor_rng_stream* stream, int32_t n, T* r, T alpha, T a, T beta) {
    const GuardedCalls guard(ln_zero_singularity);
    const int32_t status = uniforms(stream, n, r, T(0), T(1));
    if (status < 0) return status;
    vm_ln(n, r, r);
    for (int32_t i = 0; i < n; ++i) r[i] = -r[i];
    if (!(alpha == T(1))) vm_powx(n, r, T(1) / alpha, r);  // a NaN shape takes the power
    scale_shift(r, n, beta, a, accurate(method));
    return status;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixdRngWeibull(int32_t method, qor_rng_stream* stream, int32_t n, double* r, double alpha,
                                   double a, double beta) {
    return weibull(method, stream, n, r, alpha, a, beta);
}

QOR_EXPORT int32_t _rixsRngWeibull(int32_t method, qor_rng_stream* stream, int32_t n, float* r, float alpha,
                                   float a, float beta) {
    return weibull(method, stream, n, r, alpha, a, beta);
}

}  // extern "C"
