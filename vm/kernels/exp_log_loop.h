// The Ops of the exponential and logarithm functions, made kernels by driver.h.
//
// An Op of this family screens its input before computing:
//
//   struct Op {
//       using T = float or double;
//       static constexpr int block;        // elements per screened block
//       static constexpr bool reads_mode;  // flush to zero as the mode says
//       V operator()(V x) const;           // vector path, every lane
//       V special(V x) const;              // lanes for the scalar routine
//       int fix(T x, T& r) const;          // scalar routine: result, code
//   };
//
// The element loop (loop.h) computes a whole block, stores it, and only when
// the block's screen marked a lane sends the marked elements to the scalar
// routine and the reporter.  Marked lanes enter the vector path as +0, so
// that infinities, NaN and out-of-range values raise no flag there and index
// no table out of range; their results come from the scalar routine alone.
#pragma once

#include "driver.h"
#include "lane_bits.h"
