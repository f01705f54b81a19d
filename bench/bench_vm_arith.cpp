// Arithmetic and rounding kernels against a plain scalar loop compiled with
// -O3 -msse4.2, in cache (n = 1000) and streaming (n = 2^20).  CPE and
// CPEmin are time-stamp ticks per element over the whole run and for the
// fastest batch.
#include <cmath>
#include <functional>
#include <type_traits>

#include "bench_util.h"
#include "qor/qor_vm.h"
#include "scalar_loops.h"

namespace qor::bench {
namespace {

constexpr long kSizes[] = {1000, 1 << 20};

// Registers one benchmark: `call(a, b, r, n)` runs once over arrays of n
// elements of T filled with uniform values in [lo, hi).
template <class T, class Call>
void register_run(const std::string& name, long n, double lo, double hi, Call call) {
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& st) {
        auto a = uniform_array<T>(n, lo, hi, 1);
        auto b = uniform_array<T>(n, lo, hi, 2);
        std::vector<T> r(n);
        CycleCounter c;
        // In cache, several calls between two counter reads: the counter
        // ticks in steps too coarse for one call of a thousand elements.
        const int calls = n < 100000 ? 16 : 1;
        uint64_t fastest = ~uint64_t{0};
        for (auto _ : st) {
            const uint64_t t0 = __rdtsc();
            c.start();
            for (int k = 0; k < calls; ++k) {
                call(a.data(), b.data(), r.data(), int(n));
                benchmark::ClobberMemory();
            }
            c.stop();
            const uint64_t t = __rdtsc() - t0;
            fastest = t < fastest ? t : fastest;
            benchmark::DoNotOptimize(r.data());
        }
        c.report(st, n * calls);
        // The fastest run alone: on a shared machine the mean takes in
        // whatever else runs at the time.
        st.counters["CPEmin"] = double(fastest) / double(n * calls);
    });
}

// The HA, LA and EP entry points of a row that is built, and the scalar
// loop, at every size.  Arity picks the argument list.
template <class T, class Kernel>
void register_function(const std::string& fn, char p, Kernel scalar, double lo, double hi) {
    const std::string base = std::string("_lum") + p + fn;
    if (!kernel_symbol<Kernel>(base)) return;
    const std::pair<std::string, std::string> variants[] = {
        {"qor_HA", base}, {"qor_LA", base + la_suffix(p)}, {"qor_EP", base + ep_suffix(p)}};
    auto caller = [](Kernel k) {
        return [k](const T* a, const T* b, T* r, int n) {
            if constexpr (std::is_invocable_v<Kernel, int, const T*, T*>)
                k(n, a, r);
            else
                k(n, a, b, r);
        };
    };
    for (long n : kSizes) {
        const std::string prefix = std::string(1, p) + fn + "/";
        for (const auto& [label, symbol] : variants)
            if (Kernel k = kernel_symbol<Kernel>(symbol))
                register_run<T>(prefix + label + "/" + std::to_string(n), n, lo, hi, caller(k));
        register_run<T>(prefix + "scalar_loop/" + std::to_string(n), n, lo, hi, caller(scalar));
    }
}

// Inputs keep every function on its ordinary path: positive for the roots,
// a spread of magnitudes with fractions for rounding.
#define QOR_REGISTER_UNARY(Fn, expr)                                     \
    register_function<float>(#Fn, 's', scalar_s##Fn, 0.001, 1000.0);      \
    register_function<double>(#Fn, 'd', scalar_d##Fn, 0.001, 1000.0);
#define QOR_REGISTER_BINARY(Fn, expr)                                    \
    register_function<float>(#Fn, 's', scalar_s##Fn, 0.5, 1000.0);       \
    register_function<double>(#Fn, 'd', scalar_d##Fn, 0.5, 1000.0);

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
