// Lognormal variates b + beta exp(g), g Gaussian with mean a and deviation
// sigma, the exponential by the EP kernel over the whole array.  Method 0
// draws g by Box-Muller in pairs (Gaussian method 1); every other method
// value, the accurate variant of method 0 included, by the inverse
// distribution function (Gaussian method 2).  The accurate variant keeps
// every variate at or above b.
#include "rng/dist/transforms.h"
#include "rng/dist/vm_calls.h"

namespace {

using namespace qor::rng::dist;

constexpr int32_t kGaussianPairs = 1;
constexpr int32_t kGaussianInverse = 2;

template <class T>
int32_t lognormal(int32_t method, qor_rng_stream* stream, int32_t n, T* r, T a, T sigma, T b, T beta) {
    const int32_t gaussian_method = method == 0 ? kGaussianPairs : kGaussianInverse;
    const int32_t status = gaussians(gaussian_method, stream, n, r, a, sigma);
    if (status < 0) return status;
    vm_exp(n, r, r);
    scale_shift(r, n, beta, b, accurate(method));
    return status;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixdRngLognormal(int32_t method, qor_rng_stream* stream, int32_t n, double* r, double a,
                                     double sigma, double b, double beta) {
    return lognormal(method, stream, n, r, a, sigma, b, beta);
}

QOR_EXPORT int32_t _rixsRngLognormal(int32_t method, qor_rng_stream* stream, int32_t n, float* r, float a,
                                     float sigma, float b, float beta) {
    return lognormal(method, stream, n, r, a, sigma, b, beta);
}

}  // extern "C"
