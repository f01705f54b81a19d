// Power and root kernels beside SLEEF's SSE4 functions (the 1-ulp "u10" or
// 0.5-ulp "u05" and the 3.5-ulp "u35" versions where SLEEF has them, and
// its 350-ulp fast single pow) and a scalar loop over the C library, in
// cache (n = 1000) and streaming (n = 10^6).  CPE is time-stamp ticks per
// element.  Powr and Powx are set beside SLEEF's pow, InvCbrt, Pow2o3 and
// Pow3o2 beside the C library only.
#include <sleef.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "bench_util.h"
#include "qor/qor_vm.h"

namespace qor::bench {
namespace {

constexpr long kSizes[] = {1000, 1000000};

template <class T>
using Unary = void (*)(int, const T*, T*);
template <class T>
using Binary = void (*)(int, const T*, const T*, T*);
template <class T>
using Powx = void (*)(int, const T*, T, T*);
using SleefD1 = const __m128d (*)(__m128d);
using SleefF1 = const __m128 (*)(__m128);
using SleefD2 = const __m128d (*)(__m128d, __m128d);
using SleefF2 = const __m128 (*)(__m128, __m128);

struct Range {
    double lo, hi;
};

template <class T>
void register_binary(const std::string& label, long n, Range ra, Range rb,
                     std::function<void(int, const T*, const T*, T*)> run) {
    benchmark::RegisterBenchmark(label.c_str(), [=](benchmark::State& st) {
        auto a = uniform_array<T>(n, ra.lo, ra.hi, 1);
        auto b = uniform_array<T>(n, rb.lo, rb.hi, 2);
        std::vector<T> r(n);
        CycleCounter c;
        for (auto _ : st) {
            c.start();
            run(int(n), a.data(), b.data(), r.data());
            c.stop();
            benchmark::DoNotOptimize(r.data());
        }
        c.report(st, n);
    });
}

inline __m128d load(const double* p) { return _mm_loadu_pd(p); }
inline __m128 load(const float* p) { return _mm_loadu_ps(p); }
inline void store(double* p, __m128d x) { _mm_storeu_pd(p, x); }
inline void store(float* p, __m128 x) { _mm_storeu_ps(p, x); }
inline double first(__m128d x) { return _mm_cvtsd_f64(x); }
inline float first(__m128 x) { return _mm_cvtss_f32(x); }
inline __m128d splat(double x) { return _mm_set1_pd(x); }
inline __m128 splat(float x) { return _mm_set1_ps(x); }

template <class T, class F>
void sleef_unary(F f, int n, const T* a, T* r) {
    constexpr int L = 16 / sizeof(T);
    int i = 0;
    for (; i + L <= n; i += L) store(r + i, f(load(a + i)));
    for (; i < n; ++i) r[i] = first(f(splat(a[i])));
}

template <class T, class F>
void sleef_binary(F f, int n, const T* a, const T* b, T* r) {
    constexpr int L = 16 / sizeof(T);
    int i = 0;
    for (; i + L <= n; i += L) store(r + i, f(load(a + i), load(b + i)));
    for (; i < n; ++i) r[i] = first(f(splat(a[i]), splat(b[i])));
}

std::pair<std::string, std::string> variants(const std::string& base, char p, int k) {
    if (k == 0) return {"HA", base};
    if (k == 1) return {"LA", base + la_suffix(p)};
    return {"EP", base + ep_suffix(p)};
}

template <class T, class Sleef>
void unary_family(const std::string& fn, char p, Range ra, T (*libm)(T), Sleef accurate, const char* accurate_name,
                  Sleef fast, int own_kernels = 3) {
    const std::string base = std::string("_lum") + p + fn, name = std::string(1, p) + fn;
    if (!kernel_symbol<Unary<T>>(base)) return;
    for (long n : kSizes) {
        const std::string tail = "/" + std::to_string(n);
        auto reg = [&](const std::string& label, std::function<void(int, const T*, T*)> run) {
            register_binary<T>(name + "/" + label + tail, n, ra, ra,
                               [run](int m, const T* a, const T*, T* r) { run(m, a, r); });
        };
        for (int k = 0; k < own_kernels; ++k) {
            auto [label, symbol] = variants(base, p, k);
            if (Unary<T> f = kernel_symbol<Unary<T>>(symbol)) reg("qor_" + label, f);
        }
        if (accurate) reg(std::string("sleef_") + accurate_name, [accurate](int m, const T* a, T* r) { sleef_unary(accurate, m, a, r); });
        if (fast) reg("sleef_u35", [fast](int m, const T* a, T* r) { sleef_unary(fast, m, a, r); });
        reg("libm", [libm](int m, const T* a, T* r) {
            for (int i = 0; i < m; ++i) r[i] = libm(a[i]);
        });
    }
}

template <class T, class Sleef>
void binary_family(const std::string& fn, char p, Range ra, Range rb, T (*libm)(T, T), Sleef accurate,
                   const char* accurate_name, Sleef fast, const char* fast_name) {
    const std::string base = std::string("_lum") + p + fn, name = std::string(1, p) + fn;
    if (!kernel_symbol<Binary<T>>(base)) return;
    for (long n : kSizes) {
        const std::string tail = "/" + std::to_string(n);
        for (int k = 0; k < 3; ++k) {
            auto [label, symbol] = variants(base, p, k);
            if (Binary<T> f = kernel_symbol<Binary<T>>(symbol)) register_binary<T>(name + "/qor_" + label + tail, n, ra, rb, f);
        }
        if (accurate)
            register_binary<T>(name + "/sleef_" + accurate_name + tail, n, ra, rb,
                               [accurate](int m, const T* a, const T* b, T* r) { sleef_binary(accurate, m, a, b, r); });
        if (fast)
            register_binary<T>(name + "/sleef_" + fast_name + tail, n, ra, rb,
                               [fast](int m, const T* a, const T* b, T* r) { sleef_binary(fast, m, a, b, r); });
        register_binary<T>(name + "/libm" + tail, n, ra, rb, [libm](int m, const T* a, const T* b, T* r) {
            for (int i = 0; i < m; ++i) r[i] = libm(a[i], b[i]);
        });
    }
}

// Powx with one exponent: the kernels, SLEEF's pow with the exponent
// broadcast, and the C library.
template <class T, class Sleef>
void powx_family(char p, T e, const char* e_name, Sleef accurate) {
    const std::string base = std::string("_lum") + p + "Powx", name = std::string(1, p) + "Powx" + e_name;
    if (!kernel_symbol<Powx<T>>(base)) return;
    const Range ra{0.01, 100.0};
    for (long n : kSizes) {
        const std::string tail = "/" + std::to_string(n);
        for (int k = 0; k < 3; ++k) {
            auto [label, symbol] = variants(base, p, k);
            if (Powx<T> f = kernel_symbol<Powx<T>>(symbol))
                register_binary<T>(name + "/qor_" + label + tail, n, ra, ra,
                                   [f, e](int m, const T* a, const T*, T* r) { f(m, a, e, r); });
        }
        register_binary<T>(name + "/sleef_u10" + tail, n, ra, ra, [accurate, e](int m, const T* a, const T*, T* r) {
            constexpr int L = 16 / sizeof(T);
            const auto ve = splat(e);
            int i = 0;
            for (; i + L <= m; i += L) store(r + i, accurate(load(a + i), ve));
            for (; i < m; ++i) r[i] = first(accurate(splat(a[i]), ve));
        });
        register_binary<T>(name + "/libm" + tail, n, ra, ra, [e](int m, const T* a, const T*, T* r) {
            for (int i = 0; i < m; ++i) r[i] = std::pow(a[i], e);
        });
    }
}

double inv_cbrt(double x) { return 1.0 / std::cbrt(x); }
float inv_cbrtf(float x) { return 1.0f / std::cbrt(x); }
double pow2o3(double x) {
    const double c = std::cbrt(x);
    return c * c;
}
float pow2o3f(float x) {
    const float c = std::cbrt(x);
    return c * c;
}
double pow3o2(double x) { return x * std::sqrt(x); }
float pow3o2f(float x) { return x * std::sqrt(x); }

int register_all() {
    if (dll_cpu_version() != 5) return 1;
    const Range base{0.01, 100.0}, expo{-15.0, 15.0}, wide{-1e3, 1e3};
    binary_family<double, SleefD2>("Pow", 'd', base, expo, ::pow, Sleef_powd2_u10sse4, "u10", nullptr, "");
    binary_family<float, SleefF2>("Pow", 's', base, expo, ::powf, Sleef_powf4_u10sse4, "u10",
                                  Sleef_fastpowf4_u3500sse4, "u3500");
    binary_family<double, SleefD2>("Powr", 'd', base, expo, ::pow, Sleef_powd2_u10sse4, "u10", nullptr, "");
    binary_family<float, SleefF2>("Powr", 's', base, expo, ::powf, Sleef_powf4_u10sse4, "u10",
                                  Sleef_fastpowf4_u3500sse4, "u3500");
    powx_family<double, SleefD2>('d', 2.5, "(2.5)", Sleef_powd2_u10sse4);
    powx_family<double, SleefD2>('d', 3.0, "(3)", Sleef_powd2_u10sse4);
    powx_family<float, SleefF2>('s', 2.5f, "(2.5)", Sleef_powf4_u10sse4);
    powx_family<float, SleefF2>('s', 3.0f, "(3)", Sleef_powf4_u10sse4);
    binary_family<double, SleefD2>("Hypot", 'd', wide, wide, ::hypot, Sleef_hypotd2_u05sse4, "u05",
                                   Sleef_hypotd2_u35sse4, "u35");
    binary_family<float, SleefF2>("Hypot", 's', wide, wide, ::hypotf, Sleef_hypotf4_u05sse4, "u05",
                                  Sleef_hypotf4_u35sse4, "u35");
    unary_family<double, SleefD1>("Cbrt", 'd', wide, ::cbrt, Sleef_cbrtd2_u10sse4, "u10", Sleef_cbrtd2_u35sse4);
    unary_family<float, SleefF1>("Cbrt", 's', wide, ::cbrtf, Sleef_cbrtf4_u10sse4, "u10", Sleef_cbrtf4_u35sse4);
    unary_family<double, SleefD1>("InvCbrt", 'd', wide, inv_cbrt, nullptr, "", nullptr);
    unary_family<float, SleefF1>("InvCbrt", 's', wide, inv_cbrtf, nullptr, "", nullptr);
    unary_family<double, SleefD1>("Pow2o3", 'd', wide, pow2o3, nullptr, "", nullptr, 1);
    unary_family<float, SleefF1>("Pow2o3", 's', wide, pow2o3f, nullptr, "", nullptr, 1);
    unary_family<double, SleefD1>("Pow3o2", 'd', base, pow3o2, nullptr, "", nullptr, 1);
    unary_family<float, SleefF1>("Pow3o2", 's', base, pow3o2f, nullptr, "", nullptr, 1);
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
