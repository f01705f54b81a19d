// MRG32k3a: integer, double and single fills against a plain scalar
// implementation of the same recurrence written here (64-bit products,
// remainders by the moduli, one output per step), and the skip-ahead by a
// 64-bit count, by 2^64 and by multi-word counts.  Counters: CPE
// (time-stamp ticks per output) and bytes per second of output.
#include <cstdint>
#include <vector>

#include "bench_util.h"
#include "qor/qor_rng.h"

namespace {

constexpr uint64_t kM1 = 4294967087u, kM2 = 4294944443u;

// The textbook form: each step forms both new values with 64-bit
// arithmetic and the remainder operator, then combines them.
struct PlainMrg32k3a {
    uint64_t x1[3] = {12345, 12345, 12345}, x2[3] = {12345, 12345, 12345};
    uint32_t next() {
        const uint64_t p1 = (1403580 * x1[1] + (kM1 - 810728) * x1[0]) % kM1;
        const uint64_t p2 = (527612 * x2[2] + (kM2 - 1370589) * x2[0]) % kM2;
        x1[0] = x1[1], x1[1] = x1[2], x1[2] = p1;
        x2[0] = x2[1], x2[1] = x2[2], x2[2] = p2;
        return static_cast<uint32_t>(p1 >= p2 ? p1 - p2 : p1 + kM1 - p2);
    }
};

using qor::bench::StreamOwner;

template <class T, class Fill>
void run(benchmark::State& state, Fill fill) {
    qor::bench::time_fill<T>(state, state.range(0), fill);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0) * int64_t{sizeof(T)});
}

void MrgIntFill(benchmark::State& state) {
    StreamOwner g(QOR_RNG_BRNG_MRG32K3A, {12345, 12345, 12345, 12345, 12345, 12345});
    run<uint32_t>(state, [&](uint32_t* r, std::size_t n) { __rixiBRngMRG32K3A(g.s, int32_t(n), r); });
}

void MrgDoubleFill(benchmark::State& state) {
    StreamOwner g(QOR_RNG_BRNG_MRG32K3A, {12345, 12345, 12345, 12345, 12345, 12345});
    run<double>(state, [&](double* r, std::size_t n) { __rixdBRngMRG32K3A(g.s, int32_t(n), r, 0.0, 1.0); });
}

void MrgSingleFill(benchmark::State& state) {
    StreamOwner g(QOR_RNG_BRNG_MRG32K3A, {12345, 12345, 12345, 12345, 12345, 12345});
    run<float>(state, [&](float* r, std::size_t n) { __rixsBRngMRG32K3A(g.s, int32_t(n), r, 0.0f, 1.0f); });
}

void PlainScalarInt(benchmark::State& state) {
    PlainMrg32k3a g;
    run<uint32_t>(state, [&](uint32_t* r, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) r[i] = g.next();
    });
}

void PlainScalarDouble(benchmark::State& state) {
    PlainMrg32k3a g;
    const double c = 1.0 / double(kM1);
    run<double>(state, [&](double* r, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) r[i] = g.next() * c;
    });
}

// One skip per iteration; the stream keeps advancing, which costs the
// same as restarting it.
template <class Skip>
void time_skip(benchmark::State& state, Skip skip) {
    StreamOwner g(QOR_RNG_BRNG_MRG32K3A, {12345, 12345, 12345, 12345, 12345, 12345});
    for (auto _ : state) {
        skip(g.s);
        benchmark::ClobberMemory();
    }
}

void SkipAhead64BitCount(benchmark::State& state) {  // 2^64 - 1, every bit set
    time_skip(state, [](qor_rng_stream* s) { __rixSkipAheadStream(s, ~uint64_t{0}); });
}

void SkipAheadTwoTo64(benchmark::State& state) {
    const uint64_t words[2] = {0, 1};
    time_skip(state, [&](qor_rng_stream* s) { __rixSkipAheadStreamEx(s, 2, words); });
}

void SkipAheadThreeWords(benchmark::State& state) {  // below 2^192: the tables
    const uint64_t words[3] = {0x0123456789ABCDEF, 0xFEDCBA9876543210, 0x0F1E2D3C4B5A6978};
    time_skip(state, [&](qor_rng_stream* s) { __rixSkipAheadStreamEx(s, 3, words); });
}

void SkipAheadFourWords(benchmark::State& state) {  // 2^192 and above: the general power
    const uint64_t words[4] = {0x0123456789ABCDEF, 0xFEDCBA9876543210, 0x0F1E2D3C4B5A6978, 1};
    time_skip(state, [&](qor_rng_stream* s) { __rixSkipAheadStreamEx(s, 4, words); });
}

constexpr int64_t kInCache = 1 << 12;
constexpr int64_t kOutOfCache = 1 << 22;

}  // namespace

#define QOR_MRG_BENCH(fn) BENCHMARK(fn)->Arg(kInCache)->Arg(kOutOfCache)
QOR_MRG_BENCH(MrgIntFill);
QOR_MRG_BENCH(PlainScalarInt);
QOR_MRG_BENCH(MrgDoubleFill);
QOR_MRG_BENCH(PlainScalarDouble);
QOR_MRG_BENCH(MrgSingleFill);
BENCHMARK(SkipAheadTwoTo64)->Unit(benchmark::kMicrosecond);
BENCHMARK(SkipAhead64BitCount)->Unit(benchmark::kMicrosecond);
BENCHMARK(SkipAheadThreeWords)->Unit(benchmark::kMicrosecond);
BENCHMARK(SkipAheadFourWords)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
