// Sobol, the quasi-random sequence: registry row only; the recurrence is not part of this build.
#include "rng/brng/unavailable_brng.h"

QOR_RNG_UNAVAILABLE_BRNG(Sobol, kSobolRow, 11712, 2900, 0, 4, 32)
