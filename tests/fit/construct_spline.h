// What the quadratic and cubic construction tests share: random data, one
// call that builds a task, constructs and returns the coefficients, and the
// pieces evaluated in long double.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "qor/qor_kp.h"

namespace spline_test {

using Entry = int32_t (*)(FitTask*, int64_t, int64_t, const qor_threading*);

inline int limit_one() { return 1; }
inline int limit_four() { return 4; }
inline const qor_threading kOneThread{qor_rix_serv_threader_for, limit_one};
inline const qor_threading kFourThreads{qor_rix_serv_threader_for, limit_four};

// nx breakpoints with steps in [0.1, 2] (or 0.5 apart), ny functions of
// values in [-1, 1], stored function after function.
template <class T = double>
struct Data {
    int64_t nx, ny;
    std::vector<T> x, y;
    Data(int64_t nx_, int64_t ny_, std::mt19937_64& rng, bool uniform = false) : nx(nx_), ny(ny_) {
        std::uniform_real_distribution<double> step(0.1, 2.0), value(-1.0, 1.0);
        x.assign(1, T(-3));
        for (int64_t i = 1; i < nx; ++i) x.push_back(uniform ? T(-3 + 0.5 * i) : T(x.back() + step(rng)));
        for (int64_t k = 0; k < nx * ny; ++k) y.push_back(T(value(rng)));
    }
    const T* values(int64_t j) const { return y.data() + j * nx; }
};

// The spline parameters of one construction.
template <class T = double>
struct Params {
    int64_t order = 4, type = 0, bcType = 1;
    const T* bc = nullptr;
    int64_t icType = 0;
    const T* ic = nullptr;
    int64_t method = 0;
};

// Builds a task over d (values hint yhint, the partition by its two ends
// when uniform), constructs with entry and returns the status; c gets the
// coefficients of every function, function after function, `pieces` per
// function (nx-1 unless given), first filled with 7.
template <class T>
int32_t construct(const Data<T>& d, int64_t yhint, bool uniform, const Params<T>& p, Entry entry,
                  std::vector<T>& c, const qor_threading* threading = &kOneThread, int64_t pieces = 0) {
    std::vector<T> y = d.y;
    if (yhint == hintValuesWhole)  // breakpoint by breakpoint
        for (int64_t j = 0; j < d.ny; ++j)
            for (int64_t i = 0; i < d.nx; ++i) y[i * d.ny + j] = d.y[j * d.nx + i];
    const T ends[2] = {d.x.front(), d.x.back()};
    const T* x = uniform ? ends : d.x.data();
    const int64_t xhint = uniform ? hintPartitionUniform : hintPartitionNonUniform;
    c.assign(p.order * (pieces ? pieces : d.nx - 1) * d.ny, T(7));
    FitTask* t = nullptr;
    int32_t status;
    if constexpr (sizeof(T) == sizeof(double)) {
        status = qor_kp_kernel_dNewTask1D(&t, d.nx, x, xhint, d.ny, y.data(), yhint, 1);
        if (status == 0)
            status = qor_kp_kernel_dEditPPSpline1D(t, p.order, p.type, p.bcType, p.bc, p.icType, p.ic, c.data(), 0);
    } else {
        status = qor_kp_kernel_sNewTask1D(&t, d.nx, x, xhint, d.ny, y.data(), yhint, 1);
        if (status == 0)
            status = qor_kp_kernel_sEditPPSpline1D(t, p.order, p.type, p.bcType, p.bc, p.icType, p.ic, c.data(), 0);
    }
    EXPECT_EQ(status, 0);
    status = entry(t, 0, p.method, threading);
    qor_kp_kernel_DeleteTask(&t);
    return status;
}

// Derivative k of the polynomial with coefficients c[0..order) at offset t.
template <class T>
long double derivative(const T* c, int order, int k, long double t) {
    long double s = 0;
    for (int e = order - 1; e >= k; --e) {
        long double f = 1;
        for (int q = 0; q < k; ++q) f *= e - q;
        s = s * t + f * c[e];
    }
    return s;
}

// |a - b| within tol, relative to the larger magnitude (at least 1).
inline bool close(long double a, long double b, long double tol) {
    return std::fabs(a - b) <= tol * std::fmax(1.0L, std::fmax(std::fabs(a), std::fabs(b)));
}

}  // namespace spline_test
