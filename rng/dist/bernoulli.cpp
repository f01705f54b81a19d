// Bernoulli variates by inversion: 1 when the uniform u on [0, 1) is below
// p, else 0; one uniform per variate.  p = 0 never gives 1, p = 1 always.
#include "qor/qor_rng.h"

namespace {

constexpr int32_t kBlock = 1024;

int32_t bernoulli(qor_rng_stream* stream, int32_t n, int32_t* r, double p) {
    double u[kBlock];
    for (int32_t done = 0; done < n;) {
        const int32_t m = n - done < kBlock ? n - done : kBlock;
        const int32_t status = _rixdRngUniform(0, stream, m, u, 0.0, 1.0);
        if (status < 0) return status;
        for (int32_t i = 0; i < m; ++i) r[done + i] = u[i] < p;
        done += m;
    }
    return QOR_RNG_STATUS_OK;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixiRngBernoulli(int32_t, qor_rng_stream* stream, int32_t n, int32_t* r, double p) {
    return bernoulli(stream, n, r, p);
}

}  // extern "C"
