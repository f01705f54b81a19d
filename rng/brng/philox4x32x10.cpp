// Philox4x32-10, the counter-based generator: registry row only; the recurrence is not part of this build.
#include "rng/brng/unavailable_brng.h"

QOR_RNG_UNAVAILABLE_BRNG(PHILOX4X32X10, kPhilox4x32x10Row, 64, 11, 1, 4, 32)
