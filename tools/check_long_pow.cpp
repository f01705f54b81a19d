// Long accuracy sweeps of the power and root kernels, for `./run check-long`:
//   every one of the 2^32 single-precision inputs of the one-argument
//   kernels (Cbrt, InvCbrt, Pow2o3, Pow3o2), measured against a double
//   reference (the C library's double functions, a few double ulps from the
//   exact value, which adds at most 2^-28 ulp of doubt);
//   random doubles for their double kernels and random pairs for Pow, Powr,
//   Powx and Hypot in both precisions, doubles measured against MPFR,
//   singles against the double reference.
// Prints the worst error in ulps of every kernel and variant, with its
// argument.  Work is split over two threads.
//
//   check_long_pow [count]   random doubles and pairs per kernel (10^8)
#include <mpfr.h>

#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "qor/qor_vm.h"
#include "tests/support/ulp_oracle.h"
#include "tests/support/mpfr_roots.h"

namespace {

using qor::test::WorstCase;

constexpr int kThreads = 2;
constexpr std::size_t kChunk = 1 << 14;
constexpr int kPrecision = 100;

template <class T>
using Unary = void (*)(int, const T*, T*);
template <class T>
using Binary = void (*)(int, const T*, const T*, T*);

struct Row {
    std::string name;
    WorstCase worst;
};

std::mutex print_lock;

void print(const std::vector<Row>& rows) {
    std::lock_guard<std::mutex> g(print_lock);
    for (const auto& r : rows)
        std::printf("%-16s %10.4f ulp  over %12zu  at x = %a, y = %a (got %a, want %a)\n", r.name.c_str(), r.worst.ulps,
                    r.worst.count, r.worst.arg, r.worst.arg2, r.worst.got, r.worst.want);
    std::fflush(stdout);
}

void note(WorstCase& w, double err, double x, double y, double got, double want) {
    if (std::isnan(err)) err = INFINITY;
    ++w.count;
    if (w.count == 1 || err > w.ulps) {
        w.ulps = err;
        w.arg = x;
        w.arg2 = y;
        w.got = got;
        w.want = want;
    }
}

// Runs work(thread, first, last) over [0, total) in chunks on two threads
// and merges the per-thread worst cases.
template <std::size_t K>
std::array<WorstCase, K> parallel(std::size_t total,
                                  std::function<void(std::size_t, std::size_t, std::array<WorstCase, K>&)> work) {
    std::atomic<std::size_t> next{0};
    std::array<std::array<WorstCase, K>, kThreads> part{};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            qor_lum_kernel_SetMode(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
            for (;;) {
                const std::size_t at = next.fetch_add(kChunk);
                if (at >= total) break;
                work(at, std::min(total, at + kChunk), part[t]);
            }
        });
    for (auto& th : threads) th.join();
    std::array<WorstCase, K> all{};
    for (auto& p : part)
        for (std::size_t k = 0; k < K; ++k) all[k].merge(p[k]);
    return all;
}

// ---- single precision, one argument: every input -------------------------------
void exhaustive_single(const char* fn, std::array<Unary<float>, 3> kernels, int count, double (*reference)(double),
                       const char* first_label = "HA") {
    auto w = parallel<3>(std::size_t(1) << 32, [&](std::size_t first, std::size_t last, std::array<WorstCase, 3>& acc) {
        const std::size_t n = last - first;
        std::vector<float> x(n), r(n);
        for (std::size_t i = 0; i < n; ++i) x[i] = std::bit_cast<float>(uint32_t(first + i));
        std::vector<double> want(n);
        for (std::size_t i = 0; i < n; ++i) want[i] = reference(double(x[i]));
        for (int k = 0; k < count; ++k) {
            kernels[k](int(n), x.data(), r.data());
            for (std::size_t i = 0; i < n; ++i)
                note(acc[k], qor::test::ulp_error_vs_double(r[i], want[i]), x[i], x[i], r[i], want[i]);
        }
    });
    const char* v[3] = {first_label, "LA", "EP"};
    std::vector<Row> rows;
    for (int k = 0; k < count; ++k) rows.push_back({std::string("s") + fn + " " + v[k], w[k]});
    print(rows);
}

// ---- random arguments ---------------------------------------------------------------
// A double from a mix: a third log-uniform over the whole range, a third
// within 2^-20 of 1 scaled by a power of 8, a third random bit patterns.
double random_double(std::mt19937_64& g) {
    std::uniform_real_distribution<double> u(0.0, 1.0);
    switch (g() % 3) {
        case 0: return std::exp2(-1074 + 2098 * u(g)) * (g() & 1 ? -1 : 1);
        case 1: return std::ldexp(1.0 + (u(g) - 0.5) * 0x1p-19, 3 * int(g() % 681) - 1020) * (g() & 1 ? -1 : 1);
        default: return std::bit_cast<double>(uint64_t(g()));
    }
}

// (x, y) with y ln|x| spread over the range of results, or random bits.
template <class T>
std::pair<T, T> random_pair(std::mt19937_64& g, bool hypot) {
    std::uniform_real_distribution<double> u(0.0, 1.0);
    constexpr int lo = std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits;
    constexpr int hi = std::numeric_limits<T>::max_exponent;
    const double zmax = sizeof(T) == 8 ? 712.0 : 90.0, zmin = sizeof(T) == 8 ? -747.0 : -106.0;
    const int kind = int(g() % 4);
    if (kind == 3) {
        using U = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
        return {std::bit_cast<T>(U(g())), std::bit_cast<T>(U(g()))};
    }
    if (hypot) {
        const double e = lo + (hi - lo) * u(g), d = kind == 0 ? (hi - lo) * (u(g) - 0.5) : 40 * (u(g) - 0.5);
        return {T(std::exp2(e) * (g() & 1 ? -1 : 1)), T(std::exp2(std::min(e + d, hi - 0.01)) * (g() & 1 ? -1 : 1))};
    }
    T x = kind == 0 ? T(std::exp2(lo + (hi - lo) * u(g))) : T(1.0 + (u(g) - 0.5) * std::exp2(-1 - 52 * u(g)));
    const double l = std::log(double(x));
    T y = T(l == 0 ? 2.0 : (zmin + (zmax - zmin) * u(g)) / l);
    if (kind == 2) {  // negative base, integer exponent
        y = std::nearbyint(std::fmod(double(y), 1e6));
        x = -x;
    }
    return {x, y};
}

void random_double_unary(const char* fn, std::array<Unary<double>, 3> kernels, int count, qor::test::MpfrUnary f,
                         std::size_t total) {
    auto w = parallel<3>(total, [&](std::size_t first, std::size_t last, std::array<WorstCase, 3>& acc) {
        std::mt19937_64 g(first * 7 + 1);
        const std::size_t n = last - first;
        std::vector<double> x(n), r(n);
        for (auto& v : x) v = random_double(g);
        std::vector<std::vector<double>> out(count, std::vector<double>(n));
        for (int k = 0; k < count; ++k) kernels[k](int(n), x.data(), out[k].data());
        mpfr_t mx, my;
        mpfr_init2(mx, 53);
        mpfr_init2(my, kPrecision);
        for (std::size_t i = 0; i < n; ++i) {
            mpfr_set_d(mx, x[i], MPFR_RNDN);
            f(my, mx, MPFR_RNDN);
            const double want = mpfr_get_d(my, MPFR_RNDN);
            for (int k = 0; k < count; ++k) note(acc[k], qor::test::ulp_error<double>(out[k][i], my), x[i], x[i], out[k][i], want);
        }
        mpfr_clear(mx);
        mpfr_clear(my);
    });
    const char* v[3] = {"HA", "LA", "EP"};
    std::vector<Row> rows;
    for (int k = 0; k < count; ++k) rows.push_back({std::string("d") + fn + " " + v[k], w[k]});
    print(rows);
}

template <class T>
void random_binary(const char* fn, std::array<Binary<T>, 3> kernels, qor::test::MpfrBinary f,
                   double (*reference)(double, double), std::size_t total, bool hypot) {
    auto w = parallel<3>(total, [&](std::size_t first, std::size_t last, std::array<WorstCase, 3>& acc) {
        std::mt19937_64 g(first * 13 + 5);
        const std::size_t n = last - first;
        std::vector<T> x(n), y(n);
        for (std::size_t i = 0; i < n; ++i) std::tie(x[i], y[i]) = random_pair<T>(g, hypot);
        std::vector<std::vector<T>> out(3, std::vector<T>(n));
        for (int k = 0; k < 3; ++k) kernels[k](int(n), x.data(), y.data(), out[k].data());
        mpfr_t mx, my, mr;
        mpfr_init2(mx, 53);
        mpfr_init2(my, 53);
        mpfr_init2(mr, kPrecision);
        for (std::size_t i = 0; i < n; ++i) {
            if constexpr (sizeof(T) == 8) {
                mpfr_set_d(mx, x[i], MPFR_RNDN);
                mpfr_set_d(my, y[i], MPFR_RNDN);
                f(mr, mx, my, MPFR_RNDN);
                const double want = mpfr_get_d(mr, MPFR_RNDN);
                for (int k = 0; k < 3; ++k) note(acc[k], qor::test::ulp_error<double>(out[k][i], mr), x[i], y[i], out[k][i], want);
            } else {
                const double want = reference(double(x[i]), double(y[i]));
                for (int k = 0; k < 3; ++k)
                    note(acc[k], qor::test::ulp_error_vs_double(out[k][i], want), x[i], y[i], out[k][i], want);
            }
        }
        mpfr_clear(mx);
        mpfr_clear(my);
        mpfr_clear(mr);
    });
    const char* v[3] = {"HA", "LA", "EP"};
    std::vector<Row> rows;
    for (int k = 0; k < 3; ++k) rows.push_back({std::string(sizeof(T) == 8 ? "d" : "s") + fn + " " + v[k], w[k]});
    print(rows);
}

int powr_reference(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y, mpfr_rnd_t rnd) {
    if (mpfr_nan_p(x) || mpfr_nan_p(y) || mpfr_sgn(x) < 0 || (mpfr_zero_p(x) && mpfr_zero_p(y)) ||
        (mpfr_inf_p(x) && mpfr_zero_p(y)) || (mpfr_cmp_ui(x, 1) == 0 && mpfr_inf_p(y))) {
        mpfr_set_nan(r);
        return 0;
    }
    if (mpfr_zero_p(x)) {
        mpfr_t z;
        mpfr_init2(z, 2);
        mpfr_set_zero(z, 1);
        const int t = mpfr_pow(r, z, y, rnd);
        mpfr_clear(z);
        return t;
    }
    return mpfr_pow(r, x, y, rnd);
}

double powr_double(double x, double y) {
    if (std::isnan(x) || std::isnan(y) || x < 0) return NAN;
    if ((x == 0 && y == 0) || (std::isinf(x) && y == 0) || (x == 1 && std::isinf(y))) return NAN;
    return std::pow(std::fabs(x), y);
}

// Powx with the exponents that select each method, as pairs (x, b).
thread_local double powx_b;
void dpowx_ha(int n, const double* a, const double*, double* r) { _lumdPowx(n, a, powx_b, r); }
void dpowx_la(int n, const double* a, const double*, double* r) { _lumdPowx_50(n, a, powx_b, r); }
void dpowx_ep(int n, const double* a, const double*, double* r) { _lumdPowx_26(n, a, powx_b, r); }

void powx_sweep(std::size_t total) {
    const double exponents[] = {2, 3, -1, -3, 5, 7, 16, 0.5, 2.5, -0.5, 1.0 / 3, 123.456, -17.25, 1e-3};
    std::array<WorstCase, 3> all{};
    for (double b : exponents) {
        auto w = parallel<3>(total / std::size(exponents), [&](std::size_t first, std::size_t last,
                                                               std::array<WorstCase, 3>& acc) {
            powx_b = b;
            std::mt19937_64 g(first * 17 + 3);
            std::uniform_real_distribution<double> u(0.0, 1.0);
            const std::size_t n = last - first;
            const double span = std::min(1500.0 / std::fabs(b), 1400.0);
            std::vector<double> x(n), y(n, b);
            for (auto& v : x) v = std::exp((u(g) - 0.5) * span) * (g() % 4 == 0 ? -1 : 1);
            std::vector<double> out[3] = {std::vector<double>(n), std::vector<double>(n), std::vector<double>(n)};
            dpowx_ha(int(n), x.data(), nullptr, out[0].data());
            dpowx_la(int(n), x.data(), nullptr, out[1].data());
            dpowx_ep(int(n), x.data(), nullptr, out[2].data());
            mpfr_t mx, my, mr;
            mpfr_inits2(53, mx, my, (mpfr_ptr)0);
            mpfr_init2(mr, kPrecision);
            mpfr_set_d(my, b, MPFR_RNDN);
            for (std::size_t i = 0; i < n; ++i) {
                mpfr_set_d(mx, x[i], MPFR_RNDN);
                mpfr_pow(mr, mx, my, MPFR_RNDN);
                for (int k = 0; k < 3; ++k)
                    note(acc[k], qor::test::ulp_error<double>(out[k][i], mr), x[i], b, out[k][i], mpfr_get_d(mr, MPFR_RNDN));
            }
            mpfr_clears(mx, my, mr, (mpfr_ptr)0);
        });
        for (int k = 0; k < 3; ++k) all[k].merge(w[k]);
    }
    print({{"dPowx HA", all[0]}, {"dPowx LA", all[1]}, {"dPowx EP", all[2]}});
}

// The strided single InvCbrt row's EP slot (the LA kernel), unit stride.
void inv_cbrt_strided_ep(int n, const float* a, float* r) { _lumsInvCbrtI_11(n, a, 1, r, 1); }

double cbrt_ref(double x) { return std::cbrt(x); }
double inv_cbrt_ref(double x) { return 1.0 / std::cbrt(x); }
double pow2o3_ref(double x) {
    const double c = std::cbrt(x);
    return c * c;
}
double pow3o2_ref(double x) { return std::pow(x, 1.5); }
double pow_ref(double x, double y) { return std::pow(x, y); }
double hypot_ref(double x, double y) { return std::hypot(x, y); }

using qor::test::mpfr_inv_cbrt;
using qor::test::mpfr_pow2o3;
using qor::test::mpfr_pow3o2;

}  // namespace

int main(int argc, char** argv) {
    const std::size_t count = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 100000000ull;
    std::printf("check_long_pow: all 2^32 single inputs; %zu random doubles or pairs per double and binary kernel\n",
                count);
    exhaustive_single("Cbrt", {_lumsCbrt, _lumsCbrt_21, _lumsCbrt_11}, 3, cbrt_ref);
    exhaustive_single("InvCbrt", {_lumsInvCbrt, _lumsInvCbrt_21, _lumsInvCbrt_11}, 3, inv_cbrt_ref);
    exhaustive_single("InvCbrtI", {inv_cbrt_strided_ep}, 1, inv_cbrt_ref, "EP");
    exhaustive_single("Pow2o3", {_lumsPow2o3}, 1, pow2o3_ref);
    exhaustive_single("Pow3o2", {_lumsPow3o2}, 1, pow3o2_ref);
    random_double_unary("Cbrt", {_lumdCbrt, _lumdCbrt_50, _lumdCbrt_26}, 3, mpfr_cbrt, count);
    random_double_unary("InvCbrt", {_lumdInvCbrt, _lumdInvCbrt_50}, 2, mpfr_inv_cbrt, count);
    random_double_unary("Pow2o3", {_lumdPow2o3}, 1, mpfr_pow2o3, count);
    random_double_unary("Pow3o2", {_lumdPow3o2}, 1, mpfr_pow3o2, count);
    random_binary<double>("Hypot", {_lumdHypot, _lumdHypot_50, _lumdHypot_26}, mpfr_hypot, nullptr, count, true);
    random_binary<float>("Hypot", {_lumsHypot, _lumsHypot_21, _lumsHypot_11}, nullptr, hypot_ref, count, true);
    random_binary<double>("Pow", {_lumdPow, _lumdPow_50, _lumdPow_26}, mpfr_pow, nullptr, count, false);
    random_binary<float>("Pow", {_lumsPow, _lumsPow_21, _lumsPow_11}, nullptr, pow_ref, count, false);
    random_binary<double>("Powr", {_lumdPowr, _lumdPowr_50, _lumdPowr_26}, powr_reference, nullptr, count, false);
    random_binary<float>("Powr", {_lumsPowr, _lumsPowr_21, _lumsPowr_11}, nullptr, powr_double, count, false);
    powx_sweep(count);
    return 0;
}
