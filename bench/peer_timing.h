// Timing a call against a peer measured in the same run: seconds per call
// of each peer kept by name, and the ratio peer / qor reported on qor's row.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace qor::bench {

// n standard normal values, drawn once per size.
inline const std::vector<double>& normal_values(int64_t n) {
    static std::map<int64_t, std::vector<double>> held;
    auto& v = held[n];
    if (v.empty()) {
        std::mt19937_64 g(20261124);
        std::normal_distribution<double> normal(0, 1);
        v.resize(static_cast<std::size_t>(n));
        for (auto& x : v) x = normal(g);
    }
    return v;
}

// Seconds per call of the peers, by name.
inline std::map<std::string, double>& peer_seconds() {
    static std::map<std::string, double> seconds;
    return seconds;
}

// Wall seconds per call of body over the benchmark's iterations.
template <class Body>
double time_calls(benchmark::State& state, Body body) {
    double total = 0;
    for (auto _ : state) {
        const auto t0 = std::chrono::steady_clock::now();
        body();
        total += std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    }
    return total / double(state.iterations());
}

// The counter `name` = the peer's seconds per call over `seconds`, once the
// peer has run.
inline void report_ratio(benchmark::State& state, const std::string& peer, double seconds, const char* name) {
    if (peer_seconds().count(peer)) state.counters[name] = peer_seconds()[peer] / seconds;
}

}  // namespace qor::bench
