// MT19937: integer and double fills against std::mt19937 (doubles through
// std::uniform_real_distribution) filling the same array, and the skip-ahead
// timed for a short distance (stepping) and for 2^40 and 2^64 - 1
// (polynomial method).  Counters: CPE (time-stamp ticks per output) and
// bytes per second of output.
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

void Mt19937IntFill(benchmark::State& state) {
    StreamOwner g(QOR_RNG_BRNG_MT19937);
    run<uint32_t>(state, [&](uint32_t* r, std::size_t n) { __rixiBRngMT19937(g.s, int32_t(n), r); });
}

void Mt19937DoubleFill(benchmark::State& state) {
    StreamOwner g(QOR_RNG_BRNG_MT19937);
    run<double>(state, [&](double* r, std::size_t n) { __rixdBRngMT19937(g.s, int32_t(n), r, 0.0, 1.0); });
}

void StdMt19937Int(benchmark::State& state) {
    std::mt19937 gen(20240601);
    run<uint32_t>(state, [&](uint32_t* r, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) r[i] = static_cast<uint32_t>(gen());
    });
}

void StdMt19937UniformReal(benchmark::State& state) {
    std::mt19937 gen(20240601);
    std::uniform_real_distribution<double> dist(0.0, 1.0);
    run<double>(state, [&](double* r, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) r[i] = dist(gen);
    });
}

void Mt19937SkipAhead(benchmark::State& state) {
    StreamOwner g(QOR_RNG_BRNG_MT19937);
    const uint64_t count = state.range(0) == 64 ? ~uint64_t{0} : uint64_t{1} << state.range(0);
    for (auto _ : state) benchmark::DoNotOptimize(__rixSkipAheadStream(g.s, count));
}

// Arg w: a count of w 64-bit words of mixed bits (312 words: a count of
// the period's size, the longest the reduction leaves).
void Mt19937SkipAheadWords(benchmark::State& state) {
    StreamOwner g(QOR_RNG_BRNG_MT19937);
    const std::vector<uint64_t> count(static_cast<size_t>(state.range(0)), 0x9E3779B97F4A7C15);
    for (auto _ : state)
        benchmark::DoNotOptimize(__rixSkipAheadStreamEx(g.s, static_cast<int32_t>(count.size()), count.data()));
}

}  // namespace

BENCHMARK(Mt19937IntFill)->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK(StdMt19937Int)->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK(Mt19937DoubleFill)->Arg(kInCache)->Arg(kOutOfCache);
BENCHMARK(StdMt19937UniformReal)->Arg(kInCache)->Arg(kOutOfCache);
// Arg k: skip 2^k (64: 2^64 - 1).  2^20 steps; 2^40 and 2^64 - 1 take the
// polynomial path.
BENCHMARK(Mt19937SkipAhead)->Arg(20)->Arg(40)->Arg(64)->Unit(benchmark::kMillisecond);
BENCHMARK(Mt19937SkipAheadWords)->Arg(2)->Arg(312)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
