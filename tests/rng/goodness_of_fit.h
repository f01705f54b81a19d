// Goodness of fit of a sample against an exact distribution function:
// Kolmogorov-Smirnov for continuous laws, Pearson's chi-square over pooled
// cells for discrete ones.  Both return a p-value; with fixed seeds a test
// asks for p above a small threshold, so a correct generator passes for
// good and a wrong shape, scale or tail fails by many orders of magnitude.
#pragma once

#include <boost/math/distributions/chi_squared.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace gof {

// Below this a sample is taken as not drawn from the distribution.
constexpr double kMinPValue = 1e-4;

// With QOR_GOF_LOG set, each p-value is printed with its test and its
// place among the test's p-values, for the record of a run.
inline double logged(double p) {
    if (std::getenv("QOR_GOF_LOG")) {
        static std::string test;
        static int count = 0;
        const std::string now = ::testing::UnitTest::GetInstance()->current_test_info()->name();
        count = now == test ? count + 1 : 0;
        test = now;
        std::printf("gof %s #%d p=%.3g\n", now.c_str(), count, p);
    }
    return p;
}

// Kolmogorov's limiting distribution, Q(l) = 2 sum_{k>=1} (-1)^(k-1) e^(-2 k^2 l^2).
inline double kolmogorov_q(double l) {
    if (l < 0.2) return 1.0;
    double sum = 0, sign = 1;
    for (int k = 1; k <= 100; ++k, sign = -sign) {
        const double term = std::exp(-2.0 * k * k * l * l);
        sum += sign * term;
        if (term < 1e-16) break;
    }
    return std::clamp(2 * sum, 0.0, 1.0);
}

// p-value of the two-sided Kolmogorov-Smirnov statistic of the sample
// against cdf, with Stephens' finite-n correction of the statistic.
template <class T, class Cdf>
double ks_pvalue(std::vector<T> x, Cdf cdf) {
    std::sort(x.begin(), x.end());
    const double n = static_cast<double>(x.size());
    double d = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        const double f = cdf(static_cast<double>(x[i]));
        d = std::max({d, f - i / n, (i + 1) / n - f});
    }
    const double root = std::sqrt(n);
    return logged(kolmogorov_q((root + 0.12 + 0.11 / root) * d));
}

// p-value of Pearson's statistic for an integer sample against the
// distribution function cdf(k) = P(X <= k).  Cells are runs of integers
// (or, over a wide range, of about 2000 equal steps) pooled until each
// expects at least 10 values; the first and last cells take the tails.
template <class Int, class Cdf>
double chi_square_pvalue(std::vector<Int> x, Cdf cdf) {
    std::sort(x.begin(), x.end());
    const double n = static_cast<double>(x.size());
    const int64_t lo = x.front(), hi = x.back();
    const int64_t step = std::max<int64_t>(1, (hi - lo) / 2000);
    std::vector<int64_t> upper;  // inclusive upper ends of the cells
    double below = 0;            // P(X <= last upper end)
    for (int64_t k = lo; k < hi; k += step) {
        const double p = cdf(static_cast<double>(k));
        if ((p - below) * n >= 10 && (1 - p) * n >= 10) {
            upper.push_back(k);
            below = p;
        }
    }
    if (upper.empty()) return logged(1.0);  // the whole sample in one cell: nothing to test
    double statistic = 0, previous = 0;
    size_t start = 0;
    for (size_t c = 0; c <= upper.size(); ++c) {
        const bool last = c == upper.size();
        const double p = last ? 1.0 : cdf(static_cast<double>(upper[c]));
        const size_t end = last ? x.size() : std::upper_bound(x.begin(), x.end(), upper[c]) - x.begin();
        const double expected = (p - previous) * n, observed = static_cast<double>(end - start);
        statistic += (observed - expected) * (observed - expected) / expected;
        previous = p;
        start = end;
    }
    const boost::math::chi_squared chi2(static_cast<double>(upper.size()));
    return logged(boost::math::cdf(boost::math::complement(chi2, statistic)));
}

// Sample mean and variance (two passes).
template <class T>
std::pair<double, double> mean_variance(const std::vector<T>& x) {
    double mean = 0, var = 0;
    for (T v : x) mean += static_cast<double>(v);
    mean /= x.size();
    for (T v : x) var += (v - mean) * (v - mean);
    return {mean, var / (x.size() - 1)};
}

}  // namespace gof
