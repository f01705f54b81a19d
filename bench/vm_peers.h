// Shared by the benchmarks of the real one- and two-argument kernels: a
// row's own kernels beside SLEEF's SSE4 functions (the 1-ulp "u10" and, where SLEEF
// has one, the 3.5-ulp "u35" version) and a scalar loop over the C
// library's function, in cache (n = 1000) and streaming (n = 10^6).  CPE is
// time-stamp ticks per element.
#pragma once

#include <sleef.h>

#include <functional>
#include <string>
#include <vector>

#include "bench_util.h"

namespace qor::bench {

inline constexpr long kSizes[] = {1000, 1000000};

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

inline void sleef_loop(SleefD f, int n, const double* a, double* r) {
    int i = 0;
    for (; i + 2 <= n; i += 2) _mm_storeu_pd(r + i, f(_mm_loadu_pd(a + i)));
    for (; i < n; ++i) r[i] = _mm_cvtsd_f64(f(_mm_set1_pd(a[i])));
}

inline void sleef_loop(SleefF f, int n, const float* a, float* r) {
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

// ---- two arguments --------------------------------------------------------------
template <class T>
using Kernel2 = void (*)(int, const T*, const T*, T*);
using SleefD2 = const __m128d (*)(__m128d, __m128d);
using SleefF2 = const __m128 (*)(__m128, __m128);

// Both arguments uniform on [lo, hi], drawn with different seeds.
template <class T>
void register_loop2(const std::string& label, long n, double lo, double hi,
                    std::function<void(int, const T*, const T*, T*)> run) {
    benchmark::RegisterBenchmark(label.c_str(), [=](benchmark::State& st) {
        auto a = uniform_array<T>(n, lo, hi, 1);
        auto b = uniform_array<T>(n, lo, hi, 2);
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

inline void sleef_loop(SleefD2 f, int n, const double* a, const double* b, double* r) {
    int i = 0;
    for (; i + 2 <= n; i += 2) _mm_storeu_pd(r + i, f(_mm_loadu_pd(a + i), _mm_loadu_pd(b + i)));
    for (; i < n; ++i) r[i] = _mm_cvtsd_f64(f(_mm_set1_pd(a[i]), _mm_set1_pd(b[i])));
}

inline void sleef_loop(SleefF2 f, int n, const float* a, const float* b, float* r) {
    int i = 0;
    for (; i + 4 <= n; i += 4) _mm_storeu_ps(r + i, f(_mm_loadu_ps(a + i), _mm_loadu_ps(b + i)));
    for (; i < n; ++i) r[i] = _mm_cvtss_f32(f(_mm_set1_ps(a[i]), _mm_set1_ps(b[i])));
}

template <class T>
struct Sleef2Of;
template <>
struct Sleef2Of<double> {
    using Fn = SleefD2;
};
template <>
struct Sleef2Of<float> {
    using Fn = SleefF2;
};

template <class T>
struct BinaryPeers {
    using Sleef = typename Sleef2Of<T>::Fn;
    double lo, hi;
    T (*libm)(T, T);
    Sleef u10, u35;
};

template <class T>
void register_row(const BenchRow& row, const BinaryPeers<T>& peers) {
    const auto [lo, hi, libm, u10, u35] = peers;
    for (long n : kSizes) {
        const std::string tail = "/" + std::to_string(n), name = row.name;
        for (const auto& [label, k] : own_kernels<Kernel2<T>>(row)) register_loop2<T>(name + "/" + label + tail, n, lo, hi, k);
        if (u10)
            register_loop2<T>(name + "/sleef_u10" + tail, n, lo, hi,
                              [u10](int m, const T* a, const T* b, T* r) { sleef_loop(u10, m, a, b, r); });
        if (u35)
            register_loop2<T>(name + "/sleef_u35" + tail, n, lo, hi,
                              [u35](int m, const T* a, const T* b, T* r) { sleef_loop(u35, m, a, b, r); });
        if (libm)
            register_loop2<T>(name + "/libm" + tail, n, lo, hi, [libm](int m, const T* a, const T* b, T* r) {
                for (int i = 0; i < m; ++i) r[i] = libm(a[i], b[i]);
            });
    }
}

// Registers each row of the row list that has peers in one of the maps
// (row name to Peers or BinaryPeers).
template <class... Maps>
void register_rows(const Maps&... maps) {
    for (const BenchRow& row : bench_rows())
        (..., [&](const auto& m) {
            if (auto it = m.find(row.name); it != m.end()) register_row(row, it->second);
        }(maps));
}

}  // namespace qor::bench
