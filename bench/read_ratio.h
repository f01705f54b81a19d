// The limit of any pass over a data set, one streaming read of it (a plain
// sum with four partial sums), and a benchmark loop that reports a call's
// time as a multiple of that read, measured in the same run.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <vector>

namespace qor::bench {

inline double streaming_sum(const std::vector<double>& x) {
    double s0 = 0, s1 = 0, s2 = 0, s3 = 0;
    std::size_t i = 0;
    for (; i + 4 <= x.size(); i += 4) {
        s0 += x[i];
        s1 += x[i + 1];
        s2 += x[i + 2];
        s3 += x[i + 3];
    }
    for (; i < x.size(); ++i) s0 += x[i];
    return (s0 + s1) + (s2 + s3);
}

// Seconds of one streaming read of x, best of three.
inline double read_seconds(const std::vector<double>& x) {
    using Clock = std::chrono::steady_clock;
    double best = 1e30;
    for (int i = 0; i < 3; ++i) {
        const auto t0 = Clock::now();
        benchmark::DoNotOptimize(streaming_sum(x));
        best = std::min(best, std::chrono::duration<double>(Clock::now() - t0).count());
    }
    return best;
}

// Runs call() per iteration; items are the values of x, read_ratio the time
// of one call over one streaming read of x.
template <class Call>
void measure_against_read(benchmark::State& state, const std::vector<double>& x, Call call) {
    using Clock = std::chrono::steady_clock;
    const double read = read_seconds(x);
    const auto t0 = Clock::now();
    for (auto _ : state) call();
    const double seconds = std::chrono::duration<double>(Clock::now() - t0).count();
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(x.size()));
    state.counters["read_ratio"] = seconds / double(state.iterations()) / read;
}

}  // namespace qor::bench
