// Workers of the quadratic spline (order 3), piece i written as
// y[i] + b*(t - x[i]) + a*(t - x[i])^2 from element 3i.
//
// Type 0: knots at the breakpoints, interpolating and with continuous first
// derivative, fixed by bc[0], the value at the middle of the first
// interval (boundary-condition code 128).  The first piece goes through
// y[0], bc[0], y[1]; after it, each piece starts with the end derivative
// of the one before: b[i+1] = 2m[i] - b[i], a[i] = (m[i] - b[i]) / h[i].
//
// Type 1: knots between the breakpoints, given in the internal-condition
// values (type 8): ic[k], k = 0 .. nx-2, strictly inside (x[k], x[k+1]).
// The spline interpolates at the breakpoints, has a continuous first
// derivative, and takes one cubic boundary condition at each end (free
// end: second derivative 0; not-a-knot: the first and last inner knots
// inactive; periodic).  Piece i, i = 0 .. nx-1, runs from knot ic[i-1]
// (x[0] for i = 0) to knot ic[i] (x[nx-1] for i = nx-1) around breakpoint
// x[i]: nx pieces, one more than intervals.  With u = ic[k] - x[k],
// v = x[k+1] - ic[k], h = u + v, the first derivative is continuous at
// knot k when
//   b[k] = m[k] - (a[k] u(u + 2v) + a[k+1] v^2) / h,
//   b[k+1] = m[k] + (a[k] u^2 + a[k+1] v(2u + v)) / h,
// and equating the two expressions of b[k] at the knots k-1 and k gives a
// tridiagonal system in a (cyclic under the periodic condition, where the
// last piece equals the first).
#include <cstdint>

#include "fit/construct/frame.h"
#include "fit/construct/tridiagonal.h"

namespace qor::kp {
namespace {

using spline::Curve;
using spline::End;
using spline::Ends;
using spline::Job;
using spline::Row;
using spline::solve_cyclic;
using spline::solve_tridiagonal;

template <class T, bool Uniform>
struct KnotsAtBreakpoints {
    static constexpr bool kLocal = false;

    static void build(const Job<T, Uniform>& job, int64_t j, int64_t, int64_t) {
        const Curve<T, Uniform> f = job.curve(j);
        T* c = job.coefficients(j);
        const T h0 = f.h(0), mid = static_cast<const T*>(job.task->bc)[0];
        const T a0 = T(2) * (f.at(0) + f.at(1) - T(2) * mid) / (h0 * h0);
        T b = f.slope(0) - a0 * h0;
        for (int64_t i = 0; i + 1 < f.n; ++i) {
            const T m = f.slope(i);
            c[3 * i] = f.at(i);
            c[3 * i + 1] = b;
            c[3 * i + 2] = (m - b) * f.inverse_h(i);
            b = T(2) * m - b;
        }
    }
};

// Interval k split by its knot: the factors of the two expressions of b.
template <class T>
struct Split {
    T p, q, r, s, m;  // u(u+2v)/h, v^2/h, u^2/h, v(2u+v)/h, slope
};

template <class T, bool Uniform>
Split<T> split(const Curve<T, Uniform>& f, const T* knots, int64_t k) {
    const T u = knots[k] - f.xi(k), v = f.xi(k + 1) - knots[k], h = u + v;
    return {u * (u + T(2) * v) / h, v * v / h, u * u / h, v * (T(2) * u + v) / h, f.slope(k)};
}

template <class T, bool Uniform>
struct KnotRows {
    const Curve<T, Uniform>& f;
    const Ends<T>& ends;
    const T* knots;
    int64_t i = 0;
    Split<T> prev{};

    Row<T> inner(int64_t k) {
        const Split<T> s = split(f, knots, k);
        const Row<T> r{prev.r, prev.s + s.p, s.q, s.m - prev.m};
        prev = s;
        return r;
    }
    Row<T> next() {
        const int64_t n = f.n, k = i++;
        if (ends.left == End::Periodic) {
            if (k == 0) prev = split(f, knots, n - 2);
            return inner(k);
        }
        if (k > 0 && k < n - 1) return inner(k);
        if (k == 0) {
            prev = split(f, knots, 0);
            if (ends.left == End::FirstDerivative) return {T(0), prev.p, prev.q, prev.m - ends.left_value};
            if (ends.left == End::SecondDerivative) return {T(0), T(1), T(0), ends.left_value / T(2)};
            return {T(0), T(1), T(-1), T(0)};
        }
        if (ends.right == End::FirstDerivative) return {prev.r, prev.s, T(0), ends.right_value - prev.m};
        if (ends.right == End::SecondDerivative) return {T(0), T(1), T(0), ends.right_value / T(2)};
        return {T(-1), T(1), T(0), T(0)};
    }
};

// Takes a in descending order and writes piece i once a[i] and a[i+1] are
// known (the last piece with the one before it).
template <class T, bool Uniform>
struct KnotEmit {
    const Curve<T, Uniform>& f;
    const T* knots;
    T* c;
    T a_next = 0;

    void operator()(int64_t i, T a) {
        const int64_t n = f.n;
        if (i < n - 1) {
            const Split<T> s = split(f, knots, i);
            if (i == n - 2) {
                c[3 * (n - 1)] = f.at(n - 1);
                c[3 * (n - 1) + 1] = s.m + a * s.r + a_next * s.s;
                c[3 * (n - 1) + 2] = a_next;
            }
            c[3 * i] = f.at(i);
            c[3 * i + 1] = s.m - (a * s.p + a_next * s.q);
            c[3 * i + 2] = a;
        }
        a_next = a;
    }
};

template <class T, bool Uniform>
struct KnotsBetweenBreakpoints {
    static constexpr bool kLocal = false;

    static void build(const Job<T, Uniform>& job, int64_t j, int64_t, int64_t) {
        const Curve<T, Uniform> f = job.curve(j);
        const int64_t n = f.n;
        const T* knots = static_cast<const T*>(job.task->ic);
        T* c = job.coefficients(j);
        KnotEmit<T, Uniform> emit{f, knots, c};
        KnotRows<T, Uniform> rows{f, job.ends, knots};
        if (job.ends.left == End::Periodic) {
            solve_cyclic<T>(n - 1, rows, [c](int64_t i) { return c + 3 * i; }, emit);
        } else if (job.ends.left == End::NotAKnot && n == 2) {
            emit(1, T(0));  // one interval and no active knot: the line
            emit(0, T(0));
        } else {
            solve_tridiagonal<T>(n, rows, [c](int64_t i) { return c + 3 * i + 1; }, emit);
        }
    }
};

}  // namespace

const ConstructionWorker kQuadraticWorkersS[2][4] = {QOR_SPLINE_WORKER_ROW(float, KnotsAtBreakpoints),
                                                     QOR_SPLINE_WORKER_ROW(float, KnotsBetweenBreakpoints)};
const ConstructionWorker kQuadraticWorkersD[2][4] = {QOR_SPLINE_WORKER_ROW(double, KnotsAtBreakpoints),
                                                     QOR_SPLINE_WORKER_ROW(double, KnotsBetweenBreakpoints)};

}  // namespace qor::kp
