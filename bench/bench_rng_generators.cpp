// Every basic generator of the registry that this build makes, through its
// row's integer and double fills, beside std::mt19937 and std::mt19937_64
// in one run: cycles per output (CPE; one integer word of the row's size,
// or one double in [0, 1)), 10000 outputs per call.  The standard
// twisters fill their words in a loop and their doubles through
// std::uniform_real_distribution.
#include <random>
#include <string>
#include <vector>

#include "bench_util.h"
#include "qor/qor_rng.h"

namespace {

constexpr int64_t kOutputs = 10000;

struct Generator {
    const char* name;
    int32_t brng;
};

constexpr Generator kGenerators[] = {
    {"MCG31M1", QOR_RNG_BRNG_MCG31M1},     {"R250", QOR_RNG_BRNG_R250},
    {"MRG32K3A", QOR_RNG_BRNG_MRG32K3A},   {"MCG59", QOR_RNG_BRNG_MCG59},
    {"WH", QOR_RNG_BRNG_WH},               {"Sobol", QOR_RNG_BRNG_SOBOL},
    {"Niederr", QOR_RNG_BRNG_NIEDERR},     {"MT19937", QOR_RNG_BRNG_MT19937},
    {"MT2203", QOR_RNG_BRNG_MT2203},       {"SFMT19937", QOR_RNG_BRNG_SFMT19937},
    {"TRNG", QOR_RNG_BRNG_NONDETERM},      {"ARS5", QOR_RNG_BRNG_ARS5},
    {"PHILOX4X32X10", QOR_RNG_BRNG_PHILOX4X32X10},
};

void RowInt(benchmark::State& state, int32_t brng) {
    qor::bench::StreamOwner g(brng, {1});
    qor_rng_brng_properties p;
    __rixGetBrngProperties(brng, &p);
    qor::bench::time_fill<uint32_t>(
        state, kOutputs, [&](uint32_t* r, int64_t n) { p.fill_int(g.s, int32_t(n), r); }, p.word_size / 4);
}

void RowDouble(benchmark::State& state, int32_t brng) {
    qor::bench::StreamOwner g(brng, {1});
    qor_rng_brng_properties p;
    __rixGetBrngProperties(brng, &p);
    qor::bench::time_fill<double>(state, kOutputs, [&](double* r, int64_t n) { p.fill_double(g.s, int32_t(n), r, 0.0, 1.0); });
}

template <class Engine, class Word>
void StdInt(benchmark::State& state) {
    Engine gen(20240601);
    qor::bench::time_fill<Word>(state, kOutputs, [&](Word* r, int64_t n) {
        for (int64_t i = 0; i < n; ++i) r[i] = static_cast<Word>(gen());
    });
}

template <class Engine>
void StdDouble(benchmark::State& state) {
    Engine gen(20240601);
    std::uniform_real_distribution<double> dist(0.0, 1.0);
    qor::bench::time_fill<double>(state, kOutputs, [&](double* r, int64_t n) {
        for (int64_t i = 0; i < n; ++i) r[i] = dist(gen);
    });
}

// Rows whose streams this build and processor can make.
bool available(int32_t brng) {
    qor_rng_stream* s = nullptr;
    const uint32_t seed = 1;
    const int32_t status = __rixNewStreamEx(&s, brng, 1, &seed);
    if (s) __rixDeleteStream(&s);
    return status == QOR_RNG_STATUS_OK;
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RegisterBenchmark("StdMt19937/int", StdInt<std::mt19937, uint32_t>);
    benchmark::RegisterBenchmark("StdMt19937_64/int", StdInt<std::mt19937_64, uint64_t>);
    for (const Generator& g : kGenerators)
        if (available(g.brng)) benchmark::RegisterBenchmark((std::string(g.name) + "/int").c_str(), RowInt, g.brng);
    benchmark::RegisterBenchmark("StdMt19937/double", StdDouble<std::mt19937>);
    benchmark::RegisterBenchmark("StdMt19937_64/double", StdDouble<std::mt19937_64>);
    for (const Generator& g : kGenerators)
        if (available(g.brng))
            benchmark::RegisterBenchmark((std::string(g.name) + "/double").c_str(), RowDouble, g.brng);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
