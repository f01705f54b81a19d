// Spline construction over 10^6 breakpoints (one function).  Linear, on a
// non-uniform and a uniform partition, on 1 and 2 threads; the peers, in
// the same run, are the plain loop a user would write, a streaming read of
// the values (a plain sum: the limit of any pass over them) and the same
// traffic as a construction without arithmetic (each value read once and
// written twice, the size of the coefficients).  The natural cubic spline
// (free ends) and Akima's spline against GSL's gsl_interp_init of cspline
// and akima on the same data (its state allocated once, outside the
// loop); on the uniform partition, the natural cubic spline against
// Boost.Math's cardinal cubic B-spline construction.  Counters: items are breakpoints per second, and read_ratio is the
// time of one call over the time of one streaming read of the values.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <vector>

#include <gsl/gsl_interp.h>

#include <boost/math/interpolators/cardinal_cubic_b_spline.hpp>

#include "bench_util.h"
#include "read_ratio.h"
#include "qor/qor.h"

namespace {


constexpr int64_t kPoints = 1000000;

struct Data {
    std::vector<double> x, y, c, cubic;
    Data() : y(qor::bench::uniform_array<double>(kPoints, -1.0, 1.0, 20240603)), c(2 * (kPoints - 1)), cubic(4 * (kPoints - 1)) {
        const std::vector<double> step = qor::bench::uniform_array<double>(kPoints, 0.5, 1.5, 20240604);
        x.resize(kPoints);
        for (int64_t i = 1; i < kPoints; ++i) x[i] = x[i - 1] + step[i];
    }
};

Data& data() {
    static Data d;
    return d;
}

using qor::bench::streaming_sum;

// Runs call() per iteration against one streaming read of the values.
template <class Call>
void measure(benchmark::State& state, Call call) {
    qor::bench::measure_against_read(state, data().y, call);
}

void StreamingRead(benchmark::State& state) {
    measure(state, [] { benchmark::DoNotOptimize(streaming_sum(data().y)); });
}

void ValuesWrittenTwice(benchmark::State& state) {
    Data& d = data();
    measure(state, [&] {
        for (int64_t i = 0; i + 1 < kPoints; ++i) d.c[2 * i] = d.c[2 * i + 1] = d.y[i];
        benchmark::ClobberMemory();
    });
}

void PlainLoop(benchmark::State& state) {
    Data& d = data();
    measure(state, [&] {
        for (int64_t i = 0; i + 1 < kPoints; ++i) {
            d.c[2 * i] = d.y[i];
            d.c[2 * i + 1] = (d.y[i + 1] - d.y[i]) / (d.x[i + 1] - d.x[i]);
        }
        benchmark::ClobberMemory();
    });
}

// range(0): threads; range(1): 1 for the uniform partition (two ends).
void QorLinear(benchmark::State& state) {
    Data& d = data();
    const bool uniform = state.range(1) != 0;
    const double ends[2] = {d.x.front(), d.x.back()};
    qor_fit_task* task = nullptr;
    int status = qor_dfit_new_task(&task, kPoints, uniform ? ends : d.x.data(),
                                   uniform ? hintPartitionUniform : hintPartitionNonUniform, 1, d.y.data(),
                                   hintValuesDefault);
    if (status == 0) status = qor_dfit_edit_pp_spline(task, 2, 0, 0, nullptr, 0, nullptr, d.c.data(), 0);
    qor_set_num_threads(static_cast<int>(state.range(0)));
    if (status == 0) measure(state, [&] { status |= qor_dfit_construct(task, QOR_FIT_LINEAR, 0); });
    qor_set_num_threads(0);
    qor_fit_delete_task(&task);
    if (status != 0) state.SkipWithError("construction failed");
}

// range(0): threads; range(1): 1 for the uniform partition (two ends).
void QorCubic(benchmark::State& state, int kind, int64_t bcType) {
    Data& d = data();
    const bool uniform = state.range(1) != 0;
    const double ends[2] = {d.x.front(), d.x.back()};
    qor_fit_task* task = nullptr;
    int status = qor_dfit_new_task(&task, kPoints, uniform ? ends : d.x.data(),
                                   uniform ? hintPartitionUniform : hintPartitionNonUniform, 1, d.y.data(),
                                   hintValuesDefault);
    if (status == 0) status = qor_dfit_edit_pp_spline(task, 4, 0, bcType, nullptr, 0, nullptr, d.cubic.data(), 0);
    qor_set_num_threads(static_cast<int>(state.range(0)));
    if (status == 0) measure(state, [&] { status |= qor_dfit_construct(task, kind, 0); });
    qor_set_num_threads(0);
    qor_fit_delete_task(&task);
    if (status != 0) state.SkipWithError("construction failed");
}
void QorNaturalCubic(benchmark::State& state) { QorCubic(state, QOR_FIT_NATURAL_CUBIC, bcFreeEnd); }
void QorAkimaCubic(benchmark::State& state) { QorCubic(state, QOR_FIT_AKIMA_CUBIC, 0); }

void GslInit(benchmark::State& state, const gsl_interp_type* type) {
    Data& d = data();
    gsl_interp* peer = gsl_interp_alloc(type, kPoints);
    measure(state, [&] { benchmark::DoNotOptimize(gsl_interp_init(peer, d.x.data(), d.y.data(), kPoints)); });
    gsl_interp_free(peer);
}
void BoostCardinalCubicBSpline(benchmark::State& state) {
    Data& d = data();
    const double step = (d.x.back() - d.x.front()) / double(kPoints - 1);
    measure(state, [&] {
        boost::math::interpolators::cardinal_cubic_b_spline<double> peer(d.y.data(), kPoints, d.x.front(), step);
        benchmark::DoNotOptimize(peer);
    });
}
void GslCspline(benchmark::State& state) { GslInit(state, gsl_interp_cspline); }
void GslAkima(benchmark::State& state) { GslInit(state, gsl_interp_akima); }

BENCHMARK(StreamingRead)->Unit(benchmark::kMicrosecond);
BENCHMARK(ValuesWrittenTwice)->Unit(benchmark::kMicrosecond);
BENCHMARK(PlainLoop)->Unit(benchmark::kMicrosecond);
BENCHMARK(QorLinear)->ArgNames({"threads", "uniform"})->ArgsProduct({{1, 2}, {0, 1}})->Unit(benchmark::kMicrosecond);
BENCHMARK(GslCspline)->Unit(benchmark::kMicrosecond);
BENCHMARK(BoostCardinalCubicBSpline)->Unit(benchmark::kMicrosecond);
BENCHMARK(QorNaturalCubic)->ArgNames({"threads", "uniform"})->Args({1, 0})->Args({1, 1})->Unit(benchmark::kMicrosecond);
BENCHMARK(GslAkima)->Unit(benchmark::kMicrosecond);
BENCHMARK(QorAkimaCubic)->ArgNames({"threads", "uniform"})->Args({1, 0})->Args({2, 0})->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
