// Cubic spline values at 10^7 sites, sorted and random, over a natural cubic
// spline through nx = 10^3 and 10^6 points of sin on a non-uniform
// partition.  The peer, in the same run, is GSL's cspline (the same natural
// cubic) evaluated by gsl_spline_eval with an accelerator, site after site.
// qor evaluates the coefficients of its layout, solved here from the same
// data, through the interpolation entry on one thread (and on all, for the
// record).  Counters: ns_per_site, and vs_gsl, GSL's time over qor's
// (above 1: qor is faster); max_diff is the largest difference between the
// two at the sites, a check that both compute the same spline.  Times are
// the thread's processor time (a shared machine's other work does not
// count), wall time for the runs on all threads.
// BuildAndEvaluate times qor's own natural cubic construction plus the
// values at 10^6 sites against GSL's initialisation plus evaluation.
#include <gsl/gsl_spline.h>

#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

#include "bench_util.h"
#include "qor/qor.h"

namespace {

constexpr int64_t kSites = 10000000;

struct Data {
    std::vector<double> x, y, c, random, sorted, out;
    gsl_spline* spline = nullptr;
    FitTask* task = nullptr;
};

// Natural cubic coefficients (value, slope, half curvature, third) per
// interval from the second derivatives of the tridiagonal system.
std::vector<double> natural_cubic(const std::vector<double>& x, const std::vector<double>& y) {
    const size_t n = x.size();
    std::vector<double> m(n, 0.0), diag(n, 0.0), rhs(n, 0.0), c;
    for (size_t i = 1; i + 1 < n; ++i) {
        const double h0 = x[i] - x[i - 1], h1 = x[i + 1] - x[i];
        diag[i] = 2 * (h0 + h1);
        rhs[i] = 6 * ((y[i + 1] - y[i]) / h1 - (y[i] - y[i - 1]) / h0);
        if (i > 1) {  // eliminate the sub-diagonal h0
            const double f = h0 / diag[i - 1];
            diag[i] -= f * h0;
            rhs[i] -= f * rhs[i - 1];
        }
    }
    for (size_t i = n - 2; i >= 1; --i) m[i] = (rhs[i] - (x[i + 1] - x[i]) * m[i + 1]) / diag[i];
    for (size_t i = 0; i + 1 < n; ++i) {
        const double h = x[i + 1] - x[i];
        c.insert(c.end(), {y[i], (y[i + 1] - y[i]) / h - h * (2 * m[i] + m[i + 1]) / 6, m[i] / 2,
                           (m[i + 1] - m[i]) / (6 * h)});
    }
    return c;
}

Data& data(int64_t nx) {
    static std::map<int64_t, Data> held;
    Data& d = held[nx];
    if (d.task) return d;
    std::mt19937_64 g(20261124);
    std::uniform_real_distribution<double> u(0, 1);
    for (int64_t i = 0; i < nx; ++i) d.x.push_back(i ? d.x.back() + 0.5 + u(g) : 0.0);
    for (double& t : d.x) t *= 10 / d.x.back();
    for (double t : d.x) d.y.push_back(std::sin(t));
    d.c = natural_cubic(d.x, d.y);
    for (int64_t i = 0; i < kSites; ++i) d.random.push_back(10 * u(g));
    d.sorted = d.random;
    std::sort(d.sorted.begin(), d.sorted.end());
    d.out.resize(kSites);
    d.spline = gsl_spline_alloc(gsl_interp_cspline, nx);
    gsl_spline_init(d.spline, d.x.data(), d.y.data(), nx);
    qor_kp_kernel_dNewTask1D(&d.task, nx, d.x.data(), hintPartitionNonUniform, 1, d.y.data(), hintValuesDefault, 1);
    qor_kp_kernel_dEditPPSpline1D(d.task, 4, 0, 0, nullptr, 0, nullptr, d.c.data(), hintValuesDefault);
    return d;
}

int limit_one() { return 1; }
const qor_threading kOneThread{qor_rix_serv_threader_for, limit_one};
const qor_threading kAllThreads{qor_rix_serv_threader_for, qor_rix_serv_threader_get_num_threads_limit};

void gsl_values(Data& d, const std::vector<double>& site, double* out) {
    gsl_interp_accel* acc = gsl_interp_accel_alloc();
    for (int64_t i = 0; i < kSites; ++i) out[i] = gsl_spline_eval(d.spline, site[i], acc);
    gsl_interp_accel_free(acc);
}

int32_t qor_values(Data& d, const std::vector<double>& site, bool sorted, const qor_threading* threading) {
    const int64_t values[1] = {1};
    return qor_kp_kernel_dInterpolate1D(d.task, computeValues, 0, kSites, site.data(), sorted ? hintSitesSorted : 0,
                                        1, values, nullptr, d.out.data(), hintResultByFunction, nullptr, threading);
}

// Seconds of call(): the calling thread's processor time, which a busy
// machine's other work does not inflate, or (wall) the elapsed time, for
// runs on several threads.
template <class Call>
double seconds(Call call, bool wall = false) {
    timespec t0, t1;
    const clockid_t clock = wall ? CLOCK_MONOTONIC : CLOCK_THREAD_CPUTIME_ID;
    clock_gettime(clock, &t0);
    call();
    clock_gettime(clock, &t1);
    return double(t1.tv_sec - t0.tv_sec) + 1e-9 * double(t1.tv_nsec - t0.tv_nsec);
}

void report(benchmark::State& state, double total) {
    state.counters["ns_per_site"] = total / double(state.iterations()) / kSites * 1e9;
    state.SetItemsProcessed(state.iterations() * kSites);
}

// state.range(0): nx; range(1): 1 for sorted sites; range(2): 0 one thread, 1 all.
void Qor(benchmark::State& state) {
    Data& d = data(state.range(0));
    const bool sorted = state.range(1);
    const std::vector<double>& site = sorted ? d.sorted : d.random;
    const bool threads = state.range(2);
    const qor_threading* threading = threads ? &kAllThreads : &kOneThread;
    double total = 0;
    for (auto _ : state)
        total += seconds([&] { benchmark::DoNotOptimize(qor_values(d, site, sorted, threading)); }, threads);
    report(state, total);
    // The peer once, in this run, and the largest difference between the two.
    std::vector<double> peer(kSites);
    const double gsl = seconds([&] { gsl_values(d, site, peer.data()); }, threads);
    double diff = 0;
    for (int64_t i = 0; i < kSites; ++i) diff = std::max(diff, std::abs(peer[i] - d.out[i]));
    state.counters["vs_gsl"] = gsl / (total / double(state.iterations()));
    state.counters["max_diff"] = diff;
}

void Gsl(benchmark::State& state) {
    Data& d = data(state.range(0));
    const std::vector<double>& site = state.range(1) ? d.sorted : d.random;
    double total = 0;
    for (auto _ : state) total += seconds([&] { gsl_values(d, site, d.out.data()); });
    report(state, total);
}

// Construction and evaluation together, on one thread: qor's natural cubic
// (boundary condition 1) built and evaluated at 10^6 sites against
// gsl_spline_init and gsl_spline_eval.  Reported as failed where the kernel
// set builds no cubic splines.  range(0): nx; range(1): 1 for sorted sites.
void BuildAndEvaluate(benchmark::State& state) {
    Data& d = data(state.range(0));
    const bool sorted = state.range(1);
    constexpr int64_t kFew = 1000000;
    std::vector<double> site(kFew), c(d.c.size()), out(kFew);
    std::copy_n((sorted ? d.sorted : d.random).begin(), kFew, site.begin());
    if (sorted) std::sort(site.begin(), site.end());
    const int64_t nx = state.range(0), values[1] = {1};
    FitTask* task = nullptr;
    qor_kp_kernel_dNewTask1D(&task, nx, d.x.data(), hintPartitionNonUniform, 1, d.y.data(), hintValuesDefault, 1);
    qor_kp_kernel_dEditPPSpline1D(task, 4, 0, 1, nullptr, 0, nullptr, c.data(), hintValuesDefault);
    double total = 0;
    for (auto _ : state) {
        int32_t status = 0;
        total += seconds([&] {
            status = qor_kp_kernel_dKPNaturalCubicSpline1D(task, 0, 0, &kOneThread);
            if (status == 0)
                status = qor_kp_kernel_dInterpolate1D(task, computeValues, 0, kFew, site.data(),
                                                      sorted ? hintSitesSorted : 0, 1, values, nullptr, out.data(),
                                                      hintResultByFunction, nullptr, &kOneThread);
        });
        if (status != 0) {
            state.SkipWithError("no natural cubic construction in this kernel set");
            break;
        }
    }
    qor_kp_kernel_DeleteTask(&task);
    if (state.error_occurred()) return;
    std::vector<double> peer(kFew);
    const double gsl = seconds([&] {
        gsl_spline* spline = gsl_spline_alloc(gsl_interp_cspline, nx);
        gsl_interp_accel* acc = gsl_interp_accel_alloc();
        gsl_spline_init(spline, d.x.data(), d.y.data(), nx);
        for (int64_t i = 0; i < kFew; ++i) peer[i] = gsl_spline_eval(spline, site[i], acc);
        gsl_interp_accel_free(acc);
        gsl_spline_free(spline);
    });
    double diff = 0;
    for (int64_t i = 0; i < kFew; ++i) diff = std::max(diff, std::abs(peer[i] - out[i]));
    state.counters["ms"] = total / double(state.iterations()) * 1e3;
    state.counters["gsl_ms"] = gsl * 1e3;
    state.counters["vs_gsl"] = gsl / (total / double(state.iterations()));
    state.counters["max_diff"] = diff;
}

}  // namespace

BENCHMARK(BuildAndEvaluate)->ArgsProduct({{1000, 1000000}, {1, 0}})->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Qor)->ArgsProduct({{1000, 1000000}, {1, 0}, {0, 1}})->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Gsl)->ArgsProduct({{1000, 1000000}, {1, 0}})->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
