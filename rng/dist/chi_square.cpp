// Chi-square variates with v degrees of freedom: the square of a standard
// Gaussian (the inverse distribution function's) for one degree, else
// gamma variates of shape v / 2 and scale 2 through the gamma
// distribution's double form.  The single form rounds the double outputs,
// so that the shape stays exact for every v.
#include "rng/dist/double_blocks.h"

namespace {

int32_t chi_square(qor_rng_stream* stream, int32_t n, double* r, int32_t v) {
    if (v != 1) return _rixdRngGamma(0, stream, n, r, 0.5 * v, 0.0, 2.0);
    const int32_t status = qor::rng::dist::gaussians(stream, n, r);
    if (status < 0) return status;
    for (int32_t i = 0; i < n; ++i) r[i] *= r[i];
    return QOR_RNG_STATUS_OK;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixdRngChiSquare(int32_t, qor_rng_stream* stream, int32_t n, double* r, int32_t v) {
    return chi_square(stream, n, r, v);
}

QOR_EXPORT int32_t _rixsRngChiSquare(int32_t, qor_rng_stream* stream, int32_t n, float* r, int32_t v) {
    return qor::rng::dist::in_double_blocks(n, r, [&](int32_t k, double* block) {
        return chi_square(stream, k, block, v);
    });
}

}  // extern "C"
