// Continuous distributions: qor's Gaussian (three methods), exponential,
// Laplace, Weibull, Cauchy, Rayleigh, lognormal and Gumbel over MCG31m1 and
// MCG59, against GSL's generators over its MT19937 and the C++ standard
// library's over std::mt19937, each filling the same array of 10^4
// doubles.  Counters: CPE (time-stamp ticks per variate) and items per
// second.
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>

#include <random>
#include <vector>

#include "bench_util.h"
#include "qor/qor_random.h"


namespace {

constexpr uint32_t kSeed = 20240601;
constexpr int64_t kCount = 10000;

template <class Fill>
void run(benchmark::State& state, Fill fill) {
    qor::bench::time_fill<double>(state, state.range(0), [&](double* r, int64_t n) { fill(r, static_cast<int32_t>(n)); });
}

using qor::bench::StreamOwner;

// qor's kernel export over a fresh stream of brng.
template <class Draw>
void qor_run(benchmark::State& state, int32_t brng, Draw draw) {
    StreamOwner g(brng);
    run(state, [&](double* r, int32_t n) { draw(g.s, n, r); });
}

struct GslOwner {
    gsl_rng* r = gsl_rng_alloc(gsl_rng_mt19937);
    GslOwner() { gsl_rng_set(r, kSeed); }
    ~GslOwner() { gsl_rng_free(r); }
};

template <class Variate>
void gsl_run(benchmark::State& state, Variate variate) {
    GslOwner g;
    run(state, [&](double* r, int32_t n) {
        for (int32_t i = 0; i < n; ++i) r[i] = variate(g.r);
    });
}

template <class Distribution>
void std_run(benchmark::State& state, Distribution dist) {
    std::mt19937 gen(kSeed);
    run(state, [&](double* r, int32_t n) {
        for (int32_t i = 0; i < n; ++i) r[i] = dist(gen);
    });
}

// qor, one benchmark per generator.
#define QOR_BENCH(name, call)                                                                          \
    void Qor##name##Mcg31(benchmark::State& state) {                                                  \
        qor_run(state, QOR_RNG_BRNG_MCG31M1, [](qor_rng_stream* s, int32_t n, double* r) { call; });  \
    }                                                                                                  \
    void Qor##name##Mcg59(benchmark::State& state) {                                                  \
        qor_run(state, QOR_RNG_BRNG_MCG59, [](qor_rng_stream* s, int32_t n, double* r) { call; });    \
    }                                                                                                  \
    BENCHMARK(Qor##name##Mcg31)->Arg(kCount);                                                          \
    BENCHMARK(Qor##name##Mcg59)->Arg(kCount)

#define GSL_BENCH(name, expr)                                                \
    void Gsl##name(benchmark::State& state) {                               \
        gsl_run(state, [](gsl_rng* g) { return expr; });                    \
    }                                                                        \
    BENCHMARK(Gsl##name)->Arg(kCount)

QOR_BENCH(GaussianBoxMuller, _rixdRngGaussian(QOR_RNG_METHOD_GAUSSIAN_BOXMULLER, s, n, r, 0.0, 1.0));
QOR_BENCH(GaussianBoxMuller2, _rixdRngGaussian(QOR_RNG_METHOD_GAUSSIAN_BOXMULLER2, s, n, r, 0.0, 1.0));
QOR_BENCH(GaussianIcdf, _rixdRngGaussian(QOR_RNG_METHOD_GAUSSIAN_ICDF, s, n, r, 0.0, 1.0));
GSL_BENCH(GaussianZiggurat, gsl_ran_gaussian_ziggurat(g, 1.0));
GSL_BENCH(GaussianPolar, gsl_ran_gaussian(g, 1.0));
void StdNormal(benchmark::State& state) { std_run(state, std::normal_distribution<double>(0.0, 1.0)); }
BENCHMARK(StdNormal)->Arg(kCount);

QOR_BENCH(Exponential, _rixdRngExponential(0, s, n, r, 0.0, 1.0));
QOR_BENCH(ExponentialAccurate, _rixdRngExponential(QOR_RNG_METHOD_ACCURATE, s, n, r, 0.0, 1.0));
GSL_BENCH(Exponential, gsl_ran_exponential(g, 1.0));
void StdExponential(benchmark::State& state) { std_run(state, std::exponential_distribution<double>(1.0)); }
BENCHMARK(StdExponential)->Arg(kCount);

QOR_BENCH(Laplace, _rixdRngLaplace(0, s, n, r, 0.0, 1.0));
GSL_BENCH(Laplace, gsl_ran_laplace(g, 1.0));

QOR_BENCH(Weibull, _rixdRngWeibull(0, s, n, r, 1.5, 0.0, 1.0));
GSL_BENCH(Weibull, gsl_ran_weibull(g, 1.0, 1.5));

QOR_BENCH(Cauchy, _rixdRngCauchy(0, s, n, r, 0.0, 1.0));
GSL_BENCH(Cauchy, gsl_ran_cauchy(g, 1.0));

QOR_BENCH(Rayleigh, _rixdRngRayleigh(0, s, n, r, 0.0, 1.0));
GSL_BENCH(Rayleigh, gsl_ran_rayleigh(g, 1.0));

QOR_BENCH(LognormalBoxMuller2, _rixdRngLognormal(QOR_RNG_METHOD_LOGNORMAL_BOXMULLER2, s, n, r, 0.0, 1.0, 0.0, 1.0));
QOR_BENCH(LognormalIcdf, _rixdRngLognormal(QOR_RNG_METHOD_LOGNORMAL_ICDF, s, n, r, 0.0, 1.0, 0.0, 1.0));
GSL_BENCH(Lognormal, gsl_ran_lognormal(g, 0.0, 1.0));

QOR_BENCH(Gumbel, _rixdRngGumbel(0, s, n, r, 0.0, 1.0));
GSL_BENCH(Gumbel, gsl_ran_gumbel1(g, 1.0, 1.0));

}  // namespace

BENCHMARK_MAIN();
