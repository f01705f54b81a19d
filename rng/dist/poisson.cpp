// Poisson variates of mean lambda (Poisson), or of one mean per variate
// (PoissonV), by two exact methods chosen by the mean:
//   below 10  inversion, one uniform per variate: for Poisson a table of
//             the distribution function built for the call, for PoissonV a
//             chop-down search from 0 (u minus P(0), P(1), ... until it
//             falls below the next probability)
//   10 up     PTRD, Hormann's transformed rejection with decomposition
//             ("The transformed rejection method for generating Poisson
//             random variables", 1993): a quick acceptance for 86% of the
//             inner box, otherwise a point under the hat
//             (2a / (1/2 - |v|) + b) v + mu + 0.445 tested against the
//             probability, about 1.2 uniforms per variate
// PoissonV keeps the set-up of a mean while the next variate has the same.
#include <cmath>

#include "qor/qor_rng.h"
#include "rng/dist/inversion_table.h"
#include "rng/dist/log_factorial.h"
#include "rng/dist/uniform_source.h"

namespace {

using namespace qor::rng::dist;

constexpr double kPtrdFrom = 10;
constexpr double kUniformsPerPtrdVariate = 1.25;

class Ptrd {
public:
    explicit Ptrd(double mu)
        : mu_(mu),
          root_mu_(std::sqrt(mu)),
          b_(0.931 + 2.53 * root_mu_),
          a_(-0.059 + 0.02483 * b_),
          inverse_alpha_(1.1239 + 1.1328 / (b_ - 3.4)),
          vr_(0.9277 - 3.6224 / (b_ - 2)),
          log_mu_(std::log(mu)) {}

    bool draw(UniformSource& source, int32_t& k) const {
        for (;;) {
            double u, v;
            if (!source.next(u)) return false;
            if (u <= 0.86 * vr_) {  // inside the inner box: accepted at once
                v = u / vr_ - 0.43;
                k = static_cast<int32_t>(std::floor((2 * a_ / (0.5 - std::fabs(v)) + b_) * v + mu_ + 0.445));
                return true;
            }
            if (u >= vr_) {  // above the box: u is the height, v fresh
                if (!source.next(v)) return false;
                v -= 0.5;
            } else {  // the box's outer strips: v moved there, a fresh height
                v = u / vr_ - 0.93;
                v = std::copysign(0.5, v) - v;
                if (!source.next(u)) return false;
                u *= vr_;
            }
            const double us = 0.5 - std::fabs(v);
            if (us < 0.013 && u > us) continue;
            const double x = std::floor((2 * a_ / us + b_) * v + mu_ + 0.445);
            if (x < 0) continue;
            u *= inverse_alpha_ / (a_ / (us * us) + b_);
            if (accepted(u, x)) {
                k = static_cast<int32_t>(x);
                return true;
            }
        }
    }

private:
    // u (scaled under the hat) at most P(X = x): for x of 16 or more in
    // Stirling's form, ln P = (x + 1/2) ln(mu / x) - ln sqrt(mu) - mu + x
    // - ln sqrt(2 pi) - tail(x), whose terms stay small.
    bool accepted(double u, double x) const {
        if (x < 16) return std::log(u) <= x * log_mu_ - mu_ - kLnFactorialTable[static_cast<int>(x)];
        return std::log(u * root_mu_) <= (x + 0.5) * std::log(mu_ / x) - mu_ + x - kHalfLnTwoPi - stirling_tail(x);
    }

    double mu_, root_mu_, b_, a_, inverse_alpha_, vr_, log_mu_;
};

// One variate by chop-down search; e is exp(-mu).
bool chop_down(UniformSource& source, double mu, double e, int32_t& k) {
    for (;;) {
        double u, p = e;
        if (!source.next(u)) return false;
        k = 0;
        while (u >= p) {
            u -= p;
            ++k;
            p *= mu / k;
            if (p < 0x1p-60 && k > mu) break;  // past the mass: redraw
        }
        if (u < p) return true;
    }
}

int32_t poisson(qor_rng_stream* stream, int32_t n, int32_t* r, double mu) {
    if (mu >= kPtrdFrom) {
        const Ptrd ptrd(mu);
        UniformSource source(stream, static_cast<int64_t>(kUniformsPerPtrdVariate * n) + 1);
        for (int32_t i = 0; i < n; ++i)
            if (!ptrd.draw(source, r[i])) return source.status();
        return QOR_RNG_STATUS_OK;
    }
    const InversionTable table(std::exp(-mu), INT32_MAX, [mu](double k) { return mu / k; });
    return table.fill(stream, n, r, [](int32_t k) { return k; });
}

int32_t poisson_v(qor_rng_stream* stream, int32_t n, int32_t* r, const double* lambda) {
    UniformSource source(stream, static_cast<int64_t>(kUniformsPerPtrdVariate * n) + 1);
    double mu = -1, e = 0;
    Ptrd ptrd(kPtrdFrom);
    for (int32_t i = 0; i < n; ++i) {
        if (lambda[i] != mu) {
            mu = lambda[i];
            if (mu >= kPtrdFrom)
                ptrd = Ptrd(mu);
            else
                e = std::exp(-mu);
        }
        const bool ok = mu >= kPtrdFrom ? ptrd.draw(source, r[i]) : chop_down(source, mu, e, r[i]);
        if (!ok) return source.status();
    }
    return QOR_RNG_STATUS_OK;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixiRngPoisson(int32_t, qor_rng_stream* stream, int32_t n, int32_t* r, double lambda) {
    return poisson(stream, n, r, lambda);
}

QOR_EXPORT int32_t _rixiRngPoissonV(int32_t, qor_rng_stream* stream, int32_t n, int32_t* r, const double* lambda) {
    return poisson_v(stream, n, r, lambda);
}

}  // extern "C"
