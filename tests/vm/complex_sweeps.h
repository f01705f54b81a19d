// Arguments and checks shared by the complex function tests: random
// sweeps of wide exponent ranges, bit-for-bit special-value rows, and the
// strided form against the contiguous one.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "qor/qor_vm.h"
#include "support/complex_oracle.h"

namespace qor::test::sweeps {

template <class C> using Real = decltype(C::re);

// Parts with random signs and binary exponents in [lo, hi].
template <class C>
std::vector<C> random_complex(std::size_t n, int lo, int hi, unsigned seed) {
    std::mt19937 gen(seed);
    auto part = [&] {
        return Real<C>(std::ldexp(1.0 + gen() / 4294967296.0, lo + int(gen() % unsigned(hi - lo + 1))) * (gen() % 2 ? -1 : 1));
    };
    std::vector<C> v(n);
    for (C& x : v) x.re = part(), x.im = part();
    return v;
}

// Points near the unit circle (|z| - 1 down to 2^-40) and near the axes.
template <class C>
std::vector<C> near_unit_circle(std::size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> angle(-3.2, 3.2);
    std::vector<C> v(n);
    for (C& x : v) {
        const double t = angle(gen), r = 1 + std::ldexp(gen() % 2 ? 1.0 : -1.0, -int(gen() % 40) - 1);
        x.re = Real<C>(r * std::cos(t));
        x.im = Real<C>(r * std::sin(t));
    }
    return v;
}

// One row of a special-value table: argument(s) and the wanted result,
// compared bit for bit except that any NaN matches any NaN and, where
// the table leaves a sign open, `any_sign` compares magnitudes.
struct Row {
    double x, y, u, v;
    bool any_sign_re = false, any_sign_im = false;
};

template <class T>
bool same(T got, double want, bool any_sign) {
    if (std::isnan(want)) return std::isnan(got);
    const T w = T(want);
    if (any_sign) return std::fabs(got) == std::fabs(w);
    return std::memcmp(&got, &w, sizeof w) == 0;
}

template <class C>
void expect_rows(void (*kernel)(int, const C*, C*), const std::vector<Row>& rows, const char* name) {
    for (const Row& row : rows) {
        C a{Real<C>(row.x), Real<C>(row.y)}, r{};
        kernel(1, &a, &r);
        EXPECT_TRUE(same(r.re, row.u, row.any_sign_re) && same(r.im, row.v, row.any_sign_im))
            << name << "(" << row.x << ", " << row.y << ") = (" << r.re << ", " << r.im << "), want (" << row.u << ", "
            << row.v << ")";
    }
}

inline constexpr double kInf = std::numeric_limits<double>::infinity();
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The strided form on every other element gives the contiguous results.
template <class A, class R>
void expect_strided_same(void (*contig)(int, const A*, R*), void (*strided)(int, const A*, int, R*, int),
                         const std::vector<A>& args) {
    const int n = int(args.size());
    std::vector<A> spread(2 * args.size());
    for (int i = 0; i < n; ++i) spread[2 * i] = args[i];
    std::vector<R> want(n), got(3 * args.size());
    contig(n, args.data(), want.data());
    strided(n, spread.data(), 2, got.data(), 3);
    for (int i = 0; i < n; ++i) ASSERT_EQ(std::memcmp(&want[i], &got[3 * i], sizeof(R)), 0) << "element " << i;
}

}  // namespace qor::test::sweeps
