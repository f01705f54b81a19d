// Complex Asin, Acos, Asinh, Acosh, Atan, Atanh, Tan, Tanh (HA; the double
// inverse functions also LA, which serves EP) beside std::complex's
// functions (the C library's casin, cacos, ...) in a scalar loop over the
// same arguments: |re|, |im| up to 2, signs random, n = 1000.
#include <complex>
#include <random>
#include <string>
#include <vector>

#include "bench_util.h"
#include "qor/qor_vm.h"

namespace qor::bench {
namespace {

constexpr int kN = 1000;

template <class C>
std::vector<C> arguments() {
    std::mt19937 gen(7);
    std::uniform_real_distribution<double> u(-2.0, 2.0);
    std::vector<C> v(kN);
    for (C& x : v) x.re = decltype(x.re)(u(gen)), x.im = decltype(x.im)(u(gen));
    return v;
}

template <class C>
void time_kernel(benchmark::State& state, void (*kernel)(int, const C*, C*)) {
    const auto a = arguments<C>();
    std::vector<C> r(kN);
    CycleCounter cycles;
    cycles.start();
    for (auto _ : state) {
        kernel(kN, a.data(), r.data());
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
    }
    cycles.stop();
    cycles.report(state, kN);
}

template <class C, class F>
void time_scalar(benchmark::State& state, F f) {
    using R = decltype(C::re);
    const auto a = arguments<C>();
    std::vector<std::complex<R>> r(kN);
    CycleCounter cycles;
    cycles.start();
    for (auto _ : state) {
        for (int i = 0; i < kN; ++i) r[i] = f(std::complex<R>(a[i].re, a[i].im));
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
    }
    cycles.stop();
    cycles.report(state, kN);
}

#define QOR_COMPLEX_BENCH(Fn, stdfn)                                                                         \
    benchmark::RegisterBenchmark("z" #Fn "/qor_HA", time_kernel<qor_complex16>, _lumz##Fn);                \
    benchmark::RegisterBenchmark("z" #Fn "/std_complex", time_scalar<qor_complex16, std::complex<double> (*)(const std::complex<double>&)>, \
                                 [](const std::complex<double>& x) { return stdfn(x); });                  \
    benchmark::RegisterBenchmark("c" #Fn "/qor_HA", time_kernel<qor_complex8>, _lumc##Fn);                 \
    benchmark::RegisterBenchmark("c" #Fn "/std_complex", time_scalar<qor_complex8, std::complex<float> (*)(const std::complex<float>&)>, \
                                 [](const std::complex<float>& x) { return stdfn(x); });

#define QOR_COMPLEX_BENCH_LA(Fn) \
    benchmark::RegisterBenchmark("z" #Fn "/qor_LA", time_kernel<qor_complex16>, _lumz##Fn##_50);

int register_all() {
    if (dll_cpu_version() != 5) return 1;
    QOR_COMPLEX_BENCH_LA(Asin)
    QOR_COMPLEX_BENCH(Asin, std::asin)
    QOR_COMPLEX_BENCH_LA(Acos)
    QOR_COMPLEX_BENCH(Acos, std::acos)
    QOR_COMPLEX_BENCH_LA(Asinh)
    QOR_COMPLEX_BENCH(Asinh, std::asinh)
    QOR_COMPLEX_BENCH_LA(Acosh)
    QOR_COMPLEX_BENCH(Acosh, std::acosh)
    QOR_COMPLEX_BENCH_LA(Atan)
    QOR_COMPLEX_BENCH(Atan, std::atan)
    QOR_COMPLEX_BENCH_LA(Atanh)
    QOR_COMPLEX_BENCH(Atanh, std::atanh)
    QOR_COMPLEX_BENCH(Tan, std::tan)
    QOR_COMPLEX_BENCH(Tanh, std::tanh)
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
