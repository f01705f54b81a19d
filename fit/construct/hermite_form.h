// Cubic pieces from the first derivatives at the breakpoints, and the
// derivative an end condition gives at an end of the partition.
//
// On interval i of width h, with the values y0, y1, the slope
// m = (y1 - y0)/h and the derivatives d0, d1 at its ends, the cubic that
// matches all four (Hermite form) is
//   y0 + d0*t + (3m - 2d0 - d1)/h * t^2 + (d0 + d1 - 2m)/h^2 * t^3,
// t = x - x[i].  Its second derivative is (6m - 4d0 - 2d1)/h at the left
// end and (4d1 + 2d0 - 6m)/h at the right; its third is 6(d0 + d1 - 2m)/h^2.
#pragma once

#include <cstdint>

#include "fit/construct/frame.h"

namespace qor::kp::spline {

// Writes c[0..3] of an interval; r is 1/h.
template <class T>
inline void hermite_piece(T* c, T y0, T y1, T d0, T d1, T r) {
    const T m = (y1 - y0) * r;
    c[0] = y0;
    c[1] = d0;
    c[2] = (T(3) * m - T(2) * d0 - d1) * r;
    c[3] = (d0 + d1 - T(2) * m) * r * r;
}

// The derivative at x[0] that an end condition gives, from the first two
// intervals (widths h0, h1, slopes m0, m1) and the derivatives d1, d2 at
// x[1], x[2].  Not-a-knot equates the third derivatives of the first two
// pieces.
template <class T>
T left_end_derivative(End end, T value, T h0, T h1, T m0, T m1, T d1, T d2) {
    switch (end) {
        case End::FirstDerivative: return value;
        case End::SecondDerivative: return (T(3) * m0 - d1 - value * h0 / T(2)) / T(2);
        default: {
            const T r = h0 / h1;
            return T(2) * m0 - d1 + r * r * (d1 + d2 - T(2) * m1);
        }
    }
}

// The same at x[n-1], mirrored: the last two intervals (hl the last, hp
// the one before), their slopes ml, mp, and the derivatives dp, dpp at
// x[n-2], x[n-3].
template <class T>
T right_end_derivative(End end, T value, T hl, T hp, T ml, T mp, T dp, T dpp) {
    switch (end) {
        case End::FirstDerivative: return value;
        case End::SecondDerivative: return (T(3) * ml - dp + value * hl / T(2)) / T(2);
        default: {
            const T r = hl / hp;
            return T(2) * ml - dp + r * r * (dp + dpp - T(2) * mp);
        }
    }
}

// Three breakpoints and the derivative d1 at the middle one: the one cubic
// through the three values with that derivative, whose third derivative is
// then continuous at x[1] (not-a-knot with a single inner breakpoint).
// Writes the derivatives at the ends.
template <class T>
void single_cubic_ends(T h0, T h1, T m0, T m1, T d1, T& d0, T& d2) {
    // p(t) = y1 + d1 t + a t^2 + b t^3 around x[1], through t = -h0 and h1.
    const T left = (d1 - m0) / h0, right = (m1 - d1) / h1;  // a - b*h0 and a + b*h1
    const T b = (right - left) / (h0 + h1), a = right - b * h1;
    d0 = d1 - T(2) * a * h0 + T(3) * b * h0 * h0;
    d2 = d1 + T(2) * a * h1 + T(3) * b * h1 * h1;
}

}  // namespace qor::kp::spline
