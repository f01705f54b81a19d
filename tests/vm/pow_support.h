// Shared pieces of the power and root tests: argument pairs for x^y that
// cover the whole range of results (overflow and underflow edges, bases
// next to 1 with large exponents, negative bases with integer exponents),
// the ulp limits of the accuracy slots and bitwise comparison.
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
using qor::test::MpfrUnary;
using qor::test::UnaryKernel;

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

// Ulp limits per accuracy: HA one ulp, LA four, EP 26 (double) or 11
// (single) correct bits.
template <class T>
struct Limits {
    static constexpr double ha = 1.0;
    static constexpr double la = 4.0;
    static constexpr double ep = explog_test::bits_limit<T>(sizeof(T) == 8 ? 26 : 11);
};

// Bitwise equality, any NaN matching any NaN.
template <class T>
bool same(T a, T b) {
    return (std::isnan(a) && std::isnan(b)) || bits_of(a) == bits_of(b);
}

}  // namespace pow_test
