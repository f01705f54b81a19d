// Cell search: 10^6 double sites among nx = 10^2, 10^4 and 10^6 breakpoints,
// in sites per second (items_per_second).  Peers in the same run:
// std::upper_bound per site and GSL's gsl_interp_accel_find on the same
// random partition and sites; for sorted sites, one streaming read of them.
// Uniform and QuasiUniform run on an evenly spaced partition, Hybrid on the
// random one, Peak on sites clustered within a few cells of the middle
// breakpoint, Sorted on the random sites in ascending order.
#include <gsl/gsl_interp.h>
#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

#include "bench_util.h"
#include "qor/qor_kp.h"

namespace {

constexpr int64_t kSites = 1000000;

struct Data {
    std::vector<double> random, even, site, sorted, clustered;
    std::vector<int32_t> cell = std::vector<int32_t>(kSites);
};

const Data& data(int64_t nx) {
    static std::map<int64_t, Data> held;
    Data& d = held[nx];
    if (d.site.empty()) {
        std::mt19937_64 g(20261124);
        std::uniform_real_distribution<double> u(0, 1);
        d.random.resize(nx);
        for (auto& x : d.random) x = u(g);
        std::sort(d.random.begin(), d.random.end());
        d.random.front() = 0, d.random.back() = 1;
        for (int64_t i = 0; i < nx; ++i) d.even.push_back(double(i) / double(nx - 1));
        for (int64_t i = 0; i < kSites; ++i) d.site.push_back(u(g));
        d.sorted = d.site;
        std::sort(d.sorted.begin(), d.sorted.end());
        std::normal_distribution<double> near(d.random[nx / 2], 3.0 / double(nx));
        for (int64_t i = 0; i < kSites; ++i) d.clustered.push_back(near(g));
    }
    return d;
}

template <class Body>
void run(benchmark::State& state, Body body) {
    for (auto _ : state) {
        body();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kSites);
}

void UpperBound(benchmark::State& state) {
    const Data& d = data(state.range(0));
    auto* cell = const_cast<int32_t*>(d.cell.data());
    run(state, [&] {
        for (int64_t i = 0; i < kSites; ++i)
            cell[i] = int32_t(std::upper_bound(d.random.begin(), d.random.end(), d.site[i]) - d.random.begin());
    });
}

void GslAccelFind(benchmark::State& state) {
    const Data& d = data(state.range(0));
    auto* cell = const_cast<int32_t*>(d.cell.data());
    gsl_interp_accel* acc = gsl_interp_accel_alloc();
    run(state, [&] {
        for (int64_t i = 0; i < kSites; ++i)
            cell[i] = int32_t(gsl_interp_accel_find(acc, d.random.data(), d.random.size(), d.site[i]));
    });
    gsl_interp_accel_free(acc);
}

void Hybrid(benchmark::State& state) {
    const int64_t nx = state.range(0);
    const Data& d = data(nx);
    FitTask* task = nullptr;
    qor_kp_kernel_dNewTask1D(&task, nx, d.random.data(), hintPartitionNonUniform, 0, nullptr, 0, 0);
    run(state, [&] {
        qor_kp_kernel_dKPHybridSearch1D32(nx, d.random.data(), kSites, d.site.data(), task->binScale.d,
                                          task->binTable, const_cast<int32_t*>(d.cell.data()));
    });
    qor_kp_kernel_DeleteTask(&task);
}

void Uniform(benchmark::State& state) {
    const int64_t nx = state.range(0);
    const Data& d = data(nx);
    const double ends[2] = {0, 1};
    run(state, [&] {
        qor_kp_kernel_dKPUniformSearch1D32(nx, ends, kSites, d.site.data(), double(nx - 1),
                                           const_cast<int32_t*>(d.cell.data()));
    });
}

void QuasiUniform(benchmark::State& state) {
    const int64_t nx = state.range(0);
    const Data& d = data(nx);
    run(state, [&] {
        qor_kp_kernel_dKPQuasiUniformSearch1D32(nx, d.even.data(), kSites, d.site.data(), double(nx - 1),
                                                const_cast<int32_t*>(d.cell.data()));
    });
}

void Peak(benchmark::State& state) {
    const int64_t nx = state.range(0);
    const Data& d = data(nx);
    run(state, [&] {
        qor_kp_kernel_dKPPeakSearch1D32(nx, d.random.data(), kSites, d.clustered.data(), double(nx / 2),
                                        const_cast<int32_t*>(d.cell.data()));
    });
}

void Sorted(benchmark::State& state) {
    const int64_t nx = state.range(0);
    const Data& d = data(nx);
    run(state, [&] {
        int32_t start = 0;
        qor_kp_kernel_dKPSortedSearch1D32(nx, d.random.data(), kSites, d.sorted.data(), &start,
                                          const_cast<int32_t*>(d.cell.data()));
    });
}

void StreamingRead(benchmark::State& state) {
    const Data& d = data(state.range(0));
    run(state, [&] {  // four independent vector sums: bound by the memory, not by the adds
        __m128d sum[4] = {};
        for (int64_t i = 0; i + 8 <= kSites; i += 8)
            for (int k = 0; k < 4; ++k) sum[k] = _mm_add_pd(sum[k], _mm_loadu_pd(d.sorted.data() + i + 2 * k));
        benchmark::DoNotOptimize(sum);
    });
}

}  // namespace

#define SIZES ->Arg(100)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMillisecond)
BENCHMARK(UpperBound) SIZES;
BENCHMARK(GslAccelFind) SIZES;
BENCHMARK(Hybrid) SIZES;
BENCHMARK(QuasiUniform) SIZES;
BENCHMARK(Uniform) SIZES;
BENCHMARK(Peak) SIZES;
BENCHMARK(Sorted) SIZES;
BENCHMARK(StreamingRead) SIZES;

BENCHMARK_MAIN();
