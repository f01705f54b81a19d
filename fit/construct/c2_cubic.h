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

#include <cstdint>

#include "fit/construct/frame.h"
#include "fit/construct/hermite_form.h"
#include "fit/construct/tridiagonal.h"

namespace qor::kp::spline {

// The rows of one function's system, in ascending order.
template <class T, bool Uniform>
struct C2Rows {
    const Curve<T, Uniform>& f;
    const Ends<T>& ends;
    int64_t i = 0;
    T h_prev = 0, m_prev = 0;

    Row<T> inner(T h, T m) {
        const Row<T> r{h, T(2) * (h_prev + h), h_prev, T(3) * (h * m_prev + h_prev * m)};
        h_prev = h;
        m_prev = m;
        return r;
    }
    Row<T> next() {
        const int64_t n = f.n, k = i++;
        if (ends.left == End::Periodic) {
            if (k == 0) h_prev = f.h(n - 2), m_prev = f.slope(n - 2);
            return inner(f.h(k), f.slope(k));
        }
        if (k > 0 && k < n - 1) return inner(f.h(k), f.slope(k));
        if (k == 0) {
            const T h0 = f.h(0), m0 = f.slope(0), v = ends.left_value;
            h_prev = h0;
            m_prev = m0;
            if (ends.left == End::FirstDerivative) return {T(0), T(1), T(0), v};
            if (ends.left == End::SecondDerivative) return {T(0), T(2), T(1), T(3) * m0 - v * h0 / T(2)};
            const T h1 = f.h(1), m1 = f.slope(1);
            return {T(0), h1, h0 + h1, (h1 * (T(3) * h0 + T(2) * h1) * m0 + h0 * h0 * m1) / (h0 + h1)};
        }
        const T hl = h_prev, ml = m_prev, v = ends.right_value;
        if (ends.right == End::FirstDerivative) return {T(0), T(1), T(0), v};
        if (ends.right == End::SecondDerivative) return {T(1), T(2), T(0), T(3) * ml + v * hl / T(2)};
        const T hp = f.h(n - 3), mp = f.slope(n - 3);
        return {hp + hl, hp, T(0), (hp * (T(3) * hl + T(2) * hp) * ml + hl * hl * mp) / (hp + hl)};
    }
};

// Takes the derivatives in descending order and writes interval i once
// d[i] and d[i+1] are known.
template <class T, bool Uniform, class Filter>
struct CubicEmit {
    const Curve<T, Uniform>& f;
    const Ends<T>& ends;
    T* c;
    T d_next = 0;

    void operator()(int64_t i, T d) {
        d = Filter::apply(f, ends, i, d);
        if (i < f.n - 1) hermite_piece(c + 4 * i, f.at(i), f.at(i + 1), d, d_next, f.inverse_h(i));
        d_next = d;
    }
};

struct NoFilter {
    template <class T, bool Uniform>
    static T apply(const Curve<T, Uniform>&, const Ends<T>&, int64_t, T d) { return d; }
};

template <class T, bool Uniform, class Filter>
struct C2Cubic {
    static constexpr bool kLocal = false;

    static void build(const Job<T, Uniform>& job, int64_t j, int64_t, int64_t) {
        const Curve<T, Uniform> f = job.curve(j);
        const int64_t n = f.n;
        T* c = job.coefficients(j);
        CubicEmit<T, Uniform, Filter> emit{f, job.ends, c};
        C2Rows<T, Uniform> rows{f, job.ends};
        if (job.ends.left == End::Periodic) {
            solve_cyclic<T>(n - 1, rows, [c](int64_t i) { return c + 4 * i + 1; }, emit);
        } else if (job.ends.left == End::NotAKnot && n <= 3) {
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
        } else {
            solve_tridiagonal<T>(n, rows, [c](int64_t i) { return c + 4 * i + 1; }, emit);
        }
    }
};

}  // namespace qor::kp::spline
