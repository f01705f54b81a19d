// Negative binomial variates: the number of failures before the a-th
// success of trials that succeed with probability p, for any real a > 0,
//   P(k) = Gamma(k + a) / (Gamma(a) k!) p^a (1 - p)^k,
// drawn as the gamma-Poisson mixture: a mean lambda ~ Gamma(a, (1 - p) / p)
// per variate, then a Poisson variate of that mean.  Both stages are exact,
// so the mixture is.  The core library limits a and p so that a mean above
// the Poisson generator's range has no practical chance; a mean that still
// lands there is held at the range's top.
#include "qor/qor_rng.h"

namespace {

constexpr int32_t kBlock = 1024;

int32_t negative_binomial(qor_rng_stream* stream, int32_t n, int32_t* r, double a, double p) {
    if (p == 1) {  // every trial succeeds
        for (int32_t i = 0; i < n; ++i) r[i] = 0;
        return QOR_RNG_STATUS_OK;
    }
    const double scale = (1 - p) / p;
    double mean[kBlock];
    for (int32_t done = 0; done < n;) {
        const int32_t m = n - done < kBlock ? n - done : kBlock;
        int32_t status = _rixdRngGamma(0, stream, m, mean, a, 0.0, scale);
        if (status < 0) return status;
        // A mean of 0 (the gamma's underflow for tiny shapes) gives 0 for
        // any mean below the smallest normal number, which the Poisson
        // generator takes.
        for (int32_t i = 0; i < m; ++i)
            mean[i] = mean[i] < 0x1p-1022 ? 0x1p-1022 : (mean[i] > QOR_RNG_POISSON_MEAN_MAX ? QOR_RNG_POISSON_MEAN_MAX : mean[i]);
        status = _rixiRngPoissonV(0, stream, m, r + done, mean);
        if (status < 0) return status;
        done += m;
    }
    return QOR_RNG_STATUS_OK;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixiRngNegBinomial(int32_t, qor_rng_stream* stream, int32_t n, int32_t* r, double a, double p) {
    return negative_binomial(stream, n, r, a, p);
}

}  // extern "C"
