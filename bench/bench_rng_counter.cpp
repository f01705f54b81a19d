// Philox4x32-10, ARS5, R250 and the RDRAND generator: integer and double
// fills against std::mt19937 and std::mt19937_64 (doubles through
// std::uniform_real_distribution) filling the same arrays, in the same
// run.  Counters: CPE (time-stamp ticks per output) and bytes per second.
#include <random>
#include <vector>

#include "bench_util.h"
#include "qor/qor_rng.h"

namespace {

constexpr int64_t kInCache = 1000, kOutOfCache = 1000000;

using qor::bench::StreamOwner;

template <class T, class Fill>
void run(benchmark::State& state, Fill fill) {
    qor::bench::time_fill<T>(state, state.range(0), fill);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0) * int64_t{sizeof(T)});
}

template <int32_t Brng>
void IntFill(benchmark::State& state) {
    StreamOwner g(Brng);
    qor_rng_brng_properties p;
    __rixGetBrngProperties(Brng, &p);
    if (!g.s) {
        state.SkipWithError("generator not available on this processor");
        return;
    }
    run<uint32_t>(state, [&](uint32_t* r, std::size_t n) { p.fill_int(g.s, int32_t(n), r); });
}

template <int32_t Brng>
void DoubleFill(benchmark::State& state) {
    StreamOwner g(Brng);
    qor_rng_brng_properties p;
    __rixGetBrngProperties(Brng, &p);
    if (!g.s) {
        state.SkipWithError("generator not available on this processor");
        return;
    }
    run<double>(state, [&](double* r, std::size_t n) { p.fill_double(g.s, int32_t(n), r, 0.0, 1.0); });
}

template <class Engine>
void StdInt(benchmark::State& state) {
    Engine gen(20240601);
    run<typename Engine::result_type>(state, [&](typename Engine::result_type* r, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) r[i] = gen();
    });
}

template <class Engine>
void StdUniformReal(benchmark::State& state) {
    Engine gen(20240601);
    std::uniform_real_distribution<double> dist(0.0, 1.0);
    run<double>(state, [&](double* r, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) r[i] = dist(gen);
    });
}

}  // namespace

#define QOR_BENCH_GENERATOR(Brng)                                                      \
    BENCHMARK_TEMPLATE(IntFill, Brng)->Arg(kInCache)->Arg(kOutOfCache);                \
    BENCHMARK_TEMPLATE(DoubleFill, Brng)->Arg(kInCache)->Arg(kOutOfCache);

QOR_BENCH_GENERATOR(QOR_RNG_BRNG_PHILOX4X32X10)
QOR_BENCH_GENERATOR(QOR_RNG_BRNG_ARS5)
QOR_BENCH_GENERATOR(QOR_RNG_BRNG_R250)
QOR_BENCH_GENERATOR(QOR_RNG_BRNG_MT19937)
BENCHMARK_TEMPLATE(IntFill, QOR_RNG_BRNG_NONDETERM)->Arg(kInCache);
BENCHMARK_TEMPLATE(StdInt, std::mt19937)->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK_TEMPLATE(StdInt, std::mt19937_64)->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK_TEMPLATE(StdUniformReal, std::mt19937)->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK_TEMPLATE(StdUniformReal, std::mt19937_64)->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK_MAIN();
