// Minimum and maximum of 10^7 doubles (one variable), and of 5·10^5
// observations of 20 variables in rows.  qor runs on 1 and on 2 threads; the
// peers, in the same run, are a streaming read of the data (a plain sum: the
// limit of any pass over it) and std::minmax_element.  Counters: items are
// values read per second, and read_ratio is the time of one call over the
// time of one streaming read of the same data.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "bench_util.h"
#include "qor/qor.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int64_t kValues = 10000000;
constexpr int64_t kVariables = 20;

const std::vector<double>& data() {
    static const std::vector<double> x = qor::bench::uniform_array<double>(kValues, -1.0, 1.0, 20240602);
    return x;
}

double streaming_sum(const std::vector<double>& x) {
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
double read_seconds(const std::vector<double>& x) {
    double best = 1e30;
    for (int i = 0; i < 3; ++i) {
        const auto t0 = Clock::now();
        benchmark::DoNotOptimize(streaming_sum(x));
        best = std::min(best, std::chrono::duration<double>(Clock::now() - t0).count());
    }
    return best;
}

template <class Call>
void measure(benchmark::State& state, const std::vector<double>& x, Call call) {
    const double read = read_seconds(x);
    const auto t0 = Clock::now();
    for (auto _ : state) call();
    const double seconds = std::chrono::duration<double>(Clock::now() - t0).count();
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(x.size()));
    state.counters["read_ratio"] = seconds / double(state.iterations()) / read;
}

void StreamingRead(benchmark::State& state) {
    measure(state, data(), [&] { benchmark::DoNotOptimize(streaming_sum(data())); });
}

void StdMinmaxElement(benchmark::State& state) {
    const auto& x = data();
    measure(state, x, [&] { benchmark::DoNotOptimize(std::minmax_element(x.begin(), x.end())); });
}

// One call per iteration on p variables (observations in rows) and
// state.range(0) threads.
void run_minmax(benchmark::State& state, int64_t p) {
    const auto& x = data();
    int64_t n = kValues / p, storage = p == 1 ? SS_OBS_VARIABLES_IN_ROWS : SS_OBS_OBSERVATIONS_IN_ROWS;
    std::vector<double> lo(p), hi(p);
    qor_ss_task* task = nullptr;
    int status = qor_dss_new_task(&task, &p, &n, &storage, x.data(), nullptr, nullptr);
    if (status == SS_OK) status = qor_dss_edit_task(task, SS_PARAM_MIN, lo.data());
    if (status == SS_OK) status = qor_dss_edit_task(task, SS_PARAM_MAX, hi.data());
    qor_set_num_threads(static_cast<int>(state.range(0)));
    measure(state, x, [&] {
        if (status == SS_OK) status = qor_dss_minmax(task, SS_EST_MIN | SS_EST_MAX, SS_METHOD_OBS_1);
    });
    qor_set_num_threads(0);
    qor_ss_delete_task(&task);
    if (status != SS_OK) state.SkipWithError(("status " + std::to_string(status)).c_str());
}

void QorMinmax(benchmark::State& state) { run_minmax(state, 1); }
void QorMinmax20InRows(benchmark::State& state) { run_minmax(state, kVariables); }

}  // namespace

#define QOR_BENCH_MINMAX(f) BENCHMARK(f)->Unit(benchmark::kMillisecond)->UseRealTime()
QOR_BENCH_MINMAX(StreamingRead);
QOR_BENCH_MINMAX(StdMinmaxElement);
QOR_BENCH_MINMAX(QorMinmax)->Arg(1)->Arg(2);
QOR_BENCH_MINMAX(QorMinmax20InRows)->Arg(1)->Arg(2);

BENCHMARK_MAIN();
