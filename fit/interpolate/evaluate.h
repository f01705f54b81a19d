// The spline of one function at a stretch of located sites: values only
// (vectorised), or values and derivatives of any order.  For the
// interpolation entry only.
#pragma once

#include "fit/piecewise.h"

namespace qor::kp {

// out[k*stride] = the spline at site[k], whose cell is cell[k], k < n; c
// are the function's coefficients, `order` per interval.
template <class T, bool Uniform, class C>
void evaluate_values(const Breaks<T, Uniform>& x, int64_t nx, int64_t order, const T* c, int64_t n, const T* site,
                     const C* cell, T* out, int64_t stride);

// For every site k < n the derivatives of the orders q whose flag dorder[q]
// is set (q < ndorder), in ascending order, at out[k*stride + 0, 1, ...];
// orders at or above `order` are 0.
template <class T, bool Uniform, class C>
void evaluate_derivatives(const Breaks<T, Uniform>& x, int64_t nx, int64_t order, const T* c, int64_t n,
                          const T* site, const C* cell, const int64_t* dorder, int64_t ndorder, T* out,
                          int64_t stride);

}  // namespace qor::kp
