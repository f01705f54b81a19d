// Chi-square variates with v degrees of freedom: gamma variates of shape
// v / 2 and scale 2, through the gamma distribution's double form (the
// single form rounds its outputs, so that the shape stays exact for every v).
#include "rng/dist/double_blocks.h"

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixdRngChiSquare(int32_t, qor_rng_stream* stream, int32_t n, double* r, int32_t v) {
    return _rixdRngGamma(0, stream, n, r, 0.5 * v, 0.0, 2.0);
}

QOR_EXPORT int32_t _rixsRngChiSquare(int32_t, qor_rng_stream* stream, int32_t n, float* r, int32_t v) {
    return qor::rng::dist::in_double_blocks(n, r, [&](int32_t k, double* block) {
        return _rixdRngGamma(0, stream, k, block, 0.5 * v, 0.0, 2.0);
    });
}

}  // extern "C"
