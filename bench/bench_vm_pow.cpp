// Power and root kernels (the rows of the row list that have peers here,
// with each kernel a row owns) beside SLEEF's SSE4 functions (the 1-ulp "u10" or
// 0.5-ulp "u05" and the 3.5-ulp "u35" versions where SLEEF has them, and
// its 350-ulp fast single pow) and a scalar loop over the C library, in
// cache (n = 1000) and streaming (n = 10^6).  CPE is time-stamp ticks per
// element.  Powr and Powx are set beside SLEEF's pow, InvCbrt, Pow2o3 and
// Pow3o2 beside the C library only.
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

// The peers of one row: argument ranges, the C library's function and
// SLEEF's accurate and fast versions with their labels (null where there is
// none).  Powx rows are timed at each of a few exponents.
template <class T, int Arguments>
struct Functions;
template <>
struct Functions<double, 1> {
    using Libm = double (*)(double);
    using Sleef = SleefD1;
};
template <>
struct Functions<float, 1> {
    using Libm = float (*)(float);
    using Sleef = SleefF1;
};
template <>
struct Functions<double, 2> {
    using Libm = double (*)(double, double);
    using Sleef = SleefD2;
};
template <>
struct Functions<float, 2> {
    using Libm = float (*)(float, float);
    using Sleef = SleefF2;
};

template <class T, int Arguments>
struct Peers {
    using Libm = typename Functions<T, Arguments>::Libm;
    using Sleef = typename Functions<T, Arguments>::Sleef;
    Range ra, rb;
    Libm libm;
    Sleef accurate;
    const char* accurate_name;
    Sleef fast;
    const char* fast_name;
};

template <class T>
void register_unary(const BenchRow& row, const Peers<T, 1>& p) {
    for (long n : kSizes) {
        const std::string tail = "/" + std::to_string(n), name = row.name;
        auto reg = [&](const std::string& label, std::function<void(int, const T*, T*)> run) {
            register_binary<T>(name + "/" + label + tail, n, p.ra, p.ra,
                               [run](int m, const T* a, const T*, T* r) { run(m, a, r); });
        };
        for (const auto& [label, f] : own_kernels<Unary<T>>(row)) reg(label, f);
        if (auto acc = p.accurate) reg(std::string("sleef_") + p.accurate_name, [acc](int m, const T* a, T* r) { sleef_unary(acc, m, a, r); });
        if (auto fast = p.fast) reg(std::string("sleef_") + p.fast_name, [fast](int m, const T* a, T* r) { sleef_unary(fast, m, a, r); });
        reg("libm", [libm = p.libm](int m, const T* a, T* r) {
            for (int i = 0; i < m; ++i) r[i] = libm(a[i]);
        });
    }
}

template <class T>
void register_pair(const BenchRow& row, const Peers<T, 2>& p) {
    for (long n : kSizes) {
        const std::string tail = "/" + std::to_string(n), name = row.name;
        for (const auto& [label, f] : own_kernels<Binary<T>>(row)) register_binary<T>(name + "/" + label + tail, n, p.ra, p.rb, f);
        if (auto acc = p.accurate)
            register_binary<T>(name + "/sleef_" + p.accurate_name + tail, n, p.ra, p.rb,
                               [acc](int m, const T* a, const T* b, T* r) { sleef_binary(acc, m, a, b, r); });
        if (auto fast = p.fast)
            register_binary<T>(name + "/sleef_" + p.fast_name + tail, n, p.ra, p.rb,
                               [fast](int m, const T* a, const T* b, T* r) { sleef_binary(fast, m, a, b, r); });
        register_binary<T>(name + "/libm" + tail, n, p.ra, p.rb, [libm = p.libm](int m, const T* a, const T* b, T* r) {
            for (int i = 0; i < m; ++i) r[i] = libm(a[i], b[i]);
        });
    }
}

// Powx with one exponent: the kernels, SLEEF's pow with the exponent
// broadcast, and the C library.
template <class T, class Sleef>
void register_powx(const BenchRow& row, T e, const char* e_name, Sleef accurate) {
    const std::string name = std::string(row.name) + e_name;
    const Range ra{0.01, 100.0};
    for (long n : kSizes) {
        const std::string tail = "/" + std::to_string(n);
        for (const auto& [label, f] : own_kernels<Powx<T>>(row))
            register_binary<T>(name + "/" + label + tail, n, ra, ra, [f, e](int m, const T* a, const T*, T* r) { f(m, a, e, r); });
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
    using D1 = Peers<double, 1>;
    using F1 = Peers<float, 1>;
    using D2 = Peers<double, 2>;
    using F2 = Peers<float, 2>;
    const std::map<std::string, D1> d1 = {
        {"dCbrt", {wide, wide, ::cbrt, Sleef_cbrtd2_u10sse4, "u10", Sleef_cbrtd2_u35sse4, "u35"}},
        {"dInvCbrt", {wide, wide, inv_cbrt, nullptr, "", nullptr, ""}},
        {"dPow2o3", {wide, wide, pow2o3, nullptr, "", nullptr, ""}},
        {"dPow3o2", {base, base, pow3o2, nullptr, "", nullptr, ""}}};
    const std::map<std::string, F1> f1 = {
        {"sCbrt", {wide, wide, ::cbrtf, Sleef_cbrtf4_u10sse4, "u10", Sleef_cbrtf4_u35sse4, "u35"}},
        {"sInvCbrt", {wide, wide, inv_cbrtf, nullptr, "", nullptr, ""}},
        {"sPow2o3", {wide, wide, pow2o3f, nullptr, "", nullptr, ""}},
        {"sPow3o2", {base, base, pow3o2f, nullptr, "", nullptr, ""}}};
    const std::map<std::string, D2> d2 = {
        {"dPow", {base, expo, ::pow, Sleef_powd2_u10sse4, "u10", nullptr, ""}},
        {"dPowr", {base, expo, ::pow, Sleef_powd2_u10sse4, "u10", nullptr, ""}},
        {"dHypot", {wide, wide, ::hypot, Sleef_hypotd2_u05sse4, "u05", Sleef_hypotd2_u35sse4, "u35"}}};
    const std::map<std::string, F2> f2 = {
        {"sPow", {base, expo, ::powf, Sleef_powf4_u10sse4, "u10", Sleef_fastpowf4_u3500sse4, "u3500"}},
        {"sPowr", {base, expo, ::powf, Sleef_powf4_u10sse4, "u10", Sleef_fastpowf4_u3500sse4, "u3500"}},
        {"sHypot", {wide, wide, ::hypotf, Sleef_hypotf4_u05sse4, "u05", Sleef_hypotf4_u35sse4, "u35"}}};
    for (const BenchRow& row : bench_rows()) {
        const std::string name = row.name;
        if (auto it = d1.find(name); it != d1.end()) register_unary(row, it->second);
        if (auto it = f1.find(name); it != f1.end()) register_unary(row, it->second);
        if (auto it = d2.find(name); it != d2.end()) register_pair(row, it->second);
        if (auto it = f2.find(name); it != f2.end()) register_pair(row, it->second);
        if (name == "dPowx")
            for (double e : {2.5, 3.0}) register_powx(row, e, e == 3.0 ? "(3)" : "(2.5)", Sleef_powd2_u10sse4);
        if (name == "sPowx")
            for (float e : {2.5f, 3.0f}) register_powx(row, e, e == 3.0f ? "(3)" : "(2.5)", Sleef_powf4_u10sse4);
    }
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
