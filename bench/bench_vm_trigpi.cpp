// Degree and pi-scaled trigonometric kernels beside their peers (vm_peers.h):
// SLEEF's SSE4 sinpi, cospi and sincospi (0.5 ulp in the 1-ulp column;
// sincospi also at 3.5 ulp), and scalar C library loops of sin(x * pi/180)
// and sin(pi x) and the like.  SLEEF has no degree functions and the C
// library no pi-scaled ones; these loops round the scaled argument first,
// so they are not exact near the zeros and poles and lose all accuracy for
// large arguments: a speed reference only.
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "vm_peers.h"
#include "qor/qor_vm.h"

namespace qor::bench {
namespace {

constexpr double kDeg = M_PI / 180;
constexpr float kDegF = float(M_PI / 180), kPiF = float(M_PI);

template <class T>
using TwoKernel = void (*)(int, const T*, T*, T*);

inline __m128d load(const double* p) { return _mm_loadu_pd(p); }
inline __m128 load(const float* p) { return _mm_loadu_ps(p); }
inline void store(double* p, __m128d x) { _mm_storeu_pd(p, x); }
inline void store(float* p, __m128 x) { _mm_storeu_ps(p, x); }

// SinCospi: its kernel, SLEEF's sincospi at both accuracies and a loop of
// the C library's sin and cos of pi x.
template <class T, class SleefTwo>
void register_sincospi(const BenchRow& row, SleefTwo u05, SleefTwo u35, T (*sin_of)(T), T (*cos_of)(T)) {
    constexpr int kLanes = 16 / sizeof(T);
    auto sleef = [](SleefTwo f) {
        return [f](int n, const T* a, T* s, T* c) {
            for (int i = 0; i + kLanes <= n; i += kLanes) {
                auto r = f(load(a + i));
                store(s + i, r.x);
                store(c + i, r.y);
            }
        };
    };
    const std::vector<std::pair<std::string, std::function<void(int, const T*, T*, T*)>>> runs = {
        {"qor_HA", reinterpret_cast<TwoKernel<T>>(row.ha)},
        {"sleef_u10", sleef(u05)},
        {"sleef_u35", sleef(u35)},
        {"libm", [sin_of, cos_of](int n, const T* a, T* s, T* c) {
             for (int i = 0; i < n; ++i) s[i] = sin_of(a[i]), c[i] = cos_of(a[i]);
         }}};
    for (long n : kSizes)
        for (const auto& [label, run] : runs)
            benchmark::RegisterBenchmark((std::string(row.name) + "/" + label + "/" + std::to_string(n)).c_str(),
                                         [n, run](benchmark::State& st) {
                                             auto a = uniform_array<T>(n, -4, 4, 1);
                                             std::vector<T> s(n), c(n);
                                             CycleCounter cc;
                                             for (auto _ : st) {
                                                 cc.start();
                                                 run(int(n), a.data(), s.data(), c.data());
                                                 cc.stop();
                                                 benchmark::DoNotOptimize(s.data());
                                                 benchmark::DoNotOptimize(c.data());
                                             }
                                             cc.report(st, n);
                                         });
}

int register_all() {
    if (dll_cpu_version() != 5) return 1;
    const std::map<std::string, Peers<double>> doubles = {
        {"dSind", {-720.0, 720.0, [](double x) { return std::sin(x * kDeg); }, nullptr, nullptr}},
        {"dCosd", {-720.0, 720.0, [](double x) { return std::cos(x * kDeg); }, nullptr, nullptr}},
        {"dTand", {-720.0, 720.0, [](double x) { return std::tan(x * kDeg); }, nullptr, nullptr}},
        {"dSinpi", {-4.0, 4.0, [](double x) { return std::sin(x * M_PI); }, Sleef_sinpid2_u05sse4, nullptr}},
        {"dCospi", {-4.0, 4.0, [](double x) { return std::cos(x * M_PI); }, Sleef_cospid2_u05sse4, nullptr}},
        {"dTanpi", {-4.0, 4.0, [](double x) { return std::tan(x * M_PI); }, nullptr, nullptr}}};
    const std::map<std::string, Peers<float>> singles = {
        {"sSind", {-720.0, 720.0, [](float x) { return std::sin(x * kDegF); }, nullptr, nullptr}},
        {"sCosd", {-720.0, 720.0, [](float x) { return std::cos(x * kDegF); }, nullptr, nullptr}},
        {"sTand", {-720.0, 720.0, [](float x) { return std::tan(x * kDegF); }, nullptr, nullptr}},
        {"sSinpi", {-4.0, 4.0, [](float x) { return std::sin(x * kPiF); }, Sleef_sinpif4_u05sse4, nullptr}},
        {"sCospi", {-4.0, 4.0, [](float x) { return std::cos(x * kPiF); }, Sleef_cospif4_u05sse4, nullptr}},
        {"sTanpi", {-4.0, 4.0, [](float x) { return std::tan(x * kPiF); }, nullptr, nullptr}}};
    register_rows(doubles, singles);
    for (const BenchRow& row : bench_rows()) {
        const std::string name = row.name;
        if (name == "dSinCospi")
            register_sincospi<double>(row, Sleef_sincospid2_u05sse4, Sleef_sincospid2_u35sse4,
                                      [](double x) { return std::sin(x * M_PI); }, [](double x) { return std::cos(x * M_PI); });
        if (name == "sSinCospi")
            register_sincospi<float>(row, Sleef_sincospif4_u05sse4, Sleef_sincospif4_u35sse4,
                                     [](float x) { return std::sin(x * kPiF); }, [](float x) { return std::cos(x * kPiF); });
    }
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
