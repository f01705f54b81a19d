// Laplace variates with mean a and scale beta by inversion, one uniform u
// on [-1, 1) per variate:
//   x = a + beta ln(1 + u)        for u < 0
//   x = a - beta ln(1 - u)        for u >= 0
// Both branches are one logarithm over the whole array, of v = 1 + u below
// 0 and of v = 1 / (1 - u) above it, so that x = a + beta ln v throughout.
// v is kept at or above the smallest normal number, so u = -1 (and a
// generator's rounding up to u = 1) gives a finite variate and the
// logarithm reports no error: x stays within a -+ 708.4 beta in double
// precision, a -+ 87.3 beta in single.
#include <algorithm>
#include <limits>

#include "rng/dist/transforms.h"
#include "rng/dist/vm_calls.h"

namespace {

using namespace qor::rng::dist;

template <class T>
int32_t laplace(qor_rng_stream* stream, int32_t n, T* r, T a, T beta) {
    const GuardedCalls guard(ln_zero_any_error);
    const int32_t status = uniforms(stream, n, r, T(-1), T(1));
    if (status < 0) return status;
    constexpr T tiny = std::numeric_limits<T>::min();
    // Both branches for every element, then a select: no jumps on the sign.
    for (int32_t i = 0; i < n; ++i) {
        const T u = r[i];
        const T below = std::max(T(1) + u, tiny);
        const T above = T(1) / std::max(T(1) - u, tiny);
        r[i] = u < T(0) ? below : above;
    }
    vm_ln(n, r, r);
    scale_shift(r, n, beta, a);
    return status;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixdRngLaplace(int32_t, qor_rng_stream* stream, int32_t n, double* r, double a, double beta) {
    return laplace(stream, n, r, a, beta);
}

QOR_EXPORT int32_t _rixsRngLaplace(int32_t, qor_rng_stream* stream, int32_t n, float* r, float a, float beta) {
    return laplace(stream, n, r, a, beta);
}

}  // extern "C"
