// Streaming quantiles, the weighted median, pooled covariance and
// Mahalanobis distances beside plain peers measured in the same run:
// - nine deciles of 10^6 normal values fed to _rixdSSStreamQuantiles in
//   100 portions (eps 0.01 and 0.001), beside exact deciles by nine
//   std::nth_element calls on one copy; ns_per_value counts every value fed;
// - the weighted median of 10^6 values beside sorting (value, weight) pairs;
// - pooled covariance of 10^6 x 10 observations in 8 groups on one and two
//   threads, beside a plain two-pass loop over the groups;
// - Mahalanobis distances of 10^6 x 10 observations on one and two threads,
//   beside a plain loop over the inverse covariance.
// - robust covariance of 10^6 x 10 observations, 5% of them shifted away:
//   FAST-MCD, the translated-biweight S-estimate (from FAST-MCD) and BACON
//   on one and two threads; and 20 steps of the S-estimate from a given
//   start beside the same 20 steps written plainly with Eigen.
// ratio_vs_peer is the peer's time over qor's, on qor's rows.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <Eigen/Dense>
#include <boost/math/distributions/chi_squared.hpp>

#include "bench_util.h"
#include "peer_timing.h"
#include "qor/qor_ss.h"
#include "qor/qor_threading.h"

namespace {

using qor::bench::normal_values;
using qor::bench::peer_seconds;
using qor::bench::time_calls;

constexpr int64_t kValues = 1000000, kP = 10, kGroups = 8, kPortions = 100;

int one_thread() { return 1; }
int two_threads() { return 2; }
const qor_threading kThreads[2] = {{qor_rix_serv_threader_for, one_thread}, {qor_rix_serv_threader_for, two_threads}};

void report_ratio(benchmark::State& state, const std::string& peer, double seconds) {
    qor::bench::report_ratio(state, peer, seconds, "ratio_vs_peer");
}

void StdNthElementDeciles(benchmark::State& state) {
    const auto& x = normal_values(kValues);
    std::vector<double> work(x.size()), deciles(9);
    peer_seconds()["deciles"] = time_calls(state, [&] {
        std::copy(x.begin(), x.end(), work.begin());
        for (int j = 0; j < 9; ++j) {
            const double h = 0.1 * (j + 1) * double(kValues - 1);
            const int64_t k = int64_t(h);
            std::nth_element(work.begin(), work.begin() + k, work.end());
            const double above = *std::min_element(work.begin() + k + 1, work.end());
            deciles[j] = work[k] + (above - work[k]) * (h - double(k));
        }
        benchmark::DoNotOptimize(deciles.data());
    });
    state.counters["ns_per_value"] = peer_seconds()["deciles"] * 1e9 / double(kValues);
}

void QorStreamDeciles(benchmark::State& state) {
    const auto& x = normal_values(kValues);
    int64_t p = 1, n = kValues / kPortions, storage = SS_OBS_VARIABLES_IN_ROWS, m = 9, one = 1;
    double eps = 1.0 / double(state.range(0));
    std::vector<double> orders{0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9}, deciles(9);
    SSTask* task = nullptr;
    __rixdSSNewTask(&task, &p, &n, &storage, x.data(), nullptr, nullptr, 1);
    __rixdSSEditStreamQuantiles(task, &m, orders.data(), deciles.data(), &one, &eps);
    const double s = time_calls(state, [&] {
        for (int64_t c = 0; c < kPortions; ++c) {
            task->obs = const_cast<double*>(x.data() + c * n);
            _rixdSSStreamQuantiles(task, SS_EST_STREAM_QUANTILES, c == 0 ? SS_METHOD_STREAM_2 : SS_METHOD_STREAM_1,
                                   &kThreads[0]);
        }
        benchmark::DoNotOptimize(deciles.data());
    });
    __rixSSDeleteTask(&task);
    state.counters["ns_per_value"] = s * 1e9 / double(kValues);
    report_ratio(state, "deciles", s);
}

const std::vector<double>& weights() {
    static std::vector<double> w;
    if (w.empty()) {
        std::mt19937_64 g(7);
        for (int64_t j = 0; j < kValues; ++j) w.push_back(double(1 + g() % 10));
    }
    return w;
}

void SortWeightedMedian(benchmark::State& state) {
    const auto& x = normal_values(kValues);
    const auto& w = weights();
    std::vector<std::pair<double, double>> pairs(kValues);
    double result = 0;
    peer_seconds()["wmedian"] = time_calls(state, [&] {
        double total = 0;
        for (int64_t j = 0; j < kValues; ++j) pairs[j] = {x[j], w[j]}, total += w[j];
        std::sort(pairs.begin(), pairs.end());
        double c = 0;
        for (const auto& [v, weight] : pairs)
            if ((c += weight) >= total / 2) {
                result = v;
                break;
            }
        benchmark::DoNotOptimize(result);
    });
}

void QorWeightedMedian(benchmark::State& state) {
    const auto& x = normal_values(kValues);
    int64_t p = 1, n = kValues, storage = SS_OBS_VARIABLES_IN_ROWS;
    double result = 0;
    SSTask* task = nullptr;
    __rixdSSNewTask(&task, &p, &n, &storage, x.data(), weights().data(), nullptr, 1);
    task->quantiles = &result;
    const double s = time_calls(state, [&] {
        benchmark::DoNotOptimize(_rixdSSWMedian(task, SS_EST_WEIGHTED_MEDIAN, SS_METHOD_OBS_1, &kThreads[0]));
    });
    __rixSSDeleteTask(&task);
    report_ratio(state, "wmedian", s);
}

// 10^6 observations of kP variables, observations in rows, in kGroups groups.
const std::vector<double>& observations() { return normal_values(kValues * kP); }
const std::vector<int64_t>& groups() {
    static std::vector<int64_t> g;
    if (g.empty())
        for (int64_t j = 0; j < kValues; ++j) g.push_back((j * 7919) % kGroups);
    return g;
}

void PlainPooledCovariance(benchmark::State& state) {
    const auto& x = observations();
    const auto& group = groups();
    std::vector<double> means(kGroups * kP), counts(kGroups), cov(kP * kP);
    peer_seconds()["pooled"] = time_calls(state, [&] {
        std::fill(means.begin(), means.end(), 0.0), std::fill(counts.begin(), counts.end(), 0.0);
        std::fill(cov.begin(), cov.end(), 0.0);
        for (int64_t j = 0; j < kValues; ++j) {
            counts[group[j]] += 1;
            for (int64_t i = 0; i < kP; ++i) means[group[j] * kP + i] += x[j * kP + i];
        }
        for (int64_t g = 0; g < kGroups; ++g)
            for (int64_t i = 0; i < kP; ++i) means[g * kP + i] /= counts[g];
        double d[kP];
        for (int64_t j = 0; j < kValues; ++j) {
            for (int64_t i = 0; i < kP; ++i) d[i] = x[j * kP + i] - means[group[j] * kP + i];
            for (int64_t i = 0; i < kP; ++i)
                for (int64_t k = i; k < kP; ++k) cov[i * kP + k] += d[i] * d[k];
        }
        for (auto& c : cov) c /= double(kValues - kGroups);
        benchmark::DoNotOptimize(cov.data());
    });
}

void QorPooledCovariance(benchmark::State& state) {
    int64_t p = kP, n = kValues, storage = SS_OBS_OBSERVATIONS_IN_ROWS, full = SS_MATRIX_STORAGE_FULL;
    std::vector<double> mean(kP), cov(kP * kP);
    SSTask* task = nullptr;
    __rixdSSNewTask(&task, &p, &n, &storage, observations().data(), nullptr, nullptr, 1);
    __rixdSSEditPooledCovariance(task, groups().data(), mean.data(), cov.data(), nullptr, nullptr, nullptr);
    task->pooled_cov_storage = &full;
    const double s = time_calls(state, [&] {
        benchmark::DoNotOptimize(
            _rixdSSPooledCovariance(task, SS_EST_POOLED_COV, SS_METHOD_OBS_1, &kThreads[state.range(0) - 1]));
    });
    __rixSSDeleteTask(&task);
    report_ratio(state, "pooled", s);
}

// The covariance of the benchmark's data is close to the identity; any
// positive definite matrix serves.
std::vector<double> test_covariance() {
    std::vector<double> s(kP * kP);
    for (int64_t i = 0; i < kP; ++i)
        for (int64_t k = 0; k < kP; ++k) s[i * kP + k] = i == k ? 2.0 : 0.5;
    return s;
}

void PlainMahalanobis(benchmark::State& state) {
    const auto& x = observations();
    // The inverse of 1.5 I + 0.5 J: (I - 0.5 J / (1.5 + 0.5 kP)) / 1.5.
    std::vector<double> inverse(kP * kP), out(kValues);
    for (int64_t i = 0; i < kP; ++i)
        for (int64_t k = 0; k < kP; ++k) inverse[i * kP + k] = ((i == k) - 0.5 / (1.5 + 0.5 * kP)) / 1.5;
    peer_seconds()["mahalanobis"] = time_calls(state, [&] {
        for (int64_t j = 0; j < kValues; ++j) {
            const double* y = &x[j * kP];
            double sum = 0;
            for (int64_t i = 0; i < kP; ++i) {
                double row = 0;
                for (int64_t k = 0; k < kP; ++k) row += inverse[i * kP + k] * y[k];
                sum += y[i] * row;
            }
            out[j] = std::sqrt(sum);
        }
        benchmark::DoNotOptimize(out.data());
    });
}

void QorMahalanobis(benchmark::State& state) {
    int64_t p = kP, n = kValues, storage = SS_OBS_OBSERVATIONS_IN_ROWS, full = SS_MATRIX_STORAGE_FULL;
    std::vector<double> mean(kP, 0.0), cov = test_covariance(), out(kValues);
    SSTask* task = nullptr;
    __rixdSSNewTask(&task, &p, &n, &storage, observations().data(), nullptr, nullptr, 1);
    task->mean = mean.data(), task->cov = cov.data(), task->cov_storage = &full;
    task->mahal_inputs[SS_MAHAL_DISTANCES] = reinterpret_cast<uintptr_t>(out.data());
    task->mahal_inputs[SS_MAHAL_DISTANCE_COUNT] = reinterpret_cast<uintptr_t>(&n);
    const double s = time_calls(state, [&] {
        benchmark::DoNotOptimize(
            _rixdSSMahDistance(task, SS_EST_MAHALANOBIS, SS_METHOD_OBS_1, &kThreads[state.range(0) - 1]));
    });
    __rixSSDeleteTask(&task);
    report_ratio(state, "mahalanobis", s);
}

// 10^6 x kP normal observations, every 20th shifted by 6 in each variable.
const std::vector<double>& contaminated() {
    static std::vector<double> x;
    if (x.empty()) {
        x = observations();
        for (int64_t j = 0; j < kValues; j += 20)
            for (int64_t i = 0; i < kP; ++i) x[j * kP + i] += 6;
    }
    return x;
}

// A task over the contaminated data with the robust outputs and parameters.
struct RobustTask {
    int64_t p = kP, n = kValues, storage = SS_OBS_OBSERVATIONS_IN_ROWS, full = SS_MATRIX_STORAGE_FULL, count;
    std::vector<double> params, mean = std::vector<double>(kP), cov = std::vector<double>(kP * kP),
                                weights = std::vector<double>(kValues);
    SSTask* task = nullptr;
    explicit RobustTask(std::vector<double> rcov = {}) : count(int64_t(rcov.size())), params(std::move(rcov)) {
        params.push_back(0);
        __rixdSSNewTask(&task, &p, &n, &storage, contaminated().data(), nullptr, nullptr, 1);
        __rixdSSEditRCov(task, &full, &count, params.data(), mean.data(), cov.data());
        static const int64_t none = 0;
        __rixdSSEditOutDetect(task, &none, nullptr, weights.data());
    }
    ~RobustTask() { __rixSSDeleteTask(&task); }
};

void QorRobust(benchmark::State& state, int method) {
    RobustTask t;
    const qor_threading* threads = &kThreads[state.range(0) - 1];
    time_calls(state, [&] {
        benchmark::DoNotOptimize(method == SS_METHOD_BACON
                                     ? _rixdSSOutlierDetection(t.task, SS_EST_OUTLIERS, method, threads)
                                     : _rixdSSRobustCovariance(t.task, SS_EST_ROBUST_COV, method, threads));
    });
}
void QorFastMcd(benchmark::State& state) { QorRobust(state, SS_METHOD_FAST_MCD); }
void QorTbs(benchmark::State& state) { QorRobust(state, SS_METHOD_TBS); }
void QorBacon(benchmark::State& state) { QorRobust(state, SS_METHOD_BACON); }

// The start both S-estimate timings share: the FAST-MCD fit, made once.
const std::vector<double>& tbs_start() {
    static std::vector<double> start;
    if (start.empty()) {
        RobustTask t;
        _rixdSSRobustCovariance(t.task, SS_EST_ROBUST_COV, SS_METHOD_FAST_MCD, &kThreads[1]);
        start = t.mean;
        start.insert(start.end(), t.cov.begin(), t.cov.end());
    }
    return start;
}

constexpr int kTbsSteps = 20;

// The same iteration as the library's, written plainly with Eigen, the
// translated biweight's constants for breakdown 0.5 and rejection 0.001
// found again with Boost's chi-square distribution.
struct PlainBiweight {
    double m, c;
    double weight(double d) const {
        if (d < m) return 1;
        const double t = (d - m) / c;
        return t >= 1 ? 0 : (1 - t * t) * (1 - t * t);
    }
    double rho(double d) const {
        if (d < m) return d * d / 2;
        const double t = std::min(d - m, c), c2 = c * c, c4 = c2 * c2;
        return m * m / 2 + t * t / 2 - std::pow(t, 4) / (2 * c2) + std::pow(t, 6) / (6 * c4) + m * t -
               2 * m * std::pow(t, 3) / (3 * c2) + m * std::pow(t, 5) / (5 * c4);
    }
    // E rho(d) for d^2 chi-square(kP), by a midpoint sum.
    double expected() const {
        const boost::math::chi_squared chi(kP);
        const double top = m + c, step = top / 4000;
        double e = rho(top) * boost::math::cdf(boost::math::complement(chi, top * top));
        for (int k = 0; k < 4000; ++k) {
            const double d = (k + 0.5) * step;
            e += rho(d) * boost::math::pdf(chi, d * d) * 2 * d * step;
        }
        return e;
    }
};

PlainBiweight plain_constants() {
    const double top = std::sqrt(boost::math::quantile(boost::math::chi_squared(kP), 0.999));
    auto share = [&](double c) { const PlainBiweight b{top - c, c}; return b.expected() / b.rho(top); };
    if (share(top) <= 0.5) return {0, top};
    double lo = 0, hi = top;
    for (int k = 0; k < 60; ++k) (share(0.5 * (lo + hi)) < 0.5 ? lo : hi) = 0.5 * (lo + hi);
    return {top - 0.5 * (lo + hi), 0.5 * (lo + hi)};
}

void EigenTbsSteps(benchmark::State& state) {
    using Matrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
    const Eigen::Map<const Matrix> x(contaminated().data(), kValues, kP);
    const auto& start = tbs_start();
    const PlainBiweight b = plain_constants();
    const double target = b.expected();
    Eigen::VectorXd d(kValues), u(kValues);
    peer_seconds()["tbs"] = time_calls(state, [&] {
        Eigen::RowVectorXd mean = Eigen::Map<const Eigen::RowVectorXd>(start.data(), kP);
        Eigen::MatrixXd cov = Eigen::Map<const Eigen::MatrixXd>(start.data() + kP, kP, kP);
        for (int it = 0; it < kTbsSteps; ++it) {
            const Eigen::LLT<Eigen::MatrixXd> llt(cov);
            const Eigen::MatrixXd z = llt.matrixL().solve((x.rowwise() - mean).transpose());
            d = z.colwise().norm().transpose();
            double lo = -1, hi = 1;
            auto f = [&](double lk) {
                const double k = std::exp(lk);
                double s = 0;
                for (int64_t j = 0; j < kValues; ++j) s += b.rho(d[j] / k);
                return s / kValues - target;
            };
            while (f(hi) > 0) hi += 1;
            while (f(lo) < 0) lo -= 1;
            for (int k = 0; k < 12; ++k) {
                const double mid = 0.5 * (lo + hi);
                (f(mid) > 0 ? lo : hi) = mid;
            }
            const double k = std::exp(0.5 * (lo + hi));
            d /= k;
            for (int64_t j = 0; j < kValues; ++j) u[j] = b.weight(d[j]);
            mean = (u.transpose() * x) / u.sum();
            const Matrix centred = x.rowwise() - mean;
            cov = kP * (centred.transpose() * u.asDiagonal() * centred) / u.dot(d.cwiseProduct(d));
        }
        benchmark::DoNotOptimize(cov.data());
    });
}

void QorTbsSteps(benchmark::State& state) {
    RobustTask t({0.5, 0.001, 1e-300, kTbsSteps + 1, 500, 1, 1, 1});  // kTbsSteps updates
    const auto& start = tbs_start();
    const double s = time_calls(state, [&] {
        std::copy(start.begin(), start.begin() + kP, t.mean.begin());
        std::copy(start.begin() + kP, start.end(), t.cov.begin());
        benchmark::DoNotOptimize(_rixdSSRobustCovariance(t.task, SS_EST_ROBUST_COV, SS_METHOD_TBS, &kThreads[state.range(0) - 1]));
    });
    report_ratio(state, "tbs", s);
}

}  // namespace

BENCHMARK(StdNthElementDeciles)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(QorStreamDeciles)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(SortWeightedMedian)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(QorWeightedMedian)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(PlainPooledCovariance)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(QorPooledCovariance)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(PlainMahalanobis)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(QorMahalanobis)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK(QorFastMcd)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(QorTbs)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(QorBacon)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(EigenTbsSteps)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(QorTbsSteps)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

BENCHMARK_MAIN();
