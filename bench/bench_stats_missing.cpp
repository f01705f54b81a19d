// Missing values on 10^6 x 10 normal observations with 10% of the values
// missing at random (about 1000 patterns), on one and two threads:
// - EM, ten iterations (accuracy 0), started from the complete cases;
//   ns_per_obs_iteration is one iteration's time per observation;
// - data augmentation, one imputed set of one iteration after no EM
//   iteration (one I-step and one P-step, with the set written);
// - the peer: one plain pass of the mean and covariance of the same data
//   with the missing values left out pairwise, the floor of any iteration
//   that reads every value once.
// ratio_vs_peer is the peer's time over qor's time per iteration, in wall
// time; the CPU column counts every thread of the process.
#include <chrono>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "bench_util.h"
#include "qor/qor_ss.h"
#include "qor/qor_threading.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr int64_t kN = 1000000, kP = 10, kEmIterations = 10;

int one_thread() { return 1; }
int two_threads() { return 2; }
const qor_threading kThreads[2] = {{qor_rix_serv_threader_for, one_thread}, {qor_rix_serv_threader_for, two_threads}};

// Observations in rows: a common factor makes the variables correlated.
const std::vector<double>& data() {
    static std::vector<double> x;
    if (x.empty()) {
        std::mt19937_64 g(20261124);
        std::normal_distribution<double> normal;
        std::uniform_real_distribution<double> uniform;
        x.resize(kN * kP);
        for (int64_t j = 0; j < kN; ++j) {
            const double common = normal(g);
            for (int64_t i = 0; i < kP; ++i) x[j * kP + i] = uniform(g) < 0.1 ? NAN : double(i) + common + normal(g);
        }
    }
    return x;
}

double& peer_seconds() {
    static double seconds = 0;
    return seconds;
}

void PlainPairwiseCovariance(benchmark::State& state) {
    const auto& x = data();
    std::vector<double> sum(kP * kP), cross(kP * kP), count(kP * kP);
    double total = 0;
    for (auto _ : state) {
        const auto t0 = Clock::now();
        std::fill(sum.begin(), sum.end(), 0.0), std::fill(cross.begin(), cross.end(), 0.0);
        std::fill(count.begin(), count.end(), 0.0);
        for (int64_t j = 0; j < kN; ++j) {
            const double* row = &x[j * kP];
            for (int64_t i = 0; i < kP; ++i) {
                if (std::isnan(row[i])) continue;
                for (int64_t k = 0; k <= i; ++k)
                    if (!std::isnan(row[k]))
                        sum[i * kP + k] += row[i], cross[i * kP + k] += row[i] * row[k], count[i * kP + k] += 1;
            }
        }
        benchmark::DoNotOptimize(cross.data());
        total += std::chrono::duration<double>(Clock::now() - t0).count();
    }
    peer_seconds() = total / double(state.iterations());
    state.counters["ns_per_obs"] = peer_seconds() * 1e9 / double(kN);
}

void QorMissingValues(benchmark::State& state) {
    const bool da = state.range(0) != 0;
    const int threads = int(state.range(1));
    int64_t p = kP, n = kN, storage = SS_OBS_OBSERVATIONS_IN_ROWS, param_count = 5, prior_count = 0;
    const int64_t l = kP + kP * (kP + 1) / 2, est_count = 1 + 2 * l, sim_count = kN * kP;
    std::vector<double> params = {da ? 0.0 : double(kEmIterations), 1, 0, 1, SS_MV_START_COMPLETE_CASES};
    std::vector<double> est(est_count), sim(da ? sim_count : 0);
    SSTask* task = nullptr;
    __rixdSSNewTask(&task, &p, &n, &storage, data().data(), nullptr, nullptr, 1);
    __rixdSSEditMissingVals(task, &param_count, params.data(), nullptr, nullptr, &prior_count, nullptr, &sim_count,
                            sim.data(), &est_count, est.data());
    double total = 0;
    for (auto _ : state) {
        const auto t0 = Clock::now();
        const int32_t status = _rixdSSMissingValues(task, SS_EST_MISSING_VALUES, da ? SS_METHOD_MI_DA : SS_METHOD_MI_EM,
                                                    &kThreads[threads - 1]);
        total += std::chrono::duration<double>(Clock::now() - t0).count();
        if (status != 0) state.SkipWithError("status");
    }
    __rixSSDeleteTask(&task);
    const double per_iteration = total / double(state.iterations()) / (da ? 1.0 : double(kEmIterations));
    state.counters["ns_per_obs_iteration"] = per_iteration * 1e9 / double(kN);
    if (peer_seconds() > 0) state.counters["ratio_vs_peer"] = peer_seconds() / per_iteration;
}

BENCHMARK(PlainPairwiseCovariance)->Unit(benchmark::kMillisecond)->Iterations(2)->MeasureProcessCPUTime();
BENCHMARK(QorMissingValues)
    ->ArgNames({"da", "threads"})
    ->Args({0, 1})
    ->Args({0, 2})
    ->Args({1, 1})
    ->Args({1, 2})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2)
    ->MeasureProcessCPUTime();

}  // namespace

BENCHMARK_MAIN();
