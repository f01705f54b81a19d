// Integer distributions: qor over MCG31m1 and MCG59 against GSL's samplers
// over its MT19937 and the C++ standard library's distributions over
// std::mt19937, each filling the same array of n = 10^4 variates.
// Counters: CPE (time-stamp ticks per variate); the time per iteration
// divided by 10^4 is the time per variate.
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>

#include <random>
#include <vector>

#include "bench_util.h"
#include "qor/qor_rng.h"


namespace {

constexpr int32_t kN = 10000;

using qor::bench::StreamOwner;

struct GslOwner {
    gsl_rng* g = gsl_rng_alloc(gsl_rng_mt19937);
    GslOwner() { gsl_rng_set(g, 20240601); }
    ~GslOwner() { gsl_rng_free(g); }
};

template <class T, class Fill>
void run(benchmark::State& state, Fill fill) {
    qor::bench::time_fill<T>(state, kN, fill);
}

// qor's kernel call over MCG31m1 (brng 0) or MCG59 (brng 1).
template <class T, class Kernel>
void qor_run(benchmark::State& state, Kernel kernel) {
    StreamOwner g(state.range(0) == 0 ? QOR_RNG_BRNG_MCG31M1 : QOR_RNG_BRNG_MCG59);
    run<T>(state, [&](T* r, int32_t n) { kernel(g.s, n, r); });
}

template <class Sample>
void gsl_run(benchmark::State& state, Sample sample) {
    GslOwner g;
    run<int32_t>(state, [&](int32_t* r, int32_t n) {
        for (int32_t i = 0; i < n; ++i) r[i] = static_cast<int32_t>(sample(g.g));
    });
}

template <class Dist>
void std_run(benchmark::State& state, Dist dist) {
    std::mt19937 gen(20240601);
    run<int32_t>(state, [&](int32_t* r, int32_t n) {
        for (int32_t i = 0; i < n; ++i) r[i] = dist(gen);
    });
}

const double kPoissonMeans[] = {0.5, 5, 50, 5000};
const struct {
    int32_t ntrial;
    double p;
} kBinomials[] = {{10, 0.3}, {1000, 0.3}, {1000000, 0.01}};
constexpr double kGeometricP = 0.1, kBernoulliP = 0.3;
constexpr int32_t kLot = 1000, kSampleSize = 100, kMarked = 400;  // mode 40
constexpr int32_t kUniformRange = 1000;

void QorPoisson(benchmark::State& state) {
    const double mu = kPoissonMeans[state.range(1)];
    qor_run<int32_t>(state, [mu](qor_rng_stream* s, int32_t n, int32_t* r) { _rixiRngPoisson(0, s, n, r, mu); });
}
void GslPoisson(benchmark::State& state) {
    const double mu = kPoissonMeans[state.range(1)];
    gsl_run(state, [mu](gsl_rng* g) { return gsl_ran_poisson(g, mu); });
}
void StdPoisson(benchmark::State& state) {
    std_run(state, std::poisson_distribution<int32_t>(kPoissonMeans[state.range(1)]));
}

void QorBinomial(benchmark::State& state) {
    const auto c = kBinomials[state.range(1)];
    qor_run<int32_t>(state,
                     [c](qor_rng_stream* s, int32_t n, int32_t* r) { _rixiRngBinomial(0, s, n, r, c.ntrial, c.p); });
}
void GslBinomial(benchmark::State& state) {
    const auto c = kBinomials[state.range(1)];
    gsl_run(state, [c](gsl_rng* g) { return gsl_ran_binomial(g, c.p, c.ntrial); });
}
void StdBinomial(benchmark::State& state) {
    const auto c = kBinomials[state.range(1)];
    std_run(state, std::binomial_distribution<int32_t>(c.ntrial, c.p));
}

void QorGeometric(benchmark::State& state) {
    qor_run<int32_t>(state, [](qor_rng_stream* s, int32_t n, int32_t* r) { _rixiRngGeometric(0, s, n, r, kGeometricP); });
}
void GslGeometric(benchmark::State& state) {
    gsl_run(state, [](gsl_rng* g) { return gsl_ran_geometric(g, kGeometricP); });
}
void StdGeometric(benchmark::State& state) { std_run(state, std::geometric_distribution<int32_t>(kGeometricP)); }

void QorBernoulli(benchmark::State& state) {
    qor_run<int32_t>(state, [](qor_rng_stream* s, int32_t n, int32_t* r) { _rixiRngBernoulli(0, s, n, r, kBernoulliP); });
}
void GslBernoulli(benchmark::State& state) {
    gsl_run(state, [](gsl_rng* g) { return gsl_ran_bernoulli(g, kBernoulliP); });
}
void StdBernoulli(benchmark::State& state) { std_run(state, std::bernoulli_distribution(kBernoulliP)); }

void QorHypergeometric(benchmark::State& state) {
    qor_run<int32_t>(state, [](qor_rng_stream* s, int32_t n, int32_t* r) {
        _rixiRngHypergeometric(0, s, n, r, kLot, kSampleSize, kMarked);
    });
}
void GslHypergeometric(benchmark::State& state) {
    gsl_run(state, [](gsl_rng* g) { return gsl_ran_hypergeometric(g, kMarked, kLot - kMarked, kSampleSize); });
}

void QorUniformInt(benchmark::State& state) {
    qor_run<int32_t>(state,
                     [](qor_rng_stream* s, int32_t n, int32_t* r) { _rixiRngUniform(0, s, n, r, 0, kUniformRange); });
}
void GslUniformInt(benchmark::State& state) {
    gsl_run(state, [](gsl_rng* g) { return gsl_rng_uniform_int(g, kUniformRange); });
}
void StdUniformInt(benchmark::State& state) {
    std_run(state, std::uniform_int_distribution<int32_t>(0, kUniformRange - 1));
}

void QorUniformBits32(benchmark::State& state) {
    qor_run<uint32_t>(state, [](qor_rng_stream* s, int32_t n, uint32_t* r) { _rixiRngUniformBits32(0, s, n, r); });
}

// Arguments: generator (qor: 0 MCG31m1, 1 MCG59; peers: 0), parameter set.
void over_sets(benchmark::internal::Benchmark* b, int sets, int generators) {
    for (int g = 0; g < generators; ++g)
        for (int i = 0; i < sets; ++i) b->Args({g, i});
}

}  // namespace

BENCHMARK(QorPoisson)->Apply([](auto* b) { over_sets(b, 4, 2); });
BENCHMARK(GslPoisson)->Apply([](auto* b) { over_sets(b, 4, 1); });
BENCHMARK(StdPoisson)->Apply([](auto* b) { over_sets(b, 4, 1); });
BENCHMARK(QorBinomial)->Apply([](auto* b) { over_sets(b, 3, 2); });
BENCHMARK(GslBinomial)->Apply([](auto* b) { over_sets(b, 3, 1); });
BENCHMARK(StdBinomial)->Apply([](auto* b) { over_sets(b, 3, 1); });
BENCHMARK(QorGeometric)->Apply([](auto* b) { over_sets(b, 1, 2); });
BENCHMARK(GslGeometric)->Apply([](auto* b) { over_sets(b, 1, 1); });
BENCHMARK(StdGeometric)->Apply([](auto* b) { over_sets(b, 1, 1); });
BENCHMARK(QorBernoulli)->Apply([](auto* b) { over_sets(b, 1, 2); });
BENCHMARK(GslBernoulli)->Apply([](auto* b) { over_sets(b, 1, 1); });
BENCHMARK(StdBernoulli)->Apply([](auto* b) { over_sets(b, 1, 1); });
BENCHMARK(QorHypergeometric)->Apply([](auto* b) { over_sets(b, 1, 2); });
BENCHMARK(GslHypergeometric)->Apply([](auto* b) { over_sets(b, 1, 1); });
BENCHMARK(QorUniformInt)->Apply([](auto* b) { over_sets(b, 1, 2); });
BENCHMARK(GslUniformInt)->Apply([](auto* b) { over_sets(b, 1, 1); });
BENCHMARK(StdUniformInt)->Apply([](auto* b) { over_sets(b, 1, 1); });
BENCHMARK(QorUniformBits32)->Apply([](auto* b) { over_sets(b, 1, 2); });

BENCHMARK_MAIN();
