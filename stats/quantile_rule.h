// The quantile of order q in [0, 1] of n values sorted ascending as
// x(0) <= ... <= x(n-1):
//   h = q·(n - 1), k = h truncated, f = h - k, k1 = min(k + 1, n - 1),
//   quantile = x(k) + (x(k1) - x(k))·f.
// Order 0 gives the minimum, order 1 the maximum, order 0.5 the median
// (the mean of the two middle values when n is even).
#pragma once

#include <cstdint>

namespace qor::ss {

struct QuantilePlace {
    int64_t k, k1;
    double f;
};

inline QuantilePlace quantile_place(double q, int64_t n) {
    const double h = q * static_cast<double>(n - 1);
    const auto k = static_cast<int64_t>(h);
    return {k, k < n - 1 ? k + 1 : n - 1, h - static_cast<double>(k)};
}

// x(k) itself when no step is taken, so that infinite ends give the
// minimum and maximum rather than inf - inf.
inline double quantile_value(double xk, double xk1, double f) {
    return f == 0 || xk == xk1 ? xk : xk + (xk1 - xk) * f;
}

}  // namespace qor::ss
