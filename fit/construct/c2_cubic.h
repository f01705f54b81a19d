// The cubic spline with continuous second derivative, built from its first
// derivatives d[i] at the breakpoints: with widths h and slopes m, every
// inner breakpoint i gives
//   h[i] d[i-1] + 2(h[i-1] + h[i]) d[i] + h[i-1] d[i+1] = 3(h[i] m[i-1] + h[i-1] m[i]),
// and the end conditions give the first and last rows (periodic: the
// equations wrap around and d[n-1] = d[0]).  One tridiagonal or cyclic
// solve per function, then the Hermite form per interval; the elimination
// borrows the interval's own coefficients as its scratch.
//
// A filter may replace each derivative before it is used (the Hyman kind);
// the unfiltered spline takes the identity.
#pragma once

#include <cmath>
#include <cstdint>

#include "fit/construct/frame.h"
#include "fit/construct/hermite_form.h"
#include "fit/construct/tridiagonal.h"

namespace qor::kp::spline {

// The first row from the first two intervals (widths h0, h1, slopes m0,
// m1; the second is read by not-a-knot only).
template <class T>
Row<T> left_row(const Ends<T>& ends, T h0, T m0, T h1, T m1) {
    const T v = ends.left_value;
    if (ends.left == End::FirstDerivative) return {T(0), T(1), T(0), v};
    if (ends.left == End::SecondDerivative) return {T(0), T(2), T(1), T(3) * m0 - v * h0 / T(2)};
    return {T(0), h1, h0 + h1, (h1 * (T(3) * h0 + T(2) * h1) * m0 + h0 * h0 * m1) / (h0 + h1)};
}

// The last row from the last interval (hl, ml) and the one before (hp, mp).
template <class T>
Row<T> right_row(const Ends<T>& ends, T hl, T ml, T hp, T mp) {
    const T v = ends.right_value;
    if (ends.right == End::FirstDerivative) return {T(0), T(1), T(0), v};
    if (ends.right == End::SecondDerivative) return {T(1), T(2), T(0), T(3) * ml + v * hl / T(2)};
    return {hp + hl, hp, T(0), (hp * (T(3) * hl + T(2) * hp) * ml + hl * hl * mp) / (hp + hl)};
}

// An inner row: the intervals before (hp, mp) and after (h, m) the breakpoint.
template <class T>
Row<T> inner_row(T hp, T mp, T h, T m) {
    return {h, T(2) * (hp + h), hp, T(3) * (h * mp + hp * m)};
}

// The rows of the periodic system, in ascending order.
template <class T, bool Uniform>
struct PeriodicRows {
    const Curve<T, Uniform>& f;
    int64_t i = 0;
    T h_prev = f.h(f.n - 2), m_prev = f.slope(f.n - 2);

    Row<T> next() {
        const T h = f.h(i), m = f.slope(i);
        const Row<T> r = inner_row(h_prev, m_prev, h, m);
        h_prev = h;
        m_prev = m;
        ++i;
        return r;
    }
};

// Takes the derivatives in descending order and writes interval i once
// d[i] and d[i+1] are known.  The filter sees the slopes on both sides of
// the breakpoint (at an end that is not periodic, the end slope twice).
template <class T, bool Uniform, class Filter>
struct CubicEmit {
    const Curve<T, Uniform>& f;
    bool periodic;
    T* c;
    T d_next = 0;

    void operator()(int64_t i, T d) {
        const int64_t n = f.n;
        if constexpr (!Filter::kIdentity) {
            const int64_t left = i > 0 && i < n - 1 ? i - 1 : periodic ? n - 2 : i == 0 ? 0 : n - 2;
            const int64_t right = i > 0 && i < n - 1 ? i : periodic ? 0 : i == 0 ? 0 : n - 2;
            d = Filter::apply(d, f.slope(left), f.slope(right));
        }
        if (i < n - 1) hermite_piece(c + 4 * i, f.at(i), f.at(i + 1), d, d_next, f.inverse_h(i));
        d_next = d;
    }
};

struct NoFilter {
    static constexpr bool kIdentity = true;
    template <class T>
    static T apply(T d, T, T) { return d; }
};

// Open ends (every condition but periodic) with at least one inner
// breakpoint, or any two breakpoints: the elimination in its continuant
// form, so that no division waits for the one before.  With p[i] the
// determinant of rows 0..i (p[-1] = 1),
//   p[i] = D[i] p[i-1] - L[i] U[i-1] p[i-2],   e[i] = R[i] p[i-1] - L[i] e[i-1],
// the eliminated row i reads x[i] + (U[i] p[i-1]/p[i]) x[i+1] = e[i]/p[i];
// p and e are rescaled together by powers of 2 (exactly) to stay in range,
// and kept in double whatever the task's precision.  Interval i's four
// coefficients hold its slope, the eliminated row and its reciprocal width
// until the way back up writes them for good.
template <class T, bool Uniform, class Filter>
void build_open(const Curve<T, Uniform>& f, const Ends<T>& ends, T* c) {
    const int64_t n = f.n;
    auto interval = [&](int64_t i, T& h, T& m) {
        h = f.h(i);
        const T r = f.inverse_h(i);
        m = (f.at(i + 1) - f.at(i)) * r;
        c[4 * i] = m;
        c[4 * i + 3] = r;
    };
    double p2 = 0, p1 = 1, e1 = 0, u1 = 0;  // p[i-2], p[i-1], e[i-1], U[i-1]
    double last = 0;
    auto eliminate = [&](int64_t i, const Row<T>& row) {
        const double p = double(row.diag) * p1 - double(row.lower) * u1 * p2;
        const double e = double(row.rhs) * p1 - double(row.lower) * e1;
        const double q = 1.0 / p;
        if (i < n - 1) {
            c[4 * i + 1] = T(double(row.upper) * p1 * q);
            c[4 * i + 2] = T(e * q);
        } else {
            last = e * q;
        }
        p2 = p1;
        p1 = p;
        e1 = e;
        u1 = row.upper;
        if ((std::fabs(p) > 0x1p+512 || std::fabs(p) < 0x1p-512) && p != 0 && std::isfinite(p)) {
            const double scale = std::ldexp(1.0, -std::ilogb(p));
            p2 *= scale;
            p1 *= scale;
            e1 *= scale;
        }
    };
    T h0, m0, h1 = 0, m1 = 0;
    interval(0, h0, m0);
    if (n > 2) interval(1, h1, m1);
    eliminate(0, left_row(ends, h0, m0, h1, m1));
    T hp = h0, mp = m0;
    for (int64_t i = 1; i + 1 < n; ++i) {
        T h = h1, m = m1;
        if (i > 1) interval(i, h, m);
        eliminate(i, inner_row(hp, mp, h, m));
        hp = h;
        mp = m;
    }
    eliminate(n - 1, right_row(ends, hp, mp, n > 3 ? f.h(n - 3) : T(1), n > 3 ? c[4 * (n - 3)] : T(0)));

    T x_next = T(last);
    T d_next = Filter::apply(x_next, mp, mp);
    for (int64_t i = n - 2; i >= 0; --i) {
        T* ci = c + 4 * i;
        const T x = ci[2] - ci[1] * x_next, m = ci[0], r = ci[3];
        x_next = x;
        const T d = Filter::apply(x, i > 0 ? ci[-4] : m, m);
        ci[0] = f.at(i);
        ci[1] = d;
        ci[2] = (T(3) * m - T(2) * d - d_next) * r;
        ci[3] = (d + d_next - T(2) * m) * r * r;
        d_next = d;
    }
}

template <class T, bool Uniform, class Filter>
struct C2Cubic {
    static constexpr bool kLocal = false;

    static void build(const Job<T, Uniform>& job, int64_t j, int64_t, int64_t) {
        const Curve<T, Uniform> f = job.curve(j);
        const int64_t n = f.n;
        T* c = job.coefficients(j);
        const bool periodic = job.ends.left == End::Periodic;
        if (!periodic && !(job.ends.left == End::NotAKnot && n <= 3)) return build_open<T, Uniform, Filter>(f, job.ends, c);
        CubicEmit<T, Uniform, Filter> emit{f, periodic, c};
        if (periodic) {
            PeriodicRows<T, Uniform> rows{f};
            solve_cyclic<T>(n - 1, rows, [c](int64_t i) { return c + 4 * i + 1; }, emit);
            return;
        }
        // Not-a-knot over one or two intervals: the line or the parabola
        // through the values.
        const T m0 = f.slope(0);
        if (n == 2) {
            emit(1, m0);
            emit(0, m0);
            return;
        }
        const T h0 = f.h(0), h1 = f.h(1), m1 = f.slope(1), q = (m1 - m0) / (h0 + h1);
        emit(2, m1 + q * h1);
        emit(1, m0 + q * h0);
        emit(0, m0 - q * h0);
    }
};

}  // namespace qor::kp::spline
