// What the entries that evaluate a constructed spline share: the task checks
// before evaluation, the breakpoints of either partition form, and the
// interval whose polynomial serves a cell.  For the data-fitting sources
// only; nothing here is exported.
//
// Interval i (x[i] to x[i+1]) of function j holds `order` coefficients from
// coefficients_of(task, j) + i*order; its polynomial is
// sum_k c[k] * (t - x[i])^k.  Cell 0 (below x[0]) takes interval 0 and
// cell nx (above x[nx-1]) interval nx-2: the end polynomials continue.
#pragma once

#include <algorithm>
#include <cstdint>

#include "fit/task_internal.h"

namespace qor::kp {

// The checks of a task whose coefficients are to be read: statusBadSplineOrder
// (order below 1), statusBadFunctionCount (ny below 1), statusBadCoefficients
// (a function without coefficients).
inline int32_t check_coefficients(const FitTask& task) {
    if (task.order < 1) return statusBadSplineOrder;
    if (task.ny < 1) return statusBadFunctionCount;
    if (!task.coeffTable || pointer_table_capacity(task.coeffTable) < task.ny) return statusBadCoefficients;
    for (int64_t j = 0; j < task.ny; ++j)
        if (!task.coeffTable[j]) return statusBadCoefficients;
    return 0;
}

// The breakpoints of a partition: all of them, or (Uniform) computed from
// the two ends as x[0] + i*h, h = (x[nx-1] - x[0]) / (nx-1).
template <class T, bool Uniform>
struct Breaks {
    const T* x;
    T x0, h;
    Breaks(const T* points, int64_t nx)
        : x(points), x0(points[0]), h(Uniform ? (points[1] - points[0]) / static_cast<T>(nx - 1) : T(0)) {}
    T operator[](int64_t i) const {
        if constexpr (Uniform) return x0 + static_cast<T>(i) * h;
        else return x[i];
    }
    // x[i+1] - x[i].
    T width(int64_t i) const {
        if constexpr (Uniform) return h;
        else return x[i + 1] - x[i];
    }
};

// Runs f(Breaks<T, uniform>) for the task's partition form.
template <class T, class F>
decltype(auto) with_breaks(const FitTask& task, F&& f) {
    const T* x = breakpoints<T>(task);
    if (task.xhint == hintPartitionUniform) return f(Breaks<T, true>(x, task.nx));
    return f(Breaks<T, false>(x, task.nx));
}

// The interval whose polynomial holds the sites of a cell.
inline int64_t interval_of(int64_t cell, int64_t nx) { return std::clamp<int64_t>(cell - 1, 0, nx - 2); }

// A quadratic spline of type 1 changes piece at knots between the
// breakpoints: piece i, around x[i], runs from knot[i-1] (x[0] for i = 0)
// to knot[i] (x[nx-1] for i = nx-1), nx pieces in all.  The knots of such a
// task (its internal-condition values), or null for every other spline.
template <class T>
const T* piece_knots(const FitTask& task) {
    constexpr int64_t kQuadraticOrder = 3, kKnotsBetweenBreakpoints = 1;
    if (task.order != kQuadraticOrder || task.type != kKnotsBetweenBreakpoints) return nullptr;
    return static_cast<const T*>(task.ic);
}

// The piece that serves site t of a cell: its interval, or the next piece
// past the interval's knot.
template <class T>
int64_t piece_of(int64_t cell, int64_t nx, const T* knots, T t) {
    const int64_t i = interval_of(cell, nx);
    return knots && t >= knots[i] ? i + 1 : i;
}

}  // namespace qor::kp
