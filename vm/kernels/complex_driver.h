// The Ops of the complex functions, made kernels by driver.h over the
// element loop (loop.h):
//
//   struct Op {
//       using C = qor_complex8 or qor_complex16;
//       static constexpr bool reads_mode;   // false: never flush to zero
//       static constexpr bool screens;      // false: no screen, no reports
//       V operator()(V a[, V b]) const;     // vector path, every element
//       V special(V a, [V b,] V r) const;   // lanes whose element needs fixing
//       int fix(C a, [C b,] C& r) const;    // scalar routine: result, code
//   };                                      // (special and fix only if screens)
//
// One register holds one double or two single complex elements; a lone
// single complex element at the end fills both halves of its register.
#pragma once

#include "driver.h"
