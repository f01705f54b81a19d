// Exponential and logarithm kernels (the rows of the row list that have
// peers here, with each kernel a row owns) beside SLEEF's SSE4 functions (the
// 1-ulp "u10" and, where SLEEF has one, the 3.5-ulp "u35" version) and a
// scalar loop over the C library's function, in cache (n = 1000) and
// streaming (n = 10^6).  CPE is time-stamp ticks per element.
#include <sleef.h>

#include <cmath>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "bench_util.h"
#include "qor/qor_vm.h"

namespace qor::bench {
namespace {

constexpr long kSizes[] = {1000, 1000000};

template <class T>
using Kernel = void (*)(int, const T*, T*);
using SleefD = const __m128d (*)(__m128d);
using SleefF = const __m128 (*)(__m128);

template <class T>
void register_loop(const std::string& label, long n, double lo, double hi, std::function<void(int, const T*, T*)> run) {
    benchmark::RegisterBenchmark(label.c_str(), [=](benchmark::State& st) {
        auto a = uniform_array<T>(n, lo, hi, 1);
        std::vector<T> r(n);
        CycleCounter c;
        for (auto _ : st) {
            c.start();
            run(int(n), a.data(), r.data());
            c.stop();
            benchmark::DoNotOptimize(r.data());
        }
        c.report(st, n);
    });
}

void sleef_loop(SleefD f, int n, const double* a, double* r) {
    int i = 0;
    for (; i + 2 <= n; i += 2) _mm_storeu_pd(r + i, f(_mm_loadu_pd(a + i)));
    for (; i < n; ++i) r[i] = _mm_cvtsd_f64(f(_mm_set1_pd(a[i])));
}

void sleef_loop(SleefF f, int n, const float* a, float* r) {
    int i = 0;
    for (; i + 4 <= n; i += 4) _mm_storeu_ps(r + i, f(_mm_loadu_ps(a + i)));
    for (; i < n; ++i) r[i] = _mm_cvtss_f32(f(_mm_set1_ps(a[i])));
}

// The peers of one row: the argument range, the C library's function and
// SLEEF's 1-ulp and 3.5-ulp versions (null where there is none).
template <class T>
struct SleefOf;
template <>
struct SleefOf<double> {
    using Fn = SleefD;
};
template <>
struct SleefOf<float> {
    using Fn = SleefF;
};

template <class T>
struct Peers {
    using Sleef = typename SleefOf<T>::Fn;
    double lo, hi;
    T (*libm)(T);
    Sleef u10, u35;
};

// The row's own kernels and its peers, at each size.
template <class T>
void register_row(const BenchRow& row, const Peers<T>& peers) {
    const auto [lo, hi, libm, u10, u35] = peers;
    for (long n : kSizes) {
        const std::string tail = "/" + std::to_string(n), name = row.name;
        for (const auto& [label, k] : own_kernels<Kernel<T>>(row)) register_loop<T>(name + "/" + label + tail, n, lo, hi, k);
        if (u10)
            register_loop<T>(name + "/sleef_u10" + tail, n, lo, hi, [u10](int m, const T* a, T* r) { sleef_loop(u10, m, a, r); });
        if (u35)
            register_loop<T>(name + "/sleef_u35" + tail, n, lo, hi, [u35](int m, const T* a, T* r) { sleef_loop(u35, m, a, r); });
        if (libm)
            register_loop<T>(name + "/libm" + tail, n, lo, hi, [libm](int m, const T* a, T* r) {
                for (int i = 0; i < m; ++i) r[i] = libm(a[i]);
            });
    }
}

int register_all() {
    if (dll_cpu_version() != 5) return 1;
    // E1 has no C library or SLEEF peer: the kernels are timed alone.
    const std::map<std::string, Peers<double>> doubles = {
        {"dExp", {-700.0, 700.0, ::exp, Sleef_expd2_u10sse4, nullptr}},
        {"dExp2", {-1000.0, 1000.0, ::exp2, Sleef_exp2d2_u10sse4, Sleef_exp2d2_u35sse4}},
        {"dExp10", {-300.0, 300.0, ::exp10, Sleef_exp10d2_u10sse4, Sleef_exp10d2_u35sse4}},
        {"dExpm1", {-5.0, 5.0, ::expm1, Sleef_expm1d2_u10sse4, nullptr}},
        {"dLn", {1e-3, 1e3, ::log, Sleef_logd2_u10sse4, Sleef_logd2_u35sse4}},
        {"dLog2", {1e-3, 1e3, ::log2, Sleef_log2d2_u10sse4, Sleef_log2d2_u35sse4}},
        {"dLog10", {1e-3, 1e3, ::log10, Sleef_log10d2_u10sse4, nullptr}},
        {"dLog1p", {-0.9, 100.0, ::log1p, Sleef_log1pd2_u10sse4, nullptr}},
        {"dLogb", {-1e6, 1e6, ::logb, nullptr, nullptr}},
        {"dExpInt1", {0.01, 50.0, nullptr, nullptr, nullptr}}};
    const std::map<std::string, Peers<float>> singles = {
        {"sExp", {-87.0, 88.0, ::expf, Sleef_expf4_u10sse4, nullptr}},
        {"sExp2", {-125.0, 127.0, ::exp2f, Sleef_exp2f4_u10sse4, Sleef_exp2f4_u35sse4}},
        {"sExp10", {-37.0, 38.0, ::exp10f, Sleef_exp10f4_u10sse4, Sleef_exp10f4_u35sse4}},
        {"sExpm1", {-5.0, 5.0, ::expm1f, Sleef_expm1f4_u10sse4, nullptr}},
        {"sLn", {1e-3, 1e3, ::logf, Sleef_logf4_u10sse4, Sleef_logf4_u35sse4}},
        {"sLog2", {1e-3, 1e3, ::log2f, Sleef_log2f4_u10sse4, Sleef_log2f4_u35sse4}},
        {"sLog10", {1e-3, 1e3, ::log10f, Sleef_log10f4_u10sse4, nullptr}},
        {"sLog1p", {-0.9, 100.0, ::log1pf, Sleef_log1pf4_u10sse4, nullptr}},
        {"sLogb", {-1e6, 1e6, ::logbf, nullptr, nullptr}},
        {"sExpInt1", {0.01, 50.0, nullptr, nullptr, nullptr}}};
    for (const BenchRow& row : bench_rows()) {
        if (auto d = doubles.find(row.name); d != doubles.end()) register_row(row, d->second);
        if (auto f = singles.find(row.name); f != singles.end()) register_row(row, f->second);
    }
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
