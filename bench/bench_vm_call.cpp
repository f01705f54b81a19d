// The cost of one call: qor_vdAdd (the core's public function, which picks
// the kernel for the thread's mode), _lumdAdd (the kernel library's entry,
// which jumps straight to the kernel) and a plain -O3 loop in a function of
// its own, at sizes from one element to a streaming array.  Reported in
// time-stamp ticks per call (TPC) and per element (CPE), over the whole run
// and, as TPCmin, for the fastest batch of calls: on a shared machine the
// mean takes in whatever else runs, the minimum only the call.
#include <cmath>
#include <string>

#include "bench_util.h"
#include "qor/qor.h"
#include "qor/qor_vm.h"
#include "scalar_loops.h"

namespace qor::bench {
namespace {

using AddKernel = void (*)(int, const double*, const double*, double*);

template <class F> struct CountType;
template <class C, class... R> struct CountType<void (*)(C, R...)> { using type = C; };
template <class F> using CountOf = typename CountType<F>::type;

constexpr long kSizes[] = {1, 16, 1000, 1 << 20};

// The public call takes a 64-bit count, the kernel entry and the loop an int.
template <class Add>
void register_call(const std::string& label, Add add) {
    for (long n : kSizes) {
        benchmark::RegisterBenchmark((label + "/" + std::to_string(n)).c_str(), [=](benchmark::State& st) {
            auto a = uniform_array<double>(n, 0.5, 1000.0, 1);
            auto b = uniform_array<double>(n, 0.5, 1000.0, 2);
            std::vector<double> r(n);
            // Many calls between two counter reads, so that the counter's
            // own cost does not swamp a one-element call.
            const long calls = n <= 1000 ? 64 : 1;
            uint64_t ticks = 0, fastest = ~uint64_t{0};
            for (auto _ : st) {
                const uint64_t t0 = __rdtsc();
                for (long c = 0; c < calls; ++c) {
                    add(static_cast<CountOf<Add>>(n), a.data(), b.data(), r.data());
                    benchmark::ClobberMemory();
                }
                const uint64_t batch = __rdtsc() - t0;
                ticks += batch;
                fastest = batch < fastest ? batch : fastest;
            }
            const double done = double(st.iterations()) * double(calls);
            st.counters["TPC"] = done > 0 ? double(ticks) / done : 0.0;
            st.counters["TPCmin"] = done > 0 ? double(fastest) / double(calls) : 0.0;
            st.counters["CPE"] = done > 0 ? double(ticks) / (done * double(n)) : 0.0;
        });
    }
}

int register_all() {
    if (dll_cpu_version() != 5) return 1;
    register_call("dAdd/qor_vdAdd", qor_vdAdd);
    register_call("dAdd/_lumdAdd", kernel_symbol<AddKernel>("_lumdAdd"));
    register_call("dAdd/scalar_loop", scalar_dAdd);
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
