// Long accuracy sweeps of the exponential and logarithm kernels:
//   single precision: every one of the 2^32 arguments, each result measured
//     against the function in double precision (the C library's, or the
//     double E1 kernel), whose own error adds at most 2^-29 ulp; the worst
//     arguments are then measured again against MPFR;
//   double precision: random arguments (10^8 by default) against MPFR.
// Work is split over two threads.  Prints one line per kernel and variant:
// worst error in ulps, the argument, the result and the exact value.
//
//   check_long_explog [--count N] [--only NAME] [--single-only | --double-only]
#if __has_include(<mpfr.h>)

#include <mpfr.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "qor/qor_vm.h"
#include "tests/support/ulp_oracle.h"

namespace {

using qor::test::MpfrUnary;
using qor::test::WorstCase;

constexpr int kThreads = 2;
constexpr int kChunk = 4096;

int mpfr_e1(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t rnd) {
    if (mpfr_nan_p(x) || mpfr_sgn(x) < 0) return mpfr_set_nan(y), 0;
    if (mpfr_zero_p(x)) return mpfr_set_inf(y, 1), 0;
    if (mpfr_inf_p(x)) return mpfr_set_zero(y, 1), 0;
    mpfr_t t;
    mpfr_init2(t, mpfr_get_prec(y) + 32);
    mpfr_neg(t, x, MPFR_RNDN);
    mpfr_eint(t, t, MPFR_RNDN);
    const int r = mpfr_neg(y, t, rnd);
    mpfr_clear(t);
    return r;
}

int mpfr_logb(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t) {
    if (mpfr_nan_p(x)) return mpfr_set_nan(y), 0;
    if (mpfr_inf_p(x)) return mpfr_set_inf(y, 1), 0;
    if (mpfr_zero_p(x)) return mpfr_set_inf(y, -1), 0;
    return mpfr_set_si(y, long(mpfr_get_exp(x)) - 1, MPFR_RNDN);
}

// Double-precision references of a chunk of single arguments.
using Reference = void (*)(int, const float*, double*);

template <double (*F)(double)>
void libm_reference(int n, const float* x, double* out) {
    for (int i = 0; i < n; ++i) out[i] = F(double(x[i]));
}

void e1_reference(int n, const float* x, double* out) {
    std::vector<double> wide(x, x + n);
    _lumdExpInt1(n, wide.data(), out);
}

double c_exp(double x) { return std::exp(x); }
double c_exp2(double x) { return std::exp2(x); }
double c_exp10(double x) { return std::pow(10.0, x); }
double c_expm1(double x) { return std::expm1(x); }
double c_log(double x) { return std::log(x); }
double c_log2(double x) { return std::log2(x); }
double c_log10(double x) { return std::log10(x); }
double c_log1p(double x) { return std::log1p(x); }
double c_logb(double x) { return std::logb(x); }

struct SingleCase {
    const char* name;
    void (*kernel)(int, const float*, float*);
    Reference reference;
    MpfrUnary exact;
};

struct DoubleCase {
    const char* name;
    void (*kernel)(int, const double*, double*);
    MpfrUnary exact;
    double lo, hi;  // uniform range of a third of the arguments
    int elo, ehi;   // magnitudes 2^elo ... 2^ehi of another third
};

const std::vector<SingleCase>& single_cases() {
    static const std::vector<SingleCase> cases = {
        {"sExp HA", _lumsExp, libm_reference<c_exp>, mpfr_exp},
        {"sExp LA", _lumsExp_21, libm_reference<c_exp>, mpfr_exp},
        {"sExp EP", _lumsExp_11, libm_reference<c_exp>, mpfr_exp},
        {"sExp2", _lumsExp2, libm_reference<c_exp2>, mpfr_exp2},
        {"sExp10", _lumsExp10, libm_reference<c_exp10>, mpfr_exp10},
        {"sExpm1", _lumsExpm1, libm_reference<c_expm1>, mpfr_expm1},
        {"sLn HA", _lumsLn, libm_reference<c_log>, mpfr_log},
        {"sLn LA", _lumsLn_21, libm_reference<c_log>, mpfr_log},
        {"sLn EP", _lumsLn_11, libm_reference<c_log>, mpfr_log},
        {"sLog2", _lumsLog2, libm_reference<c_log2>, mpfr_log2},
        {"sLog10 HA", _lumsLog10, libm_reference<c_log10>, mpfr_log10},
        {"sLog10 LA", _lumsLog10_21, libm_reference<c_log10>, mpfr_log10},
        {"sLog10 EP", _lumsLog10_11, libm_reference<c_log10>, mpfr_log10},
        {"sLog1p HA", _lumsLog1p, libm_reference<c_log1p>, mpfr_log1p},
        {"sLog1p LA", _lumsLog1p_21, libm_reference<c_log1p>, mpfr_log1p},
        {"sLog1p EP", _lumsLog1p_11, libm_reference<c_log1p>, mpfr_log1p},
        {"sLogb", _lumsLogb, libm_reference<c_logb>, mpfr_logb},
        {"sExpInt1 HA", _lumsExpInt1, e1_reference, mpfr_e1},
        {"sExpInt1 EP", _lumsExpInt1_11, e1_reference, mpfr_e1},
    };
    return cases;
}

const std::vector<DoubleCase>& double_cases() {
    static const std::vector<DoubleCase> cases = {
        {"dExp HA", _lumdExp, mpfr_exp, -746, 710, -60, 10},
        {"dExp LA", _lumdExp_50, mpfr_exp, -746, 710, -60, 10},
        {"dExp EP", _lumdExp_26, mpfr_exp, -746, 710, -60, 10},
        {"dExp2", _lumdExp2, mpfr_exp2, -1080, 1025, -60, 10},
        {"dExp10", _lumdExp10, mpfr_exp10, -325, 309, -60, 9},
        {"dExpm1", _lumdExpm1, mpfr_expm1, -50, 710, -60, 9},
        {"dLn HA", _lumdLn, mpfr_log, 0, 4, -1074, 1024},
        {"dLn LA", _lumdLn_50, mpfr_log, 0, 4, -1074, 1024},
        {"dLn EP", _lumdLn_26, mpfr_log, 0, 4, -1074, 1024},
        {"dLog2", _lumdLog2, mpfr_log2, 0, 4, -1074, 1024},
        {"dLog10 HA", _lumdLog10, mpfr_log10, 0, 4, -1074, 1024},
        {"dLog10 LA", _lumdLog10_50, mpfr_log10, 0, 4, -1074, 1024},
        {"dLog1p", _lumdLog1p, mpfr_log1p, -1, 4, -60, 1024},
        {"dLogb", _lumdLogb, mpfr_logb, -4, 4, -1074, 1024},
        {"dExpInt1 HA", _lumdExpInt1, mpfr_e1, 0, 750, -1074, 10},
        {"dExpInt1 EP", _lumdExpInt1_26, mpfr_e1, 0, 750, -1074, 10},
    };
    return cases;
}

void print_row(const char* name, const char* inputs, const WorstCase& w) {
    std::printf("%-12s %14s %12.4f  x = %-24a (%.9g)  got %-24a exact %a\n", name, inputs, w.ulps, w.arg, w.arg,
                w.got, w.want);
    std::fflush(stdout);
}

struct Candidate {
    double err;
    float x;
};

// Every float argument, split into kThreads ranges of patterns.
void sweep_single(const SingleCase& c) {
    constexpr int kKeep = 8;
    std::vector<std::vector<Candidate>> worst(kThreads);
    std::vector<uint64_t> measured(kThreads, 0);
    auto work = [&](int t) {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
        std::vector<float> x(kChunk), y(kChunk);
        std::vector<double> ref(kChunk);
        auto& keep = worst[std::size_t(t)];
        const uint64_t begin = (uint64_t(1) << 32) / kThreads * uint64_t(t);
        const uint64_t end = (uint64_t(1) << 32) / kThreads * uint64_t(t + 1);
        for (uint64_t at = begin; at < end; at += kChunk) {
            for (int i = 0; i < kChunk; ++i) x[std::size_t(i)] = std::bit_cast<float>(uint32_t(at + uint64_t(i)));
            c.kernel(kChunk, x.data(), y.data());
            c.reference(kChunk, x.data(), ref.data());
            for (int i = 0; i < kChunk; ++i) {
                const double err = qor::test::ulp_error_vs_double(y[std::size_t(i)], ref[std::size_t(i)]);
                if (keep.size() < kKeep || err > keep.back().err) {
                    keep.push_back({err, x[std::size_t(i)]});
                    std::sort(keep.begin(), keep.end(), [](const Candidate& a, const Candidate& b) { return a.err > b.err; });
                    if (keep.size() > kKeep) keep.pop_back();
                }
            }
            measured[std::size_t(t)] += kChunk;
        }
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) threads.emplace_back(work, t);
    for (auto& th : threads) th.join();
    // The candidates measured again against MPFR; the worst of those stands.
    WorstCase w;
    qor_lum_kernel_SetMode(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    for (const auto& list : worst)
        for (const Candidate& cand : list) {
            WorstCase one = qor::test::measure_unary<float>(c.kernel, c.exact, std::span<const float>(&cand.x, 1));
            w.merge(one);
        }
    w.count = measured[0] + measured[1];
    print_row(c.name, "all 2^32", w);
}

void sweep_double(const DoubleCase& c, uint64_t count) {
    std::vector<WorstCase> worst(kThreads);
    auto work = [&](int t) {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
        std::mt19937_64 gen(0x5eed + uint64_t(t) * 7919 + std::hash<std::string>()(c.name));
        std::uniform_real_distribution<double> lin(c.lo, c.hi), expo(c.elo, c.ehi);
        std::vector<double> x(kChunk);
        const uint64_t share = count / kThreads;
        for (uint64_t done = 0; done < share; done += kChunk) {
            const int n = int(std::min<uint64_t>(kChunk, share - done));
            for (int i = 0; i < n; ++i) {
                switch ((done + uint64_t(i)) % 3) {
                    case 0: x[std::size_t(i)] = lin(gen); break;
                    case 1: x[std::size_t(i)] = (gen() & 1 ? -1.0 : 1.0) * std::exp2(expo(gen)); break;
                    default: x[std::size_t(i)] = std::bit_cast<double>(gen()); break;
                }
            }
            worst[std::size_t(t)].merge(
                qor::test::measure_unary<double>(c.kernel, c.exact, std::span<const double>(x.data(), std::size_t(n))));
        }
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) threads.emplace_back(work, t);
    for (auto& th : threads) th.join();
    WorstCase w;
    for (const auto& one : worst) w.merge(one);
    char label[32];
    std::snprintf(label, sizeof label, "%.3g random", double(w.count));
    print_row(c.name, label, w);
}

}  // namespace

int main(int argc, char** argv) {
    uint64_t count = 100000000;
    std::string only;
    bool singles = true, doubles = true;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--count") && i + 1 < argc) count = std::strtoull(argv[++i], nullptr, 10);
        else if (!std::strcmp(argv[i], "--only") && i + 1 < argc) only = argv[++i];
        else if (!std::strcmp(argv[i], "--single-only")) doubles = false;
        else if (!std::strcmp(argv[i], "--double-only")) singles = false;
        else {
            std::fprintf(stderr, "usage: %s [--count N] [--only NAME] [--single-only | --double-only]\n", argv[0]);
            return 2;
        }
    }
    std::printf("%-12s %14s %12s  %s\n", "kernel", "inputs", "worst ulp", "where");
    if (singles)
        for (const auto& c : single_cases())
            if (only.empty() || only == c.name) sweep_single(c);
    if (doubles)
        for (const auto& c : double_cases())
            if (only.empty() || only == c.name) sweep_double(c, count);
    return 0;
}

#else

#include <cstdio>

int main() {
    std::puts("check_long_explog: built without MPFR; nothing to check");
    return 0;
}

#endif
