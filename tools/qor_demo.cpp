// The demonstration: what qor is, what it found on this machine, and its
// kernels at work on large arrays beside the plain scalar loops a user
// would otherwise write.
#include <x86intrin.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "qor/qor.h"
#include "scalar_loops.h"

namespace {

constexpr int kN = 1 << 20;
constexpr int kRepeats = 7;

using UnaryS = void (*)(int, const float*, float*);
using UnaryD = void (*)(int, const double*, double*);
using BinaryS = void (*)(int, const float*, const float*, float*);
using BinaryD = void (*)(int, const double*, const double*, double*);

// One function of the demonstration: qor's public entry and its scalar peer.
struct Pair {
    std::string name;
    void* qor;
    void* peer;
    bool binary;
};

std::vector<Pair> pairs() {
    std::map<std::string, void*> peers;
#define QOR_DEMO_PEER_UNARY(Fn, expr)                                     \
    peers["s" #Fn] = reinterpret_cast<void*>(&qor::bench::scalar_s##Fn); \
    peers["d" #Fn] = reinterpret_cast<void*>(&qor::bench::scalar_d##Fn);
    QOR_BENCH_UNARY(QOR_DEMO_PEER_UNARY)
    QOR_BENCH_BINARY(QOR_DEMO_PEER_UNARY)
    std::vector<Pair> out;
#define QOR_DEMO_ROW(p, Fn, kind)                                                                      \
    if (peers.count(#p #Fn) && (std::strcmp(#kind, "unary") == 0 || std::strcmp(#kind, "binary") == 0)) \
        out.push_back({#p #Fn, reinterpret_cast<void*>(&qor_v##p##Fn), peers[#p #Fn],                    \
                       std::strcmp(#kind, "binary") == 0});
#define QOR_VM_ROW(p, Fn, kind, share, on, ...) QOR_VM_IF_ON(on, QOR_DEMO_ROW(p, Fn, kind))
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
    return out;
}

template <class Call>
double best_ticks(Call call) {
    uint64_t best = ~uint64_t{0};
    for (int i = 0; i < kRepeats; ++i) {
        uint64_t t0 = __rdtsc();
        call();
        best = std::min<uint64_t>(best, __rdtsc() - t0);
    }
    return double(best);
}

template <class T>
int64_t ulp_distance(T x, T y) {
    if (std::isnan(x) && std::isnan(y)) return 0;
    if (x == y) return 0;
    using I = std::conditional_t<sizeof(T) == 4, int32_t, int64_t>;
    I a, b;
    std::memcpy(&a, &x, sizeof a);
    std::memcpy(&b, &y, sizeof b);
    if (a < 0) a = std::numeric_limits<I>::min() - a;
    if (b < 0) b = std::numeric_limits<I>::min() - b;
    return std::abs(int64_t(a) - int64_t(b));
}

template <class T>
void run_pair(const Pair& p) {
    std::mt19937_64 gen(42);
    std::uniform_real_distribution<double> dist(0.001, 1000.0);
    std::vector<T> a(kN), b(kN), r(kN), s(kN);
    for (int i = 0; i < kN; ++i) {
        a[i] = T(dist(gen));
        b[i] = T(dist(gen));
    }
    double tq, ts;
    if (p.binary) {
        auto q = reinterpret_cast<void (*)(int64_t, const T*, const T*, T*)>(p.qor);
        auto c = reinterpret_cast<void (*)(int, const T*, const T*, T*)>(p.peer);
        tq = best_ticks([&] { q(kN, a.data(), b.data(), r.data()); });
        ts = best_ticks([&] { c(kN, a.data(), b.data(), s.data()); });
    } else {
        auto q = reinterpret_cast<void (*)(int64_t, const T*, T*)>(p.qor);
        auto c = reinterpret_cast<void (*)(int, const T*, T*)>(p.peer);
        tq = best_ticks([&] { q(kN, a.data(), r.data()); });
        ts = best_ticks([&] { c(kN, a.data(), s.data()); });
    }
    int64_t worst = 0;
    for (int i = 0; i < kN; ++i) worst = std::max(worst, ulp_distance(r[i], s[i]));
    std::printf("  %-12s %8.3f %8.3f %7.2fx %10lld\n", p.name.c_str(), tq / kN, ts / kN, ts / tq,
                static_cast<long long>(worst));
}

// A stream of MCG31m1 uniforms on [0, 1): moments of a large block and the
// fill rate beside the standard library's minimal-standard generator.
void random_numbers() {
    std::printf("\nRandom numbers: an MCG31m1 stream, %d uniforms on [0, 1)\n", kN);
    qor_rng_stream* stream = nullptr;
    int status = qor_rng_new_stream(&stream, QOR_RNG_BRNG_MCG31M1, 7777777);
    if (status != QOR_RNG_STATUS_OK) {
        std::printf("  stream creation failed: %d\n", status);
        return;
    }
    std::vector<double> u(kN);
    status = qor_vdRngUniform(QOR_RNG_METHOD_UNIFORM_STD, stream, kN, u.data(), 0.0, 1.0);
    std::printf("  status %d, first three %.17g %.17g %.17g\n", status, u[0], u[1], u[2]);
    double mean = 0, m2 = 0;
    for (int i = 0; i < kN; ++i) {
        double d = u[i] - mean;
        mean += d / (i + 1);
        m2 += d * (u[i] - mean);
    }
    std::printf("  mean %.6f (expected 0.5), variance %.6f (expected %.6f)\n", mean, m2 / (kN - 1), 1.0 / 12);
    double ticks = best_ticks([&] { qor_vdRngUniform(QOR_RNG_METHOD_UNIFORM_STD, stream, kN, u.data(), 0.0, 1.0); });
    std::minstd_rand peer(7777777);
    std::uniform_real_distribution<double> dist(0.0, 1.0);
    double peer_ticks = best_ticks([&] {
        for (double& x : u) x = dist(peer);
    });
    std::printf("  %.2f ticks per number; std::minstd_rand + uniform_real_distribution %.2f (%.1fx)\n", ticks / kN,
                peer_ticks / kN, peer_ticks / ticks);
    qor_rng_delete_stream(&stream);
}

// Moments of 10^7 MCG31m1 uniforms on [0, 1) in one basic-statistics call,
// on one thread and on all, beside the exact values of the distribution.
void summary_statistics() {
    constexpr int64_t kCount = 10000000;
    std::printf("\nSummary statistics: %lld MCG31m1 uniforms on [0, 1), one qor_dss_basic call\n",
                static_cast<long long>(kCount));
    std::vector<double> u(kCount);
    qor_rng_stream* stream = nullptr;
    int status = qor_rng_new_stream(&stream, QOR_RNG_BRNG_MCG31M1, 7777777);
    if (status == QOR_RNG_STATUS_OK)
        status = qor_vdRngUniform(QOR_RNG_METHOD_UNIFORM_STD, stream, kCount, u.data(), 0.0, 1.0);
    qor_rng_delete_stream(&stream);
    if (status != QOR_RNG_STATUS_OK) {
        std::printf("  drawing the numbers failed: %d\n", status);
        return;
    }

    int64_t p = 1, n = kCount, storage = SS_OBS_VARIABLES_IN_ROWS, full = SS_MATRIX_STORAGE_FULL;
    double mean, raw[3], central[3], variance, skewness, kurtosis, variation, weights[2];
    qor_ss_task* task = nullptr;
    status = qor_dss_new_task(&task, &p, &n, &storage, u.data(), nullptr, nullptr);
    // Kurtosis, skewness and the variation coefficient are formed from the
    // raw and central moments, which are registered too.
    if (status == SS_OK)
        status = qor_dss_edit_moments(task, &mean, &raw[0], &raw[1], &raw[2], &central[0], &central[1], &central[2]);
    if (status == SS_OK) status = qor_dss_edit_cov_cor(task, nullptr, &variance, &full, nullptr, nullptr);
    if (status == SS_OK) status = qor_dss_edit_task(task, SS_PARAM_SKEWNESS, &skewness);
    if (status == SS_OK) status = qor_dss_edit_task(task, SS_PARAM_KURTOSIS, &kurtosis);
    if (status == SS_OK) status = qor_dss_edit_task(task, SS_PARAM_VARIATION, &variation);
    if (status == SS_OK) status = qor_dss_edit_task(task, SS_PARAM_ACC_WEIGHTS, weights);
    const uint64_t estimates = SS_EST_MEAN | SS_EST_COV | SS_EST_SKEWNESS | SS_EST_KURTOSIS | SS_EST_VARIATION;
    const int all = qor_get_max_threads();
    for (int threads : {1, all}) {
        if (status != SS_OK) break;
        weights[0] = weights[1] = 0;  // start over
        qor_set_num_threads(threads);
        const auto t0 = std::chrono::steady_clock::now();
        status = qor_dss_basic(task, estimates, SS_METHOD_OBS_1);
        const std::chrono::duration<double, std::milli> ms = std::chrono::steady_clock::now() - t0;
        std::printf("  %d thread%s %8.1f ms\n", threads, threads == 1 ? " " : "s", ms.count());
        if (threads == all) break;
    }
    qor_set_num_threads(0);
    qor_ss_delete_task(&task);
    if (status != SS_OK) {
        std::printf("  status %d\n", status);
        return;
    }
    std::printf("  %-24s %12s %12s\n", "estimate", "qor", "exact");
    const struct { const char* name; double value, exact; } rows[] = {
        {"mean", mean, 0.5},
        {"variance", variance, 1.0 / 12},
        {"skewness", skewness, 0.0},
        {"excess kurtosis", kurtosis, -1.2},
        {"variation coefficient", variation, 1 / std::sqrt(3.0)},
    };
    for (const auto& r : rows) std::printf("  %-24s %12.6f %12.6f\n", r.name, r.value, r.exact);
}

// A linear spline through 10^6 points of sin on a non-uniform partition of
// [0, 10]: construction rate, then the cells of 10^7 uniform sites and the
// spline at a few of them beside sin itself.
void data_fitting() {
    constexpr int64_t kPoints = 1000000, kSites = 10000000;
    std::printf("\nData fitting: a linear spline through %lld points of sin on [0, 10], %lld sites located\n",
                static_cast<long long>(kPoints), static_cast<long long>(kSites));
    std::vector<double> x(kPoints), y(kPoints), c(2 * (kPoints - 1)), site(kSites);
    std::vector<int64_t> cell(kSites);
    for (int64_t i = 0; i < kPoints; ++i) {
        x[i] = 10.0 * (i + 0.3 * std::sin(double(i)) * (i > 0 && i < kPoints - 1)) / double(kPoints - 1);
        y[i] = std::sin(x[i]);
    }
    qor_rng_stream* stream = nullptr;
    int status = qor_rng_new_stream(&stream, QOR_RNG_BRNG_MCG31M1, 20240605);
    if (status == QOR_RNG_STATUS_OK)
        status = qor_vdRngUniform(QOR_RNG_METHOD_UNIFORM_STD, stream, kSites, site.data(), 0.0, 10.0);
    qor_rng_delete_stream(&stream);
    if (status != QOR_RNG_STATUS_OK) {
        std::printf("  drawing the sites failed: %d\n", status);
        return;
    }
    qor_fit_task* task = nullptr;
    status = qor_dfit_new_task(&task, kPoints, x.data(), hintPartitionNonUniform, 1, y.data(), hintValuesDefault);
    if (status == 0) status = qor_dfit_edit_pp_spline(task, 2, 0, 0, nullptr, 0, nullptr, c.data(), hintValuesDefault);
    auto t0 = std::chrono::steady_clock::now();
    if (status == 0) status = qor_dfit_construct(task, QOR_FIT_LINEAR, 0);
    const std::chrono::duration<double> build = std::chrono::steady_clock::now() - t0;
    if (status != 0) {
        std::printf("  construction failed: %d\n", status);
        qor_fit_delete_task(&task);
        return;
    }
    std::printf("  construction %8.2f ms  %8.1f M values/s\n", build.count() * 1e3, kPoints / build.count() / 1e6);
    t0 = std::chrono::steady_clock::now();
    status = qor_dfit_search(task, 0, kSites, site.data(), 0, nullptr, cell.data());
    const std::chrono::duration<double> search = std::chrono::steady_clock::now() - t0;
    qor_fit_delete_task(&task);
    if (status != 0) {
        std::printf("  search failed: status %d\n", status);
        return;
    }
    std::printf("  search       %8.2f ms  %8.1f M sites/s\n", search.count() * 1e3, kSites / search.count() / 1e6);
    auto spline = [&](int64_t k) {
        const int64_t i = std::clamp<int64_t>(cell[k] - 1, 0, kPoints - 2);  // cell i+1 is interval i
        return c[2 * i] + c[2 * i + 1] * (site[k] - x[i]);
    };
    std::printf("  %-20s %22s %22s %10s\n", "site", "spline", "sin", "error");
    for (int64_t k : {int64_t{0}, kSites / 3, kSites - 1})
        std::printf("  %-20.15f %22.17f %22.17f %10.2e\n", site[k], spline(k), std::sin(site[k]),
                    spline(k) - std::sin(site[k]));
    double worst = 0, widest = 0;
    for (int64_t k = 0; k < kSites; ++k) worst = std::max(worst, std::abs(spline(k) - std::sin(site[k])));
    for (int64_t i = 1; i < kPoints; ++i) widest = std::max(widest, x[i] - x[i - 1]);
    std::printf("  largest error over all sites %.2e (bound h^2/8 = %.2e for the widest interval h)\n", worst,
                widest * widest / 8);
}

// A natural cubic spline through 10^6 points of sin on a non-uniform
// partition of [0, 10], evaluated at 10^7 random sites in one interpolation
// call: times, the largest error against sin itself, and the integral over
// the whole partition beside 1 - cos 10.  A kernel set without cubic
// construction builds the linear spline instead, and says so.
void spline_interpolation() {
    constexpr int64_t kPoints = 1000000, kSites = 10000000;
    std::vector<double> x(kPoints), y(kPoints), c(4 * (kPoints - 1)), site(kSites), value(kSites);
    for (int64_t i = 0; i < kPoints; ++i) {
        x[i] = 10.0 * (i + 0.3 * std::sin(double(i)) * (i > 0 && i < kPoints - 1)) / double(kPoints - 1);
        y[i] = std::sin(x[i]);
    }
    qor_rng_stream* stream = nullptr;
    int status = qor_rng_new_stream(&stream, QOR_RNG_BRNG_MCG31M1, 20261124);
    if (status == QOR_RNG_STATUS_OK)
        status = qor_vdRngUniform(QOR_RNG_METHOD_UNIFORM_STD, stream, kSites, site.data(), 0.0, 10.0);
    qor_rng_delete_stream(&stream);
    if (status != QOR_RNG_STATUS_OK) {
        std::printf("\nSpline interpolation: drawing the sites failed: %d\n", status);
        return;
    }
    qor_fit_task* task = nullptr;
    status = qor_dfit_new_task(&task, kPoints, x.data(), hintPartitionNonUniform, 1, y.data(), hintValuesDefault);
    // Natural: second derivative zero at both ends (boundary condition 1).
    if (status == 0) status = qor_dfit_edit_pp_spline(task, 4, 0, 1, nullptr, 0, nullptr, c.data(), hintValuesDefault);
    const char* kind = "natural cubic";
    auto t0 = std::chrono::steady_clock::now();
    if (status == 0) status = qor_dfit_construct(task, QOR_FIT_NATURAL_CUBIC, 0);
    if (status == statusUnsupportedMethod) {
        kind = "linear";
        status = qor_dfit_edit_pp_spline(task, 2, 0, 0, nullptr, 0, nullptr, c.data(), hintValuesDefault);
        t0 = std::chrono::steady_clock::now();
        if (status == 0) status = qor_dfit_construct(task, QOR_FIT_LINEAR, 0);
    }
    const std::chrono::duration<double> build = std::chrono::steady_clock::now() - t0;
    std::printf("\nSpline interpolation: a %s spline through %lld points of sin on [0, 10],\n"
                "values at %lld random sites\n", kind, static_cast<long long>(kPoints), static_cast<long long>(kSites));
    if (kind[0] == 'l') std::printf("  (the natural cubic construction is not in this kernel set: linear instead)\n");
    const int64_t values[1] = {1};
    t0 = std::chrono::steady_clock::now();
    if (status == 0)
        status = qor_dfit_interpolate(task, computeValues, 0, kSites, site.data(), 0, 1, values, nullptr, value.data(),
                                      hintResultByFunction, nullptr);
    const std::chrono::duration<double> evaluate = std::chrono::steady_clock::now() - t0;
    const double a = 0, b = 10;
    double area = 0;
    if (status == 0) status = qor_dfit_integrate(task, 0, 1, &a, 0, &b, 0, nullptr, nullptr, &area, 0);
    qor_fit_delete_task(&task);
    if (status != 0) {
        std::printf("  failed: status %d\n", status);
        return;
    }
    double worst = 0;
    for (int64_t k = 0; k < kSites; ++k) worst = std::max(worst, std::abs(value[k] - std::sin(site[k])));
    std::printf("  construction  %8.2f ms\n", build.count() * 1e3);
    std::printf("  interpolation %8.2f ms  %8.1f M sites/s on %d thread%s\n", evaluate.count() * 1e3,
                kSites / evaluate.count() / 1e6, qor_get_max_threads(), qor_get_max_threads() == 1 ? "" : "s");
    std::printf("  largest error against sin %.2e\n", worst);
    std::printf("  integral over [0, 10] %.15f, 1 - cos 10 = %.15f\n", area, 1 - std::cos(10.0));
}

void print_mode(uint32_t mode) {
    static const char* accuracy[] = {"?", "LA", "HA", "EP"};
    std::printf("  mode word       0x%X: accuracy %s, error mode 0x%X, flush-to-zero %s, traps 0x%X\n", mode,
                accuracy[(mode & 0xF) < 4 ? (mode & 0xF) : 0], mode & 0xFF00,
                (mode & QOR_VM_FTZDAZ_MASK) == QOR_VM_FTZDAZ_ON ? "on" : "off", (mode & QOR_VM_TRAP_MASK) >> 24);
}


// 10^7 standard Gaussian numbers by each method from one MCG31m1 stream:
// their first four moments beside the exact 0, 1, 0, 0, and the rate
// beside the standard library's normal_distribution over mt19937.
void gaussians() {
    constexpr int64_t kCount = 10000000;
    std::printf("\nGaussian numbers: %lld N(0, 1) by each method from an MCG31m1 stream\n",
                static_cast<long long>(kCount));
    std::printf("  %-11s %9s %9s %9s %9s %12s\n", "method", "mean", "variance", "skewness", "kurtosis",
                "ns/number");
    std::vector<double> x(kCount);
    auto report = [&](const char* name, double seconds) {
        double mean = 0;
        for (double v : x) mean += v;
        mean /= kCount;
        double m2 = 0, m3 = 0, m4 = 0;
        for (double v : x) {
            const double d = v - mean, d2 = d * d;
            m2 += d2;
            m3 += d2 * d;
            m4 += d2 * d2;
        }
        m2 /= kCount, m3 /= kCount, m4 /= kCount;
        std::printf("  %-11s %9.5f %9.5f %9.5f %9.5f %12.2f\n", name, mean, m2, m3 / std::pow(m2, 1.5),
                    m4 / (m2 * m2) - 3, seconds * 1e9 / kCount);
    };
    auto seconds = [](auto call) {
        const auto t0 = std::chrono::steady_clock::now();
        call();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    };
    const struct {
        const char* name;
        int method;
    } methods[] = {{"BoxMuller", QOR_RNG_METHOD_GAUSSIAN_BOXMULLER},
                   {"BoxMuller2", QOR_RNG_METHOD_GAUSSIAN_BOXMULLER2},
                   {"ICDF", QOR_RNG_METHOD_GAUSSIAN_ICDF}};
    for (const auto& m : methods) {
        qor_rng_stream* stream = nullptr;
        int status = qor_rng_new_stream(&stream, QOR_RNG_BRNG_MCG31M1, 7777777);
        const double t = seconds([&] {
            if (status == QOR_RNG_STATUS_OK) status = qor_vdRngGaussian(m.method, stream, kCount, x.data(), 0.0, 1.0);
        });
        qor_rng_delete_stream(&stream);
        if (status != QOR_RNG_STATUS_OK) {
            std::printf("  %-11s failed: %d\n", m.name, status);
            continue;
        }
        report(m.name, t);
    }
    std::mt19937 peer(7777777);
    std::normal_distribution<double> normal(0.0, 1.0);
    report("std::normal", seconds([&] {
        for (double& v : x) v = normal(peer);
    }));
}

}  // namespace

int main() {
    std::printf("qor — numeric kernels for x86-64 processors with SSE4.2\n");
    std::printf("vector math, random numbers, summary statistics, data fitting\n\n");
    int status = qor_init();
    if (status != QOR_STATUS_OK) {
        std::printf("the kernels cannot be used here: %s\n%s\n", qor_status_string(status), qor_init_detail());
        return 1;
    }
    std::printf("Machine\n");
    std::printf("  processor       %s (%s)\n", qor_cpu_brand(), qor_cpu_vendor());
    std::printf("  features       ");
    for (int i = 0; i < QOR_CPU_FEATURE_COUNT; ++i)
        if (qor_cpu_features() & (1u << i)) std::printf(" %s", qor_cpu_feature_name(i));
    std::printf("\n  kernel set      %s, level %d, %s\n", qor_kernel_set_name(), qor_kernel_cpu_version(),
                qor_kernel_path());
    print_mode(qor_vm_get_mode());
    std::printf("  threads         %d\n", qor_get_max_threads());
    std::printf("  vector-math rows exported: %d of 480\n\n", qor_vm_row_count());

    std::printf("Vector math on %d elements (ticks per element, best of %d; the peer is a\n"
                "plain scalar loop compiled with -O3 -msse4.2; ulp = largest difference)\n", kN, kRepeats);
    std::printf("  %-12s %8s %8s %8s %10s\n", "function", "qor", "loop", "speedup", "ulp");
    for (const Pair& p : pairs()) {
        if (p.name[0] == 's') run_pair<float>(p); else run_pair<double>(p);
    }
    random_numbers();
    gaussians();
    summary_statistics();
    data_fitting();
    spline_interpolation();
    return 0;
}
