// Sine, cosine and tangent kernels beside their SLEEF and C library peers
// (vm_peers.h), and SinCos beside SLEEF's sincos, whose pair of vectors a
// small loop stores, and a loop over the C library's sincos.
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "vm_peers.h"
#include "qor/qor_vm.h"

namespace qor::bench {
namespace {

constexpr double kLo = -10.0, kHi = 10.0;

template <class T>
using TwoOut = void (*)(int, const T*, T*, T*);

template <class T>
void register_two_out(const std::string& label, long n, std::function<void(int, const T*, T*, T*)> run) {
    benchmark::RegisterBenchmark(label.c_str(), [=](benchmark::State& st) {
        auto a = uniform_array<T>(n, kLo, kHi, 1);
        std::vector<T> s(n), c(n);
        CycleCounter counter;
        for (auto _ : st) {
            counter.start();
            run(int(n), a.data(), s.data(), c.data());
            counter.stop();
            benchmark::DoNotOptimize(s.data());
            benchmark::DoNotOptimize(c.data());
        }
        counter.report(st, n);
    });
}

template <class V, class T, class F>
void sleef_sincos_loop(F f, int n, const T* a, T* s, T* c) {
    constexpr int w = int(sizeof(V) / sizeof(T));
    int i = 0;
    for (; i + w <= n; i += w) {
        if constexpr (w == 2) {
            const auto r = f(_mm_loadu_pd(a + i));
            _mm_storeu_pd(s + i, r.x), _mm_storeu_pd(c + i, r.y);
        } else {
            const auto r = f(_mm_loadu_ps(a + i));
            _mm_storeu_ps(s + i, r.x), _mm_storeu_ps(c + i, r.y);
        }
    }
    for (; i < n; ++i) s[i] = std::sin(a[i]), c[i] = std::cos(a[i]);
}

void register_sincos(const BenchRow& row) {
    const std::string name = row.name;
    for (long n : kSizes) {
        const std::string tail = "/" + std::to_string(n);
        if (name == "dSinCos") {
            for (const auto& [label, k] : own_kernels<TwoOut<double>>(row)) register_two_out<double>(name + "/" + label + tail, n, k);
            register_two_out<double>(name + "/sleef_u10" + tail, n, [](int m, const double* a, double* s, double* c) {
                sleef_sincos_loop<__m128d>(Sleef_sincosd2_u10sse4, m, a, s, c);
            });
            register_two_out<double>(name + "/sleef_u35" + tail, n, [](int m, const double* a, double* s, double* c) {
                sleef_sincos_loop<__m128d>(Sleef_sincosd2_u35sse4, m, a, s, c);
            });
            register_two_out<double>(name + "/libm" + tail, n, [](int m, const double* a, double* s, double* c) {
                for (int i = 0; i < m; ++i) ::sincos(a[i], s + i, c + i);
            });
        } else {
            for (const auto& [label, k] : own_kernels<TwoOut<float>>(row)) register_two_out<float>(name + "/" + label + tail, n, k);
            register_two_out<float>(name + "/sleef_u10" + tail, n, [](int m, const float* a, float* s, float* c) {
                sleef_sincos_loop<__m128>(Sleef_sincosf4_u10sse4, m, a, s, c);
            });
            register_two_out<float>(name + "/sleef_u35" + tail, n, [](int m, const float* a, float* s, float* c) {
                sleef_sincos_loop<__m128>(Sleef_sincosf4_u35sse4, m, a, s, c);
            });
            register_two_out<float>(name + "/libm" + tail, n, [](int m, const float* a, float* s, float* c) {
                for (int i = 0; i < m; ++i) ::sincosf(a[i], s + i, c + i);
            });
        }
    }
}

int register_all() {
    if (dll_cpu_version() != 5) return 1;
    const std::map<std::string, Peers<double>> doubles = {
        {"dSin", {kLo, kHi, ::sin, Sleef_sind2_u10sse4, Sleef_sind2_u35sse4}},
        {"dCos", {kLo, kHi, ::cos, Sleef_cosd2_u10sse4, Sleef_cosd2_u35sse4}},
        {"dTan", {kLo, kHi, ::tan, Sleef_tand2_u10sse4, Sleef_tand2_u35sse4}}};
    const std::map<std::string, Peers<float>> singles = {
        {"sSin", {kLo, kHi, ::sinf, Sleef_sinf4_u10sse4, Sleef_sinf4_u35sse4}},
        {"sCos", {kLo, kHi, ::cosf, Sleef_cosf4_u10sse4, Sleef_cosf4_u35sse4}},
        {"sTan", {kLo, kHi, ::tanf, Sleef_tanf4_u10sse4, Sleef_tanf4_u35sse4}}};
    register_rows(doubles, singles);
    for (const BenchRow& row : bench_rows())
        if (std::string(row.name) == "dSinCos" || std::string(row.name) == "sSinCos") register_sincos(row);
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
