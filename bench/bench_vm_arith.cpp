// Arithmetic and rounding kernels against a plain scalar loop compiled with
// -O3 -msse4.2, in cache (n = 1000) and streaming (n = 10^6).
#include <cmath>
#include <functional>

#include "bench_util.h"
#include "qor/qor_vm.h"
#include "scalar_loops.h"

namespace qor::bench {
namespace {

constexpr long kSizes[] = {1000, 1000000};

template <class T>
void register_unary(const std::string& fn, char p, void (*scalar)(int, const T*, T*), double lo, double hi) {
    using Kernel = void (*)(int, const T*, T*);
    const std::string base = std::string("_lum") + p + fn;
    const std::pair<std::string, std::string> variants[] = {
        {"HA", base}, {"LA", base + la_suffix(p)}, {"EP", base + ep_suffix(p)}};
    for (long n : kSizes) {
        for (const auto& [label, symbol] : variants) {
            Kernel k = kernel_symbol<Kernel>(symbol);
            if (!k) continue;
            benchmark::RegisterBenchmark((std::string(1, p) + fn + "/qor_" + label + "/" + std::to_string(n)).c_str(),
                                         [=](benchmark::State& st) {
                                             auto a = uniform_array<T>(n, lo, hi, 1);
                                             std::vector<T> r(n);
                                             CycleCounter c;
                                             for (auto _ : st) {
                                                 c.start();
                                                 k(int(n), a.data(), r.data());
                                                 c.stop();
                                                 benchmark::DoNotOptimize(r.data());
                                             }
                                             c.report(st, n);
                                         });
        }
        if (!kernel_symbol<Kernel>(base)) continue;
        benchmark::RegisterBenchmark((std::string(1, p) + fn + "/scalar_loop/" + std::to_string(n)).c_str(),
                                     [=](benchmark::State& st) {
                                         auto a = uniform_array<T>(n, lo, hi, 1);
                                         std::vector<T> r(n);
                                         CycleCounter c;
                                         for (auto _ : st) {
                                             c.start();
                                             scalar(int(n), a.data(), r.data());
                                             c.stop();
                                             benchmark::DoNotOptimize(r.data());
                                         }
                                         c.report(st, n);
                                     });
    }
}

template <class T>
void register_binary(const std::string& fn, char p, void (*scalar)(int, const T*, const T*, T*), double lo,
                     double hi) {
    using Kernel = void (*)(int, const T*, const T*, T*);
    const std::string base = std::string("_lum") + p + fn;
    const std::pair<std::string, std::string> variants[] = {
        {"HA", base}, {"LA", base + la_suffix(p)}, {"EP", base + ep_suffix(p)}};
    for (long n : kSizes) {
        for (const auto& [label, symbol] : variants) {
            Kernel k = kernel_symbol<Kernel>(symbol);
            if (!k) continue;
            benchmark::RegisterBenchmark((std::string(1, p) + fn + "/qor_" + label + "/" + std::to_string(n)).c_str(),
                                         [=](benchmark::State& st) {
                                             auto a = uniform_array<T>(n, lo, hi, 1);
                                             auto b = uniform_array<T>(n, lo, hi, 2);
                                             std::vector<T> r(n);
                                             CycleCounter c;
                                             for (auto _ : st) {
                                                 c.start();
                                                 k(int(n), a.data(), b.data(), r.data());
                                                 c.stop();
                                                 benchmark::DoNotOptimize(r.data());
                                             }
                                             c.report(st, n);
                                         });
        }
        if (!kernel_symbol<Kernel>(base)) continue;
        benchmark::RegisterBenchmark((std::string(1, p) + fn + "/scalar_loop/" + std::to_string(n)).c_str(),
                                     [=](benchmark::State& st) {
                                         auto a = uniform_array<T>(n, lo, hi, 1);
                                         auto b = uniform_array<T>(n, lo, hi, 2);
                                         std::vector<T> r(n);
                                         CycleCounter c;
                                         for (auto _ : st) {
                                             c.start();
                                             scalar(int(n), a.data(), b.data(), r.data());
                                             c.stop();
                                             benchmark::DoNotOptimize(r.data());
                                         }
                                         c.report(st, n);
                                     });
    }
}

// Inputs keep every function on its ordinary path: positive for the roots,
// a spread of magnitudes with fractions for rounding.
#define QOR_REGISTER_UNARY(Fn, expr)                                     \
    register_unary<float>(#Fn, 's', scalar_s##Fn, 0.001, 1000.0);         \
    register_unary<double>(#Fn, 'd', scalar_d##Fn, 0.001, 1000.0);
#define QOR_REGISTER_BINARY(Fn, expr)                                    \
    register_binary<float>(#Fn, 's', scalar_s##Fn, 0.5, 1000.0);          \
    register_binary<double>(#Fn, 'd', scalar_d##Fn, 0.5, 1000.0);

int register_all() {
    // Referencing the kernel library keeps it loaded for the symbol lookups.
    if (dll_cpu_version() != 5) return 1;
    QOR_BENCH_UNARY(QOR_REGISTER_UNARY)
    QOR_BENCH_BINARY(QOR_REGISTER_BINARY)
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
