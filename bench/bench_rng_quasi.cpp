// Sobol and Niederreiter: points per second and ticks per point (CPE) for
// the double and integer fills, against GSL's gsl_qrng sobol and
// niederreiter_2 (one point per call, doubles; GSL's Sobol tables stop at
// 40 dimensions, its Niederreiter at 12) and against std::mt19937 and
// std::mt19937_64 filling the same number of words.  Arg: the dimension;
// each iteration makes 1000 points.
#include <gsl/gsl_qrng.h>

#include <random>
#include <vector>

#include "bench_util.h"
#include "qor/qor_rng.h"

namespace {

constexpr int64_t kPoints = 1000;

using qor::bench::StreamOwner;

template <class T, class Fill>
void run(benchmark::State& state, Fill fill) {
    qor::bench::time_fill<T>(state, kPoints, fill, state.range(0));
}

template <int32_t (*Fill)(qor_rng_stream*, int32_t, double*, double, double)>
void QorDouble(benchmark::State& state, int32_t brng) {
    StreamOwner g(brng, {static_cast<uint32_t>(state.range(0))});
    const int32_t words = static_cast<int32_t>(kPoints * state.range(0));
    run<double>(state, [&](double* r, int64_t) { Fill(g.s, words, r, 0.0, 1.0); });
}

template <int32_t (*Fill)(qor_rng_stream*, int32_t, void*)>
void QorInt(benchmark::State& state, int32_t brng) {
    StreamOwner g(brng, {static_cast<uint32_t>(state.range(0))});
    const int32_t words = static_cast<int32_t>(kPoints * state.range(0));
    run<uint32_t>(state, [&](uint32_t* r, int64_t) { Fill(g.s, words, r); });
}

void SobolDouble(benchmark::State& state) { QorDouble<__rixdBRngSobol>(state, QOR_RNG_BRNG_SOBOL); }
void SobolInt(benchmark::State& state) { QorInt<__rixiBRngSobol>(state, QOR_RNG_BRNG_SOBOL); }
void NiederrDouble(benchmark::State& state) { QorDouble<__rixdBRngNiederr>(state, QOR_RNG_BRNG_NIEDERR); }
void NiederrInt(benchmark::State& state) { QorInt<__rixiBRngNiederr>(state, QOR_RNG_BRNG_NIEDERR); }

void Gsl(benchmark::State& state, const gsl_qrng_type* type) {
    const int64_t dim = state.range(0);
    gsl_qrng* q = gsl_qrng_alloc(type, static_cast<unsigned>(dim));
    run<double>(state, [&](double* r, int64_t points) {
        for (int64_t p = 0; p < points; ++p) gsl_qrng_get(q, r + p * dim);
    });
    gsl_qrng_free(q);
}

void GslSobol(benchmark::State& state) { Gsl(state, gsl_qrng_sobol); }
void GslNiederreiter2(benchmark::State& state) { Gsl(state, gsl_qrng_niederreiter_2); }

template <class Engine>
void StdWords(benchmark::State& state) {
    Engine gen(20240601);
    const int64_t words = kPoints * state.range(0);
    run<typename Engine::result_type>(state, [&](typename Engine::result_type* r, int64_t) {
        for (int64_t i = 0; i < words; ++i) r[i] = gen();
    });
}

void StdMt19937Words(benchmark::State& state) { StdWords<std::mt19937>(state); }
void StdMt19937_64Words(benchmark::State& state) { StdWords<std::mt19937_64>(state); }

}  // namespace

BENCHMARK(SobolDouble)->Arg(1)->Arg(10)->Arg(12)->Arg(40)->Arg(1000);
BENCHMARK(GslSobol)->Arg(1)->Arg(10)->Arg(12)->Arg(40);
BENCHMARK(SobolInt)->Arg(1)->Arg(10)->Arg(40);
BENCHMARK(NiederrDouble)->Arg(1)->Arg(10)->Arg(12)->Arg(300);
BENCHMARK(GslNiederreiter2)->Arg(1)->Arg(10)->Arg(12);
BENCHMARK(NiederrInt)->Arg(1)->Arg(10)->Arg(12);
BENCHMARK(StdMt19937Words)->Arg(1)->Arg(10)->Arg(40);
BENCHMARK(StdMt19937_64Words)->Arg(1)->Arg(10)->Arg(40);

BENCHMARK_MAIN();
