#include "stats/chi_square.h"

#include <cmath>

namespace qor::ss {
namespace {

constexpr double kTolerance = 1e-15;
constexpr int kMaxTerms = 1000;
constexpr double kTiny = 1e-300;

// e^-x x^a / Gamma(a), the factor both expansions share.
double prefactor(double a, double x) { return std::exp(a * std::log(x) - x - std::lgamma(a)); }

}  // namespace

double gamma_p(double a, double x) {
    if (x <= 0) return 0.0;
    if (x < a + 1) {
        double term = 1 / a, sum = term;
        for (int k = 1; k < kMaxTerms && std::fabs(term) > kTolerance * sum; ++k) sum += term *= x / (a + k);
        return sum * prefactor(a, x);
    }
    // Lentz's evaluation of the continued fraction of Gamma(a, x).
    double b = x + 1 - a, c = 1 / kTiny, d = 1 / b, f = d;
    for (int k = 1; k < kMaxTerms; ++k) {
        const double an = -k * (k - a);
        b += 2;
        d = an * d + b;
        if (std::fabs(d) < kTiny) d = kTiny;
        c = b + an / c;
        if (std::fabs(c) < kTiny) c = kTiny;
        d = 1 / d;
        const double step = c * d;
        f *= step;
        if (std::fabs(step - 1) < kTolerance) break;
    }
    return 1 - f * prefactor(a, x);
}

double chi_square_quantile(double prob, double k) {
    double lo = 0, hi = k + 10;
    while (chi_square_cdf(hi, k) < prob) lo = hi, hi *= 2;
    for (int i = 0; i < 200 && hi - lo > 1e-15 * hi; ++i) {
        const double mid = 0.5 * (lo + hi);
        (chi_square_cdf(mid, k) < prob ? lo : hi) = mid;
    }
    return 0.5 * (lo + hi);
}

double truncation_consistency(double prob, double k) {
    return prob / chi_square_cdf(chi_square_quantile(prob, k), k + 2);
}

}  // namespace qor::ss
