// The Ops of the power functions, made kernels by driver.h.  Their vector
// path decides which lanes it cannot finish (the range screen needs y ln x,
// a value of the computation), so an Op returns the mark with the result:
//
//   struct Op {                             // Pow, Powr
//       using T = float or double;
//       static constexpr bool reads_mode;
//       V operator()(V x, V y, V& mark) const;
//       int fix(T x, T y, T& r) const;      // scalar routine: result, code
//   };
//   struct Op {                             // Powx: the exponent is a member,
//       ...                                 // the Op picked for it by the
//                                           // kernel's method (driver.h)
//       T exponent() const;
//       V operator()(V x, V& mark) const;
//       int fix(T x, T& r) const;
//   };
//
// The element loop (loop.h) sends marked elements to the scalar routine and
// the reporter; a Powx report names the exponent as its second argument.
#pragma once

#include "driver.h"

