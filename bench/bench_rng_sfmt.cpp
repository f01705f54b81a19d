// SFMT19937 and MT2203 beside MT19937, std::mt19937 and std::mt19937_64,
// all filling the same array: integer fills in cycles per 32-bit output
// (std::mt19937_64 per 64-bit output; 10000 outputs: many whole vectors
// while in cache), double fills in [0, 1) (the standard
// twisters through std::uniform_real_distribution), and SFMT19937's
// skip-ahead for a short distance (stepping) and for 2^40 and 2^64 - 1
// (polynomial method).  Counters: CPE (time-stamp ticks per output) and
// bytes per second of output.
#include <random>
#include <vector>

#include "bench_util.h"
#include "qor/qor_rng.h"

namespace {

constexpr int64_t kInCache = 1000, kManyVectors = 10000, kOutOfCache = 1000000;

using qor::bench::StreamOwner;

template <class T, class Fill>
void run(benchmark::State& state, Fill fill) {
    qor::bench::time_fill<T>(state, state.range(0), fill);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0) * int64_t{sizeof(T)});
}

using IntFill = int32_t (*)(qor_rng_stream*, int32_t, void*);
using DoubleFill = int32_t (*)(qor_rng_stream*, int32_t, double*, double, double);

template <int32_t Brng, IntFill F>
void QorInt(benchmark::State& state) {
    StreamOwner g(Brng);
    run<uint32_t>(state, [&](uint32_t* r, std::size_t n) { F(g.s, int32_t(n), r); });
}

template <int32_t Brng, DoubleFill F>
void QorDouble(benchmark::State& state) {
    StreamOwner g(Brng);
    run<double>(state, [&](double* r, std::size_t n) { F(g.s, int32_t(n), r, 0.0, 1.0); });
}

template <class Engine, class T>
void StdInt(benchmark::State& state) {
    Engine gen(20240601);
    run<T>(state, [&](T* r, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) r[i] = static_cast<T>(gen());
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

void Sfmt19937SkipAhead(benchmark::State& state) {
    StreamOwner g(QOR_RNG_BRNG_SFMT19937);
    const uint64_t count = state.range(0) == 64 ? ~uint64_t{0} : uint64_t{1} << state.range(0);
    for (auto _ : state) benchmark::DoNotOptimize(__rixSkipAheadStream(g.s, count));
}

}  // namespace

BENCHMARK(QorInt<QOR_RNG_BRNG_SFMT19937, __rixiBRngSFMT19937>)
    ->Name("Sfmt19937IntFill")->Arg(kInCache)->Arg(kManyVectors)->Arg(kOutOfCache);
BENCHMARK(QorInt<QOR_RNG_BRNG_MT19937, __rixiBRngMT19937>)
    ->Name("Mt19937IntFill")->Arg(kInCache)->Arg(kManyVectors)->Arg(kOutOfCache);
BENCHMARK(QorInt<QOR_RNG_BRNG_MT2203, __rixiBRngMT2203>)->Name("Mt2203IntFill")->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK(StdInt<std::mt19937, uint32_t>)->Name("StdMt19937Int")->Arg(kInCache)->Arg(kManyVectors)->Arg(kOutOfCache);
BENCHMARK(StdInt<std::mt19937_64, uint64_t>)->Name("StdMt19937_64Int")->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK(QorDouble<QOR_RNG_BRNG_SFMT19937, __rixdBRngSFMT19937>)
    ->Name("Sfmt19937DoubleFill")->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK(QorDouble<QOR_RNG_BRNG_MT19937, __rixdBRngMT19937>)->Name("Mt19937DoubleFill")->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK(QorDouble<QOR_RNG_BRNG_MT2203, __rixdBRngMT2203>)->Name("Mt2203DoubleFill")->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK(StdUniformReal<std::mt19937>)->Name("StdMt19937UniformReal")->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK(StdUniformReal<std::mt19937_64>)->Name("StdMt19937_64UniformReal")->Arg(kInCache)->Arg(kOutOfCache);
// Arg k: skip 2^k (64: 2^64 - 1).  2^20 and 2^26 step; 2^40 and 2^64 - 1 take the
// polynomial path.
BENCHMARK(Sfmt19937SkipAhead)->Arg(20)->Arg(26)->Arg(40)->Arg(64)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
