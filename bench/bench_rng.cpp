// Basic generators: MCG31m1 and MCG59 integer and double fills against the
// C++ standard library's generators filling the same array, and a memset
// of the buffer as the memory-bandwidth limit.  Counters: CPE (time-stamp
// ticks per output) and bytes per second of output.
#include <cstring>
#include <random>
#include <vector>

#include "bench_util.h"
#include "qor/qor_rng.h"


namespace {

using qor::bench::StreamOwner;

template <class T, class Fill>
void run(benchmark::State& state, Fill fill) {
    qor::bench::time_fill<T>(state, state.range(0), fill);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0) * int64_t{sizeof(T)});
}

void Mcg31IntFill(benchmark::State& state) {
    StreamOwner g(QOR_RNG_BRNG_MCG31M1);
    run<uint32_t>(state, [&](uint32_t* r, std::size_t n) { __rixiBRngMCG31M1(g.s, int32_t(n), r); });
}

void Mcg31DoubleFill(benchmark::State& state) {
    StreamOwner g(QOR_RNG_BRNG_MCG31M1);
    run<double>(state, [&](double* r, std::size_t n) { __rixdBRngMCG31M1(g.s, int32_t(n), r, 0.0, 1.0); });
}

void Mcg31SingleFill(benchmark::State& state) {
    StreamOwner g(QOR_RNG_BRNG_MCG31M1);
    run<float>(state, [&](float* r, std::size_t n) { __rixsBRngMCG31M1(g.s, int32_t(n), r, 0.0f, 1.0f); });
}

void Mcg31UniformAccurate(benchmark::State& state) {
    StreamOwner g(QOR_RNG_BRNG_MCG31M1);
    run<double>(state, [&](double* r, std::size_t n) {
        _rixdRngUniform(QOR_RNG_METHOD_ACCURATE, g.s, int32_t(n), r, 0.0, 1.0);
    });
}

void Mcg59IntFill(benchmark::State& state) {
    StreamOwner g(QOR_RNG_BRNG_MCG59);
    run<uint64_t>(state, [&](uint64_t* r, std::size_t n) { __rixiBRngMCG59(g.s, int32_t(n), r); });
}

void Mcg59DoubleFill(benchmark::State& state) {
    StreamOwner g(QOR_RNG_BRNG_MCG59);
    run<double>(state, [&](double* r, std::size_t n) { __rixdBRngMCG59(g.s, int32_t(n), r, 0.0, 1.0); });
}

void StdMinstdInt(benchmark::State& state) {
    std::minstd_rand gen(20240601);
    run<uint32_t>(state, [&](uint32_t* r, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) r[i] = static_cast<uint32_t>(gen());
    });
}

void StdMt64Int(benchmark::State& state) {
    std::mt19937_64 gen(20240601);
    run<uint64_t>(state, [&](uint64_t* r, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) r[i] = gen();
    });
}

void StdMinstdUniformReal(benchmark::State& state) {
    std::minstd_rand gen(20240601);
    std::uniform_real_distribution<double> dist(0.0, 1.0);
    run<double>(state, [&](double* r, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) r[i] = dist(gen);
    });
}

void StdMt64UniformReal(benchmark::State& state) {
    std::mt19937_64 gen(20240601);
    std::uniform_real_distribution<double> dist(0.0, 1.0);
    run<double>(state, [&](double* r, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) r[i] = dist(gen);
    });
}

// The same bytes as a double fill, written by memset.
void MemsetDoubles(benchmark::State& state) {
    run<double>(state, [](double* r, std::size_t n) { std::memset(r, 0x3F, n * sizeof(double)); });
}

constexpr int64_t kInCache = 1 << 12;     // 32 KiB of doubles
constexpr int64_t kOutOfCache = 1 << 22;  // 32 MiB of doubles

}  // namespace

#define QOR_RNG_BENCH(fn) BENCHMARK(fn)->Arg(kInCache)->Arg(kOutOfCache)
QOR_RNG_BENCH(Mcg31IntFill);
QOR_RNG_BENCH(Mcg31DoubleFill);
QOR_RNG_BENCH(Mcg31SingleFill);
QOR_RNG_BENCH(Mcg31UniformAccurate);
QOR_RNG_BENCH(Mcg59IntFill);
QOR_RNG_BENCH(Mcg59DoubleFill);
QOR_RNG_BENCH(StdMinstdInt);
QOR_RNG_BENCH(StdMt64Int);
QOR_RNG_BENCH(StdMinstdUniformReal);
QOR_RNG_BENCH(StdMt64UniformReal);
QOR_RNG_BENCH(MemsetDoubles);

BENCHMARK_MAIN();
