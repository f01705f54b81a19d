// Rocke's translated-biweight S-estimate of location and scatter
// (robust_fits.h): the constants M and c from the breakdown point and the
// asymptotic rejection probability, then the reweighting iteration with
// the scale equation solved at every step.
#include <algorithm>
#include <cmath>

#include "qor/qor_serv.h"
#include "stats/chi_square.h"
#include "stats/robust_fits.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

constexpr int kSimpsonIntervals = 2000;  // even
constexpr int kBisections = 100;
constexpr int kScaleSteps = 200;
constexpr int kMaxWorkers = 64;
constexpr int64_t kObservationsPerThread = 16384;

struct Biweight {
    double m, c;

    double weight(double d) const {
        if (d < m) return 1.0;
        const double t = (d - m) / c;
        if (t >= 1) return 0.0;
        const double u = 1 - t * t;
        return u * u;
    }
    // The integral of s w(s) from 0 to d: d^2/2 below M; above, with
    // t = min(d - M, c), M^2/2 plus the integral of (M + u)(1 - u^2/c^2)^2
    // over [0, t].
    double rho(double d) const {
        if (d < m) return 0.5 * d * d;
        const double t = std::min(d - m, c), t2 = t * t, c2 = c * c, c4 = c2 * c2;
        return 0.5 * m * m + t2 / 2 - t2 * t2 / (2 * c2) + t2 * t2 * t2 / (6 * c4) + m * t -
               2 * m * t2 * t / (3 * c2) + m * t2 * t2 * t / (5 * c4);
    }
    double rho_max() const { return rho(m + c); }
};

// E rho(d) over rho(inf) for d^2 chi-square(q): the quadratic part by the
// incomplete gamma function, [M, M + c] by Simpson's rule over the chi
// density, the constant tail by the distribution function.
double expected_share(const Biweight& b, double q) {
    const double log_norm = (0.5 * q - 1) * std::log(2.0) + std::lgamma(0.5 * q);
    auto density = [&](double d) { return d > 0 ? std::exp((q - 1) * std::log(d) - 0.5 * d * d - log_norm) : 0.0; };
    const double top = b.m + b.c, step = b.c / kSimpsonIntervals;
    double middle = 0;
    for (int k = 0; k <= kSimpsonIntervals; ++k) {
        const double d = b.m + k * step, f = b.rho(d) * density(d);
        middle += (k == 0 || k == kSimpsonIntervals ? 1 : k % 2 ? 4 : 2) * f;
    }
    middle *= step / 3;
    const double expected = 0.5 * q * gamma_p(0.5 * q + 1, 0.5 * b.m * b.m) + middle +
                            b.rho_max() * (1 - gamma_p(0.5 * q, 0.5 * top * top));
    return expected / b.rho_max();
}

// M + c fixed by the rejection probability; c by bisection, the share
// growing with c (from a capped square at c -> 0 to the biweight at M = 0).
// A breakdown point above the biweight's share is out of reach under that
// probability: the biweight itself is taken.
Biweight constants(const TbsSettings& set, double q) {
    const double top = std::sqrt(chi_square_quantile(1 - set.rejection, q));
    double lo = 1e-6 * top, hi = top;
    if (expected_share({0, top}, q) <= set.breakdown) return {0, top};
    for (int k = 0; k < kBisections; ++k) {
        const double c = 0.5 * (lo + hi);
        (expected_share({top - c, c}, q) < set.breakdown ? lo : hi) = c;
    }
    const double c = 0.5 * (lo + hi);
    return {top - c, c};
}

// The distances and the threads the scale equation is solved over.
struct Distances {
    const double* d;
    int64_t n;
    const qor_threading* threading;
    int workers;
};

struct RhoJob {
    const Biweight* b;
    const Distances* x;
    double scale;
    double* partial;
    void operator()(int w) const {
        double sum = 0;
        for (int64_t j = x->n * w / x->workers, end = x->n * (w + 1) / x->workers; j < end; ++j)
            sum += b->rho(x->d[j] * scale);
        partial[w] = sum;
    }
};

double mean_rho(const Biweight& b, const Distances& x, double k) {
    double partial[kMaxWorkers];
    RhoJob job{&b, &x, 1 / k, partial};
    run_workers(x.threading, x.workers, job);
    double sum = 0;
    for (int w = 0; w < x.workers; ++w) sum += partial[w];
    return sum / static_cast<double>(x.n);
}

// The k > 0 with mean rho(d_j / k) = target (the mean falls as k grows):
// a bracket by doubling, then regula falsi in log k with the Illinois
// halving.
double solve_scale(const Biweight& b, const Distances& d, double target) {
    double lo = 0, hi = 0;  // log k
    double f_lo = mean_rho(b, d, 1) - target, f_hi = f_lo;
    for (int k = 0; k < kScaleSteps && f_hi > 0; ++k) f_hi = mean_rho(b, d, std::exp(hi += 1)) - target;
    for (int k = 0; k < kScaleSteps && f_lo < 0; ++k) f_lo = mean_rho(b, d, std::exp(lo -= 1)) - target;
    int side = 0;
    for (int k = 0; k < kScaleSteps && hi - lo > 1e-13; ++k) {
        const double x = f_lo == f_hi ? 0.5 * (lo + hi) : (lo * f_hi - hi * f_lo) / (f_hi - f_lo);
        const double f = mean_rho(b, d, std::exp(x)) - target;
        if (f == 0) return std::exp(x);
        if (f > 0) {
            lo = x, f_lo = f;
            if (side == 1) f_hi *= 0.5;
            side = 1;
        } else {
            hi = x, f_hi = f;
            if (side == -1) f_lo *= 0.5;
            side = -1;
        }
    }
    return std::exp(0.5 * (lo + hi));
}

}  // namespace

int32_t tbs_refine(const Sample& data, const TbsSettings& set, double* mean, double* cov) {
    const int64_t n = data.n, q = data.q;
    const Biweight b = constants(set, static_cast<double>(q));
    // E rho(d) at the normal model, which makes the fit consistent; it is
    // breakdown * rho(inf) unless the rejection probability caps the share.
    const double target = expected_share(b, static_cast<double>(q)) * b.rho_max();
    size_t bytes = 0;
    if (!aligned_bytes(2 * n, sizeof(double), bytes)) return SS_ERR_NO_MEMORY;
    auto* d = static_cast<double*>(qor_serv_allocate(bytes, kTaskAlignment));
    if (!d) return SS_ERR_NO_MEMORY;
    double* u = d + n;
    const int workers = static_cast<int>(
        std::clamp<int64_t>(n / kObservationsPerThread, 1, std::min(kMaxWorkers, thread_limit(data.threading))));
    const Distances distances{d, n, data.threading, workers};
    double log_det = 0, previous = 0;
    int32_t status = squared_distances(data, mean, cov, d, log_det);
    for (int64_t it = 0; status == SS_OK; ++it) {
        for (int64_t j = 0; j < n; ++j) d[j] = std::sqrt(d[j]);
        const double k = solve_scale(b, distances, target);
        for (int64_t i = 0; i < q * q; ++i) cov[i] *= k * k;
        for (int64_t j = 0; j < n; ++j) d[j] /= k;
        log_det += 2 * static_cast<double>(q) * std::log(k);
        if ((it > 0 && std::fabs(log_det - previous) < set.accuracy * static_cast<double>(q)) ||
            it + 1 >= set.max_iterations)
            break;
        previous = log_det;
        double weighted = 0, total = 0;
        for (int64_t j = 0; j < n; ++j) weighted += (u[j] = b.weight(d[j])) * d[j] * d[j];
        if (!(weighted > 0)) {
            status = SS_ERR_NOT_POSITIVE_DEFINITE;
            break;
        }
        if ((status = weighted_scatter(data, u, nullptr, mean, cov, total)) != SS_OK) break;
        for (int64_t i = 0; i < q * q; ++i) cov[i] *= static_cast<double>(q) / weighted;
        status = squared_distances(data, mean, cov, d, log_det);
    }
    qor_serv_deallocate(d);
    return status;
}

}  // namespace qor::ss
