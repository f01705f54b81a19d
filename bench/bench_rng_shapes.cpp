// Gamma, beta, chi-square and multivariate Gaussian variates: qor over
// MCG31m1 and MCG59 against GSL's gsl_ran_gamma, gsl_ran_beta and
// gsl_ran_chisq over its MT19937 and the C++ standard library's gamma and
// chi-squared distributions over std::mt19937, n = 10^4 variates per
// iteration.  Counters: CPE (time-stamp ticks per variate) and items per
// second.
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "bench_util.h"
#include "qor/qor_rng.h"


namespace {

constexpr int32_t kN = 10000;
constexpr uint32_t kSeed = 20240601;

using qor::bench::StreamOwner;

struct GslOwner {
    gsl_rng* g = gsl_rng_alloc(gsl_rng_mt19937);
    GslOwner() { gsl_rng_set(g, kSeed); }
    ~GslOwner() { gsl_rng_free(g); }
};

void run(benchmark::State& state, const std::function<void(double*, int32_t)>& fill, int32_t width = 1) {
    qor::bench::time_fill<double>(state, kN, [&](double* r, int64_t n) { fill(r, static_cast<int32_t>(n)); }, width);
}

// qor's kernel over each generator, GSL over MT19937 and, where it has the
// law, the standard library.
void add_qor(const std::string& name, const std::function<void(qor_rng_stream*, double*, int32_t)>& draw,
             int32_t width = 1) {
    for (auto [brng, gen] : {std::pair{QOR_RNG_BRNG_MCG31M1, "mcg31"}, std::pair{QOR_RNG_BRNG_MCG59, "mcg59"}})
        benchmark::RegisterBenchmark((name + "/qor_" + gen).c_str(), [=](benchmark::State& state) {
            StreamOwner s(brng);
            run(state, [&](double* r, int32_t n) { draw(s.s, r, n); }, width);
        });
}

void add_gsl(const std::string& name, const std::function<double(gsl_rng*)>& variate) {
    benchmark::RegisterBenchmark((name + "/gsl_mt19937").c_str(), [=](benchmark::State& state) {
        GslOwner g;
        run(state, [&](double* r, int32_t n) {
            for (int32_t i = 0; i < n; ++i) r[i] = variate(g.g);
        });
    });
}

template <class Dist>
void add_std(const std::string& name, Dist dist) {
    benchmark::RegisterBenchmark((name + "/std_mt19937").c_str(), [=](benchmark::State& state) mutable {
        std::mt19937 gen(kSeed);
        run(state, [&](double* r, int32_t n) {
            for (int32_t i = 0; i < n; ++i) r[i] = dist(gen);
        });
    });
}

void register_all() {
    for (double alpha : {0.5, 2.5, 100.0}) {
        const std::string name = "Gamma/alpha=" + std::to_string(alpha).substr(0, 5);
        add_qor(name, [=](qor_rng_stream* s, double* r, int32_t n) { _rixdRngGamma(0, s, n, r, alpha, 0.0, 1.0); });
        add_gsl(name, [=](gsl_rng* g) { return gsl_ran_gamma(g, alpha, 1.0); });
        add_std(name, std::gamma_distribution<double>(alpha, 1.0));
    }
    for (auto [p, q] : {std::pair{0.5, 0.5}, std::pair{2.0, 3.0}}) {
        const std::string name = "Beta/" + std::to_string(p).substr(0, 3) + "," + std::to_string(q).substr(0, 3);
        add_qor(name, [=](qor_rng_stream* s, double* r, int32_t n) { _rixdRngBeta(0, s, n, r, p, q, 0.0, 1.0); });
        add_gsl(name, [=](gsl_rng* g) { return gsl_ran_beta(g, p, q); });
    }
    add_qor("ChiSquare/v=5", [](qor_rng_stream* s, double* r, int32_t n) { _rixdRngChiSquare(0, s, n, r, 5); });
    add_gsl("ChiSquare/v=5", [](gsl_rng* g) { return gsl_ran_chisq(g, 5.0); });
    add_std("ChiSquare/v=5", std::chi_squared_distribution<double>(5.0));
    // A dimension-3 vector per variate; no peer draws these directly.
    static const double mean[3] = {1, -2, 0.5}, packed[6] = {2, -1, 0.5, 0.25, 3, 1};
    for (int32_t method : {0, 1, 2})
        add_qor("GaussianMV/dimen=3/method=" + std::to_string(method),
                [=](qor_rng_stream* s, double* r, int32_t n) {
                    _rixdRngGaussianMV(method, s, n, r, 3, QOR_RNG_MATRIX_PACKED, mean, packed);
                }, 3);
}

}  // namespace

int main(int argc, char** argv) {
    register_all();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
