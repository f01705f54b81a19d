// Shared pieces of the power and root tests: argument pairs for x^y that
// cover the whole range of results (overflow and underflow edges, bases
// next to 1 with large exponents, negative bases with integer exponents),
// accuracy checks of binary and fixed-exponent kernels against MPFR, and
// exact-value tables for the special cases.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "explog_support.h"

namespace pow_test {

using explog_test::bits_of;
using explog_test::join;
using explog_test::Reports;
using qor::test::BinaryKernel;
using qor::test::MpfrBinary;
using qor::test::MpfrUnary;
using qor::test::UnaryKernel;
using qor::test::WorstCase;

template <class T>
using StridedBinary = void (*)(int, const T*, int, const T*, int, T*, int);
template <class T>
using PowxKernel = void (*)(int, const T*, T, T*);
template <class T>
using StridedPowx = void (*)(int, const T*, int, T, T*, int);

template <class T>
struct Pairs {
    std::vector<T> x, y;
    void add(T a, T b) {
        x.push_back(a);
        y.push_back(b);
    }
    void append(const Pairs& o) {
        x.insert(x.end(), o.x.begin(), o.x.end());
        y.insert(y.end(), o.y.begin(), o.y.end());
    }
    std::size_t size() const { return x.size(); }
};

// ln of the largest finite and of half the smallest subnormal of T.
template <class T>
constexpr double log_max() { return sizeof(T) == 8 ? 709.782712893384 : 88.72283935546875; }
template <class T>
constexpr double log_min() { return sizeof(T) == 8 ? -745.1332191019411 : -103.97208; }

// n random pairs, in five equal groups:
//   y ln|x| uniform over [log_min - 2, log_max + 2] with |x| log-uniform;
//   |x| within 2^-k of 1 and the same spread of y ln x;
//   negative x with an integer y (half of them odd);
//   positive x with a small integer or half-integer y;
//   random bit patterns of both (mostly specials and extremes).
template <class T>
Pairs<T> random_pairs(std::size_t n, unsigned seed, bool negative_bases = true) {
    using U = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
    constexpr int kMinExp = std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits;
    constexpr int kMaxExp = std::numeric_limits<T>::max_exponent;
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::uniform_real_distribution<double> zrange(log_min<T>() - 2, log_max<T>() + 2);
    Pairs<T> p;
    for (std::size_t i = 0; i < n; ++i) {
        T x, y;
        switch (i % 5) {
            case 0: {
                x = T(std::exp2(kMinExp + (kMaxExp - kMinExp) * unit(gen)));
                const double l = std::log(double(x));
                y = T(l == 0 ? 1.0 : zrange(gen) / l);
                break;
            }
            case 1: {
                const int k = 1 + int(unit(gen) * (std::numeric_limits<T>::digits - 1));
                x = T(1.0 + (2 * unit(gen) - 1) * std::ldexp(1.0, -k));
                const double l = std::log(double(x));
                y = T(l == 0 ? 3.0 : zrange(gen) / l);
                break;
            }
            case 2: {
                x = -T(std::exp2(-40 + 80 * unit(gen)));
                const double l = std::fabs(std::log(-double(x)));
                const double limit = std::max(1.0, std::min(1e6, (log_max<T>() + 2) / std::max(l, 1e-3)));
                y = T(std::nearbyint((2 * unit(gen) - 1) * limit));
                break;
            }
            case 3:
                x = T(std::exp2(-60 + 120 * unit(gen)));
                y = T(std::nearbyint((2 * unit(gen) - 1) * 40) / ((gen() & 1) ? 1 : 2));
                break;
            default:
                x = std::bit_cast<T>(U(gen()));
                y = std::bit_cast<T>(U(gen()));
                break;
        }
        if (!negative_bases) x = std::fabs(x);
        p.add(x, y);
    }
    return p;
}

// Every combination of a set of bases and a set of exponents.
template <class T>
Pairs<T> grid(const std::vector<T>& xs, const std::vector<T>& ys) {
    Pairs<T> p;
    for (T a : xs)
        for (T b : ys) p.add(a, b);
    return p;
}

// Ulp limits per accuracy: HA one ulp, LA four, EP 26 (double) or 11
// (single) correct bits.
template <class T>
struct Limits {
    static constexpr double ha = 1.0;
    static constexpr double la = 4.0;
    static constexpr double ep = explog_test::bits_limit<T>(sizeof(T) == 8 ? 26 : 11);
};

// Runs up to three kernels over the same pairs and measures each result
// against one MPFR evaluation of f: the worst case of each kernel, with
// `above` counting results past limits[k].
template <class T, std::size_t K>
std::array<WorstCase, K> measure_variants(const std::array<BinaryKernel<T>, K>& kernels, MpfrBinary f,
                                          const Pairs<T>& p, const std::array<double, K>& limits) {
    constexpr std::size_t kChunk = 4096;
    std::array<WorstCase, K> worst{};
    mpfr_t mx, my, exact;
    mpfr_init2(mx, std::numeric_limits<T>::digits);
    mpfr_init2(my, std::numeric_limits<T>::digits);
    mpfr_init2(exact, 160);
    std::vector<T> out[K];
    for (auto& o : out) o.resize(kChunk);
    for (std::size_t at = 0; at < p.size(); at += kChunk) {
        const std::size_t n = std::min(kChunk, p.size() - at);
        for (std::size_t k = 0; k < K; ++k) kernels[k](int(n), p.x.data() + at, p.y.data() + at, out[k].data());
        for (std::size_t i = 0; i < n; ++i) {
            const T x = p.x[at + i], y = p.y[at + i];
            if constexpr (sizeof(T) == 4) {
                mpfr_set_flt(mx, x, MPFR_RNDN);
                mpfr_set_flt(my, y, MPFR_RNDN);
            } else {
                mpfr_set_d(mx, x, MPFR_RNDN);
                mpfr_set_d(my, y, MPFR_RNDN);
            }
            f(exact, mx, my, MPFR_RNDN);
            for (std::size_t k = 0; k < K; ++k) {
                double err = qor::test::ulp_error<T>(out[k][i], exact);
                if (std::isnan(err)) err = std::numeric_limits<double>::infinity();
                WorstCase& w = worst[k];
                ++w.count;
                if (err > limits[k]) ++w.above;
                if (w.count == 1 || err > w.ulps) {
                    w.ulps = err;
                    w.arg = double(x);
                    w.arg2 = double(y);
                    w.got = double(out[k][i]);
                    w.want = mpfr_get_d(exact, MPFR_RNDN);
                }
            }
        }
    }
    mpfr_clear(mx);
    mpfr_clear(my);
    mpfr_clear(exact);
    return worst;
}

// The three variants of a binary kernel (HA, LA, EP) checked against their
// limits; prints the worst case of each.
template <class T>
void expect_variants(const std::array<BinaryKernel<T>, 3>& kernels, MpfrBinary f, const Pairs<T>& p,
                     const char* what) {
    const std::array<double, 3> limits = {Limits<T>::ha, Limits<T>::la, Limits<T>::ep};
    const auto w = measure_variants<T, 3>(kernels, f, p, limits);
    const char* names[3] = {"HA", "LA", "EP"};
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(w[k].above, 0u) << what << " " << names[k] << ": " << w[k].above << " results above "
                                  << limits[k] << " ulp; worst " << w[k].describe() << " y = " << w[k].arg2;
        std::printf("%s %s: %s, y = %a\n", what, names[k], w[k].describe().c_str(), w[k].arg2);
    }
}

// Bitwise equality, any NaN matching any NaN.
template <class T>
bool same(T a, T b) {
    return (std::isnan(a) && std::isnan(b)) || bits_of(a) == bits_of(b);
}

}  // namespace pow_test
