// Shared pieces of the benchmarks: cycle counting, input arrays, the
// cycles-per-element counter reported beside Google Benchmark's times, and
// the rows of the row list with the kernels each of them owns.
#pragma once

#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <x86intrin.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "qor/qor_rng.h"
#include "qor/qor_vm.h"

namespace qor::bench {

// Time-stamp counter ticks per element over a whole benchmark run.
class CycleCounter {
public:
    void start() { t0_ = __rdtsc(); }
    void stop() { ticks_ += __rdtsc() - t0_; }
    void report(benchmark::State& state, long elements_per_iteration) const {
        double elements = double(state.iterations()) * double(elements_per_iteration);
        state.counters["CPE"] = elements > 0 ? double(ticks_) / elements : 0.0;
        state.SetItemsProcessed(int64_t(elements));
    }

private:
    uint64_t t0_ = 0, ticks_ = 0;
};

// A stream of generator brng seeded with the given words, deleted at the
// end of the scope.
struct StreamOwner {
    qor_rng_stream* s = nullptr;
    explicit StreamOwner(int32_t brng, std::vector<uint32_t> seed = {20240601}) {
        __rixNewStreamEx(&s, brng, static_cast<int32_t>(seed.size()), seed.data());
    }
    ~StreamOwner() { __rixDeleteStream(&s); }
    StreamOwner(const StreamOwner&) = delete;
    StreamOwner& operator=(const StreamOwner&) = delete;
};

// Times fill(out, count) into one array of count * width values per
// iteration: ticks per variate (CPE) and items per second.
template <class T, class Fill>
void time_fill(benchmark::State& state, int64_t count, Fill fill, int64_t width = 1) {
    std::vector<T> out(static_cast<std::size_t>(count * width));
    CycleCounter cycles;
    cycles.start();
    for (auto _ : state) {
        fill(out.data(), count);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    cycles.stop();
    cycles.report(state, static_cast<long>(count));
}

template <class T>
std::vector<T> uniform_array(std::size_t n, double lo, double hi, unsigned seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> dist(lo, hi);
    std::vector<T> v(n);
    for (auto& x : v) x = T(dist(gen));
    return v;
}

// An exported kernel-library symbol, or null when that row is not built.
template <class Fn>
Fn kernel_symbol(const std::string& name) {
    return reinterpret_cast<Fn>(dlsym(RTLD_DEFAULT, name.c_str()));
}

// LA and EP suffixes of a precision letter.
inline const char* la_suffix(char p) {
    return (p == 's' || p == 'c') ? QOR_VM_STR(QOR_VM_LA_SUFFIX_s) : QOR_VM_STR(QOR_VM_LA_SUFFIX_d);
}
inline const char* ep_suffix(char p) {
    return (p == 's' || p == 'c') ? QOR_VM_STR(QOR_VM_EP_SUFFIX_s) : QOR_VM_STR(QOR_VM_EP_SUFFIX_d);
}

// A contiguous row that is on, with the entry point of each kernel of its
// own: HA always, LA and EP where the row's sharing gives them a kernel of
// their own (null otherwise).  `kind` is the argument list's name.
struct BenchRow {
    const char* name;  // e.g. "dExp"
    const char* kind;  // "unary", "binary", "scalar", ...
    qor_vm_kernel ha, la, ep;
};

#define QOR_BENCH_K(entry) reinterpret_cast<qor_vm_kernel>(&entry)
#define QOR_BENCH_OWN_A(p, Fn) nullptr, nullptr
#define QOR_BENCH_OWN_L(p, Fn) nullptr, QOR_BENCH_K(QOR_VM_EP_ENTRY(p, Fn))
#define QOR_BENCH_OWN_E(p, Fn) QOR_BENCH_K(QOR_VM_LA_ENTRY(p, Fn)), nullptr
#define QOR_BENCH_OWN_T(p, Fn) QOR_BENCH_K(QOR_VM_LA_ENTRY(p, Fn)), QOR_BENCH_K(QOR_VM_EP_ENTRY(p, Fn))
#define QOR_BENCH_CONTIGUOUS_unary 1
#define QOR_BENCH_CONTIGUOUS_binary 1
#define QOR_BENCH_CONTIGUOUS_scalar 1
#define QOR_BENCH_CONTIGUOUS_two_out 1
#define QOR_BENCH_CONTIGUOUS_linfrac 1
#define QOR_BENCH_CONTIGUOUS_c2r 1
#define QOR_BENCH_CONTIGUOUS_r2c 1
#define QOR_BENCH_CONTIGUOUS_unary_i 0
#define QOR_BENCH_CONTIGUOUS_binary_i 0
#define QOR_BENCH_CONTIGUOUS_scalar_i 0
#define QOR_BENCH_CONTIGUOUS_two_out_i 0
#define QOR_BENCH_CONTIGUOUS_linfrac_i 0
#define QOR_BENCH_CONTIGUOUS_c2r_i 0
#define QOR_BENCH_CONTIGUOUS_r2c_i 0
#define QOR_BENCH_CONTIGUOUS_pack_i 0
#define QOR_BENCH_CONTIGUOUS_pack_v 0
#define QOR_BENCH_CONTIGUOUS_pack_m 0
#define QOR_BENCH_CONTIGUOUS_unpack_i 0
#define QOR_BENCH_CONTIGUOUS_unpack_v 0
#define QOR_BENCH_CONTIGUOUS_unpack_m 0
#define QOR_BENCH_IF_CONTIGUOUS(kind, ...) QOR_BENCH_IF_(QOR_BENCH_CONTIGUOUS_##kind, __VA_ARGS__)
#define QOR_BENCH_IF_(flag, ...) QOR_BENCH_IF_1_(flag, __VA_ARGS__)
#define QOR_BENCH_IF_1_(flag, ...) QOR_VM_IF_ON_##flag(__VA_ARGS__)
#define QOR_BENCH_ROW_ENTRY(p, Fn, kind, share) \
    {#p #Fn, #kind, QOR_BENCH_K(QOR_VM_HA_ENTRY(p, Fn)), QOR_BENCH_OWN_##share(p, Fn)},

inline const std::vector<BenchRow>& bench_rows() {
    static const std::vector<BenchRow> rows = {
#define QOR_VM_ROW(p, Fn, kind, share, on, ...) \
    QOR_VM_IF_ON(on, QOR_BENCH_IF_CONTIGUOUS(kind, QOR_BENCH_ROW_ENTRY(p, Fn, kind, share)))
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
    };
    return rows;
}

// The benchmark labels and kernels of a row: qor_HA, qor_LA, qor_EP.
template <class Kernel>
std::vector<std::pair<std::string, Kernel>> own_kernels(const BenchRow& row) {
    std::vector<std::pair<std::string, Kernel>> v = {{"qor_HA", reinterpret_cast<Kernel>(row.ha)}};
    if (row.la) v.emplace_back("qor_LA", reinterpret_cast<Kernel>(row.la));
    if (row.ep) v.emplace_back("qor_EP", reinterpret_cast<Kernel>(row.ep));
    return v;
}

}  // namespace qor::bench
