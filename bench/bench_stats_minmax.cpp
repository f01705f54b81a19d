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
#include "read_ratio.h"
#include "qor/qor.h"

namespace {


constexpr int64_t kValues = 10000000;
constexpr int64_t kVariables = 20;

const std::vector<double>& data() {
    static const std::vector<double> x = qor::bench::uniform_array<double>(kValues, -1.0, 1.0, 20240602);
    return x;
}

using qor::bench::measure_against_read;
using qor::bench::streaming_sum;

void StreamingRead(benchmark::State& state) {
    measure_against_read(state, data(), [&] { benchmark::DoNotOptimize(streaming_sum(data())); });
}

void StdMinmaxElement(benchmark::State& state) {
    const auto& x = data();
    measure_against_read(state, x, [&] { benchmark::DoNotOptimize(std::minmax_element(x.begin(), x.end())); });
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
    measure_against_read(state, x, [&] {
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
