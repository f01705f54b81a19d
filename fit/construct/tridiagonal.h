// Tridiagonal and cyclic tridiagonal solves in one pass down and one up,
// without a buffer of their own: the elimination factors go to scratch
// slots that the caller lends (the coefficients of the row's interval,
// written for good only after the slots have been read back).
//
// A row generator hands out the rows in ascending order (gen.next()), so
// that it can carry the previous interval's width and slope.  The solution
// goes to emit(i, x_i) in descending order of i.
#pragma once

#include <cstdint>

namespace qor::kp::spline {

template <class T>
struct Row {
    T lower, diag, upper, rhs;  // coefficients of x[i-1], x[i], x[i+1]
};

// rows 0 .. n-1; scratch(i) gives 2 slots for rows 0 .. n-2 (the last row
// stays in registers).  Elimination without pivoting: the systems built
// here are diagonally dominant, or become so after their first row.
template <class T, class Gen, class Scratch, class Emit>
void solve_tridiagonal(int64_t n, Gen& gen, Scratch scratch, Emit& emit) {
    T c = 0, d = 0;  // the eliminated row: x[i] + c*x[i+1] = d
    for (int64_t i = 0; i < n; ++i) {
        const Row<T> r = gen.next();
        const T w = T(1) / (r.diag - r.lower * c);
        d = (r.rhs - r.lower * d) * w;
        c = r.upper * w;
        if (i + 1 < n) {
            T* s = scratch(i);
            s[0] = c;
            s[1] = d;
        }
    }
    T x = d;
    emit(n - 1, x);
    for (int64_t i = n - 2; i >= 0; --i) {
        const T* s = scratch(i);
        x = s[1] - s[0] * x;
        emit(i, x);
    }
}

// Cyclic rows 0 .. n-1: row 0's lower couples to x[n-1] and row n-1's
// upper to x[0].  Rows 0 .. n-2 are solved for x[i] = p[i] + q[i]*x[n-1]
// (one elimination, two right-hand sides), the last row then gives x[n-1].
// scratch(i) gives 3 slots for rows 0 .. n-2.  The solution goes to emit
// as x[0] under index n first (the wrapped breakpoint), then n-1 .. 0.
template <class T, class Gen, class Scratch, class Emit>
void solve_cyclic(int64_t n, Gen& gen, Scratch scratch, Emit& emit) {
    if (n <= 2) {  // one or two unknowns: the couplings fold onto the diagonal or each other
        const Row<T> a = gen.next();
        if (n == 1) {
            const T x = a.rhs / (a.lower + a.diag + a.upper);
            emit(1, x);
            emit(0, x);
            return;
        }
        const Row<T> b = gen.next();
        const T a1 = a.lower + a.upper, b0 = b.lower + b.upper;
        const T det = a.diag * b.diag - a1 * b0;
        const T x0 = (a.rhs * b.diag - a1 * b.rhs) / det, x1 = (a.diag * b.rhs - b0 * a.rhs) / det;
        emit(2, x0);
        emit(1, x1);
        emit(0, x0);
        return;
    }
    T c = 0, p = 0, q = 0;
    for (int64_t i = 0; i + 1 < n; ++i) {
        const Row<T> r = gen.next();
        const T lower = i == 0 ? T(0) : r.lower;
        const T coupling = (i == 0 ? r.lower : T(0)) + (i == n - 2 ? r.upper : T(0));  // of x[n-1]
        const T w = T(1) / (r.diag - lower * c);
        p = (r.rhs - lower * p) * w;
        q = (-coupling - lower * q) * w;
        c = (i == n - 2 ? T(0) : r.upper) * w;
        T* s = scratch(i);
        s[0] = c;
        s[1] = p;
        s[2] = q;
    }
    const Row<T> last = gen.next();
    const T p_last = p, q_last = q;  // of row n-2
    for (int64_t i = n - 3; i >= 0; --i) {
        T* s = scratch(i);
        p = s[1] -= s[0] * p;
        q = s[2] -= s[0] * q;
    }
    const T x_last = (last.rhs - last.lower * p_last - last.upper * p) / (last.diag + last.lower * q_last + last.upper * q);
    emit(n, p + q * x_last);
    emit(n - 1, x_last);
    for (int64_t i = n - 2; i >= 0; --i) {
        const T* s = scratch(i);
        emit(i, s[1] + s[2] * x_last);
    }
}

}  // namespace qor::kp::spline
