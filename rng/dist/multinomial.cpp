// Multinomial variates: k counts of ntrial trials over categories of
// probabilities p[0..k-1], by conditional binomials: count j is binomial
// with the trials left and p[j] over the probability left, the last count
// takes every trial left.  The counts of one variate sum to ntrial.
#include "qor/qor_rng.h"
#include "rng/dist/binomial_draw.h"

namespace {

using namespace qor::rng::dist;

int32_t multinomial(qor_rng_stream* stream, int32_t n, int32_t* r, int32_t ntrial, int32_t k, const double* p) {
    UniformSource source(stream, int64_t{n} * (k - 1));
    for (int32_t i = 0; i < n; ++i) {
        int32_t* counts = r + int64_t{i} * k;
        int32_t left = ntrial;
        double mass = 1;
        for (int32_t j = 0; j + 1 < k; ++j) {
            const double share = left == 0 || p[j] >= mass ? 1.0 : p[j] / mass;
            if (!BinomialDraw(left, share > 1 ? 1.0 : share).draw(source, counts[j])) return source.status();
            left -= counts[j];
            mass -= p[j];
        }
        counts[k - 1] = left;
    }
    return QOR_RNG_STATUS_OK;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixiRngMultinomial(int32_t, qor_rng_stream* stream, int32_t n, int32_t* r, int32_t ntrial,
                                       int32_t k, const double* p) {
    return multinomial(stream, n, r, ntrial, k, p);
}

}  // extern "C"
