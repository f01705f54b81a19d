// Basic statistics: mean and variance, and the four moments, of 10^7
// doubles; the covariance of 10^6 observations of 20 and of 200 variables
// (observations in rows).  qor runs on 1 and on 2 threads; the peers, in the
// same run, are a streaming read of the data (a plain sum: the limit of any
// pass over it), a plain two-pass loop, GSL's statistics and Eigen's
// centred product.  Counters: items are values read per second, and
// read_ratio is the time of one call over the time of one streaming read of
// the same data.
#include <gsl/gsl_statistics_double.h>

#include <Eigen/Dense>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bench_util.h"
#include "read_ratio.h"
#include "qor/qor.h"

namespace {


constexpr int64_t kValues = 10000000;
constexpr int64_t kObservations = 1000000;

// One data set of rows x columns uniforms on [0, 1), observations in rows;
// the last one asked for is kept, so the benchmarks of one shape share it
// and a 1.6 GB set is never held beside another.
const std::vector<double>& data(int64_t rows, int64_t columns) {
    static std::unique_ptr<std::vector<double>> held;
    static int64_t held_rows = 0, held_columns = 0;
    if (!held || held_rows != rows || held_columns != columns) {
        held.reset();
        held = std::make_unique<std::vector<double>>(
            qor::bench::uniform_array<double>(static_cast<std::size_t>(rows * columns), 0.0, 1.0, 20240601));
        held_rows = rows;
        held_columns = columns;
    }
    return *held;
}

using qor::bench::measure_against_read;
using qor::bench::streaming_sum;

// ---- Peers ---------------------------------------------------------------------

void StreamingRead(benchmark::State& state) {
    const auto& x = data(kValues, 1);
    measure_against_read(state, x, [&] { benchmark::DoNotOptimize(streaming_sum(x)); });
}

void TwoPassMeanVariance(benchmark::State& state) {
    const auto& x = data(kValues, 1);
    measure_against_read(state, x, [&] {
        const double mean = streaming_sum(x) / double(x.size());
        double ss = 0;
        for (double v : x) ss += (v - mean) * (v - mean);
        benchmark::DoNotOptimize(ss / double(x.size() - 1));
    });
}

void TwoPassFourMoments(benchmark::State& state) {
    const auto& x = data(kValues, 1);
    measure_against_read(state, x, [&] {
        const double mean = streaming_sum(x) / double(x.size());
        double m2 = 0, m3 = 0, m4 = 0;
        for (double v : x) {
            const double d = v - mean, d2 = d * d;
            m2 += d2;
            m3 += d2 * d;
            m4 += d2 * d2;
        }
        benchmark::DoNotOptimize(m2 + m3 + m4);
    });
}

void GslMeanVariance(benchmark::State& state) {
    const auto& x = data(kValues, 1);
    measure_against_read(state, x, [&] {
        const double mean = gsl_stats_mean(x.data(), 1, x.size());
        benchmark::DoNotOptimize(gsl_stats_variance_m(x.data(), 1, x.size(), mean));
    });
}

void GslFourMoments(benchmark::State& state) {
    const auto& x = data(kValues, 1);
    measure_against_read(state, x, [&] {
        const double mean = gsl_stats_mean(x.data(), 1, x.size());
        const double sd = std::sqrt(gsl_stats_variance_m(x.data(), 1, x.size(), mean));
        benchmark::DoNotOptimize(gsl_stats_skew_m_sd(x.data(), 1, x.size(), mean, sd));
        benchmark::DoNotOptimize(gsl_stats_kurtosis_m_sd(x.data(), 1, x.size(), mean, sd));
    });
}

void EigenCovariance(benchmark::State& state) {
    const int64_t p = state.range(0);
    const auto& x = data(kObservations, p);
    using Rows = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
    const Eigen::Map<const Rows> X(x.data(), kObservations, p);
    Rows centred(kObservations, p);  // made once, so no iteration pays for the allocation
    Eigen::MatrixXd cov(p, p);
    measure_against_read(state, x, [&] {
        const Eigen::RowVectorXd mean = X.colwise().mean();
        centred = X.rowwise() - mean;
        cov.noalias() = centred.transpose() * centred / double(kObservations - 1);
        benchmark::DoNotOptimize(cov.data());
    });
}

// ---- qor -------------------------------------------------------------------------

// A double task over p variables of n observations in rows, with every array
// basic statistics may need for the estimates of these benchmarks.
struct Task {
    int64_t p, n, storage = SS_OBS_OBSERVATIONS_IN_ROWS, full = SS_MATRIX_STORAGE_FULL;
    std::vector<double> mean, raw2, raw3, raw4, c2, c3, c4, skewness, kurtosis, cov;
    double weights[2] = {0, 0};
    qor_ss_task* task = nullptr;
    int status;

    Task(const std::vector<double>& x, int64_t p_, int64_t n_)
        : p(p_), n(n_), mean(p), raw2(p), raw3(p), raw4(p), c2(p), c3(p), c4(p), skewness(p), kurtosis(p),
          cov(p * p) {
        status = qor_dss_new_task(&task, &p, &n, &storage, x.data(), nullptr, nullptr);
        if (status == SS_OK)
            status = qor_dss_edit_moments(task, mean.data(), raw2.data(), raw3.data(), raw4.data(), c2.data(),
                                          c3.data(), c4.data());
        if (status == SS_OK) status = qor_dss_edit_cov_cor(task, nullptr, cov.data(), &full, nullptr, nullptr);
        if (status == SS_OK) status = qor_dss_edit_task(task, SS_PARAM_SKEWNESS, skewness.data());
        if (status == SS_OK) status = qor_dss_edit_task(task, SS_PARAM_KURTOSIS, kurtosis.data());
        if (status == SS_OK) status = qor_dss_edit_task(task, SS_PARAM_ACC_WEIGHTS, weights);
    }
    ~Task() { qor_ss_delete_task(&task); }
};

// One basic-statistics call per iteration, started over each time, on
// state.range(0) threads.
void run_basic(benchmark::State& state, const std::vector<double>& x, int64_t p, int64_t n, uint64_t estimates) {
    Task t(x, p, n);
    qor_set_num_threads(static_cast<int>(state.range(0)));
    measure_against_read(state, x, [&] {
        t.weights[0] = t.weights[1] = 0;
        if (t.status == SS_OK) t.status = qor_dss_basic(t.task, estimates, SS_METHOD_OBS_2);
    });
    qor_set_num_threads(0);
    if (t.status != SS_OK) state.SkipWithError(("status " + std::to_string(t.status)).c_str());
}

void QorMeanVariance(benchmark::State& state) {
    run_basic(state, data(kValues, 1), 1, kValues, SS_EST_MEAN | SS_EST_CENTRAL_MOMENT2);
}

void QorFourMoments(benchmark::State& state) {
    run_basic(state, data(kValues, 1), 1, kValues,
              SS_EST_MEAN | SS_EST_CENTRAL_MOMENT2 | SS_EST_SKEWNESS | SS_EST_KURTOSIS);
}

void QorCovariance20(benchmark::State& state) {
    run_basic(state, data(kObservations, 20), 20, kObservations, SS_EST_MEAN | SS_EST_COV);
}

void QorCovariance200(benchmark::State& state) {
    run_basic(state, data(kObservations, 200), 200, kObservations, SS_EST_MEAN | SS_EST_COV);
}

// Grouped by data shape, so that each set is made once.
#define QOR_BENCH_STATS(f) BENCHMARK(f)->Unit(benchmark::kMillisecond)->UseRealTime()
QOR_BENCH_STATS(StreamingRead);
QOR_BENCH_STATS(TwoPassMeanVariance);
QOR_BENCH_STATS(GslMeanVariance);
QOR_BENCH_STATS(QorMeanVariance)->Arg(1)->Arg(2);
QOR_BENCH_STATS(TwoPassFourMoments);
QOR_BENCH_STATS(GslFourMoments);
QOR_BENCH_STATS(QorFourMoments)->Arg(1)->Arg(2);
QOR_BENCH_STATS(EigenCovariance)->Arg(20);
QOR_BENCH_STATS(QorCovariance20)->Arg(1)->Arg(2);
QOR_BENCH_STATS(EigenCovariance)->Arg(200);
QOR_BENCH_STATS(QorCovariance200)->Arg(1)->Arg(2);

}  // namespace

BENCHMARK_MAIN();
