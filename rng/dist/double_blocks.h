// Pieces shared by the distributions that draw candidates in rounds and
// compute in double precision: the uniform and Gaussian block draws, the
// size of a round of candidates, and the single-precision forms computed
// block by block in double and rounded once.
#pragma once

#include <cstdint>

#include "qor/qor_rng.h"

namespace qor::rng::dist {

constexpr int32_t kBlock = 1024;

// Uniforms on [0, 1) and on (0, 1] (1 - u, exact for the generators'
// fractions); standard Gaussians by the inverse distribution function (one
// uniform each) or, cheaper, by both variates of Box-Muller pairs (an even
// count leaves no variate pending on the stream).
inline int32_t uniforms(qor_rng_stream* s, int32_t n, double* u) { return _rixdRngUniform(0, s, n, u, 0.0, 1.0); }
inline int32_t positive_uniforms(qor_rng_stream* s, int32_t n, double* u) {
    const int32_t status = uniforms(s, n, u);
    for (int32_t i = 0; i < n; ++i) u[i] = 1.0 - u[i];
    return status;
}
constexpr int32_t kGaussianPairs = 1, kGaussianIcdf = 2;
inline int32_t gaussians(qor_rng_stream* s, int32_t n, double* z, int32_t method = kGaussianIcdf) {
    return _rixdRngGaussian(method, s, n, z, 0.0, 1.0);
}

// Candidates for `wanted` acceptances when about `rate` of them pass: a
// little more than wanted / rate, so that one round usually suffices, and
// at most a block.  Acceptances beyond `wanted` are dropped, which leaves
// the accepted values' law unchanged.
inline int32_t round_size(int32_t wanted, double rate) {
    const double k = wanted / rate * 1.02 + 4;
    return k >= kBlock ? kBlock : static_cast<int32_t>(k);
}

// The float form of a distribution whose double form is fill(k, out):
// blocks of up to kBlock values computed in double and rounded to float.
template <class Fill>
int32_t in_double_blocks(int32_t n, float* r, Fill fill) {
    double block[kBlock];
    for (int32_t done = 0; done < n;) {
        const int32_t k = n - done < kBlock ? n - done : kBlock;
        const int32_t status = fill(k, block);
        if (status < 0) return status;
        for (int32_t i = 0; i < k; ++i) r[done + i] = static_cast<float>(block[i]);
        done += k;
    }
    return QOR_RNG_STATUS_OK;
}

}  // namespace qor::rng::dist
