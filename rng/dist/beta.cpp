// Beta variates x = a + beta B, B of shapes p and q on [0, 1], by exact
// methods chosen by the shapes:
//   p equal 1        inversion, B = 1 - V^(1/q) = -expm1(ln V / q)
//   q equal 1        inversion, B = V^(1/p) = exp(ln V / p)
//   both below 1     Johnk's method: X = U^(1/p), Y = V^(1/q), accepted when
//                    X + Y <= 1, B = X / (X + Y); formed from the logarithms
//                    so that shapes near 0, where X and Y underflow, neither
//                    loop forever nor divide 0 by 0
//   both above 1     Cheng's BB
//   otherwise        Cheng's BC
// (V = 1 - u, on (0, 1].)  Candidates come in rounds of blocks of uniforms,
// with their logarithms and exponentials taken by whole-block vector-math
// calls; the few logarithms of the slow acceptance tests one by one.  The
// single form computes in double and rounds each output once.
#include <cfloat>
#include <cmath>

#include "rng/dist/double_blocks.h"
#include "rng/dist/vm_calls.h"

namespace {

using namespace qor::rng::dist;

constexpr double kLn4 = 1.3862943611198906;         // 0x3FF62E42FEFA39EF
constexpr double kOnePlusLn5 = 2.6094379124341003;  // 0x4004E051C9B8E4B6

// Underflow, overflow and ln 0 give 0, infinity and -infinity, which the
// methods below take in their stride: keep every result.
int32_t keep_result(qor_vm_error_record*) { return 0; }

struct Plan {
    enum Kind { kOneMinusPower, kPower, kJohnk, kChengBB, kChengBC } kind;
    double p, q;
    double small, large, sum;  // the shapes in order, p + q
    bool p_is_small;
    double scale, gamma;       // Cheng: beta and gamma (BB) of the logistic candidate
    double k1, k2;             // Cheng's BC quick-rejection bounds
    double rate;               // about this share of candidates is accepted
};

Plan plan_for(double p, double q) {
    Plan plan{};
    plan.p = p;
    plan.q = q;
    plan.p_is_small = p <= q;
    plan.small = plan.p_is_small ? p : q;
    plan.large = plan.p_is_small ? q : p;
    plan.sum = p + q;
    if (p == 1.0) {
        plan.kind = Plan::kOneMinusPower;
    } else if (q == 1.0) {
        plan.kind = Plan::kPower;
    } else if (p < 1.0 && q < 1.0) {
        plan.kind = Plan::kJohnk;
        plan.rate = std::exp(std::lgamma(p + 1) + std::lgamma(q + 1) - std::lgamma(p + q + 1));
    } else if (p > 1.0 && q > 1.0) {
        plan.kind = Plan::kChengBB;
        // sqrt((sum - 2) / (2 small large - sum)), divided through by sum so
        // that huge shapes do not overflow.
        const double harmonic = 2.0 * plan.small * (plan.large / plan.sum);
        plan.scale = std::sqrt((1.0 - 2.0 / plan.sum) / (harmonic - 1.0));
        plan.gamma = plan.small + 1.0 / plan.scale;
        plan.rate = 0.9;
    } else {
        plan.kind = Plan::kChengBC;
        const double delta = 1.0 + plan.large - plan.small;
        plan.scale = 1.0 / plan.small;
        plan.k1 = delta * (0.0138889 + 0.0416667 * plan.small) / (plan.large * plan.scale - 0.777778);
        plan.k2 = 0.25 + (0.5 + 0.25 / delta) * plan.small;
        plan.rate = 0.5;
    }
    return plan;
}

// m <= kBlock variates by inversion.
int32_t inversion(qor_rng_stream* stream, int32_t m, double* b, const Plan& plan) {
    const int32_t status = positive_uniforms(stream, m, b);
    if (status < 0) return status;
    vm_ln(m, b, b, kLA);
    if (plan.kind == Plan::kOneMinusPower) {
        const double inverse = 1.0 / plan.q;
        for (int32_t i = 0; i < m; ++i) b[i] *= inverse;
        vm_expm1(m, b, b, kLA);
        for (int32_t i = 0; i < m; ++i) b[i] = -b[i];
    } else {
        const double inverse = 1.0 / plan.p;
        for (int32_t i = 0; i < m; ++i) b[i] *= inverse;
        vm_exp(m, b, b, kLA);
    }
    return QOR_RNG_STATUS_OK;
}

// m <= kBlock variates by Johnk's method.  With lx = ln U / p, ly = ln V / q,
// hi their larger, lo their smaller, r = e^(lo - hi): X + Y = e^hi (1 + r)
// and B = 1 / (1 + r) when lx is the larger, r / (1 + r) otherwise.
int32_t johnk(qor_rng_stream* stream, int32_t m, double* b, const Plan& plan) {
    double logs[2 * kBlock], e[2 * kBlock];
    const double inverse_p = 1.0 / plan.p, inverse_q = 1.0 / plan.q;
    for (int32_t filled = 0; filled < m;) {
        const int32_t k = round_size(m - filled, plan.rate);
        const int32_t status = positive_uniforms(stream, 2 * k, logs);
        if (status < 0) return status;
        vm_ln(2 * k, logs, logs, kLA);
        for (int32_t i = 0; i < k; ++i) {
            const double lx = logs[2 * i] * inverse_p, ly = logs[2 * i + 1] * inverse_q;
            logs[2 * i] = lx;
            logs[2 * i + 1] = ly;
            const double hi = lx > ly ? lx : ly, lo = lx > ly ? ly : lx;
            e[i] = lo - hi;
            e[k + i] = hi;
        }
        vm_exp(2 * k, e, e, kLA);
        for (int32_t i = 0; i < k && filled < m; ++i) {
            const double r = e[i], one_plus_r = 1.0 + r;
            if (e[k + i] * one_plus_r > 1.0) continue;
            b[filled++] = logs[2 * i] >= logs[2 * i + 1] ? 1.0 / one_plus_r : r / one_plus_r;
        }
    }
    return QOR_RNG_STATUS_OK;
}

// Cheng's candidates: from pairs (u1, u2) on [0, 1), v = scale ln(u1 / (1 - u1))
// and w = c e^v (at most the largest double), c the larger shape for BC and
// the smaller for BB.  v goes to v[], w to w[].
void logistic_candidates(int32_t k, const double* u, double* v, double* w, double scale, double c) {
    for (int32_t i = 0; i < k; ++i) v[i] = u[2 * i] / (1.0 - u[2 * i]);
    vm_ln(k, v, v, kLA);
    for (int32_t i = 0; i < k; ++i) v[i] *= scale;
    vm_exp(k, v, w, kLA);
    for (int32_t i = 0; i < k; ++i) {
        const double cw = c * w[i];
        w[i] = cw < DBL_MAX ? cw : DBL_MAX;
    }
}

bool bb_accepts(const Plan& plan, double u1, double u2, double v, double w) {
    const double z = u1 * u1 * u2, r = plan.gamma * v - kLn4, s = plan.small + r - w;
    if (s + kOnePlusLn5 >= 5.0 * z) return true;
    const double t = std::log(z);
    return s > t || r + plan.sum * std::log(plan.sum / (plan.large + w)) >= t;
}

bool bc_accepts(const Plan& plan, double u1, double u2, double v, double w) {
    double z;
    if (u1 < 0.5) {
        const double y = u1 * u2;
        z = u1 * y;
        if (0.25 * u2 + z - y >= plan.k1) return false;
    } else {
        z = u1 * u1 * u2;
        if (z <= 0.25) return true;
        if (z >= plan.k2) return false;
    }
    return plan.sum * (std::log(plan.sum / (plan.small + w)) + v) - kLn4 >= std::log(z);
}

// m <= kBlock variates by Cheng's BB or BC.
int32_t cheng(qor_rng_stream* stream, int32_t m, double* b, const Plan& plan) {
    double u[2 * kBlock], v[kBlock], w[kBlock];
    const bool bb = plan.kind == Plan::kChengBB;
    const double c = bb ? plan.small : plan.large, other = bb ? plan.large : plan.small;
    // B is w / (other + w) when the shape that w carries is p's, else other / (other + w).
    const bool w_is_p = bb == plan.p_is_small;
    for (int32_t filled = 0; filled < m;) {
        const int32_t k = round_size(m - filled, plan.rate);
        const int32_t status = uniforms(stream, 2 * k, u);
        if (status < 0) return status;
        logistic_candidates(k, u, v, w, plan.scale, c);
        for (int32_t i = 0; i < k && filled < m; ++i) {
            const double u1 = u[2 * i], u2 = u[2 * i + 1];
            if (!(bb ? bb_accepts(plan, u1, u2, v[i], w[i]) : bc_accepts(plan, u1, u2, v[i], w[i]))) continue;
            b[filled++] = (w_is_p ? w[i] : other) / (other + w[i]);
        }
    }
    return QOR_RNG_STATUS_OK;
}

// m <= kBlock outputs a + beta B into r; the accurate variant keeps them
// inside [a, a + beta].
int32_t beta_block(int32_t method, qor_rng_stream* stream, int32_t m, double* r, const Plan& plan, double a,
                   double beta) {
    int32_t status;
    switch (plan.kind) {
        case Plan::kOneMinusPower:
        case Plan::kPower: status = inversion(stream, m, r, plan); break;
        case Plan::kJohnk: status = johnk(stream, m, r, plan); break;
        default: status = cheng(stream, m, r, plan); break;
    }
    if (status < 0) return status;
    if (method & QOR_RNG_METHOD_ACCURATE) {
        const double top = a + beta;
        for (int32_t i = 0; i < m; ++i) {
            const double x = a + beta * r[i];
            r[i] = x < a ? a : (x > top ? top : x);
        }
    } else {
        for (int32_t i = 0; i < m; ++i) r[i] = a + beta * r[i];
    }
    return QOR_RNG_STATUS_OK;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixdRngBeta(int32_t method, qor_rng_stream* stream, int32_t n, double* r, double p, double q,
                                double a, double beta) {
    const GuardedCalls guard(keep_result);
    const Plan plan = plan_for(p, q);
    for (int32_t done = 0; done < n;) {
        const int32_t k = n - done < kBlock ? n - done : kBlock;
        const int32_t status = beta_block(method, stream, k, r + done, plan, a, beta);
        if (status < 0) return status;
        done += k;
    }
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t _rixsRngBeta(int32_t method, qor_rng_stream* stream, int32_t n, float* r, float p, float q,
                                float a, float beta) {
    const GuardedCalls guard(keep_result);
    const Plan plan = plan_for(p, q);
    return in_double_blocks(n, r, [&](int32_t k, double* block) {
        return beta_block(method, stream, k, block, plan, a, beta);
    });
}

}  // extern "C"
