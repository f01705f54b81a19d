// Complex Abs, Arg, Div, Exp, CIS, Cos, Sin, Cosh, Sinh, Tan, Tanh, Sqrt,
// Ln, Log10, Pow and Powx (one kernel serves LA, HA and EP) beside std::complex and
// the C library's cabs, carg, cexp, csqrt, clog, cpow, ... in a scalar loop
// in the same run, n = 1000 in cache; CPE is time-stamp ticks per element.
#include <cmath>
#include <complex>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench_util.h"
#include "qor/qor_vm.h"

namespace qor::bench {
namespace {

constexpr int kN = 1000;
using zc = std::complex<double>;
using cc = std::complex<float>;

template <class R>
std::shared_ptr<std::vector<std::complex<R>>> args(double lo, double hi, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(lo, hi);
    auto v = std::make_shared<std::vector<std::complex<R>>>(kN);
    for (auto& x : *v) x = {R(u(gen)), R(u(gen))};
    return v;
}

template <class F>
void timed(benchmark::State& state, F f) {
    CycleCounter counter;
    for (auto _ : state) {
        counter.start();
        f();
        counter.stop();
        benchmark::ClobberMemory();
    }
    counter.report(state, kN);
}

template <class T>
auto* c_ptr(std::complex<T>* p) {
    if constexpr (sizeof(T) == 8) return reinterpret_cast<qor_complex16*>(p);
    else return reinterpret_cast<qor_complex8*>(p);
}
template <class T>
auto* c_ptr(T* p) { return p; }

// A unary function: the kernel over the array, and the scalar loop.
template <class A, class Out, class Kernel, class Scalar>
void unary(const std::string& name, std::shared_ptr<std::vector<A>> a, Kernel kernel, Scalar scalar) {
    auto r = std::make_shared<std::vector<Out>>(kN);
    benchmark::RegisterBenchmark(("qor/" + name).c_str(), [=](benchmark::State& s) {
        timed(s, [&] { kernel(kN, c_ptr(a->data()), c_ptr(r->data())); });
    });
    benchmark::RegisterBenchmark(("scalar/" + name).c_str(), [=](benchmark::State& s) {
        timed(s, [&] {
            for (int i = 0; i < kN; ++i) (*r)[i] = scalar((*a)[i]);
        });
    });
}

template <class R, class Kernel, class Scalar>
void binary(const std::string& name, double lo, double hi, Kernel kernel, Scalar scalar) {
    auto a = args<R>(lo, hi, 1), b = args<R>(lo, hi, 2);
    auto r = std::make_shared<std::vector<std::complex<R>>>(kN);
    benchmark::RegisterBenchmark(("qor/" + name).c_str(), [=](benchmark::State& s) {
        timed(s, [&] { kernel(kN, c_ptr(a->data()), c_ptr(b->data()), c_ptr(r->data())); });
    });
    benchmark::RegisterBenchmark(("scalar/" + name).c_str(), [=](benchmark::State& s) {
        timed(s, [&] {
            for (int i = 0; i < kN; ++i) (*r)[i] = scalar((*a)[i], (*b)[i]);
        });
    });
}

template <class R>
void register_precision(const char* p) {
    using C = std::complex<R>;
    using K = std::conditional_t<sizeof(R) == 8, qor_complex16, qor_complex8>;
    const bool z = sizeof(R) == 8;
    auto name = [&](const char* fn) { return std::string(p) + fn; };
    auto wide = args<R>(-10, 10, 3), moderate = args<R>(-3, 3, 4);
    using U = void (*)(int, const K*, K*);
    using Abs = void (*)(int, const K*, R*);
    using Bin = void (*)(int, const K*, const K*, K*);
    unary<C, R>(name("Abs"), wide, z ? (Abs)(void*)_lumzAbs_HA : (Abs)(void*)_lumcAbs_HA, [](C x) { return std::abs(x); });
    unary<C, R>(name("Arg"), wide, z ? (Abs)(void*)_lumzArg_HA : (Abs)(void*)_lumcArg_HA, [](C x) { return std::arg(x); });
    binary<R>(name("Div"), -10, 10, z ? (Bin)(void*)_lumzDiv_HA : (Bin)(void*)_lumcDiv_HA, [](C x, C y) { return x / y; });
    binary<R>(name("Pow"), 0.1, 3, z ? (Bin)(void*)_lumzPow_HA : (Bin)(void*)_lumcPow_HA, [](C x, C y) { return std::pow(x, y); });
    const struct {
        const char* fn;
        U zk, ck;
        C (*f)(const C&);
        bool small;
    } fns[] = {{"Exp", (U)(void*)_lumzExp_HA, (U)(void*)_lumcExp_HA, std::exp, true},
               {"Cos", (U)(void*)_lumzCos_HA, (U)(void*)_lumcCos_HA, std::cos, true},
               {"Sin", (U)(void*)_lumzSin_HA, (U)(void*)_lumcSin_HA, std::sin, true},
               {"Cosh", (U)(void*)_lumzCosh_HA, (U)(void*)_lumcCosh_HA, std::cosh, true},
               {"Sinh", (U)(void*)_lumzSinh_HA, (U)(void*)_lumcSinh_HA, std::sinh, true},
               {"Tan", (U)(void*)_lumzTan_HA, (U)(void*)_lumcTan_HA, std::tan, true},
               {"Tanh", (U)(void*)_lumzTanh_HA, (U)(void*)_lumcTanh_HA, std::tanh, true},
               {"Sqrt", (U)(void*)_lumzSqrt_HA, (U)(void*)_lumcSqrt_HA, std::sqrt, false},
               {"Ln", (U)(void*)_lumzLn_HA, (U)(void*)_lumcLn_HA, std::log, false},
               {"Log10", (U)(void*)_lumzLog10_HA, (U)(void*)_lumcLog10_HA, std::log10, false}};
    for (const auto& f : fns) {
        auto fp = f.f;
        unary<C, C>(name(f.fn), f.small ? moderate : wide, z ? f.zk : f.ck, [fp](C x) { return fp(x); });
    }
    auto angles = std::make_shared<std::vector<R>>(kN);
    for (int i = 0; i < kN; ++i) (*angles)[i] = R((*wide)[i].real());
    using Cis = void (*)(int, const R*, K*);
    unary<R, C>(name("CIS"), angles, z ? (Cis)(void*)_lumzCIS_HA : (Cis)(void*)_lumcCIS_HA,
                [](R y) { return C(std::cos(y), std::sin(y)); });
    const K w{R(0.75), R(-0.25)};
    const C wc(w.re, w.im);
    using Powx = void (*)(int, const K*, K, K*);
    Powx px = z ? (Powx)(void*)_lumzPowx_HA : (Powx)(void*)_lumcPowx_HA;
    auto base = args<R>(0.1, 3, 5);
    unary<C, C>(name("Powx"), base, [px, w](int n, const K* a, K* r) { px(n, a, w, r); }, [wc](C x) { return std::pow(x, wc); });
}

int register_all() {
    if (dll_cpu_version() != 5) return 1;
    register_precision<double>("z");
    register_precision<float>("c");
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
