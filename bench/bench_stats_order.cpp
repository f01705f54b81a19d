// Order statistics of large double arrays: an ascending sort of 10^6 and
// 10^7 normal values through _rixdSSSort beside std::sort of a copy, and the
// nine deciles of 10^7 values through _rixdSSQuantiles beside nine
// std::nth_element calls on one copy (each followed by the minimum above its
// place, for the second value of the interpolation).  One variable, so qor
// runs on one thread like its peers.  ratio_vs_std is the peer's time over
// qor's, from the same run; it appears on qor's rows.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "bench_util.h"
#include "peer_timing.h"
#include "qor/qor_ss.h"

namespace {

using qor::bench::normal_values;
using qor::bench::peer_seconds;
using qor::bench::time_calls;

void report_ratio(benchmark::State& state, const std::string& peer, double seconds) {
    qor::bench::report_ratio(state, peer, seconds, "ratio_vs_std");
}

// One-variable task over x with `sorted` and the quantile outputs set.
struct OneVariable {
    int64_t p = 1, n, storage = SS_OBS_VARIABLES_IN_ROWS, m = 9;
    std::vector<double> sorted, orders{0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9}, quantiles = std::vector<double>(9);
    SSTask* task = nullptr;
    explicit OneVariable(const std::vector<double>& x) : n(int64_t(x.size())), sorted(x.size()) {
        __rixdSSNewTask(&task, &p, &n, &storage, x.data(), nullptr, nullptr, 1);
        task->sorted = sorted.data();
        task->sorted_storage = &storage;
        __rixdSSEditQuantiles(task, &m, orders.data(), quantiles.data(), nullptr, nullptr);
    }
    ~OneVariable() { __rixSSDeleteTask(&task); }
};

void StdSort(benchmark::State& state) {
    const auto& x = normal_values(state.range(0));
    std::vector<double> work(x.size());
    peer_seconds()["sort" + std::to_string(x.size())] = time_calls(state, [&] {
        std::copy(x.begin(), x.end(), work.begin());
        std::sort(work.begin(), work.end());
        benchmark::DoNotOptimize(work.data());
    });
}

void QorSort(benchmark::State& state) {
    const auto& x = normal_values(state.range(0));
    OneVariable t(x);
    const double s = time_calls(state, [&] { benchmark::DoNotOptimize(_rixdSSSort(t.task, 0, SS_METHOD_SORT, nullptr)); });
    report_ratio(state, "sort" + std::to_string(x.size()), s);
}

void StdNthElementDeciles(benchmark::State& state) {
    const auto& x = normal_values(state.range(0));
    std::vector<double> work(x.size()), deciles(9);
    const int64_t n = int64_t(x.size());
    peer_seconds()["deciles"] = time_calls(state, [&] {
        std::copy(x.begin(), x.end(), work.begin());
        for (int j = 0; j < 9; ++j) {
            const double h = 0.1 * (j + 1) * double(n - 1);
            const int64_t k = int64_t(h);
            std::nth_element(work.begin(), work.begin() + k, work.end());
            const double above = *std::min_element(work.begin() + k + 1, work.end());
            deciles[j] = work[k] + (above - work[k]) * (h - double(k));
        }
        benchmark::DoNotOptimize(deciles.data());
    });
}

void QorDeciles(benchmark::State& state) {
    const auto& x = normal_values(state.range(0));
    OneVariable t(x);
    const double s = time_calls(state, [&] {
        benchmark::DoNotOptimize(_rixdSSQuantiles(t.task, SS_EST_QUANTILES, SS_METHOD_OBS_1, nullptr));
    });
    report_ratio(state, "deciles", s);
}

}  // namespace

BENCHMARK(StdSort)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(QorSort)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(StdNthElementDeciles)->Arg(10000000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(QorDeciles)->Arg(10000000)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
