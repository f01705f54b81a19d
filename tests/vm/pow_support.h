// Shared pieces of the power and root tests: argument pairs for x^y, the
// ulp limits of the accuracy slots, special values, bitwise comparison and
// printing.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "explog_support.h"
#include "tests/support/vm_domains.h"

namespace pow_test {

// Pairs of arguments of x^y, and n of them over the whole range of results
// (the domain of the accuracy sweep of Pow and Powr).
template <class T>
using Pairs = qor::test::Args<T>;
template <class T>
Pairs<T> random_pairs(std::size_t n, unsigned seed, bool negative_bases = true) {
    return qor::test::draw<T>(negative_bases ? qor::test::Domain::pow : qor::test::Domain::powr, true, n, seed);
}

using explog_test::bits_of;
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

// Ulp limits per accuracy: HA one ulp, LA four, EP 26 (double) or 11
// (single) correct bits.
template <class T>
struct Limits {
    static constexpr double ha = 1.0;
    static constexpr double la = 4.0;
    static constexpr double ep = explog_test::bits_limit<T>(sizeof(T) == 8 ? 26 : 11);
};

template <class T>
constexpr T kInf = std::numeric_limits<T>::infinity();
template <class T>
constexpr T kNaN = std::numeric_limits<T>::quiet_NaN();

// Bitwise equality, any NaN matching any NaN.
template <class T>
bool same(T a, T b) {
    return (std::isnan(a) && std::isnan(b)) || bits_of(a) == bits_of(b);
}

// A value in hexadecimal, for failure messages.
template <class T>
std::string show(T x) {
    char s[64];
    std::snprintf(s, sizeof s, "%a", double(x));
    return s;
}

}  // namespace pow_test
