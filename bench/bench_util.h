// Shared pieces of the benchmarks: cycle counting, input arrays, and the
// cycles-per-element counter reported beside Google Benchmark's times.
#pragma once

#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <x86intrin.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace qor::bench {

// Time-stamp counter ticks per element over a whole benchmark run.
class CycleCounter {
public:
    void start() { t0_ = __rdtsc(); }
    void stop() { ticks_ += __rdtsc() - t0_; }
    void report(benchmark::State& state, long elements_per_iteration) const {
        double elements = double(state.iterations()) * double(elements_per_iteration);
        state.counters["CPE"] = elements > 0 ? double(ticks_) / elements : 0.0;
        state.SetItemsProcessed(int64_t(elements));
    }

private:
    uint64_t t0_ = 0, ticks_ = 0;
};

template <class T>
std::vector<T> uniform_array(std::size_t n, double lo, double hi, unsigned seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> dist(lo, hi);
    std::vector<T> v(n);
    for (auto& x : v) x = T(dist(gen));
    return v;
}

// An exported kernel-library symbol, or null when that row is not built.
template <class Fn>
Fn kernel_symbol(const std::string& name) {
    return reinterpret_cast<Fn>(dlsym(RTLD_DEFAULT, name.c_str()));
}

// LA and EP suffixes of a precision letter.
inline const char* la_suffix(char p) { return (p == 's' || p == 'c') ? "_21" : "_50"; }
inline const char* ep_suffix(char p) { return (p == 's' || p == 'c') ? "_11" : "_26"; }

}  // namespace qor::bench
