// Gumbel variates (of the minimum) a + beta ln(E) over standard exponential
// variates E = -ln u, the logarithm by the EP kernel over the whole array.
// One method, no accurate variant: the method number is not looked at.
#include "rng/dist/transforms.h"
#include "rng/dist/vm_calls.h"

namespace {

using namespace qor::rng::dist;

int32_t exponentials(qor_rng_stream* s, int32_t n, double* r) { return _rixdRngExponential(0, s, n, r, 0.0, 1.0); }
int32_t exponentials(qor_rng_stream* s, int32_t n, float* r) { return _rixsRngExponential(0, s, n, r, 0.0f, 1.0f); }

template <class T>
int32_t gumbel(qor_rng_stream* stream, int32_t n, T* r, T a, T beta) {
    const GuardedCalls guard(ln_zero_any_error);
    const int32_t status = exponentials(stream, n, r);
    if (status < 0) return status;
    vm_ln(n, r, r);
    scale_shift(r, n, beta, a);
    return status;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixdRngGumbel(int32_t, qor_rng_stream* stream, int32_t n, double* r, double a, double beta) {
    return gumbel(stream, n, r, a, beta);
}

QOR_EXPORT int32_t _rixsRngGumbel(int32_t, qor_rng_stream* stream, int32_t n, float* r, float a, float beta) {
    return gumbel(stream, n, r, a, beta);
}

}  // extern "C"
