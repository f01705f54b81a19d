// Gamma variates x = a + beta G, G of shape alpha and scale 1, exact
// methods chosen by the shape:
//   alpha above 1  Marsaglia and Tsang's squeeze: with d = alpha - 1/3,
//                  c = 1 / sqrt(9 d), a Gaussian z and a uniform u, the
//                  candidate d (1 + c z)^3 is accepted when u < 1 - 0.0331 z^4
//                  or ln u < z^2 / 2 + d (1 - v + ln v), v = (1 + c z)^3 > 0
//   alpha equal 1  the exponential by inversion, -ln(1 - u)
//   alpha below 1  G(alpha + 1) U^(1/alpha), where U^(1/alpha) is tiny
//                  formed as exp(ln G(alpha + 1) + ln U / alpha), so that
//                  only values below the smallest subnormal become 0
// Candidates come in rounds of whole blocks of Gaussians (Box-Muller, both
// variates of each pair, an even count per round) and uniforms; the logarithms of the rare
// candidates that miss the squeeze are taken one by one.  The single form
// computes in double and rounds each output once.
#include <cmath>

#include "rng/dist/double_blocks.h"
#include "rng/dist/vm_calls.h"

namespace {

using namespace qor::rng::dist;

// The shapes' underflow to 0 is the law's own rounding: keep every result.
int32_t keep_result(qor_vm_error_record*) { return 0; }

struct Plan {
    enum Kind { kExponential, kSqueeze, kBoosted } kind;
    double d, c;           // of the squeezed shape (alpha, or alpha + 1 when boosted)
    double inverse_alpha;  // the boost's exponent
};

Plan plan_for(double alpha) {
    if (alpha == 1.0) return {Plan::kExponential, 0, 0, 0};
    const double squeezed = alpha < 1.0 ? alpha + 1.0 : alpha;
    const double d = squeezed - 1.0 / 3.0;
    return {alpha < 1.0 ? Plan::kBoosted : Plan::kSqueeze, d, 1.0 / std::sqrt(9.0 * d), 1.0 / alpha};
}

// The smallest U^(1/alpha) multiplied as it is: G(alpha + 1), of shape at
// least 1, falls below 2^-100 with chance under 2^-100, so products from
// above this floor stay clear of the subnormals.
constexpr double kPowerFloor = 0x1p-900;

// About this share of the squeeze's candidates is accepted (above 0.95 for
// every shape from 1 up).
constexpr double kSqueezeRate = 0.96;

// m <= kBlock standard variates of shape d + 1/3 into g.
int32_t squeeze(qor_rng_stream* stream, int32_t m, double* g, double d, double c) {
    double z[kBlock], u[kBlock];
    for (int32_t filled = 0; filled < m;) {
        int32_t k = round_size(m - filled, kSqueezeRate);
        k += k & 1;  // whole pairs
        int32_t status = gaussians(stream, k, z, kGaussianPairs);
        if (status < 0) return status;
        status = uniforms(stream, k, u);
        if (status < 0) return status;
        for (int32_t i = 0; i < k && filled < m; ++i) {
            const double x = z[i], t = 1.0 + c * x;
            if (t <= 0.0) continue;
            const double v = t * t * t, x2 = x * x;
            if (u[i] < 1.0 - 0.0331 * x2 * x2 || std::log(u[i]) < 0.5 * x2 + d * (1.0 - v + std::log(v)))
                g[filled++] = d * v;
        }
    }
    return QOR_RNG_STATUS_OK;
}

// m <= kBlock standard variates of the planned shape into g.
int32_t standard_block(qor_rng_stream* stream, int32_t m, double* g, const Plan& plan) {
    if (plan.kind == Plan::kExponential) {
        const int32_t status = positive_uniforms(stream, m, g);
        if (status < 0) return status;
        vm_ln(m, g, g, kLA);
        for (int32_t i = 0; i < m; ++i) g[i] = -g[i];
        return QOR_RNG_STATUS_OK;
    }
    int32_t status = squeeze(stream, m, g, plan.d, plan.c);
    if (status < 0 || plan.kind == Plan::kSqueeze) return status;
    double w[kBlock], power[kBlock];
    status = positive_uniforms(stream, m, w);
    if (status < 0) return status;
    vm_ln(m, w, w, kLA);
    for (int32_t i = 0; i < m; ++i) w[i] *= plan.inverse_alpha;
    vm_exp(m, w, power, kLA);
    for (int32_t i = 0; i < m; ++i) {
        // Near and below the subnormals U^(1/alpha) has lost digits: there
        // the product is formed from the logarithms instead.
        g[i] = power[i] >= kPowerFloor ? g[i] * power[i] : std::exp(std::log(g[i]) + w[i]);
    }
    return QOR_RNG_STATUS_OK;
}

// m <= kBlock outputs a + beta G into r; the accurate variant keeps them
// at or above a.
int32_t gamma_block(int32_t method, qor_rng_stream* stream, int32_t m, double* r, const Plan& plan, double a,
                    double beta) {
    const int32_t status = standard_block(stream, m, r, plan);
    if (status < 0) return status;
    if (method & QOR_RNG_METHOD_ACCURATE)
        for (int32_t i = 0; i < m; ++i) {
            const double x = a + beta * r[i];
            r[i] = x < a ? a : x;
        }
    else
        for (int32_t i = 0; i < m; ++i) r[i] = a + beta * r[i];
    return QOR_RNG_STATUS_OK;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixdRngGamma(int32_t method, qor_rng_stream* stream, int32_t n, double* r, double alpha,
                                 double a, double beta) {
    const GuardedCalls guard(keep_result);
    const Plan plan = plan_for(alpha);
    for (int32_t done = 0; done < n;) {
        const int32_t k = n - done < kBlock ? n - done : kBlock;
        const int32_t status = gamma_block(method, stream, k, r + done, plan, a, beta);
        if (status < 0) return status;
        done += k;
    }
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t _rixsRngGamma(int32_t method, qor_rng_stream* stream, int32_t n, float* r, float alpha, float a,
                                 float beta) {
    const GuardedCalls guard(keep_result);
    const Plan plan = plan_for(alpha);
    return in_double_blocks(n, r, [&](int32_t k, double* block) {
        return gamma_block(method, stream, k, block, plan, a, beta);
    });
}

}  // extern "C"
